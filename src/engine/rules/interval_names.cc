#include "engine/rules/interval_names.h"

#include <algorithm>
#include <array>

#include "engine/rules/fixed_text.h"
#include "varnock/interval_vocabulary.h"

namespace varnock::engine {
namespace {

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 3600;
constexpr int64_t kDay = 86400;

bool SameLetters(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return AsciiUpper(x) == AsciiUpper(y);
         });
}

struct Unit {
  std::string_view name;
  int64_t seconds;
  std::array<int16_t, 11> counts;  // the multiples that exist; 0 ends the list
};

constexpr Unit kUnits[] = {
    {"SECOND", 1, {1, 2, 3, 4, 5, 6, 10, 15, 20, 30}},
    {"MIN", kMinute, {1, 2, 3, 4, 5, 6, 10, 12, 15, 20, 30}},
    {"MINUTE", kMinute, {1, 2, 3, 4, 5, 6, 10, 12, 15, 20, 30}},
    {"HOUR", kHour, {1, 2, 3, 4, 6, 8, 12}},
    {"DAY", kDay, {1}},
    {"WEEK", 7 * kDay, {1}},
    {"MON", 30 * kDay, {1}},
    {"MONTH", 30 * kDay, {1}},
    {"YEAR", 365 * kDay, {1}},
};

}  // namespace

int64_t RegularIntervalSeconds(std::string_view e) {
  if (SameLetters(e, "SEMI-MONTH")) return 15 * kDay;
  if (SameLetters(e, "TRI-MONTH")) return 10 * kDay;
  std::size_t digits = 0;
  while (digits < e.size() && digits < 3 && IsDigit(e[digits]))
    ++digits;
  if (digits == 0 || e[0] == '0') return 0;
  int count = 0;
  for (std::size_t i = 0; i < digits; ++i)
    count = count * 10 + (e[i] - '0');
  const std::string_view unit = e.substr(digits);
  for (const Unit& u : kUnits) {
    if (!SameLetters(unit, u.name)) continue;
    for (int16_t n : u.counts) {
      if (n != 0 && n == count) return count * u.seconds;
    }
  }
  return 0;
}

int32_t IrregularBlockRank(std::string_view e) {
  static constexpr std::string_view kBlocks[] = {"IR-DAY", "IR-MONTH", "IR-YEAR", "IR-DECADE",
                                                 "IR-CENTURY"};
  for (std::size_t i = 0; i < std::size(kBlocks); ++i) {
    if (SameLetters(e, kBlocks[i])) return static_cast<int32_t>(i) + 1;
  }
  return 0;
}

std::string_view VocabularyIntervalName(std::string_view e) {
  int32_t minutes = 0;
  if (const int32_t rank = IrregularBlockRank(e); rank > 0) {
    minutes = -(rank + 1);  // IR-DAY is -2 .. IR-DECADE -5
  } else if (const int64_t seconds = RegularIntervalSeconds(e); seconds % kMinute == 0) {
    minutes = static_cast<int32_t>(seconds / kMinute);
  }
  if (minutes == 0) return {};
  for (const IntervalEntry& entry : kIntervals) {
    if (entry.minutes == minutes) return entry.name;
  }
  return {};
}

}  // namespace varnock::engine
