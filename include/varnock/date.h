// Date: the automation date. A double counting days from 30 December 1899, with the time of
// day as the fraction. Before that day the fraction still counts forward from midnight, so
// -1.25 is 29 December 1899 06:00. The functions mirror the host's date arithmetic. Like the
// host's dates it holds 1 January 100 to 31 December 9999 only: building one from any other
// number (NaN and infinities included) raises the host's "Overflow" (6).
#ifndef VARNOCK_DATE_H_
#define VARNOCK_DATE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "varnock/object.h"

namespace varnock {

// Units of DateAdd and DateDiff.
enum class DateUnit { Year, Quarter, Month, Week, Day, Hour, Minute, Second };

// Raises the host's "Overflow" (6) for a number that is not a date.
[[noreturn]] VARNOCK_API void RaiseDateOverflow();

class VARNOCK_API Date {
 public:
  // The serial numbers the host accepts: 1 January 100 00:00 to 31 December 9999 23:59:59.
  // Before day 0 the fraction counts forward, so day -657434 ends just above -657435.
  static constexpr double kEarliestSerial = -657435.0;  // exclusive
  static constexpr double kLatestSerial = 2958466.0;    // exclusive

  constexpr Date() = default;
  constexpr Date(double serial) : serial_(serial) {  // NOLINT: a Date is a double
    if (!(serial > kEarliestSerial && serial < kLatestSerial)) RaiseDateOverflow();
  }
  constexpr operator double() const { return serial_; }
  constexpr double Serial() const { return serial_; }

  // Builds a date from parts. Months, days, hours, minutes and seconds outside their ranges
  // carry into the next larger part, as the host's DateSerial and TimeSerial do; years 0..29
  // mean 2000..2029 and 30..99 mean 1930..1999. Returns nothing for a year outside 100..9999.
  static std::optional<Date> FromParts(int32_t year, int32_t month, int32_t day, int32_t hour = 0,
                                       int32_t minute = 0, int32_t second = 0);
  // As FromParts, but raises the host's error 5 when the result is not a valid date.
  static Date Serial(int32_t year, int32_t month, int32_t day, int32_t hour = 0, int32_t minute = 0,
                     int32_t second = 0);

  // Parts of the date; the time of day is rounded to the nearest second first.
  int32_t Year() const;
  int32_t Month() const;
  int32_t Day() const;
  int32_t Hour() const;
  int32_t Minute() const;
  int32_t Second() const;
  // Day of the week, Sunday = 1 .. Saturday = 7.
  int32_t Weekday() const;
  // The date without its time of day, and the time of day alone.
  Date DatePart() const;
  double TimePart() const;
  // The time of day as an unrounded fraction counting forward from midnight.
  double DayFraction() const;
  // The date `days` later on the time line (a fraction of a day allowed). Unlike adding to
  // the serial number, this stays right before 30 December 1899, where the serial's fraction
  // counts forward from a day that lies below it.
  Date PlusDays(double days) const;
  // Days (with the fraction) from `earlier` to this date on the time line; negative when
  // `earlier` is later. Differences of serial numbers are not time differences before 1899.
  double DaysSince(Date earlier) const;

  // The host's DateAdd: months and years keep the day, cut to the end of a shorter month.
  Date Add(DateUnit unit, double amount) const;
  // The host's DateDiff: the number of unit boundaries crossed from `from` to `to` (weeks
  // count Sundays).
  static int64_t Diff(DateUnit unit, Date from, Date to);

  // Parses the date texts the library and HECLIB make: "3/7/2001", "03/07/2001 09:30:00",
  // "7 Mar 2001", "07MAR2001 0930", "March 7, 2001", "9:30:00 AM", "2001-03-07T09:30:00".
  static std::optional<Date> Parse(std::string_view text);
  // As Parse, but raises the host's "Type mismatch" (13) on text that is not a date.
  static Date FromText(std::string_view text);

  // The host's text form: "3/7/2001", "3/7/2001 9:30:00 AM", or "9:30:00 AM" for a time alone.
  std::string ToString() const;
  // Custom layout with the tokens yyyy mm dd hh nn ss (all zero-padded), m d h (not padded).
  std::string Format(std::string_view layout) const;

  friend constexpr bool operator==(Date a, Date b) { return a.serial_ == b.serial_; }

 private:
  double serial_ = 0.0;
};

// Whether a year of the proleptic Gregorian calendar is a leap year.
VARNOCK_API bool IsLeapYear(int32_t year);
// Days in a month of a year.
VARNOCK_API int32_t DaysInMonth(int32_t year, int32_t month);

}  // namespace varnock

#endif  // VARNOCK_DATE_H_
