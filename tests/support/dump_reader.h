// Reads the pathnames and record types of a canonical dump (plain or gzip-compressed).
#ifndef VARNOCK_TESTS_SUPPORT_DUMP_READER_H_
#define VARNOCK_TESTS_SUPPORT_DUMP_READER_H_

#include <cstdio>
#include <map>
#include <memory>
#include <sstream>
#include <string>

namespace varnock::testing {

// The whole text of a dump file, gzip-compressed or not.
inline std::string ReadDumpText(const std::string& dump_path) {
  const bool compressed = dump_path.size() > 3 && dump_path.substr(dump_path.size() - 3) == ".gz";
  const std::string command = (compressed ? "gzip -dc '" : "cat '") + dump_path + "'";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string text;
  if (!pipe) return text;
  char buffer[65536];
  size_t read = 0;
  while ((read = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0)
    text.append(buffer, read);
  return text;
}

// Pathname -> record type of every record block of a dump.
inline std::map<std::string, int> DumpRecordTypes(const std::string& dump_path) {
  std::map<std::string, int> records;
  std::istringstream lines(ReadDumpText(dump_path));
  std::string current;
  for (std::string text; std::getline(lines, text);) {
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
