// Conversions between automation dates and HEC time, made through HECLIB's date routines and
// date texts so that HECLIB's calendar and the host's date parser decide.
#include <cmath>
#include <cstdio>

#include "frame/engine_table.h"
#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {
constexpr size_t kBadDateTextShown = 30;
constexpr int32_t kStyleDayMonthYear = 8;  // "7 Mar 2001"
}  // namespace

int32_t hecDatJul(const std::string& date_text) {
  const auto& engine = frame::Engine();
  std::string field = FitField(date_text, kDateTextWidth);
  int32_t julian = 0;
  int32_t error = 0;
  engine.datjul(field.data(), kDateTextWidth, &julian, &error);
  if (error != 0) {
    throw AutomationError(8196, "hecDatJul", "Bad date: " + date_text.substr(0, kBadDateTextShown));
  }
  return julian;
}

std::string hecJulDat(int32_t julian, int32_t style) {
  const auto& engine = frame::Engine();
  std::string field(kDateTextWidth, ' ');
  int32_t length = 0;
  engine.juldat(&julian, &style, field.data(), kDateTextWidth, &length);
  if (length < 0) length = 0;
  return TrimBlanks(std::string_view(field).substr(0, static_cast<size_t>(length)));
}

void hecDatCll(int32_t julian_in, int32_t minutes_in, int32_t& julian_out, int32_t& minutes_out) {
  frame::Engine().datcll(&julian_in, &minutes_in, &julian_out, &minutes_out);
}

void DateToHecText(const Variant& value, std::string& date_text, std::string& time_text) {
  date_text.clear();
  time_text.clear();
  if (!value.IsDate()) return;
  const Date date = value.ToDate();
  char time[16];
  std::snprintf(time, sizeof time, "%02d%02d", date.Hour(), date.Minute());
  char day[32];
  std::snprintf(day, sizeof day, "%d/%d/%d", date.Month(), date.Day(), date.Year());
  time_text = time;
  date_text = day;
}

Date HecTimeToDate(int32_t julian, int32_t minutes) {
  int32_t day = 0;
  int32_t minute = 0;
  hecDatCll(julian, minutes, day, minute);
  const Date midnight = Date::FromText(hecJulDat(day, kStyleDayMonthYear));
  return midnight.PlusDays(static_cast<double>(minute) / 1440.0);
}

}  // namespace varnock
