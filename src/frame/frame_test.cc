#include <fcntl.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include "tests/support/caught_error.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock {
namespace {

using testing::CaughtError;

TEST(FrameDatesTest, EveryDayFrom1900To2199SurvivesTheRoundTrip) {
  const Date first = Date::Serial(1900, 1, 1);
  const Date last = Date::Serial(2199, 12, 31);
  std::string date_text, time_text;
  for (double serial = first.Serial(); serial <= last.Serial(); ++serial) {
    DateToHecText(Variant(Date(serial)), date_text, time_text);
    const int32_t julian = hecDatJul(date_text);
    ASSERT_EQ(julian, static_cast<int32_t>(serial) - 1) << date_text;
    const Date back = Date::FromText(hecJulDat(julian, 8));
    ASSERT_EQ(back.Serial(), serial) << date_text;
  }
}

TEST(FrameDatesTest, StartTextsAndHecTimes) {
  std::string date_text, time_text;
  DateToHecText(Variant(Date::Serial(2001, 3, 7, 9, 30, 59)), date_text, time_text);
  EXPECT_EQ(date_text, "3/7/2001");
  EXPECT_EQ(time_text, "0930");
  DateToHecText(Variant(Date::Serial(2001, 3, 7)), date_text, time_text);
  EXPECT_EQ(time_text, "0000");
  DateToHecText(Variant("not a date"), date_text, time_text);
  EXPECT_EQ(date_text, "");
  EXPECT_EQ(time_text, "");
  DateToHecText(Variant("3/7/2001 6:15:00 PM"), date_text, time_text);
  EXPECT_EQ(time_text, "1815");

  const int32_t julian = hecDatJul("7 Mar 2001");
  EXPECT_EQ(hecJulDat(julian, 8), "7 Mar 2001");
  EXPECT_EQ(hecJulDat(julian, 104), "07MAR2001");
  EXPECT_EQ(HecTimeToDate(julian, 1440), Date::Serial(2001, 3, 8));
  EXPECT_EQ(HecTimeToDate(julian, 0), Date::Serial(2001, 3, 7));
  EXPECT_EQ(HecTimeToDate(julian, 570), Date::Serial(2001, 3, 7, 9, 30));
  EXPECT_EQ(HecTimeToDate(julian, -1), Date::Serial(2001, 3, 6, 23, 59));
  int32_t day = 0, minute = 0;
  hecDatCll(5, 2880, day, minute);
  EXPECT_EQ(day, 6);
  EXPECT_EQ(minute, 1440);
}

TEST(FrameDatesTest, BadDateTextRaises8196) {
  const AutomationError error =
      CaughtError([] { hecDatJul("this is not any kind of date at all, really"); });
  EXPECT_EQ(error.Number(), 8196);
  EXPECT_EQ(error.Source(), "hecDatJul");
  EXPECT_EQ(error.Description(), "Bad date: this is not any kind of date a");
  EXPECT_EQ(CaughtError([] { hecDatJul(""); }).Number(), 8196);
}

TEST(FrameOptionsTest, InquiryKeywordsAreChecked) {
  FileTable table{};
  hecZset("mlev", "", 7);
  EXPECT_EQ(hecZinqir(table, " mlev "), "7");
  hecZset("MLEV", "", 1);
  const AutomationError error = CaughtError([&] { hecZinqir(table, "VERSION"); });
  EXPECT_EQ(error.Number(), 5009);
  EXPECT_EQ(error.Source(), "");
  EXPECT_EQ(error.Description(), "Error: Invalid Inqir -- VERSION");
  EXPECT_EQ(CaughtError([&] { hecZinqir(table, "verb"); }).Description(),
            "Error: Invalid Inqir -- verb");
}

TEST(FrameOptionsTest, KeywordTablesKeepTheirBlanks) {
  EXPECT_EQ(SettingKeywords().size(), 41u);
  EXPECT_EQ(InquiryKeywords().size(), 35u);
  EXPECT_STREQ(SettingKeywords()[10].keyword, "MAP ");
  EXPECT_STREQ(SettingKeywords()[7].keyword, "TOL");
  EXPECT_STREQ(InquiryKeywords()[3].description, " Data precision of last record read");
  EXPECT_EQ(CheckInquiryKeyword(" tag"), "TAG");
}

// The message file goes to the first of twenty names that is not locked by someone else.
TEST(FrameMessageFileTest, NumberedNamesInTheTemporaryFolder) {
  const auto folder =
      std::filesystem::temp_directory_path() / ("varnock_msg_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const char* old_tmpdir = std::getenv("TMPDIR");
  const std::string saved = old_tmpdir ? old_tmpdir : "";
  ::setenv("TMPDIR", folder.c_str(), 1);
  PurgeMessages();

  OpenMessageFile();
  EXPECT_EQ(MessageFileName(), folder.string() + "//~HECDSS_messages_0.txt");
  EXPECT_TRUE(std::filesystem::exists(folder / "~HECDSS_messages_0.txt"));
  PurgeMessages();
  EXPECT_EQ(MessageFileName(), "");
  EXPECT_FALSE(std::filesystem::exists(folder / "~HECDSS_messages_0.txt"));

  // Another holder locks names 0..19: no error, and the last name tried is kept.
  std::vector<int> held;
  for (int n = 0; n < 20; ++n) {
    const auto name = folder / ("~HECDSS_messages_" + std::to_string(n) + ".txt");
    const int fd = ::open(name.c_str(), O_RDWR | O_CREAT, 0644);
    ASSERT_GE(fd, 0);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
    held.push_back(fd);
  }
  OpenMessageFile();
  EXPECT_EQ(MessageFileName(), folder.string() + "//~HECDSS_messages_19.txt");
  ::close(held[3]);
  PurgeMessages();  // deletes name 19, which we hold: the purge ignores what it cannot do
  OpenMessageFile();
  EXPECT_EQ(MessageFileName(), folder.string() + "//~HECDSS_messages_3.txt");
  PurgeMessages();
  for (size_t i = 0; i < held.size(); ++i) {
    if (i != 3) ::close(held[i]);
  }
  if (old_tmpdir) {
    ::setenv("TMPDIR", saved.c_str(), 1);
  } else {
    ::unsetenv("TMPDIR");
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace varnock
