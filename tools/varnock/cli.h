// Shared pieces of the varnock command-line tool: command table, failures with exit codes,
// argument parsing, pathname patterns and a progress bar for long work.
#ifndef VARNOCK_TOOLS_VARNOCK_CLI_H_
#define VARNOCK_TOOLS_VARNOCK_CLI_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "engine/dss7/dss_file.h"

namespace varnock::cli {

// Exit codes: each kind of failure has its own.
enum ExitCode : int {
  kExitOk = 0,
  kExitFailure = 1,     // anything not listed below
  kExitUsage = 2,       // bad command line
  kExitFile = 3,        // file missing, not DSS, incompatible, locked, unreadable
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
  bool HelpWanted() const { return help_; }
  // Fails with a usage error unless the positional count lies in [min, max].
  void RequireCount(size_t min, size_t max, const std::string& usage) const;

 private:
  std::vector<std::string> positional_;
  std::vector<std::pair<std::string, std::string>> options_;
  bool help_ = false;
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
// Opens an existing DSS file for writing, or creates a new one.
std::unique_ptr<engine::dss7::DssFile> OpenOrCreateDss(const std::string& path);
// Fails with the status text when a file-layer call did not succeed.
void Check(engine::dss7::Status status, ExitCode code, const std::string& what);

// A pathname pattern: "/A/B/C/D/E/F/" with * and ? in any part, or a glob over the whole
// pathname. Matching ignores case, as DSS pathnames do.
class PathPattern {
 public:
  explicit PathPattern(std::string pattern);
  bool Matches(std::string_view path) const;
  bool IsLiteral() const;

 private:
  std::string pattern_;
  std::vector<std::string> parts_;  // empty when the pattern is a whole-path glob
};
bool GlobMatch(std::string_view pattern, std::string_view text);

// Splits "/A/B/C/D/E/F/" into its six parts; false when it is not a pathname.
bool SplitPath(std::string_view path, std::string parts[6]);

// A progress bar on stderr, drawn only when stderr is a terminal.
class Progress {
 public:
  Progress(std::string label, int64_t total);
  ~Progress();
  void Advance(int64_t done);

 private:
  std::string label_;
  int64_t total_;
  bool enabled_;
  int last_percent_ = -1;
};

// Date text of HEC's block form ("01Jan2020") as a julian day; false when it is not a date.
bool BlockDateJulian(const std::string& text, int32_t* julian);

// An engine instant (seconds from 31 December 1899 00:00) as "YYYY-MM-DDTHH:MM:SS".
std::string IsoTime(int64_t instant);
// The canonical dump of a file; with a pattern, only the records it matches.
std::string DumpFile(engine::dss7::DssFile& file, const PathPattern* pattern);

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

}  // namespace varnock::cli

#endif  // VARNOCK_TOOLS_VARNOCK_CLI_H_
