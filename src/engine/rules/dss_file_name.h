// The name rule HECLIB applies to DSS file names (ZOPEN, ZFVER).
#ifndef VARNOCK_ENGINE_RULES_DSS_FILE_NAME_H_
#define VARNOCK_ENGINE_RULES_DSS_FILE_NAME_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace varnock::engine {

// The file table keeps a name in 16 words: what inquiry NAME reports is cut to this length.
inline constexpr std::size_t kRecordedFileNameLength = 64;

// Blanks around the name are dropped and surrounding double quotes removed; a name without a
// three-letter extension (no "." four characters from the end) gets ".dss": "data" gives
// "data.dss" and "data.db" gives "data.db.dss". The whole name is kept, since Linux paths
// easily pass 64 characters; use RecordedFileName for what the table keeps. Returns false,
// with *out cleared, for a blank name.
bool NormaliseDssFileName(std::string_view name, std::string* out);

// The first 64 characters of a normalised name.
inline std::string_view RecordedFileName(std::string_view normalised) {
  return normalised.substr(0, kRecordedFileNameLength);
}

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_RULES_DSS_FILE_NAME_H_
