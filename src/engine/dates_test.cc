#include "engine/dates.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace varnock::engine {
namespace {

constexpr int32_t k7Mar2001 = 36956;
constexpr int32_t k2Jun1985 = 31199;

int32_t Julian(std::string_view text, int32_t current_year = 2024) {
  int32_t julian = 0;
  EXPECT_EQ(DateToJulian(text, current_year, &julian), 0) << "rejected: " << text;
  return julian;
}

void ExpectRejected(std::string_view text) {
  int32_t julian = 12345;
  EXPECT_EQ(DateToJulian(text, 2024, &julian), -1) << "accepted: " << text;
  EXPECT_EQ(julian, kUndefinedJulian) << text;
}

std::string Styled(int32_t julian, int32_t style, std::size_t width = 20) {
  std::string out(width, '#');
  const int32_t n = JulianToDate(julian, style, out);
  EXPECT_EQ(out.find_last_not_of(' ') + 1, static_cast<std::size_t>(n)) << style;
  return out.substr(0, static_cast<std::size_t>(n));
}

TEST(HecJulian, AnchorsAndCalendarRules) {
  int32_t julian = 0;
  ASSERT_TRUE(YmdToJulian(1900, 1, 1, &julian));
  EXPECT_EQ(julian, 1);
  ASSERT_TRUE(YmdToJulian(1899, 12, 31, &julian));
  EXPECT_EQ(julian, 0);
  ASSERT_TRUE(YmdToJulian(2000, 1, 1, &julian));
  EXPECT_EQ(julian, 36525);
  // 1900 and 2100 are not leap years, 2000 is: day 29 February carries into March.
  for (int year : {1900, 2100}) {
    int32_t feb29 = 0, mar1 = 0;
    ASSERT_TRUE(YmdToJulian(year, 2, 29, &feb29));
    ASSERT_TRUE(YmdToJulian(year, 3, 1, &mar1));
    EXPECT_EQ(feb29, mar1) << year;
  }
  EXPECT_EQ(JulianToYmd(36584).month, 2);  // 29 Feb 2000
  EXPECT_EQ(JulianToYmd(36584).day, 29);
  // Month 13 and day 0 carry arithmetically.
  ASSERT_TRUE(YmdToJulian(2000, 13, 0, &julian));
  EXPECT_EQ(julian, 36525 + 365);
  EXPECT_FALSE(YmdToJulian(6'000'000, 1, 1, &julian));
  EXPECT_FALSE(YmdToJulian(INT64_MAX, INT64_MIN, INT64_MAX, &julian));
}

TEST(HecJulian, RoundTripsEveryDayFrom1900To2199AndAtTheExtremes) {
  int32_t first = 0, last = 0;
  ASSERT_TRUE(YmdToJulian(1900, 1, 1, &first));
  ASSERT_TRUE(YmdToJulian(2199, 12, 31, &last));
  CivilDate previous = JulianToYmd(first - 1);
  for (int32_t j = first; j <= last; ++j) {
    const CivilDate d = JulianToYmd(j);
    const bool next_day =
        d.year == previous.year && d.month == previous.month && d.day == previous.day + 1;
    const bool next_month =
        d.day == 1 && ((d.year == previous.year && d.month == previous.month + 1) ||
                       (d.year == previous.year + 1 && d.month == 1));
    ASSERT_TRUE(next_day || next_month) << j;
    int32_t back = 0;
    ASSERT_TRUE(YmdToJulian(d.year, d.month, d.day, &back));
    ASSERT_EQ(back, j);
    previous = d;
  }
  for (int32_t j : {INT32_MIN, INT32_MIN + 1, -693960, 2958465, INT32_MAX}) {
    const CivilDate d = JulianToYmd(j);
    int32_t back = 0;
    ASSERT_TRUE(YmdToJulian(d.year, d.month, d.day, &back)) << j;
    EXPECT_EQ(back, j);
  }
}

TEST(DatJul, NumericForm) {
  for (const char* text :
       {"3/7/2001", "03/07/2001", "3-7-01", "3/ 7/2001", "3/7-2001", "  3/7/2001  ", "+3/7/2001"}) {
    EXPECT_EQ(Julian(text), k7Mar2001) << text;
  }
  EXPECT_EQ(Julian("3/7/85"), 67637);     // two-digit years are 20xx
  EXPECT_EQ(Julian("2/31/2001"), 36952);  // day not checked against the month
  EXPECT_EQ(Julian("3/7", 2001), k7Mar2001);
  EXPECT_EQ(Julian("3/7/", 2001), k7Mar2001);
  EXPECT_EQ(Julian("4/31", 2001), Julian("5/1/2001"));
  for (const char* text :
       {"2001-03-07", "07-MAR-2001", "3/7/2001 9:30:00 AM", "13/7/2001", "0/7/2001", "3/32/2001",
        "3/0/2001", "/7/2001", "3//2001", "3/7/20/01", "3/7/2-1", "3/7/99999999999999999999"}) {
    ExpectRejected(text);
  }
}

TEST(DatJul, MonthNameForm) {
  for (const char* text :
       {"07MAR2001", "7MAR01", "7 Mar 2001", "March 7, 2001", "Saturday, March 7, 2001", "7mar2001",
        "7\tMAR\x01"
        "2001"}) {
    EXPECT_EQ(Julian(text), k7Mar2001) << text;
  }
  EXPECT_EQ(Julian("MARCH 2001"), 36950);
  EXPECT_EQ(Julian("March 21"), 44255);  // 1 March 2021: the trailing digits are the year
  EXPECT_EQ(Julian("7 March", 2001), k7Mar2001);
  EXPECT_EQ(Julian("DEC JAN 2001"), Julian("1/1/2001"));  // months are tried in calendar order
  for (const char* text : {"07.03.2001", "2001", "March 7", "123MAR2001", "MAR012001", "00MAR2001",
                           "32MAR2001", "7 Mar 2 0 0 1"}) {
    ExpectRejected(text);
  }
}

TEST(DatJul, LengthLimits) {
  ExpectRejected("");
  ExpectRejected("          ");
  ExpectRejected("3/");
  EXPECT_EQ(Julian("3/7"), Julian("3/7/2024"));
  // 40 significant characters at most; blanks around them do not count.
  const std::string forty = "Saturday," + std::string(18, ' ') + "March 7, 2001";
  ASSERT_EQ(forty.size(), 40u);
  EXPECT_EQ(Julian("   " + forty + "   "), k7Mar2001);
  ExpectRejected("X" + forty);
}

TEST(DatJul, MissingYearFollowsTheClock) {
  int32_t julian = 0;
  ASSERT_EQ(DateToJulian("1/1", &julian), 0);
  EXPECT_EQ(JulianToYmd(julian).year, CurrentYear());
}

TEST(JulDat, StyleTable) {
  struct Case {
    int32_t style;
    const char* june;
    const char* march;
  };
  const Case cases[] = {
      {0, "June 2, 1985", "March 7, 2001"},
      {1, "Jun 2, 1985", "Mar 7, 2001"},
      {2, "2 June 1985", "7 March 2001"},
      {3, "June 1985", "March 2001"},
      {4, "02Jun1985", "07Mar2001"},
      {5, "2Jun1985", "7Mar2001"},
      {6, "Jun1985", "Mar2001"},
      {7, "02 Jun 1985", "07 Mar 2001"},
      {8, "2 Jun 1985", "7 Mar 2001"},
      {9, "Jun 1985", "Mar 2001"},
      {10, "June 2, 85", "March 7, 01"},
      {14, "02Jun85", "07Mar01"},
      {18, "2 Jun 85", "7 Mar 01"},
      {28, "2 Jun 85", "7 Mar 01"},
      {100, "JUNE 2, 1985", "MARCH 7, 2001"},
      {104, "02JUN1985", "07MAR2001"},
      {108, "2 JUN 1985", "7 MAR 2001"},
      {114, "02JUN85", "07MAR01"},
      {-1, "6/2/85", "3/7/01"},
      {-2, "6-2-85", "3-7-01"},
      {-11, "06/02/85", "03/07/01"},
      {-12, "06-02-85", "03-07-01"},
      {-13, "06/02/85", "03/07/01"},
      {-3, "6/2/85", "3/7/01"},
      {-10, "6/2/85", "3/7/01"},
      {INT32_MIN, "06/02/85", "03/07/01"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Styled(k2Jun1985, c.style), c.june) << c.style;
    EXPECT_EQ(Styled(k7Mar2001, c.style), c.march) << c.style;
  }
  EXPECT_EQ(Styled(k7Mar2001 + 10, 8), "17 Mar 2001");
  EXPECT_EQ(Styled(36525, -1), "1/1/00");
}

TEST(JulDat, ShortBuffersAndUnconvertibleDays) {
  EXPECT_EQ(Styled(k7Mar2001, 0, 5), "March");
  EXPECT_EQ(Styled(k7Mar2001, 0, 0), "");
  EXPECT_EQ(Styled(2958464, 104), "31DEC9999");
  EXPECT_EQ(Styled(-693960, 104), "01JAN0000");
  for (int32_t julian : {2958465, -693961, INT32_MIN, INT32_MAX}) {
    std::string out(10, '#');
    EXPECT_EQ(JulianToDate(julian, 104, out), 1) << julian;
    EXPECT_EQ(out, std::string(10, ' '));
  }
}

TEST(JulDat, StandardStylesReadBackThroughDatJul) {
  int32_t last = 0;
  ASSERT_TRUE(YmdToJulian(2199, 12, 31, &last));
  for (int32_t j = 1; j <= last; ++j) {
    for (int32_t style : {104, 8, 0, 7}) {
      char text[20];
      const int32_t n = JulianToDate(j, style, text);
      int32_t back = 0;
      ASSERT_EQ(DateToJulian({text, static_cast<std::size_t>(n)}, 2000, &back), 0) << j;
      ASSERT_EQ(back, j) << std::string_view(text, static_cast<std::size_t>(n));
    }
  }
}

TEST(DatCll, MinutesLandIn1To1440) {
  struct Case {
    int32_t julian, minutes, want_julian, want_minutes;
  };
  const Case cases[] = {
      {100, 0, 99, 1440},  {5, 2880, 6, 1440}, {100, -1, 99, 1439},    {100, 1440, 100, 1440},
      {100, 1441, 101, 1}, {100, 1, 100, 1},   {100, -1440, 98, 1440}, {100, -1441, 98, 1439},
  };
  for (const Case& c : cases) {
    const DayMinute r = NormaliseDayMinutes(c.julian, c.minutes);
    EXPECT_EQ(r.julian, c.want_julian) << c.julian << " " << c.minutes;
    EXPECT_EQ(r.minutes, c.want_minutes) << c.julian << " " << c.minutes;
  }
  for (int32_t minutes : {INT32_MIN, INT32_MIN + 1, INT32_MAX, INT32_MAX - 1439}) {
    const DayMinute r = NormaliseDayMinutes(0, minutes);
    EXPECT_GE(r.minutes, 1);
    EXPECT_LE(r.minutes, 1440);
    EXPECT_EQ(int64_t{r.julian} * 1440 + r.minutes, minutes);
  }
  EXPECT_EQ(NormaliseDayMinutes(INT32_MAX, 2880).julian, INT32_MIN);  // wraps, no overflow trap
}

}  // namespace
}  // namespace varnock::engine
