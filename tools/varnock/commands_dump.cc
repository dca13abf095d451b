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

void AppendNumber(std::string& out, double value, bool doubles) {
  char text[40];
  std::snprintf(text, sizeof text, doubles ? "%.17g" : "%.9g", value);
  out += text;
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
std::string RecordLines(dss7::DssFile& file, const dss7::CatalogEntry& entry) {
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
  return "error " + std::to_string(static_cast<int32_t>(failure)) + "\n";
}

}  // namespace

std::string IsoTime(int64_t instant) {
  // Instants count seconds from 31 December 1899 00:00; 2400 of a day is 00:00 of the next.
  const int64_t days = instant >= 0 ? instant / 86400 : -((-instant + 86399) / 86400);
  const int64_t seconds = instant - days * 86400;
  const engine::CivilDate date = engine::JulianToYmd(static_cast<int32_t>(days));
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02lld:%02lld:%02lld",
                static_cast<int>(date.year), static_cast<int>(date.month),
                static_cast<int>(date.day), static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
  return text;
}

std::string DumpFile(dss7::DssFile& file, const PathPattern* pattern) {
  std::vector<dss7::CatalogEntry> entries;
  Check(file.Catalog(&entries), kExitFile, "cannot read the catalog");
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.path < b.path; });
  std::string out = "DSSDUMP 1\nfile_version " + std::to_string(file.version().major) +
                    "\nrecord_count " + std::to_string(entries.size()) + "\n";
  Progress progress("dumping", static_cast<int64_t>(entries.size()));
  int64_t done = 0;
  for (const auto& entry : entries) {
    progress.Advance(++done);
    if (pattern != nullptr && !pattern->Matches(entry.path)) continue;
    out += "record " + entry.path + "\nrectype " + std::to_string(entry.type) + "\n";
    out += RecordLines(file, entry);
    out += "end\n";
  }
  out += "END\n";
  return out;
}

int RunDump(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(1, 2, "varnock dump FILE [PATTERN]");
  auto file = OpenDss(args.At(0), false);
  std::optional<PathPattern> pattern;
  if (args.Count() > 1) pattern.emplace(args.At(1));
  const std::string dump = DumpFile(*file, pattern ? &*pattern : nullptr);
  if (std::fwrite(dump.data(), 1, dump.size(), stdout) != dump.size())
    throw Failure(kExitFailure, "cannot write the dump");
  // Only a record that failed to read gives a line starting "error ": damage is never quiet.
  size_t failed = 0;
  for (size_t at = dump.find("\nerror "); at != std::string::npos;
       at = dump.find("\nerror ", at + 1))
    ++failed;
  if (failed > 0) {
    std::fprintf(stderr, "varnock dump: %zu record%s could not be read (see the error lines)\n",
                 failed, failed == 1 ? "" : "s");
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace varnock::cli
