// Shared pieces of the varnock command-line tool: command table, failures with exit codes,
// argument parsing, pathname patterns, times and a progress bar for long work.
#ifndef VARNOCK_TOOLS_VARNOCK_CLI_H_
#define VARNOCK_TOOLS_VARNOCK_CLI_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "engine/container/record_file.h"
#include "engine/container/record_reader.h"
#include "engine/dss7/dss_file.h"

namespace varnock::cli {

// Exit codes: each kind of failure has its own.
enum ExitCode : int {
  kExitOk = 0,
  kExitFailure = 1,     // anything not listed below
  kExitUsage = 2,       // bad command line
  kExitFile = 3,        // file missing, not DSS, incompatible, locked, unreadable or damaged
  kExitNotFound = 4,    // no record matched
  kExitBadInput = 5,    // input data (CSV) that cannot be read
  kExitWriteFailed = 6  // the file refused a write
};

// A failure reported as one line on stderr, with its exit code.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

// Parsed command line of one command: positional arguments and --name[=value] options.
class Arguments {
 public:
  Arguments(std::vector<std::string> args, std::vector<std::string> value_options,
            std::vector<std::string> flag_options);
  size_t Count() const { return positional_.size(); }
  const std::string& At(size_t i) const { return positional_.at(i); }
  bool Flag(const std::string& name) const;
  std::optional<std::string> Option(const std::string& name) const;
  // Fails with a usage error unless the positional count lies in [min, max].
  void RequireCount(size_t min, size_t max, const std::string& usage) const;

 private:
  std::vector<std::string> positional_;
  std::vector<std::pair<std::string, std::string>> options_;
};

struct Command {
  const char* name;
  const char* summary;
  const char* usage;  // full help text
  int (*run)(const std::vector<std::string>& args);
};
const std::vector<Command>& Commands();

// Opens a DSS file, or fails with the tool's texts and kExitFile.
std::unique_ptr<engine::dss7::DssFile> OpenDss(const std::string& path, bool writable);
// Opens an existing DSS file of either version for reading its records (and, with
// `writable`, for the writes its container offers), or fails with the tool's texts.
std::unique_ptr<engine::container::RecordReader> OpenRecords(const std::string& path,
                                                             bool writable = false);
// Opens an existing DSS file of either version for copies and stores (read-only unless
// `writable`), or fails with the tool's texts.
std::unique_ptr<engine::container::RecordFile> OpenRecordFile(const std::string& path,
                                                              bool writable);
// Opens an existing DSS file of either version for writing, or creates a new one of
// `new_version` (6 or 7).
std::unique_ptr<engine::container::RecordFile> OpenOrCreateRecordFile(const std::string& path,
                                                                      int new_version);
// The --new-version option of commands that may create a file: 6 or 7, 7 when not given.
int NewFileVersion(const Arguments& args);
// Fails when a file-layer call did not succeed. Damage and read errors always exit kExitFile,
// refused writes kExitWriteFailed, whatever the command; other statuses exit `code`.
void Check(engine::dss7::Status status, ExitCode code, const std::string& what);
// Check for a record the catalog listed: not finding it means the file is damaged.
void CheckListed(engine::dss7::Status status, const std::string& what);
// A pathname given on the command line or in a CSV file, without surrounding blanks.
std::string TrimmedPath(std::string_view text);

// A pathname pattern: "/A/B/C/D/E/F/" with * and ? in any part, or a glob over the whole
// pathname when it does not start with '/'. An empty D part matches any D part (a series named
// without its blocks); other empty parts match empty parts. Case is ignored.
class PathPattern {
 public:
  explicit PathPattern(std::string pattern);  // kExitUsage when it starts with '/' but is no
                                              // six-part pathname
  bool Matches(std::string_view path) const;
  const std::string& text() const { return pattern_; }

 private:
  std::string pattern_;
  std::vector<std::string> parts_;  // empty when the pattern is a whole-path glob
};
bool GlobMatch(std::string_view pattern, std::string_view text);
bool AnyMatches(const std::vector<PathPattern>& patterns, std::string_view path);
// The patterns among the positional arguments from `first` on.
std::vector<PathPattern> PatternsFrom(const Arguments& args, size_t first);

// Indexes of the parts that place a time-series record: its block date and its interval.
inline constexpr int kDatePart = 3;
inline constexpr int kIntervalPart = 4;
// Splits "/A/B/C/D/E/F/" into its six parts; false when it is not a pathname.
bool SplitPath(std::string_view path, std::string parts[6]);
// The pathname with its D part left empty: the name of the series a block belongs to.
std::string SeriesName(const std::string parts[6]);
bool SameIgnoringCase(std::string_view a, std::string_view b);

bool IsTimeSeries(int32_t type);
bool IsPairedData(int32_t type);

// A progress bar on stderr, drawn when stderr is a terminal (VARNOCK_PROGRESS=1 forces it on,
// =0 off). Done() ends the bar's line so that a summary starts on a line of its own.
class Progress {
 public:
  Progress(std::string label, int64_t total);
  ~Progress();
  void Advance(int64_t done);
  void Done();

 private:
  std::string label_;
  int64_t total_;
  bool enabled_;
  int last_percent_ = -1;
};

// Date text of HEC's block form ("01Jan2020") as a julian day; false when it is not a date.
bool BlockDateJulian(const std::string& text, int32_t* julian);
// Reads "YYYY-MM-DD[THH:MM[:SS]]" (a blank may stand for the T) or HEC's "01Jan2021 2400" /
// "01JAN2021 01:00" / "01Jan2021" (midnight at the start of the day).
bool ParseTime(std::string_view text, int64_t* instant);
// The same, failing with kExitUsage naming `what`.
int64_t RequireTime(const std::string& text, const std::string& what);
// An engine instant (seconds from 31 December 1899 00:00) as "YYYY-MM-DDTHH:MM:SS".
std::string IsoTime(int64_t instant);
void AppendNumber(std::string& out, double value, bool doubles);
// The live (or, by `filter`, deleted) records that any pattern matches; all without patterns.
std::vector<engine::dss7::CatalogEntry> MatchingRecords(engine::dss7::DssFile& file, bool sorted,
                                                        const std::vector<PathPattern>& patterns,
                                                        const engine::dss7::CatalogFilter& filter);

// Commands.
int RunInfo(const std::vector<std::string>& args);
int RunCatalog(const std::vector<std::string>& args);
int RunCopy(const std::vector<std::string>& args);
int RunRename(const std::vector<std::string>& args);
int RunDelete(const std::vector<std::string>& args);
int RunUndelete(const std::vector<std::string>& args);
int RunDump(const std::vector<std::string>& args);
int RunExport(const std::vector<std::string>& args);
int RunImport(const std::vector<std::string>& args);
// Runs the Python module's plot command (python3 -m varnock plot ARGS).
int RunPlot(const std::vector<std::string>& args);
int RunConvert(const std::vector<std::string>& args);
int RunSqueeze(const std::vector<std::string>& args);
int RunCheck(const std::vector<std::string>& args);

}  // namespace varnock::cli

#endif  // VARNOCK_TOOLS_VARNOCK_CLI_H_
