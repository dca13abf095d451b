// import: one time series from a CSV file of time, value and quality.
//
// A regular series keeps one value per interval slot, so every time must lie on the series'
// grid: the first row's time fixes the offset within the interval, and each later row must
// fall at that offset of its own slot. Readings at other times are combined into slot values
// only on request (--aggregate), by the rules of the regular series class: readings count
// toward the interval they end in (one stamped exactly at a slot time belongs to that slot),
// INST-VAL series take the highest, the last or the average reading, PER-CUM series the sum.
#include <cfloat>
#include <cmath>
#include <cstdio>

#include "cli.h"
#include "csv.h"
#include "engine/records/series/classic.h"
#include "engine/records/series/series.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;
namespace series = engine::series;

namespace {

// A failed store is a write failure when the file refused it, damage when a stored block
// fails its checks, else a conflict of the input with what the file holds.
void RequireStored(const series::SeriesStatus& status, const std::string& path) {
  if (status.ok()) return;
  const std::string what = "cannot store " + path;
  Check(status.file, kExitWriteFailed, what);
  switch (status.code) {
    case series::SeriesCode::kDamaged:
      throw Failure(kExitFile, what + ": a stored block fails its checks (damaged file)");
    case series::SeriesCode::kWrongType:
      throw Failure(kExitBadInput, what + ": a record of another type holds one of its blocks");
    case series::SeriesCode::kIncompatible:
      throw Failure(kExitBadInput,
                    what + ": the stored records keep quality or notes of another size");
    case series::SeriesCode::kTooLarge:
      throw Failure(kExitBadInput, what + ": a block would exceed the largest record");
    default:
      throw Failure(kExitBadInput,
                    what + " (error " + std::to_string(static_cast<int>(status.code)) + ")");
  }
}

void RequireFloatRange(const CsvSeries& csv, const std::string& name) {
  if (csv.doubles) return;
  for (const CsvRow& row : csv.rows) {
    if (std::fabs(row.value) <= FLT_MAX) continue;
    std::string value;
    AppendNumber(value, row.value, false);
    throw Failure(kExitBadInput, RowPlace(name, row.line) + "value " + value +
                                     " does not fit a single-precision record; use --doubles");
  }
}

void RequireOnGrid(const CsvSeries& csv, const series::Interval& interval,
                   const std::string& name) {
  const int64_t first = csv.rows.front().time;
  const int32_t offset = series::Standardise(interval, first).offset;
  for (const CsvRow& row : csv.rows) {
    const series::Instant slot = series::Standardise(interval, row.time).standard;
    if (series::ReportedTime(interval, slot, offset) == row.time) continue;
    throw Failure(kExitBadInput,
                  RowPlace(name, row.line) + "time " + IsoTime(row.time) + " is off the " +
                      std::string(interval.name) + " grid that the first row (" + IsoTime(first) +
                      ") sets; a regular series holds one value per interval: give times on "
                      "the grid, or combine readings with --aggregate RULE");
  }
}

enum class Rule { kHighest, kLast, kAverage, kSum };

Rule AggregationRule(const std::string& rule, const std::string& type) {
  const bool cumulative = SameIgnoringCase(type, "PER-CUM");
  if (!cumulative && !SameIgnoringCase(type, "INST-VAL"))
    throw Failure(kExitUsage,
                  "--aggregate combines INST-VAL series (highest, last, average) and "
                  "PER-CUM series (sum); this series' type is '" +
                      type + "' (set it with --type)");
  if (cumulative != (rule == "sum"))
    throw Failure(kExitUsage, cumulative ? "a PER-CUM series aggregates with --aggregate sum"
                                         : "an INST-VAL series aggregates with --aggregate "
                                           "highest, last or average");
  if (rule == "highest") return Rule::kHighest;
  if (rule == "last") return Rule::kLast;
  if (rule == "average") return Rule::kAverage;
  if (rule == "sum") return Rule::kSum;
  throw Failure(kExitUsage, "unknown rule --aggregate " + rule);
}

// One row per interval that received a reading, at the interval's end. Readings below -900
// are missing and count toward nothing.
std::vector<CsvRow> Aggregate(const std::vector<CsvRow>& readings, const series::Interval& interval,
                              Rule rule) {
  std::vector<CsvRow> slots;
  size_t count = 0;
  for (const CsvRow& reading : readings) {
    if (reading.value < -900) continue;
    const series::Instant slot = series::Standardise(interval, reading.time).standard;
    if (slots.empty() || slots.back().time != slot) {
      if (rule == Rule::kAverage && count > 0) slots.back().value /= static_cast<double>(count);
      slots.push_back({slot, reading.value, 0, reading.line});
      count = 1;
      continue;
    }
    double& value = slots.back().value;
    ++count;
    switch (rule) {
      case Rule::kHighest:
        value = std::max(value, reading.value);
        break;
      case Rule::kLast:
        value = reading.value;
        break;
      case Rule::kAverage:
      case Rule::kSum:
        value += reading.value;
        break;
    }
  }
  if (rule == Rule::kAverage && count > 0) slots.back().value /= static_cast<double>(count);
  return slots;
}

// The parts a regular and an irregular store share: name, values, units, type and quality.
template <typename Store>
void Describe(const CsvSeries& csv, const std::vector<double>& values,
              const std::vector<int32_t>& quality, Store* store) {
  store->path = csv.path;
  store->values = values;
  store->doubles = csv.doubles;
  store->units = csv.units;
  store->type = csv.type;
  if (csv.has_quality) {
    store->quality = quality;
    store->quality_size = 1;
  }
}

void StoreRegularRuns(series::SeriesFile& file, const CsvSeries& csv,
                      const series::Interval& interval) {
  // Rows that follow one another slot by slot go in one store, one block at a time; a gap ends
  // the run, so slots and blocks the export left out stay unwritten.
  Progress progress("storing", static_cast<int64_t>(csv.rows.size()));
  size_t begin = 0;
  std::vector<double> values;
  std::vector<int32_t> quality;
  while (begin < csv.rows.size()) {
    series::Instant standard = series::Standardise(interval, csv.rows[begin].time).standard;
    const int32_t block = series::BlockOf(interval.block, standard);
    size_t end = begin + 1;
    while (end < csv.rows.size()) {
      const series::Instant next = series::StepStandard(interval, standard, 1);
      if (series::Standardise(interval, csv.rows[end].time).standard != next ||
          series::BlockOf(interval.block, next) != block)
        break;
      standard = next;
      ++end;
    }
    values.clear();
    quality.clear();
    for (size_t i = begin; i < end; ++i) {
      values.push_back(csv.rows[i].value);
      quality.push_back(csv.rows[i].quality);
    }
    series::RegularStore store;
    Describe(csv, values, quality, &store);
    store.start = csv.rows[begin].time;
    RequireStored(file.StoreRegular(store), csv.path);
    progress.Advance(static_cast<int64_t>(end));
    begin = end;
  }
}

void StoreIrregularRows(series::SeriesFile& file, const CsvSeries& csv) {
  std::vector<series::Instant> times;
  std::vector<double> values;
  std::vector<int32_t> quality;
  for (const CsvRow& row : csv.rows) {
    times.push_back(row.time);
    values.push_back(row.value);
    quality.push_back(row.quality);
  }
  series::IrregularStore store;
  Describe(csv, values, quality, &store);
  store.times = times;
  RequireStored(file.StoreIrregular(store), csv.path);
}

}  // namespace

