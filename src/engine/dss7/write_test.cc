#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "engine/dss7/codec.h"
#include "engine/dss7/hash.h"
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

// A record with recognisable contents: area a holds sizes[a] values seeded by `seed`.
struct Payload {
  std::array<std::vector<int32_t>, kAreaCount> areas;
  RecordData data;
  Payload(int32_t type, std::array<int, kAreaCount> sizes, int32_t seed) {
    for (int a = 0; a < kAreaCount; ++a) {
      areas[a].resize(static_cast<size_t>(sizes[a]));
      std::iota(areas[a].begin(), areas[a].end(), seed * 1000 + a * 100);
      data.areas[a] = areas[a];
    }
    data.type = type;
    data.data_count = sizes[kValues1];
  }
};

void ExpectRecord(DssFile& file, const std::string& path, const Payload& p) {
  Record r;
  ASSERT_EQ(file.ReadRecord(path, &r), Status::kOk) << path;
  for (int a = 0; a < kAreaCount; ++a)
    EXPECT_EQ(r.areas[a], p.areas[a]) << path << " area " << a;
  EXPECT_EQ(r.info.type, p.data.type);
}

class Dss7WriteTest : public ::testing::Test {
 protected:
  void SetUp() override {
    options_.clock = clock_.AsClock();
    Status s;
    file_ = CreateMemory(storage_, {}, &s, options_);
    ASSERT_EQ(s, Status::kOk);
  }
  testing::FakeClock clock_;
  FileOptions options_;
  std::shared_ptr<MemoryFileIO::Storage> storage_ = MemoryFileIO::NewStorage();
  std::unique_ptr<DssFile> file_;
};

TEST_F(Dss7WriteTest, WorkedExampleIsLaidOutAsHecDoes) {
  const std::string path = "/Basin/Location/Flow/01Jan2001/1Hour/C Test/";
  Payload p(100, {26, 0, 0, 200, 0, 0}, 1);
  p.data.logical_count = 744;
  p.data.first = {36911, 43200};
  p.data.last = {36919, 68400};
  ASSERT_EQ(file_->WriteNewRecord(path, p.data), Status::kOk);
  const auto& h = file_->header();
  EXPECT_EQ(h[hdr::kRecordCount], 1);
  EXPECT_EQ(h[hdr::kFileSize], 15922);
  EXPECT_EQ(h[hdr::kNextBinAddress], 9572);
  EXPECT_EQ(h[hdr::kBinsLeftInBlock], 31);
  EXPECT_EQ(h[hdr::kHashesUsed], 1);
  EXPECT_EQ(h[hdr::kBinsUsed], 1);
  EXPECT_EQ(h[hdr::kSortNewWrites], 1);
  const std::vector<int64_t> maxima = {44, 5, 8, 4, 9, 5, 6};
  for (int i = 0; i < 7; ++i)
    EXPECT_EQ(h[hdr::kMaxPath + i], maxima[i]) << i;
  EXPECT_EQ(h[hdr::kMaxInternalHeader], 26);
  EXPECT_EQ(h[hdr::kMaxInternalHeader + kValues1], 200);
  EXPECT_EQ(h[hdr::kMaxRecordBody], 113);
  EXPECT_EQ(h[hdr::kMaxBodyRts], 113);
  EXPECT_EQ(h[hdr::kCountInternalHeader], 1);
  EXPECT_EQ(h[hdr::kCountValues1], 1);

  std::vector<int64_t> words(15923);
  ASSERT_EQ(file_->io().ReadWords(0, words), Status::kOk);
  EXPECT_EQ(words[178 + 4654], 9372);
  EXPECT_EQ(words[9372], 6053255139053196288);
  EXPECT_EQ(words[9373], 1);
  EXPECT_EQ(words[9374], PackPair(44, 6));
  EXPECT_EQ(words[9375], 15773);
  EXPECT_EQ(words[9376], PackPair(100, 0));
  EXPECT_EQ(words[9377], clock_.now);
  EXPECT_EQ(words[9378], PackPair(36911, 36919));
  EXPECT_EQ(LoadBytes(std::span(words).subspan(9379, 6), 48), path + std::string(4, '\0'));
  EXPECT_EQ(words[9385], 0);
  const std::vector<int64_t> info = {-97534,           1, 44,        6053255139053196288,
                                     PackPair(100, 1), 0, clock_.now};
  for (size_t i = 0; i < info.size(); ++i)
    EXPECT_EQ(words[15773 + i], info[i]) << i;
  const std::vector<int64_t> tail = {PackPair(36911, 43200),
                                     PackPair(36919, 68400),
                                     clock_.now,
                                     0,
                                     15809,
                                     26,
                                     15822,
                                     0,
                                     15822,
                                     0,
                                     15822,
                                     200,
                                     15922,
                                     0,
                                     15922,
                                     0,
                                     200,
                                     200,
                                     744,
                                     0,
                                     0};
  for (size_t i = 0; i < tail.size(); ++i)
    EXPECT_EQ(words[15773 + 9 + i], tail[i]) << 9 + i;
  EXPECT_EQ(words[15922], kEndFileMarker);
  EXPECT_EQ(storage_->bytes.size(), 15923u * 8);
  ExpectIntact(*file_);
}

