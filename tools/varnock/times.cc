// Times on the command line and in CSV files: ISO 8601 and HEC's "01Jan2021 2400" forms.
#include <cctype>
#include <cstdio>

#include "cli.h"
#include "engine/records/series/time_axis.h"
#include "engine/rules/dates.h"

namespace varnock::cli {

namespace {

bool AllDigits(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

// Fixed-width decimal field; false unless every character is a digit.
bool Field(std::string_view text, size_t at, size_t width, int* out) {
  if (at + width > text.size() || !AllDigits(text.substr(at, width))) return false;
  *out = 0;
  for (size_t i = at; i < at + width; ++i)
    *out = *out * 10 + (text[i] - '0');
  return true;
}

// Seconds of the day, 0..86400; 24 o'clock only as 24:00:00, the end of the day.
bool SecondsOfDay(int hour, int minute, int second, int64_t* out) {
  if (hour > 24 || minute > 59 || second > 59) return false;
  if (hour == 24 && (minute != 0 || second != 0)) return false;
  *out = hour * 3600 + minute * 60 + second;
  return true;
}

// "HH:MM[:SS]" or, with hec_digits, HEC's "HHMM".
bool ParseClock(std::string_view text, bool hec_digits, int64_t* seconds) {
  int hour = 0, minute = 0, second = 0;
  if (hec_digits && text.size() == 4 && Field(text, 0, 2, &hour) && Field(text, 2, 2, &minute))
    return SecondsOfDay(hour, minute, 0, seconds);
  if (text.size() != 5 && text.size() != 8) return false;
  if (!Field(text, 0, 2, &hour) || text[2] != ':' || !Field(text, 3, 2, &minute)) return false;
  if (text.size() == 8 && (text[5] != ':' || !Field(text, 6, 2, &second))) return false;
  return SecondsOfDay(hour, minute, second, seconds);
}

bool ValidDate(int year, int month, int day, int32_t* julian) {
  if (month < 1 || month > 12 || day < 1 || day > 31) return false;
  if (!engine::YmdToJulian(year, month, day, julian)) return false;
  const engine::CivilDate check = engine::JulianToYmd(*julian);
  return check.month == month && check.day == day;
}

// "01Jan2021[ 2400]", "1JAN2021 01:00": a day of one or two digits, a month's three letters and
// a four-digit year, then an optional clock.
bool ParseHecTime(std::string_view text, int64_t* out) {
  size_t digits = 0;
  while (digits < text.size() && digits < 2 &&
         std::isdigit(static_cast<unsigned char>(text[digits])))
    ++digits;
  const size_t date_end = digits + 7;
  if (digits == 0 || text.size() < date_end) return false;
  const std::string_view date = text.substr(0, date_end);
  for (size_t i = digits; i < digits + 3; ++i) {
    if (!std::isalpha(static_cast<unsigned char>(date[i]))) return false;
  }
  if (!AllDigits(date.substr(digits + 3))) return false;
  int32_t julian = 0;
  if (engine::DateToJulian(date, 2000, &julian) != 0) return false;
  int64_t seconds = 0;
  std::string_view clock = text.substr(date_end);
  if (!clock.empty()) {
    if (clock.front() != ' ' && clock.front() != ',') return false;
    while (!clock.empty() && (clock.front() == ' ' || clock.front() == ','))
      clock.remove_prefix(1);
    if (!ParseClock(clock, true, &seconds)) return false;
  }
  *out = engine::series::MakeInstant(julian, seconds);
  return true;
}

// "YYYY-MM-DD[THH:MM[:SS]]"; 24:00 only as 24:00:00, the end of the day.
bool ParseIsoTime(std::string_view text, int64_t* out) {
  int year = 0, month = 0, day = 0;
  if (text.size() < 10 || !Field(text, 0, 4, &year) || text[4] != '-' ||
      !Field(text, 5, 2, &month) || text[7] != '-' || !Field(text, 8, 2, &day))
    return false;
  int32_t julian = 0;
  if (!ValidDate(year, month, day, &julian)) return false;
  int64_t seconds = 0;
  if (text.size() > 10) {
    if (text[10] != 'T' && text[10] != ' ') return false;
    if (!ParseClock(text.substr(11), false, &seconds)) return false;
  }
  *out = engine::series::MakeInstant(julian, seconds);
  return true;
}

}  // namespace

bool BlockDateJulian(const std::string& text, int32_t* julian) {
  if (text.size() < 7) return false;
  return engine::DateToJulian(text, 2000, julian) == 0;
}

bool ParseTime(std::string_view text, int64_t* instant) {
  return ParseIsoTime(text, instant) || ParseHecTime(text, instant);
}

int64_t RequireTime(const std::string& text, const std::string& what) {
  int64_t instant = 0;
  if (!ParseTime(text, &instant))
    throw Failure(kExitUsage, what + " '" + text +
                                  "' is not a time (YYYY-MM-DDTHH:MM:SS or HEC's 01Jan2021 2400)");
  return instant;
}

std::string IsoTime(int64_t instant) {
  // Instants count seconds from 31 December 1899 00:00; 2400 of a day is 00:00 of the next.
  const int64_t days = instant >= 0 ? instant / 86400 : -((-instant + 86399) / 86400);
  const int64_t seconds = instant - days * 86400;
  const engine::CivilDate date = engine::JulianToYmd(static_cast<int32_t>(days));
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02lld:%02lld:%02lld",
                static_cast<int>(date.year), static_cast<int>(date.month),
                static_cast<int>(date.day), static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
  return text;
}

void AppendNumber(std::string& out, double value, bool doubles) {
  char text[40];
  std::snprintf(text, sizeof text, doubles ? "%.17g" : "%.9g", value);
  out += text;
}

}  // namespace varnock::cli
