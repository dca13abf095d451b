// Damaged records give statuses, never crashes or huge allocations; writes that fail part way
// leave the record that was there readable.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <string>

#include "engine/dss7/fault_file_io.h"
#include "engine/dss7/test_support.h"
#include "engine/heclib_abi.h"
#include "engine/paired/dump_lines.h"
#include "engine/paired/record_io.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine::paired {
namespace {

using dss7::MemoryFileIO;
using dss7::Status;
using Storage = std::shared_ptr<MemoryFileIO::Storage>;

const std::string kFloatPath = "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/";
const std::string kDoublePath = "/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/";
const std::string kTextPath = "/FIXTURES/NOTES/README///C-ZTEXTSTORE/";

// The record as the dump shows it, or the read status when it does not read.
std::string Content(dss7::DssFile& file, const std::string& path) {
  if (path == kTextPath) {
    TextData t;
    const Status s = ReadText(file, path, &t);
    if (s != Status::kOk) return StatusText(s);
    EXPECT_EQ(t.cells.size(), size_t(t.rows) * size_t(t.columns));
    return TextDumpLines(t, t.record_type());
  }
  PairedData d;
  const Status s = ReadPairedData(file, path, &d);
  if (s != Status::kOk) return StatusText(s);
  EXPECT_EQ(d.values.size(), d.rows() * size_t(d.curve_count));
  EXPECT_TRUE(d.labels.empty() || d.labels.size() == size_t(d.curve_count));
  return PairedDumpLines(d);
}

std::unique_ptr<dss7::DssFile> Open(Storage storage) {
  Status s;
  auto file = dss7::testing::OpenMemory(std::move(storage), &s);
  EXPECT_EQ(s, Status::kOk);
  return file;
}

class PairedDamaged : public ::testing::Test {
 protected:
  void SetUp() override {
    source_ = varnock::testing::FixturePath("fixture7.dss");
    if (!std::filesystem::exists(source_)) GTEST_SKIP() << "reference file not present";
    base_ = dss7::testing::LoadStorage(source_);
  }
  // Bytes from the record's info block to the end of its last area.
  std::pair<size_t, size_t> Span(const std::string& path) {
    dss7::InfoBlock info;
    EXPECT_EQ(Open(base_)->Lookup(path, &info), Status::kOk);
    const int64_t end =
        info.area_address[dss7::kValues2] * 8 + info.area_length[dss7::kValues2] * 4;
    return {size_t(info.address * 8), size_t(end - info.address * 8)};
  }
  std::string source_;
  Storage base_;
};

TEST_F(PairedDamaged, RandomBytesGiveStatusesNotCrashes) {
  std::mt19937 rng(20240607);
  for (const std::string& path : {kFloatPath, kDoublePath, kTextPath}) {
    const auto [start, length] = Span(path);
    int readable = 0;
    for (int round = 0; round < 300; ++round) {
      Storage copy = MemoryFileIO::CopyStorage(*base_);
      const int hits = 1 + int(rng() % 8);
      for (int h = 0; h < hits; ++h)
        copy->bytes[start + rng() % length] = std::byte(rng());
      auto file = Open(copy);
      if (file == nullptr) continue;
      const std::string content = Content(*file, path);
      readable += content.rfind("ordinates", 0) == 0 || content.rfind("text", 0) == 0;
    }
    EXPECT_GT(readable, 0) << path;  // most single-byte hits land in values
  }
}

TEST_F(PairedDamaged, ExtremeCountsAreRefused) {
  for (const std::string& path : {kFloatPath, kTextPath}) {
    dss7::InfoBlock info;
    ASSERT_EQ(Open(base_)->Lookup(path, &info), Status::kOk);
    const size_t header = size_t(info.area_address[dss7::kInternalHeader] * 8);
    for (size_t index = 0; index < 5; ++index) {
      for (int32_t value : {-1, INT_MAX, INT_MIN, 1 << 20}) {
        Storage copy = MemoryFileIO::CopyStorage(*base_);
        std::memcpy(copy->bytes.data() + header + 4 * index, &value, 4);
        auto file = Open(copy);
        ASSERT_TRUE(file);
        const std::string content = Content(*file, path);
        if (index != 2 && index != 4 && (path != kTextPath || index == 0)) {
          EXPECT_EQ(content, StatusText(Status::kDamaged)) << path << " " << index << " " << value;
        }
      }
    }
  }
}

TEST_F(PairedDamaged, ZrpdReportsDamageThroughItsStatus) {
  varnock::testing::TempFolder folder;
  const std::string copy = folder.CopyIn(source_, "damaged.dss");
  dss7::InfoBlock info;
  ASSERT_EQ(Open(base_)->Lookup(kFloatPath, &info), Status::kOk);
  {
    std::fstream f(copy, std::ios::in | std::ios::out | std::ios::binary);
    f.seekp(info.area_address[dss7::kInternalHeader] * 8);
    const int32_t rows = INT_MAX;
    f.write(reinterpret_cast<const char*>(&rows), 4);
  }
  std::array<int32_t, 600> table{};
  int32_t status = -99, nvals = -9, nord = -9, n = 0, kvals = 100, klabel = 0, zero = 0;
  ZOPEN_(table.data(), copy.data(), int32_t(copy.size()), &status);
  ASSERT_EQ(status, 0);
  std::vector<float> values(100);
  ZRPD_(table.data(), kFloatPath.data(), int32_t(kFloatPath.size()), &nord, &n, &n, nullptr, 0,
        nullptr, 0, nullptr, 0, nullptr, 0, values.data(), &kvals, &nvals, nullptr, 0, &klabel, &n,
        nullptr, &zero, &n, &status);
  EXPECT_EQ(status, 10);
  EXPECT_EQ(nvals, 0);
  EXPECT_EQ(nord, 0);
  ZCLOSE_(table.data());
}

struct WriteOp {
  const char* name;
  std::string path;
  std::function<Status(dss7::DssFile&)> run;
};

TEST_F(PairedDamaged, FailedWritesKeepTheRecordThatWasThere) {
  PairedData wide;  // float content over the double record, and large enough to move
  wide.ordinates.assign(50, 1.5);
  wide.curve_count = 3;
  wide.values.assign(150, 2.5);
  wide.labels = {"a", "b", "c"};
  TextData table;
  table.text = "t";
  table.rows = 1;
  table.columns = 2;
  table.cells = {"x", "y"};
  PairedData same;  // fits the old space exactly
  ASSERT_EQ(ReadPairedData(*Open(base_), kFloatPath, &same), Status::kOk);
  same.values[3] = -1;
  const WriteOp ops[] = {
      {"same size", kFloatPath,
       [&](dss7::DssFile& f) { return WritePairedData(f, kFloatPath, same); }},
      {"float over double", kDoublePath,
       [&](dss7::DssFile& f) { return WritePairedData(f, kDoublePath, wide); }},
      {"rewrite moved", kFloatPath,
       [&](dss7::DssFile& f) { return WritePairedData(f, kFloatPath, wide); }},
      {"table over text", kTextPath,
       [&](dss7::DssFile& f) { return WriteText(f, kTextPath, table); }},
  };
  for (const WriteOp& op : ops) {
    const std::string before = Content(*Open(base_), op.path);
    Storage clean = MemoryFileIO::CopyStorage(*base_);
    ASSERT_EQ(op.run(*Open(clean)), Status::kOk) << op.name;
    const std::string after = Content(*Open(clean), op.path);
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
      const Status result = op.run(*file);
      completed = !injector->fired();
      file.reset();
      const std::string now = Content(*Open(storage), op.path);
      EXPECT_EQ(result == Status::kOk, completed) << op.name << " step " << step;
      // A failure after the new record is linked (retiring the old one, syncing) shows it.
      EXPECT_TRUE(now == before || now == after) << op.name << " step " << step << "\n" << now;
    }
    EXPECT_TRUE(completed) << op.name;
  }
}

}  // namespace
}  // namespace varnock::engine::paired
