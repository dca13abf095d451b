// Every regular and irregular record of the reference files reads back with exactly the times
// and values of HEC's dump, through the engine API and through the classic routines.
#include <gtest/gtest.h>

#include <cmath>

#include "engine/records/series/classic.h"
#include "engine/records/series/series.h"
#include "engine/records/series/series_test_support.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine::series {
namespace {

using testing::DumpSeries;

struct Reference {
  const char* file;
  const char* dump;
  size_t series_records;
};

class SeriesFixtureRead : public ::testing::TestWithParam<Reference> {};

// The value a single-precision caller sees for one dump value.
float ClassicOf(const std::string& text) {
  const float f = std::strtof(text.c_str(), nullptr);
  return f == kUndefinedFloat ? kClassicMissing : f;
}

TEST_P(SeriesFixtureRead, EveryBlockMatchesTheDump) {
  VARNOCK_REQUIRE_FIXTURE(source, GetParam().file);
  VARNOCK_REQUIRE_FIXTURE(dump, GetParam().dump);
  const ::varnock::testing::TempFolder folder;
  dss7::Status st;
  auto file = testing::OpenFile(folder.CopyIn(source, "copy.dss"), &st);
  ASSERT_EQ(st, dss7::Status::kOk);
  const auto expected = testing::ReadDumpSeries(dump);
  ASSERT_EQ(expected.size(), GetParam().series_records);

  for (const auto& [path, want] : expected) {
    SCOPED_TRACE(path);
    const bool irregular = want.rectype >= 110;
    SeriesRead got;
    SeriesStatus s;
    Instant first = 0;
    Instant last = 0;
    int32_t count = 0;
    if (irregular) {
      ASSERT_TRUE(IrregularBlockWindow(path, &first, &last).ok());
      s = ReadIrregular(*file, path, first, last, &got);
    } else {
      ASSERT_TRUE(RegularBlockWindow(path, &first, &count).ok());
      s = ReadRegular(*file, path, first, count, &got);
    }
    ASSERT_TRUE(s.ok()) << static_cast<int>(s.code);
    EXPECT_EQ(got.record_type, want.rectype);
    EXPECT_EQ(got.units, want.units);
    EXPECT_EQ(got.type, want.type);
    ASSERT_EQ(got.values.size(), want.values.size());
    const bool doubles = want.rectype == kRegularDouble || want.rectype == kIrregularDouble;
    size_t mismatches = 0;
    for (size_t i = 0; i < want.values.size(); ++i) {
      if (testing::IsoTime(got.times[i]) == want.times[i] &&
          testing::ValueText(got.values[i], doubles) == want.values[i])
        continue;
      if (++mismatches <= 3)
        ADD_FAILURE() << i << ": " << testing::IsoTime(got.times[i]) << " "
                      << testing::ValueText(got.values[i], doubles) << " != " << want.times[i]
                      << " " << want.values[i];
    }
    EXPECT_EQ(mismatches, 0u);

    // The same block through the classic routines, single precision, DSS-6 markers.
    std::vector<float> values(want.values.size() + 1, 7.0f);
    char units[8];
    char type[8];
    int32_t status = -1;
    int32_t n = static_cast<int32_t>(want.values.size());
    if (irregular) {
      std::vector<int32_t> times(values.size());
      int32_t base = -1;
      status = ClassicReadIrregular(testing::ForCall(Dss7SeriesFile(*file)), path, 0, -2, 0, 0,
                                    times.data(), values.data(),
                                    static_cast<int32_t>(values.size()), &n, &base, units, type);
      ASSERT_EQ(status, want.values.empty() ? 3 : 0);
      for (int32_t i = 0; i < n; ++i)
        EXPECT_EQ(testing::IsoTime(MakeInstant(base, int64_t{times[i]} * 60)), want.times[i]);
    } else {
      int32_t offset = -1;
      status = ClassicReadRegular(testing::ForCall(Dss7SeriesFile(*file)), path,
                                  BlockDate(SplitInstant(first).julian), "0001", &n, values.data(),
                                  units, type, &offset);
      EXPECT_LE(status, 4);
      EXPECT_EQ(offset, got.offset_seconds / 60);
    }
    ASSERT_EQ(n, static_cast<int32_t>(want.values.size()));
    EXPECT_EQ(std::string(units, 8), (want.units + "        ").substr(0, 8));
    for (int32_t i = 0; i < n; ++i)
      ASSERT_EQ(values[i], ClassicOf(want.values[i])) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(SeriesReferences, SeriesFixtureRead,
                         ::testing::Values(Reference{"fixture7.dss", "fixture7.dump.txt", 24},
                                           Reference{"sample7.dss", "sample7.dss.dump.txt.gz", 590},
                                           Reference{"MoRiverObs7.dss",
                                                     "MoRiverObs7.dss.dump.txt.gz", 88}));

}  // namespace
}  // namespace varnock::engine::series