TEST_F(Dss7WriteTest, RewritesGoToNewSpaceAndReuseTheOldEntry) {
  const std::string path = "/A/B/FLOW/01Jan2020/1Hour/X/";
  Payload first(100, {4, 0, 0, 10, 0, 0}, 1);
  ASSERT_EQ(file_->WriteNewRecord(path, first.data), Status::kOk);
  EXPECT_EQ(file_->WriteNewRecord(path, first.data), Status::kExists);
  EXPECT_EQ(file_->Rewrite("/A/B/FLOW/01Jan2020/1Hour/NONE/", first.data), Status::kNotFound);
  InfoBlock before;
  ASSERT_EQ(file_->Lookup(path, &before), Status::kOk);

  clock_.now += 1000;
  Payload smaller(105, {4, 0, 0, 6, 0, 0}, 2);  // float -> double is allowed
  ASSERT_EQ(file_->Rewrite(path, smaller.data), Status::kOk);
  InfoBlock second;
  ASSERT_EQ(file_->Lookup(path, &second), Status::kOk);
  EXPECT_GT(second.address, before.address);  // live data is never overwritten
  EXPECT_EQ(second.version, 2);
  EXPECT_EQ(second.expansions, 0);  // it did not grow
  EXPECT_EQ(second.creation_ms, before.creation_ms);
  EXPECT_EQ(second.last_write_ms, clock_.now);
  EXPECT_EQ(file_->header()[hdr::kExpansionCount], 0);
  EXPECT_GT(file_->header()[hdr::kDeadSpace], 0);
  InfoBlock superseded;
  ASSERT_EQ(file_->ReadInfoAt(before.address, &superseded), Status::kOk);
  EXPECT_EQ(superseded.status, entry_status::kMoved);
  ExpectRecord(*file_, path, smaller);
  ExpectIntact(*file_);
  const int64_t bins_used = file_->header()[hdr::kBinsUsed];

  Payload bigger(105, {4, 0, 0, 300, 0, 0}, 3);
  ASSERT_EQ(file_->Rewrite(path, bigger.data), Status::kOk);
  InfoBlock moved;
  ASSERT_EQ(file_->Lookup(path, &moved), Status::kOk);
  EXPECT_GT(moved.address, second.address);
  EXPECT_EQ(moved.version, 3);
  EXPECT_EQ(moved.expansions, 1);
  EXPECT_EQ(file_->header()[hdr::kExpansionCount], 1);
  InfoBlock old;
  ASSERT_EQ(file_->ReadInfoAt(second.address, &old), Status::kOk);
  EXPECT_EQ(old.status, entry_status::kMoved);  // a squeeze must not revive it
  // Two entries take turns: rewrites do not fill the bins.
  for (int i = 0; i < 20; ++i)
    ASSERT_EQ(file_->Rewrite(path, bigger.data), Status::kOk);
  EXPECT_EQ(file_->header()[hdr::kBinsUsed], bins_used);
  std::vector<CatalogEntry> listed;
  ASSERT_EQ(file_->Catalog(&listed), Status::kOk);
  EXPECT_EQ(listed.size(), 1u);
  ExpectRecord(*file_, path, bigger);
  EXPECT_EQ(file_->header()[hdr::kRecordCount], 1);
  ExpectIntact(*file_);

  Payload text(300, {6, 0, 0, 4, 0, 0}, 4);
  EXPECT_EQ(file_->Rewrite(path, text.data), Status::kTypeMismatch);
  ExpectRecord(*file_, path, bigger);
}

