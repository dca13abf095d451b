#include <bit>
#include <limits>

#include <gtest/gtest.h>

#include "series/regular/series_test_support.h"

namespace varnock {
namespace {

using testing::At;
using testing::CaughtError;
using testing::Values;
using V = std::vector<float>;

std::shared_ptr<RegularTimeSeries> WithValues(const V& values) {
  return testing::Series(0, At(2020, 1, 1), values);
}

TEST(StatisticsTest, NarrowMissingRuleAndUnsetMarkers) {
  const auto stats = [](RegularTimeSeries& ts) {
    return std::make_tuple(ts.MaxValue(), ts.MinValue(), ts.MeanValue(), ts.MissingCount());
  };
  auto ts = WithValues({1, -902, 3});
  EXPECT_EQ(stats(*ts), std::make_tuple(-901.0f, -901.0f, -901.0f, -901));  // not yet computed
  ts->RefreshStatistics();
  EXPECT_EQ(stats(*ts), std::make_tuple(3.0f, 1.0f, 2.0f, 1));
  auto low = WithValues({-900.5f, 10});
  low->RefreshStatistics();
  EXPECT_EQ(stats(*low), std::make_tuple(10.0f, -900.5f, -445.25f, 0));
  auto missing = WithValues({-901, -902});
  missing->RefreshStatistics();
  EXPECT_EQ(stats(*missing), std::make_tuple(-901.0f, -901.0f, -901.0f, 2));
}

TEST(RunningExtremesTest, MissingValuesStayAndTheRunContinues) {
  auto max = WithValues({5, -901, 3, 7});
  max->RunningMax();
  EXPECT_EQ(Values(*max), (V{5, -901, 5, 7}));
  EXPECT_EQ(max->MinValue(), 5.0f);  // refreshed
  auto min = WithValues({-901, 4, 6, 2});
  min->RunningMin();
  EXPECT_EQ(Values(*min), (V{-901, 4, 4, 2}));
  // Below -900 is missing here; -900 itself is present and the floor of the running maximum.
  auto edge = WithValues({-900.5f, -900, -1200, 10});
  edge->RunningMax();
  EXPECT_EQ(Values(*edge), (V{-901, -900, -901, 10}));
  // The running minimum starts just below the largest single.
  auto huge = WithValues({std::numeric_limits<float>::max(), 1e38f});
  huge->RunningMin();
  EXPECT_EQ(Values(*huge), (V{std::bit_cast<float>(0x7F7FFF8Bu), 1e38f}));
  auto empty = std::make_shared<RegularTimeSeries>();
  empty->RunningMax();
  EXPECT_EQ(empty->MissingCount(), -901);
}

TEST(RunningExtremesTest, SetMaximumFromComparesRawValues) {
  auto ts = WithValues({-901, 5, 2, -1000});
  ts->SetMaximumFrom(WithValues({3, -901, 4, -950}));
  EXPECT_EQ(Values(*ts), (V{3, 5, 4, -950}));
  EXPECT_EQ(ts->MaxValue(), -901.0f);  // not refreshed
  const AutomationError error = CaughtError([&] { ts->SetMaximumFrom(WithValues(V(5, 9))); });
  EXPECT_EQ(std::make_tuple(error.Number(), error.Source(), error.Description()),
            std::make_tuple(kObjectErrorBase + dssDateError, "RegularTimeSeries",
                            "The series have different lengths (4 and 5 values)"));
  EXPECT_EQ(Values(*ts), (V{3, 5, 4, -950}));
  EXPECT_EQ(CaughtError([&] { ts->SetMaximumFrom(nullptr); }).Number(), hostObjectNotSet);
  EXPECT_EQ(CaughtError([&] { ts->SetAsPeakSince(); }).Number(), kObjectErrorBase + 16385);
}

TEST(CloneTest, CopiesSettingsAndValuesButNotThePathname) {
  auto ts = testing::Series(60, At(2020, 1, 1, 10, 30), {1.5f, -901, 3}, "inst-val");
  ts->IntervalSnap(true);  // after the start: the clone must not snap it again
  ts->UserWindow(true);
  ts->WindowStart(At(2020, 1, 1));
  ts->Aggregation(atUseHighest);
  ts->Padding(intPadEDMSmixed);
  ts->TsUnits(" cfs ");
  ts->Pathname()->Bpart("GAUGE");
  ts->RefreshStatistics();

  auto clone = ts->Clone();
  EXPECT_EQ(Values(*clone), Values(*ts));
  EXPECT_EQ(clone->Starting(), At(2020, 1, 1, 10, 30));
  EXPECT_TRUE(clone->IntervalSnap() && clone->UserWindow());
  EXPECT_EQ(clone->WindowStart(), At(2020, 1, 1));
  EXPECT_EQ(CaughtError([&] { clone->WindowEnd(); }).Description(),
            "Start window property not set");
  EXPECT_EQ(clone->AggregationValue(), atUseHighest);
  EXPECT_EQ(clone->TsUnits(), "CFS");
  EXPECT_EQ(clone->TsType(), "INST-VAL");
  // Not copied: the pathname (so no interval), the padding and the statistics.
  EXPECT_EQ(clone->Interval(), 0);
  EXPECT_EQ(clone->Pathname()->Bpart(), "");
  EXPECT_EQ(clone->Padding(), intPadWatch);
  EXPECT_EQ(clone->MaxValue(), -901.0f);
  clone->Value(0, 99);
  EXPECT_EQ(ts->Value(0), 1.5f);
}

}  // namespace
}  // namespace varnock
