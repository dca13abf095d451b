// Pathname patterns of the catalog, copy, delete, dump and export commands.
#include <algorithm>
#include <cctype>

#include "cli.h"

namespace varnock::cli {

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

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::toupper(static_cast<unsigned char>(x)) ==
                  std::toupper(static_cast<unsigned char>(y));
         });
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

std::string SeriesName(const std::string parts[6]) {
  std::string name = "/";
  for (int i = 0; i < 6; ++i)
    name += (i == kDatePart ? std::string() : parts[i]) + "/";
  return name;
}

PathPattern::PathPattern(std::string pattern) : pattern_(TrimmedPath(pattern)) {
  if (pattern_.empty() || pattern_.front() != '/') return;  // a glob over the whole pathname
  std::string parts[6];
  if (!SplitPath(pattern_, parts))
    throw Failure(kExitUsage, "pattern '" + pattern_ +
                                  "' is not a pathname of six parts (/A/B/C/D/E/F/); write a glob "
                                  "over the whole pathname without the leading '/'");
  parts_.assign(parts, parts + 6);
}

bool PathPattern::Matches(std::string_view path) const {
  if (parts_.empty()) return GlobMatch(pattern_, path);
  std::string parts[6];
  if (!SplitPath(path, parts)) return false;
  for (int i = 0; i < 6; ++i) {
    const std::string& wanted = parts_[static_cast<size_t>(i)];
    if (i == kDatePart && wanted.empty()) continue;
    if (!GlobMatch(wanted, parts[i])) return false;
  }
  return true;
}

bool AnyMatches(const std::vector<PathPattern>& patterns, std::string_view path) {
  return patterns.empty() || std::any_of(patterns.begin(), patterns.end(),
                                         [&](const PathPattern& p) { return p.Matches(path); });
}

std::vector<PathPattern> PatternsFrom(const Arguments& args, size_t first) {
  std::vector<PathPattern> patterns;
  for (size_t i = first; i < args.Count(); ++i)
    patterns.emplace_back(args.At(i));
  return patterns;
}

}  // namespace varnock::cli
