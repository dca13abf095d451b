#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss7 {
namespace {

using testing::DumpRecords;

FileOptions ReadOnly() {  // NOLINT
  FileOptions o;
  o.read_only = true;
  return o;
}

CatalogFilter Filter(CatalogFilter::Which which, int32_t min_type = 0, int32_t max_type = 1000) {
  CatalogFilter f;
  f.which = which;
  f.min_type = min_type;
  f.max_type = max_type;
  return f;
}

// Every live record the catalog names must be found, be readable with sane areas, and carry the
// type the dump reports; the catalog must hold exactly the dump's pathnames.
void CheckFileAgainstDump(const std::string& dss, const std::string& dump) {
  std::unique_ptr<DssFile> file;
  ASSERT_EQ(DssFile::Open(dss, ReadOnly(), &file), Status::kOk) << dss;
  EXPECT_TRUE(file->read_only());
  std::vector<CatalogEntry> catalog;
  ASSERT_EQ(file->Catalog(&catalog), Status::kOk);
  EXPECT_EQ(static_cast<int64_t>(catalog.size()), file->header()[hdr::kRecordCount]);

  auto expected = DumpRecords(dump);
  ASSERT_FALSE(expected.empty()) << dump;
  std::vector<std::pair<std::string, int>> got;
  for (const auto& c : catalog) {
    got.emplace_back(c.path, c.type);
    Record record;
    ASSERT_EQ(file->ReadRecord(c.path, &record), Status::kOk) << c.path;
    EXPECT_EQ(record.info.path, c.path);
    EXPECT_EQ(record.info.type, c.type);
    EXPECT_EQ(record.info.address, c.info_address);
    EXPECT_GE(record.info.version, 1);
    for (int a = 0; a < kAreaCount; ++a) {
      EXPECT_EQ(static_cast<int64_t>(record.areas[a].size()), record.info.area_length[a]);
    }
    EXPECT_GT(record.areas[kValues1].size(), 0u) << c.path;
  }
  std::sort(got.begin(), got.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(got, expected);
}

TEST(Dss7ReadFixtures, Fixture7MatchesItsDump) {
  VARNOCK_REQUIRE_FIXTURE(dss, "fixture7.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "fixture7.dump.txt");
  CheckFileAgainstDump(dss, dump);
}

TEST(Dss7ReadFixtures, Sample7MatchesItsDump) {
  VARNOCK_REQUIRE_FIXTURE(dss, "sample7.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "sample7.dss.dump.txt.gz");
  CheckFileAgainstDump(dss, dump);
}

TEST(Dss7ReadFixtures, MoRiverObs7MatchesItsDump) {
  VARNOCK_REQUIRE_FIXTURE(dss, "MoRiverObs7.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "MoRiverObs7.dss.dump.txt.gz");
  CheckFileAgainstDump(dss, dump);
}

TEST(Dss7ReadFixtures, LookupFoldsCaseAndSkipsDeletedAndRenamed) {
  VARNOCK_REQUIRE_FIXTURE(dss, "fixture7.dss");
  std::unique_ptr<DssFile> file;
  ASSERT_EQ(DssFile::Open(dss, ReadOnly(), &file), Status::kOk);
  InfoBlock info;
  ASSERT_EQ(file->Lookup("/fixtures/hourly/flow/01JAN2021/1HOUR/f77-zsrts/", &info), Status::kOk);
  EXPECT_EQ(info.path, "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/");
  EXPECT_EQ(info.address, 15773);
  EXPECT_EQ(info.area_length[kInternalHeader], 26);
  EXPECT_EQ(info.logical_count, 744);
  EXPECT_EQ(info.Program(), "not specified");
  EXPECT_EQ(file->Lookup("/FIXTURES/SCRATCH/FLOW/01Mar2021/1Hour/C-DELETED/", &info),
            Status::kNotFound);
  EXPECT_EQ(file->Lookup("/FIXTURES/OLDNAME/FLOW/01Jan2021/1Day/C-RENAMED/", &info),
            Status::kNotFound);
  EXPECT_EQ(file->Lookup("/FIXTURES/NOPE/FLOW/01Jan2021/1Day/C-RENAMED/", &info),
            Status::kNotFound);
  std::vector<CatalogEntry> deleted, renamed;
  ASSERT_EQ(file->Catalog(&deleted, Filter(CatalogFilter::Which::kDeleted)), Status::kOk);
  ASSERT_EQ(file->Catalog(&renamed, Filter(CatalogFilter::Which::kRenamed)), Status::kOk);
  ASSERT_EQ(deleted.size(), 1u);
  ASSERT_EQ(renamed.size(), 1u);
  EXPECT_EQ(deleted[0].path, "/FIXTURES/SCRATCH/FLOW/01Mar2021/1Hour/C-DELETED/");
  EXPECT_EQ(renamed[0].path, "/FIXTURES/OLDNAME/FLOW/01Jan2021/1Day/C-RENAMED/");
  std::vector<CatalogEntry> paired;
  ASSERT_EQ(file->Catalog(&paired, Filter(CatalogFilter::Which::kLive, 200, 299)), Status::kOk);
  EXPECT_EQ(paired.size(), 2u);
  EXPECT_EQ(file->version().text, "7-IX");
  EXPECT_EQ(file->version().full, 70924);
}

TEST(Dss7ReadFixtures, VersionSixAndOthersAreRefused) {
  VARNOCK_REQUIRE_FIXTURE(dss6, "fixture6.dss");
  std::unique_ptr<DssFile> file;
  EXPECT_EQ(DssFile::Open(dss6, {}, &file), Status::kIncompatibleVersion);
  EXPECT_EQ(file, nullptr);
  auto storage = testing::LoadStorage(dss6);
  MemoryFileIO io(storage);
  VersionInfo v;
  ASSERT_EQ(DssFile::ProbeVersion(io, &v), Status::kOk);
  EXPECT_EQ(v.major, 6);
  EXPECT_EQ(v.text.substr(0, 2), "6-");
  for (char digit : {'5', '8'}) {
    auto copy = MemoryFileIO::CopyStorage(*storage);
    copy->bytes[16] = static_cast<std::byte>(digit);
    Status s;
    EXPECT_EQ(testing::OpenMemory(copy, &s), nullptr);
    EXPECT_EQ(s, Status::kIncompatibleVersion);
  }
  auto copy = MemoryFileIO::CopyStorage(*storage);
  copy->bytes[16] = static_cast<std::byte>('X');
  Status s;
  testing::OpenMemory(copy, &s);
  EXPECT_EQ(s, Status::kInvalidHeader);
  copy->bytes[0] = static_cast<std::byte>('Q');
  testing::OpenMemory(copy, &s);
  EXPECT_EQ(s, Status::kNotDssFile);
  EXPECT_EQ(DssFile::Open("/nonexistent/dir/x.dss", {}, &file), Status::kOpenFailed);
}

}  // namespace
}  // namespace varnock::engine::dss7

namespace varnock::engine::dss7 {
namespace {

// HEC saved a sort list in these files; our own column sort must give the same order.
TEST(Dss7ReadFixtures, ColumnSortReproducesHecSavedSortLists) {
  for (const char* name : {"sample7.dss", "MoRiverObs7.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(path, name);
    std::unique_ptr<DssFile> file;
    ASSERT_EQ(DssFile::Open(path, ReadOnly(), &file), Status::kOk);
    ASSERT_EQ(file->header()[hdr::kSortStatus], sort_status::kValid);
    std::vector<CatalogEntry> saved, sorted;
    ASSERT_EQ(file->SortedCatalog(&saved, true), Status::kOk);
    ASSERT_EQ(file->SortedCatalog(&sorted, false), Status::kOk);
    ASSERT_EQ(saved.size(), sorted.size());
    size_t differ = 0;
    for (size_t i = 0; i < saved.size(); ++i) {
      if (saved[i].path != sorted[i].path) {
        if (differ++ < 5)
          ADD_FAILURE() << name << " #" << i << ": HEC " << saved[i].path << " ours "
                        << sorted[i].path;
      }
    }
    EXPECT_EQ(differ, 0u) << name;
  }
}

}  // namespace
}  // namespace varnock::engine::dss7
