// HECLIB's statuses and markers from the classic routines, on a memory file and through the
// C ABI with a file table.
#include "engine/records/series/classic.h"
#include "engine/records/series/series_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "engine/dss7/test_support.h"
#include "engine/heclib/heclib_abi.h"
#include "engine/heclib/options.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine::series {
namespace {

class SeriesClassic : public ::testing::Test {
 protected:
  void SetUp() override {
    dss7::Status st;
    file_ = dss7::testing::CreateMemory(dss7::MemoryFileIO::NewStorage(), {}, &st);
    ASSERT_EQ(st, dss7::Status::kOk);
  }
  int32_t Put(const std::vector<float>& v, const char* date, const char* time, int32_t plan = 0,
              const char* path = kPath) {
    return ClassicStoreRegular(testing::ForCall(Dss7SeriesFile(*file_)), path, date, time,
                               static_cast<int32_t>(v.size()), v.data(), "CFS", "INST-VAL", plan);
  }
  int32_t Get(const char* date, const char* time, int32_t n, std::vector<float>* out,
              const char* path = kPath) {
    out->assign(static_cast<size_t>(std::max(n, 0)), 0.0f);
    offset_ = -1;
    int32_t got = n;
    const int32_t status = ClassicReadRegular(testing::ForCall(Dss7SeriesFile(*file_)), path, date,
                                              time, &got, out->data(), units_, type_, &offset_);
    out->resize(static_cast<size_t>(got));
    return status;
  }
  static constexpr const char* kPath = "/A/B/FLOW//1DAY/F/";
  std::unique_ptr<dss7::DssFile> file_;
  char units_[8];
  char type_[8];
  int32_t offset_ = 0;
};

TEST(SeriesClassicTime, StartTimeText) {
  const std::pair<const char*, int32_t> good[] = {{"930", 570},   {"0975", 615}, {"24:00", 1440},
                                                  {"12.30", 750}, {"  0000", 0}, {"20010930", 570}};
  for (const auto& [text, minutes] : good) {
    int32_t m = -1;
    EXPECT_TRUE(ParseClockTime(text, &m)) << text;
    EXPECT_EQ(m, minutes) << text;
  }
  for (const char* bad : {"", "    ", "2401", "12a0", "9:30 AM", "12<00"}) {
    int32_t m = 0;
    EXPECT_FALSE(ParseClockTime(bad, &m)) << bad;
  }
}

TEST_F(SeriesClassic, RegularStatusesFollowHeclib6) {
  std::vector<float> v;
  EXPECT_EQ(Get("01JAN2021", "2400", 3, &v), 5);
  EXPECT_EQ(std::string(units_, 8), "        ");
  EXPECT_EQ(offset_, 0);
  EXPECT_EQ(v, (std::vector<float>(3, kClassicAbsent)));

  ASSERT_EQ(Put({1, 2, 3}, "01JAN2021", "0800"), 0);
  EXPECT_EQ(Get("01JAN2021", "0800", 3, &v), 0);
  EXPECT_EQ(v, (std::vector<float>{1, 2, 3}));
  EXPECT_EQ(offset_, 480);
  EXPECT_EQ(std::string(type_, 8), "INST-VAL");
  EXPECT_EQ(CurrentLastRecordInfo().type, 100);
  // Slots the block never wrote are -901 (1); the year before has no block (-902, 2).
  EXPECT_EQ(Get("01JAN2021", "0800", 5, &v), 1);
  EXPECT_EQ(v, (std::vector<float>{1, 2, 3, kClassicMissing, kClassicMissing}));
  EXPECT_EQ(Get("30DEC2020", "0800", 6, &v), 3);
  EXPECT_EQ(v, (std::vector<float>{kClassicAbsent, kClassicAbsent, 1, 2, 3, kClassicMissing}));
  EXPECT_EQ(Get("30DEC2020", "0800", 3, &v), 2);
  EXPECT_EQ(Get("10JAN2021", "0800", 2, &v), 4);
  // An absent year between two found ones (a -902 stored is kept as missing).
  ASSERT_EQ(Put({kClassicAbsent, 5}, "01JAN2023", "0800"), 0);
  EXPECT_EQ(Get("31DEC2021", "0800", 368, &v), 3);
  EXPECT_EQ(v.front(), kClassicMissing);
  EXPECT_EQ(std::count(v.begin(), v.end(), kClassicAbsent), 365);
  EXPECT_EQ(v[366], kClassicMissing);
  EXPECT_EQ(v.back(), 5);
  EXPECT_EQ(Get("01JAN2023", "0800", 1, &v), 4);
  // Blank date: the block the D part names, at most NVALS values.
  EXPECT_EQ(Get("", "", 400, &v, "/A/B/FLOW/01JAN2021/1DAY/F/"), 1);
  EXPECT_EQ(v.size(), 365u);
  EXPECT_EQ(Get(" ", "", 4, &v, "/A/B/FLOW/XX/1DAY/F/"), 24);

  EXPECT_EQ(Get("01JAN2021", "0800", 0, &v), 11);
  EXPECT_EQ(Get("01JAN2021", "0800", 1, &v, "/A/B/FLOW//1DY/F/"), 12);
  EXPECT_EQ(Get("01JAN2021", "0800", 1, &v, "/A/B/FLOW//IR-DAY/F/"), 12);
  EXPECT_EQ(Get("01JAN2021", "08A0", 1, &v), 15);
  EXPECT_EQ(Get("31FOO2021", "0800", 1, &v), 15);
  EXPECT_EQ(Get("01JAN2021", "0800", 1, &v, "A/B/FLOW//1DAY/F/"), 24);
  EXPECT_EQ(v.size(), 0u);

  EXPECT_EQ(Put({}, "01JAN2021", "0800"), 11);
  EXPECT_EQ(Put({1}, "01JAN2021", "0800", 0, "/A/B/FLOW//3DAY/F/"), 12);
  EXPECT_EQ(Put({1}, "2021-01-01", "0800"), 15);
  EXPECT_EQ(Put({1}, "01JAN2021", "0800", 0, "/A/B/C/"), 24);
  // A record of another kind where a block should be.
  const std::vector<int32_t> header = {0, 0, 0, 0, 0, 0};
  dss7::RecordData text;
  text.type = 300;
  text.areas[dss7::kInternalHeader] = header;
  ASSERT_EQ(file_->Store("/A/B/FLOW/01Jan2019/1Day/F/", text), dss7::Status::kOk);
  EXPECT_EQ(Get("01JAN2019", "2400", 2, &v), 20);
  EXPECT_EQ(Put({1}, "01JAN2019", "2400"), 511);
}

TEST_F(SeriesClassic, IrregularStatusesFollowHeclib6) {
  const char* path = "/A/B/FLOW//IR-MONTH/F/";
  const int32_t base = 44196;  // 01Jan2021
  const std::vector<int32_t> times = {60, 1440, 2000, 50000};
  const std::vector<float> values = {1, 2, -901, 4};
  ASSERT_EQ(ClassicStoreIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, times.data(),
                                  values.data(), 4, base, "FT", "INST", 0),
            0);
  std::vector<int32_t> t(8);
  std::vector<float> v(8);
  int32_t n = -1;
  int32_t bdate = -1;
  char units[8];
  char type[8];
  EXPECT_EQ(ClassicReadIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, base, 0, base + 40,
                                 0, t.data(), v.data(), 8, &n, &bdate, units, type),
            0);
  EXPECT_EQ(n, 4);
  EXPECT_EQ(bdate, base);
  EXPECT_EQ(std::vector<int32_t>(t.begin(), t.begin() + 4), times);
  EXPECT_EQ(v[2], -901.0f);
  EXPECT_EQ(std::string(units, 8), "FT      ");
  // Both ends inclusive; a buffer too small keeps the earliest values.
  EXPECT_EQ(ClassicReadIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, base, 1440,
                                 base + 1, 560, t.data(), v.data(), 8, &n, &bdate, units, type),
            0);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(ClassicReadIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, base, 0, base + 40,
                                 0, t.data(), v.data(), 2, &n, &bdate, units, type),
            1);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(ClassicReadIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, base + 5, 0,
                                 base + 6, 0, t.data(), v.data(), 8, &n, &bdate, units, type),
            3);
  EXPECT_EQ(ClassicReadIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, base + 100, 0,
                                 base + 101, 0, t.data(), v.data(), 8, &n, &bdate, units, type),
            4);
  EXPECT_EQ(bdate, 0);
  EXPECT_EQ(
      ClassicReadIrregular(testing::ForCall(Dss7SeriesFile(*file_)), "/A/B/FLOW//1DAY/F/", base, 0,
                           base, 1440, t.data(), v.data(), 8, &n, &bdate, units, type),
      24);

  const std::vector<int32_t> backwards = {100, 99};
  EXPECT_EQ(ClassicStoreIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, backwards.data(),
                                  values.data(), 2, base, "", "", 0),
            30);
  EXPECT_EQ(ClassicStoreIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, times.data(),
                                  values.data(), 0, base, "", "", 0),
            4);
  EXPECT_EQ(ClassicStoreIrregular(testing::ForCall(Dss7SeriesFile(*file_)), path, times.data(),
                                  values.data(), -1, base, "", "", 0),
            11);
  EXPECT_EQ(ClassicStoreIrregular(testing::ForCall(Dss7SeriesFile(*file_)), "/A/B/C//1DAY/F/",
                                  times.data(), values.data(), 1, base, "", "", 0),
            24);
}

