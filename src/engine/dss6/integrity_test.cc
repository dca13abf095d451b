#include "engine/dss6/integrity.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss6 {
namespace {

using Storage = std::shared_ptr<dss7::MemoryFileIO::Storage>;

dss7::IntegrityReport Check(Storage storage) {
  std::unique_ptr<Dss6File> f;
  EXPECT_EQ(Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(std::move(storage)), &f),
            Status::kOk);
  dss7::IntegrityReport report;
  if (f) {
    EXPECT_EQ(CheckIntegrity(*f, &report), Status::kOk);
  }
  return report;
}

void Put(Storage& s, int64_t address, int32_t v) {
  std::memcpy(s->bytes.data() + ByteOffset(address), &v, 4);
}

TEST(Dss6Integrity, HecFilesPass) {
  for (const char* name : {"fixture6.dss", "sample6.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(path, name);
    const auto report = Check(dss7::testing::LoadStorage(path));
    EXPECT_TRUE(report.ok()) << name << ": " << report.Summary();
    EXPECT_GT(report.live_entries, 0) << name;
  }
}

TEST(Dss6Integrity, FilesWeWritePassAfterEveryKindOfWrite) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  std::unique_ptr<Dss6File> f;
  ASSERT_EQ(Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(storage), 1, Options6{}, &f),
            Status::kOk);
  const std::vector<int32_t> header = {4};
  const std::vector<int32_t> small = {0x41414141};
  const std::vector<int32_t> large(50, 0x42424242);
  const auto data = [&](const std::vector<int32_t>& words) {
    RecordData6 d;
    d.type = type::kText;
    d.internal_header = header;
    d.data = words;
    d.logical_count = static_cast<int32_t>(words.size());
    return d;
  };
  for (int i = 0; i < 40; ++i) {
    ASSERT_EQ(f->WriteNewRecord("/I/P" + std::to_string(i) + "/C///F/", data(small)), Status::kOk);
  }
  ASSERT_EQ(f->Rewrite("/I/P1/C///F/", data(large)), Status::kOk);
  ASSERT_EQ(f->Rewrite("/I/P1/C///F/", data(small)), Status::kOk);
  ASSERT_EQ(f->Delete("/I/P2/C///F/"), Status::kOk);
  ASSERT_EQ(f->Delete("/I/P3/C///F/"), Status::kOk);
  ASSERT_EQ(f->Undelete("/I/P3/C///F/"), Status::kOk);
  ASSERT_EQ(f->WriteNewRecord("/I/P2/C///F/", data(large)), Status::kOk);
  ASSERT_EQ(f->Rename("/I/P4/C///F/", "/I/RENAMED/C///F/"), Status::kOk);
  ASSERT_EQ(f->Rename("/I/P5/C///F/", "/I/P6/C///F/"), Status::kOk);
  f.reset();
  const auto report = Check(storage);
  EXPECT_TRUE(report.ok()) << report.Summary();
  EXPECT_EQ(report.live_entries, 39);
}

TEST(Dss6Integrity, DamageIsReported) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  const auto original = dss7::testing::LoadStorage(path);
  struct Case {
    const char* what;
    int64_t address;
    int32_t value;
  };
  const Case cases[] = {
      {"record count one too high", 2, 28},
      {"info block flag", 6351, 0},
      {"info block type differs from its bin entry", 6351 + 15 + 14, 105},
      {"data area past the end of the file", 6351 + 15 + 2, 900000},
      {"info block status", 6351 + 1, 2},
  };
  for (const auto& c : cases) {
    auto copy = dss7::MemoryFileIO::CopyStorage(*original);
    Put(copy, c.address, c.value);
    EXPECT_FALSE(Check(copy).ok()) << c.what;
  }
}

}  // namespace
}  // namespace varnock::engine::dss6
