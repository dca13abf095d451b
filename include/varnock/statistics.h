// clsStatistics: summary statistics of a regular series, computed only on request.
#ifndef VARNOCK_STATISTICS_H_
#define VARNOCK_STATISTICS_H_

#include <cstdint>
#include <span>

#include "varnock/object.h"

namespace varnock {

class VARNOCK_API clsStatistics {
 public:
  // Recomputes from the values. A value within 1e-6 of -901 or of -902 is missing; every
  // other value counts. Until computed (or with no values) every result is -901.
  void Refresh(std::span<const float> values);
  float Max() const { return max_; }
  float Min() const { return min_; }
  float Mean() const { return mean_; }
  int32_t MissingCount() const { return missing_count_; }

 private:
  float max_ = -901.0f;
  float min_ = -901.0f;
  float mean_ = -901.0f;
  float sum_ = 0.0f;
  int32_t missing_count_ = -901;
};

}  // namespace varnock

#endif  // VARNOCK_STATISTICS_H_