TEST(SeriesClassicAbi, RoundTripThroughAFileTable) {
  const ::varnock::testing::TempFolder folder;
  const std::string name = folder.File("abi.dss");
  std::array<int32_t, 600> table{};
  int32_t status = -1;
  ZOPEN_(table.data(), name.data(), static_cast<int32_t>(name.size()), &status);
  ASSERT_EQ(status, 0);
  const std::string path = "/A/B/FLOW//1HOUR/F/";
  const std::vector<float> values = {5, 6, 7};
  const int32_t n = 3;
  const int32_t plan = 0;
  ZSRTS_(table.data(), path.data(), static_cast<int32_t>(path.size()), "15JAN2021", 9, "0100", 4,
         &n, values.data(), "CFS", 3, "INST-VAL", 8, &plan, &status);
  EXPECT_EQ(status, 0);
  std::vector<float> back(3);
  int32_t got = 3;
  int32_t offset = -1;
  char units[8];
  char type[8];
  ZRRTS_(table.data(), path.data(), static_cast<int32_t>(path.size()), "15JAN2021", 9, "0100", 4,
         &got, back.data(), units, 8, type, 8, &offset, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(back, values);
  ZCLOSE_(table.data());
  ZRRTS_(table.data(), path.data(), static_cast<int32_t>(path.size()), "15JAN2021", 9, "0100", 4,
         &got, back.data(), units, 8, type, 8, &offset, &status);
  EXPECT_EQ(status, 70);
  EXPECT_EQ(got, 0);
}

}  // namespace
}  // namespace varnock::engine::series