TEST_F(Dss7WriteTest, DeleteUndeleteAndCounters) {
  Payload a(200, {6, 4, 0, 10, 20, 0}, 1), b(300, {6, 0, 0, 5, 0, 0}, 2);
  ASSERT_EQ(file_->WriteNewRecord("/P/Q/STAGE-FLOW///PD/", a.data), Status::kOk);
  ASSERT_EQ(file_->WriteNewRecord("/P/Q/NOTE///TXT/", b.data), Status::kOk);
  EXPECT_EQ(file_->header()[hdr::kCountHeader2], 1);
  EXPECT_EQ(file_->Delete("/P/Q/NONE///TXT/"), Status::kNotFound);
  ASSERT_EQ(file_->Delete("/p/q/stage-flow///pd/"), Status::kOk);
  const auto& h = file_->header();
  EXPECT_EQ(h[hdr::kRecordCount], 1);
  EXPECT_EQ(h[hdr::kDeleteCount], 1);
  EXPECT_EQ(h[hdr::kCountHeader2], 0);
  EXPECT_FALSE(file_->Exists("/P/Q/STAGE-FLOW///PD/"));
  std::vector<CatalogEntry> live;
  ASSERT_EQ(file_->Catalog(&live), Status::kOk);
  ASSERT_EQ(live.size(), 1u);
  EXPECT_EQ(live[0].path, "/P/Q/NOTE///TXT/");
  ExpectIntact(*file_);

  EXPECT_EQ(file_->Undelete("/P/Q/NOTE///TXT/"), Status::kExists);
  EXPECT_EQ(file_->Undelete("/P/Q/NONE///TXT/"), Status::kNotFound);
  ASSERT_EQ(file_->Undelete("/P/Q/STAGE-FLOW///PD/"), Status::kOk);
  ExpectRecord(*file_, "/P/Q/STAGE-FLOW///PD/", a);
  EXPECT_EQ(h[hdr::kRecordCount], 2);
  EXPECT_EQ(h[hdr::kDeleteCount], 0);
  EXPECT_EQ(h[hdr::kCountHeader2], 1);
  ExpectIntact(*file_);

  // A new record over a deleted path takes over its slot: no undelete afterwards.
  ASSERT_EQ(file_->Delete("/P/Q/NOTE///TXT/"), Status::kOk);
  Payload c(300, {6, 0, 0, 7, 0, 0}, 3);
  ASSERT_EQ(file_->WriteNewRecord("/P/Q/NOTE///TXT/", c.data), Status::kOk);
  ExpectRecord(*file_, "/P/Q/NOTE///TXT/", c);
  EXPECT_EQ(file_->Undelete("/P/Q/NOTE///TXT/"), Status::kExists);
  ExpectIntact(*file_);
}

