// Calendar procedures of the interval change, with the argument order and the answers for
// months outside 1..12 that the aggregation relies on.
#ifndef VARNOCK_SERIES_REGULAR_CALENDAR_PROCEDURES_H_
#define VARNOCK_SERIES_REGULAR_CALENDAR_PROCEDURES_H_

#include <cstdint>

namespace varnock::series {

constexpr bool IsLeapYear(int32_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// 0 for a month outside 1..12.
constexpr int32_t DaysInMonth(int16_t month, int32_t year) {
  switch (month) {
    case 1:
    case 3:
    case 5:
    case 7:
    case 8:
    case 10:
    case 12:
      return 31;
    case 4:
    case 6:
    case 9:
    case 11:
      return 30;
    case 2:
      return IsLeapYear(year) ? 29 : 28;
    default:
      return 0;
  }
}

constexpr int32_t DaysInYear(int32_t year) {
  return IsLeapYear(year) ? 366 : 365;
}

}  // namespace varnock::series

#endif  // VARNOCK_SERIES_REGULAR_CALENDAR_PROCEDURES_H_
