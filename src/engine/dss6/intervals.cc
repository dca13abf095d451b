#include "engine/dss6/intervals.h"

#include <cstdio>

#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::dss6 {
namespace {

constexpr Interval6 kIntervals[] = {
    {"1YEAR", 525600, Step::kYear, Block::kCentury},
    {"1MON", 43200, Step::kMonth, Block::kDecade},
    {"SEMI-MONTH", 21600, Step::kSemiMonth, Block::kDecade},
    {"TRI-MONTH", 14400, Step::kTriMonth, Block::kDecade},
    {"1WEEK", 10080, Step::kFixed, Block::kDecade},
    {"1DAY", 1440, Step::kFixed, Block::kYear},
    {"12HOUR", 720, Step::kFixed, Block::kMonth},
    {"8HOUR", 480, Step::kFixed, Block::kMonth},
    {"6HOUR", 360, Step::kFixed, Block::kMonth},
    {"4HOUR", 240, Step::kFixed, Block::kMonth},
    {"3HOUR", 180, Step::kFixed, Block::kMonth},
    {"2HOUR", 120, Step::kFixed, Block::kMonth},
    {"1HOUR", 60, Step::kFixed, Block::kMonth},
    {"30MIN", 30, Step::kFixed, Block::kMonth},
    {"20MIN", 20, Step::kFixed, Block::kMonth},
    {"15MIN", 15, Step::kFixed, Block::kMonth},
    {"12MIN", 12, Step::kFixed, Block::kDay},
    {"10MIN", 10, Step::kFixed, Block::kDay},
    {"6MIN", 6, Step::kFixed, Block::kDay},
    {"5MIN", 5, Step::kFixed, Block::kDay},
    {"4MIN", 4, Step::kFixed, Block::kDay},
    {"3MIN", 3, Step::kFixed, Block::kDay},
    {"2MIN", 2, Step::kFixed, Block::kDay},
    {"1MIN", 1, Step::kFixed, Block::kDay},
};

struct IrregularPart {
  std::string_view name;
  Block block;
};
constexpr IrregularPart kIrregular[] = {
    {"IR-DAY", Block::kDay},       {"IR-MONTH", Block::kMonth},     {"IR-YEAR", Block::kYear},
    {"IR-DECADE", Block::kDecade}, {"IR-CENTURY", Block::kCentury},
};

constexpr const char* kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                   "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};

// Same first n characters, ignoring case; both must have them.
bool SamePrefix(std::string_view a, std::string_view b, size_t n) {
  if (a.size() < n || b.size() < n) return false;
  for (size_t i = 0; i < n; ++i) {
    if (AsciiUpper(a[i]) != AsciiUpper(b[i])) return false;
  }
  return true;
}

int32_t Julian(int64_t year, int64_t month, int64_t day) {
  int32_t j = 0;
  return YmdToJulian(year, month, day, &j) ? j : 0;
}

int64_t FloorDiv(int64_t a, int64_t b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}

}  // namespace

const Interval6* FindRegular(std::string_view e) {
  for (const auto& iv : kIntervals) {
    if (SamePrefix(e, iv.name, 4)) return &iv;
  }
  return nullptr;
}

const Interval6* RegularByMinutes(int32_t minutes) {
  for (const auto& iv : kIntervals) {
    if (iv.minutes == minutes) return &iv;
  }
  return nullptr;
}

bool FindIrregularBlock(std::string_view e, Block* out) {
  for (const auto& ir : kIrregular) {
    if (SamePrefix(e, ir.name, 6)) {
      *out = ir.block;
      return true;
    }
  }
  return false;
}

std::string_view IrregularBlockName(Block block) {
  return kIrregular[static_cast<int>(block)].name;  // listed in Block order
}

Block PseudoRegularBlock(int32_t minutes) {
  if (minutes < 15) return Block::kDay;
  if (minutes < 1440) return Block::kMonth;
  if (minutes < 10080) return Block::kYear;
  if (minutes < 50000) return Block::kDecade;
  return Block::kCentury;
}

int32_t BlockStart(Block block, int32_t julian) {
  const CivilDate d = JulianToYmd(julian);
  switch (block) {
    case Block::kDay:
      return julian;
    case Block::kMonth:
      return Julian(d.year, d.month, 1);
    case Block::kYear:
      return Julian(d.year, 1, 1);
    case Block::kDecade:
      return Julian(FloorDiv(d.year, 10) * 10, 1, 1);
    case Block::kCentury:
      return Julian(FloorDiv(d.year, 100) * 100, 1, 1);
  }
  return julian;
}

int32_t NextBlockStart(Block block, int32_t start) {
  const CivilDate d = JulianToYmd(start);
  switch (block) {
    case Block::kDay:
      return start + 1;
    case Block::kMonth:
      return Julian(d.year, d.month + 1, 1);
    case Block::kYear:
      return Julian(d.year + 1, 1, 1);
    case Block::kDecade:
      return Julian(d.year + 10, 1, 1);
    case Block::kCentury:
      return Julian(d.year + 100, 1, 1);
  }
  return start;
}

std::string BlockDate(int32_t julian) {
  const CivilDate d = JulianToYmd(julian);
  char text[32];
  std::snprintf(text, sizeof text, "%02d%s%04d", static_cast<int>(d.day), kMonths[d.month - 1],
                static_cast<int>(d.year));
  return text;
}

bool ParseBlockDate(std::string_view d, int32_t* julian) {
  if (d.size() < 9 || d.size() > 13 || !IsDigit(d[0]) || !IsDigit(d[1])) return false;
  int month = 0;
  for (int m = 0; m < 12; ++m) {
    if (SamePrefix(d.substr(2, 3), kMonths[m], 3)) month = m + 1;
  }
  int64_t year = 0;
  for (char c : d.substr(5)) {
    if (!IsDigit(c)) return false;
    year = year * 10 + (c - '0');
  }
  const int day = (d[0] - '0') * 10 + (d[1] - '0');
  if (month == 0 || day < 1 || day > 31) return false;
  return YmdToJulian(year, month, day, julian);
}

}  // namespace varnock::engine::dss6
