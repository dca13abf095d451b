#include "engine/records/series/time_axis.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>

#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::series {
namespace {

constexpr int64_t kDay = kSecondsPerDay;
constexpr int64_t kWeek = 7 * kDay;

using C = IntervalClass;
using B = BlockKind;

// HEC's table order decides prefix matches ("1MIN" must not reach "1Month" first). The regular
// intervals come first.
constexpr std::array<Interval, 39> kIntervals = {{
    {"1Year", 31536000, C::kYear, B::kCentury, false},
    {"1Month", 2592000, C::kMonth, B::kDecade, false},
    {"Semi-Month", 1296000, C::kSemiMonth, B::kDecade, false},
    {"Tri-Month", 864000, C::kTriMonth, B::kDecade, false},
    {"1Week", kWeek, C::kFixed, B::kDecade, false},
    {"1Day", kDay, C::kFixed, B::kYear, false},
    {"12Hour", 43200, C::kFixed, B::kMonth, false},
    {"8Hour", 28800, C::kFixed, B::kMonth, false},
    {"6Hour", 21600, C::kFixed, B::kMonth, false},
    {"4Hour", 14400, C::kFixed, B::kMonth, false},
    {"3Hour", 10800, C::kFixed, B::kMonth, false},
    {"2Hour", 7200, C::kFixed, B::kMonth, false},
    {"1Hour", 3600, C::kFixed, B::kMonth, false},
    {"30Minute", 1800, C::kFixed, B::kMonth, false},
    {"20Minute", 1200, C::kFixed, B::kMonth, false},
    {"15Minute", 900, C::kFixed, B::kMonth, false},
    {"12Minute", 720, C::kFixed, B::kDay, false},
    {"10Minute", 600, C::kFixed, B::kDay, false},
    {"6Minute", 360, C::kFixed, B::kDay, false},
    {"5Minute", 300, C::kFixed, B::kDay, false},
    {"4Minute", 240, C::kFixed, B::kDay, false},
    {"3Minute", 180, C::kFixed, B::kDay, false},
    {"2Minute", 120, C::kFixed, B::kDay, false},
    {"1Minute", 60, C::kFixed, B::kDay, false},
    {"30Second", 30, C::kFixed, B::kDay, false},
    {"20Second", 20, C::kFixed, B::kDay, false},
    {"15Second", 15, C::kFixed, B::kDay, false},
    {"10Second", 10, C::kFixed, B::kDay, false},
    {"6Second", 6, C::kFixed, B::kDay, false},
    {"5Second", 5, C::kFixed, B::kDay, false},
    {"4Second", 4, C::kFixed, B::kDay, false},
    {"3Second", 3, C::kFixed, B::kDay, false},
    {"2Second", 2, C::kFixed, B::kDay, false},
    {"1Second", 1, C::kFixed, B::kDay, false},
    {"IR-Century", 0, C::kFixed, B::kCentury, true},
    {"IR-Decade", 0, C::kFixed, B::kDecade, true},
    {"IR-Year", 0, C::kFixed, B::kYear, true},
    {"IR-Month", 0, C::kFixed, B::kMonth, true},
    {"IR-Day", 0, C::kFixed, B::kDay, true},
}};

int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

int64_t Mod7(int64_t julian) {
  return julian - FloorDiv(julian, 7) * 7;
}

int32_t Julian(int64_t year, int64_t month, int64_t day) {
  int32_t j = 0;
  // Saturates, so callers' range checks see dates beyond 32-bit julians as out of range.
  if (!YmdToJulian(year, month, day, &j)) return year < 0 ? INT32_MIN : INT32_MAX;
  return j;
}

int32_t EndOfMonth(int32_t year, int32_t month) {
  return Julian(year, month + 1, 1) - 1;
}

bool IsLeap(int32_t y) {
  return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

// Calendar intervals are numbered period by period: year * periods-per-year + period in year.
int32_t PeriodsPerYear(C c) {
  switch (c) {
    case C::kTriMonth:
      return 36;
    case C::kSemiMonth:
      return 24;
    case C::kMonth:
      return 12;
    default:
      return 1;
  }
}

int64_t PeriodOfStandardDay(C c, int32_t julian) {
  const CivilDate d = JulianToYmd(julian);
  const int64_t base = int64_t{d.year} * PeriodsPerYear(c);
  switch (c) {
    case C::kTriMonth:
      return base + (d.month - 1) * 3 + (d.day <= 10 ? 0 : d.day <= 20 ? 1 : 2);
    case C::kSemiMonth:
      return base + (d.month - 1) * 2 + (d.day <= 15 ? 0 : 1);
    case C::kMonth:
      return base + d.month - 1;
    default:
      return base;
  }
}

int32_t LastDayOfPeriod(C c, int64_t period) {
  const int32_t per_year = PeriodsPerYear(c);
  const auto year = static_cast<int32_t>(FloorDiv(period, per_year));
  const auto in_year = static_cast<int32_t>(period - int64_t{year} * per_year);
  if (c == C::kYear) return Julian(year, 12, 31);
  const int32_t per_month = per_year / 12;
  const int32_t month = in_year / per_month + 1;
  const int32_t part = in_year % per_month;
  if (part == per_month - 1) return EndOfMonth(year, month);
  return Julian(year, month, c == C::kTriMonth ? 10 * (part + 1) : 15);
}

bool MonthEndZone(const CivilDate& d) {
  return d.day >= 30 || (d.month == 2 && d.day >= 28);
}

}  // namespace

DaySecond SplitInstant(Instant t) {
  const int64_t day = FloorDiv(t - 1, kDay);
  return {static_cast<int32_t>(day), static_cast<int32_t>(t - day * kDay)};
}

namespace {

constexpr size_t kRegularCount = 34;  // the regular entries lead the table
static_assert(!kIntervals[kRegularCount - 1].irregular && kIntervals[kRegularCount].irregular);

// Pseudo-regular series ("~1Day"): irregular records whose block follows the nominal interval.
BlockKind PseudoRegularBlock(int64_t seconds) {
  if (seconds < 1800) return B::kDay;
  if (seconds < 21600) return B::kMonth;
  if (seconds < kWeek) return B::kYear;
  if (seconds < 2592000) return B::kDecade;
  return B::kCentury;
}

struct PseudoRegularTable {
  std::array<std::string, kRegularCount> names;
  std::array<Interval, kRegularCount> intervals;
};

const PseudoRegularTable& PseudoRegular() {
  static const PseudoRegularTable table = [] {
    PseudoRegularTable t;
    for (size_t i = 0; i < kRegularCount; ++i) {
      const Interval& regular = kIntervals[i];
      t.names[i] = "~" + std::string(regular.name);
      t.intervals[i] = {t.names[i], regular.seconds, regular.klass,
                        PseudoRegularBlock(regular.seconds), true};
    }
    return t;
  }();
  return table;
}

}  // namespace

const Interval* FindInterval(std::string_view e_part) {
  if (!e_part.empty() && e_part.front() == '~') {
    const Interval* regular = FindInterval(e_part.substr(1));
    if (regular == nullptr || regular->irregular) return nullptr;
    return &PseudoRegular().intervals[static_cast<size_t>(regular - kIntervals.data())];
  }
  if (e_part.size() < 4) return nullptr;
  for (const Interval& iv : kIntervals) {
    const size_t n = std::min(e_part.size(), iv.name.size());
    bool same = true;
    for (size_t i = 0; i < n && same; ++i)
      same = AsciiUpper(e_part[i]) == AsciiUpper(iv.name[i]);
    if (same) return &iv;
  }
  return nullptr;
}

int32_t BlockStart(BlockKind kind, int32_t julian) {
  const CivilDate d = JulianToYmd(julian);
  switch (kind) {
    case B::kDay:
      return julian;
    case B::kMonth:
      return Julian(d.year, d.month, 1);
    case B::kYear:
      return Julian(d.year, 1, 1);
    case B::kDecade:
      return Julian(d.year / 10 * 10, 1, 1);  // HEC truncates toward zero
    case B::kCentury:
      return Julian(d.year / 100 * 100, 1, 1);
  }
  return julian;
}

int32_t NextBlockStart(BlockKind kind, int32_t block_start) {
  const CivilDate d = JulianToYmd(block_start);
  switch (kind) {
    case B::kDay:
      return block_start + 1;
    case B::kMonth:
      return Julian(d.year, d.month + 1, 1);
    case B::kYear:
      return Julian(d.year + 1, 1, 1);
    case B::kDecade:
      return Julian(d.year + 10, 1, 1);
    case B::kCentury:
      return Julian(d.year + 100, 1, 1);
  }
  return block_start + 1;
}

std::string BlockDate(int32_t julian) {
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const CivilDate d = JulianToYmd(julian);
  char text[32];
  std::snprintf(text, sizeof text, "%02d%s%04d", d.day, kMonths[(d.month - 1) % 12], d.year);
  return text;
}

int32_t ValuesPerBlock(const Interval& iv, int32_t block) {
  if (iv.klass != C::kFixed) return PeriodsPerYear(iv.klass) * (iv.klass == C::kYear ? 100 : 10);
  const int64_t days = NextBlockStart(iv.block, block) - block;
  return static_cast<int32_t>(days * kDay / iv.seconds);
}

Instant FirstStandardTime(const Interval& iv, int32_t block) {
  if (iv.klass != C::kFixed) {
    const CivilDate d = JulianToYmd(block);
    return MakeInstant(LastDayOfPeriod(iv.klass, int64_t{d.year} * PeriodsPerYear(iv.klass)), kDay);
  }
  if (iv.seconds == kWeek) {
    // The first Saturday (julian mod 7 == 6) on or after the block's first day, at 2400.
    return MakeInstant(block + (6 - Mod7(block) + 7) % 7, kDay);
  }
  return MakeInstant(block, iv.seconds);
}

Instant StepStandard(const Interval& iv, Instant standard, int64_t count) {
  if (iv.klass == C::kFixed) return standard + count * iv.seconds;
  const int64_t period = PeriodOfStandardDay(iv.klass, SplitInstant(standard).julian);
  return MakeInstant(LastDayOfPeriod(iv.klass, period + count), kDay);
}

int64_t SlotOf(const Interval& iv, int32_t block, Instant standard) {
  if (iv.klass == C::kFixed) {
    const int64_t slot = (standard - MakeInstant(block, 0)) / iv.seconds - 1;
    // Since HEC's DSS-163 fix a weekly -1 (decades not starting on Sunday) is clamped to 0.
    return (iv.seconds == kWeek && slot == -1) ? 0 : slot;
  }
  // HEC's period count from (block - 1) at 2400 to the standard date, integer divisions as C.
  const CivilDate from = JulianToYmd(block - 1);
  const CivilDate to = JulianToYmd(SplitInstant(standard).julian);
  const int64_t dy = to.year - from.year;
  const int64_t dm = to.month - from.month;
  const int64_t dd = to.day - from.day;
  switch (iv.klass) {
    case C::kTriMonth:
      return 36 * dy + 3 * dm + dd / 8 - 1;
    case C::kSemiMonth:
      return 24 * dy + 2 * dm + dd / 13 - 1;
    case C::kMonth:
      return 12 * dy + dm + dd / 27 - 1;
    default:
      return dy - 1;
  }
}

Standardised Standardise(const Interval& iv, Instant t) {
  const DaySecond ds = SplitInstant(t);
  if (iv.klass == C::kFixed) {
    // Weekly offsets count from Sunday 0000 (julian mod 7 == 0 is a Sunday).
    int64_t offset =
        iv.seconds == kWeek ? Mod7(ds.julian) * kDay + ds.seconds : ds.seconds % iv.seconds;
    if (offset >= iv.seconds) offset = 0;  // Saturday 2400
    return {offset > 0 ? t + (iv.seconds - offset) : t, static_cast<int32_t>(offset)};
  }
  const CivilDate d = JulianToYmd(ds.julian);
  int64_t from_day = 1;  // first day of the period holding t
  int32_t end_day = EndOfMonth(d.year, d.month);
  bool zero = MonthEndZone(d);
  if (iv.klass == C::kSemiMonth && d.day <= 15) {
    end_day = Julian(d.year, d.month, 15);
    zero = d.day >= 14;
  } else if (iv.klass == C::kSemiMonth) {
    from_day = 16;
  } else if (iv.klass == C::kTriMonth && d.day <= 20) {
    from_day = d.day <= 10 ? 1 : 11;
    end_day = Julian(d.year, d.month, from_day + 9);
    zero = d.day == from_day + 8 || d.day == from_day + 9;
  } else if (iv.klass == C::kTriMonth) {
    from_day = 21;
  }
  int64_t offset = (d.day - from_day) * kDay + ds.seconds;
  if (iv.klass == C::kYear) {
    end_day = Julian(d.year, 12, 31);
    zero = d.month == 12 && d.day == 31;
    offset = (ds.julian - Julian(d.year, 1, 1)) * kDay + ds.seconds;
    if (IsLeap(d.year) && d.month > 2) offset -= kDay;
  }
  return {MakeInstant(end_day, kDay), zero ? 0 : static_cast<int32_t>(offset)};
}

Instant ReportedTime(const Interval& iv, Instant standard, int32_t offset) {
  if (offset == 0) return standard;
  if (iv.klass == C::kFixed) return standard - iv.seconds + offset;
  Instant t = StepStandard(iv, standard, -1) + offset;
  if (iv.klass == C::kYear && offset >= 59 * kDay &&
      IsLeap(JulianToYmd(SplitInstant(standard).julian).year))
    t += kDay;
  return t;
}

}  // namespace varnock::engine::series
