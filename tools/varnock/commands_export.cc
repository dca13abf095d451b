// export: time series and paired data to CSV.
//
// One series gives "time,value[,quality]" rows after comment lines that carry what a value
// column cannot (pathname, units, type, precision), the form import reads back. Several series
// give one wide table: a time column and a column per series, a cell left empty where a series
// has no value at that time. A paired-data record gives its ordinates and one column per curve.
// Times are "YYYY-MM-DDTHH:MM:SS" (a day's 2400 written as 00:00 of the next day). Slots of
// regular blocks that were never written are left out. Files of both versions are read.
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>

#include "cli.h"
#include "csv.h"
#include "engine/records/paired/record_io.h"
#include "engine/records/series/series.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;
namespace container = engine::container;
namespace series = engine::series;
namespace paired = engine::paired;

namespace {

// The block records of one series, in date order.
struct SeriesGroup {
  std::string name;  // pathname with an empty D part
  std::vector<container::CatalogItem> blocks;
};

struct SeriesValues {
  std::string name;
  std::string units;
  std::string type;
  bool doubles = false;
  bool has_quality = false;
  std::vector<series::Instant> times;
  std::vector<double> values;
  std::vector<int32_t> quality;
};

// A six-part pattern with its D part made empty: export takes whole series.
PathPattern SeriesPattern(const std::string& text) {
  std::string parts[6];
  const std::string trimmed = TrimmedPath(text);
  if (!SplitPath(trimmed, parts)) return PathPattern(trimmed);
  return PathPattern(SeriesName(parts));
}

void ReadBlock(container::RecordReader& reader, const container::CatalogItem& block,
               series::SeriesRead* read) {
  const dss7::Status status = reader.ReadSeriesBlock(block, read);
  if (status == dss7::Status::kTypeMismatch)
    throw Failure(kExitFile, "cannot read " + block.listed_path + " as a time series");
  CheckListed(status, "cannot read " + block.listed_path);
}

SeriesValues ReadSeries(container::RecordReader& reader, const SeriesGroup& group,
                        series::Instant first, series::Instant last) {
  SeriesValues out;
  out.name = group.name;
  for (const auto& block : group.blocks) {
    series::SeriesRead read;
    ReadBlock(reader, block, &read);
    out.doubles = out.doubles || block.type % 10 >= 5;
    out.has_quality = out.has_quality || read.quality_size > 0;
    // DSS-6 hands its texts back blank-padded.
    if (out.units.empty()) out.units = read.units.substr(0, read.units.find_last_not_of(' ') + 1);
    if (out.type.empty()) out.type = read.type.substr(0, read.type.find_last_not_of(' ') + 1);
    for (size_t i = 0; i < read.values.size(); ++i) {
      if (read.values[i] == reader.NeverWritten()) continue;
      if (read.times[i] < first || read.times[i] > last) continue;
      out.times.push_back(read.times[i]);
      out.values.push_back(read.values[i]);
      out.quality.push_back(
          read.quality_size > 0 ? read.quality[i * static_cast<size_t>(read.quality_size)] : 0);
    }
  }
  return out;
}

std::string OneSeriesCsv(const SeriesValues& s) {
  std::string out = "# varnock export\n# pathname " + s.name + "\n# units " + s.units +
                    "\n# type " + s.type + "\n# precision " + (s.doubles ? "double" : "float") +
                    "\n";
  out += s.has_quality ? "time,value,quality\n" : "time,value\n";
  for (size_t i = 0; i < s.times.size(); ++i) {
    out += IsoTime(s.times[i]);
    out += ',';
    AppendNumber(out, s.values[i], s.doubles);
    if (s.has_quality) out += "," + std::to_string(s.quality[i]);
    out += '\n';
  }
  return out;
}

std::string JoinedFields(const std::vector<SeriesValues>& all, std::string SeriesValues::*field) {
  std::string out;
  for (const auto& s : all)
    out += (out.empty() ? "" : ",") + CsvField(s.*field);
  return out;
}

std::string WideCsv(const std::vector<SeriesValues>& all) {
  std::map<series::Instant, std::vector<double>> table;
  for (size_t column = 0; column < all.size(); ++column) {
    for (size_t i = 0; i < all[column].times.size(); ++i) {
      auto [row, added] = table.try_emplace(all[column].times[i]);
      if (added) row->second.assign(all.size(), std::nan(""));
      row->second[column] = all[column].values[i];
    }
  }
  std::string out = "# varnock export\n# units " + JoinedFields(all, &SeriesValues::units) +
                    "\n# type " + JoinedFields(all, &SeriesValues::type) + "\ntime," +
                    JoinedFields(all, &SeriesValues::name) + "\n";
  for (const auto& [time, values] : table) {
    out += IsoTime(time);
    for (size_t column = 0; column < values.size(); ++column) {
      out += ',';
      if (!std::isnan(values[column])) AppendNumber(out, values[column], all[column].doubles);
    }
    out += '\n';
  }
  return out;
}

std::string PairedCsv(container::RecordReader& reader, const container::CatalogItem& item) {
  const std::string& path = item.listed_path;
  paired::PairedData data;
  Check(reader.ReadPaired(item, &data), kExitFile, "cannot read " + path);
  std::string out = "# varnock export\n# pathname " + path + "\n# units " +
                    CsvField(data.units_independent) + "," + CsvField(data.units_dependent) +
                    "\n# type " + CsvField(data.type_independent) + "," +
                    CsvField(data.type_dependent) + "\n# precision " +
                    (data.doubles ? "double" : "float") + "\nordinate";
  for (int32_t curve = 0; curve < data.curve_count; ++curve) {
    const size_t c = static_cast<size_t>(curve);
    out +=
        "," + (data.has_labels() && !data.labels[c].empty() ? CsvField(data.labels[c])
                                                            : "curve " + std::to_string(curve + 1));
  }
  out += '\n';
  for (size_t row = 0; row < data.rows(); ++row) {
    AppendNumber(out, data.ordinates[row], data.doubles);
    for (size_t c = 0; c < static_cast<size_t>(data.curve_count); ++c) {
      out += ',';
      AppendNumber(out, data.Value(c, row), data.doubles);
    }
    out += '\n';
  }
  return out;
}

void WriteOutput(const std::string& text, const std::optional<std::string>& output) {
  FILE* sink = output ? std::fopen(output->c_str(), "w") : stdout;
  if (sink == nullptr) throw Failure(kExitFile, "cannot write " + *output);
  const bool written = std::fwrite(text.data(), 1, text.size(), sink) == text.size();
  const bool closed = !output || std::fclose(sink) == 0;
  if (!written || !closed) throw Failure(kExitFailure, "cannot write the CSV text");
}

}  // namespace

