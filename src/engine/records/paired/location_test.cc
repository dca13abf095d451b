// Location records built with the documented layout (x, y, z doubles, six codes, the time zone
// in values1; supplemental text in values2), HEC's own in the reference files, and the copy
// that carries them along with the data they describe.
#include <gtest/gtest.h>

#include <cstring>

#include "engine/dss7/test_support.h"
#include "engine/records/paired/record_io.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;

constexpr const char* kLocation = "/BASIN/GAGE/Location Info////";

dss7::RecordData LocationRecord(std::vector<int32_t>* values1, std::vector<int32_t>* values2,
                                const char* zone, const char* supplemental) {
  const double xyz[] = {-90.1875, 38.625, 379.5};
  values1->assign(6, 0);
  std::memcpy(values1->data(), xyz, sizeof xyz);
  values1->insert(values1->end(), {1, 0, 3, 2, 1, 4});
  const std::string zone_bytes = zone;
  values1->resize(12 + (zone_bytes.size() + 4) / 4, 0);
  std::memcpy(values1->data() + 12, zone_bytes.data(), zone_bytes.size());
  const std::string text = supplemental;
  values2->assign((text.size() + 4) / 4, 0);
  std::memcpy(values2->data(), text.data(), text.size());
  dss7::RecordData data;
  data.type = dss7::kLocationType;
  data.areas[dss7::kValues1] = *values1;
  data.areas[dss7::kValues2] = *values2;
  data.data_count = static_cast<int64_t>(values1->size());
  return data;
}

TEST(LocationRecords, BuiltAndHecsReadWithEveryField) {
  auto file = dss7::testing::CreateMemoryWithVersion("7-JA");
  ASSERT_NE(file, nullptr);
  std::vector<int32_t> v1, v2;
  ASSERT_EQ(file->Store(kLocation, LocationRecord(&v1, &v2, "US/Central", "at the bridge")),
            Status::kOk);
  LocationData loc;
  ASSERT_EQ(ReadLocation(*file, kLocation, &loc), Status::kOk);
  EXPECT_EQ(loc.x, -90.1875);
  EXPECT_EQ(loc.y, 38.625);
  EXPECT_EQ(loc.z, 379.5);
  EXPECT_EQ(loc.coordinate_system, 1);
  EXPECT_EQ(loc.coordinate_id, 0);
  EXPECT_EQ(loc.horizontal_units, 3);
  EXPECT_EQ(loc.horizontal_datum, 2);
  EXPECT_EQ(loc.vertical_units, 1);
  EXPECT_EQ(loc.vertical_datum, 4);
  EXPECT_EQ(loc.time_zone, "US/Central");
  EXPECT_EQ(loc.supplemental, "at the bridge");

  // Damage and other kinds give statuses.
  dss7::RecordData cut = LocationRecord(&v1, &v2, "", "");
  v1.resize(11);
  cut.areas[dss7::kValues1] = v1;
  ASSERT_EQ(file->Store("/BASIN/CUT/Location Info////", cut), Status::kOk);
  EXPECT_EQ(ReadLocation(*file, "/BASIN/CUT/Location Info////", &loc), Status::kDamaged);
  cut.type = 300;
  ASSERT_EQ(file->Store("/BASIN/TEXT/NOTE////", cut), Status::kOk);
  EXPECT_EQ(ReadLocation(*file, "/BASIN/TEXT/NOTE////", &loc), Status::kTypeMismatch);

  // HEC's record in its sample file: twelve ints, no time zone.
  VARNOCK_REQUIRE_FIXTURE(sample, "sample7.dss");
  Status st;
  auto hec = dss7::testing::OpenMemory(dss7::testing::LoadStorage(sample), &st);
  ASSERT_EQ(st, Status::kOk);
  ASSERT_EQ(ReadLocation(*hec, "/MISSISSIPPI/ST. LOUIS/Location Info////", &loc), Status::kOk);
  EXPECT_EQ(loc.coordinate_system, 1);
  EXPECT_EQ(loc.horizontal_units, 4);
  EXPECT_EQ(loc.horizontal_datum, 1);
  EXPECT_EQ(loc.vertical_units, 1);
  EXPECT_EQ(loc.time_zone, "");
  EXPECT_NE(loc.x, 0.0);
}

TEST(LocationRecords, CopyCarriesThemToTheTargetsParts) {
  auto source = dss7::testing::CreateMemoryWithVersion("7-JA");
  auto target = dss7::testing::CreateMemoryWithVersion("7-JA");
  ASSERT_NE(source, nullptr);
  ASSERT_NE(target, nullptr);
  std::vector<int32_t> v1, v2;
  ASSERT_EQ(source->Store(kLocation, LocationRecord(&v1, &v2, "UTC", "")), Status::kOk);
  dss7::RecordData series;
  const std::vector<int32_t> values = {1, 2};
  series.type = 100;
  series.areas[dss7::kValues1] = values;
  const char* flow = "/BASIN/GAGE/FLOW/01Jan2020/1Day/OBS/";
  const char* stage = "/BASIN/GAGE/STAGE/01Jan2020/1Day/OBS/";
  ASSERT_EQ(source->Store(flow, series), Status::kOk);
  ASSERT_EQ(source->Store(stage, series), Status::kOk);

  auto count = [](dss7::DssFile& f) {
    std::vector<dss7::CatalogEntry> entries;
    EXPECT_EQ(f.Catalog(&entries), Status::kOk);
    return entries.size();
  };
  ASSERT_EQ(source->Copy(flow, *target, flow), Status::kOk);
  LocationData loc;
  ASSERT_EQ(ReadLocation(*target, kLocation, &loc), Status::kOk);
  EXPECT_EQ(loc.time_zone, "UTC");
  EXPECT_EQ(count(*target), 2u);
  // A second series of the same place finds the location there already and leaves it.
  dss7::InfoBlock before, after;
  ASSERT_EQ(target->Lookup(kLocation, &before), Status::kOk);
  ASSERT_EQ(source->Copy(stage, *target, stage), Status::kOk);
  ASSERT_EQ(target->Lookup(kLocation, &after), Status::kOk);
  EXPECT_EQ(after.address, before.address);
  EXPECT_EQ(count(*target), 3u);
  // A new A and B part get a location record of their own; the same parts in the same file
  // need none.
  ASSERT_EQ(source->Copy(flow, *source, "/OTHER/SITE/FLOW/01Jan2020/1Day/OBS/"), Status::kOk);
  EXPECT_EQ(ReadLocation(*source, "/OTHER/SITE/Location Info////", &loc), Status::kOk);
  ASSERT_EQ(source->Copy(flow, *source, "/basin/gage/FLOW/01Jan2020/1Day/COPY/"), Status::kOk);
  EXPECT_EQ(count(*source), 6u);
  // Copying the location record itself copies just it.
  ASSERT_EQ(source->Copy(kLocation, *source, "/THIRD/PLACE/Location Info////"), Status::kOk);
  EXPECT_EQ(count(*source), 7u);
  EXPECT_EQ(dss7::LocationRecordPath("/A/B/C/D/E/F/"), "/A/B/Location Info////");
  EXPECT_EQ(dss7::LocationRecordPath("/A/B/C/"), "");
}

}  // namespace
}  // namespace varnock::engine::paired
