// Profile records built with the documented layout (depths in values2, all depths of a time
// step together, depth units before the value units) read through the series API.
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

template <typename T>
void AppendAs(const std::vector<double>& from, std::vector<int32_t>* to) {
  for (double v : from) {
    const T x = static_cast<T>(v);
    const size_t at = to->size();
    to->resize(at + sizeof x / 4);
    std::memcpy(to->data() + at, &x, sizeof x);
  }
}

struct Profile {
  const char* path;
  int32_t type;
  std::vector<double> depths;
  std::vector<int32_t> times;  // irregular: seconds from the block start
  int32_t first_slot;          // regular
  int32_t steps;
  std::vector<double> values;
};

dss7::RecordData Build(const Profile& p, std::vector<int32_t> (&areas)[dss7::kAreaCount]) {
  const bool doubles = p.type % 10 >= 5;
  const bool irregular = p.type >= 110;
  const auto depths = static_cast<int32_t>(p.depths.size());
  const int32_t element = doubles ? 2 : 1;
  std::vector<int32_t>& v1 = areas[dss7::kValues1];
  v1 = p.times;
  (doubles ? AppendAs<double> : AppendAs<float>)(p.values, &v1);
  (doubles ? AppendAs<double> : AppendAs<float>)(p.depths, &areas[dss7::kValues2]);
  const std::string_view strings[] = {"m", "C", "INST-VAL", ""};
  const std::string packed = PackStrings(strings);
  std::vector<int32_t>& ih = areas[dss7::kInternalHeader];
  ih.assign(18 + packed.size() / 4, 0);
  ih[0] = 60;
  ih[1] = -1;
  ih[3] = depths;
  ih[4] = irregular ? 0 : p.first_slot;
  ih[5] = irregular ? 0 : p.first_slot + p.steps - 1;
  ih[6] = p.steps * depths * element;
  ih[7] = depths * element;
  ih[8] = element;
  ih[17] = 0x20202020;
  std::memcpy(ih.data() + 18, packed.data(), packed.size());
  dss7::RecordData data;
  data.type = p.type;
  for (int a = 0; a < dss7::kAreaCount; ++a)
    data.areas[a] = areas[a];
  data.data_count = p.steps;
  return data;
}

TEST(SeriesProfile, RegularAndIrregularProfilesRead) {
  const Profile cases[] = {
      {"/A/B/TEMP-WATER/01Jan2020/1Day/F/",
       kRegularProfileFloat,
       {1.5, 3.0},
       {},
       5,
       3,
       {10, 11, 20, 21, 30.25, 31}},
      {"/A/B/TEMP-WATER/01Jan2020/1Hour/D/",
       kRegularProfileDouble,
       {0.1, 0.2, 0.3},
       {},
       0,
       2,
       {1.1, 1.2, 1.3, 2.1, 2.2, 2.3}},
      {"/A/B/TEMP-WATER/01Jan2020/IR-Year/F/",
       kIrregularProfileFloat,
       {2},
       {3600, 86400 + 60},
       0,
       2,
       {7, 8}},
      {"/A/B/TEMP-WATER/01Jan2020/IR-Month/D/",
       kIrregularProfileDouble,
       {5, 10},
       {900},
       0,
       1,
       {-1.0625, 4.5}},
  };
  const std::vector<Instant> expected_times[] = {
      {At(2020, 1, 6, 2400), At(2020, 1, 7, 2400), At(2020, 1, 8, 2400)},
      {At(2020, 1, 1, 100), At(2020, 1, 1, 200)},
      {At(2020, 1, 1, 100), At(2020, 1, 2, 1)},
      {At(2020, 1, 1, 15)},
  };
  auto file = dss7::testing::CreateMemoryWithVersion("7-JA");
  ASSERT_NE(file, nullptr);
  for (size_t c = 0; c < std::size(cases); ++c) {
    const Profile& p = cases[c];
    SCOPED_TRACE(p.path);
    std::vector<int32_t> areas[dss7::kAreaCount];
    const dss7::RecordData data = Build(p, areas);
    // HEC's confirmed shape: 2 depths, 3 steps -> values1 6 ints, values2 2, header 28.
    if (c == 0) {
      EXPECT_EQ(areas[dss7::kValues1].size(), 6u);
      EXPECT_EQ(areas[dss7::kValues2].size(), 2u);
      EXPECT_EQ(areas[dss7::kInternalHeader].size(), 28u);
    }
    ASSERT_EQ(file->Store(p.path, data), dss7::Status::kOk);
    ProfileRead read;
    const SeriesStatus s = ReadProfile(*file, p.path, &read);
    ASSERT_TRUE(s.ok()) << static_cast<int>(s.code);
    EXPECT_EQ(read.record_type, p.type);
    EXPECT_EQ(read.doubles, p.type % 10 >= 5);
    EXPECT_EQ(read.depths, p.depths);
    EXPECT_EQ(read.values, p.values);
    EXPECT_EQ(read.times, expected_times[c]);
    EXPECT_EQ(read.depth_units, "m");
    EXPECT_EQ(read.units, "C");
    EXPECT_EQ(read.type, "INST-VAL");
    EXPECT_EQ(read.Value(read.times.size() - 1, read.depths.size() - 1), p.values.back());

    // The series reads see a record of another kind, not a damaged one.
    SeriesRead series;
    Instant first = 0, last = 0;
    int32_t count = 0;
    SeriesStatus other;
    if (p.type >= 110) {
      ASSERT_TRUE(IrregularBlockWindow(p.path, &first, &last).ok());
      other = ReadIrregular(*file, p.path, first, last, &series);
    } else {
      ASSERT_TRUE(RegularBlockWindow(p.path, &first, &count).ok());
      other = ReadRegular(*file, p.path, first, count, &series);
    }
    EXPECT_EQ(other.code, SeriesCode::kWrongType);
  }
}

