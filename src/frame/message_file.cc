// The HECLIB message file: one per process, in the temporary folder, opened before the first
// DSS file and removed by a purge.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "frame/engine_table.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {

constexpr int32_t kMessageUnit = 6;
constexpr int kMessageFileAttempts = 20;

std::string message_file_name;

}  // namespace

std::string TemporaryFolder() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string folder = (tmpdir != nullptr && *tmpdir != '\0') ? tmpdir : "/tmp";
  if (folder.back() != '/') folder += '/';
  return folder;
}

std::string MessageFileName() {
  return message_file_name;
}

int32_t hecFortranOpen(const std::string& name, int32_t unit) {
  const auto& engine = frame::Engine();
  return engine.fortran_open(name.data(), static_cast<int32_t>(name.size()), &unit);
}

int32_t hecFortranClose(int32_t unit) {
  return frame::Engine().fortran_close(&unit);
}

void OpenMessageFile() {
  if (!message_file_name.empty()) return;
  const std::string folder = TemporaryFolder();
  // The folder already ends in a separator, so the name carries a doubled one; harmless.
  for (int n = 0; n < kMessageFileAttempts; ++n) {
    message_file_name = folder + "/~HECDSS_messages_" + std::to_string(n) + ".txt";
    if (hecFortranOpen(message_file_name, kMessageUnit) == 0) return;
  }
}

void PurgeMessages() {
  frame::Engine().close_dss_output();
  if (!message_file_name.empty()) std::remove(message_file_name.c_str());
  message_file_name.clear();
}

}  // namespace varnock
