#include <cmath>

#include <gtest/gtest.h>

#include "series/regular/series_test_support.h"
#include "varnock/variant_array.h"

namespace varnock {
namespace {

using testing::At;
using testing::CaughtError;
using testing::Values;
using V = std::vector<float>;

std::shared_ptr<RegularTimeSeries> Hourly(Date start, size_t count, const std::string& type,
                                          PadMethods padding = intPadWatch) {
  auto ts = testing::Series(60, start, V(count), type);
  ts->Padding(padding);
  return ts;
}

// Readings of a date field and a value field; NaN stands for a Null value.
std::shared_ptr<Recordset> Readings(const std::vector<std::pair<Date, double>>& rows) {
  auto records = std::make_shared<Recordset>();
  records->AppendField("When", adDate);
  records->AppendField("Reading", adDouble);
  for (const auto& [when, value] : rows)
    records->AddNew({"When", "Reading"}, {when, std::isnan(value) ? Variant(Null) : value});
  return records;
}

V Imported(RegularTimeSeries& ts, const std::shared_ptr<Recordset>& records) {
  ts.FromRecordset(records, records->Fields("When"), records->Fields("reading"));
  return Values(ts);
}

TEST(FillArrayTest, ValuesAloneOrWithDates) {
  auto ts = testing::Series(60, At(2020, 1, 1), {1.5f, -901, -902});
  Variant values;
  ts->FillArray(values, false);
  const VariantArray& row = values.Array();
  EXPECT_EQ(std::make_tuple(row.Dimensions(), row.LBound(), row.UBound()),
            std::make_tuple(1, 1, 3));
  EXPECT_EQ(row(1), Variant(1.5f));
  EXPECT_EQ(row(3), Variant(-902.0f));  // markers arrive as they are

  ts->IntervalSnap(true);
  ts->FillArray(values, true);
  const VariantArray& table = values.Array();
  EXPECT_EQ(std::make_tuple(table.Dimensions(), table.UBound(1), table.LBound(2), table.UBound(2)),
            std::make_tuple(2, 3, 1, 2));
  EXPECT_EQ(table(1, 1), Variant(At(2020, 1, 1, 1)));  // snapped to the end of the first hour
  EXPECT_EQ(table(3, 2), Variant(-902.0f));

  Variant untouched(7);
  auto unset = std::make_shared<RegularTimeSeries>();
  unset->ValueCount(2);
  EXPECT_EQ(CaughtError([&] { unset->FillArray(untouched, false); }).Description(),
            "Starting property not set");
  EXPECT_EQ(untouched, Variant(7));
}

TEST(FromRecordsetTest, SlotsFollowStampsWithinHalfASecond) {
  // Slots at 01:00 .. 04:00. The reading at 01:00:00 is moved back a second, so it belongs
  // with the 00:30 one; the one at 01:00:30 falls after the slot date. The same before
  // 30 December 1899, where the serial's fraction counts forward from a day below it.
  for (const int32_t year : {2020, 1850}) {
    SCOPED_TRACE(year);
    auto ts = Hourly(At(year, 1, 1, 1), 4, "INST-VAL");
    auto records = Readings({{At(year - 1, 12, 31, 23, 30), 5},
                             {At(year, 1, 1, 0, 30), 7},
                             {At(year, 1, 1, 1), 8},
                             {At(year, 1, 1, 1, 0, 30), 9},
                             {At(year, 1, 1, 2, 30), 10}});
    records->Filter("[Reading] > 6");
    EXPECT_EQ(Imported(*ts, records), (V{5, 8, 9, 10}));
    EXPECT_EQ(records->Filter(), "[Reading] > 6");  // the host's recordset is not touched
    EXPECT_EQ(records->Fields("Reading")->Value(), Variant(7.0));
  }

  // Slots on half minutes: 0.7 s before one is before it, 0.3 s before is after it (so that
  // reading would go to a fifth slot).
  const double second = 1.0 / 86400;
  auto half = Hourly(At(2020, 1, 1, 1, 0, 30), 4, "INST-VAL", intPadEDMSpolled);
  EXPECT_EQ(Imported(*half, Readings({{At(2020, 1, 1, 2, 0, 30) - 0.7 * second, 1},
                                      {At(2020, 1, 1, 3, 0, 30) - 0.3 * second, 2}})),
            (V{-901, -901, 1, -901}));
}

TEST(FromRecordsetTest, FirstCarryAndPaddingByTypeAndRule) {
  // Nothing inside the window: every slot holds the first carry.
  const auto before_window = Readings({{At(2019, 12, 31, 22), 3.5}, {At(2019, 12, 31, 23), 4}});
  const auto other = static_cast<PadMethods>(5);
  const std::tuple<const char*, PadMethods, float> empty_cases[] = {
      {"INST-VAL", intPadWatch, 4},        {"INST-VAL", intPadEDMSpolled, -901},
      {"INST-VAL", intPadEDMSmixed, -901}, {"INST-VAL", other, 0},
      {"PER-CUM", intPadWatch, 0},         {"PER-CUM", intPadEDMSpolled, -901},
      {"PER-CUM", intPadEDMSmixed, 0},     {"PER-AVER", intPadEDMSpolled, 0}};
  for (const auto& [type, padding, expected] : empty_cases) {
    auto ts = Hourly(At(2020, 1, 1, 1), 3, type, padding);
    EXPECT_EQ(Imported(*ts, before_window), V(3, expected)) << type << " " << padding;
  }
  auto watch = Hourly(At(2020, 1, 1, 1), 2, "INST-VAL");
  EXPECT_EQ(Imported(*watch, Readings({{At(2019, 12, 31, 23), NAN}})), (V{-901, -901}));
  EXPECT_EQ(Imported(*watch, Readings({})), (V{0, 0}));

  // Cumulative readings of one period add up (a Null adds nothing); empty periods pad.
  const auto sums = Readings({{At(2020, 1, 1, 0, 10), 1},
                              {At(2020, 1, 1, 0, 20), NAN},
                              {At(2020, 1, 1, 0, 50), 2.5},
                              {At(2020, 1, 1, 3, 10), 4}});
  auto cumulative = Hourly(At(2020, 1, 1, 1), 5, "PER-CUM");
  EXPECT_EQ(Imported(*cumulative, sums), (V{0, 3.5, 0, 0, 4}));
  cumulative->Padding(intPadEDMSpolled);
  EXPECT_EQ(Imported(*cumulative, sums), (V{-901, 3.5, -901, -901, 4}));
}

TEST(FromRecordsetTest, WindowsAndRefusals) {
  auto records = Readings({{At(2020, 1, 1, 0, 30), 1}, {At(2020, 1, 1, 0, 40), 2}});
  auto ts = Hourly(At(2020, 1, 1, 1), 3, "INST-VAL");
  ts->Aggregation(atUseAverage);  // refused once a present reading meets a present carry
  AutomationError error = CaughtError([&] { Imported(*ts, records); });
  EXPECT_EQ(std::make_tuple(error.Number(), error.Source(), error.Description()),
            std::make_tuple(1005, "Varnock23", "Undefined aggregation type"));
  EXPECT_EQ(Values(*ts), (V{0, -901, -901}));  // what was stored stays
  ts->TsType("PER-AVER");
  EXPECT_EQ(CaughtError([&] { Imported(*ts, records); }).Number(), 1002);

  ts->TsType("INST-VAL");
  ts->Aggregation(atUseHighest);
  ts->Padding(intPadEDMSpolled);
  ts->UserWindow(true);
  EXPECT_EQ(CaughtError([&] { Imported(*ts, records); }).Description(),
            "Start window property not set");
  ts->WindowStart(At(2020, 1, 1, 0, 35));
  ts->WindowEnd(At(2020, 1, 1, 2));
  EXPECT_EQ(Imported(*ts, records), (V{-901, 2, -901}));
  // A window reaching past the series runs out of slots as the host's array would.
  ts->WindowEnd(At(2020, 1, 2));
  EXPECT_EQ(CaughtError([&] {
              Imported(*ts, Readings({{At(2020, 1, 1, 12), 1}}));
            }).Number(),
            hostSubscriptOutOfRange);
  EXPECT_EQ(CaughtError([&] { ts->FromRecordset(nullptr, nullptr, nullptr); }).Number(),
            hostObjectNotSet);
}

}  // namespace
}  // namespace varnock
