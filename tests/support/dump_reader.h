// Reads the pathnames and record types of a canonical dump (plain or gzip-compressed).
#ifndef VARNOCK_TESTS_SUPPORT_DUMP_READER_H_
#define VARNOCK_TESTS_SUPPORT_DUMP_READER_H_

#include <cctype>
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

// A DSS-7 dump's pathname as HECLIB 6's catalog shows it: upper-cased, and for a time series
// (rectype 100..199) the reference files' DSS-7 interval spellings under the interval
// vocabulary's names. Other E parts keep their spelling.
inline std::string Heclib6Name(const std::string& path, int rectype) {
  static const std::map<std::string, std::string> kVocabularyNames = {
      {"15MINUTE", "15MIN"}, {"1MINUTE", "1MIN"}, {"1MONTH", "1MON"}};
  std::string name = path;
  for (char& c : name)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (rectype < 100 || rectype > 199) return name;
  size_t e_begin = 0;
  for (int slash = 0; slash < 5 && e_begin != std::string::npos; ++slash)
    e_begin = name.find('/', e_begin + (slash > 0 ? 1 : 0));
  if (e_begin == std::string::npos) return name;
  const size_t e_end = name.find('/', e_begin + 1);
  if (e_end == std::string::npos) return name;
  const auto found = kVocabularyNames.find(name.substr(e_begin + 1, e_end - e_begin - 1));
  if (found != kVocabularyNames.end())
    name.replace(e_begin + 1, e_end - e_begin - 1, found->second);
  return name;
}

}  // namespace varnock::testing

#endif  // VARNOCK_TESTS_SUPPORT_DUMP_READER_H_