TEST_F(Dss7WriteTest, RenameInPlaceMovedCaseOnlyAndOverExisting) {
  Payload ts(100, {4, 0, 0, 8, 0, 0}, 1), pd(200, {6, 2, 0, 4, 8, 0}, 2),
      other(300, {6, 0, 0, 3, 0, 0}, 3);
  const std::string ts_path = "/R/OLD/FLOW/01Jan2021/1Day/OBS/";
  ASSERT_EQ(file_->WriteNewRecord(ts_path, ts.data), Status::kOk);
  ASSERT_EQ(file_->WriteNewRecord("/R/S/PD///V1/", pd.data), Status::kOk);
  ASSERT_EQ(file_->WriteNewRecord("/R/S/TARGET///V1/", other.data), Status::kOk);
  InfoBlock before;
  ASSERT_EQ(file_->Lookup(ts_path, &before), Status::kOk);

  // Time series keep their D and E parts whatever the new name says.
  ASSERT_EQ(file_->Rename(ts_path, "/R/NEW/FLOW/01Feb2021/1Hour/OBS/"), Status::kOk);
  const std::string ts_new = "/R/NEW/FLOW/01Jan2021/1Day/OBS/";
  InfoBlock after;
  ASSERT_EQ(file_->Lookup(ts_new, &after), Status::kOk);
  EXPECT_GT(after.address, before.address);  // a new info block; the data stay
  EXPECT_EQ(after.area_address, before.area_address);
  EXPECT_EQ(after.version, before.version);
  InfoBlock old_info;
  ASSERT_EQ(file_->ReadInfoAt(before.address, &old_info), Status::kOk);
  EXPECT_EQ(old_info.status, entry_status::kRenamed);
  EXPECT_FALSE(file_->Exists(ts_path));
  ExpectRecord(*file_, ts_new, ts);
  ExpectIntact(*file_);

  // A longer path moves the info block away from its data.
  const std::string long_path = "/R/S/PD///A-MUCH-LONGER-VERSION-NAME/";
  ASSERT_EQ(file_->Rename("/R/S/PD///V1/", long_path), Status::kOk);
  ASSERT_EQ(file_->Lookup(long_path, &after), Status::kOk);
  ExpectRecord(*file_, long_path, pd);
  EXPECT_GT(file_->header()[hdr::kDeadSpace], 0);
  ExpectIntact(*file_);

  // Case only: through a temporary name, ending with one live entry.
  ASSERT_EQ(file_->Rename(long_path, "/r/s/pd///a-much-longer-version-name/"), Status::kOk);
  std::vector<CatalogEntry> live;
  ASSERT_EQ(file_->Catalog(&live), Status::kOk);
  ASSERT_EQ(live.size(), 3u);
  EXPECT_EQ(std::count_if(live.begin(), live.end(),
                          [](const CatalogEntry& c) {
                            return c.path == "/r/s/pd///a-much-longer-version-name/";
                          }),
            1);
  ExpectIntact(*file_);

  // Onto an existing record: that record is deleted first.
  ASSERT_EQ(file_->Rename("/r/s/pd///a-much-longer-version-name/", "/R/S/TARGET///V1/"),
            Status::kOk);
  ExpectRecord(*file_, "/R/S/TARGET///V1/", pd);
  EXPECT_EQ(file_->header()[hdr::kRecordCount], 2);
  EXPECT_EQ(file_->header()[hdr::kSortStatus], sort_status::kUnusable);
  ExpectIntact(*file_);
  EXPECT_EQ(file_->Rename("/R/S/NONE///V1/", "/R/S/X///V1/"), Status::kNotFound);
  EXPECT_EQ(file_->Rename("/R/S/TARGET///V1/", "/R/S/TARGET///V1/"), Status::kInvalidArgument);
  EXPECT_EQ(file_->Rename("/R/S/TARGET///V1/", "not a path"), Status::kInvalidArgument);
}

