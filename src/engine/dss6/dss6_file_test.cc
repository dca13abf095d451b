#include "engine/dss6/dss6_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "engine/dss6/integrity.h"
#include "engine/dss6/reader.h"
#include "engine/dss6/store.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss6 {
namespace {

std::unique_ptr<Dss6File> OpenStorage(std::shared_ptr<dss7::MemoryFileIO::Storage> storage,
                                      Status* status) {
  std::unique_ptr<Dss6File> file;
  *status = Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(std::move(storage)), &file);
  return file;
}

// The catalog holds exactly the dump's records (by listed name and type); each one is found
// by its stored path and its areas have the lengths its info block gives.
void CheckAgainstDump(const std::string& dss, const std::string& dump) {
  std::unique_ptr<Dss6File> file;
  ASSERT_EQ(Dss6File::Open(dss, &file), Status::kOk) << dss;
  EXPECT_EQ(file->MajorVersion(), 6);
  std::vector<container::CatalogItem> catalog;
  ASSERT_EQ(file->Catalog(&catalog), Status::kOk);
  EXPECT_EQ(static_cast<int64_t>(catalog.size()), file->header()[hdr::kRecordCount]);
  auto expected = dss7::testing::DumpRecords(dump);
  ASSERT_FALSE(expected.empty()) << dump;
  std::vector<std::pair<std::string, int>> got;
  for (const auto& c : catalog) {
    got.emplace_back(c.listed_path, c.type);
    container::RecordAreas r;
    ASSERT_EQ(file->ReadRecord(c.path, &r), Status::kOk) << c.path;
    EXPECT_EQ(r.info.path, c.path);
    EXPECT_EQ(r.info.type, c.type);
    EXPECT_EQ(r.info.address, c.info_address);
    for (int a = 0; a < container::kAreaCount; ++a)
      EXPECT_EQ(static_cast<int64_t>(r.areas[a].size()), r.info.area_length[a]) << c.path;
    EXPECT_GT(r.areas[dss7::kValues1].size(), 0u) << c.path;
  }
  std::sort(got.begin(), got.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(got, expected);
  std::vector<container::CatalogItem> sorted;
  ASSERT_EQ(file->SortedCatalog(&sorted), Status::kOk);
  EXPECT_EQ(sorted.size(), catalog.size());
}

TEST(Dss6File, Fixture6CatalogAndRecordsMatchItsDump) {
  VARNOCK_REQUIRE_FIXTURE(dss, "fixture6.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "fixture6.dump.txt");
  CheckAgainstDump(dss, dump);
}

TEST(Dss6File, Sample6CatalogAndRecordsMatchItsDump) {
  VARNOCK_REQUIRE_FIXTURE(dss, "sample6.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "sample6.dss.dump.txt.gz");
  CheckAgainstDump(dss, dump);
}

// The worked example of fixture6.dss: header words and the first record's info block.
TEST(Dss6File, Fixture6HeaderAndFirstRecord) {
  VARNOCK_REQUIRE_FIXTURE(dss, "fixture6.dss");
  std::unique_ptr<Dss6File> file;
  ASSERT_EQ(Dss6File::Open(dss, &file), Status::kOk);
  const auto& h = file->header();
  EXPECT_EQ(h[hdr::kRecordCount], 27);
  EXPECT_EQ(h[hdr::kTagSequence], 28);
  EXPECT_EQ(h[hdr::kFileSize], 23231);
  EXPECT_EQ(h[hdr::kDeadSpace], 785);
  EXPECT_EQ(h[hdr::kFirstBin], 2287);
  EXPECT_EQ(file->VersionText(), "6-YO");
  EXPECT_EQ(LongestParts(h), (std::array<int32_t, 6>{8, 9, 12, 9, 8, 12}));

  Found f;
  // Lookups normalise the case, as HEC's do.
  ASSERT_EQ(file->Find("/fixtures/hourly/flow/01Jan2021/1Hour/F77-zsrts/", &f), Status::kOk);
  EXPECT_EQ(f.entry.hash, 682);
  EXPECT_EQ(f.info.address, 6351);
  EXPECT_EQ(f.info.internal_header_address, 6391);
  EXPECT_EQ(f.info.internal_header_words, 24);
  EXPECT_EQ(f.info.data_address, 6415);
  EXPECT_EQ(f.info.data_words, 744);
  EXPECT_EQ(f.info.tag, "T1      ");
  EXPECT_EQ(f.info.program, "Undefi");
  EXPECT_EQ(f.info.date, "22NOV26");

  // The deleted record and the renamed record's old name are not found; the new name is.
  EXPECT_EQ(file->Find("/FIXTURES/SCRATCH/FLOW/01MAR2021/1HOUR/C-DELETED/", &f), Status::kNotFound);
  EXPECT_EQ(file->Find("/FIXTURES/NEWNAME/FLOW/01JAN2021/1DAY/C-RENAMED/", &f), Status::kOk);
  EXPECT_EQ(f.info.address, 23191);
  EXPECT_EQ(file->Find("/NO/SUCH/PATH///X/", &f), Status::kNotFound);
}

// ---------------------------------------------------------------------------------------------
// Hostile files: whatever the bytes, every operation returns a status; no crash, hang or huge
// allocation.

const char* const kProbePaths[] = {
    "/FIXTURES/HOURLY/FLOW/01JAN2021/1HOUR/F77-ZSRTS/",
    "/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/",
    "/FIXTURES/NOTES/README///C-ZTEXTSTORE/",
    "/FIXTURES/GAGE/STAGE/01FEB2021/IR-MONTH/C-ZTSSTORE/",
};

void ExerciseWrites(std::shared_ptr<dss7::MemoryFileIO::Storage> storage) {
  std::unique_ptr<Dss6File> file;
  if (Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(std::move(storage)), Options6{},
                       &file) != Status::kOk) {
    return;
  }
  const std::vector<int32_t> header = {5, 0, 0, 0, 0};
  const std::vector<int32_t> data(300, 0x41414141);
  RecordData6 d;
  d.type = type::kText;
  d.internal_header = header;
  d.data = data;
  (void)file->WriteNewRecord("/HOSTILE/NEW/X///Y/", d);
  (void)file->Rewrite(kProbePaths[2], d);
  (void)file->Delete(kProbePaths[0]);
  (void)file->Undelete(kProbePaths[0]);
  (void)file->Rename(kProbePaths[1], "/HOSTILE/RENAMED/X///LONGER-THAN-BEFORE/");
  // The record writers read and merge whatever blocks are there.
  const std::vector<double> values(50, 1.5);
  RegularStore6 regular;
  regular.path = "/FIXTURES/HOURLY/FLOW//1HOUR/F77-ZSRTS/";
  regular.start = int64_t{44196} * 1440 + 60;
  regular.values = values;
  (void)StoreRegular(*file, regular);
  std::vector<Minutes> times(values.size());
  for (size_t i = 0; i < times.size(); ++i)
    times[i] = int64_t{44227} * 1440 + 30 * static_cast<int64_t>(i + 1);
  IrregularStore6 irregular;
  irregular.path = "/FIXTURES/GAGE/STAGE//IR-MONTH/C-ZTSSTORE/";
  irregular.times = times;
  irregular.values = values;
  (void)StoreIrregular(*file, irregular);
  std::vector<container::CatalogItem> catalog;
  (void)file->Catalog(&catalog);
}

void Exercise(std::shared_ptr<dss7::MemoryFileIO::Storage> storage) {
  ExerciseWrites(dss7::MemoryFileIO::CopyStorage(*storage));
  Status s;
  auto file = OpenStorage(storage, &s);
  if (s != Status::kOk) {
    EXPECT_EQ(file, nullptr);
    return;
  }
  std::vector<container::CatalogItem> catalog;
  (void)file->Catalog(&catalog);
  std::vector<container::CatalogItem> sorted;
  (void)file->SortedCatalog(&sorted);
  container::RecordAreas r;
  for (const char* p : kProbePaths)
    (void)file->ReadRecord(p, &r);
  dss7::IntegrityReport report;
  (void)CheckIntegrity(*file, &report);
  // Every record through the record layer too.
  const auto reader = MakeRecordFile(std::move(file));
  for (const auto& c : catalog) {
    series::SeriesRead series;
    (void)reader->ReadSeriesBlock(c, &series);
    paired::PairedData pd;
    (void)reader->ReadPaired(c, &pd);
    paired::TextData text;
    (void)reader->ReadText(c, &text);
  }
}

void PutWord(std::shared_ptr<dss7::MemoryFileIO::Storage> storage, int64_t address, int32_t v) {
  const int64_t at = ByteOffset(address);
  if (at + 4 > static_cast<int64_t>(storage->bytes.size())) return;
  std::memcpy(storage->bytes.data() + at, &v, 4);
}

TEST(Dss6Hostile, TruncatedAndZeroedFilesGiveStatuses) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  const auto original = dss7::testing::LoadStorage(path);
  const size_t size = original->bytes.size();
  for (size_t cut :
       {size_t{0}, size_t{3}, size_t{19}, size_t{275}, size_t{276}, size_t{512}, size_t{8704},
        size_t{9300}, size_t{26112}, size_t{26200}, size_t{50000}, size - 512, size - 1}) {
    auto copy = dss7::MemoryFileIO::CopyStorage(*original);
    copy->bytes.resize(cut);
    Exercise(copy);
  }
  Status s;
  auto zeros = dss7::MemoryFileIO::NewStorage();
  zeros->bytes.assign(size, std::byte{0});
  EXPECT_EQ(OpenStorage(zeros, &s), nullptr);
  EXPECT_EQ(s, Status::kNotDssFile);
  auto short_file = dss7::MemoryFileIO::CopyStorage(*original);
  short_file->bytes.resize(8704);  // header and hash table, no bins
  EXPECT_EQ(OpenStorage(short_file, &s), nullptr);
  EXPECT_EQ(s, Status::kInvalidHeader);
}

TEST(Dss6Hostile, RandomDamageAtManyOffsets) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  const auto original = dss7::testing::LoadStorage(path);
  const auto words =
      static_cast<int32_t>(WordsInBytes(static_cast<int64_t>(original->bytes.size())));
  std::mt19937_64 rng(20261123);
  const int32_t nasty[] = {0,     -1,        1,         kInfoFlag, 127, 2287, 6351,
                           words, words + 1, INT32_MAX, INT32_MIN, 392, 393,  11};
  for (int round = 0; round < 400; ++round) {
    auto copy = dss7::MemoryFileIO::CopyStorage(*original);
    const int hits = 1 + static_cast<int>(rng() % 6);
    for (int h = 0; h < hits; ++h) {
      // Half the hits at the header, hash table and bins; half anywhere.
      const int64_t limit = (rng() % 2 == 0) ? 6350 : words;
      const int64_t at = 1 + static_cast<int64_t>(rng() % static_cast<uint64_t>(limit));
      const int32_t value =
          (rng() % 3 == 0) ? static_cast<int32_t>(rng()) : nasty[rng() % std::size(nasty)];
      PutWord(copy, at, value);
    }
    Exercise(copy);
  }
}

