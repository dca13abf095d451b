// Wrappers of the time-series routines.
#include "frame/engine_table.h"
#include "varnock/heclib.h"

namespace varnock {

int32_t hecZrrts(FileTable& ifltab, const std::string& pathname, const std::string& date_text,
                 const std::string& time_text, int32_t& nvals, float* values, std::string& units,
                 std::string& type, int32_t& offset) {
  const auto& engine = frame::Engine();
  std::string path = FitField(pathname, kPathnameWidth);
  std::string date = FitField(date_text, kDateTextWidth);
  std::string time = FitField(time_text, kTimeTextWidth);
  units.assign(kUnitsWidth, ' ');
  type.assign(kTypeWidth, ' ');
  int32_t status = 0;
  engine.zrrts(ifltab.data(), path.data(), kPathnameWidth, date.data(), kDateTextWidth, time.data(),
               kTimeTextWidth, &nvals, values, units.data(), kUnitsWidth, type.data(), kTypeWidth,
               &offset, &status);
  return status;
}

int32_t hecZsrts(FileTable& ifltab, const std::string& pathname, const std::string& date_text,
                 const std::string& time_text, int32_t nvals, const float* values,
                 const std::string& units, const std::string& type, int32_t plan) {
  const auto& engine = frame::Engine();
  std::string path = FitField(pathname, kPathnameWidth);
  std::string date = FitField(date_text, kDateTextWidth);
  std::string time = FitField(time_text, kTimeTextWidth);
  std::string units_field = FitField(units, kUnitsWidth);
  std::string type_field = FitField(type, kTypeWidth);
  int32_t status = 0;
  engine.zsrts(ifltab.data(), path.data(), kPathnameWidth, date.data(), kDateTextWidth, time.data(),
               kTimeTextWidth, &nvals, values, units_field.data(), kUnitsWidth, type_field.data(),
               kTypeWidth, &plan, &status);
  return status;
}

int32_t hecZrits(FileTable& ifltab, const std::string& pathname, int32_t start_julian,
                 int32_t start_minutes, int32_t end_julian, int32_t end_minutes, int32_t* times,
                 float* values, int32_t capacity, int32_t& nvals, int32_t& base_julian,
                 std::string& units, std::string& type) {
  const auto& engine = frame::Engine();
  std::string path = FitField(pathname, kPathnameWidth);
  units = FitField(units, kUnitsWidth);
  type = FitField(type, kTypeWidth);
  int32_t status = 0;
  engine.zrits(ifltab.data(), path.data(), kPathnameWidth, &start_julian, &start_minutes,
               &end_julian, &end_minutes, times, values, &capacity, &nvals, &base_julian,
               units.data(), kUnitsWidth, type.data(), kTypeWidth, &status);
  return status;
}

int32_t hecZsits(FileTable& ifltab, const std::string& pathname, const int32_t* times,
                 const float* values, int32_t nvals, int32_t base_julian, const std::string& units,
                 const std::string& type, int32_t replace) {
  const auto& engine = frame::Engine();
  std::string path = FitField(pathname, kPathnameWidth);
  std::string units_field = FitField(units, kUnitsWidth);
  std::string type_field = FitField(type, kTypeWidth);
  int32_t status = 0;
  engine.zsits(ifltab.data(), path.data(), kPathnameWidth, times, values, &nvals, &base_julian,
               units_field.data(), kUnitsWidth, type_field.data(), kTypeWidth, &replace, &status);
  return status;
}

}  // namespace varnock