int RunImport(const std::vector<std::string>& raw) {
  const Arguments args(raw, {"path", "units", "type", "aggregate", "new-version"}, {"doubles"});
  const int new_version = NewFileVersion(args);
  args.RequireCount(2, 2,
                    "varnock import FILE CSV [--path PATHNAME] [--units U] [--type T] "
                    "[--doubles] [--aggregate RULE]");
  const std::string& csv_name = args.At(1);
  CsvSeries csv = ReadSeriesCsv(csv_name);
  if (auto path = args.Option("path")) csv.path = TrimmedPath(*path);
  if (auto units = args.Option("units")) csv.units = *units;
  if (auto type = args.Option("type")) csv.type = *type;
  if (args.Flag("doubles")) csv.doubles = true;
  if (csv.path.empty()) throw Failure(kExitUsage, "the CSV names no pathname: give --path");
  if (csv.rows.empty()) throw Failure(kExitBadInput, csv_name + " holds no values");
  series::SeriesPath parsed;
  const bool regular = series::ParseSeriesPath(csv.path, false, &parsed).ok();
  if (!regular && !series::ParseSeriesPath(csv.path, true, &parsed).ok())
    throw Failure(kExitUsage, "'" + csv.path + "' does not name a regular or irregular interval");
  RequireFloatRange(csv, csv_name);
  const size_t readings = csv.rows.size();
  if (auto rule = args.Option("aggregate")) {
    if (!regular) throw Failure(kExitUsage, "--aggregate applies to regular series only");
    if (csv.has_quality)
      throw Failure(kExitUsage,
                    "--aggregate does not combine quality flags; leave out the "
                    "quality column");
    csv.rows = Aggregate(csv.rows, *parsed.interval, AggregationRule(*rule, csv.type));
    if (csv.rows.empty()) throw Failure(kExitBadInput, csv_name + " holds no present values");
  } else if (regular) {
    RequireOnGrid(csv, *parsed.interval, csv_name);
  }

  auto file = OpenOrCreateRecordFile(args.At(0), new_version);
  if (regular) {
    StoreRegularRuns(*file, csv, *parsed.interval);
  } else {
    StoreIrregularRows(*file, csv);
  }
  Check(file->file().Close(), kExitWriteFailed, "cannot close " + args.At(0));
  const auto plural = [](size_t n) { return n == 1 ? "" : "s"; };
  if (readings == csv.rows.size()) {
    std::fprintf(stderr, "imported %zu value%s into %s\n", readings, plural(readings),
                 csv.path.c_str());
  } else {
    std::fprintf(stderr, "imported %zu reading%s as %zu value%s into %s\n", readings,
                 plural(readings), csv.rows.size(), plural(csv.rows.size()), csv.path.c_str());
  }
  return kExitOk;
}

}  // namespace varnock::cli
