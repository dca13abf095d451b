#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "engine/dss7/codec.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss7 {
namespace {

using testing::OpenMemory;

const std::vector<std::string> kProbePaths = {
    "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/",
    "/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/",
    "/FIXTURES/NOTES/README///C-ZTEXTSTORE/",
    "/FIXTURES/SCRATCH/FLOW/01Mar2021/1Hour/C-DELETED/",
};

// Whatever the bytes, every operation returns a status: no crash, hang or runaway allocation.
void Exercise(std::shared_ptr<MemoryFileIO::Storage> storage) {
  Status s;
  auto file = OpenMemory(storage, &s);
  if (s != Status::kOk) {
    EXPECT_EQ(file, nullptr);
    return;
  }
  std::vector<CatalogEntry> catalog;
  (void)file->Catalog(&catalog);
  std::vector<CatalogEntry> sorted;
  (void)file->SortedCatalog(&sorted);
  for (const auto& c : catalog) {
    Record r;
    (void)file->ReadRecord(c.path, &r);
  }
  for (const auto& p : kProbePaths) {
    Record r;
    (void)file->ReadRecord(p, &r);
  }
  IntegrityReport report;
  (void)CheckIntegrity(*file, &report);
  const std::vector<int32_t> values(40, 7);
  RecordData d;
  d.type = 300;
  d.areas[kValues1] = values;
  (void)file->WriteNewRecord("/HOSTILE/NEW/X///Y/", d);
  (void)file->Rewrite(kProbePaths[2], d);
  (void)file->Delete(kProbePaths[0]);
  (void)file->Undelete(kProbePaths[3]);
  (void)file->Rename(kProbePaths[1], "/HOSTILE/RENAMED/X///LONGER-THAN-BEFORE/");
}

// Header words that size work or memory, set to what a damaged or crafted file may hold.
TEST(Dss7Hostile, HugeHeaderWordsNeitherSlowNorOverflow) {
  Status s;
  auto base = MemoryFileIO::NewStorage();
  {
    auto file = testing::CreateMemory(base, {}, &s);
    ASSERT_EQ(s, Status::kOk);
    RecordData d;
    d.type = 300;
    for (int i = 0; i < 5; ++i)
      ASSERT_EQ(file->WriteNewRecord("/H/P" + std::to_string(i) + "/X///Y/", d), Status::kOk);
  }
  const int64_t huge[] = {400000000, 0x100000006, INT64_MAX, -5};
  for (const int64_t value : huge) {
    for (int word = hdr::kMaxPartA; word < hdr::kMaxPartA + 6; ++word) {
      auto storage = MemoryFileIO::CopyStorage(*base);
      const std::array<int64_t, 1> w{value};
      MemoryFileIO(storage).WriteWords(word, w);
      auto file = OpenMemory(storage, &s);
      ASSERT_EQ(s, Status::kOk);
      std::vector<CatalogEntry> sorted;
      ASSERT_EQ(file->SortedCatalog(&sorted, false), Status::kOk) << word << " = " << value;
      EXPECT_EQ(sorted.size(), 5u);
    }
    HeaderWords h{};
    h[hdr::kFileSize] = 15773;
    h[hdr::kDeadSpace] = value;
    const int64_t percent = DeadSpacePercent(h);
    EXPECT_TRUE(percent >= 0 && percent <= 100) << value;
    h[hdr::kFileSize] = value;
    h[hdr::kDeadSpace] = INT64_MAX;
    EXPECT_LE(DeadSpacePercent(h), 100) << value;
  }
}

TEST(Dss7Hostile, TruncatedAndZeroedFilesGiveStatuses) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture7.dss");
  const auto original = testing::LoadStorage(path);
  const auto size = original->bytes.size();
  for (size_t cut : {size_t{0}, size_t{7}, size_t{23}, size_t{31}, size_t{799}, size_t{800},
                     size_t{178 * 8 + 100}, size_t{9372 * 8 + 5}, size_t{9572 * 8},
                     size_t{15773 * 8 + 3}, size_t{16000 * 8}, size - 8, size - 1}) {
    auto copy = MemoryFileIO::CopyStorage(*original);
    copy->bytes.resize(cut);
    Exercise(copy);
  }
  auto zeros = MemoryFileIO::NewStorage();
  zeros->bytes.assign(size, std::byte{0});
  Status s;
  EXPECT_EQ(OpenMemory(zeros, &s), nullptr);
  EXPECT_EQ(s, Status::kNotDssFile);
  auto tiny = MemoryFileIO::CopyStorage(*original);
  tiny->bytes.resize(7);
  OpenMemory(tiny, &s);
  EXPECT_EQ(s, Status::kNotDssFile);
  auto headless = MemoryFileIO::CopyStorage(*original);
  headless->bytes.resize(400);  // "ZDSS" and '7' but no end-of-header word
  OpenMemory(headless, &s);
  EXPECT_EQ(s, Status::kInvalidHeader);
}

