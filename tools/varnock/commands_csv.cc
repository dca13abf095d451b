// export and import: one time series to and from a CSV file of time, value and quality.
//
// The CSV file starts with comment lines that carry what a value column cannot: the series'
// pathname, units, type and precision. Times are "YYYY-MM-DDTHH:MM:SS" (a day's 2400 written as
// 00:00 of the next day, as the dump writes it). Slots of regular blocks that were never written
// are not exported, and stay unwritten on import, so an export imported into a new file gives
// the same records.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>

#include "cli.h"
#include "engine/dates.h"
#include "engine/series/series.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;
namespace series = engine::series;

namespace {

struct Row {
  series::Instant time = 0;
  double value = 0;
  int32_t quality = 0;
};

struct CsvSeries {
  std::string path;
  std::string units;
  std::string type;
  bool doubles = false;
  bool has_quality = false;
  std::vector<Row> rows;
};

bool SamePart(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::toupper(static_cast<unsigned char>(x)) ==
                  std::toupper(static_cast<unsigned char>(y));
         });
}

// Reads "YYYY-MM-DD[THH:MM[:SS]]" (a blank may stand for the T) as an instant.
bool ParseIsoTime(std::string_view text, series::Instant* out) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  char rest[8] = {};
  const std::string copy(text);
  const int fields = std::sscanf(copy.c_str(), "%4d-%2d-%2d%*1[T ]%2d:%2d:%2d%7s", &year, &month,
                                 &day, &hour, &minute, &second, rest);
  if (fields < 3 || fields == 4 || fields == 7) return false;
  if (fields == 3 && copy.size() != 10) return false;
  if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 24 || minute > 59 || second > 59)
    return false;
  int32_t julian = 0;
  if (!engine::YmdToJulian(year, month, day, &julian)) return false;
  const engine::CivilDate check = engine::JulianToYmd(julian);
  if (check.month != month || check.day != day) return false;
  *out = series::MakeInstant(julian, hour * 3600 + minute * 60 + second);
  return true;
}

series::Instant RequireTime(const std::string& text, const std::string& what) {
  series::Instant instant = 0;
  if (!ParseIsoTime(text, &instant))
    throw Failure(kExitUsage, what + " '" + text + "' is not a time (YYYY-MM-DDTHH:MM:SS)");
  return instant;
}

// The blocks of the series a pathname names (its D part ignored), in date order.
std::vector<dss7::CatalogEntry> SeriesBlocks(dss7::DssFile& file, const std::string& path) {
  std::string wanted[6];
  if (!SplitPath(path, wanted)) throw Failure(kExitUsage, "'" + path + "' is not a pathname");
  std::vector<dss7::CatalogEntry> entries;
  Check(file.SortedCatalog(&entries), kExitFile, "cannot read the catalog");
  std::vector<dss7::CatalogEntry> blocks;
  for (const auto& entry : entries) {
    std::string parts[6];
    if (entry.type < 100 || entry.type >= 120 || !SplitPath(entry.path, parts)) continue;
    bool same = true;
    for (int i : {0, 1, 2, 4, 5})
      same = same && SamePart(parts[i], wanted[i]);
    if (same) blocks.push_back(entry);
  }
  return blocks;
}

void AppendNumber(std::string& out, double value, bool doubles) {
  char text[40];
  std::snprintf(text, sizeof text, doubles ? "%.17g" : "%.9g", value);
  out += text;
}

std::string Trimmed(std::string text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
    text.pop_back();
  size_t start = 0;
  while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start])))
    ++start;
  return text.substr(start);
}

