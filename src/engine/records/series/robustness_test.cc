// Damaged record areas give statuses, never crashes; a store broken at any I/O step leaves the
// blocks that were there readable, each either as it was or as the store meant it.
#include <gtest/gtest.h>

#include <random>

#include "engine/dss7/fault_file_io.h"
#include "engine/dss7/test_support.h"
#include "engine/records/series/classic.h"
#include "engine/records/series/series.h"
#include "engine/records/series/series_test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::series {
namespace {

constexpr const char* kHourly = "/FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/";

TEST(SeriesRobustness, RandomBytesInRecordAreasGiveStatuses) {
  VARNOCK_REQUIRE_FIXTURE(reference, "fixture7.dss");
  dss7::Status st;
  auto file = dss7::testing::OpenMemory(dss7::testing::LoadStorage(reference), &st);
  ASSERT_EQ(st, dss7::Status::kOk);
  std::vector<dss7::CatalogEntry> entries;
  ASSERT_EQ(file->Catalog(&entries), dss7::Status::kOk);
  std::mt19937 random(20261122);
  int damaged = 0;
  for (int round = 0; round < 400; ++round) {
    const dss7::CatalogEntry& e = entries[random() % entries.size()];
    if (e.type < 100 || e.type >= 200) continue;
    dss7::Record r;
    ASSERT_EQ(file->ReadRecord(e.path, &r), dss7::Status::kOk);
    // Overwrite a few ints of the header or values, and sometimes the counts.
    for (int k = 0; k < 3; ++k) {
      auto& area = r.areas[random() % 2 == 0 ? dss7::kInternalHeader : dss7::kValues1];
      if (!area.empty()) area[random() % area.size()] = static_cast<int32_t>(random());
    }
    if (random() % 4 == 0)
      r.areas[dss7::kHeader2].assign(random() % 3, static_cast<int32_t>(random()));
    dss7::RecordData data;
    data.type = random() % 8 == 0 ? static_cast<int32_t>(random() % 400) : r.info.type;
    for (int a = 0; a < dss7::kAreaCount; ++a)
      data.areas[a] = r.areas[a];
    data.data_count = random() % 5 == 0 ? static_cast<int64_t>(random()) : r.info.data_count;
    data.logical_count = r.info.logical_count;
    // A sibling F part keeps the originals for later rounds.
    const std::string path = e.path.substr(0, e.path.size() - 1) + "X/";
    file->Delete(path);
    ASSERT_EQ(file->Store(path, data), dss7::Status::kOk);

    const bool irregular = e.type >= 110;
    const std::string series = path;
    SeriesRead read;
    Instant first = 0;
    Instant last = 0;
    int32_t count = 0;
    SeriesStatus s;
    if (irregular) {
      ASSERT_TRUE(IrregularBlockWindow(series, &first, &last).ok());
      s = ReadIrregular(*file, series, first, last, &read);
    } else {
      ASSERT_TRUE(RegularBlockWindow(series, &first, &count).ok());
      s = ReadRegular(*file, series, first, count, &read);
    }
    EXPECT_TRUE(s.ok() || s.code == SeriesCode::kDamaged || s.code == SeriesCode::kWrongType)
        << static_cast<int>(s.code);
    damaged += s.code == SeriesCode::kDamaged ? 1 : 0;
    // A store over the damaged block must refuse it rather than build on it.
    if (!s.ok() && !irregular) {
      RegularStore store;
      const std::vector<double> one = {1.0};
      store.path = series;
      store.start = first;
      store.values = one;
      EXPECT_FALSE(StoreRegular(*file, store).ok());
    }
  }
  EXPECT_GT(damaged, 20);
}

// Values of the four hourly blocks of fixture F01, read from a fresh handle on `storage`.
std::vector<double> ReadHourly(std::shared_ptr<dss7::MemoryFileIO::Storage> storage, Instant start,
                               SeriesStatus* status) {
  dss7::Status st;
  auto file = dss7::testing::OpenMemory(storage, &st);
  EXPECT_EQ(st, dss7::Status::kOk);
  SeriesRead r;
  *status = ReadRegular(*file, kHourly, start, 2000, &r);
  return r.values;
}

TEST(SeriesRobustness, FailedStoreLeavesBlocksReadable) {
  VARNOCK_REQUIRE_FIXTURE(reference, "fixture7.dss");
  const auto original = dss7::testing::LoadStorage(reference);
  const Instant start = testing::ParseIso("2021-01-15T01:00:00");
  SeriesStatus s;
  const std::vector<double> before = ReadHourly(original, start, &s);
  ASSERT_TRUE(s.ok());
  std::vector<double> wanted(2000);
  for (size_t i = 0; i < wanted.size(); ++i)
    wanted[i] = static_cast<double>(static_cast<float>(i) + 0.5f);

  bool completed = false;
  for (int64_t step = 1; !completed && step < 400; ++step) {
    SCOPED_TRACE(step);
    auto storage = dss7::MemoryFileIO::CopyStorage(*original);
    auto fault = std::make_unique<dss7::FaultFileIO>(std::make_unique<dss7::MemoryFileIO>(storage));
    dss7::FaultFileIO* faults = fault.get();
    std::unique_ptr<dss7::DssFile> file;
    ASSERT_EQ(dss7::DssFile::OpenIO(std::move(fault), {}, &file), dss7::Status::kOk);
    faults->FailAt(dss7::FaultFileIO::Op::kWrite, step, dss7::Status::kWriteError, step % 3);
    RegularStore request;
    request.path = kHourly;
    request.start = start;
    request.values = wanted;
    request.units = "CFS";
    request.type = "INST-VAL";
    const SeriesStatus stored = StoreRegular(*file, request);
    completed = !faults->fired();
    EXPECT_EQ(stored.ok(), completed);
    file.reset();

    const std::vector<double> after = ReadHourly(storage, start, &s);
    ASSERT_TRUE(s.ok()) << static_cast<int>(s.code) << " " << static_cast<int>(s.file);
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < after.size(); ++i) {
      // Leading -901s are trimmed from a block, so they read back undefined.
      const bool old_value = after[i] == before[i] || (before[i] == -901.0 && IsMissing(after[i]));
      ASSERT_TRUE(old_value || after[i] == wanted[i]) << i << " " << after[i];
      if (completed) {
        ASSERT_EQ(after[i], wanted[i]);
      }
    }
  }
  EXPECT_TRUE(completed);
}

}  // namespace
}  // namespace varnock::engine::series
