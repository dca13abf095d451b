#include "varnock/regular_time_series.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

#include "varnock/error.h"

namespace varnock {
namespace {

using testing::CaughtError;

Date At(int y, int m, int d, int h = 0, int n = 0) {
  return Date::Serial(y, m, d, h, n);
}

TEST(RegularTimeSeriesTest, NewSeriesDefaultsAndSlotIndexing) {
  RegularTimeSeries ts;
  EXPECT_EQ(ts.ValueCount(), 0);
  const AutomationError unset = CaughtError([&] { ts.Starting(); });
  EXPECT_EQ(unset.Number(), kObjectErrorBase + dssDateError);
  EXPECT_EQ(unset.Description(), "Starting property not set");
  EXPECT_EQ(unset.HelpContext(), 517);
  EXPECT_EQ(ts.AggregationValue(), atUseLast);
  EXPECT_EQ(ts.Value(-1), 0.0f);  // slot 0, not part of the series
  EXPECT_EQ(CaughtError([&] { ts.Value(0); }).Number(), hostSubscriptOutOfRange);
  EXPECT_EQ(ts.Flag(-1), 0);
  EXPECT_EQ(CaughtError([&] { ts.Flag(0); }).Number(), hostSubscriptOutOfRange);
  EXPECT_EQ(CaughtError([&] { ts.WindowEnd(); }).Description(), "Start window property not set");
  EXPECT_EQ(CaughtError([&] { ts.DateTime(0, Date(1.0)); }).Number(), kObjectErrorBase + 5);
  ts.SetAllMissing();  // nothing to do
  EXPECT_EQ(ts.Value(-1), 0.0f);
}

TEST(RegularTimeSeriesTest, CountKeepsValuesAndFlagsNeverGrow) {
  RegularTimeSeries ts;
  ts.ValueCount(5);
  for (int i = 0; i < 5; ++i)
    ts.Value(i, static_cast<float>(i + 1));
  ts.ValueCount(8);
  EXPECT_EQ(ts.Value(4), 5.0f);
  EXPECT_EQ(ts.Value(7), 0.0f);
  EXPECT_EQ(CaughtError([&] { ts.Flag(0); }).Number(), hostSubscriptOutOfRange);
  ts.SetAllMissing();
  EXPECT_EQ(ts.Value(0), -901.0f);
  EXPECT_EQ(ts.Value(-1), 0.0f);
  ts.ValueCount(0);
  EXPECT_EQ(ts.ValueCount(), 0);
  EXPECT_EQ(CaughtError([&] { ts.ValueCount(-2); }).Number(), hostSubscriptOutOfRange);
}

TEST(RegularTimeSeriesTest, HourlyAxisAndEndingRules) {
  RegularTimeSeries ts;
  ts.Interval(60);
  ts.Starting(At(2020, 1, 1));
  ts.ValueCount(24);
  EXPECT_EQ(ts.Ending(), At(2020, 1, 1, 23));
  EXPECT_EQ(ts.DateTime(3), At(2020, 1, 1, 3));
  EXPECT_EQ(ts.DateTime(-1), At(2019, 12, 31, 23));
  ts.Ending(At(2020, 1, 2, 0, 30));
  EXPECT_EQ(ts.ValueCount(), 25);
  const AutomationError before = CaughtError([&] { ts.Ending(At(2019, 12, 31)); });
  EXPECT_EQ(before.Description(), "Ending is before Starting");
  EXPECT_EQ(ts.ValueCount(), 25);
  ts.IntervalSnap(true);
  EXPECT_EQ(ts.DateTime(0), At(2020, 1, 1, 1));
}

TEST(RegularTimeSeriesTest, CalendarSteps) {
  RegularTimeSeries monthly;
  monthly.Interval(43200);
  monthly.Starting(At(2020, 1, 31, 6));
  monthly.ValueCount(3);
  EXPECT_EQ(monthly.DateTime(1), At(2020, 2, 28, 6));
  EXPECT_EQ(monthly.DateTime(2), At(2020, 3, 28, 6));
  EXPECT_EQ(monthly.Ending(), At(2020, 3, 31, 6));
  monthly.Starting(At(2019, 12, 15));
  EXPECT_EQ(monthly.DateTime(1), At(2020, 1, 15));
  monthly.Starting(At(2020, 3, 15));
  EXPECT_EQ(monthly.DateTime(9), At(2020, 12, 15));
  EXPECT_EQ(monthly.DateTime(-3), At(2019, 12, 15));
  monthly.Ending(At(2021, 3, 1));
  EXPECT_EQ(monthly.ValueCount(), 13);

  RegularTimeSeries yearly;
  yearly.Interval(525600);
  yearly.Starting(At(2020, 2, 29));
  EXPECT_EQ(yearly.DateTime(1), At(2021, 2, 28));
  EXPECT_EQ(yearly.DateTime(4), At(2024, 2, 28));

  // With no start, Ending derives one by counting minutes, months included.
  RegularTimeSeries back;
  back.Interval(43200);
  back.ValueCount(12);
  back.Ending(At(2020, 12, 31));
  EXPECT_EQ(back.Starting(), At(2020, 12, 31).Add(DateUnit::Minute, -11.0 * 43200));
  RegularTimeSeries empty;
  empty.Interval(60);
  EXPECT_EQ(CaughtError([&] { empty.Ending(At(2020, 1, 1)); }).Description(),
            "Need to set either Starting or ValueCount properties first");
}

TEST(RegularTimeSeriesTest, SnappedStarts) {
  RegularTimeSeries ts;
  ts.IntervalSnap(true);
  EXPECT_EQ(CaughtError([&] { ts.Starting(At(2020, 1, 1)); }).Description(),
            "Need to set Interval");
  ts.Interval(60);
  ts.Starting(At(2020, 1, 1, 10, 30));  // only the minute of the hour counts
  EXPECT_EQ(ts.Starting(), At(2020, 1, 1, 1, 30));
  ts.Interval(10080);
  ts.Starting(At(2020, 1, 1, 10, 30));  // a Wednesday: next Sunday, same time
  EXPECT_EQ(ts.Starting(), At(2020, 1, 5, 10, 30));
  ts.Interval(43200);
  ts.Starting(At(2020, 12, 15, 10, 30));
  EXPECT_EQ(ts.Starting(), At(2021, 1, 1));
  ts.Interval(525600);
  ts.Starting(At(2020, 6, 1));
  EXPECT_EQ(ts.Starting(), At(2021, 1, 1));
}

TEST(RegularTimeSeriesTest, IntervalsAndPlans) {
  RegularTimeSeries ts;
  const AutomationError irregular = CaughtError([&] { ts.Interval(-2); });
  EXPECT_EQ(irregular.Number(), kObjectErrorBase + 5);
  EXPECT_EQ(irregular.Description(), "Interval is not regular time series");
  EXPECT_EQ(ts.Pathname()->Epart(), "IR-DAY");  // changed all the same
  EXPECT_EQ(CaughtError([&] { ts.Interval(7); }).Number(), 128);
  EXPECT_EQ(CaughtError([&] { ts.Plan(plnPreserveMissing); }).Number(), kObjectErrorBase + 5);
  EXPECT_EQ(CaughtError([&] { ts.Plan(plnReserved3); }).Number(), kObjectErrorBase + 5);
  ts.Plan(static_cast<DSSPlans>(7));
  EXPECT_EQ(ts.Plan(), 7);
  EXPECT_EQ(ts.Pathname(), ts.Pathname());
}

TEST(RegularTimeSeriesTest, UnitsNamesAndInterfaces) {
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->TsUnits("cfs");
  ts->TsType("inst-val");
  EXPECT_EQ(ts->TsUnits(), "CFS");
  EXPECT_EQ(ts->TsType(), "INST-VAL");
  ts->Location("gauge 7");
  EXPECT_EQ(ts->Pathname()->Bpart(), "GAUGE 7");
  ts->Pathname()->Bpart("other");
  EXPECT_EQ(ts->Location(), "OTHER");
  auto record = std::dynamic_pointer_cast<IDSSRecord>(ts->ScriptQueryInterface(" idssrecord "));
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record.get(), static_cast<IDSSRecord*>(ts.get()));
  EXPECT_NE(std::dynamic_pointer_cast<IRTSTransform>(ts->ScriptQueryInterface("IRTSTransform")),
            nullptr);
  EXPECT_EQ(ts->ScriptQueryInterface("Pathname"), nullptr);
  EXPECT_EQ(ts->ScriptQueryInterface(""), nullptr);
  EXPECT_EQ(CaughtError([&] { ts->ToDOM(); }).Number(), kObjectErrorBase + 16385);
  EXPECT_EQ(CaughtError([&] { ts->FromDOM(nullptr); }).Source(), "RegularTimeSeries");
  EXPECT_EQ(ts->LastDateTime(At(2020, 1, 15), "m"), Date::Serial(2020, 1, 31, 23, 59, 59));
}

TEST(RegularTimeSeriesTest, RecordOperationsCheckTheSeriesFirst) {
  auto ts = std::make_shared<RegularTimeSeries>();
  auto db = std::shared_ptr<DSSDatabase>();
  ts->Starting(At(2020, 1, 5, 9, 30));
  const AutomationError no_count = CaughtError([&] { ts->Retrieve(db); });
  EXPECT_EQ(no_count.Number(), kObjectErrorBase + 16385);
  EXPECT_EQ(no_count.Description(), "ValueCount property not set");
  EXPECT_EQ(no_count.HelpContext(), 520);
}

}  // namespace
}  // namespace varnock
