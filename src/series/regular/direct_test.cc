#include <cmath>

#include <gtest/gtest.h>

#include "varnock/error.h"
#include "varnock/regular_time_series.h"
#include "varnock/variant_array.h"

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

Date At(int y, int m, int d, int h = 0, int n = 0, int s = 0) {
  return Date::Serial(y, m, d, h, n, s);
}

std::shared_ptr<RegularTimeSeries> Hourly(Date start, int32_t count, const std::string& type) {
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->Interval(60);
  ts->Starting(start);
  ts->ValueCount(count);
  ts->TsType(type);
  return ts;
}

std::vector<float> Values(RegularTimeSeries& ts) {
  std::vector<float> out;
  for (int32_t i = 0; i < ts.ValueCount(); ++i)
    out.push_back(ts.Value(i));
  return out;
}

// Readings with a date field and a value field; a NaN value is stored as Null.
std::shared_ptr<Recordset> Readings(const std::vector<std::pair<Date, double>>& rows) {
  auto records = std::make_shared<Recordset>();
  records->AppendField("When", adDate);
  records->AppendField("Reading", adDouble);
  records->Open();
  for (const auto& [when, value] : rows) {
    if (std::isnan(value)) {
      records->AddNew({"When"}, {Variant(when)});
    } else {
      records->AddNew({"When", "Reading"}, {Variant(when), Variant(value)});
    }
  }
  return records;
}

void Import(RegularTimeSeries& ts, const std::shared_ptr<Recordset>& records) {
  ts.FromRecordset(records, records->Fields("When"), records->Fields("reading"));
}

TEST(FillArrayTest, ValuesAloneOrWithDates) {
  auto ts = Hourly(At(2020, 1, 1), 3, "INST-VAL");
  ts->Value(0, 1.5f);
  ts->Value(1, -901);
  ts->Value(2, -902);
  Variant values;
  ts->FillArray(values, false);
  const VariantArray& row = values.Array();
  ASSERT_EQ(row.Dimensions(), 1);
  EXPECT_EQ(row.LBound(), 1);
  EXPECT_EQ(row.UBound(), 3);
  EXPECT_EQ(row(1).Type(), vbSingle);
  EXPECT_EQ(row(1).ToSingle(), 1.5f);
  EXPECT_EQ(row(2).ToSingle(), -901.0f);  // markers arrive as they are
  EXPECT_EQ(row(3).ToSingle(), -902.0f);

  ts->IntervalSnap(true);
  Variant table = Variant("replaced");
  ts->FillArray(table, true);
  const VariantArray& cells = table.Array();
  ASSERT_EQ(cells.Dimensions(), 2);
  EXPECT_EQ(cells.UBound(1), 3);
  EXPECT_EQ(cells.LBound(2), 1);
  EXPECT_EQ(cells.UBound(2), 2);
  EXPECT_EQ(cells(1, 1).Type(), vbDate);
  EXPECT_EQ(cells(1, 1).ToDate(), At(2020, 1, 1, 1));  // snapped: the end of the first hour
  EXPECT_EQ(cells(3, 1).ToDate(), At(2020, 1, 1, 3));
  EXPECT_EQ(cells(3, 2).ToSingle(), -902.0f);

  auto empty = Hourly(At(2020, 1, 1), 0, "INST-VAL");
  empty->FillArray(values, true);
  EXPECT_EQ(values.Array().ElementCount(), 0);
}

TEST(FillArrayTest, UnsetStartFailsBeforeTheArrayIsTouched) {
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->ValueCount(2);
  Variant target(7);
  const AutomationError error = CaughtError([&] { ts->FillArray(target, false); });
  EXPECT_EQ(error.Number(), kObjectErrorBase + dssDateError);
  EXPECT_EQ(error.Description(), "Starting property not set");
  EXPECT_EQ(target, Variant(7));
  // Dates need an interval; values alone do not.
  ts->Starting(At(2020, 1, 1));
  ts->FillArray(target, false);
  EXPECT_TRUE(target.IsArray());
  EXPECT_EQ(CaughtError([&] { ts->FillArray(target, true); }).Description(),
            "Need to set Interval");
}

TEST(FromRecordsetTest, WholeMinuteStampsCountTowardThePeriodThatEnds) {
  // Slots at 01:00 .. 04:00. The 01:00:00 reading is moved back a second; the 01:00:30 one
  // falls after the slot date.
  auto ts = Hourly(At(2020, 1, 1, 1), 4, "INST-VAL");
  auto records = Readings({{At(2019, 12, 31, 23, 30), 5},
                           {At(2020, 1, 1, 0, 30), 7},
                           {At(2020, 1, 1, 1), 8},
                           {At(2020, 1, 1, 1, 0, 30), 9},
                           {At(2020, 1, 1, 2, 30), 10}});
  records->MoveLast();
  records->Filter("[Reading] > 6");
  Import(*ts, records);
  EXPECT_EQ(Values(*ts), (std::vector<float>{5, 8, 9, 10}));
  // The host's recordset keeps its filter and position.
  EXPECT_EQ(records->Filter(), "[Reading] > 6");
  EXPECT_EQ(records->Fields("Reading")->Value().ToDouble(), 7.0);
}