TEST_F(Dss7WriteTest, SmallTablesOverflowIntoChainsAndBlocks) {
  Status s;
  CreateOptions small;
  small.hash_table_size = 5;
  small.bin_size = 30;
  auto file = CreateMemory(MemoryFileIO::NewStorage(), small, &s, options_);
  ASSERT_EQ(s, Status::kOk);
  std::vector<std::string> paths;
  for (int i = 0; i < 402; ++i) {
    paths.push_back("/BASIN/LOC" + std::to_string(i) + "/FLOW/01Jan2020/1Hour/RUN" +
                    std::to_string(i % 7) + "/");
    Payload p(100, {4, 0, 0, 2 + i % 5, 0, 0}, i);
    ASSERT_EQ(file->WriteNewRecord(paths.back(), p.data), Status::kOk) << i;
  }
  EXPECT_GT(file->header()[hdr::kOverflowBins], 0);
  EXPECT_GT(file->header()[hdr::kBinsUsed], 3 * 32);  // four bin blocks
  std::vector<CatalogEntry> catalog;
  ASSERT_EQ(file->Catalog(&catalog), Status::kOk);
  EXPECT_EQ(catalog.size(), paths.size());
  for (int i = 0; i < 402; i += 37) {
    ExpectRecord(*file, paths[i], Payload(100, {4, 0, 0, 2 + i % 5, 0, 0}, i));
  }
  ExpectIntact(*file);
  for (int i = 0; i < 402; i += 3)
    ASSERT_EQ(file->Delete(paths[i]), Status::kOk);
  for (int i = 0; i < 402; i += 6)
    ASSERT_EQ(file->Undelete(paths[i]), Status::kOk);
  ExpectIntact(*file);
}

TEST(Dss7Copy, RecordsCopyByteForByteFromReferenceFiles) {
  for (const char* name : {"fixture7.dss", "MoRiverObs7.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(path, name);
    Status s;
    auto source = OpenMemory(testing::LoadStorage(path), &s);
    ASSERT_EQ(s, Status::kOk);
    auto target = CreateMemory(MemoryFileIO::NewStorage(), {}, &s);
    ASSERT_EQ(s, Status::kOk);
    std::vector<CatalogEntry> catalog;
    ASSERT_EQ(source->Catalog(&catalog), Status::kOk);
    for (const auto& c : catalog) {
      ASSERT_EQ(source->Copy(c.path, *target, c.path), Status::kOk) << c.path;
      Record from, to;
      ASSERT_EQ(source->ReadRecord(c.path, &from), Status::kOk);
      ASSERT_EQ(target->ReadRecord(c.path, &to), Status::kOk);
      EXPECT_EQ(from.areas, to.areas) << c.path;
      EXPECT_EQ(to.info.type, from.info.type);
      EXPECT_EQ(to.info.version, from.info.version);
      EXPECT_EQ(to.info.creation_ms, from.info.creation_ms);
      EXPECT_EQ(to.info.last_write_ms, from.info.last_write_ms);
      EXPECT_EQ(to.info.Program(), from.info.Program());
      EXPECT_EQ(to.info.first, from.info.first);
      EXPECT_EQ(to.info.data_count, from.info.data_count);
      EXPECT_EQ(to.info.logical_count, from.info.logical_count);
    }
    EXPECT_EQ(target->header()[hdr::kRecordCount], static_cast<int64_t>(catalog.size()));
    ExpectIntact(*target);
    // Within one file, and over an existing record.
    ASSERT_EQ(source->Copy(catalog[0].path, *source, "/COPY/OF/FIRST///ONE/"), Status::kOk);
    ASSERT_EQ(source->Copy(catalog[1].path, *source, "/COPY/OF/FIRST///ONE/"), Status::kOk);
    Record a, b;
    ASSERT_EQ(source->ReadRecord(catalog[1].path, &a), Status::kOk);
    ASSERT_EQ(source->ReadRecord("/COPY/OF/FIRST///ONE/", &b), Status::kOk);
    EXPECT_EQ(a.areas, b.areas);
    ExpectIntact(*source);
    EXPECT_EQ(source->Copy("/NOT/THERE/X///Y/", *target, "/A/B/C/D/E/F/"), Status::kNotFound);
  }
}

TEST(Dss7EditReference, EveryOperationOnACopyOfFixture7KeepsItIntact) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture7.dss");
  Status s;
  auto storage = testing::LoadStorage(path);
  auto file = OpenMemory(storage, &s);
  ASSERT_EQ(s, Status::kOk);
  std::vector<CatalogEntry> catalog;
  ASSERT_EQ(file->Catalog(&catalog), Status::kOk);
  std::map<std::string, Record> before;
  for (const auto& c : catalog)
    ASSERT_EQ(file->ReadRecord(c.path, &before[c.path]), Status::kOk);

  Payload p(300, {6, 0, 0, 9, 0, 0}, 7);
  ASSERT_EQ(file->WriteNewRecord("/NEW/TEXT/NOTE///X/", p.data), Status::kOk);
  EXPECT_EQ(file->header()[hdr::kSortStatus], sort_status::kUnusable);  // stays 3
  const std::string grow = "/FIXTURES/NOTES/README///C-ZTEXTSTORE/";
  Payload big(300, {6, 0, 0, 500, 0, 0}, 8);
  ASSERT_EQ(file->Rewrite(grow, big.data), Status::kOk);
  ASSERT_EQ(file->Delete("/FIXTURES/HOURLY/FLOW/01Feb2021/1Hour/F77-ZSRTS/"), Status::kOk);
  ASSERT_EQ(file->Undelete("/FIXTURES/SCRATCH/FLOW/01Mar2021/1Hour/C-DELETED/"), Status::kOk);
  ASSERT_EQ(file->Rename("/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/",
                         "/FIXTURES/RESERVOIR/ELEV-AREA-RENAMED-LONGER///C-ZPDSTORE/"),
            Status::kOk);
  ExpectIntact(*file);
  file.reset();
  auto reopened = OpenMemory(storage, &s);
  ASSERT_EQ(s, Status::kOk);
  EXPECT_EQ(reopened->header()[hdr::kRecordCount], 28);
  ExpectRecord(*reopened, grow, big);
  ExpectRecord(*reopened, "/NEW/TEXT/NOTE///X/", p);
  for (const auto& [name, rec] : before) {
    if (name == grow || name.find("01Feb2021/1Hour/F77") != std::string::npos ||
        name.find("ELEV-AREA") != std::string::npos) {
      continue;
    }
    Record now;
    ASSERT_EQ(reopened->ReadRecord(name, &now), Status::kOk) << name;
    EXPECT_EQ(now.areas, rec.areas) << name;
  }
  Record moved;
  ASSERT_EQ(
      reopened->ReadRecord("/FIXTURES/RESERVOIR/ELEV-AREA-RENAMED-LONGER///C-ZPDSTORE/", &moved),
      Status::kOk);
  EXPECT_EQ(moved.areas, before["/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/"].areas);
}

