#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "engine/dss7/codec.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss7 {
namespace {

using testing::CreateMemory;
using testing::OpenMemory;

void ExpectIntact(DssFile& file) {
  IntegrityReport report;
  ASSERT_EQ(CheckIntegrity(file, &report), Status::kOk);
  EXPECT_TRUE(report.ok()) << report.Summary();
}

TEST(Dss7Create, NewFileHasHecLayout) {
  testing::FakeClock clock;
  FileOptions options;
  options.clock = clock.AsClock();
  auto storage = MemoryFileIO::NewStorage();
  Status s;
  auto file = CreateMemory(storage, {}, &s, options);
  ASSERT_EQ(s, Status::kOk);
  EXPECT_EQ(storage->bytes.size(), 126192u);
  const auto& h = file->header();
  const std::vector<std::pair<int, int64_t>> expected = {{hdr::kHeaderSize, 100},
                                                         {hdr::kFileSize, 15773},
                                                         {hdr::kCreateTime, clock.now},
                                                         {hdr::kLastWriteTime, clock.now},
                                                         {hdr::kLockWordsAddress, 100},
                                                         {hdr::kHashTableSize, 8192},
                                                         {hdr::kHashTableAddress, 178},
                                                         {hdr::kBinsPerBlock, 32},
                                                         {hdr::kBinsLeftInBlock, 32},
                                                         {hdr::kBinSize, 200},
                                                         {hdr::kFirstBinAddress, 9372},
                                                         {hdr::kNextBinAddress, 9372},
                                                         {hdr::kReclaimMin, 100},
                                                         {hdr::kReclaimTableAddress, 8370},
                                                         {hdr::kReclaimCurrentTable, 8370},
                                                         {hdr::kReclaimMaxTables, 20},
                                                         {hdr::kReclaimPairsPerTable, 500},
                                                         {hdr::kReclaimTableSize, 1002},
                                                         {hdr::kLockArraySize, 25},
                                                         {hdr::kWriteLockArrayAddress, 103},
                                                         {hdr::kReadLockArrayAddress, 128},
                                                         {hdr::kPidArrayAddress, 153},
                                                         {hdr::kEndHeader, kEndHeaderMarker}};
  std::vector<bool> named(hdr::kWords, false);
  named[hdr::kMagic] = named[hdr::kVersion] = true;
  for (const auto& [word, value] : expected) {
    EXPECT_EQ(h[word], value) << "header word " << word;
    named[word] = true;
  }
  for (int w = 0; w < hdr::kWords; ++w) {
    if (!named[w]) {
      EXPECT_EQ(h[w], 0) << "header word " << w;
    }
  }
  EXPECT_EQ(file->version().text, "7-JA");
  EXPECT_EQ(file->version().full, 71001);
  std::vector<int64_t> all(storage->bytes.size() / 8);
  ASSERT_EQ(file->io().ReadWords(0, all), Status::kOk);
  EXPECT_EQ(all.back(), kEndFileMarker);
  for (size_t w = hdr::kWords; w + 1 < all.size(); ++w)
    ASSERT_EQ(all[w], 0) << w;
  ExpectIntact(*file);
  // It reopens, and its fixed words agree with a file HEC made.
  file.reset();
  auto reopened = OpenMemory(storage, &s);
  ASSERT_EQ(s, Status::kOk);
  const char* fixture = "fixture7.dss";
  if (std::filesystem::exists(varnock::testing::FixturePath(fixture))) {
    auto hec = OpenMemory(testing::LoadStorage(varnock::testing::FixturePath(fixture)), &s);
    ASSERT_EQ(s, Status::kOk);
    for (int w : {1, 14, 15, 19, 21, 23, 24, 39, 42, 43, 45, 47, 48, 90, 91, 92, 93, 99}) {
      EXPECT_EQ(reopened->header()[w], hec->header()[w]) << "header word " << w;
    }
  }
}

TEST(Dss7Create, SizesFollowExpectedPathsAndOptions) {
  struct Case {
    int64_t paths, table, bin;
  };
  for (const Case& c :
       {Case{0, 8192, 200}, Case{10000, 8192, 200}, Case{10001, 8192, 150}, Case{50001, 8192, 200},
        Case{100001, 16348, 200}, Case{500001, 32768, 300}, Case{2000000, 64000, 300}}) {
    int64_t table = 0, bin = 0;
    DssFile::ChooseSizes(c.paths, &table, &bin);
    EXPECT_EQ(table, c.table) << c.paths;
    EXPECT_EQ(bin, c.bin) << c.paths;
  }
  Status s;
  CreateOptions small;
  small.hash_table_size = 5;
  small.bin_size = 30;
  small.expected_paths = 400;
  auto file = CreateMemory(MemoryFileIO::NewStorage(), small, &s);
  ASSERT_EQ(s, Status::kOk);
  EXPECT_EQ(file->header()[hdr::kExpectedPaths], 400);
  EXPECT_EQ(file->header()[hdr::kFileSize], 100 + 3 + 75 + 5 + 1002 + 32 * 30 + 1);
  ExpectIntact(*file);
  for (auto [table, bin] :
       {std::pair<int64_t, int64_t>{1, 200}, {100001, 200}, {8192, 19}, {8192, 401}}) {
    CreateOptions bad;
    bad.hash_table_size = table;
    bad.bin_size = bin;
    EXPECT_EQ(CreateMemory(MemoryFileIO::NewStorage(), bad, &s), nullptr);
    EXPECT_EQ(s, Status::kInvalidArgument);
  }
  auto used = MemoryFileIO::NewStorage();
  used->bytes.resize(8);
  EXPECT_EQ(CreateMemory(used, {}, &s), nullptr);
  EXPECT_EQ(s, Status::kExists);
}

TEST(Dss7Create, PosixCreateOpenOrCreateAndReadOnly) {
  const std::string path = testing::TempDir() + "/created.dss";
  std::filesystem::remove(path);
  std::unique_ptr<DssFile> file;
  ASSERT_EQ(DssFile::Create(path, {}, {}, &file), Status::kOk);
  ASSERT_EQ(file->Close(), Status::kOk);
  EXPECT_EQ(std::filesystem::file_size(path), 126192u);
  EXPECT_EQ(DssFile::Create(path, {}, {}, &file), Status::kExists);
  bool created = true;
  ASSERT_EQ(DssFile::OpenOrCreate(path, {}, {}, &file, &created), Status::kOk);
  EXPECT_FALSE(created);
  file.reset();
  // An empty file counts as missing, as in HEC.
  { std::ofstream truncate(path, std::ios::trunc); }
  ASSERT_EQ(DssFile::OpenOrCreate(path, {}, {}, &file, &created), Status::kOk);
  EXPECT_TRUE(created);
  file.reset();
  std::filesystem::permissions(path, std::filesystem::perms::owner_read,
                               std::filesystem::perm_options::replace);
  if (::geteuid() != 0) {  // root ignores permissions
    ASSERT_EQ(DssFile::Open(path, {}, &file), Status::kOk);
    EXPECT_TRUE(file->read_only());
  }
  FileOptions ro;
  ro.read_only = true;
  ASSERT_EQ(DssFile::Open(path, ro, &file), Status::kOk);
  EXPECT_TRUE(file->read_only());
  const std::vector<int32_t> one{1};
  RecordData d;
  d.areas[kValues1] = one;
  EXPECT_EQ(file->WriteNewRecord("/A/B/C/D/E/F/", d), Status::kReadOnly);
  file.reset();
  std::filesystem::remove(path);
}

TEST(Dss7Create, ReferenceFilesPassTheIntegrityCheck) {
  for (const char* name : {"fixture7.dss", "sample7.dss", "MoRiverObs7.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(path, name);
    std::unique_ptr<DssFile> file;
    FileOptions ro;
    ro.read_only = true;
    ASSERT_EQ(DssFile::Open(path, ro, &file), Status::kOk);
    IntegrityReport report;
    ASSERT_EQ(CheckIntegrity(*file, &report), Status::kOk);
    EXPECT_TRUE(report.ok()) << name << ": " << report.Summary();
    EXPECT_EQ(report.live_entries, file->header()[hdr::kRecordCount]);
    EXPECT_EQ(report.info_blocks_seen, file->header()[hdr::kRecordCount]);
  }
}

}  // namespace
}  // namespace varnock::engine::dss7
