#include <tuple>

#include <gtest/gtest.h>

#include "series/regular/calendar_procedures.h"
#include "series/regular/series_test_support.h"

namespace varnock {
namespace {

using testing::At;
using testing::CaughtError;
using testing::Series;
using testing::Values;
using V = std::vector<float>;

V Ones(size_t n) {
  return V(n, 1.0f);
}

// Everything an interval change may touch.
auto State(RegularTimeSeries& ts) {
  return std::make_tuple(ts.Interval(), ts.IntervalSnap(), ts.Starting(), Values(ts));
}

TEST(CalendarProceduresTest, LeapYearsAndMonthLengths) {
  EXPECT_TRUE(series::IsLeapYear(2000) && series::IsLeapYear(2024));
  EXPECT_FALSE(series::IsLeapYear(1900) || series::IsLeapYear(2023));
  EXPECT_EQ(series::DaysInMonth(2, 1900), 28);
  EXPECT_EQ(series::DaysInMonth(2, 2000), 29);
  EXPECT_EQ(series::DaysInMonth(4, 2021), 30);
  EXPECT_EQ(series::DaysInMonth(0, 2021) + series::DaysInMonth(13, 2021), 0);
  EXPECT_EQ(series::DaysInYear(2020) - series::DaysInYear(2100), 1);
}

TEST(ChangeIntervalTest, HourlyCumulativeToDaily) {
  // Old value 0 never contributes; -901 is skipped while -900.5 is present here.
  V old(25);
  for (int i = 0; i < 25; ++i)
    old[i] = i == 0 ? 1000.0f : i == 3 ? -901.0f : i == 5 ? -900.5f : static_cast<float>(i);
  auto ts = Series(60, At(2020, 1, 1), old, "per-cum");
  ts->IntervalSnap(true);
  ts->Aggregation(static_cast<AggregationTypes>(9));  // not consulted for PER-CUM
  ts->ChangeInterval(1440);
  EXPECT_EQ(State(*ts), std::make_tuple(1440, false, At(2020, 1, 1), V{-902, 300 - 8 - 900.5f}));
  EXPECT_EQ(ts->Pathname()->Epart(), "1DAY");
  EXPECT_EQ(ts->MissingCount(), 1);  // statistics refreshed
}

TEST(ChangeIntervalTest, SilentNoOps) {
  struct Case {
    int32_t from;
    Date start;
    size_t count;
    int32_t to;
  } cases[] = {
      {60, At(2020, 1, 1), 26, 1440},  // 25 intervals
      {1440, At(2020, 1, 1), 2, 1440},     {60, At(2020, 1, 1), 25, 30},
      {60, At(2020, 1, 1), 25, 90},        {10080, At(2020, 1, 5), 5, 43200},
      {1440, At(2020, 1, 1), 31, 14400},   {1440, At(2020, 1, 1), 31, 21600},
      {14400, At(2020, 1, 1), 3, 43200},   {1440, At(2020, 1, 6), 15, 10080},  // starts on a Monday
      {1440, At(2020, 1, 5), 14, 10080},                                       // ends on a Friday
      {60, At(2020, 1, 5), 168, 10080},     // ends on Saturday 23:00
      {1440, At(2020, 1, 2), 31, 43200},    // not the first of the month
      {1440, At(2020, 1, 1), 31, 43200},    // ends on 30 January
      {480, At(2020, 1, 1), 95, 43200},     // 94 eight-hour steps are not whole days
      {1440, At(2020, 1, 1), 366, 525600},  // ends on 30 December
      {43200, At(2020, 2, 1), 13, 525600},  // not 1 January
      {43200, At(2020, 1, 1), 7, 525600},   // ends in June
  };
  for (const Case& c : cases) {
    auto ts = Series(c.from, c.start, Ones(c.count), "PER-CUM");
    const auto before = State(*ts);
    ts->ChangeInterval(c.to);
    EXPECT_EQ(State(*ts), before) << c.from << " to " << c.to;
  }
  // A target at or below the interval returns before the unset start is read.
  auto unset = std::make_shared<RegularTimeSeries>();
  unset->Interval(60);
  unset->ChangeInterval(60);
}

TEST(ChangeIntervalTest, InstantaneousRulesAndCalendarGroups) {
  // Three-hour groups: all missing; missing with 4 and 6; -900.5 with 2 and -3000.
  const V old = {0, -901, -901, -901, -901, 4, 6, -900.5f, 2, -3000};
  const std::pair<AggregationTypes, V> rules[] = {{atUseHighest, {-902, -901, 6, 2}},
                                                  {atUseLast, {-902, -901, 6, 2}},
                                                  {atUseAverage, {-902, -901, 5, -449.25f}}};
  for (const auto& [aggregation, expected] : rules) {
    auto ts = Series(60, At(2020, 1, 1), old);
    ts->Aggregation(aggregation);
    ts->ChangeInterval(180);
    EXPECT_EQ(Values(*ts), expected) << aggregation;
  }

  struct Case {
    int32_t from;
    Date start;
    V values;
    AggregationTypes aggregation;
    int32_t to;
    V expected;
    Date ending;
  };
  V leap_year(367, 0.0f);
  leap_year[366] = 732;  // the mean of 366 days, not of 365
  V two_weeks(15);
  for (int i = 0; i < 15; ++i)
    two_weeks[i] = static_cast<float>(i % 8);
  V months(25);
  for (int i = 0; i < 25; ++i)
    months[i] = static_cast<float>(i);
  const Case cases[] = {
      {1440, At(2020, 1, 1), leap_year, atUseAverage, 525600, {-902, 2}, At(2021, 1, 1)},
      {1440, At(2020, 1, 5), two_weeks, atUseHighest, 10080, {-902, 7, 6}, At(2020, 1, 19)},
      {43200, At(2020, 1, 1), months, atUseLast, 525600, {-902, 12, 24}, At(2022, 1, 1)},
  };
  for (const Case& c : cases) {
    auto ts = Series(c.from, c.start, c.values);
    ts->Aggregation(c.aggregation);
    ts->ChangeInterval(c.to);
    EXPECT_EQ(Values(*ts), c.expected) << c.from << " to " << c.to;
    EXPECT_EQ(ts->Interval(), c.to);
    EXPECT_EQ(ts->Ending(), c.ending);
  }
  // Months of different lengths, summed.
  auto common = Series(1440, At(2021, 2, 1), Ones(60), "PER-CUM");
  common->ChangeInterval(43200);
  EXPECT_EQ(Values(*common), (V{-902, 28, 31}));
  auto leap = Series(1440, At(2020, 2, 1), Ones(61), "PER-CUM");
  leap->ChangeInterval(43200);
  EXPECT_EQ(Values(*leap), (V{-902, 29, 31}));
}

TEST(ChangeIntervalTest, SubDailyToCalendarGoesThroughDailyValues) {
  // Day one has a single present 10, the other six days are all 1: the weekly average is the
  // mean of the daily means, 16 / 7.
  V hours(24 * 7 + 1, 1.0f);
  for (int i = 1; i <= 24; ++i)
    hours[i] = i == 7 ? 10.0f : -901.0f;
  auto week = Series(60, At(2020, 1, 5), hours);
  week->Aggregation(atUseAverage);
  week->ChangeInterval(10080);
  EXPECT_EQ(Values(*week), (V{-902, static_cast<float>(16.0 / 7)}));

  auto month = Series(60, At(2021, 1, 1), Ones(24 * 31 + 1), "PER-CUM");
  month->ChangeInterval(43200);
  EXPECT_EQ(Values(*month), (V{-902, 744}));
  auto year = Series(720, At(2019, 1, 1), V(2 * 365 + 1, 0.5f), "PER-CUM");
  year->ChangeInterval(525600);
  EXPECT_EQ(Values(*year), (V{-902, 365}));
}

TEST(ChangeIntervalTest, AYearOfHoursChangesFromMidnightWithTheStartValue) {
  // The natural layout, 8,760 hourly values from 1 January 01:00, spans 8,759 hours: no
  // whole days, so nothing changes.
  for (int32_t target : {1440, 43200}) {
    auto natural = Series(60, At(2021, 1, 1, 1), Ones(8760), "PER-CUM");
    const auto before = State(*natural);
    natural->ChangeInterval(target);
    EXPECT_EQ(State(*natural), before) << target;
  }
  // The layout the class comment and the README give: from 00:00 with 8,761 values.
  auto daily = Series(60, At(2021, 1, 1), Ones(8761), "PER-CUM");
  daily->ChangeInterval(1440);
  ASSERT_EQ(daily->ValueCount(), 366);
  EXPECT_EQ(daily->Value(0), -902.0f);
  EXPECT_EQ(daily->Value(1), 24.0f);
  EXPECT_EQ(daily->Value(365), 24.0f);
  EXPECT_EQ(daily->DateTime(1), At(2021, 1, 2));

  auto monthly = Series(60, At(2021, 1, 1), Ones(8761), "PER-CUM");
  monthly->ChangeInterval(43200);
  EXPECT_EQ(Values(*monthly),
            (V{-902, 744, 672, 744, 720, 744, 720, 744, 744, 720, 744, 720, 744}));
  EXPECT_EQ(monthly->DateTime(1), At(2021, 2, 1));
}

TEST(ChangeIntervalTest, ErrorsChangeNothing) {
  const auto bad_aggregation = static_cast<AggregationTypes>(3);
  struct Case {
    int32_t from;
    Date start;
    size_t count;
    const char* type;
    AggregationTypes aggregation;
    int32_t to;
    int32_t number;
    std::string source;
    std::string description;
  } cases[] = {
      {60, At(2020, 1, 1), 25, "PER-CUM", atUseLast, 2000, 131, "",
       "Nonstandard time interval specified: 2000"},
      {1440, At(2020, 1, 1), 25, "PER-CUM", atUseLast, 20160, 131, "",
       "Nonstandard time interval specified: 20160"},
      {43200, At(2020, 1, 1), 25, "PER-CUM", atUseLast, 100000, 131, "",
       "Nonstandard time interval specified: 100000"},
      {525600, At(2020, 1, 1), 25, "PER-CUM", atUseLast, 600000, 131, "",
       "Nonstandard time interval specified: 525600"},
      {60, At(2020, 1, 1), 25, "PER-AVER", atUseLast, 1440, 1002, "Varnock23",
       "Undefined time series type"},
      {60, At(2020, 1, 1), 25, "INST-VAL", bad_aggregation, 1440, 1005, "Varnock23",
       "Undefined aggregation type"},
      {60, At(2020, 1, 5), 169, "INST-VAL", bad_aggregation, 10080, 1005, "Varnock23",
       "Undefined aggregation type"},
      // A single value: its one group reaches past the end.
      {60, At(2020, 1, 1), 1, "INST-VAL", atUseLast, 1440, 9, "Varnock23",
       "Subscript out of range"},
      {43200, At(2020, 1, 1), 1, "INST-VAL", atUseLast, 525600, 9, "Varnock23",
       "Subscript out of range"},
  };
  for (const Case& c : cases) {
    auto ts = Series(c.from, c.start, Ones(c.count), c.type);
    ts->Aggregation(c.aggregation);
    ts->IntervalSnap(true);
    const auto before = State(*ts);
    const AutomationError error = CaughtError([&] { ts->ChangeInterval(c.to); });
    EXPECT_EQ(std::make_tuple(error.Number(), error.Source(), error.Description()),
              std::make_tuple(c.number, c.source, c.description));
    EXPECT_EQ(State(*ts), before) << c.description;
  }
  // No interval is a current interval the table does not know.
  auto none = Series(0, At(2020, 1, 1), Ones(3));
  EXPECT_EQ(CaughtError([&] { none->ChangeInterval(1440); }).Description(),
            "Nonstandard time interval specified: 0");
  auto unset = std::make_shared<RegularTimeSeries>();
  unset->Interval(60);
  EXPECT_EQ(CaughtError([&] { unset->ChangeInterval(1440); }).Description(),
            "Starting property not set");

  // Twelve-hour steps from 2000 to noon on 1 January 6100: more than 2^31 minutes.
  const int64_t days = Date::Diff(DateUnit::Day, At(2000, 1, 1), At(6100, 1, 1));
  auto huge = Series(720, At(2000, 1, 1), V(2 * days + 2), "PER-CUM");
  EXPECT_EQ(CaughtError([&] { huge->ChangeInterval(525600); }).Number(), hostOverflow);
  EXPECT_EQ(huge->Interval(), 720);
}

}  // namespace
}  // namespace varnock
