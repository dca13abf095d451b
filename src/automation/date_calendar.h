// Proleptic Gregorian calendar arithmetic on serial days (day 0 = 30 December 1899).
#ifndef VARNOCK_AUTOMATION_DATE_CALENDAR_H_
#define VARNOCK_AUTOMATION_DATE_CALENDAR_H_

#include <cstdint>

namespace varnock::calendar {

constexpr int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

constexpr bool IsLeap(int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

constexpr int MonthLength(int64_t year, int month) {
  constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return month == 2 && IsLeap(year) ? 29 : kLengths[month - 1];
}

// Days from 1 March of year 0 style civil arithmetic, shifted so that 30 Dec 1899 is 0.
constexpr int64_t DaysFromCivil(int64_t year, int month, int day) {
  year -= month <= 2;
  const int64_t era = FloorDiv(year, 400);
  const int64_t year_of_era = year - era * 400;
  const int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468 + 25569;
}

struct Civil {
  int64_t year;
  int month;
  int day;
};

constexpr Civil CivilDate(int64_t serial_day) {
  const int64_t z = serial_day - 25569 + 719468;
  const int64_t era = FloorDiv(z, 146097);
  const int64_t day_of_era = z - era * 146097;
  const int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t mp = (5 * day_of_year + 2) / 153;
  const int day = static_cast<int>(day_of_year - (153 * mp + 2) / 5 + 1);
  const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  return {year_of_era + era * 400 + (month <= 2), month, day};
}

static_assert(DaysFromCivil(1899, 12, 30) == 0);
static_assert(DaysFromCivil(1900, 1, 1) == 2);
static_assert(CivilDate(36957).year == 2001 && CivilDate(36957).month == 3);

}  // namespace varnock::calendar

#endif  // VARNOCK_AUTOMATION_DATE_CALENDAR_H_
