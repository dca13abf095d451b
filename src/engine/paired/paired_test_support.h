// Helpers for the paired-data and text tests: record blocks of the canonical dumps, and files
// opened or created through the file layer.
#ifndef VARNOCK_ENGINE_PAIRED_PAIRED_TEST_SUPPORT_H_
#define VARNOCK_ENGINE_PAIRED_PAIRED_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::paired::testing {

struct DumpBlock {
  int rectype = 0;
  std::string lines;  // between the rectype line and "end", each ending in '\n'
};

// Blocks of paired-data and text records (rectype 200..399), by pathname.
inline std::map<std::string, DumpBlock> PairedAndTextBlocks(const std::string& dump_path) {
  const bool gz = dump_path.size() > 3 && dump_path.substr(dump_path.size() - 3) == ".gz";
  const std::string command = (gz ? "gzip -dc '" : "cat '") + dump_path + "'";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::map<std::string, DumpBlock> blocks;
  if (!pipe) return blocks;
  std::string line, path;
  DumpBlock* current = nullptr;
  for (int c; (c = std::fgetc(pipe.get())) != EOF;) {
    if (c != '\n') {
      line.push_back(static_cast<char>(c));
      continue;
    }
    if (line.rfind("record ", 0) == 0) {
      path = line.substr(7);
      current = nullptr;
    } else if (line.rfind("rectype ", 0) == 0) {
      const int type = std::stoi(line.substr(8));
      current = type >= 200 && type < 400 ? &blocks[path] : nullptr;
      if (current != nullptr) current->rectype = type;
    } else if (line == "end") {
      current = nullptr;
    } else if (current != nullptr) {
      current->lines += line + "\n";
    }
    line.clear();
  }
  return blocks;
}

inline std::unique_ptr<dss7::DssFile> OpenFile(const std::string& path, bool read_only = false) {
  dss7::FileOptions options;
  options.read_only = read_only;
  std::unique_ptr<dss7::DssFile> file;
  const dss7::Status s = dss7::DssFile::Open(path, options, &file);
  EXPECT_EQ(s, dss7::Status::kOk) << path;
  return file;
}

inline std::unique_ptr<dss7::DssFile> CreateFile(const std::string& path) {
  std::unique_ptr<dss7::DssFile> file;
  const dss7::Status s = dss7::DssFile::Create(path, {}, {}, &file);
  EXPECT_EQ(s, dss7::Status::kOk) << path;
  return file;
}

}  // namespace varnock::engine::paired::testing

#endif  // VARNOCK_ENGINE_PAIRED_PAIRED_TEST_SUPPORT_H_
