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
bool IsIrregular(int32_t type) {
  return type >= 110 && type < 120;
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

// The series lines of one block record, or nothing when it cannot be read as a series.
bool SeriesLines(dss7::DssFile& file, const dss7::CatalogEntry& entry, std::string& out) {
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
  if (!status.ok() || read.times.size() != read.values.size()) return false;
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
  return true;
}

// The type-specific lines of one record; "unsupported" for kinds the dump does not render.
std::string RecordLines(dss7::DssFile& file, const dss7::CatalogEntry& entry) {
  std::string lines;
  if (IsRegular(entry.type) || IsIrregular(entry.type)) {
    if (SeriesLines(file, entry, lines)) return lines;
  } else if (IsPaired(entry.type)) {
    paired::PairedData data;
    if (dss7::Ok(paired::ReadPairedData(file, entry.path, &data)))
      return paired::PairedDumpLines(data);
  } else if (IsText(entry.type)) {
    paired::TextData data;
    if (dss7::Ok(paired::ReadText(file, entry.path, &data)))
      return paired::TextDumpLines(data, entry.type);
  }
  return "unsupported\n";
}

}  // namespace

std::string DumpFile(dss7::DssFile& file, const std::vector<PathPattern>& patterns,
                     size_t* matched) {
  std::vector<dss7::CatalogEntry> entries;
  Check(file.Catalog(&entries), kExitFile, "cannot read the catalog");
  std::erase_if(entries, [&](const auto& entry) { return !AnyMatches(patterns, entry.path); });
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.path < b.path; });
  *matched = entries.size();
  std::string out = "DSSDUMP 1\nfile_version " + std::to_string(file.version().major) +
                    "\nrecord_count " + std::to_string(entries.size()) + "\n";
  Progress progress("dumping", static_cast<int64_t>(entries.size()));
  int64_t done = 0;
  for (const auto& entry : entries) {
    progress.Advance(++done);
    out += "record " + entry.path + "\nrectype " + std::to_string(entry.type) + "\n";
    out += RecordLines(file, entry);
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
  size_t matched = 0;
  const std::string dump = DumpFile(*file, patterns, &matched);
  if (std::fwrite(dump.data(), 1, dump.size(), stdout) != dump.size())
    throw Failure(kExitFailure, "cannot write the dump");
  if (matched == 0 && !patterns.empty()) throw Failure(kExitNotFound, "no record matches");
  return kExitOk;
}

}  // namespace varnock::cli
