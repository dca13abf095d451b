#include "engine/rules/pathname_rules.h"

#include <algorithm>

#include "engine/rules/fixed_text.h"

namespace varnock::engine {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// ZGPNP looks at no more than this many "=" signs.
constexpr int kMaxFields = 12;

// The letter position of the field whose "=" is at eq, or kNone when that "=" starts no
// field: the letter may be followed by one blank and must open the text or follow a blank or
// a comma. Any letter qualifies here; only A..F are used, but the others still end a value.
std::size_t FieldLetter(std::string_view line, std::size_t eq) {
  if (eq == 0) return kNone;
  std::size_t letter = eq - 1;
  if (line[letter] == ' ') {
    if (letter == 0) return kNone;
    --letter;
  }
  const char c = line[letter];
  if (c == ' ' || c == ',' || c == '=') return kNone;
  if (letter > 0 && line[letter - 1] != ' ' && line[letter - 1] != ',') return kNone;
  return letter;
}

// A value runs to the next comma, or to the blank or comma before the next field's letter.
std::size_t ValueEnd(std::string_view line, std::size_t eq) {
  std::size_t end = std::min(line.find(',', eq + 1), line.size());
  for (std::size_t next = line.find('=', eq + 1); next < end; next = line.find('=', next + 1)) {
    const std::size_t letter = FieldLetter(line, next);
    if (letter != kNone) return std::min(end, letter - 1);
  }
  return end;
}

}  // namespace

int32_t SplitPathname(std::string_view path, PathnameParts* parts) {
  path = TrimTrailingBlanks(path);
  std::size_t slash = path.find('/');
  if (slash == kNone) return -1;
  PathnameParts found{};
  for (int i = 0; i < 6; ++i) {
    const std::size_t close = path.find('/', slash + 1);
    if (close == kNone) return -1;
    const auto length = static_cast<int32_t>(close - slash - 1);
    found.length[i] = length;
    found.end[i] = length == 0 ? static_cast<int32_t>(close) + 1 : static_cast<int32_t>(close);
    found.begin[i] = length == 0 ? found.end[i] : static_cast<int32_t>(slash) + 2;
    slash = close;
  }
  *parts = found;
  return 0;
}

int32_t CheckPathname(std::span<char> buffer, int32_t check_len) {
  if (check_len < 7) return -4;
  if (check_len > kMaxPathnameLength || static_cast<std::size_t>(check_len) > buffer.size()) {
    return -5;
  }
  const std::span<char> path = buffer.first(static_cast<std::size_t>(check_len));
  if (path.front() != '/') return -1;
  if (path.back() != '/') return -2;
  bool nul_found = false;
  int slashes = 0;
  for (char c : path) {
    const auto u = static_cast<unsigned char>(c);
    if (u == 0) {
      nul_found = true;
    } else if (u < 32 || u > 126) {
      return -6;
    }
    if (c == '/') ++slashes;
  }
  if (slashes != 7) return -3;
  if (!nul_found) return 0;
  // Only a path that passes every other check is touched: a rejected one comes back as given.
  std::replace(path.begin(), path.end(), '\0', ' ');
  return 6;
}

void SplitPartString(std::string_view line, std::array<std::span<char>, 6> fields,
                     std::array<int32_t, 6>* lengths) {
  struct Value {
    bool named = false;
    std::string_view text;
  };
  std::array<Value, 6> values;
  bool any = false;
  int scanned = 0;
  for (std::size_t eq = line.find('='); eq != kNone && scanned < kMaxFields;
       eq = line.find('=', eq + 1), ++scanned) {
    const std::size_t letter = FieldLetter(line, eq);
    if (letter == kNone || line[letter] < 'A' || line[letter] > 'F') continue;
    const std::size_t end = ValueEnd(line, eq);
    // Later fields of the same letter overwrite earlier ones.
    values[line[letter] - 'A'] = {true, TrimTrailingBlanks(line.substr(eq + 1, end - eq - 1))};
    any = true;
  }

  for (int i = 0; i < 6; ++i) {
    int32_t& length = (*lengths)[i];
    if (length == -2) continue;
    if (!any || !values[i].named) {
      length = -1;
      continue;
    }
    AssignBlankPadded(fields[i], values[i].text);
    length = static_cast<int32_t>(std::min(values[i].text.size(), fields[i].size()));
  }
  if (!any) (*lengths)[0] = -10;
}

}  // namespace varnock::engine
