#include <gtest/gtest.h>

#include "series/regular/calendar_procedures.h"
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

Date At(int y, int m, int d, int h = 0) {
  return Date::Serial(y, m, d, h);
}

// A series of `count` values from `start`, value i being fill(i).
std::shared_ptr<RegularTimeSeries> Series(int32_t interval, Date start, int32_t count,
                                          const std::string& type,
                                          const std::function<float(int32_t)>& fill) {
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->Interval(interval);
  ts->Starting(start);
  ts->ValueCount(count);
  ts->TsType(type);
  for (int32_t i = 0; i < count; ++i)
    ts->Value(i, fill(i));
  return ts;
}

std::vector<float> Values(RegularTimeSeries& ts) {
  std::vector<float> out;
  for (int32_t i = 0; i < ts.ValueCount(); ++i)
    out.push_back(ts.Value(i));
  return out;
}

// Everything of the series that an interval change may touch.
struct Snapshot {
  int32_t interval;
  bool snap;
  Date start;
  std::vector<float> values;
  bool operator==(const Snapshot&) const = default;
};
Snapshot Snap(RegularTimeSeries& ts) {
  return {ts.Interval(), ts.IntervalSnap(), ts.Starting(), Values(ts)};
}

TEST(CalendarProceduresTest, LeapYearsAndMonthLengths) {
  EXPECT_TRUE(series::IsLeapYear(2000));
  EXPECT_FALSE(series::IsLeapYear(1900));
  EXPECT_TRUE(series::IsLeapYear(2024));
  EXPECT_FALSE(series::IsLeapYear(2023));
  EXPECT_EQ(series::DaysInMonth(2, 1900), 28);
  EXPECT_EQ(series::DaysInMonth(2, 2000), 29);
  EXPECT_EQ(series::DaysInMonth(4, 2021), 30);
  EXPECT_EQ(series::DaysInMonth(12, 2021), 31);
  EXPECT_EQ(series::DaysInMonth(0, 2021), 0);
  EXPECT_EQ(series::DaysInMonth(13, 2021), 0);
  EXPECT_EQ(series::DaysInYear(2020), 366);
  EXPECT_EQ(series::DaysInYear(2100), 365);
}

TEST(ChangeIntervalTest, HourlyCumulativeToDaily) {
  // Old value 0 (the period before the start) never contributes; -901 is skipped, -900.5 is
  // a present value here.
  auto ts = Series(60, At(2020, 1, 1), 25, "per-cum", [](int32_t i) {
    return i == 0 ? 1000.0f : i == 3 ? -901.0f : i == 5 ? -900.5f : static_cast<float>(i);
  });
  ts->IntervalSnap(true);
  ts->Aggregation(static_cast<AggregationTypes>(9));  // not consulted for PER-CUM
  ts->ChangeInterval(1440);
  EXPECT_EQ(ts->Interval(), 1440);
  EXPECT_EQ(ts->Pathname()->Epart(), "1DAY");
  EXPECT_FALSE(ts->IntervalSnap());
  EXPECT_EQ(ts->Starting(), At(2020, 1, 1));
  EXPECT_EQ(ts->Ending(), At(2020, 1, 2));
  EXPECT_EQ(Values(*ts), (std::vector<float>{-902.0f, 300.0f - 3 - 5 - 900.5f}));
  // Statistics were refreshed: -902 is missing for them.
  EXPECT_EQ(ts->MissingCount(), 1);
  EXPECT_EQ(ts->MaxValue(), -608.5f);
}

TEST(ChangeIntervalTest, SilentNoOps) {
  const auto unchanged = [](std::shared_ptr<RegularTimeSeries> ts, int32_t target) {
    const Snapshot before = Snap(*ts);
    ts->ChangeInterval(target);
    EXPECT_EQ(Snap(*ts), before) << "to " << target;
  };
  const auto ones = [](int32_t) { return 1.0f; };
  unchanged(Series(60, At(2020, 1, 1), 26, "PER-CUM", ones), 1440);  // 25 intervals
  unchanged(Series(1440, At(2020, 1, 1), 2, "PER-CUM", ones), 1440);
  unchanged(Series(60, At(2020, 1, 1), 25, "PER-CUM", ones), 30);
  unchanged(Series(60, At(2020, 1, 1), 25, "PER-CUM", ones), 90);
  unchanged(Series(10080, At(2020, 1, 5), 5, "PER-CUM", ones), 43200);
  unchanged(Series(1440, At(2020, 1, 1), 31, "PER-CUM", ones), 14400);
  unchanged(Series(1440, At(2020, 1, 1), 31, "PER-CUM", ones), 21600);
  unchanged(Series(14400, At(2020, 1, 1), 3, "PER-CUM", ones), 43200);
  // Daily from Monday 6 January 2020 (and one from Sunday that ends on a Friday).
  unchanged(Series(1440, At(2020, 1, 6), 15, "PER-CUM", ones), 10080);
  unchanged(Series(1440, At(2020, 1, 5), 14, "PER-CUM", ones), 10080);
  // Months and years that do not start on their first day or end on their last.
  unchanged(Series(1440, At(2020, 1, 2), 31, "PER-CUM", ones), 43200);
  unchanged(Series(1440, At(2020, 1, 1), 31, "PER-CUM", ones), 43200);  // ends on 30 January
  unchanged(Series(1440, At(2020, 1, 1), 366, "PER-CUM", ones), 525600);
  unchanged(Series(43200, At(2020, 2, 1), 13, "PER-CUM", ones), 525600);
  unchanged(Series(43200, At(2020, 1, 1), 7, "PER-CUM", ones), 525600);
  unchanged(Series(60, At(2020, 1, 5), 24 * 7, "PER-CUM", ones), 10080);  // ends Saturday 23:00
  unchanged(Series(480, At(2020, 1, 1), 3 * 31 + 2, "PER-CUM", ones), 43200);
  // A target at or below the interval returns before the start is even read.
  auto unset = std::make_shared<RegularTimeSeries>();
  unset->Interval(60);
  unset->ChangeInterval(60);
  EXPECT_EQ(unset->Interval(), 60);
}

