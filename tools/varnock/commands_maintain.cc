// convert, squeeze and check: whole-file work on a DSS file of either version.
#include <cstdio>
#include <filesystem>
#include <string>

#include "cli.h"
#include "engine/container/record_writer.h"
#include "engine/dss6/dss6_file.h"
#include "engine/dss6/integrity.h"
#include "engine/dss6/reader.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/posix_file_io.h"

namespace varnock::cli {

namespace dss6 = engine::dss6;
namespace dss7 = engine::dss7;
namespace container = engine::container;

namespace {

// The major version of an existing DSS file, or a failure with the tool's texts.
int MajorVersionOf(const std::string& path) {
  return OpenRecords(path)->file().MajorVersion();
}

void PrintReport(const dss7::IntegrityReport& report) {
  for (const auto& issue : report.issues)
    std::printf("address %lld: %s\n", static_cast<long long>(issue.address), issue.what.c_str());
  if (report.ok())
    std::printf("sound\n");
  else
    std::printf("%zu issue%s found\n", report.issues.size(), report.issues.size() == 1 ? "" : "s");
}

// DSS-7 has no squeeze of its own in the engine: every live record is copied whole (tag,
// version and write time kept) into a fresh file beside it, which then takes its place.
void SqueezeDss7(const std::string& path) {
  dss7::FileOptions options;
  options.program = "varnock";
  options.exclusive = true;
  std::unique_ptr<dss7::DssFile> source;
  dss7::Status status = dss7::DssFile::Open(path, options, &source);
  Check(status, kExitFile, "cannot open " + path + " to squeeze it");
  const std::string fresh = path + ".squeeze";
  std::error_code ignored;
  std::filesystem::remove(fresh, ignored);
  std::unique_ptr<dss7::DssFile> target;
  Check(dss7::DssFile::Create(fresh, {}, options, &target), kExitWriteFailed,
        "cannot create " + fresh);
  std::vector<dss7::CatalogEntry> entries;
  status = source->Catalog(&entries);
  Progress progress("squeezing", static_cast<int64_t>(entries.size()));
  int64_t done = 0;
  for (const auto& entry : entries) {
    if (dss7::Ok(status)) status = source->Copy(entry.path, *target, entry.path);
    progress.Advance(++done);
  }
  const dss7::Status closed = target->Close();
  if (dss7::Ok(status)) status = closed;
  if (!dss7::Ok(status)) std::filesystem::remove(fresh, ignored);
  Check(status, kExitWriteFailed, "cannot squeeze " + path + " (it is left as it was)");
  source.reset();
  std::error_code renamed;
  std::filesystem::rename(fresh, path, renamed);
  if (renamed)
    throw Failure(kExitWriteFailed, "cannot replace " + path + " by its squeezed copy " + fresh);
}

}  // namespace

int RunConvert(const std::vector<std::string>& raw) {
  const Arguments args(raw, {"to"}, {});
  const std::string usage = "varnock convert SOURCE DEST --to 6|7";
  args.RequireCount(2, 2, usage);
  const std::string to = args.Option("to").value_or("");
  if (to != "6" && to != "7") throw Failure(kExitUsage, "usage: " + usage);
  auto reader = OpenRecords(args.At(0));
  const std::string& dest = args.At(1);
  std::error_code ignored;
  if (std::filesystem::exists(dest, ignored))
    throw Failure(kExitWriteFailed, dest + " already exists; convert writes a new file");

  std::unique_ptr<dss6::Dss6File> file6;
  std::unique_ptr<dss7::DssFile> file7;
  std::unique_ptr<container::RecordWriter> writer;
  if (to == "6") {
    Check(dss6::Dss6File::Create(dest, 6, {}, &file6), kExitWriteFailed, "cannot create " + dest);
    writer = dss6::MakeRecordWriter(*file6);
  } else {
    dss7::FileOptions options;
    options.program = "varnock";
    Check(dss7::DssFile::Create(dest, {}, options, &file7), kExitWriteFailed,
          "cannot create " + dest);
    writer = container::MakeDss7RecordWriter(*file7);
  }
  std::unique_ptr<Progress> progress;
  container::ConvertSummary summary;
  Check(container::ConvertRecords(*reader, *writer, &summary,
                                  [&](int64_t done, int64_t total) {
                                    if (!progress)
                                      progress = std::make_unique<Progress>("converting", total);
                                    progress->Advance(done);
                                  }),
        kExitFile, "cannot read the catalog of " + args.At(0));
  progress.reset();
  writer.reset();
  const dss7::Status closed = file6 ? file6->Close() : file7->Close();
  Check(closed, kExitWriteFailed, "cannot finish " + dest);

  std::printf("converted %lld record%s to DSS version %s\n",
              static_cast<long long>(summary.converted), summary.converted == 1 ? "" : "s",
              to.c_str());
  for (const auto& [path, why] : summary.skipped)
    std::printf("not converted %s: %s\n", path.c_str(), why.c_str());
  if (!summary.skipped.empty())
    throw Failure(kExitFailure, std::to_string(summary.skipped.size()) +
                                    (summary.skipped.size() == 1 ? " record" : " records") +
                                    " could not be converted (listed above)");
  return kExitOk;
}

int RunSqueeze(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(1, 1, "varnock squeeze FILE");
  const std::string& path = args.At(0);
  if (MajorVersionOf(path) == 6) {
    Check(dss6::SqueezeFile(path), kExitWriteFailed,
          "cannot squeeze " + path + " (it is left as it was)");
  } else {
    SqueezeDss7(path);
  }
  return kExitOk;
}

int RunCheck(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(1, 1, "varnock check FILE");
  const std::string& path = args.At(0);
  dss7::IntegrityReport report;
  if (MajorVersionOf(path) == 6) {
    std::unique_ptr<dss6::Dss6File> file;
    Check(dss6::Dss6File::Open(path, &file), kExitFile, "cannot open " + path);
    Check(dss6::CheckIntegrity(*file, &report), kExitFile, "cannot check " + path);
  } else {
    auto file = OpenDss(path, false);
    Check(dss7::CheckIntegrity(*file, &report), kExitFile, "cannot check " + path);
  }
  PrintReport(report);
  if (!report.ok()) throw Failure(kExitFile, path + " is damaged");
  return kExitOk;
}

}  // namespace varnock::cli
