// Reads the time-series blocks of a canonical dump (plain or gzip-compressed): pathname, record
// type, units, data type, and the time and value texts of every line.
#ifndef VARNOCK_TESTS_SUPPORT_DUMP_RECORDS_H_
#define VARNOCK_TESTS_SUPPORT_DUMP_RECORDS_H_

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace varnock::testing {

struct DumpSeries {
  std::string path;
  int rectype = 0;
  std::string units;
  std::string type;
  std::vector<std::string> times;   // "YYYY-MM-DDTHH:MM:SS"
  std::vector<std::string> values;  // as printed
};

inline std::vector<DumpSeries> DumpTimeSeries(const std::string& dump_path) {
  const bool compressed = dump_path.size() > 3 && dump_path.substr(dump_path.size() - 3) == ".gz";
  const std::string command = (compressed ? "gzip -dc '" : "cat '") + dump_path + "'";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::vector<DumpSeries> series;
  if (!pipe) return series;
  char line[4096];
  DumpSeries current;
  bool in_series = false;
  while (std::fgets(line, sizeof line, pipe.get()) != nullptr) {
    std::string text(line);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    if (text.rfind("record ", 0) == 0) {
      current = DumpSeries{};
      current.path = text.substr(7);
      in_series = false;
    } else if (text.rfind("rectype ", 0) == 0) {
      current.rectype = std::stoi(text.substr(8));
      in_series = current.rectype >= 100 && current.rectype < 120;
    } else if (!in_series) {
      continue;
    } else if (text == "end") {
      series.push_back(current);
      in_series = false;
    } else if (text.rfind("units", 0) == 0) {
      current.units = text.size() > 6 ? text.substr(6) : "";
    } else if (text.rfind("type", 0) == 0) {
      current.type = text.size() > 5 ? text.substr(5) : "";
    } else if (text.rfind("count ", 0) == 0) {
      continue;
    } else {
      const size_t blank = text.find(' ');
      if (blank == std::string::npos) continue;
      current.times.push_back(text.substr(0, blank));
      current.values.push_back(text.substr(blank + 1));
    }
  }
  return series;
}

}  // namespace varnock::testing

#endif  // VARNOCK_TESTS_SUPPORT_DUMP_RECORDS_H_
