// CSV files of the export and import commands: RFC 4180 records (quoted fields may hold commas,
// quotes doubled, line breaks), '#' comment lines, an optional UTF-8 byte-order mark.
#ifndef VARNOCK_TOOLS_VARNOCK_CSV_H_
#define VARNOCK_TOOLS_VARNOCK_CSV_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace varnock::cli {

// One row of a series CSV: a time, a value and its quality, with the line it came from.
struct CsvRow {
  int64_t time = 0;
  double value = 0;
  int32_t quality = 0;
  int line = 0;
};

// A series as a CSV file holds it: comment lines give what a value column cannot.
struct CsvSeries {
  std::string path;
  std::string units;
  std::string type;
  bool doubles = false;
  bool has_quality = false;
  std::vector<CsvRow> rows;
};

// Reads a file of "time,value[,quality]" rows, with or without a header line naming the
// columns; fails with kExitBadInput naming the file and line of the first bad row.
CsvSeries ReadSeriesCsv(const std::string& name);

// "where: " prefix of messages about a row.
std::string RowPlace(const std::string& file, int line);

// A CSV field, quoted when it holds a comma, quote or line break.
std::string CsvField(std::string_view text);

}  // namespace varnock::cli

#endif  // VARNOCK_TOOLS_VARNOCK_CSV_H_
