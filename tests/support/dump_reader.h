// Reads the pathnames and record types of a canonical dump (plain or gzip-compressed).
#ifndef VARNOCK_TESTS_SUPPORT_DUMP_READER_H_
#define VARNOCK_TESTS_SUPPORT_DUMP_READER_H_

#include <cstdio>
#include <map>
#include <memory>
#include <string>

namespace varnock::testing {

// Pathname -> record type of every record block of a dump.
inline std::map<std::string, int> DumpRecordTypes(const std::string& dump_path) {
  const bool compressed = dump_path.size() > 3 && dump_path.substr(dump_path.size() - 3) == ".gz";
  const std::string command = (compressed ? "gzip -dc '" : "cat '") + dump_path + "'";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::map<std::string, int> records;
  if (!pipe) return records;
  char line[4096];
  std::string current;
  while (std::fgets(line, sizeof line, pipe.get()) != nullptr) {
    std::string text(line);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    if (text.rfind("record ", 0) == 0) {
      current = text.substr(7);
      records[current] = 0;
    } else if (text.rfind("rectype ", 0) == 0 && !current.empty()) {
      records[current] = std::stoi(text.substr(8));
    }
  }
  return records;
}

}  // namespace varnock::testing

#endif  // VARNOCK_TESTS_SUPPORT_DUMP_READER_H_
