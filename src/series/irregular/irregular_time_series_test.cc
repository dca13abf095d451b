#include "varnock/irregular_time_series.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"
#include "tests/support/temp_folder.h"
#include "varnock/database.h"

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

// Dates come back from their day and minute stamps exactly, on either side of midnight (which
// HECLIB counts as minute 1440 of the day before) and across gaps of several days.
TEST(IrregTimeSeriesTest, DatesRoundTripAcrossDaysAndMidnights) {
  testing::TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("irregular.dss"));
  db->Connect(true);
  const Date dates[] = {Date::Serial(2021, 1, 1, 23, 0),   Date::Serial(2021, 1, 2, 0, 0),
                        Date::Serial(2021, 1, 2, 0, 1),    Date::Serial(2021, 1, 2, 23, 59),
                        Date::Serial(2021, 1, 3, 0, 0),    Date::Serial(2021, 1, 7, 12, 30),
                        Date::Serial(2021, 1, 31, 23, 59), Date::Serial(2021, 2, 1, 0, 0)};
  const int32_t n = static_cast<int32_t>(std::size(dates));
  auto ts = std::make_shared<IrregTimeSeries>();
  ts->Pathname()->Name("/A/B/FLOW//IR-MONTH/F/");
  ts->ValueCount(n);
  for (int32_t i = 0; i < n; ++i) {
    ts->DateTime(i, dates[i]);
    ts->Value(i, static_cast<float>(i));
  }
  ts->Store(db);
  auto back = std::make_shared<IrregTimeSeries>();
  back->Pathname()->Name("/A/B/FLOW//IR-MONTH/F/");
  back->Starting(Date::Serial(2021, 1, 1));
  back->Ending(Date::Serial(2021, 2, 2));
  back->Retrieve(db);
  ASSERT_EQ(back->ValueCount(), n);
  for (int32_t i = 0; i < n; ++i) {
    EXPECT_EQ(back->DateTime(i), dates[i]) << i;
    EXPECT_EQ(back->Value(i), static_cast<float>(i)) << i;
  }
}

}  // namespace
}  // namespace varnock