TEST(Dss6Hostile, CyclesAndHugeLengthsAreBounded) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  const auto original = dss7::testing::LoadStorage(path);
  Status s;
  // The first bin marked full and linked to itself; the first block linked to itself.
  auto cyclic = dss7::MemoryFileIO::CopyStorage(*original);
  PutWord(cyclic, 2287 + 23, -1);
  PutWord(cyclic, 2287 + bin::kOverflowLink, 2287);
  PutWord(cyclic, 2287 + 31 * 127 + bin::kBlockLink, 2287);
  PutWord(cyclic, 2, 1000);  // more records than there are, so the walk does not stop early
  auto file = OpenStorage(cyclic, &s);
  ASSERT_EQ(s, Status::kOk);
  std::vector<container::CatalogItem> catalog;
  EXPECT_EQ(file->Catalog(&catalog), Status::kDamaged);
  Found f;
  EXPECT_EQ(file->Find("/FIXTURES/HOURLY/FLOW/01FEB2021/1HOUR/NOT-THERE/", &f), Status::kNotFound);

  // An area claiming far more words than the file has, and an info block pointing elsewhere.
  auto huge = dss7::MemoryFileIO::CopyStorage(*original);
  PutWord(huge, 6351 + info::kPath + 12 + info::kDataWords, 1 << 30);
  file = OpenStorage(huge, &s);
  ASSERT_EQ(s, Status::kOk);
  container::RecordAreas r;
  EXPECT_EQ(file->ReadRecord(kProbePaths[0], &r), Status::kDamaged);
  auto moved = dss7::MemoryFileIO::CopyStorage(*original);
  PutWord(moved, 2287 + 2 + 12, 7159);  // the first entry's info address: the next record's
  file = OpenStorage(moved, &s);
  ASSERT_EQ(s, Status::kOk);
  EXPECT_EQ(file->Find(kProbePaths[0], &f), Status::kPathMismatch);
}

}  // namespace
}  // namespace varnock::engine::dss6