TEST(Dss7Hostile, RandomDamageAtManyOffsets) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture7.dss");
  const auto original = testing::LoadStorage(path);
  const int64_t words = static_cast<int64_t>(original->bytes.size() / 8);
  std::mt19937_64 rng(20240601);
  const std::vector<int64_t> nasty = {
      0,     -1,        1,         kInfoFlag,        kEndHeaderMarker,
      words, words - 1, words * 4, int64_t{1} << 62, INT64_MIN,
      9372,  15773};
  for (int round = 0; round < 300; ++round) {
    auto copy = MemoryFileIO::CopyStorage(*original);
    const int hits = 1 + static_cast<int>(rng() % 6);
    for (int h = 0; h < hits; ++h) {
      // Aim half the hits at the structures (header, hash table, bins), half anywhere.
      const int64_t limit = (rng() % 2 == 0) ? 15773 : words;
      const int64_t at = static_cast<int64_t>(rng() % static_cast<uint64_t>(limit));
      int64_t value = (rng() % 3 == 0) ? static_cast<int64_t>(rng()) : nasty[rng() % nasty.size()];
      if (rng() % 4 == 0) value = PackPair(static_cast<int32_t>(rng()), 1 << 30);
      std::array<int64_t, 1> w{value};
      MemoryFileIO io(copy);
      ASSERT_EQ(io.WriteWords(at, w), Status::kOk);
    }
    Exercise(copy);
  }
}

TEST(Dss7Hostile, CyclesAndHugeLengthsAreBounded) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture7.dss");
  const auto original = testing::LoadStorage(path);
  Status s;
  // A bin that links to itself, and a bin block that links to itself.
  auto cyclic = MemoryFileIO::CopyStorage(*original);
  {
    MemoryFileIO io(cyclic);
    const std::array<int64_t, 1> self{9372};
    ASSERT_EQ(io.WriteWords(9372 + 199, self), Status::kOk);
    ASSERT_EQ(io.WriteWords(9372 + 32 * 200, self), Status::kOk);
    const std::array<int64_t, 1> used{1};
    for (int64_t bin : {15172, 15372, 15572}) {
      ASSERT_EQ(io.WriteWords(bin, used), Status::kOk);  // no empty bin to stop the walk
    }
  }
  auto file = OpenMemory(cyclic, &s);
  ASSERT_EQ(s, Status::kOk);
  std::vector<CatalogEntry> catalog;
  EXPECT_EQ(file->Catalog(&catalog), Status::kDamaged);
  InfoBlock info;
  EXPECT_EQ(file->Lookup("/FIXTURES/NOPE/X///Y/", &info), Status::kNotFound);
  Exercise(cyclic);

  // Areas claiming ten million values each, and one address past the end.
  auto huge = MemoryFileIO::CopyStorage(*original);
  {
    MemoryFileIO io(huge);
    const std::array<int64_t, 1> len{kMaxAreaInt32};
    ASSERT_EQ(io.WriteWords(15773 + InfoAreaLengthWord(kValues1), len), Status::kOk);
    const std::array<int64_t, 1> addr{int64_t{1} << 40};
    ASSERT_EQ(io.WriteWords(16026 + InfoAreaAddressWord(kValues2), addr), Status::kOk);
  }
  file = OpenMemory(huge, &s);
  ASSERT_EQ(s, Status::kOk);
  Record r;
  EXPECT_EQ(file->ReadRecord("/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/", &r),
            Status::kDamaged);
  EXPECT_EQ(file->ReadRecord("/FIXTURES/HOURLY/FLOW/01Feb2021/1Hour/F77-ZSRTS/", &r),
            Status::kDamaged);
  EXPECT_EQ(file->ReadRecord("/FIXTURES/HOURLY/FLOW/01Mar2021/1Hour/F77-ZSRTS/", &r), Status::kOk);
  IntegrityReport report;
  ASSERT_EQ(CheckIntegrity(*file, &report), Status::kOk);
  EXPECT_FALSE(report.ok());

  // A wrong info hash means "not found", as in HEC.
  auto rehashed = MemoryFileIO::CopyStorage(*original);
  {
    MemoryFileIO io(rehashed);
    const std::array<int64_t, 1> hash{12345};
    ASSERT_EQ(io.WriteWords(15773 + info::kBinHash, hash), Status::kOk);
  }
  file = OpenMemory(rehashed, &s);
  ASSERT_EQ(s, Status::kOk);
  EXPECT_EQ(file->Lookup("/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/", &info),
            Status::kNotFound);
}

}  // namespace
}  // namespace varnock::engine::dss7
