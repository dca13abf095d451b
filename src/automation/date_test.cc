#include "varnock/date.h"

#include <gtest/gtest.h>

#include "varnock/error.h"

namespace varnock {
namespace {

TEST(DateTest, SerialOriginAndPartsRoundTrip) {
  EXPECT_EQ(Date::Serial(1899, 12, 30).Serial(), 0.0);
  EXPECT_EQ(Date::Serial(1900, 1, 1).Serial(), 2.0);
  EXPECT_EQ(Date::Serial(2001, 3, 7).Serial(), 36957.0);
  const Date d = Date::Serial(2001, 3, 7, 9, 30, 15);
  EXPECT_EQ(d.Year(), 2001);
  EXPECT_EQ(d.Month(), 3);
  EXPECT_EQ(d.Day(), 7);
  EXPECT_EQ(d.Hour(), 9);
  EXPECT_EQ(d.Minute(), 30);
  EXPECT_EQ(d.Second(), 15);
  EXPECT_EQ(d.Weekday(), 4);  // a Wednesday
  EXPECT_EQ(Date::Serial(1899, 12, 31).Weekday(), 1);
}

TEST(DateTest, BeforeTheOriginTheTimeStillCountsForward) {
  const Date d = Date::Serial(1899, 12, 29, 6, 0, 0);
  EXPECT_DOUBLE_EQ(d.Serial(), -1.25);
  EXPECT_EQ(d.Day(), 29);
  EXPECT_EQ(d.Hour(), 6);
  EXPECT_EQ(d.Add(DateUnit::Hour, 24).Day(), 30);
  EXPECT_DOUBLE_EQ(d.Add(DateUnit::Hour, 24).Serial(), 0.25);
}

TEST(DateTest, PartsOutsideTheirRangesCarry) {
  EXPECT_EQ(Date::Serial(2001, 13, 1), Date::Serial(2002, 1, 1));
  EXPECT_EQ(Date::Serial(2001, 0, 1), Date::Serial(2000, 12, 1));
  EXPECT_EQ(Date::Serial(2001, 3, 0), Date::Serial(2001, 2, 28));
  EXPECT_EQ(Date::Serial(2000, 2, 30), Date::Serial(2000, 3, 1));
  EXPECT_EQ(Date::Serial(2001, 1, 1, 25, 0, 0), Date::Serial(2001, 1, 2, 1, 0, 0));
  EXPECT_EQ(Date::Serial(2001, 1, 1, 0, -1, 0), Date::Serial(2000, 12, 31, 23, 59, 0));
  EXPECT_EQ(Date::Serial(29, 1, 1).Year(), 2029);
  EXPECT_EQ(Date::Serial(30, 1, 1).Year(), 1930);
  EXPECT_FALSE(Date::FromParts(10000, 1, 1).has_value());
  EXPECT_THROW(Date::Serial(10000, 1, 1), AutomationError);
}

TEST(DateTest, AddKeepsTheDayOrCutsToMonthEnd) {
  const Date jan31 = Date::Serial(2001, 1, 31, 12, 0, 0);
  EXPECT_EQ(jan31.Add(DateUnit::Month, 1), Date::Serial(2001, 2, 28, 12, 0, 0));
  EXPECT_EQ(Date::Serial(2000, 1, 31).Add(DateUnit::Month, 1), Date::Serial(2000, 2, 29));
  EXPECT_EQ(Date::Serial(2000, 2, 29).Add(DateUnit::Year, 1), Date::Serial(2001, 2, 28));
  EXPECT_EQ(jan31.Add(DateUnit::Month, -2), Date::Serial(2000, 11, 30, 12, 0, 0));
  EXPECT_EQ(jan31.Add(DateUnit::Day, 1), Date::Serial(2001, 2, 1, 12, 0, 0));
  EXPECT_EQ(jan31.Add(DateUnit::Second, 43200), Date::Serial(2001, 2, 1));
  EXPECT_EQ(jan31.Add(DateUnit::Quarter, 1), Date::Serial(2001, 4, 30, 12, 0, 0));
  EXPECT_EQ(jan31.Add(DateUnit::Week, -1), Date::Serial(2001, 1, 24, 12, 0, 0));
}

TEST(DateTest, DiffCountsBoundaries) {
  const Date a = Date::Serial(2000, 12, 31, 23, 59, 0);
  const Date b = Date::Serial(2001, 1, 1, 0, 1, 0);
  EXPECT_EQ(Date::Diff(DateUnit::Year, a, b), 1);
  EXPECT_EQ(Date::Diff(DateUnit::Month, a, b), 1);
  EXPECT_EQ(Date::Diff(DateUnit::Day, a, b), 1);
  EXPECT_EQ(Date::Diff(DateUnit::Minute, a, b), 2);
  EXPECT_EQ(Date::Diff(DateUnit::Month, b, a), -1);
  // 6 Jan 2001 was a Saturday, 7 Jan a Sunday: one week boundary between them.
  EXPECT_EQ(Date::Diff(DateUnit::Week, Date::Serial(2001, 1, 6), Date::Serial(2001, 1, 7)), 1);
  EXPECT_EQ(Date::Diff(DateUnit::Week, Date::Serial(2001, 1, 7), Date::Serial(2001, 1, 13)), 0);
  EXPECT_EQ(Date::Diff(DateUnit::Year, Date::Serial(2001, 1, 1), Date::Serial(2001, 12, 31)), 0);
}

TEST(DateTest, TextForms) {
  EXPECT_EQ(Date::Serial(2001, 3, 7).ToString(), "3/7/2001");
  EXPECT_EQ(Date::Serial(2001, 3, 7, 9, 30, 0).ToString(), "3/7/2001 9:30:00 AM");
  EXPECT_EQ(Date::Serial(2001, 3, 7, 0, 0, 1).ToString(), "3/7/2001 12:00:01 AM");
  EXPECT_EQ(Date::Serial(2001, 3, 7, 12, 5, 0).ToString(), "3/7/2001 12:05:00 PM");
  EXPECT_EQ(Date(0.75).ToString(), "6:00:00 PM");
  EXPECT_EQ(Date::Serial(2001, 3, 7, 9, 5, 2).Format("mm/dd/yyyy hh:nn:ss"), "03/07/2001 09:05:02");
}

TEST(DateTest, ParsesTheTextsTheLibraryMakes) {
  const Date mar7 = Date::Serial(2001, 3, 7);
  for (const char* text : {"3/7/2001", "03/07/2001", "3-7-2001", "7 Mar 2001", "07MAR2001",
                           "March 7, 2001", "Wednesday, March 7, 2001", "2001-03-07", "3/7/01"}) {
    auto parsed = Date::Parse(text);
    ASSERT_TRUE(parsed.has_value()) << text;
    EXPECT_EQ(*parsed, mar7) << text;
  }
  EXPECT_EQ(*Date::Parse("3/7/2001 9:30:00 PM"), Date::Serial(2001, 3, 7, 21, 30, 0));
  EXPECT_EQ(*Date::Parse("03/07/2001 12:00:00 AM"), mar7);
  EXPECT_EQ(*Date::Parse("2001-03-07T09:30:00"), Date::Serial(2001, 3, 7, 9, 30, 0));
  EXPECT_EQ(*Date::Parse("9:30:00 AM"), Date(9.5 / 24));
  EXPECT_EQ(*Date::Parse("March 2001"), Date::Serial(2001, 3, 1));
  for (const char* text : {"", "   ", "2/30/2001", "13/1/2001", "7 Smarch 2001", "3/7/2001 25:00",
                           "1/2/3/4/5", "3/7/2001 9:30:00 XM", "12345678901"}) {
    EXPECT_FALSE(Date::Parse(text).has_value()) << text;
  }
  EXPECT_THROW(Date::FromText("not a date"), AutomationError);
}

TEST(DateTest, LeapYearsAndMonthLengths) {
  EXPECT_TRUE(IsLeapYear(2000));
  EXPECT_FALSE(IsLeapYear(1900));
  EXPECT_TRUE(IsLeapYear(2004));
  EXPECT_EQ(DaysInMonth(2100, 2), 28);
  EXPECT_EQ(DaysInMonth(2400, 2), 29);
  EXPECT_EQ(DaysInMonth(2001, 4), 30);
}

}  // namespace
}  // namespace varnock
