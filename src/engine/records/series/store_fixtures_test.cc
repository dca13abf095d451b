// Every time series of fixtures.txt stored through the engine into a new file reads back as
// stored, and each block record we write holds the same areas as the one HEC wrote.
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "engine/dss7/test_support.h"
#include "engine/records/series/classic.h"
#include "engine/records/series/series.h"
#include "engine/records/series/series_test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::series {
namespace {

struct FixtureSeries {
  std::string name;
  std::string api;
  std::string path;
  std::string kind;
  std::string units;
  std::string type;
  std::vector<std::string> times;
  std::vector<std::string> values;
};

std::vector<FixtureSeries> ReadFixtureList(const std::string& file) {
  std::ifstream in(file);
  std::vector<FixtureSeries> out;
  std::string line;
  FixtureSeries* f = nullptr;
  while (std::getline(in, line)) {
    const size_t space = line.find(' ');
    const std::string key = line.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (key == "fixture") f = &out.emplace_back(FixtureSeries{rest, {}, {}, {}, {}, {}, {}, {}});
    if (f == nullptr) continue;
    if (key == "api") f->api = rest;
    if (key == "path") f->path = rest;
    if (key == "kind") f->kind = rest;
    if (key == "units") f->units = rest;
    if (key == "type") f->type = rest;
    if (line.size() > 19 && line[10] == 'T' && line[0] >= '0' && line[0] <= '9') {
      f->times.push_back(line.substr(0, space));
      f->values.push_back(rest);
    }
  }
  std::erase_if(out,
                [](const FixtureSeries& s) { return s.kind.find("regular") == std::string::npos; });
  return out;
}

std::string Renamed(std::string path) {
  const size_t at = path.find("/OLDNAME/");
  if (at != std::string::npos) path.replace(at, 9, "/NEWNAME/");
  return path;
}

// Stores one fixture series the way HEC was asked to: classic routines for the F77 ones.
void Store(dss7::DssFile& file, const FixtureSeries& f) {
  const bool doubles = f.kind == "regular-double";
  const bool classic = f.api.find("zs") == 0;
  std::vector<double> values;
  std::vector<float> floats;
  std::vector<Instant> times;
  for (size_t i = 0; i < f.values.size(); ++i) {
    values.push_back(std::strtod(f.values[i].c_str(), nullptr));
    floats.push_back(static_cast<float>(values.back()));
    times.push_back(testing::ParseIso(f.times[i]));
  }
  const auto n = static_cast<int32_t>(values.size());
  if (f.kind.find("irregular") == 0) {
    if (classic) {
      const int32_t base = SplitInstant(times.front()).julian;
      std::vector<int32_t> minutes;
      for (Instant t : times)
        minutes.push_back(static_cast<int32_t>((t - MakeInstant(base, 0)) / 60));
      ASSERT_EQ(ClassicStoreIrregular(testing::ForCall(Dss7SeriesFile(file)), f.path,
                                      minutes.data(), floats.data(), n, base, f.units, f.type, 0),
                0);
      return;
    }
    IrregularStore request;
    request.path = f.path;
    request.times = times;
    request.values = values;
    request.units = f.units;
    request.type = f.type;
    ASSERT_TRUE(StoreIrregular(file, request).ok());
    return;
  }
  if (classic) {
    const DaySecond start = SplitInstant(times.front());
    char clock[32];
    std::snprintf(clock, sizeof clock, "%02d%02d", start.seconds / 3600, start.seconds / 60 % 60);
    ASSERT_EQ(
        ClassicStoreRegular(testing::ForCall(Dss7SeriesFile(file)), f.path, BlockDate(start.julian),
                            clock, n, floats.data(), f.units, f.type, 0),
        0);
    return;
  }
  RegularStore request;
  request.path = f.path;
  request.start = times.front();
  request.values = values;
  request.doubles = doubles;
  request.units = f.units;
  request.type = f.type;
  ASSERT_TRUE(StoreRegular(file, request).ok());
}

TEST(SeriesStoreFixtures, ReadBackAndMatchHecBlockForBlock) {
  VARNOCK_REQUIRE_FIXTURE(list, "fixtures.txt");
  VARNOCK_REQUIRE_FIXTURE(reference, "fixture7.dss");
  const auto fixtures = ReadFixtureList(list);
  ASSERT_EQ(fixtures.size(), 11u);
  dss7::Status st;
  auto hec = dss7::testing::OpenMemory(dss7::testing::LoadStorage(reference), &st);
  ASSERT_EQ(st, dss7::Status::kOk);
  auto file = dss7::testing::CreateMemory(dss7::MemoryFileIO::NewStorage(), {}, &st);
  ASSERT_EQ(st, dss7::Status::kOk);

  for (const FixtureSeries& f : fixtures) {
    SCOPED_TRACE(f.name);
    Store(*file, f);
    const bool doubles = f.kind == "regular-double";
    SeriesRead got;
    const Instant first = testing::ParseIso(f.times.front());
    const SeriesStatus s =
        f.kind.find("irregular") == 0
            ? ReadIrregular(*file, f.path, first, testing::ParseIso(f.times.back()), &got)
            : ReadRegular(*file, f.path, first, static_cast<int64_t>(f.times.size()), &got);
    ASSERT_TRUE(s.ok());
    EXPECT_EQ(got.units, f.units);
    EXPECT_EQ(got.type, f.type);
    EXPECT_EQ(got.doubles, doubles);
    ASSERT_EQ(got.values.size(), f.values.size());
    for (size_t i = 0; i < f.values.size(); ++i) {
      ASSERT_EQ(testing::IsoTime(got.times[i]), f.times[i]) << i;
      // As in HEC's blocks, a -901 at either end of a block is trimmed and reads as undefined.
      if (f.values[i] == "-901" && got.values[i] == kUndefinedDouble) continue;
      ASSERT_EQ(testing::ValueText(got.values[i], doubles), f.values[i]) << i;
    }
  }

  // Block for block against HEC's records: same info values and the same data areas.
  std::vector<dss7::CatalogEntry> ours;
  ASSERT_EQ(file->Catalog(&ours), dss7::Status::kOk);
  std::set<std::string> compared;
  for (const dss7::CatalogEntry& e : ours) {
    if (e.path.find("/C-DELETED/") != std::string::npos) continue;
    SCOPED_TRACE(e.path);
    dss7::Record mine;
    dss7::Record theirs;
    ASSERT_EQ(file->ReadRecord(e.path, &mine), dss7::Status::kOk);
    ASSERT_EQ(hec->ReadRecord(Renamed(e.path), &theirs), dss7::Status::kOk);
    EXPECT_EQ(mine.info.type, theirs.info.type);
    EXPECT_EQ(mine.info.data_count, theirs.info.data_count);
    EXPECT_EQ(mine.info.logical_count, theirs.info.logical_count);
    EXPECT_EQ(mine.info.allocated, theirs.info.allocated);
    // HEC dates the yearly block after 1999 a day early (31Dec1999 + 365 days); we store the
    // calendar date of each value's standard time. The data areas are the same.
    const int32_t early = e.path.find("/01Jan2000/1Year/") != std::string::npos ? 1 : 0;
    EXPECT_EQ(mine.info.first.julian - early, theirs.info.first.julian);
    EXPECT_EQ(mine.info.last.julian - early, theirs.info.last.julian);
    EXPECT_EQ(mine.info.first.seconds, theirs.info.first.seconds);
    EXPECT_EQ(mine.info.last.seconds, theirs.info.last.seconds);
    for (int area = 0; area < dss7::kAreaCount; ++area)
      EXPECT_EQ(mine.areas[area], theirs.areas[area]) << "area " << area;
    compared.insert(Renamed(e.path));
  }
  EXPECT_EQ(compared.size(), 24u);
}

// Files older than 7-HA keep the legacy layout when we merge into HEC's compressed blocks.
TEST(SeriesStoreFixtures, LegacyFileGetsTheLegacyLayout) {
  VARNOCK_REQUIRE_FIXTURE(sample, "sample7.dss");
  dss7::Status st;
  auto file = dss7::testing::OpenMemory(dss7::testing::LoadStorage(sample), &st);
  ASSERT_EQ(st, dss7::Status::kOk);
  ASSERT_LT(file->version().full, kFirstPaddedLayout);
  const char* path = "/GREEN RIVER/GLENFIR/FLOW//1HOUR/OBS/";
  const Instant start = testing::ParseIso("1992-04-22T01:00:00");
  SeriesRead before;
  ASSERT_TRUE(ReadRegular(*file, path, start, 48, &before).ok());
  RegularStore r;
  r.path = path;
  r.start = start + 3600;
  const std::vector<double> v = {1.0, 2.0};
  r.values = v;
  r.units = before.units;
  r.type = before.type;
  ASSERT_TRUE(StoreRegular(*file, r).ok());
  SeriesRead after;
  ASSERT_TRUE(ReadRegular(*file, path, start, 48, &after).ok());
  before.values[1] = 1.0;
  before.values[2] = 2.0;
  EXPECT_EQ(after.values, before.values);
  EXPECT_EQ(after.units, before.units);
  dss7::Record rec;
  ASSERT_EQ(file->ReadRecord("/GREEN RIVER/GLENFIR/FLOW/01Apr1992/1Hour/OBS/", &rec),
            dss7::Status::kOk);
  EXPECT_NE(rec.areas[dss7::kInternalHeader][17], 0x20202020);  // strings start at int 17
}

}  // namespace
}  // namespace varnock::engine::series