int RunExport(const std::vector<std::string>& raw) {
  const Arguments args(raw, {"start", "end", "output"}, {"csv"});
  args.RequireCount(2, SIZE_MAX,
                    "varnock export FILE PATTERN... [--start T] [--end T] --csv [--output F]");
  if (!args.Flag("csv")) throw Failure(kExitUsage, "name the output format: --csv");
  std::vector<PathPattern> patterns;
  for (size_t i = 1; i < args.Count(); ++i)
    patterns.push_back(SeriesPattern(args.At(i)));
  const auto start = args.Option("start");
  const auto end = args.Option("end");
  const series::Instant first = start ? RequireTime(*start, "--start") : INT64_MIN;
  const series::Instant last = end ? RequireTime(*end, "--end") : INT64_MAX;
  if (first > last) throw Failure(kExitUsage, "--end is before --start");
  const auto output = args.Option("output");
  std::error_code ignored;
  if (output && std::filesystem::is_directory(*output, ignored))
    throw Failure(kExitFile, *output + " is a directory");
  auto reader = OpenRecords(args.At(0));
  std::vector<container::CatalogItem> entries;
  Check(reader->file().SortedCatalog(&entries), kExitFile, "cannot read the catalog");
  std::erase_if(entries,
                [&](const auto& entry) { return !AnyMatches(patterns, entry.listed_path); });

  std::vector<SeriesGroup> groups;
  std::vector<container::CatalogItem> paired_paths;
  std::map<std::string, size_t> group_of;
  for (const auto& entry : entries) {
    std::string parts[6];
    if (IsPairedData(entry.type)) paired_paths.push_back(entry);
    if (!IsTimeSeries(entry.type) || !SplitPath(entry.listed_path, parts)) continue;
    auto [it, added] = group_of.try_emplace(SeriesName(parts), groups.size());
    if (added) groups.push_back({it->first, {}});
    groups[it->second].blocks.push_back(entry);
  }
  if (groups.empty() && paired_paths.empty())
    throw Failure(kExitNotFound, "no time series or paired data matches");
  if (!paired_paths.empty() && (paired_paths.size() > 1 || !groups.empty()))
    throw Failure(kExitUsage, "the patterns match " + std::to_string(paired_paths.size()) +
                                  " paired-data records and " + std::to_string(groups.size()) +
                                  " time series; export writes one paired-data record, or "
                                  "time series only");
  if (!paired_paths.empty()) {
    WriteOutput(PairedCsv(*reader, paired_paths.front()), output);
    return kExitOk;
  }
  std::vector<SeriesValues> all;
  Progress progress("exporting", static_cast<int64_t>(groups.size()));
  for (const auto& group : groups) {
    all.push_back(ReadSeries(*reader, group, first, last));
    progress.Advance(static_cast<int64_t>(all.size()));
  }
  progress.Done();
  WriteOutput(all.size() == 1 ? OneSeriesCsv(all.front()) : WideCsv(all), output);
  return kExitOk;
}

}  // namespace varnock::cli