TEST(SeriesProfile, OtherKindsAndDamageGiveStatuses) {
  auto file = dss7::testing::CreateMemoryWithVersion("7-JA");
  ASSERT_NE(file, nullptr);
  RegularStore plain;
  plain.path = "/A/B/FLOW//1Day/F/";
  plain.start = At(2020, 1, 2, 2400);
  const std::vector<double> one = {1.0};
  plain.values = one;
  ASSERT_TRUE(StoreRegular(*file, plain).ok());
  ProfileRead read;
  EXPECT_EQ(ReadProfile(*file, "/A/B/FLOW/01Jan2020/1Day/F/", &read).code, SeriesCode::kWrongType);
  EXPECT_EQ(ReadProfile(*file, "/A/B/NONE/01Jan2020/1Day/F/", &read).code, SeriesCode::kNotFound);
  EXPECT_EQ(ReadProfile(*file, "/A/B/FLOW/01Jan2020/2Days/F/", &read).code,
            SeriesCode::kBadInterval);

  const Profile good{
      "/A/B/T/01Jan2020/1Day/F/", kRegularProfileFloat, {1, 2}, {}, 0, 2, {1, 2, 3, 4}};
  using Breaker = void (*)(std::vector<int32_t>(&)[dss7::kAreaCount]);
  const Breaker breakers[] = {
      [](auto& a) { a[dss7::kValues2].pop_back(); },         // fewer depths than counted
      [](auto& a) { a[dss7::kInternalHeader][3] = 0; },      // no depths
      [](auto& a) { a[dss7::kInternalHeader][7] = 3; },      // value size not depths x 1
      [](auto& a) { a[dss7::kValues1].pop_back(); },         // values cut short
      [](auto& a) { a[dss7::kInternalHeader][5] = 400; },    // slot beyond the block
      [](auto& a) { a[dss7::kInternalHeader].resize(10); },  // header cut short
  };
  for (size_t i = 0; i < std::size(breakers); ++i) {
    SCOPED_TRACE(i);
    std::vector<int32_t> areas[dss7::kAreaCount];
    dss7::RecordData data = Build(good, areas);
    breakers[i](areas);
    for (int a = 0; a < dss7::kAreaCount; ++a)
      data.areas[a] = areas[a];
    ASSERT_EQ(file->Store(good.path, data), dss7::Status::kOk);
    EXPECT_EQ(ReadProfile(*file, good.path, &read).code, SeriesCode::kDamaged);
  }
}

}  // namespace
}  // namespace varnock::engine::series
