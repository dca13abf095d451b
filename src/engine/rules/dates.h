// HEC julian days and HECLIB's date texts (DATJUL, JULDAT, DATCLL).
//
// A HEC julian day counts days in the proleptic Gregorian calendar with day 1 = 1 January 1900
// (day 0 = 31 December 1899). Time of day travels separately as minutes past midnight, in
// 1..1440, so midnight is minute 1440 of the previous day.
#ifndef VARNOCK_ENGINE_RULES_DATES_H_
#define VARNOCK_ENGINE_RULES_DATES_H_

#include <cstdint>
#include <span>
#include <string_view>

namespace varnock::engine {

// The day DATJUL reports for text it cannot read.
inline constexpr int32_t kUndefinedJulian = -2147483647;

struct CivilDate {
  int32_t year;
  int32_t month;  // 1..12
  int32_t day;    // 1..31
};

// Month and day outside their ranges carry arithmetically (month 13 is January of the next
// year, 31 February is 3 March or 2 March). Years are taken as given. Returns false, leaving
// *julian alone, when the day does not fit a 32-bit julian.
bool YmdToJulian(int64_t year, int64_t month, int64_t day, int32_t* julian);

// Every 32-bit julian has a date; the year may be far outside 0..9999.
CivilDate JulianToYmd(int32_t julian);

// DATJUL: reads "3/7/2001", "07MAR2001", "March 7, 2001" and the other HECLIB forms. Years
// below 100 get 2000 added; a missing year is current_year. Returns 0 with *julian set, or -1
// with *julian = kUndefinedJulian.
int32_t DateToJulian(std::string_view text, int32_t current_year, int32_t* julian);

// Same, with the year taken from the local clock when the text has none.
int32_t DateToJulian(std::string_view text, int32_t* julian);

// The local calendar year now.
int32_t CurrentYear();

// JULDAT: writes the day in the given style into out, blank-padded, and returns the number of
// significant characters (at most out.size()). A day outside years 0..9999 gives blanks and 1.
int32_t JulianToDate(int32_t julian, int32_t style, std::span<char> out);

struct DayMinute {
  int32_t julian;
  int32_t minutes;  // 1..1440
};

// DATCLL: carries whole days out of minutes so that minutes land in 1..1440. A julian pushed
// past the 32-bit range wraps, as HECLIB's 32-bit arithmetic does.
DayMinute NormaliseDayMinutes(int32_t julian, int32_t minutes);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_RULES_DATES_H_
