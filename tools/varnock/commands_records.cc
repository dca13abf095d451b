// info, catalog and the record utilities: copy, rename, delete, undelete.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
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

std::vector<dss7::CatalogEntry> ReadCatalog(dss7::DssFile& file, bool sorted,
                                            const dss7::CatalogFilter& filter = {}) {
  std::vector<dss7::CatalogEntry> entries;
  Check(sorted && filter.which == dss7::CatalogFilter::Which::kLive
            ? file.SortedCatalog(&entries)
            : file.Catalog(&entries, filter),
        kExitFile, "cannot read the catalog");
  return entries;
}

std::vector<dss7::CatalogEntry> Matching(const std::vector<dss7::CatalogEntry>& entries,
                                         const std::vector<PathPattern>& patterns) {
  std::vector<dss7::CatalogEntry> matched;
  for (const auto& entry : entries) {
    const bool wanted = patterns.empty() ||
                        std::any_of(patterns.begin(), patterns.end(),
                                    [&](const PathPattern& p) { return p.Matches(entry.path); });
    if (wanted) matched.push_back(entry);
  }
  return matched;
}

std::string TypeName(int32_t type) {
  return std::string(engine::RecordTypeName(type));
}

bool IsTimeSeries(int32_t type) {
  return type >= 100 && type < 120;
}

// One line per series: blocks that differ only in their D part fold into one date range.
void PrintCondensed(const std::vector<dss7::CatalogEntry>& entries) {
  struct Group {
    int32_t type = 0;
    std::vector<std::pair<int32_t, std::string>> blocks;  // julian, D part
  };
  std::map<std::string, Group> groups;
  std::vector<std::string> order;
  for (const auto& entry : entries) {
    std::string parts[6];
    if (!IsTimeSeries(entry.type) || !SplitPath(entry.path, parts)) {
      std::printf("%-4s %s\n", TypeName(entry.type).c_str(), entry.path.c_str());
      continue;
    }
    const std::string key =
        "/" + parts[0] + "/" + parts[1] + "/" + parts[2] + "//" + parts[4] + "/" + parts[5] + "/";
    auto [it, added] = groups.try_emplace(key);
    if (added) order.push_back(key);
    int32_t julian = 0;
    if (!BlockDateJulian(parts[3], &julian)) julian = INT32_MAX;
    it->second.type = entry.type;
    it->second.blocks.emplace_back(julian, parts[3]);
  }
  for (const std::string& key : order) {
    Group& group = groups[key];
    std::sort(group.blocks.begin(), group.blocks.end());
    std::string parts[6];
    SplitPath(key, parts);
    const std::string range =
        group.blocks.size() == 1 ? group.blocks.front().second
                                 : group.blocks.front().second + " - " + group.blocks.back().second;
    std::printf("%-4s /%s/%s/%s/%s/%s/%s/  (%zu block%s)\n", TypeName(group.type).c_str(),
                parts[0].c_str(), parts[1].c_str(), parts[2].c_str(), range.c_str(),
                parts[4].c_str(), parts[5].c_str(), group.blocks.size(),
                group.blocks.size() == 1 ? "" : "s");
  }
}

std::vector<PathPattern> PatternsFrom(const Arguments& args, size_t first) {
  std::vector<PathPattern> patterns;
  for (size_t i = first; i < args.Count(); ++i)
    patterns.emplace_back(args.At(i));
  return patterns;
}

}  // namespace

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
  args.RequireCount(1, 2, "varnock catalog FILE [PATTERN] [--unsorted] [--condensed]");
  auto file = OpenDss(args.At(0), false);
  const auto entries = Matching(ReadCatalog(*file, !args.Flag("unsorted")), PatternsFrom(args, 1));
  if (args.Flag("condensed")) {
    PrintCondensed(entries);
  } else {
    for (const auto& entry : entries)
      std::printf("%-4s %s\n", TypeName(entry.type).c_str(), entry.path.c_str());
  }
  if (entries.empty() && args.Count() > 1) throw Failure(kExitNotFound, "no record matches");
  return kExitOk;
}

int RunCopy(const std::vector<std::string>& raw) {
  const Arguments args(raw, {"to"}, {});
  args.RequireCount(2, 3, "varnock copy SOURCE DEST [PATTERN] [--to PATHNAME]");
  const std::string& source_name = args.At(0);
  const std::string& target_name = args.At(1);
  const auto to = args.Option("to");
  const bool same_file =
      std::filesystem::equivalent(source_name, target_name) || source_name == target_name;
  if (same_file && !to) throw Failure(kExitUsage, "copying within one file needs --to PATHNAME");
  auto source = OpenDss(source_name, same_file);
  std::unique_ptr<dss7::DssFile> target_file;
  if (!same_file) target_file = OpenOrCreateDss(target_name);
  dss7::DssFile& target = same_file ? *source : *target_file;

  const auto records = Matching(ReadCatalog(*source, true), PatternsFrom(args, 2));
  if (records.empty()) throw Failure(kExitNotFound, "no record matches");
  if (to && records.size() != 1)
    throw Failure(kExitUsage, "--to needs a pattern that matches exactly one record");
  Progress progress("copying", static_cast<int64_t>(records.size()));
  int64_t done = 0;
  for (const auto& record : records) {
    Check(source->Copy(record.path, target, to ? *to : record.path), kExitFailure,
          "cannot copy " + record.path);
    progress.Advance(++done);
  }
  std::fprintf(stderr, "copied %lld record%s\n", static_cast<long long>(done),
               done == 1 ? "" : "s");
  return kExitOk;
}

