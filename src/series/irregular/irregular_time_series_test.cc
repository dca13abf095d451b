#include "varnock/irregular_time_series.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

#include "varnock/error.h"

namespace varnock {
namespace {

using testing::CaughtError;

TEST(IrregTimeSeriesTest, NewSeriesAndSlotIndexing) {
  IrregTimeSeries ts;
  EXPECT_EQ(ts.ValueCount(), 0);
  EXPECT_EQ(ts.Starting(), Date(0.0));
  EXPECT_EQ(ts.Value(-1), 0.0f);
  EXPECT_EQ(CaughtError([&] { ts.Value(0); }).Number(), hostSubscriptOutOfRange);
  EXPECT_EQ(CaughtError([&] { ts.Flag(0); }).Number(), hostSubscriptOutOfRange);
  const AutomationError empty = CaughtError([&] { ts.Value(0, 1.0f); });
  EXPECT_EQ(empty.Number(), kObjectErrorBase + 16385);
  EXPECT_EQ(empty.Description(), "ValueCount property not set");
  EXPECT_EQ(empty.HelpContext(), 520);
  ts.TsType("inst-val");
  EXPECT_EQ(ts.TsType(), "INST-VAL");
}

TEST(IrregTimeSeriesTest, CountAndWindowEmptyEachOther) {
  IrregTimeSeries ts;
  ts.ValueCount(3);
  ts.Value(2, 7.0f);
  ts.DateTime(2, Date::Serial(2001, 3, 7));
  ts.Flag(2, 5);
  EXPECT_EQ(CaughtError([&] { ts.Value(3); }).Number(), hostSubscriptOutOfRange);
  ts.ValueCount(5);
  EXPECT_EQ(ts.Value(2), 0.0f);
  EXPECT_EQ(ts.DateTime(2), Date(0.0));
  ts.Starting(Date::Serial(2001, 1, 1));
  EXPECT_EQ(ts.ValueCount(), 0);
  EXPECT_EQ(ts.Starting(), Date::Serial(2001, 1, 1));
  ts.Ending(Date::Serial(2001, 2, 1));
  ts.ValueCount(10);
  EXPECT_EQ(ts.Starting(), Date(0.0));  // the window is unset again
}

TEST(IrregTimeSeriesTest, RecordChecksAndRefusals) {
  auto ts = std::make_shared<IrregTimeSeries>();
  std::shared_ptr<DSSDatabase> db;
  const AutomationError blank = CaughtError([&] { ts->Store(db); });
  EXPECT_EQ(blank.Number(), kObjectErrorBase + dssBadPathname);
  EXPECT_EQ(blank.Description(), "Pathname property not set");
  EXPECT_EQ(blank.HelpContext(), 516);
  ts->Pathname()->Name("/A/B/FLOW//IR-MONTH/F/");
  EXPECT_EQ(CaughtError([&] { ts->Store(db); }).Description(), "ValueCount property not set");
  ts->Starting(Date::Serial(2001, 1, 1));
  EXPECT_EQ(CaughtError([&] { ts->Retrieve(db); }).Description(),
            "Need to set both Starting and Ending date properties first");
  EXPECT_EQ(CaughtError([&] { ts->Plan(plnAlwaysWrite); }).Number(), kObjectErrorBase + 16385);
  EXPECT_EQ(CaughtError([&] { ts->Plan(); }).Source(), "IrregTimeSeries");
  EXPECT_EQ(ts->ScriptQueryInterface("IRTSTransform"), nullptr);
  EXPECT_NE(ts->ScriptQueryInterface("ihtslstream"), nullptr);
  ts->Domain("basin");
  EXPECT_EQ(ts->Pathname()->Apart(), "BASIN");
}

}  // namespace
}  // namespace varnock
