// The element-wise transforms of a regular series: running extremes, maximum with another
// series, the refused SetAsPeakSince, and Clone.
#include <bit>

#include "series/series_common.h"
#include "varnock/error.h"
#include "varnock/regular_time_series.h"

namespace varnock {

namespace {

constexpr const char* kSource = "RegularTimeSeries";

// Below -900 a value is missing for the running extremes.
constexpr float kMissingBelow = -900.0f;
// The start of the running minimum: the single whose bits are 0x7F7FFF8B (about 3.4028e38).
const float kRunningMinStart = std::bit_cast<float>(0x7F7FFF8Bu);

std::string TrimmedBlanks(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

void RegularTimeSeries::RunningMax() {
  if (ValueCount() == 0) return;
  float running = kMissingBelow;
  for (size_t slot = 1; slot < values_.size(); ++slot) {
    float& value = values_[slot];
    if (value < kMissingBelow) {
      value = kMissingValue;
      continue;
    }
    if (value > running) running = value;
    value = running;
  }
  RefreshStatistics();
}

void RegularTimeSeries::RunningMin() {
  if (ValueCount() == 0) return;
  float running = kRunningMinStart;
  for (size_t slot = 1; slot < values_.size(); ++slot) {
    float& value = values_[slot];
    if (value < kMissingBelow) {
      value = kMissingValue;
      continue;
    }
    if (value < running) running = value;
    value = running;
  }
  RefreshStatistics();
}

void RegularTimeSeries::SetMaximumFrom(const std::shared_ptr<RegularTimeSeries>& pRTS) {
  if (!pRTS) RaiseHostError(hostObjectNotSet);
  if (pRTS->ValueCount() != ValueCount()) {
    throw AutomationError(kObjectErrorBase + dssDateError, kSource,
                          "The series have different lengths (" + std::to_string(ValueCount()) +
                              " and " + std::to_string(pRTS->ValueCount()) + " values)");
  }
  for (int32_t i = 0; i < ValueCount(); ++i) {
    if (pRTS->Value(i) > Value(i)) Value(i, pRTS->Value(i));
  }
}

void RegularTimeSeries::SetAsPeakSince() {
  throw series::NotSupported(kSource, "SetAsPeakSince");
}

std::shared_ptr<RegularTimeSeries> RegularTimeSeries::Clone() {
  auto clone = std::make_shared<RegularTimeSeries>();
  clone->Aggregation(aggregation_);
  clone->ValueCount(ValueCount());
  clone->UserWindow(user_window_);
  clone->IntervalSnap(interval_snap_);
  clone->TsUnits(TrimmedBlanks(units_));
  clone->TsType(TrimmedBlanks(type_));
  // The stored dates as they are: an unset one stays unset, and the start is not snapped a
  // second time.
  clone->starting_ = starting_;
  clone->window_start_ = window_start_;
  clone->window_end_ = window_end_;
  for (int32_t i = 0; i < ValueCount(); ++i)
    clone->Value(i, Value(i));
  for (int32_t i = 0; i + 1 < static_cast<int32_t>(flags_.size()); ++i)
    clone->Flag(i, Flag(i));
  return clone;
}

}  // namespace varnock