int RunRename(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(3, 3, "varnock rename FILE PATHNAME NEW-PATHNAME");
  auto file = OpenDss(args.At(0), true);
  if (!file->Exists(args.At(1))) throw Failure(kExitNotFound, "Pathname not found:" + args.At(1));
  Check(file->Rename(args.At(1), args.At(2)), kExitFailure, "cannot rename " + args.At(1));
  return kExitOk;
}

int RunDelete(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(2, SIZE_MAX, "varnock delete FILE PATTERN...");
  auto file = OpenDss(args.At(0), true);
  const auto records = Matching(ReadCatalog(*file, false), PatternsFrom(args, 1));
  if (records.empty()) throw Failure(kExitNotFound, "no record matches");
  for (const auto& record : records)
    Check(file->Delete(record.path), kExitFailure, "cannot delete " + record.path);
  std::fprintf(stderr, "deleted %zu record%s\n", records.size(), records.size() == 1 ? "" : "s");
  return kExitOk;
}

int RunUndelete(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(2, SIZE_MAX, "varnock undelete FILE PATTERN...");
  auto file = OpenDss(args.At(0), true);
  dss7::CatalogFilter deleted;
  deleted.which = dss7::CatalogFilter::Which::kDeleted;
  const auto records = Matching(ReadCatalog(*file, false, deleted), PatternsFrom(args, 1));
  if (records.empty()) throw Failure(kExitNotFound, "no deleted record matches");
  size_t restored = 0;
  for (const auto& record : records) {
    const dss7::Status status = file->Undelete(record.path);
    if (status == dss7::Status::kExists) continue;  // a live record has taken the name
    Check(status, kExitFailure, "cannot undelete " + record.path);
    ++restored;
  }
  std::fprintf(stderr, "undeleted %zu record%s\n", restored, restored == 1 ? "" : "s");
  return kExitOk;
}

const std::vector<Command>& Commands() {
  static const std::vector<Command> kCommands = {
      {"dump", "the canonical text dump of a file",
       "usage: varnock dump FILE [PATTERN]\n\n"
       "Prints every record in the canonical DSSDUMP 1 form: time series blocks with\n"
       "their times and values, paired data with its curves, text records; other\n"
       "record types print 'unsupported'. With PATTERN only matching records print.\n",
       RunDump},
      {"export", "write one time series as CSV",
       "usage: varnock export FILE PATHNAME [--start T] [--end T] --csv [--output F]\n\n"
       "Writes the series PATHNAME names (its D part is ignored: every block is read)\n"
       "as CSV: comment lines with pathname, units, type and precision, then\n"
       "time,value (and quality where stored). Times are YYYY-MM-DDTHH:MM:SS; --start\n"
       "and --end (same form) keep the values between them, both ends included. Slots\n"
       "never written are left out.\n",
       RunExport},
      {"import", "store one time series from CSV",
       "usage: varnock import FILE CSV [--path PATHNAME] [--units U] [--type T] [--doubles]\n\n"
       "Stores the rows of a CSV file as written by 'varnock export' (or any file of\n"
       "time,value[,quality] rows) into FILE, created when missing. The series is\n"
       "regular or irregular by its E part; options override the CSV's comment lines.\n",
       RunImport},
      {"info", "version, record count, size, dead space, creation and last-write times",
       "usage: varnock info FILE\n\nPrints the file's DSS version, its record count, size, dead "
       "space and\ncreation and last-write times.\n",
       RunInfo},
      {"catalog", "list pathnames with record types",
       "usage: varnock catalog FILE [PATTERN] [--unsorted] [--condensed]\n\n"
       "Lists the live records with their type codes (RTS, ITS, PD, TXT, ...).\n"
       "PATTERN is a pathname with * and ? in any part (/A/*/FLOW/*/1HOUR/*/) or a\n"
       "glob over the whole pathname; case is ignored.\n"
       "  --unsorted   file order instead of HEC's sorted order\n"
       "  --condensed  one line per series, its blocks folded into a date range\n",
       RunCatalog},
      {"copy", "copy records between files or within one",
       "usage: varnock copy SOURCE DEST [PATTERN] [--to PATHNAME]\n\n"
       "Copies every record of SOURCE that matches PATTERN (all when omitted) into\n"
       "DEST, which is created when missing. Records travel whole, so every record\n"
       "type copies. --to gives the copy a new pathname (one record only); copying\n"
       "within one file needs it.\n",
       RunCopy},
      {"rename", "rename a record",
       "usage: varnock rename FILE PATHNAME NEW-PATHNAME\n\nGives a record a new pathname; a "
       "record already under the new name is replaced.\n",
       RunRename},
      {"delete", "delete records",
       "usage: varnock delete FILE PATTERN...\n\nMarks every matching record deleted; 'varnock "
       "undelete' restores them.\n",
       RunDelete},
      {"undelete", "restore deleted records",
       "usage: varnock undelete FILE PATTERN...\n\nRestores deleted records that match; a name a "
       "live record has taken since stays deleted.\n",
       RunUndelete},
  };
  return kCommands;
}

}  // namespace varnock::cli
