// The record utilities: copy, rename, delete, undelete.
#include <cstdio>
#include <filesystem>

#include "cli.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;

namespace {

std::string RequirePathname(const std::string& text, const std::string& what) {
  const std::string path = TrimmedPath(text);
  std::string parts[6];
  if (!SplitPath(path, parts))
    throw Failure(kExitUsage, what + " '" + path + "' is not a pathname (/A/B/C/D/E/F/)");
  return path;
}

// A time-series record's D and E parts say which block and interval its values belong to; a
// new name that changes them would re-date or re-interval the values, so it is refused.
void RequireSameBlockParts(int32_t type, const std::string& old_path, const std::string& new_path) {
  if (!IsTimeSeries(type)) return;
  std::string old_parts[6], new_parts[6];
  if (!SplitPath(old_path, old_parts) || !SplitPath(new_path, new_parts)) return;
  if (SameIgnoringCase(old_parts[kDatePart], new_parts[kDatePart]) &&
      SameIgnoringCase(old_parts[kIntervalPart], new_parts[kIntervalPart]))
    return;
  throw Failure(kExitUsage, "'" + new_path + "' changes the D or E part of time-series record '" +
                                old_path + "'; the values belong to block " + old_parts[kDatePart] +
                                " of interval " + old_parts[kIntervalPart] +
                                ", so the new name must keep both");
}

bool SameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return a == b || std::filesystem::equivalent(a, b, error);
}

void PrintCount(const char* verb, size_t count) {
  std::fprintf(stderr, "%s %zu record%s\n", verb, count, count == 1 ? "" : "s");
}

}  // namespace

int RunCopy(const std::vector<std::string>& raw) {
  const Arguments args(raw, {"to", "new-version"}, {});
  args.RequireCount(2, 3, "varnock copy SOURCE DEST [PATTERN] [--to PATHNAME] [--new-version 6|7]");
  const std::string& source_name = args.At(0);
  const std::string& target_name = args.At(1);
  std::optional<std::string> to;
  if (auto given = args.Option("to")) to = RequirePathname(*given, "--to");
  const int new_version = NewFileVersion(args);
  const std::vector<PathPattern> patterns = PatternsFrom(args, 2);
  const bool same_file = SameFile(source_name, target_name);
  if (same_file && !to) throw Failure(kExitUsage, "copying within one file needs --to PATHNAME");
  auto source = OpenRecordFile(source_name, same_file);

  // Everything is checked before the destination is opened, so a refused copy creates nothing.
  std::vector<engine::container::CatalogItem> records;
  Check(source->file().SortedCatalog(&records), kExitFile, "cannot read the catalog");
  std::erase_if(records, [&](const auto& item) { return !AnyMatches(patterns, item.listed_path); });
  if (records.empty()) throw Failure(kExitNotFound, "no record matches");
  if (to && records.size() != 1)
    throw Failure(kExitUsage, "--to needs a pattern that matches exactly one record");
  if (to) RequireSameBlockParts(records.front().type, records.front().path, *to);

  std::unique_ptr<engine::container::RecordFile> target_file;
  if (!same_file) target_file = OpenOrCreateRecordFile(target_name, new_version);
  engine::container::RecordFile& target = same_file ? *source : *target_file;
  Progress progress("copying", static_cast<int64_t>(records.size()));
  size_t done = 0;
  for (const auto& record : records) {
    const std::string what = "cannot copy " + record.listed_path;
    const dss7::Status status = source->CopyRecord(record.path, target, to ? *to : record.path);
    // Between versions a record is converted: some kinds have no form in the other version.
    if (status == dss7::Status::kTypeMismatch)
      throw Failure(kExitFailure, what + ": record type " + std::to_string(record.type) +
                                      " has no form in DSS version " +
                                      std::to_string(target.file().MajorVersion()));
    CheckListed(status, what);
    progress.Advance(static_cast<int64_t>(++done));
  }
  if (target_file)
    Check(target_file->file().Close(), kExitWriteFailed, "cannot close " + target_name);
  progress.Done();
  PrintCount("copied", done);
  return kExitOk;
}

// The live records of a file of either version that any pattern matches, in file order.
std::vector<engine::container::CatalogItem> MatchingItems(
    engine::container::Container& file, const std::vector<PathPattern>& patterns) {
  std::vector<engine::container::CatalogItem> items;
  Check(file.Catalog(&items), kExitFile, "cannot read the catalog");
  std::erase_if(items, [&](const auto& item) { return !AnyMatches(patterns, item.listed_path); });
  return items;
}

int RunRename(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(3, 3, "varnock rename FILE PATHNAME NEW-PATHNAME");
  const std::string old_path = TrimmedPath(args.At(1));
  const std::string new_path = RequirePathname(args.At(2), "new pathname");
  auto reader = OpenRecords(args.At(0), true);
  engine::container::Container& file = reader->file();
  engine::container::RecordInfo info;
  const dss7::Status found = file.Lookup(old_path, &info);
  if (found == dss7::Status::kNotFound) {
    for (const auto& item : MatchingItems(file, {})) {
      if (SameIgnoringCase(item.path, old_path)) CheckListed(found, "cannot rename " + old_path);
    }
    throw Failure(kExitNotFound, "Pathname not found: " + old_path);
  }
  Check(found, kExitFailure, "cannot read " + old_path);
  RequireSameBlockParts(info.type, old_path, new_path);
  Check(file.Rename(old_path, new_path), kExitFailure, "cannot rename " + old_path);
  Check(file.Close(), kExitWriteFailed, "cannot close " + args.At(0));
  return kExitOk;
}

int RunDelete(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(2, SIZE_MAX, "varnock delete FILE PATTERN...");
  const std::vector<PathPattern> patterns = PatternsFrom(args, 1);
  auto reader = OpenRecords(args.At(0), true);
  engine::container::Container& file = reader->file();
  const auto records = MatchingItems(file, patterns);
  if (records.empty()) throw Failure(kExitNotFound, "no record matches");
  for (const auto& record : records)
    CheckListed(file.Delete(record.path), "cannot delete " + record.listed_path);
  Check(file.Close(), kExitWriteFailed, "cannot close " + args.At(0));
  PrintCount("deleted", records.size());
  return kExitOk;
}

int RunUndelete(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(2, SIZE_MAX, "varnock undelete FILE PATTERN...");
  const std::vector<PathPattern> patterns = PatternsFrom(args, 1);
  auto reader = OpenRecords(args.At(0), true);
  engine::container::Container& file = reader->file();
  std::vector<engine::container::CatalogItem> records;
  Check(file.DeletedCatalog(&records), kExitFile, "cannot read the catalog");
  std::erase_if(records, [&](const auto& item) { return !AnyMatches(patterns, item.listed_path); });
  if (records.empty()) throw Failure(kExitNotFound, "no deleted record matches");
  size_t restored = 0;
  for (const auto& record : records) {
    const dss7::Status status = file.Undelete(record.path);
    if (status == dss7::Status::kExists) continue;  // a live record has taken the name
    Check(status, kExitFailure, "cannot undelete " + record.listed_path);
    ++restored;
  }
  Check(file.Close(), kExitWriteFailed, "cannot close " + args.At(0));
  PrintCount("undeleted", restored);
  return kExitOk;
}

}  // namespace varnock::cli
