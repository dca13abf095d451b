// Stores on new files: record layout, block splitting, storage plans, quality and notes, type
// promotion, and irregular merge and replace.
#include <gtest/gtest.h>

#include <cstring>

#include "engine/dss7/test_support.h"
#include "engine/records/series/series.h"
#include "engine/rules/dates.h"

namespace varnock::engine::series {
namespace {

Instant At(int y, int m, int d, int hhmm) {
  int32_t j = 0;
  YmdToJulian(y, m, d, &j);
  return MakeInstant(j, (hhmm / 100) * 3600 + (hhmm % 100) * 60);
}

class SeriesStore : public ::testing::Test {
 protected:
  void SetUp() override {
    dss7::Status st;
    file_ = dss7::testing::CreateMemory(dss7::MemoryFileIO::NewStorage(), {}, &st);
    ASSERT_EQ(st, dss7::Status::kOk);
  }
  SeriesStatus Put(const std::vector<double>& values, Instant start, int32_t plan = 0,
                   const char* path = "/BASIN/LOC/FLOW//1Hour/OBS/") {
    RegularStore r;
    r.path = path;
    r.start = start;
    r.values = values;
    r.units = "cfs";
    r.type = "INST-VAL";
    r.plan = plan;
    return StoreRegular(*file_, r);
  }
  std::vector<double> Get(Instant start, int64_t n,
                          const char* path = "/BASIN/LOC/FLOW//1Hour/OBS/") {
    SeriesRead r;
    const SeriesStatus s = ReadRegular(*file_, path, start, n, &r);
    EXPECT_TRUE(s.ok() || s.code == SeriesCode::kNotFound);
    return r.values;
  }
  dss7::Record Raw(const std::string& path) {
    dss7::Record r;
    EXPECT_EQ(file_->ReadRecord(path, &r), dss7::Status::kOk) << path;
    return r;
  }
  std::unique_ptr<dss7::DssFile> file_;
};

constexpr double U = kUndefinedDouble;

TEST_F(SeriesStore, SplitsIntoBlocksWithHecLayout) {
  std::vector<double> v(50);
  for (int i = 0; i < 50; ++i)
    v[i] = 100.0 + i;
  ASSERT_TRUE(Put(v, At(2020, 1, 31, 130)).ok());
  const dss7::Record jan = Raw("/BASIN/LOC/FLOW/01Jan2020/1Hour/OBS/");
  const std::vector<int32_t> fixed(jan.areas[dss7::kInternalHeader].begin(),
                                   jan.areas[dss7::kInternalHeader].begin() + 18);
  EXPECT_EQ(fixed, (std::vector<int32_t>{60, -1, 1800, 0, 721, 743, 23, 1, 1, 0, 0, 0, 0, 0, 0, 0,
                                         0, 0x20202020}));
  EXPECT_EQ(jan.areas[dss7::kInternalHeader].size(), 26u);
  EXPECT_EQ(jan.areas[dss7::kValues1].size(), 24u);
  EXPECT_EQ(jan.info.data_count, 23);
  EXPECT_EQ(jan.info.logical_count, 744);
  EXPECT_EQ(jan.info.first, (dss7::DateTime{43860, 7200}));
  EXPECT_EQ(jan.info.last, (dss7::DateTime{43860, 86400}));
  const dss7::Record feb = Raw("/BASIN/LOC/FLOW/01Feb2020/1Hour/OBS/");
  EXPECT_EQ(feb.info.data_count, 27);
  EXPECT_EQ(feb.info.logical_count, 696);
  EXPECT_EQ(feb.areas[dss7::kValues1].size(), 28u);

  SeriesRead r;
  ASSERT_TRUE(
      ReadRegular(*file_, "/basin/loc/flow//1HOUR/obs/", At(2020, 1, 31, 100), 52, &r).ok());
  EXPECT_EQ(r.values.front(), U);
  EXPECT_EQ(r.values[1], 100.0);
  EXPECT_EQ(r.times[1], At(2020, 1, 31, 130));  // the offset comes back
  EXPECT_EQ(r.values[50], 149.0);
  EXPECT_EQ(r.values[51], U);
  EXPECT_EQ(r.offset_seconds, 1800);
}

TEST_F(SeriesStore, PlansDecideWhichSlotsChange) {
  const Instant t0 = At(2020, 3, 1, 100);
  ASSERT_TRUE(Put({1, 2, -901, 4}, t0).ok());
  // 0: everything replaced, missing included.
  ASSERT_TRUE(Put({U, 20}, t0, kPlanReplaceAll).ok());
  EXPECT_EQ(Get(t0, 4), (std::vector<double>{U, 20, -901, 4}));
  // 1: only missing slots take values.
  ASSERT_TRUE(Put({10, 30, 30, 40}, t0, kPlanReplaceMissing).ok());
  EXPECT_EQ(Get(t0, 4), (std::vector<double>{10, 20, 30, 4}));
  // 4: missing input never overwrites.
  ASSERT_TRUE(Put({-901, 200, U, -902}, t0, kPlanKeepOnMissing).ok());
  EXPECT_EQ(Get(t0, 4), (std::vector<double>{10, 200, 30, 4}));
  // 3: a block left all missing is deleted; 0 keeps HEC's one-value record.
  ASSERT_TRUE(Put({U, U, U, U}, t0, kPlanReplaceAll).ok());
  const dss7::Record empty = Raw("/BASIN/LOC/FLOW/01Mar2020/1Hour/OBS/");
  EXPECT_EQ(empty.info.data_count, 1);
  EXPECT_EQ(empty.areas[dss7::kInternalHeader][4], 0);
  ASSERT_TRUE(Put({U, U}, t0, kPlanDeleteEmpty).ok());
  EXPECT_FALSE(file_->Exists("/BASIN/LOC/FLOW/01Mar2020/1Hour/OBS/"));
}

TEST_F(SeriesStore, DoublesPromoteAndQualityNotesStayWithTheirSlots) {
  const Instant t0 = At(2021, 6, 1, 600);
  ASSERT_TRUE(Put({1.5, 2.5}, t0, 0, "/A/B/C//6Hour/F/").ok());
  RegularStore d;
  d.path = "/A/B/C//6Hour/F/";
  d.start = t0 + 2 * 21600;
  const std::vector<double> dv = {1000.0 / 3.0};
  d.values = dv;
  d.doubles = true;
  const std::vector<int32_t> q = {7};
  d.quality = q;
  d.quality_size = 1;
  d.cnotes = std::string_view("note\0", 5);
  d.has_cnotes = true;
  d.units = "ft";
  d.type = "INST-VAL";
  ASSERT_TRUE(StoreRegular(*file_, d).ok());
  const dss7::Record rec = Raw("/A/B/C/01Jun2021/6Hour/F/");
  EXPECT_EQ(rec.info.type, kRegularDouble);
  EXPECT_EQ(rec.info.data_count, 120);  // quality and notes hold the whole block

  // A later store without quality or notes keeps them on the slots it does not touch.
  ASSERT_TRUE(Put({9}, t0, 0, "/A/B/C//6Hour/F/").ok());
  SeriesRead r;
  ASSERT_TRUE(ReadRegular(*file_, "/A/B/C//6Hour/F/", t0, 3, &r).ok());
  EXPECT_TRUE(r.doubles);
  EXPECT_EQ(r.values, (std::vector<double>{9, 2.5, 1000.0 / 3.0}));
  EXPECT_EQ(r.quality, (std::vector<int32_t>{0, 0, 7}));
  EXPECT_EQ(r.cnotes, std::string("\0\0note\0", 7));
  EXPECT_EQ(r.units, "cfs");
}

TEST_F(SeriesStore, RefusesBadRequests) {
  EXPECT_EQ(Put({}, At(2020, 1, 1, 100)).code, SeriesCode::kBadCount);
  EXPECT_EQ(Put({1}, At(2020, 1, 1, 100), 0, "/A/B/C//IR-DAY/F/").code, SeriesCode::kBadInterval);
  EXPECT_EQ(Put({1}, At(2020, 1, 1, 100), 0, "/A/B/C//7Fortnights/F/").code,
            SeriesCode::kBadInterval);
  EXPECT_EQ(Put({1}, At(2020, 1, 1, 100), 0, "A/B/C").code, SeriesCode::kBadPath);
  EXPECT_EQ(Put({1}, MakeInstant(int64_t{1} << 40, 0)).code, SeriesCode::kBadTime);
  RegularStore both;
  both.path = "/A/B/C//1Day/F/";
  const std::vector<double> v = {1};
  const std::vector<int32_t> n = {1};
  both.values = v;
  both.inotes = n;
  both.inote_size = 1;
  both.cnotes = std::string_view("x\0", 2);
  both.has_cnotes = true;
  EXPECT_EQ(StoreRegular(*file_, both).code, SeriesCode::kBadInput);
}

TEST_F(SeriesStore, WeeklyBlocksKeepHecsSlotQuirk) {
  const char* path = "/A/B/C//1WEEK/F/";
  ASSERT_TRUE(Put({1, 2, 3}, At(2020, 1, 4, 2400), 0, path).ok());  // Saturdays, slots 0, 1, 2
  ASSERT_TRUE(Put({9}, At(2020, 1, 11, 2400), 0, path).ok());       // also computes slot 0
  SeriesRead r;
  ASSERT_TRUE(ReadRegular(*file_, path, At(2020, 1, 4, 2400), 3, &r).ok());
  EXPECT_EQ(r.values, (std::vector<double>{9, 2, 3}));
  EXPECT_EQ(r.times.front(), At(2020, 1, 4, 2400));
}

class SeriesIrregularStore : public SeriesStore {
 protected:
  SeriesStatus PutIr(const std::vector<Instant>& t, const std::vector<double>& v,
                     bool replace = false, bool markers = false) {
    IrregularStore r;
    r.path = "/BASIN/LOC/FLOW//IR-Month/OBS/";
    r.times = t;
    r.values = v;
    r.replace = replace;
    r.span_markers = markers;
    r.units = "cfs";
    r.type = "INST-VAL";
    return StoreIrregular(*file_, r);
  }
  SeriesRead All() {
    SeriesRead r;
    ReadIrregular(*file_, "/BASIN/LOC/FLOW//IR-Month/OBS/", At(2019, 1, 1, 0), At(2021, 1, 1, 0),
                  &r);
    return r;
  }
};

TEST_F(SeriesIrregularStore, BlocksAndTimesAsHecWritesThem) {
  ASSERT_TRUE(PutIr({At(2020, 1, 30, 100), At(2020, 1, 30, 2400), At(2020, 2, 1, 0),
                     At(2020, 2, 1, 30), At(2020, 2, 1, 2359)},
                    {1, 2, 3, 4, 5})
                  .ok());
  const dss7::Record jan = Raw("/BASIN/LOC/FLOW/01Jan2020/IR-Month/OBS/");
  EXPECT_EQ(jan.info.type, kIrregularFloat);
  EXPECT_EQ(jan.areas[dss7::kValues1].size(), 6u);
  EXPECT_EQ(std::vector<int32_t>(jan.areas[dss7::kValues1].begin(),
                                 jan.areas[dss7::kValues1].begin() + 3),
            (std::vector<int32_t>{2509200, 2592000, 2678400}));
  EXPECT_EQ(jan.info.logical_count, 32);
  EXPECT_EQ(jan.info.first, (dss7::DateTime{43859, 3600}));
  const dss7::Record feb = Raw("/BASIN/LOC/FLOW/01Feb2020/IR-Month/OBS/");
  EXPECT_EQ(feb.areas[dss7::kValues1][0], 1800);
  EXPECT_EQ(feb.info.logical_count, 30);
  EXPECT_EQ(PutIr({At(2020, 1, 2, 0), At(2020, 1, 1, 0)}, {1, 2}).code, SeriesCode::kBadOrder);
}

TEST_F(SeriesIrregularStore, MergeReplaceAndSpanMarkers) {
  const std::vector<Instant> t = {At(2020, 1, 5, 100), At(2020, 1, 10, 100), At(2020, 2, 3, 100),
                                  At(2020, 3, 3, 100)};
  ASSERT_TRUE(PutIr(t, {1, 2, 3, 4}).ok());
  // Merge: an equal time takes the new value, everything else stays.
  ASSERT_TRUE(PutIr({At(2020, 1, 10, 100), At(2020, 1, 20, 0)}, {20, 25}).ok());
  EXPECT_EQ(All().values, (std::vector<double>{1, 20, 25, 3, 4}));
  // Replace: what lies between the first and last new time goes, across blocks.
  ASSERT_TRUE(PutIr({At(2020, 1, 10, 200), At(2020, 3, 1, 100)}, {7, 8}, true).ok());
  EXPECT_EQ(All().values, (std::vector<double>{1, 20, 7, 8, 4}));
  EXPECT_FALSE(file_->Exists("/BASIN/LOC/FLOW/01Feb2020/IR-Month/OBS/"));
  // -902 at both ends only marks the span to clear; nothing is stored.
  ASSERT_TRUE(PutIr({At(2020, 1, 10, 0), At(2020, 3, 2, 0)}, {-902, -902}, true, true).ok());
  const SeriesRead left = All();
  EXPECT_EQ(left.values, (std::vector<double>{1, 4}));
  EXPECT_EQ(left.times, (std::vector<Instant>{t[0], t[3]}));
}

TEST_F(SeriesIrregularStore, DoublesWithCharacterNotesKeepHecLayout) {
  IrregularStore r;
  r.path = "/A/B/C//IR-Day/F/";
  const std::vector<Instant> t = {At(2020, 1, 1, 10), At(2020, 1, 1, 20), At(2020, 1, 1, 30)};
  const std::vector<double> v = {1.25, 2.5, 3.75};
  r.times = t;
  r.values = v;
  r.doubles = true;
  r.cnotes = std::string_view("a\0bb\0\0", 6);
  r.has_cnotes = true;
  r.granularity = 1;
  ASSERT_TRUE(StoreIrregular(*file_, r).ok());
  const dss7::Record rec = Raw("/A/B/C/01Jan2020/IR-Day/F/");
  EXPECT_EQ(rec.info.type, kIrregularDouble);
  EXPECT_EQ(rec.areas[dss7::kValues1].size(), 12u);
  EXPECT_EQ(rec.areas[dss7::kInternalHeader][13], 2);
  EXPECT_EQ(rec.areas[dss7::kInternalHeader][16], 6);
  SeriesRead back;
  ASSERT_TRUE(ReadIrregular(*file_, "/A/B/C//IR-Day/F/", t[0], t[2], &back).ok());
  EXPECT_EQ(back.values, v);
  EXPECT_EQ(back.times, t);
  EXPECT_EQ(back.cnotes, std::string("a\0bb\0\0", 6));
  EXPECT_EQ(back.granularity, 1);
}

// Pseudo-regular E parts: irregular records in blocks chosen from the nominal interval.
TEST_F(SeriesIrregularStore, PseudoRegularSeriesReadAndStore) {
  // A double record as HEC writes it for "~1Day": a yearly block, times in seconds.
  const std::vector<double> v = {1.5, 2.25, -3.125};
  const std::vector<int32_t> times = {86400, 2 * 86400 + 3600, 40 * 86400};
  std::vector<int32_t> header(18, 0);
  header[0] = 60;
  header[1] = -1;
  header[6] = 6;  // values number: 3 doubles
  header[7] = header[8] = 2;
  header[17] = 0x20202020;
  const std::string_view strings[] = {"ft", "INST-VAL", ""};
  const std::string packed = PackStrings(strings);
  header.resize(18 + packed.size() / 4);
  std::memcpy(header.data() + 18, packed.data(), packed.size());
  std::vector<int32_t> values1 = times;
  values1.resize(3 + 6);
  std::memcpy(values1.data() + 3, v.data(), v.size() * sizeof(double));
  dss7::RecordData data;
  data.type = kIrregularDouble;
  data.areas[dss7::kInternalHeader] = header;
  data.areas[dss7::kValues1] = values1;
  data.data_count = 3;
  const char* hec_path = "/A/B/ELEV/01Jan2020/~1Day/F/";
  ASSERT_EQ(file_->Store(hec_path, data), dss7::Status::kOk);
  Instant first = 0, last = 0;
  ASSERT_TRUE(IrregularBlockWindow(hec_path, &first, &last).ok());
  EXPECT_EQ(first, At(2020, 1, 1, 0) + 1);
  EXPECT_EQ(last, At(2021, 1, 1, 0));
  SeriesRead back;
  ASSERT_TRUE(ReadIrregular(*file_, "/A/B/ELEV//~1DAY/F/", first, last, &back).ok());
  EXPECT_EQ(back.values, v);
  EXPECT_EQ(back.times,
            (std::vector<Instant>{At(2020, 1, 2, 0), At(2020, 1, 3, 100), At(2020, 2, 10, 0)}));
  EXPECT_EQ(back.units, "ft");

  // Stores pick the block from the interval and keep the "~" spelling.
  struct Case {
    const char* path;
    const char* block_path;
    int32_t first_time;  // as stored: seconds, minutes in century blocks
  };
  const Case cases[] = {
      {"/A/B/C//~15MIN/F/", "/A/B/C/05Mar2020/~15Minute/F/", 3600 + 900},
      {"/A/B/C//~1Hour/F/", "/A/B/C/01Mar2020/~1Hour/F/", 4 * 86400 + 4500},
      {"/A/B/C//~1Week/F/", "/A/B/C/01Jan2020/~1Week/F/", (31 + 29 + 4) * 86400 + 4500},
      {"/A/B/C//~1MON/F/", "/A/B/C/01Jan2000/~1Month/F/", (7305 + 64) * 1440 + 75},
  };
  for (const Case& c : cases) {
    IrregularStore r;
    r.path = c.path;
    const std::vector<Instant> t = {At(2020, 3, 5, 115), At(2020, 3, 5, 1800)};
    const std::vector<double> two = {4.0, 5.0};
    r.times = t;
    r.values = two;
    r.doubles = true;
    ASSERT_TRUE(StoreIrregular(*file_, r).ok()) << c.path;
    const dss7::Record rec = Raw(c.block_path);
    EXPECT_EQ(rec.info.type, kIrregularDouble) << c.path;
    ASSERT_FALSE(rec.areas[dss7::kValues1].empty()) << c.path;
    EXPECT_EQ(rec.areas[dss7::kValues1][0], c.first_time) << c.path;
    SeriesRead read;
    ASSERT_TRUE(ReadIrregular(*file_, c.path, t[0], t[1], &read).ok()) << c.path;
    EXPECT_EQ(read.values, two) << c.path;
    EXPECT_EQ(read.times, t) << c.path;
  }
}

}  // namespace
}  // namespace varnock::engine::series
