// Command-line parsing, opening files with the tool's messages, status checks and progress.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "cli.h"
#include "engine/dss7/posix_file_io.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;

Arguments::Arguments(std::vector<std::string> args, std::vector<std::string> value_options,
                     std::vector<std::string> flag_options) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg.size() < 3 || arg.compare(0, 2, "--") != 0) {
      positional_.push_back(arg);
      continue;
    }
    const size_t equals = arg.find('=');
    const std::string name = arg.substr(2, equals == std::string::npos ? equals : equals - 2);
    const bool takes_value =
        std::find(value_options.begin(), value_options.end(), name) != value_options.end();
    const bool is_flag =
        std::find(flag_options.begin(), flag_options.end(), name) != flag_options.end();
    if (takes_value) {
      if (equals != std::string::npos) {
        options_.emplace_back(name, arg.substr(equals + 1));
      } else if (i + 1 < args.size()) {
        options_.emplace_back(name, args[++i]);
      } else {
        throw Failure(kExitUsage, "option --" + name + " needs a value");
      }
    } else if (is_flag && equals == std::string::npos) {
      options_.emplace_back(name, "");
    } else {
      throw Failure(kExitUsage, "unknown option " + arg);
    }
  }
}

bool Arguments::Flag(const std::string& name) const {
  return Option(name).has_value();
}

std::optional<std::string> Arguments::Option(const std::string& name) const {
  for (auto it = options_.rbegin(); it != options_.rend(); ++it) {
    if (it->first == name) return it->second;
  }
  return std::nullopt;
}

void Arguments::RequireCount(size_t min, size_t max, const std::string& usage) const {
  if (positional_.size() < min || positional_.size() > max)
    throw Failure(kExitUsage, "usage: " + usage);
}

void Check(dss7::Status status, ExitCode code, const std::string& what) {
  switch (status) {
    case dss7::Status::kOk:
      return;
    case dss7::Status::kReadOnly:
    case dss7::Status::kWriteError:
    case dss7::Status::kDiskFull:
      code = kExitWriteFailed;
      break;
    case dss7::Status::kDamaged:
    case dss7::Status::kPathMismatch:
    case dss7::Status::kInvalidHeader:
    case dss7::Status::kReadError:
    case dss7::Status::kLockBusy:
    case dss7::Status::kExclusiveLocked:
    case dss7::Status::kLockError:
      code = kExitFile;
      break;
    default:
      break;
  }
  throw Failure(code, what + ": " + dss7::StatusText(status));
}

void CheckListed(dss7::Status status, const std::string& what) {
  if (status == dss7::Status::kNotFound)
    throw Failure(kExitFile, what +
                                 ": the catalog lists the record but it cannot be found "
                                 "(damaged file)");
  Check(status, kExitFailure, what);
}

std::string TrimmedPath(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
    text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
    text.remove_suffix(1);
  return std::string(text);
}

namespace {

std::string OpenFailureText(const std::string& path, dss7::Status status) {
  switch (status) {
    case dss7::Status::kIncompatibleVersion: {
      // Name the version found, so the user knows which tool the file needs.
      std::string found;
      std::unique_ptr<dss7::PosixFileIO> io;
      dss7::VersionInfo version;
      if (dss7::Ok(dss7::PosixFileIO::Open(path, dss7::PosixFileIO::Mode::kReadOnly, &io)) &&
          dss7::Ok(dss7::DssFile::ProbeVersion(*io, &version)))
        found = " (the file is DSS version " + version.text + "; varnock reads versions 6 and 7)";
      return "Can't open " + path + ": incompatible DSS versions." + found;
    }
    case dss7::Status::kNotDssFile:
      return path + " is not a DSS file";
    case dss7::Status::kOpenFailed:
      return "Unable to connect to the DSS file: " + path;
    default:
      return path + ": " + dss7::StatusText(status);
  }
}

void RequireNotFolder(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored))
    throw Failure(kExitFile, path + " is a directory, not a DSS file");
}

}  // namespace

