// Helpers shared by the dss7 tests: temp copies of reference files, memory files, dumps.
#ifndef VARNOCK_ENGINE_DSS7_TEST_SUPPORT_H_
#define VARNOCK_ENGINE_DSS7_TEST_SUPPORT_H_

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/dss7/memory_file_io.h"

namespace varnock::engine::dss7::testing {

inline std::string TempDir() {
  const auto dir =
      std::filesystem::temp_directory_path() / ("varnock_dss7_test_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  return dir.string();
}

// A memory storage holding a copy of a file's bytes.
inline std::shared_ptr<MemoryFileIO::Storage> LoadStorage(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  auto storage = MemoryFileIO::NewStorage();
  storage->bytes.resize(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i)
    storage->bytes[i] = static_cast<std::byte>(bytes[i]);
  return storage;
}

inline std::unique_ptr<DssFile> OpenMemory(std::shared_ptr<MemoryFileIO::Storage> storage,
                                           Status* status, FileOptions options = {}) {
  std::unique_ptr<DssFile> file;
  *status = DssFile::OpenIO(std::make_unique<MemoryFileIO>(std::move(storage)), options, &file);
  return file;
}

inline std::unique_ptr<DssFile> CreateMemory(std::shared_ptr<MemoryFileIO::Storage> storage,
                                             const CreateOptions& create, Status* status,
                                             FileOptions options = {}) {
  std::unique_ptr<DssFile> file;
  *status =
      DssFile::CreateIO(std::make_unique<MemoryFileIO>(std::move(storage)), create, options, &file);
  return file;
}

// A new memory file whose header claims `version` ("7-FW"), so readers pick that version's
// layouts. Null when it cannot be made.
inline std::unique_ptr<DssFile> CreateMemoryWithVersion(std::string_view version) {
  if (version.size() != 4) return nullptr;
  auto storage = MemoryFileIO::NewStorage();
  Status st;
  if (auto created = CreateMemory(storage, {}, &st);
      st != Status::kOk || created->Close() != Status::kOk)
    return nullptr;
  for (size_t i = 0; i < 4; ++i)
    storage->bytes[kVersionByte + i] = static_cast<std::byte>(version[i]);
  auto file = OpenMemory(storage, &st);
  return st == Status::kOk ? std::move(file) : nullptr;
}

// (pathname, rectype) pairs of a canonical dump, in the dump's order; gzip'd dumps via zcat.
inline std::vector<std::pair<std::string, int>> DumpRecords(const std::string& dump_path) {
  std::vector<std::pair<std::string, int>> out;
  const bool gz = dump_path.size() > 3 && dump_path.substr(dump_path.size() - 3) == ".gz";
  const std::string cmd = (gz ? "zcat '" : "cat '") + dump_path + "'";
  FILE* pipe = ::popen(cmd.c_str(), "r");
  if (pipe == nullptr) return out;
  std::string line;
  int c;
  while ((c = std::fgetc(pipe)) != EOF) {
    if (c != '\n') {
      line.push_back(static_cast<char>(c));
      continue;
    }
    if (line.rfind("record ", 0) == 0) out.emplace_back(line.substr(7), -1);
    if (line.rfind("rectype ", 0) == 0 && !out.empty())
      out.back().second = std::stoi(line.substr(8));
    line.clear();
  }
  ::pclose(pipe);
  return out;
}

// A fixed clock for repeatable files.
struct FakeClock {
  int64_t now = 1700000000000;
  Clock AsClock() {
    return [this] { return now; };
  }
};

}  // namespace varnock::engine::dss7::testing

#endif  // VARNOCK_ENGINE_DSS7_TEST_SUPPORT_H_
