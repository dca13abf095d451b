// dump: the canonical text rendering of a whole DSS file ("DSSDUMP 1").
#include <algorithm>
#include <cstdio>
#include <string>

#include "cli.h"
#include "engine/dates.h"
#include "engine/paired/dump_lines.h"
#include "engine/paired/record_io.h"
#include "engine/series/series.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;
namespace series = engine::series;
namespace paired = engine::paired;

namespace {

bool IsRegular(int32_t type) {
  return type >= 100 && type < 110;
}
bool IsPaired(int32_t type) {
  return type >= 200 && type < 210;
}
bool IsText(int32_t type) {
  return type == 300 || type == 310;
}
bool HoldsDoubles(int32_t type) {
  return type % 10 >= 5;
}

// The series lines of one block record; the read's status when it cannot be read as a series.
series::SeriesStatus SeriesLines(dss7::DssFile& file, const dss7::CatalogEntry& entry,
                                 std::string& out) {
  series::SeriesRead read;
  series::SeriesStatus status;
  if (IsRegular(entry.type)) {
    series::Instant start = 0;
    int32_t count = 0;
    status = series::RegularBlockWindow(entry.path, &start, &count);
    if (status.ok()) status = series::ReadRegular(file, entry.path, start, count, &read);
  } else {
    series::Instant first = 0, last = 0;
    status = series::IrregularBlockWindow(entry.path, &first, &last);
    if (status.ok()) status = series::ReadIrregular(file, entry.path, first, last, &read);
  }
  if (!status.ok()) return status;
  if (read.times.size() != read.values.size()) return {series::SeriesCode::kDamaged};
  out += read.units.empty() ? "units\n" : "units " + read.units + "\n";
  out += read.type.empty() ? "type\n" : "type " + read.type + "\n";
  out += "count " + std::to_string(read.values.size()) + "\n";
  const bool doubles = HoldsDoubles(entry.type);
  for (size_t i = 0; i < read.values.size(); ++i) {
    out += IsoTime(read.times[i]);
    out += ' ';
    AppendNumber(out, read.values[i], doubles);
    out += '\n';
  }
  return {};
}

// The type-specific lines of one record; "unsupported" for kinds the dump does not render, and
// "error <status>" (the file layer's status number) for a record that cannot be read.
std::string RecordLines(dss7::DssFile& file, const dss7::CatalogEntry& entry, size_t* failed) {
  std::string lines;
  dss7::Status failure = dss7::Status::kTypeMismatch;
  if (series::IsPlainSeriesType(entry.type)) {
    const series::SeriesStatus status = SeriesLines(file, entry, lines);
    if (status.ok()) return lines;
    failure = status.AsFileStatus();
  } else if (IsPaired(entry.type)) {
    paired::PairedData data;
    failure = paired::ReadPairedData(file, entry.path, &data);
    if (dss7::Ok(failure)) return paired::PairedDumpLines(data);
  } else if (IsText(entry.type)) {
    paired::TextData data;
    failure = paired::ReadText(file, entry.path, &data);
    if (dss7::Ok(failure)) return paired::TextDumpLines(data, entry.type);
  }
  // Records of another kind (profiles, patterns, location records, grids) are not rendered.
  if (failure == dss7::Status::kTypeMismatch) return "unsupported\n";
  ++*failed;
  return "error " + std::to_string(static_cast<int32_t>(failure)) + "\n";
}

}  // namespace

std::string DumpFile(dss7::DssFile& file, const std::vector<PathPattern>& patterns,
                     DumpCounts* counts) {
  std::vector<dss7::CatalogEntry> entries;
  Check(file.Catalog(&entries), kExitFile, "cannot read the catalog");
  std::erase_if(entries, [&](const auto& entry) { return !AnyMatches(patterns, entry.path); });
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.path < b.path; });
  *counts = DumpCounts{entries.size(), 0};
  std::string out = "DSSDUMP 1\nfile_version " + std::to_string(file.version().major) +
                    "\nrecord_count " + std::to_string(entries.size()) + "\n";
  Progress progress("dumping", static_cast<int64_t>(entries.size()));
  int64_t done = 0;
  for (const auto& entry : entries) {
    progress.Advance(++done);
    out += "record " + entry.path + "\nrectype " + std::to_string(entry.type) + "\n";
    out += RecordLines(file, entry, &counts->failed);
    out += "end\n";
  }
  out += "END\n";
  return out;
}

int RunDump(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(1, SIZE_MAX, "varnock dump FILE [PATTERN...]");
  const std::vector<PathPattern> patterns = PatternsFrom(args, 1);
  auto file = OpenDss(args.At(0), false);
  DumpCounts counts;
  const std::string dump = DumpFile(*file, patterns, &counts);
  if (std::fwrite(dump.data(), 1, dump.size(), stdout) != dump.size())
    throw Failure(kExitFailure, "cannot write the dump");
  if (counts.failed > 0)
    throw Failure(kExitFile, std::to_string(counts.failed) +
                                 (counts.failed == 1 ? " record" : " records") +
                                 " could not be read (see the error lines)");
  if (counts.matched == 0 && !patterns.empty()) throw Failure(kExitNotFound, "no record matches");
  return kExitOk;
}

}  // namespace varnock::cli
