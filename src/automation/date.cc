#include "varnock/date.h"

#include <cmath>
#include <cstdio>

#include "automation/date_calendar.h"
#include "varnock/error.h"

namespace varnock {

namespace {

using calendar::CivilDate;
using calendar::DaysFromCivil;
using calendar::FloorDiv;

// The first and last serial day the host accepts: 1 January 100 and 31 December 9999.
constexpr int64_t kFirstSerialDay = -657434;
constexpr int64_t kLastSerialDay = 2958465;

// A date split into a whole serial day and whole seconds after midnight (time rounded to the
// nearest second, as the host does before it shows any part).
struct DayAndSeconds {
  int64_t day;
  int64_t seconds;
};

// The serial encoding keeps the time of day as a positive fraction even before day 0, so
// the serial value is not monotonic there. The linear value is.
double SerialToLinear(double serial) {
  if (serial >= 0) return serial;
  const double day = std::trunc(serial);
  return day + (day - serial);
}

double LinearToSerial(double linear) {
  if (linear >= 0) return linear;
  const double day = std::floor(linear);
  const double fraction = linear - day;
  if (fraction == 0) return day;
  return day - fraction;
}

DayAndSeconds Split(double serial) {
  const double linear = SerialToLinear(serial);
  int64_t day = static_cast<int64_t>(std::floor(linear));
  int64_t seconds = std::llround((linear - static_cast<double>(day)) * 86400.0);
  if (seconds >= 86400) {
    ++day;
    seconds -= 86400;
  }
  return {day, seconds};
}

Date Join(int64_t day, int64_t seconds) {
  day += FloorDiv(seconds, 86400);
  seconds -= FloorDiv(seconds, 86400) * 86400;
  return Date(LinearToSerial(static_cast<double>(day) + static_cast<double>(seconds) / 86400.0));
}

bool InRange(int64_t day) {
  return day >= kFirstSerialDay && day <= kLastSerialDay;
}

int64_t RoundHalfEven(double value) {
  return static_cast<int64_t>(std::nearbyint(value));
}

}  // namespace

bool IsLeapYear(int32_t year) {
  return calendar::IsLeap(year);
}

int32_t DaysInMonth(int32_t year, int32_t month) {
  return calendar::MonthLength(year, month);
}

std::optional<Date> Date::FromParts(int32_t year, int32_t month, int32_t day, int32_t hour,
                                    int32_t minute, int32_t second) {
  int64_t y = year;
  if (y >= 0 && y <= 29) y += 2000;
  if (y >= 30 && y <= 99) y += 1900;
  const int64_t months = y * 12 + (static_cast<int64_t>(month) - 1);
  y = FloorDiv(months, 12);
  const int64_t m = months - y * 12 + 1;
  if (y < 100 || y > 9999) return std::nullopt;
  const int64_t serial_day =
      DaysFromCivil(y, static_cast<int>(m), 1) + (static_cast<int64_t>(day) - 1);
  const int64_t seconds = static_cast<int64_t>(hour) * 3600 + static_cast<int64_t>(minute) * 60 +
                          static_cast<int64_t>(second);
  const int64_t whole_day = serial_day + FloorDiv(seconds, 86400);
  if (!InRange(whole_day)) return std::nullopt;
  return Join(serial_day, seconds);
}

Date Date::Serial(int32_t year, int32_t month, int32_t day, int32_t hour, int32_t minute,
                  int32_t second) {
  auto date = FromParts(year, month, day, hour, minute, second);
  if (!date) RaiseHostError(hostInvalidProcedureCall);
  return *date;
}

int32_t Date::Year() const {
  return static_cast<int32_t>(CivilDate(Split(serial_).day).year);
}
int32_t Date::Month() const {
  return CivilDate(Split(serial_).day).month;
}
int32_t Date::Day() const {
  return CivilDate(Split(serial_).day).day;
}
int32_t Date::Hour() const {
  return static_cast<int32_t>(Split(serial_).seconds / 3600);
}
int32_t Date::Minute() const {
  return static_cast<int32_t>(Split(serial_).seconds / 60 % 60);
}
int32_t Date::Second() const {
  return static_cast<int32_t>(Split(serial_).seconds % 60);
}

int32_t Date::Weekday() const {
  // Serial day 0 was a Saturday.
  const int64_t day = Split(serial_).day;
  return static_cast<int32_t>(day + 6 - FloorDiv(day + 6, 7) * 7) + 1;
}

Date Date::DatePart() const {
  return Date(static_cast<double>(Split(serial_).day));
}

double Date::TimePart() const {
  return static_cast<double>(Split(serial_).seconds) / 86400.0;
}

double Date::DayFraction() const {
  const double linear = SerialToLinear(serial_);
  return linear - std::floor(linear);
}

Date Date::PlusDays(double days) const {
  return Date(LinearToSerial(SerialToLinear(serial_) + days));
}

double Date::DaysSince(Date earlier) const {
  return SerialToLinear(serial_) - SerialToLinear(earlier.serial_);
}

void RaiseDateOverflow() {
  RaiseHostError(hostOverflow);
}

Date Date::Add(DateUnit unit, double amount) const {
  const DayAndSeconds parts = Split(serial_);
  const int64_t n = RoundHalfEven(amount);
  int64_t day = parts.day;
  int64_t seconds = parts.seconds;
  int64_t months = 0;
  switch (unit) {
    case DateUnit::Year:
      months = n * 12;
      break;
    case DateUnit::Quarter:
      months = n * 3;
      break;
    case DateUnit::Month:
      months = n;
      break;
    case DateUnit::Week:
      day += n * 7;
      break;
    case DateUnit::Day:
      day += n;
      break;
    case DateUnit::Hour:
      seconds += n * 3600;
      break;
    case DateUnit::Minute:
      seconds += n * 60;
      break;
    case DateUnit::Second:
      seconds += n;
      break;
  }
  if (months != 0) {
    const calendar::Civil civil = CivilDate(day);
    const int64_t total = civil.year * 12 + (civil.month - 1) + months;
    const int64_t year = FloorDiv(total, 12);
    const int month = static_cast<int>(total - year * 12 + 1);
    if (year < 100 || year > 9999) RaiseHostError(hostInvalidProcedureCall);
    const int mday = std::min(civil.day, calendar::MonthLength(year, month));
    day = DaysFromCivil(year, month, mday);
  }
  if (!InRange(day + FloorDiv(seconds, 86400))) RaiseHostError(hostInvalidProcedureCall);
  return Join(day, seconds);
}

int64_t Date::Diff(DateUnit unit, Date from, Date to) {
  const DayAndSeconds a = Split(from.serial_);
  const DayAndSeconds b = Split(to.serial_);
  const calendar::Civil ca = CivilDate(a.day);
  const calendar::Civil cb = CivilDate(b.day);
  const int64_t seconds_a = a.day * 86400 + a.seconds;
  const int64_t seconds_b = b.day * 86400 + b.seconds;
  switch (unit) {
    case DateUnit::Year:
      return cb.year - ca.year;
    case DateUnit::Quarter:
      return (cb.year * 4 + (cb.month - 1) / 3) - (ca.year * 4 + (ca.month - 1) / 3);
    case DateUnit::Month:
      return (cb.year * 12 + cb.month) - (ca.year * 12 + ca.month);
    case DateUnit::Week: {
      // Weeks start on Sunday; serial day 1 was a Sunday.
      return FloorDiv(b.day - 1, 7) - FloorDiv(a.day - 1, 7);
    }
    case DateUnit::Day:
      return b.day - a.day;
    case DateUnit::Hour:
      return FloorDiv(seconds_b, 3600) - FloorDiv(seconds_a, 3600);
    case DateUnit::Minute:
      return FloorDiv(seconds_b, 60) - FloorDiv(seconds_a, 60);
    case DateUnit::Second:
      return seconds_b - seconds_a;
  }
  return 0;
}

std::string Date::ToString() const {
  const DayAndSeconds parts = Split(serial_);
  const calendar::Civil civil = CivilDate(parts.day);
  char date_text[32];
  std::snprintf(date_text, sizeof date_text, "%d/%d/%04lld", civil.month, civil.day,
                static_cast<long long>(civil.year));
  const int64_t hour = parts.seconds / 3600;
  char time_text[32];
  std::snprintf(time_text, sizeof time_text, "%lld:%02lld:%02lld %s",
                static_cast<long long>(hour % 12 == 0 ? 12 : hour % 12),
                static_cast<long long>(parts.seconds / 60 % 60),
                static_cast<long long>(parts.seconds % 60), hour < 12 ? "AM" : "PM");
  if (parts.day == 0) return time_text;
  if (parts.seconds == 0) return date_text;
  return std::string(date_text) + " " + time_text;
}

std::string Date::Format(std::string_view layout) const {
  const DayAndSeconds parts = Split(serial_);
  const calendar::Civil civil = CivilDate(parts.day);
  const long long values[] = {static_cast<long long>(civil.year),
                              civil.month,
                              civil.day,
                              static_cast<long long>(parts.seconds / 3600),
                              static_cast<long long>(parts.seconds / 60 % 60),
                              static_cast<long long>(parts.seconds % 60)};
  struct Token {
    std::string_view text;
    int value_index;
    int width;
  };
  static constexpr Token kTokens[] = {{"yyyy", 0, 4}, {"mm", 1, 2}, {"dd", 2, 2},
                                      {"hh", 3, 2},   {"nn", 4, 2}, {"ss", 5, 2},
                                      {"m", 1, 1},    {"d", 2, 1},  {"h", 3, 1}};
  std::string out;
  size_t i = 0;
  while (i < layout.size()) {
    bool matched = false;
    for (const Token& token : kTokens) {
      if (layout.substr(i, token.text.size()) == token.text) {
        char number[24];
        std::snprintf(number, sizeof number, "%0*lld", token.width, values[token.value_index]);
        out += number;
        i += token.text.size();
        matched = true;
        break;
      }
    }
    if (!matched) out += layout[i++];
  }
  return out;
}

Date Date::FromText(std::string_view text) {
  auto date = Parse(text);
  if (!date) RaiseHostError(hostTypeMismatch);
  return *date;
}

}  // namespace varnock