CsvSeries ReadCsv(const std::string& name) {
  std::ifstream in(name);
  if (!in) throw Failure(kExitFile, "cannot read " + name);
  CsvSeries csv;
  std::string line;
  int line_number = 0;
  bool header_seen = false;
  while (std::getline(in, line)) {
    ++line_number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    if (line[0] == '#') {
      std::istringstream words(line.substr(1));
      std::string key;
      words >> key;
      std::string value;
      std::getline(words, value);
      value = Trimmed(value);
      if (key == "pathname") csv.path = value;
      if (key == "units") csv.units = value;
      if (key == "type") csv.type = value;
      if (key == "precision") csv.doubles = value == "double";
      continue;
    }
    std::vector<std::string> cells;
    std::stringstream fields(line);
    for (std::string cell; std::getline(fields, cell, ',');)
      cells.push_back(Trimmed(cell));
    const std::string where = name + " line " + std::to_string(line_number) + ": ";
    if (!header_seen) {
      header_seen = true;
      if (cells.size() >= 2 && cells[0] == "time") {
        csv.has_quality = cells.size() >= 3 && cells[2] == "quality";
        continue;
      }
    }
    if (cells.size() < 2) throw Failure(kExitBadInput, where + "expected time,value");
    Row row;
    if (!ParseIsoTime(cells[0], &row.time))
      throw Failure(kExitBadInput, where + "bad time '" + cells[0] + "'");
    char* end = nullptr;
    row.value = std::strtod(cells[1].c_str(), &end);
    if (cells[1].empty() || *end != '\0')
      throw Failure(kExitBadInput, where + "bad value '" + cells[1] + "'");
    if (csv.has_quality && cells.size() >= 3 && !cells[2].empty()) {
      const long quality = std::strtol(cells[2].c_str(), &end, 10);
      if (*end != '\0') throw Failure(kExitBadInput, where + "bad quality '" + cells[2] + "'");
      row.quality = static_cast<int32_t>(quality);
    }
    if (!csv.rows.empty() && row.time <= csv.rows.back().time)
      throw Failure(kExitBadInput, where + "times must increase");
    csv.rows.push_back(row);
  }
  return csv;
}

// A failed store is a write failure when the file refused it, else a fault of the input.
void RequireStored(const series::SeriesStatus& status, const std::string& path) {
  if (status.ok()) return;
  Check(status.file, kExitWriteFailed, "cannot store " + path);
  throw Failure(kExitBadInput, "cannot store " + path + " (error " +
                                   std::to_string(static_cast<int>(status.code)) + ")");
}

void StoreRegularRuns(dss7::DssFile& file, const CsvSeries& csv, const series::Interval& interval) {
  // Rows that follow one another slot by slot go in one store; a gap ends the run, so slots
  // and blocks the export left out stay unwritten.
  Progress progress("importing", static_cast<int64_t>(csv.rows.size()));
  size_t begin = 0;
  while (begin < csv.rows.size()) {
    size_t end = begin + 1;
    series::Instant standard = series::Standardise(interval, csv.rows[begin].time).standard;
    while (end < csv.rows.size()) {
      const series::Instant next = series::StepStandard(interval, standard, 1);
      if (series::Standardise(interval, csv.rows[end].time).standard != next) break;
      standard = next;
      ++end;
    }
    std::vector<double> values;
    std::vector<int32_t> quality;
    for (size_t i = begin; i < end; ++i) {
      values.push_back(csv.rows[i].value);
      quality.push_back(csv.rows[i].quality);
    }
    series::RegularStore store;
    store.path = csv.path;
    store.start = csv.rows[begin].time;
    store.values = values;
    store.doubles = csv.doubles;
    store.units = csv.units;
    store.type = csv.type;
    if (csv.has_quality) {
      store.quality = quality;
      store.quality_size = 1;
    }
    RequireStored(series::StoreRegular(file, store), csv.path);
    progress.Advance(static_cast<int64_t>(end));
    begin = end;
  }
}

void StoreIrregularRows(dss7::DssFile& file, const CsvSeries& csv) {
  std::vector<series::Instant> times;
  std::vector<double> values;
  std::vector<int32_t> quality;
  for (const Row& row : csv.rows) {
    times.push_back(row.time);
    values.push_back(row.value);
    quality.push_back(row.quality);
  }
  series::IrregularStore store;
  store.path = csv.path;
  store.times = times;
  store.values = values;
  store.doubles = csv.doubles;
  store.units = csv.units;
  store.type = csv.type;
  if (csv.has_quality) {
    store.quality = quality;
    store.quality_size = 1;
  }
  RequireStored(series::StoreIrregular(file, store), csv.path);
}

}  // namespace

