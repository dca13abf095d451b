// HECLIB's pathname routines: splitting (ZUPATH), checking (ZCHKPN) and part strings (ZGPNP).
#ifndef VARNOCK_ENGINE_RULES_PATHNAME_RULES_H_
#define VARNOCK_ENGINE_RULES_PATHNAME_RULES_H_

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace varnock::engine {

// Longest pathname ZCHKPN accepts: six 64-character parts, seven slashes and the terminator
// room HEC counts in.
inline constexpr int32_t kMaxPathnameLength = 392;

// 1-based positions within the text. An empty part has length 0 and begin = end = the
// position of its closing slash.
struct PathnameParts {
  std::array<int32_t, 6> begin;
  std::array<int32_t, 6> end;
  std::array<int32_t, 6> length;
};

// ZUPATH: 0 with *parts filled, or -1 (no slash, or fewer than seven from the first one on)
// with *parts untouched.
int32_t SplitPathname(std::string_view path, PathnameParts* parts);

// ZCHKPN: checks the first check_len characters of buffer exactly as given; see the status
// list in the .cc. On +6 the NULs in that range have been replaced by blanks. A check_len
// beyond the buffer counts as too long (-5).
int32_t CheckPathname(std::span<char> buffer, int32_t check_len);

// ZGPNP: reads "A=value B=value, C=value" into the six part fields (A..F), blank-padded.
// lengths[i] in: -2 means never set part i. Out: the value length, -1 for a part not named,
// and lengths[0] = -10 when the text names none of A..F (then no field is touched).
void SplitPartString(std::string_view line, std::array<std::span<char>, 6> fields,
                     std::array<int32_t, 6>* lengths);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_RULES_PATHNAME_RULES_H_