TEST(FromRecordsetTest, HalfSecondToleranceAroundSlotDates) {
  // Slots on half minutes: a stamp 0.3 s before one counts after it, 0.7 s before does not.
  const Date start = At(2020, 1, 1, 1, 0, 30);
  const double second = 1.0 / 86400;
  auto ts = Hourly(start, 4, "INST-VAL");
  ts->Padding(intPadEDMSpolled);
  auto records = Readings({{Date(At(2020, 1, 1, 2, 0, 30) - 0.7 * second), 1},
                           {Date(At(2020, 1, 1, 3, 0, 30) - 0.3 * second), 2}});
  Import(*ts, records);
  // The second reading has passed the 03:00:30 slot, so its value would go to a fifth slot.
  EXPECT_EQ(Values(*ts), (std::vector<float>{-901, -901, 1, -901}));
}

TEST(FromRecordsetTest, EmptyRecordsetLeavesTheFirstCarryEverywhere) {
  const auto before_window = Readings({{At(2019, 12, 31, 22), 3.5}, {At(2019, 12, 31, 23), 4}});
  struct Case {
    const char* type;
    PadMethods padding;
    float expected;
  } cases[] = {{"INST-VAL", intPadWatch, 4},        {"INST-VAL", intPadEDMSpolled, -901},
               {"INST-VAL", intPadEDMSmixed, -901}, {"INST-VAL", static_cast<PadMethods>(5), 0},
               {"PER-CUM", intPadWatch, 0},         {"PER-CUM", intPadEDMSpolled, -901},
               {"PER-CUM", intPadEDMSmixed, 0},     {"PER-CUM", static_cast<PadMethods>(5), 0},
               {"PER-AVER", intPadEDMSpolled, 0}};
  for (const Case& c : cases) {
    auto ts = Hourly(At(2020, 1, 1, 1), 3, c.type);
    ts->Padding(c.padding);
    Import(*ts, before_window);
    EXPECT_EQ(Values(*ts), std::vector<float>(3, c.expected)) << c.type << " " << c.padding;
  }
  // A Null last reading before the window carries as missing; no reading at all as 0.
  auto ts = Hourly(At(2020, 1, 1, 1), 2, "INST-VAL");
  Import(*ts, Readings({{At(2019, 12, 31, 23), NAN}}));
  EXPECT_EQ(Values(*ts), (std::vector<float>{-901, -901}));
  Import(*ts, Readings({}));
  EXPECT_EQ(Values(*ts), (std::vector<float>{0, 0}));
}

TEST(FromRecordsetTest, CumulativeReadingsSumAndGapsPad) {
  const auto records = Readings({{At(2020, 1, 1, 0, 10), 1},
                                 {At(2020, 1, 1, 0, 20), NAN},
                                 {At(2020, 1, 1, 0, 50), 2.5},
                                 {At(2020, 1, 1, 3, 10), 4}});
  struct Case {
    PadMethods padding;
    std::vector<float> expected;
  } cases[] = {{intPadWatch, {0, 3.5, 0, 0, 4}},
               {intPadEDMSpolled, {-901, 3.5, -901, -901, 4}},
               {intPadEDMSmixed, {0, 3.5, 0, 0, 4}}};
  for (const Case& c : cases) {
    auto ts = Hourly(At(2020, 1, 1, 1), 5, "PER-CUM");
    ts->Padding(c.padding);
    Import(*ts, records);
    EXPECT_EQ(Values(*ts), c.expected) << c.padding;
  }
}

TEST(FromRecordsetTest, UserWindowAndRefusals) {
  auto records = Readings({{At(2020, 1, 1, 0, 30), 1}, {At(2020, 1, 1, 0, 40), 2}});
  auto ts = Hourly(At(2020, 1, 1, 1), 3, "INST-VAL");
  ts->Aggregation(atUseAverage);  // refused once a present reading meets a present carry
  AutomationError error = CaughtError([&] { Import(*ts, records); });
  EXPECT_EQ(error.Number(), 1005);
  EXPECT_EQ(error.Source(), "Varnock23");
  EXPECT_EQ(error.Description(), "Undefined aggregation type");
  EXPECT_EQ(Values(*ts), (std::vector<float>{0, -901, -901}));  // stored slots stay

  ts->TsType("PER-AVER");
  error = CaughtError([&] { Import(*ts, records); });
  EXPECT_EQ(error.Number(), 1002);
  EXPECT_EQ(error.Description(), "Undefined time series type");

  // A user window reaching past the series runs out of slots as the host would.
  ts->TsType("INST-VAL");
  ts->Aggregation(atUseHighest);
  ts->Padding(intPadEDMSpolled);
  ts->UserWindow(true);
  EXPECT_EQ(CaughtError([&] { Import(*ts, records); }).Description(),
            "Start window property not set");
  ts->WindowStart(At(2020, 1, 1, 0, 35));
  ts->WindowEnd(At(2020, 1, 1, 2));
  Import(*ts, records);
  EXPECT_EQ(Values(*ts), (std::vector<float>{-901, 2, -901}));
  ts->WindowEnd(At(2020, 1, 2));
  EXPECT_EQ(CaughtError([&] {
              Import(*ts, Readings({{At(2020, 1, 1, 12), 1}}));
            }).Number(),
            hostSubscriptOutOfRange);

  auto unset = std::make_shared<RegularTimeSeries>();
  unset->Interval(60);
  unset->ValueCount(2);
  EXPECT_EQ(CaughtError([&] { Import(*unset, records); }).Description(),
            "Starting property not set");
  EXPECT_EQ(CaughtError([&] { unset->FromRecordset(nullptr, nullptr, nullptr); }).Number(),
            hostObjectNotSet);
}

}  // namespace
}  // namespace varnock
