#include "engine/heclib/options.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "engine/heclib/heclib_abi.h"

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
  // The answer as "number|text", text trimmed; the number is -903 when not assigned.
  std::string Ask(std::string_view keyword, int32_t width = 12) {
    std::string text(static_cast<std::size_t>(width), '#');
    int32_t number = kUnset;
    ZINQIR_(table_, keyword.data(), static_cast<int32_t>(keyword.size()), text.data(), width,
            &number);
    EXPECT_EQ(text.find('#'), std::string::npos);  // always assigned, blank-padded
    const std::size_t end = text.find_last_not_of(' ');
    return std::to_string(number) + "|" + text.substr(0, end + 1);
  }
  int32_t table_[600] = {};
};

TEST_F(OptionsTest, LibraryInquiries) {
  // clang-format off
  const std::pair<const char*, const char*> defaults[] = {
      {"MLEV", "4|"}, {"mlevel", "4|"}, {"MUNI", "6|"}, {"KSTA", "-1|"}, {"Vers", "6|7-JA"},
      {"ABOR", "1|ON"}, {"80CO", "0|OFF"}, {"QPRO", "0|OFF"}, {"TYPE", "0|UND"}, {"ZONE", "-1|"},
      {"XYZW", "-1|"}, {"", "-1|"}};
  // clang-format on
  for (auto [key, want] : defaults)
    EXPECT_EQ(Ask(key), want) << key;
  EXPECT_EQ(CurrentOptions().program, "Undefi");

  SetLastRecordInfo({.precision = 2,
                     .written_date = FixedText<7>("07MAR01"),
                     .written_time = FixedText<8>("09:30:00"),
                     .program = FixedText<6>("DSSVUE"),
                     .version = 3,
                     .zone_offset = 0,
                     .zone_name = FixedText<12>("GMT"),
                     .quality_flag = 1,
                     .tag = FixedText<8>("T1"),
                     .type = 100});
  SetLastRecordType(200);
  // Text inquiries leave the number alone, so the frame's -903 survives.
  // clang-format off
  const std::pair<const char*, const char*> last[] = {
      {"PREC", "2|"}, {"RVER", "3|"}, {"QUAL", "1|"}, {"TYPE", "200|PD"}, {"ZONE", "0|GMT"},
      {"RDAT", "-903|07MAR01"}, {"RTIM", "-903|09:30:00"}, {"PROG", "-903|DSSVUE"},
      {"TAG", "-903|T1"}};
  // clang-format on
  for (auto [key, want] : last)
    EXPECT_EQ(Ask(key), want) << key;
  EXPECT_EQ(Ask("RTIM", 4), "-903|09:3");
  EXPECT_EQ(Ask("RTIM", 0), "-903|");
}

TEST_F(OptionsTest, SettingsRoundTrip) {
  struct Step {
    const char* keyword;
    const char* text;
    int32_t number;
    const char* ask;
    const char* want;
  };
  // clang-format off
  const Step steps[] = {
      {"MLEV", "", 20, "MLVL", "15|"},      {"mlvl", "", -3, "MLEV", "0|"},
      {"MUNI", "", 13, "MLFN", "13|"},      {"MLFN", "", 0, "MUNI", "13|"},
      {"MUNI", "", 200, "MUNI", "13|"},     {"80CO", "ON    ", 0, "80CO", "1|ON"},
      {"80CO", "on", 0, "80CO", "0|OFF"},   {"QPRO", " ON", 0, "QPRO", "0|OFF"},
      {"QPRO", "ON", 0, "QPRO", "1|ON"},    {"ABOR", "off", 0, "ABOR", "1|ON"},
      {"ABOR", "OFFLINE", 0, "ABOR", "0|OFF"}, {"LONG", "ON", 9, "MLEV", "0|"},
      {"NOPE", "", 9, "MUNI", "13|"}};
  // clang-format on
  for (const Step& s : steps) {  // ON is compared exactly; unknown keywords change nothing
    Set(s.keyword, s.text, s.number);
    EXPECT_EQ(Ask(s.ask), s.want) << s.keyword << " " << s.text << " " << s.number;
  }

  Set("PROG", "MYPROGRAM");
  EXPECT_EQ(CurrentOptions().program, "MYPROG");
  Set("TOL", "", 2);
  EXPECT_DOUBLE_EQ(CurrentOptions().tolerance, 0.006);
  ResetTolerance();
  Set("TOLE", "", 9);  // out of range: ignored
  EXPECT_FALSE(CurrentOptions().tolerance_on);
  Set("PREC", "OFF", 3);
  EXPECT_EQ(CurrentOptions().precision, 0);
  Set("ZONE", "GMT+0800-EXTRA", -480);
  EXPECT_EQ(CurrentOptions().zone_name, "GMT+0800-EXT");

  Set("READ", "ON");
  Set("PROT", "ON");
  Set("TABL", "STABLE");
  Set("EXCL", "", 1);
  ResetOpenOptions();
  const Options after = CurrentOptions();
  EXPECT_FALSE(after.read_only || after.stable_table || after.exclusive);
  EXPECT_TRUE(after.protect);  // not a one-shot option

  Set("TAG", "TAG123456");
  FixedText<8> tag;
  ASSERT_TRUE(TakeNextRecordTag(&tag));
  EXPECT_EQ(tag, "TAG12345");
  EXPECT_FALSE(TakeNextRecordTag(&tag));
}