TEST(Dss7WriteArgs, BadPathsAndSizesAreRefused) {
  Status s;
  auto file = CreateMemory(MemoryFileIO::NewStorage(), {}, &s);
  ASSERT_EQ(s, Status::kOk);
  RecordData d;
  EXPECT_EQ(file->WriteNewRecord("/A/B/C/D/E/", d), Status::kInvalidArgument);
  EXPECT_EQ(file->WriteNewRecord("/A/B/C/D/E/F\x01/", d), Status::kInvalidArgument);
  d.type = -1;
  EXPECT_EQ(file->WriteNewRecord("/A/B/C/D/E/F/", d), Status::kInvalidArgument);
  d.type = 0;
  std::vector<int32_t> huge(static_cast<size_t>(kMaxAreaInt32) + 1);
  d.areas[kValues1] = huge;
  EXPECT_EQ(file->WriteNewRecord("/A/B/C/D/E/F/", d), Status::kInvalidArgument);
  d.areas[kValues1] = {};
  ASSERT_EQ(file->WriteNewRecord("/A/B/C/D/E/F/", d), Status::kOk);  // empty areas are fine
  Record r;
  ASSERT_EQ(file->ReadRecord("/A/B/C/D/E/F/", &r), Status::kOk);
  EXPECT_TRUE(r.areas[kValues1].empty());
  ASSERT_EQ(file->Close(), Status::kOk);
  EXPECT_EQ(file->ReadRecord("/A/B/C/D/E/F/", &r), Status::kNotOpen);
  EXPECT_EQ(file->Delete("/A/B/C/D/E/F/"), Status::kNotOpen);
}

}  // namespace
}  // namespace varnock::engine::dss7
