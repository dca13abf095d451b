#include "engine/options.h"

#include <gtest/gtest.h>

#include <string>

#include "engine/heclib_abi.h"

namespace varnock::engine {
namespace {

constexpr int32_t kUnset = -903;  // what the frame presets the number to

class OptionsTest : public ::testing::Test {
 protected:
  void TearDown() override {
    ResetOptions();
    SetLastRecordInfo({});
    SetFileInquiryHook(nullptr);
  }

  static void Set(std::string_view keyword, std::string_view text, int32_t number = 0) {
    ZSET_(keyword.data(), static_cast<int32_t>(keyword.size()), text.data(),
          static_cast<int32_t>(text.size()), &number);
  }

  struct Answer {
    std::string text;
    int32_t number;
  };
  Answer Ask(std::string_view keyword, std::size_t width = 12, int32_t number = kUnset) {
    std::string text(width, '#');
    ZINQIR_(table_, keyword.data(), static_cast<int32_t>(keyword.size()), text.data(),
            static_cast<int32_t>(text.size()), &number);
    return {text, number};
  }
  static std::string Padded(std::string_view text, std::size_t width = 12) {
    std::string out(text);
    out.resize(width, ' ');
    return out;
  }

  int32_t table_[600] = {};
};

TEST_F(OptionsTest, LibraryInquiriesAndDefaults) {
  EXPECT_EQ(Ask("MLEV").number, 4);
  EXPECT_EQ(Ask("MLEV").text, Padded(""));
  EXPECT_EQ(Ask("MUNI").number, 6);
  EXPECT_EQ(Ask("KSTA").number, -1);
  EXPECT_EQ(Ask("VERS").number, 6);
  EXPECT_EQ(Ask("VERS").text, Padded("7-JA"));
  EXPECT_EQ(Ask("ABOR").number, 1);
  EXPECT_EQ(Ask("ABOR").text, Padded("ON"));
  EXPECT_EQ(Ask("80CO").text, Padded("OFF"));
  EXPECT_EQ(Ask("TYPE").text, Padded("UND"));
  EXPECT_EQ(Ask("ZONE").number, -1);
  EXPECT_EQ(CurrentOptions().program, "Undefi");
  // Keywords: case does not matter and only four characters count.
  EXPECT_EQ(Ask("mlevel").number, 4);
  EXPECT_EQ(Ask("Vers").text, Padded("7-JA"));
  // Unknown keyword: number -1 and blank text.
  EXPECT_EQ(Ask("XYZW").number, -1);
  EXPECT_EQ(Ask("XYZW").text, Padded(""));
  EXPECT_EQ(Ask("").number, -1);
}

TEST_F(OptionsTest, SettingsRoundTrip) {
  Set("MLEV", "", 20);
  EXPECT_EQ(Ask("MLVL").number, 15);
  Set("mlvl", "", -3);
  EXPECT_EQ(Ask("MLEV").number, 0);
  Set("MUNI", "", 13);
  EXPECT_EQ(Ask("MLFN").number, 13);
  Set("MLFN", "", 0);
  Set("MUNI", "", 200);
  EXPECT_EQ(Ask("MUNI").number, 13);

  Set("PROG", "MYPROGRAM");
  EXPECT_EQ(CurrentOptions().program, "MYPROG");
  Set("PRGN", "ab");
  EXPECT_EQ(CurrentOptions().program, "ab");

  // ON is compared exactly: lower case or a leading blank is not ON; trailing blanks are fine.
  Set("80CO", "ON    ");
  EXPECT_EQ(Ask("80CO").number, 1);
  Set("80CO", "on");
  EXPECT_EQ(Ask("80CO").number, 0);
  Set("QPRO", " ON");
  EXPECT_EQ(Ask("QPRO").number, 0);
  Set("QPRO", "ON");
  EXPECT_EQ(Ask("QPRO").text, Padded("ON"));
  Set("ABOR", "off");
  EXPECT_EQ(Ask("ABOR").number, 1);
  Set("ABOR", "OFFLINE");
  EXPECT_EQ(Ask("ABOR").number, 0);

  const Options before = CurrentOptions();
  Set("LONG", "ON", 1);  // not a HECLIB 6 option
  Set("NOPE", "ON", 1);
  EXPECT_EQ(CurrentOptions().message_unit, before.message_unit);
  EXPECT_EQ(CurrentOptions().message_level, before.message_level);
}

TEST_F(OptionsTest, OptionsForFilesAndRecords) {
  Set("TOL", "", 2);
  EXPECT_TRUE(CurrentOptions().tolerance_on);
  EXPECT_DOUBLE_EQ(CurrentOptions().tolerance, 0.006);
  ResetTolerance();
  EXPECT_FALSE(CurrentOptions().tolerance_on);
  Set("TOLE", "", 9);  // out of range: ignored
  EXPECT_FALSE(CurrentOptions().tolerance_on);

  Set("PREC", "", 3);
  EXPECT_EQ(CurrentOptions().precision, 3);
  Set("PREC", "OFF", 3);
  EXPECT_EQ(CurrentOptions().precision, 0);

  Set("READ", "ON");
  Set("PROT", "ON");
  Set("TABL", "STABLE");
  Set("EXCL", "", 1);
  Set("SIZE", "LARGE");
  ResetOpenOptions();
  const Options after = CurrentOptions();
  EXPECT_FALSE(after.read_only);
  EXPECT_FALSE(after.stable_table);
  EXPECT_FALSE(after.exclusive);
  EXPECT_EQ(after.size_text, "");
  EXPECT_TRUE(after.protect);  // not a one-shot option

  Set("TAG", "TAG123456");
  FixedText<8> tag;
  ASSERT_TRUE(TakeNextRecordTag(&tag));
  EXPECT_EQ(tag, "TAG12345");
  EXPECT_FALSE(TakeNextRecordTag(&tag));

  Set("ZONE", "GMT+0800-EXTRA", -480);
  EXPECT_EQ(CurrentOptions().zone_name, "GMT+0800-EXT");
  EXPECT_EQ(CurrentOptions().zone_offset, -480);
}

TEST_F(OptionsTest, LastRecordInquiries) {
  LastRecordInfo info;
  info.precision = 2;
  info.written_date.Assign("07MAR01");
  info.written_time.Assign("09:30:00");
  info.program.Assign("DSSVUE");
  info.version = 3;
  info.zone_offset = 0;
  info.zone_name.Assign("GMT");
  info.quality_flag = 1;
  info.tag.Assign("T1");
  info.type = 100;
  SetLastRecordInfo(info);
  SetLastRecordType(200);

  EXPECT_EQ(Ask("PREC").number, 2);
  EXPECT_EQ(Ask("RVER").number, 3);
  EXPECT_EQ(Ask("QUAL").number, 1);
  EXPECT_EQ(Ask("TYPE").number, 200);
  EXPECT_EQ(Ask("TYPE").text, Padded("PD "));
  EXPECT_EQ(Ask("ZONE").number, 0);
  EXPECT_EQ(Ask("ZONE").text, Padded("GMT"));
  // Text inquiries leave the number alone, so the frame's -903 survives.
  const Answer date = Ask("RDAT");
  EXPECT_EQ(date.text, Padded("07MAR01"));
  EXPECT_EQ(date.number, kUnset);
  EXPECT_EQ(Ask("RTIM").text, Padded("09:30:00"));
  EXPECT_EQ(Ask("PROG").text, Padded("DSSVUE"));
  EXPECT_EQ(Ask("TAG").text, Padded("T1"));
  EXPECT_EQ(Ask("RTIM", 4).text, "09:3");
  EXPECT_EQ(Ask("RTIM", 0).number, kUnset);
}

// Stands in for the file layer: answers NREC and records what CLEA was given.
int32_t g_cleared_to = 0;
std::string g_cleared_text;
bool FakeFileLayer(int32_t*, std::string_view keyword, std::string_view text_in, int32_t number_in,
                   InquiryAnswer* answer) {
  if (keyword == "NREC") {
    answer->has_number = true;
    answer->number = 42;
    return true;
  }
  if (keyword == "NAME") {
    answer->text.Assign("/tmp/a.dss");
    return true;
  }
  if (keyword == "CLEA") {
    g_cleared_to = number_in;
    g_cleared_text.assign(text_in);
    return true;
  }
  return false;
}

TEST_F(OptionsTest, FileInquiriesGoToTheFileLayerOnlyWhileOpen) {
  // Closed table: numeric file inquiries give -1, text ones leave the number alone.
  for (const char* key : {"NREC", "UNIT", "FVER", "SIZE", "DEAD", "STAT", "READ", "MULT"}) {
    EXPECT_EQ(Ask(key).number, -1) << key;
    EXPECT_EQ(Ask(key).text, Padded("")) << key;
  }
  for (const char* key : {"NAME", "FDAT", "CLEA"}) {
    EXPECT_EQ(Ask(key).number, kUnset) << key;
    EXPECT_EQ(Ask(key).text, Padded("")) << key;
  }

  SetFileInquiryHook(&FakeFileLayer);
  EXPECT_EQ(Ask("NREC").number, -1);  // still closed
  table_[0] = kOpenTableMark;
  EXPECT_EQ(Ask("NREC").number, 42);
  EXPECT_EQ(Ask("NAME").text, Padded("/tmp/a.dss"));
  EXPECT_EQ(Ask("DELE").number, -1);  // the file layer does not know it
  EXPECT_EQ(Ask("MLEV").number, 4);   // never asked of the file layer
  std::string text = "why ";
  int32_t number = kUnset;
  ZINQIR_(table_, "CLEA", 4, text.data(), 4, &number);
  EXPECT_EQ(g_cleared_to, kUnset);
  EXPECT_EQ(g_cleared_text, "why ");
  EXPECT_EQ(text, "    ");
}

}  // namespace
}  // namespace varnock::engine