// Stands in for the file layer: knows NREC and NAME, and records what CLEA was given.
std::string g_cleared;
bool FakeFileLayer(int32_t*, std::string_view keyword, std::string_view text_in, int32_t number_in,
                   InquiryAnswer* answer) {
  if (keyword == "NREC") {
    answer->has_number = true;
    answer->number = 42;
  } else if (keyword == "NAME") {
    answer->text.Assign("/tmp/a.dss");
  } else if (keyword == "CLEA") {
    g_cleared = std::to_string(number_in) + "|" + std::string(text_in);
  } else {
    return false;
  }
  return true;
}

// ZDTYPE keeps HECLIB's 3-letter codes; catalogs name every kind as HEC's DSS-7 library does.
TEST(RecordTypeNames, ClassicCodesAndCatalogNames) {
  const std::tuple<int32_t, const char*, const char*> cases[] = {
      {20, "UND", "LOC"},   {100, "RTS", "RTS"},  {102, "UND", "RTPR"}, {107, "UND", "RTPD"},
      {112, "UND", "ITPR"}, {117, "UND", "ITPD"}, {200, "PD ", "PD"},   {310, "UND", "TT"},
      {0, "UND", "UDF"},    {106, "UND", "UDF"},  {999, "UND", "UDF"},
  };
  for (const auto& [type, classic, catalog] : cases) {
    EXPECT_EQ(RecordTypeName(type), classic) << type;
    EXPECT_EQ(RecordKindName(type), catalog) << type;
  }
}

TEST_F(OptionsTest, FileInquiriesGoToTheFileLayerOnlyWhileOpen) {
  for (const char* key : {"NREC", "UNIT", "FVER", "SIZE", "DEAD", "STAT", "READ", "MULT"}) {
    EXPECT_EQ(Ask(key), "-1|") << key;
  }
  for (const char* key : {"NAME", "FDAT", "CLEA"})
    EXPECT_EQ(Ask(key), "-903|") << key;

  SetFileInquiryHook(&FakeFileLayer);
  EXPECT_EQ(Ask("NREC"), "-1|");  // still closed
  table_[0] = kOpenTableMark;
  EXPECT_EQ(Ask("NREC"), "42|");
  EXPECT_EQ(Ask("NAME"), "-903|/tmp/a.dss");
  EXPECT_EQ(Ask("DELE"), "-1|");  // unknown to the file layer
  EXPECT_EQ(Ask("MLEV"), "4|");   // never asked of the file layer
  std::string text = "why ";
  int32_t number = 17;
  ZINQIR_(table_, "CLEA", 4, text.data(), 4, &number);
  EXPECT_EQ(g_cleared, "17|why ");
  EXPECT_EQ(text, "    ");
}

}  // namespace
}  // namespace varnock::engine
