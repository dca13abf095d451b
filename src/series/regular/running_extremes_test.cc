#include <bit>
#include <limits>

#include <gtest/gtest.h>

#include "varnock/error.h"
#include "varnock/regular_time_series.h"

namespace varnock {
namespace {

AutomationError CaughtError(const std::function<void()>& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error;
  }
  return AutomationError(0, "", "no error");
}

std::shared_ptr<RegularTimeSeries> WithValues(const std::vector<float>& values) {
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->ValueCount(static_cast<int32_t>(values.size()));
  for (size_t i = 0; i < values.size(); ++i)
    ts->Value(static_cast<int32_t>(i), values[i]);
  return ts;
}

std::vector<float> Values(RegularTimeSeries& ts) {
  std::vector<float> out;
  for (int32_t i = 0; i < ts.ValueCount(); ++i)
    out.push_back(ts.Value(i));
  return out;
}

TEST(StatisticsTest, NarrowMissingRuleAndUnsetMarkers) {
  auto fresh = std::make_shared<RegularTimeSeries>();
  EXPECT_EQ(fresh->MaxValue(), -901.0f);
  EXPECT_EQ(fresh->MeanValue(), -901.0f);
  EXPECT_EQ(fresh->MissingCount(), -901);

  auto ts = WithValues({1, -902, 3});
  EXPECT_EQ(ts->MaxValue(), -901.0f);  // reading never recomputes
  ts->RefreshStatistics();
  EXPECT_EQ(ts->MaxValue(), 3.0f);
  EXPECT_EQ(ts->MinValue(), 1.0f);
  EXPECT_EQ(ts->MeanValue(), 2.0f);
  EXPECT_EQ(ts->MissingCount(), 1);

  auto low = WithValues({-900.5f, 10});
  low->RefreshStatistics();
  EXPECT_EQ(low->MinValue(), -900.5f);
  EXPECT_EQ(low->MeanValue(), -445.25f);

  auto missing = WithValues({-901, -902});
  missing->RefreshStatistics();
  EXPECT_EQ(missing->MaxValue(), -901.0f);
  EXPECT_EQ(missing->MeanValue(), -901.0f);
  EXPECT_EQ(missing->MissingCount(), 2);
}

TEST(RunningExtremesTest, MissingValuesStayAndTheRunContinues) {
  auto max = WithValues({5, -901, 3, 7});
  max->RunningMax();
  EXPECT_EQ(Values(*max), (std::vector<float>{5, -901, 5, 7}));
  EXPECT_EQ(max->MinValue(), 5.0f);  // refreshed
  EXPECT_EQ(max->MissingCount(), 1);

  auto min = WithValues({-901, 4, 6, 2});
  min->RunningMin();
  EXPECT_EQ(Values(*min), (std::vector<float>{-901, 4, 4, 2}));

  // Below -900 is missing here (so -900.5 becomes -901); -900 itself is present and is the
  // floor of the running maximum.
  auto edge = WithValues({-900.5f, -900, -1200, 10});
  edge->RunningMax();
  EXPECT_EQ(Values(*edge), (std::vector<float>{-901, -900, -901, 10}));

  // The running minimum starts just below the largest single.
  auto huge = WithValues({std::numeric_limits<float>::max(), 1e38f});
  huge->RunningMin();
  EXPECT_EQ(Values(*huge), (std::vector<float>{std::bit_cast<float>(0x7F7FFF8Bu), 1e38f}));

  auto empty = std::make_shared<RegularTimeSeries>();
  empty->RunningMax();
  empty->RunningMin();
  EXPECT_EQ(empty->MissingCount(), -901);
}

TEST(RunningExtremesTest, SetMaximumFromComparesRawValues) {
  auto ts = WithValues({-901, 5, 2, -1000});
  auto other = WithValues({3, -901, 4, -950});
  ts->SetMaximumFrom(other);
  EXPECT_EQ(Values(*ts), (std::vector<float>{3, 5, 4, -950}));
  EXPECT_EQ(ts->MaxValue(), -901.0f);  // not refreshed

  auto longer = WithValues({9, 9, 9, 9, 9});
  const AutomationError error = CaughtError([&] { ts->SetMaximumFrom(longer); });
  EXPECT_EQ(error.Number(), kObjectErrorBase + dssDateError);
  EXPECT_EQ(error.Source(), "RegularTimeSeries");
  EXPECT_EQ(error.Description(), "");
  EXPECT_EQ(Values(*ts), (std::vector<float>{3, 5, 4, -950}));
  EXPECT_EQ(CaughtError([&] { ts->SetMaximumFrom(nullptr); }).Number(), hostObjectNotSet);

  const AutomationError peak = CaughtError([&] { ts->SetAsPeakSince(); });
  EXPECT_EQ(peak.Number(), kObjectErrorBase + 16385);
  EXPECT_EQ(peak.Source(), "RegularTimeSeries");
}

TEST(CloneTest, CopiesSettingsAndValuesButNotThePathname) {
  auto ts = WithValues({1.5f, -901, 3});
  ts->Interval(60);
  ts->Starting(Date::Serial(2020, 1, 1, 10, 30));
  ts->IntervalSnap(true);  // set after the start: the stored start is not snapped
  ts->UserWindow(true);
  ts->WindowStart(Date::Serial(2020, 1, 1));
  ts->Aggregation(atUseHighest);
  ts->Padding(intPadEDMSmixed);
  ts->TsUnits(" cfs ");
  ts->TsType("inst-val");
  ts->Pathname()->Bpart("GAUGE");
  ts->RefreshStatistics();

  auto clone = ts->Clone();
  ASSERT_NE(clone, ts);
  EXPECT_EQ(Values(*clone), Values(*ts));
  EXPECT_EQ(clone->Starting(), Date::Serial(2020, 1, 1, 10, 30));
  EXPECT_TRUE(clone->IntervalSnap());
  EXPECT_TRUE(clone->UserWindow());
  EXPECT_EQ(clone->WindowStart(), Date::Serial(2020, 1, 1));
  EXPECT_EQ(CaughtError([&] { clone->WindowEnd(); }).Description(),
            "Start window property not set");
  EXPECT_EQ(clone->AggregationValue(), atUseHighest);
  EXPECT_EQ(ts->TsUnits(), " CFS ");
  EXPECT_EQ(clone->TsUnits(), "CFS");  // trimmed
  EXPECT_EQ(clone->TsType(), "INST-VAL");
  // Not copied: the pathname (so no interval), the padding and the statistics.
  EXPECT_EQ(clone->Interval(), 0);
  EXPECT_EQ(clone->Pathname()->Bpart(), "");
  EXPECT_EQ(clone->Padding(), intPadWatch);
  EXPECT_EQ(clone->MaxValue(), -901.0f);

  clone->Value(0, 99);
  EXPECT_EQ(ts->Value(0), 1.5f);
  EXPECT_EQ(std::make_shared<RegularTimeSeries>()->Clone()->ValueCount(), 0);
}

}  // namespace
}  // namespace varnock