TEST(ChangeIntervalTest, UnknownPairsRaise131AndChangeNothing) {
  const auto ones = [](int32_t) { return 1.0f; };
  struct Case {
    int32_t from;
    int32_t to;
    int32_t named;
  } cases[] = {{60, 2000, 2000},
               {60, 20160, 20160},
               {1440, 2000, 2000},
               {43200, 100000, 100000},
               {525600, 600000, 525600}};
  for (const Case& c : cases) {
    auto ts = Series(c.from, At(2020, 1, 1), 25, "PER-CUM", ones);
    const Snapshot before = Snap(*ts);
    const AutomationError error = CaughtError([&] { ts->ChangeInterval(c.to); });
    EXPECT_EQ(error.Number(), 131);
    EXPECT_EQ(error.Source(), "");
    EXPECT_EQ(error.Description(),
              "Nonstandard time interval specified: " + std::to_string(c.named));
    EXPECT_EQ(Snap(*ts), before);
  }
  // No interval at all is the current interval that the table does not know.
  auto none = std::make_shared<RegularTimeSeries>();
  none->Starting(At(2020, 1, 1));
  none->ValueCount(3);
  EXPECT_EQ(CaughtError([&] { none->ChangeInterval(1440); }).Description(),
            "Nonstandard time interval specified: 0");
}

TEST(ChangeIntervalTest, InstantaneousAggregationRules) {
  // Three-hour groups: all missing; missing with 4 and 6; -900.5 with 2 and -3000.
  const std::vector<float> old = {0, -901, -901, -901, -901, 4, 6, -900.5f, 2, -3000};
  struct Case {
    AggregationTypes aggregation;
    std::vector<float> expected;
  } cases[] = {{atUseHighest, {-902, -901, 6, 2}},
               {atUseLast, {-902, -901, 6, 2}},
               {atUseAverage, {-902, -901, 5, static_cast<float>(-898.5 / 2)}}};
  for (const Case& c : cases) {
    auto ts = Series(60, At(2020, 1, 1), 10, "INST-VAL", [&](int32_t i) { return old[i]; });
    ts->Aggregation(c.aggregation);
    ts->ChangeInterval(180);
    EXPECT_EQ(Values(*ts), c.expected) << c.aggregation;
    EXPECT_EQ(ts->Ending(), At(2020, 1, 1, 9));
  }
}

TEST(ChangeIntervalTest, CalendarGroupsFollowMonthAndYearLengths) {
  const auto ones = [](int32_t) { return 1.0f; };
  // 1 February to 31 March of a common year, then of a leap year.
  auto common = Series(1440, At(2021, 2, 1), 60, "PER-CUM", ones);
  common->ChangeInterval(43200);
  EXPECT_EQ(Values(*common), (std::vector<float>{-902, 28, 31}));
  EXPECT_EQ(common->Ending(), At(2021, 4, 1));
  auto leap = Series(1440, At(2020, 2, 1), 61, "PER-CUM", ones);
  leap->ChangeInterval(43200);
  EXPECT_EQ(Values(*leap), (std::vector<float>{-902, 29, 31}));

  // A leap year of daily values is one group of 366 days; the averages see each day once.
  auto year = Series(1440, At(2020, 1, 1), 367, "INST-VAL",
                     [](int32_t i) { return i == 366 ? 732.0f : 0.0f; });
  year->Aggregation(atUseAverage);
  year->ChangeInterval(525600);
  EXPECT_EQ(Values(*year), (std::vector<float>{-902, 2}));
  EXPECT_EQ(year->Interval(), 525600);

  // Weeks from Sunday 5 January 2020, highest of each.
  auto weeks = Series(1440, At(2020, 1, 5), 15, "INST-VAL",
                      [](int32_t i) { return static_cast<float>(i % 8); });
  weeks->Aggregation(atUseHighest);
  weeks->ChangeInterval(10080);
  EXPECT_EQ(Values(*weeks), (std::vector<float>{-902, 7, 6}));

  // Months to years: the last of each run of twelve.
  auto monthly = Series(43200, At(2020, 1, 1), 25, "INST-VAL",
                        [](int32_t i) { return static_cast<float>(i); });
  monthly->ChangeInterval(525600);
  EXPECT_EQ(Values(*monthly), (std::vector<float>{-902, 12, 24}));
  EXPECT_EQ(monthly->Ending(), At(2022, 1, 1));
}