std::unique_ptr<dss7::DssFile> OpenDss(const std::string& path, bool writable) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored))
    throw Failure(kExitFile, "Unable to connect to the DSS file: " + path);
  RequireNotFolder(path);
  dss7::FileOptions options;
  options.read_only = !writable;
  options.program = "varnock";
  std::unique_ptr<dss7::DssFile> file;
  const dss7::Status status = dss7::DssFile::Open(path, options, &file);
  if (!dss7::Ok(status)) throw Failure(kExitFile, OpenFailureText(path, status));
  if (writable && file->read_only())
    throw Failure(kExitWriteFailed, path + " can only be opened read-only");
  return file;
}

std::unique_ptr<engine::container::RecordReader> OpenRecords(const std::string& path,
                                                             bool writable) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored))
    throw Failure(kExitFile, "Unable to connect to the DSS file: " + path);
  RequireNotFolder(path);
  std::unique_ptr<engine::container::RecordReader> reader;
  const dss7::Status status =
      writable ? engine::container::OpenRecordReaderForWrite(path, "varnock", &reader)
               : engine::container::OpenRecordReader(path, &reader);
  if (!dss7::Ok(status)) throw Failure(kExitFile, OpenFailureText(path, status));
  if (writable && reader->file().read_only())
    throw Failure(kExitWriteFailed, path + " can only be opened read-only");
  return reader;
}

std::unique_ptr<engine::container::RecordFile> OpenRecordFile(const std::string& path,
                                                              bool writable) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored))
    throw Failure(kExitFile, "Unable to connect to the DSS file: " + path);
  RequireNotFolder(path);
  engine::container::OpenOptions options;
  options.read_only = !writable;
  options.program = "varnock";
  std::unique_ptr<engine::container::RecordFile> file;
  const dss7::Status status = engine::container::OpenRecordFile(path, options, &file);
  if (!dss7::Ok(status)) throw Failure(kExitFile, OpenFailureText(path, status));
  if (writable && file->file().read_only())
    throw Failure(kExitWriteFailed, path + " can only be opened read-only");
  return file;
}

std::unique_ptr<engine::container::RecordFile> OpenOrCreateRecordFile(const std::string& path,
                                                                      int new_version) {
  RequireNotFolder(path);
  engine::container::OpenOptions options;
  options.program = "varnock";
  std::unique_ptr<engine::container::RecordFile> file;
  bool created = false;
  const dss7::Status status =
      engine::container::OpenOrCreateRecordFile(path, new_version, options, &file, &created);
  if (!dss7::Ok(status)) throw Failure(kExitFile, OpenFailureText(path, status));
  if (file->file().read_only())
    throw Failure(kExitWriteFailed, path + " can only be opened read-only");
  return file;
}

int NewFileVersion(const Arguments& args) {
  const std::optional<std::string> given = args.Option("new-version");
  if (!given) return 7;
  if (*given == "6" || *given == "7") return *given == "6" ? 6 : 7;
  throw Failure(kExitUsage, "--new-version takes 6 or 7, not '" + *given + "'");
}

bool IsTimeSeries(int32_t type) {
  return type >= 100 && type < 120;
}

bool IsPairedData(int32_t type) {
  return type >= 200 && type < 210;
}

namespace {

bool ProgressWanted() {
  const char* forced = std::getenv("VARNOCK_PROGRESS");
  if (forced != nullptr && *forced != '\0') return std::string_view(forced) != "0";
  return ::isatty(STDERR_FILENO) != 0;
}

}  // namespace

Progress::Progress(std::string label, int64_t total)
    : label_(std::move(label)), total_(total), enabled_(total > 0 && ProgressWanted()) {}

Progress::~Progress() {
  Done();
}

void Progress::Done() {
  if (enabled_ && last_percent_ >= 0) {
    std::fprintf(stderr, "\r\033[K");
    std::fflush(stderr);
  }
  last_percent_ = -1;
}

void Progress::Advance(int64_t done) {
  if (!enabled_) return;
  const int percent = static_cast<int>(std::clamp<int64_t>(done * 100 / total_, 0, 100));
  if (percent == last_percent_) return;
  last_percent_ = percent;
  constexpr int kWidth = 30;
  const int filled = percent * kWidth / 100;
  std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", label_.c_str(), filled,
               "##############################", kWidth - filled, "", percent);
  std::fflush(stderr);
}

}  // namespace varnock::cli
