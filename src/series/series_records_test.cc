// Series stored in and retrieved from DSS files of both versions through the public classes.
#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

#include "tests/support/temp_folder.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/heclib.h"
#include "varnock/irregular_time_series.h"
#include "varnock/regular_time_series.h"

namespace varnock {
namespace {

using testing::CaughtError;

using testing::TempFolder;

// The parameter is the DSS version of the new files.
class SeriesRecordsTest : public ::testing::TestWithParam<int> {
 protected:
  std::shared_ptr<DSSDatabase> NewDatabase(const TempFolder& folder, const std::string& name) {
    auto db = std::make_shared<DSSDatabase>();
    db->Name(folder.File(name));
    db->Setting("DSSV", Variant(GetParam()));
    db->Connect(true);
    EXPECT_EQ(db->Inquire("FVER").ToString().substr(0, 1), std::to_string(GetParam()));
    return db;
  }
};
INSTANTIATE_TEST_SUITE_P(Versions, SeriesRecordsTest, ::testing::Values(6, 7),
                         [](const auto& info) { return "DSS" + std::to_string(info.param); });

TEST_P(SeriesRecordsTest, RegularSeriesRoundTripAcrossBlocks) {
  TempFolder folder;
  auto db = NewDatabase(folder, "regular.dss");
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->Pathname()->Name("/BASIN/GAUGE/FLOW/01JAN1999/1HOUR/OBS/");
  ts->Starting(Date::Serial(2020, 1, 30, 5, 0));
  ts->ValueCount(2000);
  ts->TsUnits("cfs");
  ts->TsType("inst-val");
  for (int32_t i = 0; i < 2000; ++i)
    ts->Value(i, i % 97 == 0 ? -901.0f : 0.5f * i);
  ts->Store(db);
  EXPECT_EQ(ts->Pathname()->Dpart(), "");
  EXPECT_EQ(db->AsCollection(true).size(), 4u);  // Jan, Feb, Mar and Apr 2020 blocks

  auto back = std::make_shared<RegularTimeSeries>();
  back->Pathname()->Name("/basin/gauge/flow//1hour/obs/");
  back->Starting(Date::Serial(2020, 1, 30, 5, 0));
  back->ValueCount(2000);
  back->Retrieve(db);
  EXPECT_EQ(back->ValueCount(), 2000);
  EXPECT_EQ(back->Starting(), Date::Serial(2020, 1, 30, 5, 0));
  EXPECT_EQ(back->TsUnits(), "CFS");
  EXPECT_EQ(back->TsType(), "INST-VAL");
  EXPECT_EQ(back->TsOffset(), 0);
  for (int32_t i = 0; i < 2000; ++i)
    ASSERT_EQ(back->Value(i), ts->Value(i)) << i;
  EXPECT_EQ(back->DateTime(1999), Date::Serial(2020, 4, 22, 12, 0));

  // Slots of existing blocks never written read as missing; absent blocks as -902.
  back->Starting(Date::Serial(2019, 12, 31, 23, 0));
  back->ValueCount(8);
  back->Retrieve(db);
  // Midnight is 2400 of 31 December, so the first two slots fall in the absent December block.
  EXPECT_EQ(db->istat(), 4);
  EXPECT_EQ(back->Value(0), -902.0f);
  EXPECT_EQ(back->Value(1), -902.0f);
  EXPECT_EQ(back->Value(2), -901.0f);
  EXPECT_EQ(back->Value(7), -901.0f);

  // A window with no block at all: status 5, an error only when asked for.
  back->Starting(Date::Serial(2010, 1, 1));
  back->ValueCount(3);
  back->Retrieve(db);
  EXPECT_EQ(db->istat(), 5);
  back->MissingIsError(true);
  const AutomationError missing = CaughtError([&] { back->Retrieve(db); });
  EXPECT_EQ(missing.Number(), kObjectErrorBase + dssHeclibError);
  EXPECT_EQ(missing.Source(), "RegularTimeSeries");
  EXPECT_TRUE(back->RecordExists(db) == false);
  back->Pathname()->Dpart("01JAN2020");
  EXPECT_TRUE(back->RecordExists(db));
  EXPECT_EQ(back->RecordDataType(db), "RTS");
}

TEST_P(SeriesRecordsTest, RegularGatewayStatusesBecomeErrors) {
  TempFolder folder;
  auto db = NewDatabase(folder, "statuses.dss");
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->Pathname()->Name("/A/B/C//BOGUS/F/");
  ts->Starting(Date::Serial(2020, 1, 1));
  ts->ValueCount(3);
  const AutomationError bad_interval = CaughtError([&] { ts->Store(db); });
  EXPECT_EQ(bad_interval.Number(), kObjectErrorBase + dssHeclibError);
  EXPECT_EQ(bad_interval.Description(),
            "A non-standard time interval was provided in the \"E\" part of the pathname.");
  EXPECT_EQ(bad_interval.HelpContext(), 518);
  EXPECT_EQ(db->istat(), 12);

  auto closed = std::make_shared<DSSDatabase>();
  ts->Pathname()->Epart("1HOUR");
  const AutomationError not_open = CaughtError([&] { ts->Retrieve(closed); });
  EXPECT_EQ(not_open.Number(), kObjectErrorBase + dssNotOpen);
  EXPECT_EQ(not_open.Description(), "No DSS file connected");
}

TEST_P(SeriesRecordsTest, IrregularSeriesRoundTripAndBufferGrowth) {
  TempFolder folder;
  auto db = NewDatabase(folder, "irregular.dss");
  auto ts = std::make_shared<IrregTimeSeries>();
  ts->Pathname()->Name("/BASIN/GAUGE/STAGE//IR-MONTH/OBS/");
  ts->TsUnits("ft");
  ts->TsType("inst-val");
  ts->ValueCount(150);
  const double start = Date::Serial(2021, 3, 1).Serial();
  for (int32_t i = 0; i < 150; ++i) {
    ts->DateTime(i, Date(start + 0.5 + i * 0.25));  // every six hours from noon
    ts->Value(i, 10.0f + i);
  }
  ts->Store(db);

  auto back = std::make_shared<IrregTimeSeries>();
  back->Pathname()->Name("/BASIN/GAUGE/STAGE//IR-MONTH/OBS/");
  back->Starting(Date::Serial(2021, 3, 1));
  back->Ending(Date::Serial(2021, 4, 30));
  back->Retrieve(db);
  ASSERT_EQ(back->ValueCount(), 150);
  EXPECT_EQ(back->TsUnits(), "FT      ");  // the irregular binding keeps HECLIB's 8-column field
  EXPECT_EQ(back->DateTime(0), Date(start + 0.5));
  for (int32_t i = 0; i < 150; ++i) {
    EXPECT_EQ(back->Value(i), 10.0f + i);
    EXPECT_NEAR(back->DateTime(i).Serial(), ts->DateTime(i).Serial(), 0.5 / 1440) << i;
  }
  EXPECT_EQ(back->RecordDataType(db), "ITS");

  // Times out of order are refused with the gateway's text.
  ts->DateTime(5, Date(start - 1));
  const AutomationError unsorted = CaughtError([&] { ts->Store(db); });
  EXPECT_EQ(unsorted.Description(), "Data overlap in time or are not sorted correctly");
  EXPECT_EQ(db->istat(), 30);
}

}  // namespace
}  // namespace varnock