TEST(ChangeIntervalTest, SubDailyToCalendarGoesThroughDailyValues) {
  // Hourly, Sunday 5 to Sunday 12 January 2020. Day one has a single present 10; the other
  // days are all 1: a weekly average is the mean of daily means, 16 / 7.
  auto week = Series(60, At(2020, 1, 5), 24 * 7 + 1, "INST-VAL",
                     [](int32_t i) { return i <= 24 ? (i == 7 ? 10.0f : -901.0f) : 1.0f; });
  week->Aggregation(atUseAverage);
  week->ChangeInterval(10080);
  EXPECT_EQ(Values(*week), (std::vector<float>{-902, static_cast<float>(16.0 / 7)}));
  EXPECT_EQ(week->Interval(), 10080);

  auto month = Series(60, At(2021, 1, 1), 24 * 31 + 1, "PER-CUM", [](int32_t) { return 1.0f; });
  month->ChangeInterval(43200);
  EXPECT_EQ(Values(*month), (std::vector<float>{-902, 744}));

  auto year = Series(720, At(2019, 1, 1), 2 * 365 + 1, "PER-CUM", [](int32_t) { return 0.5f; });
  year->ChangeInterval(525600);
  EXPECT_EQ(Values(*year), (std::vector<float>{-902, 365}));
  EXPECT_EQ(year->Ending(), At(2020, 1, 1));
}

TEST(ChangeIntervalTest, FailuresLeaveTheSeriesAsItWas) {
  const auto ones = [](int32_t) { return 1.0f; };
  auto other_type = Series(60, At(2020, 1, 1), 25, "PER-AVER", ones);
  auto bad_aggregation = Series(60, At(2020, 1, 1), 25, "INST-VAL", ones);
  bad_aggregation->Aggregation(static_cast<AggregationTypes>(3));
  auto single = Series(60, At(2020, 1, 1), 1, "INST-VAL", ones);  // its one group has no values
  auto single_month = Series(43200, At(2020, 1, 1), 1, "INST-VAL", ones);
  auto staged = Series(60, At(2020, 1, 5), 24 * 7 + 1, "INST-VAL", ones);
  staged->Aggregation(static_cast<AggregationTypes>(-1));
  struct Case {
    std::shared_ptr<RegularTimeSeries> ts;
    int32_t target;
    int32_t number;
    std::string source;
    std::string description;
  } cases[] = {
      {other_type, 1440, 1002, "Varnock23", "Undefined time series type"},
      {bad_aggregation, 1440, 1005, "Varnock23", "Undefined aggregation type"},
      {staged, 10080, 1005, "Varnock23", "Undefined aggregation type"},
      {single, 1440, hostSubscriptOutOfRange, "Varnock23", "Subscript out of range"},
      {single_month, 525600, hostSubscriptOutOfRange, "Varnock23", "Subscript out of range"},
  };
  for (const Case& c : cases) {
    const Snapshot before = Snap(*c.ts);
    const AutomationError error = CaughtError([&] { c.ts->ChangeInterval(c.target); });
    EXPECT_EQ(error.Number(), c.number) << c.description;
    EXPECT_EQ(error.Source(), c.source);
    EXPECT_EQ(error.Description(), c.description);
    EXPECT_EQ(Snap(*c.ts), before) << c.description;
  }
  EXPECT_EQ(CaughtError([] {
              auto unset = std::make_shared<RegularTimeSeries>();
              unset->Interval(60);
              unset->ChangeInterval(1440);
            }).Description(),
            "Starting property not set");
}

TEST(ChangeIntervalTest, ThirtyTwoBitProductsOverflow) {
  // Twelve-hour values from 1 January 2000 to noon on 1 January 6100: more than 2^31 minutes.
  const Date start = At(2000, 1, 1);
  const int64_t days = Date::Diff(DateUnit::Day, start, At(6100, 1, 1));
  auto ts = Series(720, start, static_cast<int32_t>(2 * days + 2), "PER-CUM",
                   [](int32_t) { return 0.0f; });
  ASSERT_GT((ts->ValueCount() - 1) * int64_t{720}, int64_t{INT32_MAX});
  EXPECT_EQ(CaughtError([&] { ts->ChangeInterval(525600); }).Number(), hostOverflow);
  EXPECT_EQ(ts->Interval(), 720);
}

}  // namespace
}  // namespace varnock
