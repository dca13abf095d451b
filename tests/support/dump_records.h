// Reads the time-series and paired-data blocks of a canonical dump (plain or gzip-compressed).
#ifndef VARNOCK_TESTS_SUPPORT_DUMP_RECORDS_H_
#define VARNOCK_TESTS_SUPPORT_DUMP_RECORDS_H_

#include <sstream>
#include <string>
#include <vector>

#include "tests/support/dump_reader.h"

namespace varnock::testing {

struct DumpSeries {
  std::string path;
  int rectype = 0;
  std::string units;
  std::string type;
  std::vector<std::string> times;   // "YYYY-MM-DDTHH:MM:SS"
  std::vector<std::string> values;  // as printed
};

struct DumpPaired {
  std::string path;
  int rectype = 0;
  int ordinates = 0;
  int curves = 0;
  std::string units[2];  // independent, dependent
  std::string types[2];
  std::vector<std::string> labels;
  std::vector<std::vector<std::string>> rows;  // x, then one y per curve, as printed
};

// The text after "key " on a line that starts with it ("units CFS"), or nothing.
inline bool DumpField(const std::string& line, const std::string& key, std::string* value) {
  if (line != key && line.rfind(key + " ", 0) != 0) return false;
  *value = line.size() > key.size() ? line.substr(key.size() + 1) : "";
  return true;
}

inline std::vector<std::string> DumpWords(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;)
    words.push_back(word);
  return words;
}

// Every record block of a dump with a type in [low, high], handed to on_line line by line
// (starting with the pathname), and closed by on_end.
template <typename OnStart, typename OnLine, typename OnEnd>
void ForEachDumpBlock(const std::string& dump_path, int low, int high, OnStart on_start,
                      OnLine on_line, OnEnd on_end) {
  std::istringstream lines(ReadDumpText(dump_path));
  std::string path;
  bool inside = false;
  for (std::string text; std::getline(lines, text);) {
    std::string value;
    if (DumpField(text, "record", &path)) {
      inside = false;
    } else if (DumpField(text, "rectype", &value)) {
      const int rectype = std::stoi(value);
      inside = rectype >= low && rectype <= high;
      if (inside) on_start(path, rectype);
    } else if (inside && text == "end") {
      on_end();
      inside = false;
    } else if (inside) {
      on_line(text);
    }
  }
}

inline std::vector<DumpSeries> DumpTimeSeries(const std::string& dump_path) {
  std::vector<DumpSeries> series;
  DumpSeries current;
  ForEachDumpBlock(
      dump_path, 100, 119,
      [&](const std::string& path, int rectype) {
        current = DumpSeries{};
        current.path = path;
        current.rectype = rectype;
      },
      [&](const std::string& text) {
        std::string ignored;
        if (DumpField(text, "units", &current.units) || DumpField(text, "type", &current.type) ||
            DumpField(text, "count", &ignored))
          return;
        const size_t blank = text.find(' ');
        if (blank == std::string::npos) return;
        current.times.push_back(text.substr(0, blank));
        current.values.push_back(text.substr(blank + 1));
      },
      [&] { series.push_back(current); });
  return series;
}

inline std::vector<DumpPaired> DumpPairedData(const std::string& dump_path) {
  std::vector<DumpPaired> records;
  DumpPaired current;
  ForEachDumpBlock(
      dump_path, 200, 209,
      [&](const std::string& path, int rectype) {
        current = DumpPaired{};
        current.path = path;
        current.rectype = rectype;
      },
      [&](const std::string& text) {
        std::string value;
        if (DumpField(text, "ordinates", &value)) {
          current.ordinates = std::stoi(value);
        } else if (DumpField(text, "curves", &value)) {
          current.curves = std::stoi(value);
        } else if (DumpField(text, "label", &value)) {
          current.labels.push_back(value.substr(value.find(' ') + 1));
        } else if (DumpField(text, "row", &value)) {
          current.rows.push_back(DumpWords(value));
        } else {
          DumpField(text, "units_independent", &current.units[0]) ||
              DumpField(text, "units_dependent", &current.units[1]) ||
              DumpField(text, "type_independent", &current.types[0]) ||
              DumpField(text, "type_dependent", &current.types[1]);
        }
      },
      [&] { records.push_back(current); });
  return records;
}

}  // namespace varnock::testing

#endif  // VARNOCK_TESTS_SUPPORT_DUMP_RECORDS_H_
