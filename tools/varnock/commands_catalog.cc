// info and catalog: what a file holds.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>

#include "cli.h"
#include "engine/dss7/layout.h"
#include "engine/heclib/options.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;

namespace {

std::string TypeName(int32_t type) {
  return std::string(engine::RecordKindName(type));
}

// One line per series: blocks that differ only in their D part fold into one date range, on
// the line where the series' first block stands; other records keep their own place.
void PrintCondensed(const std::vector<engine::container::CatalogItem>& entries) {
  struct Line {
    int32_t type = 0;
    std::string path;                                     // record path, or series parts
    std::vector<std::pair<int32_t, std::string>> blocks;  // julian, D part; empty: no series
  };
  std::vector<Line> lines;
  std::map<std::string, size_t> series_line;
  for (const auto& entry : entries) {
    std::string parts[6];
    if (!IsTimeSeries(entry.type) || !SplitPath(entry.listed_path, parts)) {
      lines.push_back({entry.type, entry.listed_path, {}});
      continue;
    }
    const std::string key = SeriesName(parts);
    auto [it, added] = series_line.try_emplace(key, lines.size());
    if (added) lines.push_back({entry.type, entry.listed_path, {}});
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
  auto reader = OpenRecords(args.At(0));
  const engine::container::Container& file = reader->file();
  const engine::container::FileFacts facts = file.Facts();
  const auto known = [](const std::string& text) { return text.empty() ? "unknown" : text; };
  std::printf("file          %s\n", args.At(0).c_str());
  std::printf("version       %s\n", file.VersionText().c_str());
  std::printf("records       %lld\n", static_cast<long long>(facts.records));
  if (facts.deleted >= 0)
    std::printf("deleted       %lld\n", static_cast<long long>(facts.deleted));
  std::printf("size          %lld bytes\n", static_cast<long long>(facts.size_bytes));
  std::printf("dead space    %lld bytes (%lld%%)\n", static_cast<long long>(facts.dead_bytes),
              static_cast<long long>(
                  engine::container::BoundedPercent(facts.dead_bytes, facts.size_bytes)));
  std::printf("created       %s\n", known(facts.created).c_str());
  std::printf("last written  %s\n", known(facts.last_written).c_str());
  return kExitOk;
}

int RunCatalog(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {"unsorted", "condensed"});
  args.RequireCount(1, SIZE_MAX, "varnock catalog FILE [PATTERN...] [--unsorted] [--condensed]");
  const std::vector<PathPattern> patterns = PatternsFrom(args, 1);
  auto reader = OpenRecords(args.At(0));
  std::vector<engine::container::CatalogItem> entries;
  Check(args.Flag("unsorted") ? reader->file().Catalog(&entries)
                              : reader->file().SortedCatalog(&entries),
        kExitFile, "cannot read the catalog");
  std::erase_if(entries,
                [&](const auto& entry) { return !AnyMatches(patterns, entry.listed_path); });
  if (args.Flag("condensed")) {
    PrintCondensed(entries);
  } else {
    for (const auto& entry : entries)
      std::printf("%-4s %s\n", TypeName(entry.type).c_str(), entry.listed_path.c_str());
  }
  if (entries.empty() && !patterns.empty()) throw Failure(kExitNotFound, "no record matches");
  return kExitOk;
}

}  // namespace varnock::cli
