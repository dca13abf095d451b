// dump: the canonical text rendering of a whole DSS file ("DSSDUMP 1"), of either version.
#include <cstdio>
#include <string>

#include "cli.h"

namespace varnock::cli {

int RunDump(const std::vector<std::string>& raw) {
  const Arguments args(raw, {}, {});
  args.RequireCount(1, SIZE_MAX, "varnock dump FILE [PATTERN...]");
  const std::vector<PathPattern> patterns = PatternsFrom(args, 1);
  auto reader = OpenRecords(args.At(0));
  std::unique_ptr<Progress> progress;
  engine::container::DumpOptions options;
  options.select = [&](const std::string& path) { return AnyMatches(patterns, path); };
  options.progress = [&](int64_t done, int64_t total) {
    if (!progress) progress = std::make_unique<Progress>("dumping", total);
    progress->Advance(done);
  };
  engine::container::DumpCounts counts;
  // The dump goes out as it is made: a file of many records never sits whole in memory.
  const auto write = [](std::string_view piece) {
    return std::fwrite(piece.data(), 1, piece.size(), stdout) == piece.size();
  };
  const engine::dss7::Status status =
      engine::container::StreamDump(*reader, options, write, &counts);
  progress.reset();
  if (status == engine::dss7::Status::kWriteError || std::fflush(stdout) != 0)
    throw Failure(kExitFailure, "cannot write the dump");
  Check(status, kExitFile, "cannot read the catalog");
  if (counts.failed > 0)
    throw Failure(kExitFile, std::to_string(counts.failed) +
                                 (counts.failed == 1 ? " record" : " records") +
                                 " could not be read (see the error lines)");
  if (counts.matched == 0 && !patterns.empty()) throw Failure(kExitNotFound, "no record matches");
  return kExitOk;
}

}  // namespace varnock::cli
