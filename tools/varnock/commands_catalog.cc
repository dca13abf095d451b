// info and catalog: what a file holds.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>

#include "cli.h"
#include "engine/dss7/layout.h"
#include "engine/options.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;

namespace {

std::string WallClockTime(int64_t milliseconds) {
  if (milliseconds <= 0) return "unknown";
  const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

std::string TypeName(int32_t type) {
  return std::string(engine::RecordKindName(type));
}

// One line per series: blocks that differ only in their D part fold into one date range, on
// the line where the series' first block stands; other records keep their own place.
void PrintCondensed(const std::vector<dss7::CatalogEntry>& entries) {
  struct Line {
    int32_t type = 0;
    std::string path;                                     // record path, or series parts
    std::vector<std::pair<int32_t, std::string>> blocks;  // julian, D part; empty: no series
  };
  std::vector<Line> lines;
  std::map<std::string, size_t> series_line;
  for (const auto& entry : entries) {
    std::string parts[6];
    if (!IsTimeSeries(entry.type) || !SplitPath(entry.path, parts)) {
      lines.push_back({entry.type, entry.path, {}});
      continue;
    }
    const std::string key = SeriesName(parts);
    auto [it, added] = series_line.try_emplace(key, lines.size());
    if (added) lines.push_back({entry.type, entry.path, {}});
    int32_t julian = 0;
    if (!BlockDateJulian(parts[3], &julian)) julian = INT32_MAX;
    lines[it->second].blocks.emplace_back(julian, parts[3]);
  }
  for (Line& line : lines) {
    if (line.blocks.empty()) {
      std::printf("%-4s %s\n", TypeName(line.type).c_str(), line.path.c_str());
      continue;
    }
    std::sort(line.blocks.begin(), line.blocks.end());
    std::string parts[6];
    SplitPath(line.path, parts);
    parts[3] = line.blocks.size() == 1
                   ? line.blocks.front().second
                   : line.blocks.front().second + " - " + line.blocks.back().second;
    std::printf("%-4s /%s/%s/%s/%s/%s/%s/  (%zu block%s)\n", TypeName(line.type).c_str(),
                parts[0].c_str(), parts[1].c_str(), parts[2].c_str(), parts[3].c_str(),
                parts[4].c_str(), parts[5].c_str(), line.blocks.size(),
                line.blocks.size() == 1 ? "" : "s");
  }
}

}  // namespace

std::vector<dss7::CatalogEntry> MatchingRecords(dss7::DssFile& file, bool sorted,
                                                const std::vector<PathPattern>& patterns,
                                                const dss7::CatalogFilter& filter) {
  std::vector<dss7::CatalogEntry> entries;
  Check(sorted && filter.which == dss7::CatalogFilter::Which::kLive
            ? file.SortedCatalog(&entries)
            : file.Catalog(&entries, filter),
        kExitFile, "cannot read the catalog");
  std::erase_if(entries, [&](const auto& entry) { return !AnyMatches(patterns, entry.path); });
  return entries;
}

int RunInfo(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(1, 1, "varnock info FILE");
  auto file = OpenDss(args.At(0), false);
  const auto& header = file->header();
  const int64_t words = header[dss7::hdr::kFileSize];
  const int64_t dead = header[dss7::hdr::kDeadSpace];
  std::printf("file          %s\n", args.At(0).c_str());
  std::printf("version       %s\n", file->version().text.c_str());
  std::printf("records       %lld\n", static_cast<long long>(header[dss7::hdr::kRecordCount]));
  std::printf("deleted       %lld\n", static_cast<long long>(header[dss7::hdr::kDeleteCount]));
  std::printf("size          %lld bytes (%lld words)\n",
              static_cast<long long>(words * dss7::kWordBytes), static_cast<long long>(words));
  std::printf("dead space    %lld words (%lld%%)\n", static_cast<long long>(dead),
              static_cast<long long>(dss7::DeadSpacePercent(header)));
  std::printf("created       %s\n", WallClockTime(header[dss7::hdr::kCreateTime]).c_str());
  std::printf("last written  %s\n", WallClockTime(header[dss7::hdr::kLastWriteTime]).c_str());
  return kExitOk;
}

int RunCatalog(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {"unsorted", "condensed"});
  args.RequireCount(1, SIZE_MAX, "varnock catalog FILE [PATTERN...] [--unsorted] [--condensed]");
  const std::vector<PathPattern> patterns = PatternsFrom(args, 1);
  auto file = OpenDss(args.At(0), false);
  const auto entries = MatchingRecords(*file, !args.Flag("unsorted"), patterns, {});
  if (args.Flag("condensed")) {
    PrintCondensed(entries);
  } else {
    for (const auto& entry : entries)
      std::printf("%-4s %s\n", TypeName(entry.type).c_str(), entry.path.c_str());
  }
  if (entries.empty() && !patterns.empty()) throw Failure(kExitNotFound, "no record matches");
  return kExitOk;
}

}  // namespace varnock::cli
