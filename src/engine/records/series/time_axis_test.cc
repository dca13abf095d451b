// Interval recognition, block sizes, slots and offsets against the values confirmed with HEC.
#include "engine/records/series/time_axis.h"

#include <gtest/gtest.h>

#include "engine/rules/dates.h"

namespace varnock::engine::series {
namespace {

int32_t Day(int y, int m, int d) {
  int32_t j = 0;
  YmdToJulian(y, m, d, &j);
  return j;
}
Instant At(int y, int m, int d, int hhmm) {
  return MakeInstant(Day(y, m, d), (hhmm / 100) * 3600 + (hhmm % 100) * 60);
}
const Interval& Iv(const char* e) {
  const Interval* iv = FindInterval(e);
  EXPECT_NE(iv, nullptr) << e;
  static const Interval kNone{};
  return iv != nullptr ? *iv : kNone;
}

TEST(SeriesTimeAxis, RecognisesHecAndDss6Spellings) {
  const std::pair<const char*, const char*> cases[] = {
      {"1HOUR", "1Hour"},           {"1hourly", "1Hour"},       {"15MIN", "15Minute"},
      {"1MIN", "1Minute"},          {"1MON", "1Month"},         {"10MIN", "10Minute"},
      {"SEMI-MONTH", "Semi-Month"}, {"tri-month", "Tri-Month"}, {"IR-MONTH", "IR-Month"},
      {"IR-CENTURY", "IR-Century"}, {"1Second", "1Second"},     {"1WEEK", "1Week"}};
  for (const auto& [input, name] : cases)
    EXPECT_EQ(Iv(input).name, name) << input;
  EXPECT_EQ(FindInterval("1HO"), nullptr);
  EXPECT_EQ(FindInterval("2DAYS"), nullptr);
  EXPECT_TRUE(Iv("IR-DAY").irregular);
  EXPECT_EQ(BlockDate(Day(2020, 1, 1)), "01Jan2020");
  EXPECT_EQ(Day(2020, 1, 1), 43830);
}

TEST(SeriesTimeAxis, PseudoRegularEPartsAreIrregularWithBlocksFromTheirInterval) {
  struct Case {
    const char* input;
    const char* name;
    BlockKind block;
  };
  const Case cases[] = {
      {"~1Day", "~1Day", BlockKind::kYear},
      {"~1DAY", "~1Day", BlockKind::kYear},
      {"~15MIN", "~15Minute", BlockKind::kDay},
      {"~20Minute", "~20Minute", BlockKind::kDay},
      {"~30MIN", "~30Minute", BlockKind::kMonth},
      {"~1hour", "~1Hour", BlockKind::kMonth},
      {"~6HOUR", "~6Hour", BlockKind::kYear},
      {"~1Week", "~1Week", BlockKind::kDecade},
      {"~Semi-Month", "~Semi-Month", BlockKind::kDecade},
      {"~1MON", "~1Month", BlockKind::kCentury},
      {"~1Year", "~1Year", BlockKind::kCentury},
      {"~1Second", "~1Second", BlockKind::kDay},
  };
  for (const Case& c : cases) {
    const Interval& iv = Iv(c.input);
    EXPECT_EQ(iv.name, c.name) << c.input;
    EXPECT_TRUE(iv.irregular) << c.input;
    EXPECT_EQ(iv.block, c.block) << c.input;
  }
  for (const char* bad : {"~", "~1Da", "~IR-Day", "~~1Day", "~2DAYS"})
    EXPECT_EQ(FindInterval(bad), nullptr) << bad;
}

TEST(SeriesTimeAxis, BlocksAndValuesPerBlock) {
  EXPECT_EQ(ValuesPerBlock(Iv("1Hour"), Day(2020, 2, 1)), 696);
  EXPECT_EQ(ValuesPerBlock(Iv("15Minute"), Day(2021, 2, 1)), 2688);
  EXPECT_EQ(ValuesPerBlock(Iv("1Day"), Day(2020, 1, 1)), 366);
  EXPECT_EQ(ValuesPerBlock(Iv("1Week"), Day(2020, 1, 1)), 521);
  EXPECT_EQ(ValuesPerBlock(Iv("Tri-Month"), Day(2020, 1, 1)), 360);
  EXPECT_EQ(ValuesPerBlock(Iv("1Year"), Day(2000, 1, 1)), 100);
  EXPECT_EQ(ValuesPerBlock(Iv("1Second"), Day(2000, 1, 1)), 86400);
  // Midnight belongs to the day (and block) before.
  EXPECT_EQ(BlockOf(BlockKind::kMonth, At(2020, 2, 1, 0)), Day(2020, 1, 1));
  EXPECT_EQ(BlockOf(BlockKind::kDecade, At(2027, 5, 5, 1200)), Day(2020, 1, 1));
  EXPECT_EQ(NextBlockStart(BlockKind::kCentury, Day(1900, 1, 1)), Day(2000, 1, 1));
}

TEST(SeriesTimeAxis, SlotsAsHecNumbersThem) {
  EXPECT_EQ(SlotOf(Iv("1Hour"), Day(2020, 1, 1), At(2020, 1, 2, 100)), 24);
  EXPECT_EQ(SlotOf(Iv("1Day"), Day(2021, 1, 1), At(2021, 3, 10, 2400)), 68);
  EXPECT_EQ(SlotOf(Iv("Tri-Month"), Day(2020, 1, 1), At(2021, 2, 20, 2400)), 40);
  EXPECT_EQ(SlotOf(Iv("Semi-Month"), Day(2020, 1, 1), At(2021, 2, 15, 2400)), 26);
  EXPECT_EQ(SlotOf(Iv("1Year"), Day(2000, 1, 1), At(2021, 12, 31, 2400)), 21);
  EXPECT_EQ(SlotOf(Iv("1Minute"), Day(2021, 12, 31), At(2021, 12, 31, 2359)), 1438);
  EXPECT_EQ(SlotOf(Iv("1Minute"), Day(2021, 12, 31), At(2021, 12, 31, 2400)), 1439);
  // Weekly: decades not starting on Sunday put the first two Saturdays in slot 0.
  EXPECT_EQ(SlotOf(Iv("1Week"), Day(2020, 1, 1), At(2020, 1, 4, 2400)), 0);
  EXPECT_EQ(SlotOf(Iv("1Week"), Day(2020, 1, 1), At(2020, 1, 11, 2400)), 0);
  EXPECT_EQ(SlotOf(Iv("1Week"), Day(2020, 1, 1), At(2020, 1, 18, 2400)), 1);
  // Calendar steps follow month lengths.
  const Interval& month = Iv("1Month");
  EXPECT_EQ(StepStandard(month, At(2020, 1, 31, 2400), 1), At(2020, 2, 29, 2400));
  EXPECT_EQ(FirstStandardTime(month, Day(2010, 1, 1)), At(2010, 1, 31, 2400));
  EXPECT_EQ(FirstStandardTime(Iv("1Week"), Day(2020, 1, 1)), At(2020, 1, 4, 2400));
}

TEST(SeriesTimeAxis, OffsetsAndReportedTimes) {
  struct Case {
    const char* e;
    Instant t;
    int32_t offset;
    Instant standard;
  };
  const Case cases[] = {
      {"1Day", At(2021, 3, 10, 800), 28800, At(2021, 3, 10, 2400)},
      {"1Hour", At(2020, 1, 31, 130), 1800, At(2020, 1, 31, 200)},
      {"1Hour", At(2020, 1, 31, 200), 0, At(2020, 1, 31, 200)},
      {"1Week", At(2020, 1, 5, 100), 3600, At(2020, 1, 11, 2400)},  // a Sunday
      {"1Month", At(2020, 3, 15, 1200), 1252800, At(2020, 3, 31, 2400)},
      {"1Month", At(2020, 2, 28, 800), 0, At(2020, 2, 29, 2400)},  // HEC's month-end zone
      {"Semi-Month", At(2020, 3, 20, 0), 4 * 86400, At(2020, 3, 31, 2400)},
      {"Tri-Month", At(2020, 3, 9, 800), 0, At(2020, 3, 10, 2400)},
      {"1Year", At(1995, 12, 31, 2400), 0, At(1995, 12, 31, 2400)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.e);
    const Standardised s = Standardise(Iv(c.e), c.t);
    EXPECT_EQ(s.offset, c.offset);
    EXPECT_EQ(s.standard, c.standard);
    if (c.offset != 0) {
      EXPECT_EQ(ReportedTime(Iv(c.e), s.standard, s.offset), c.t);
    }
  }
  // A window starting on the boundary reports the offset value of the slot it snapped to.
  EXPECT_EQ(ReportedTime(Iv("1Day"), Standardise(Iv("1Day"), At(2021, 3, 9, 0)).standard, 28800),
            At(2021, 3, 8, 800));
}

}  // namespace
}  // namespace varnock::engine::series
