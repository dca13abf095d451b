// Random bytes in HEC's records give statuses, never crashes or huge allocations; a write that
// fails at any I/O step leaves the old or the new record readable.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "engine/dss7/fault_file_io.h"
#include "engine/dss7/test_support.h"
#include "engine/records/paired/dump_lines.h"
#include "engine/records/paired/record_io.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::paired {
namespace {

using dss7::MemoryFileIO;
using dss7::Status;
using Storage = std::shared_ptr<MemoryFileIO::Storage>;

const std::string kFloatPath = "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/";
const std::string kDoublePath = "/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/";
const std::string kTextPath = "/FIXTURES/NOTES/README///C-ZTEXTSTORE/";

std::unique_ptr<dss7::DssFile> Open(Storage storage) {
  Status s;
  auto file = dss7::testing::OpenMemory(std::move(storage), &s);
  EXPECT_EQ(s, Status::kOk);
  return file;
}

// The record's dump lines, or its status text; decoded sizes must agree with the counts.
std::string Content(dss7::DssFile& file, const std::string& path) {
  PairedData d;
  TextData t;
  const bool text = path == kTextPath;
  const Status s = text ? ReadText(file, path, &t) : ReadPairedData(file, path, &d);
  if (s != Status::kOk) return dss7::StatusText(s);
  EXPECT_EQ(t.cells.size(), size_t(t.rows) * size_t(t.columns));
  EXPECT_EQ(d.values.size(), d.rows() * size_t(d.curve_count));
  EXPECT_TRUE(d.labels.empty() || d.labels.size() == size_t(d.curve_count));
  return text ? TextDumpLines(t, t.record_type()) : PairedDumpLines(d);
}

class PairedDamaged : public ::testing::Test {
 protected:
  void SetUp() override {
    VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
    base_ = dss7::testing::LoadStorage(source);
  }
  Storage base_;
};

TEST_F(PairedDamaged, RandomBytesGiveStatusesNotCrashes) {
  std::mt19937 rng(20240607);
  for (const std::string& path : {kFloatPath, kDoublePath, kTextPath}) {
    dss7::InfoBlock info;
    ASSERT_EQ(Open(base_)->Lookup(path, &info), Status::kOk);
    // From the info block to the end of the curves or table.
    const size_t start = size_t(info.address * 8);
    const size_t length =
        size_t(info.area_address[dss7::kValues2] * 8 + info.area_length[dss7::kValues2] * 4) -
        start;
    int damaged = 0;
    for (int round = 0; round < 300; ++round) {
      Storage copy = MemoryFileIO::CopyStorage(*base_);
      for (int hits = 1 + int(rng() % 8); hits > 0; --hits)
        copy->bytes[start + rng() % length] = std::byte(rng());
      damaged += Content(*Open(copy), path) == dss7::StatusText(Status::kDamaged);
    }
    EXPECT_GT(damaged, 0) << path;
  }
}

TEST_F(PairedDamaged, FailedWritesKeepTheRecordThatWasThere) {
  PairedData same;  // fits the old space exactly
  ASSERT_EQ(ReadPairedData(*Open(base_), kFloatPath, &same), Status::kOk);
  same.values[3] = -1;
  PairedData wide = same;  // floats over the double record
  wide.ordinates.assign(50, 1.5);
  wide.values.assign(100, 2.5);
  TextData table;
  table.rows = 1;
  table.columns = 2;
  table.cells = {"x", "y"};
  const std::pair<std::string, std::function<Status(dss7::DssFile&)>> ops[] = {
      {kFloatPath, [&](dss7::DssFile& f) { return WritePairedData(f, kFloatPath, same); }},
      {kDoublePath, [&](dss7::DssFile& f) { return WritePairedData(f, kDoublePath, wide); }},
      {kTextPath, [&](dss7::DssFile& f) { return WriteText(f, kTextPath, table); }},
  };
  for (const auto& [path, run] : ops) {
    const std::string before = Content(*Open(base_), path);
    Storage clean = MemoryFileIO::CopyStorage(*base_);
    ASSERT_EQ(run(*Open(clean)), Status::kOk) << path;
    const std::string after = Content(*Open(clean), path);
    ASSERT_NE(after, before);
    bool completed = false;
    for (int64_t step = 1; step < 200 && !completed; ++step) {
      Storage storage = MemoryFileIO::CopyStorage(*base_);
      auto fault = std::make_unique<dss7::FaultFileIO>(std::make_unique<MemoryFileIO>(storage));
      dss7::FaultFileIO* injector = fault.get();
      injector->set_sticky(true);
      std::unique_ptr<dss7::DssFile> file;
      ASSERT_EQ(dss7::DssFile::OpenIO(std::move(fault), {}, &file), Status::kOk);
      injector->FailAt(dss7::FaultFileIO::Op::kAnyStep, step);
      const Status result = run(*file);
      completed = !injector->fired();
      file.reset();
      EXPECT_EQ(result == Status::kOk, completed) << path << " step " << step;
      // A failure after the new record is linked (retiring the old one, syncing) shows it.
      const std::string now = Content(*Open(storage), path);
      EXPECT_TRUE(now == before || now == after) << path << " step " << step << "\n" << now;
    }
    EXPECT_TRUE(completed) << path;
  }
}

}  // namespace
}  // namespace varnock::engine::paired
