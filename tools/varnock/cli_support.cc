#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>

#include "cli.h"
#include "engine/dates.h"

namespace varnock::cli {

namespace dss7 = engine::dss7;

Arguments::Arguments(std::vector<std::string> args, std::vector<std::string> value_options,
                     std::vector<std::string> flag_options) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--help" || arg == "-h") {
      help_ = true;
      continue;
    }
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
  if (dss7::Ok(status)) return;
  if (status == dss7::Status::kReadOnly || status == dss7::Status::kWriteError ||
      status == dss7::Status::kDiskFull)
    code = kExitWriteFailed;
  throw Failure(code, what + ": " + dss7::StatusText(status));
}

namespace {

std::string OpenFailureText(const std::string& path, dss7::Status status) {
  switch (status) {
    case dss7::Status::kIncompatibleVersion:
      return "Can't open " + path + ": incompatible DSS versions.";
    case dss7::Status::kNotDssFile:
      return path + " is not a DSS file";
    case dss7::Status::kOpenFailed:
      return "Unable to connect to the DSS file: " + path;
    default:
      return path + ": " + dss7::StatusText(status);
  }
}

}  // namespace

std::unique_ptr<dss7::DssFile> OpenDss(const std::string& path, bool writable) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored))
    throw Failure(kExitFile, "Unable to connect to the DSS file: " + path);
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

std::unique_ptr<dss7::DssFile> OpenOrCreateDss(const std::string& path) {
  dss7::FileOptions options;
  options.program = "varnock";
  std::unique_ptr<dss7::DssFile> file;
  bool created = false;
  const dss7::Status status = dss7::DssFile::OpenOrCreate(path, {}, options, &file, &created);
  if (!dss7::Ok(status)) throw Failure(kExitFile, OpenFailureText(path, status));
  if (file->read_only()) throw Failure(kExitWriteFailed, path + " can only be opened read-only");
  return file;
}

bool GlobMatch(std::string_view pattern, std::string_view text) {
  // Iterative matcher with one backtrack point: linear for typical patterns, never recursive.
  size_t p = 0, t = 0, star = std::string_view::npos, resume = 0;
  while (t < text.size()) {
    if (p < pattern.size() &&
        (pattern[p] == '?' || std::toupper(static_cast<unsigned char>(pattern[p])) ==
                                  std::toupper(static_cast<unsigned char>(text[t])))) {
      ++p;
      ++t;
    } else if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = t;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      t = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*')
    ++p;
  return p == pattern.size();
}

bool SplitPath(std::string_view path, std::string parts[6]) {
  if (path.empty() || path.front() != '/' || path.back() != '/') return false;
  size_t start = 1;
  for (int i = 0; i < 6; ++i) {
    const size_t slash = path.find('/', start);
    if (slash == std::string_view::npos) return false;
    parts[i] = std::string(path.substr(start, slash - start));
    start = slash + 1;
  }
  return start == path.size();
}

PathPattern::PathPattern(std::string pattern) : pattern_(std::move(pattern)) {
  std::string parts[6];
  if (SplitPath(pattern_, parts)) parts_.assign(parts, parts + 6);
}

bool PathPattern::Matches(std::string_view path) const {
  if (parts_.empty()) return GlobMatch(pattern_, path);
  std::string parts[6];
  if (!SplitPath(path, parts)) return false;
  for (int i = 0; i < 6; ++i) {
    if (!GlobMatch(parts_[static_cast<size_t>(i)], parts[i])) return false;
  }
  return true;
}

bool PathPattern::IsLiteral() const {
  return pattern_.find_first_of("*?") == std::string::npos && !parts_.empty();
}

Progress::Progress(std::string label, int64_t total)
    : label_(std::move(label)), total_(total), enabled_(total > 0 && ::isatty(STDERR_FILENO)) {}

Progress::~Progress() {
  if (enabled_ && last_percent_ >= 0) std::fprintf(stderr, "\r\033[K");
}

void Progress::Advance(int64_t done) {
  if (!enabled_) return;
  const int percent = static_cast<int>(std::min<int64_t>(100, done * 100 / total_));
  if (percent == last_percent_) return;
  last_percent_ = percent;
  constexpr int kWidth = 30;
  const int filled = percent * kWidth / 100;
  std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", label_.c_str(), filled,
               "##############################", kWidth - filled, "", percent);
  std::fflush(stderr);
}

bool BlockDateJulian(const std::string& text, int32_t* julian) {
  if (text.size() < 7) return false;
  return engine::DateToJulian(text, 2000, julian) == 0;
}

}  // namespace varnock::cli