int RunExport(const std::vector<std::string>& raw) {
  const Arguments args(raw, {"start", "end", "output"}, {"csv"});
  args.RequireCount(2, 2, "varnock export FILE PATHNAME [--start T] [--end T] --csv [--output F]");
  if (!args.Flag("csv")) throw Failure(kExitUsage, "name the output format: --csv");
  auto file = OpenDss(args.At(0), false);
  const auto blocks = SeriesBlocks(*file, args.At(1));
  if (blocks.empty()) throw Failure(kExitNotFound, "no time series matches " + args.At(1));
  const auto start = args.Option("start");
  const auto end = args.Option("end");
  const series::Instant first = start ? RequireTime(*start, "--start") : INT64_MIN;
  const series::Instant last = end ? RequireTime(*end, "--end") : INT64_MAX;
  if (first > last) throw Failure(kExitUsage, "--end is before --start");

  std::string out = "# varnock export\n# pathname ";
  std::string parts[6];
  SplitPath(blocks.front().path, parts);
  out +=
      "/" + parts[0] + "/" + parts[1] + "/" + parts[2] + "//" + parts[4] + "/" + parts[5] + "/\n";
  std::string rows;
  bool doubles = false, has_quality = false;
  std::string units, type;
  for (const auto& block : blocks) {
    series::SeriesRead read;
    series::SeriesStatus status;
    const bool regular = block.type < 110;
    if (regular) {
      series::Instant block_start = 0;
      int32_t count = 0;
      status = series::RegularBlockWindow(block.path, &block_start, &count);
      if (status.ok()) status = series::ReadRegular(*file, block.path, block_start, count, &read);
    } else {
      series::Instant block_first = 0, block_last = 0;
      status = series::IrregularBlockWindow(block.path, &block_first, &block_last);
      if (status.ok())
        status = series::ReadIrregular(*file, block.path, block_first, block_last, &read);
    }
    if (!status.ok()) throw Failure(kExitFile, "cannot read " + block.path);
    doubles = doubles || block.type % 10 >= 5;
    has_quality = has_quality || read.quality_size > 0;
    if (units.empty()) units = read.units;
    if (type.empty()) type = read.type;
    for (size_t i = 0; i < read.values.size(); ++i) {
      if (read.values[i] == series::kUndefinedDouble) continue;  // never written
      if (read.times[i] < first || read.times[i] > last) continue;
      rows += IsoTime(read.times[i]);
      rows += ',';
      AppendNumber(rows, read.values[i], block.type % 10 >= 5);
      if (read.quality_size > 0)
        rows += "," + std::to_string(read.quality[i * static_cast<size_t>(read.quality_size)]);
      rows += '\n';
    }
  }
  out += "# units " + units + "\n# type " + type + "\n# precision " +
         (doubles ? "double" : "float") + "\n";
  out += has_quality ? "time,value,quality\n" : "time,value\n";
  out += rows;
  const auto output = args.Option("output");
  FILE* sink = output ? std::fopen(output->c_str(), "w") : stdout;
  if (sink == nullptr) throw Failure(kExitFile, "cannot write " + *output);
  const bool written = std::fwrite(out.data(), 1, out.size(), sink) == out.size();
  if (output) std::fclose(sink);
  if (!written) throw Failure(kExitFailure, "cannot write the CSV text");
  return kExitOk;
}

int RunImport(const std::vector<std::string>& raw) {
  const Arguments args(raw, {"path", "units", "type"}, {"doubles"});
  args.RequireCount(2, 2, "varnock import FILE CSV [--path PATHNAME] [--units U] [--type T]");
  CsvSeries csv = ReadCsv(args.At(1));
  if (auto path = args.Option("path")) csv.path = *path;
  if (auto units = args.Option("units")) csv.units = *units;
  if (auto type = args.Option("type")) csv.type = *type;
  if (args.Flag("doubles")) csv.doubles = true;
  if (csv.path.empty()) throw Failure(kExitUsage, "the CSV names no pathname: give --path");
  if (csv.rows.empty()) throw Failure(kExitBadInput, args.At(1) + " holds no values");
  series::SeriesPath parsed;
  const bool regular = series::ParseSeriesPath(csv.path, false, &parsed).ok();
  if (!regular && !series::ParseSeriesPath(csv.path, true, &parsed).ok())
    throw Failure(kExitUsage, "'" + csv.path + "' does not name a regular or irregular interval");
  auto file = OpenOrCreateDss(args.At(0));
  if (regular) {
    StoreRegularRuns(*file, csv, *parsed.interval);
  } else {
    StoreIrregularRows(*file, csv);
  }
  Check(file->Close(), kExitWriteFailed, "cannot close " + args.At(0));
  std::fprintf(stderr, "imported %zu values into %s\n", csv.rows.size(), csv.path.c_str());
  return kExitOk;
}

}  // namespace varnock::cli
