// Building and reading regular series in tests.
#ifndef VARNOCK_SERIES_REGULAR_SERIES_TEST_SUPPORT_H_
#define VARNOCK_SERIES_REGULAR_SERIES_TEST_SUPPORT_H_

#include <string>
#include <vector>

#include "tests/support/caught_error.h"
#include "varnock/regular_time_series.h"

namespace varnock::testing {

inline Date At(int y, int m, int d, int h = 0, int n = 0, int s = 0) {
  return Date::Serial(y, m, d, h, n, s);
}

// A series of the values from `start` (no interval when it is 0).
inline std::shared_ptr<RegularTimeSeries> Series(int32_t interval, Date start,
                                                 const std::vector<float>& values,
                                                 const std::string& type = "INST-VAL") {
  auto ts = std::make_shared<RegularTimeSeries>();
  if (interval != 0) ts->Interval(interval);
  ts->Starting(start);
  ts->ValueCount(static_cast<int32_t>(values.size()));
  ts->TsType(type);
  for (size_t i = 0; i < values.size(); ++i)
    ts->Value(static_cast<int32_t>(i), values[i]);
  return ts;
}

inline std::vector<float> Values(const RegularTimeSeries& ts) {
  return {ts.ValueSlots().begin() + 1, ts.ValueSlots().end()};
}

}  // namespace varnock::testing

#endif  // VARNOCK_SERIES_REGULAR_SERIES_TEST_SUPPORT_H_
