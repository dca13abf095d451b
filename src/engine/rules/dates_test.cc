#include "engine/rules/dates.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace varnock::engine {
namespace {

constexpr int32_t k7Mar2001 = 36956;
constexpr int32_t k2Jun1985 = 31199;

int32_t Julian(std::string_view text, int32_t current_year = 2024) {
  int32_t julian = 0;
  if (DateToJulian(text, current_year, &julian) == 0) return julian;
  EXPECT_EQ(julian, kUndefinedJulian);
  return -1;
}

std::string Styled(int32_t julian, int32_t style, std::size_t width = 20) {
  std::string out(width, '#');
  const auto n = static_cast<std::size_t>(JulianToDate(julian, style, out));
  EXPECT_EQ(out.find_last_not_of(' ') + 1, n) << style;  // blank-padded after n
  return out.substr(0, n);
}

TEST(HecJulian, CalendarAnchorsAndRoundTrip) {
  int32_t j = 0;
  auto expect = [&](int32_t y, int32_t m, int32_t d, int32_t want) {
    EXPECT_TRUE(YmdToJulian(y, m, d, &j) && j == want) << y << "-" << m << "-" << d;
  };
  expect(1900, 1, 1, 1);
  expect(1899, 12, 31, 0);
  expect(2000, 1, 1, 36525);
  expect(2000, 13, 0, 36890);  // month and day carry
  expect(1900, 2, 29, 60);     // 1900 and 2100 have no 29 February
  expect(2100, 2, 29, 73109);
  EXPECT_FALSE(YmdToJulian(6'000'000, 1, 1, &j));
  EXPECT_FALSE(YmdToJulian(INT64_MAX, INT64_MIN, INT64_MAX, &j));

  // Every day of 1900..2199 follows the one before and converts back.
  int32_t last = 0;
  ASSERT_TRUE(YmdToJulian(2199, 12, 31, &last));
  CivilDate prev = JulianToYmd(0);
  for (j = 1; j <= last; ++j) {
    const CivilDate d = JulianToYmd(j);
    const bool next = (d.year == prev.year && d.month == prev.month && d.day == prev.day + 1) ||
                      (d.day == 1 && d.year * 12 + d.month == prev.year * 12 + prev.month + 1);
    int32_t back = 0;
    ASSERT_TRUE(next && YmdToJulian(d.year, d.month, d.day, &back) && back == j) << j;
    prev = d;
  }
  for (int32_t far : {INT32_MIN, -693960, 2958465, INT32_MAX}) {
    const CivilDate d = JulianToYmd(far);
    EXPECT_TRUE(YmdToJulian(d.year, d.month, d.day, &j) && j == far) << far;
  }
}

TEST(DatJul, AcceptedAndRejectedTexts) {
  const char* accepted[] = {
      "3/7/2001",   "03/07/2001",    "3-7-01",         "3/ 7/2001",
      "3/7-2001",   "  +3/7/2001  ", "07MAR2001",      "7MAR01",
      "7 Mar 2001", "March 7, 2001", "7\tmar\0012001", "Saturday, March 7, 2001",
  };
  for (const char* text : accepted)
    EXPECT_EQ(Julian(text), k7Mar2001) << text;
  EXPECT_EQ(Julian("3/7/85"), 67637);     // years below 100 are 20xx
  EXPECT_EQ(Julian("2/31/2001"), 36952);  // day not checked against the month
  EXPECT_EQ(Julian("MARCH 2001"), 36950);
  EXPECT_EQ(Julian("March 21"), 44255);  // 1 March 2021: trailing digits are the year
  EXPECT_EQ(Julian("DEC JAN 2001"), Julian("1/1/2001"));  // months tried in calendar order
  for (const char* text : {"3/7", "3/7/", "7 March"})
    EXPECT_EQ(Julian(text, 2001), k7Mar2001);
  EXPECT_EQ(Julian("4/31", 2001), Julian("5/1/2001"));
  int32_t julian = 0;
  ASSERT_EQ(DateToJulian("1/1", &julian), 0);
  EXPECT_EQ(JulianToYmd(julian).year, CurrentYear());

  // At most 40 significant characters; blanks around them do not count.
  const std::string forty = "Saturday," + std::string(18, ' ') + "March 7, 2001";
  EXPECT_EQ(Julian("   " + forty + "   "), k7Mar2001);
  EXPECT_EQ(Julian("X" + forty), -1);
  // clang-format off
  const char* rejected[] = {
      "2001-03-07", "07-MAR-2001", "3/7/2001 9:30:00 AM", "07.03.2001", "2001", "March 7",
      "13/7/2001", "0/7/2001", "3/32/2001", "/7/2001", "3//2001", "3/7/20/01", "123MAR2001",
      "MAR012001", "00MAR2001", "7 Mar 2 0 0 1", "", "          ", "3/",
      "3/7/99999999999999999999"};
  // clang-format on
  for (const char* text : rejected)
    EXPECT_EQ(Julian(text), -1) << text;
}

TEST(JulDat, StyleTable) {
  struct Case {
    int32_t style;
    const char* june;
    const char* march;
  };
  // clang-format off
  const Case cases[] = {
      {0, "June 2, 1985", "March 7, 2001"},     {1, "Jun 2, 1985", "Mar 7, 2001"},
      {2, "2 June 1985", "7 March 2001"},       {3, "June 1985", "March 2001"},
      {4, "02Jun1985", "07Mar2001"},            {5, "2Jun1985", "7Mar2001"},
      {6, "Jun1985", "Mar2001"},                {7, "02 Jun 1985", "07 Mar 2001"},
      {8, "2 Jun 1985", "7 Mar 2001"},          {9, "Jun 1985", "Mar 2001"},
      {10, "June 2, 85", "March 7, 01"},        {14, "02Jun85", "07Mar01"},
      {18, "2 Jun 85", "7 Mar 01"},             {28, "2 Jun 85", "7 Mar 01"},
      {100, "JUNE 2, 1985", "MARCH 7, 2001"},   {104, "02JUN1985", "07MAR2001"},
      {108, "2 JUN 1985", "7 MAR 2001"},        {114, "02JUN85", "07MAR01"},
      {-1, "6/2/85", "3/7/01"},                 {-2, "6-2-85", "3-7-01"},
      {-11, "06/02/85", "03/07/01"},            {-12, "06-02-85", "03-07-01"},
      {-13, "06/02/85", "03/07/01"},            {-10, "6/2/85", "3/7/01"},
      {INT32_MIN, "06/02/85", "03/07/01"}};
  // clang-format on
  for (const Case& c : cases) {
    EXPECT_EQ(Styled(k2Jun1985, c.style), c.june) << c.style;
    EXPECT_EQ(Styled(k7Mar2001, c.style), c.march) << c.style;
  }
  EXPECT_EQ(Styled(k7Mar2001 + 10, 8), "17 Mar 2001");
  EXPECT_EQ(Styled(36525, -1), "1/1/00");
  EXPECT_EQ(Styled(k7Mar2001, 0, 5), "March");  // NDATE capped at the buffer
  EXPECT_EQ(Styled(k7Mar2001, 0, 0), "");
  EXPECT_EQ(Styled(2958464, 104), "31DEC9999");
  EXPECT_EQ(Styled(-693960, 104), "01JAN0000");
  for (int32_t outside : {2958465, -693961, INT32_MIN, INT32_MAX}) {
    std::string out(10, '#');
    EXPECT_EQ(JulianToDate(outside, 104, out), 1) << outside;
    EXPECT_EQ(out, std::string(10, ' '));
  }
}

TEST(JulDat, StylesReadBackThroughDatJul) {
  int32_t last = 0;
  ASSERT_TRUE(YmdToJulian(2199, 12, 31, &last));
  for (int32_t j = 1; j <= last; ++j) {
    for (int32_t style : {104, 8, 0, 7}) {
      char text[20];
      const auto n = static_cast<std::size_t>(JulianToDate(j, style, text));
      ASSERT_EQ(Julian({text, n}), j) << std::string_view(text, n);
    }
  }
}

TEST(DatCll, MinutesLandIn1To1440) {
  const int32_t cases[][4] = {
      {100, 0, 99, 1440},     {5, 2880, 6, 1440},  {100, -1, 99, 1439},
      {100, 1440, 100, 1440}, {100, 1441, 101, 1}, {100, -1441, 98, 1439},
  };
  for (const auto& c : cases) {
    const DayMinute r = NormaliseDayMinutes(c[0], c[1]);
    EXPECT_TRUE(r.julian == c[2] && r.minutes == c[3]) << c[0] << " " << c[1];
  }
  for (int32_t minutes : {INT32_MIN, INT32_MAX, INT32_MAX - 1439}) {
    const DayMinute r = NormaliseDayMinutes(0, minutes);
    EXPECT_TRUE(r.minutes >= 1 && r.minutes <= 1440);
    EXPECT_EQ(int64_t{r.julian} * 1440 + r.minutes, minutes);
  }
  EXPECT_EQ(NormaliseDayMinutes(INT32_MAX, 2880).julian, INT32_MIN);  // wraps, never traps
}

}  // namespace
}  // namespace varnock::engine
