#include "varnock/statistics.h"

#include <cmath>

#include "varnock/regular_time_series.h"

namespace varnock {

namespace {

bool MissingForStatistics(float value) {
  return std::fabs(value - -901.0f) < 1e-6f || std::fabs(value - -902.0f) < 1e-6f;
}

}  // namespace

void clsStatistics::Refresh(std::span<const float> values) {
  *this = clsStatistics();
  if (values.empty()) return;
  missing_count_ = 0;
  float sum = 0.0f;
  for (const float value : values) {
    if (MissingForStatistics(value)) {
      ++missing_count_;
      continue;
    }
    if (max_ == -901.0f || value > max_) max_ = value;
    if (min_ == -901.0f || value < min_) min_ = value;
    sum += value;
  }
  const int64_t present = static_cast<int64_t>(values.size()) - missing_count_;
  if (present < 1) return;
  sum_ = sum;
  mean_ = static_cast<float>(static_cast<double>(sum) / static_cast<double>(present));
}

clsStatistics& RegularTimeSeries::Statistics() {
  if (!statistics_) statistics_ = std::make_unique<clsStatistics>();
  return *statistics_;
}

void RegularTimeSeries::RefreshStatistics() {
  Statistics().Refresh(std::span<const float>(values_).subspan(1));
}

}  // namespace varnock
