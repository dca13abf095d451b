#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "engine/dss7/posix_file_io.h"
#include "engine/dss7/test_support.h"

namespace varnock::engine::dss7 {
namespace {

constexpr int64_t kPrimary = 100;  // lock words of a file made with default settings
constexpr int64_t kWriteSlots = 103;
constexpr int64_t kReadSlots = 128;

// Forwards to memory and, on every write, asks another handle whether the primary lock is held.
class WatchingIO final : public FileIO {
 public:
  WatchingIO(std::shared_ptr<MemoryFileIO::Storage> s, int* unlocked_writes)
      : inner_(s), observer_(s), unlocked_writes_(unlocked_writes) {}
  Status ReadBytes(int64_t o, std::span<std::byte> out) override {
    return inner_.ReadBytes(o, out);
  }
  Status WriteBytes(int64_t o, std::span<const std::byte> d) override {
    bool held = false;
    if (observer_.TestWords(kPrimary, 1, &held) != Status::kOk || !held) ++*unlocked_writes_;
    return inner_.WriteBytes(o, d);
  }
  Status SizeBytes(int64_t* size) override { return inner_.SizeBytes(size); }
  Status Sync() override { return inner_.Sync(); }
  bool ReadOnly() const override { return false; }
  Status TryLock(int64_t o, int64_t l) override { return inner_.TryLock(o, l); }
  Status Unlock(int64_t o, int64_t l) override { return inner_.Unlock(o, l); }
  Status TestLock(int64_t o, int64_t l, bool* h) override { return inner_.TestLock(o, l, h); }

 private:
  MemoryFileIO inner_;
  MemoryFileIO observer_;
  int* unlocked_writes_;
};

using testing::CreateMemory;

RecordData Small(const std::vector<int32_t>& v) {
  RecordData d;
  d.type = 300;
  d.areas[kValues1] = v;
  return d;
}

TEST(Dss7Lock, EveryWriteHappensUnderThePrimaryLockAndSlotsAreTaken) {
  auto storage = MemoryFileIO::NewStorage();
  Status s;
  CreateMemory(storage, {}, &s).reset();
  ASSERT_EQ(s, Status::kOk);
  int unlocked = 0;
  std::unique_ptr<DssFile> file;
  ASSERT_EQ(DssFile::OpenIO(std::make_unique<WatchingIO>(storage, &unlocked), {}, &file),
            Status::kOk);
  MemoryFileIO other(storage);
  bool held = false;
  ASSERT_EQ(other.TestWords(kReadSlots, 1, &held), Status::kOk);
  EXPECT_TRUE(held);  // a read slot from open on
  ASSERT_EQ(other.TestWords(kWriteSlots, 1, &held), Status::kOk);
  EXPECT_FALSE(held);  // no write slot before the first write
  const std::vector<int32_t> v(5, 1);
  ASSERT_EQ(file->WriteNewRecord("/L/A/X///Y/", Small(v)), Status::kOk);
  ASSERT_EQ(file->Rename("/L/A/X///Y/", "/L/B/X///Y-LONGER-F-PART/"), Status::kOk);
  ASSERT_EQ(file->Delete("/L/B/X///Y-LONGER-F-PART/"), Status::kOk);
  EXPECT_EQ(unlocked, 0);
  ASSERT_EQ(other.TestWords(kWriteSlots, 1, &held), Status::kOk);
  EXPECT_TRUE(held);  // kept until close, so a HEC writer sees us
  ASSERT_EQ(other.TestWords(kPrimary, 1, &held), Status::kOk);
  EXPECT_FALSE(held);  // released between writes
  file.reset();
  ASSERT_EQ(other.TestWords(kReadSlots, 25, &held), Status::kOk);
  EXPECT_FALSE(held);
  ASSERT_EQ(other.TestWords(kWriteSlots, 25, &held), Status::kOk);
  EXPECT_FALSE(held);
}

TEST(Dss7Lock, AnotherWriterOrExclusiveHolderBlocksWrites) {
  auto storage = MemoryFileIO::NewStorage();
  Status s;
  FileOptions fast;
  fast.lock_attempts = 3;
  fast.lock_wait_ms = 1;
  auto file = CreateMemory(storage, {}, &s, fast);
  ASSERT_EQ(s, Status::kOk);
  const std::vector<int32_t> v(5, 1);
  MemoryFileIO hec(storage);  // stands in for a HEC process holding its write lock
  ASSERT_EQ(hec.LockWords(kPrimary, 1), Status::kOk);
  EXPECT_EQ(file->WriteNewRecord("/L/A/X///Y/", Small(v)), Status::kLockBusy);
  ASSERT_EQ(hec.UnlockWords(kPrimary, 1), Status::kOk);
  ASSERT_EQ(file->WriteNewRecord("/L/A/X///Y/", Small(v)), Status::kOk);
  ASSERT_EQ(hec.LockWords(kPrimary + 1, 1), Status::kOk);  // the exclusive word
  EXPECT_EQ(file->Delete("/L/A/X///Y/"), Status::kExclusiveLocked);
  ASSERT_EQ(hec.UnlockWords(kPrimary + 1, 1), Status::kOk);
  EXPECT_TRUE(file->Exists("/L/A/X///Y/"));

  // An exclusive open is refused while someone else has the file open, and keeps others out.
  FileOptions exclusive = fast;
  exclusive.exclusive = true;
  std::unique_ptr<DssFile> excl;
  EXPECT_EQ(DssFile::OpenIO(std::make_unique<MemoryFileIO>(storage), exclusive, &excl),
            Status::kExclusiveLocked);
  file.reset();
  ASSERT_EQ(DssFile::OpenIO(std::make_unique<MemoryFileIO>(storage), exclusive, &excl),
            Status::kOk);
  ASSERT_EQ(excl->Delete("/L/A/X///Y/"), Status::kOk);  // its own lock does not stop it
  std::unique_ptr<DssFile> second;
  ASSERT_EQ(DssFile::OpenIO(std::make_unique<MemoryFileIO>(storage), fast, &second), Status::kOk);
  EXPECT_EQ(second->WriteNewRecord("/L/B/X///Y/", Small(v)), Status::kExclusiveLocked);
}

TEST(Dss7Lock, TwoPosixHandlesTakeTurnsAndSeeEachOthersWrites) {
  const std::string path = testing::TempDir() + "/locks.dss";
  std::filesystem::remove(path);
  std::unique_ptr<DssFile> a, b;
  ASSERT_EQ(DssFile::Create(path, {}, {}, &a), Status::kOk);
  ASSERT_EQ(DssFile::Open(path, {}, &b), Status::kOk);
  std::unique_ptr<PosixFileIO> raw;
  ASSERT_EQ(PosixFileIO::Open(path, PosixFileIO::Mode::kReadWriteOrReadOnly, &raw), Status::kOk);
  bool held = false;
  ASSERT_EQ(raw->TestWords(kReadSlots, 2, &held), Status::kOk);
  EXPECT_TRUE(held);
  ASSERT_EQ(raw->TestWords(kReadSlots + 2, 1, &held), Status::kOk);
  EXPECT_FALSE(held);  // one slot each
  const std::vector<int32_t> v(5, 1);
  for (int i = 0; i < 20; ++i) {
    DssFile& writer = i % 2 == 0 ? *a : *b;
    ASSERT_EQ(writer.WriteNewRecord("/L/P" + std::to_string(i) + "/X///Y/", Small(v)), Status::kOk);
  }
  // Each handle re-read the header under the lock, so neither overwrote the other's records.
  ASSERT_EQ(a->Refresh(), Status::kOk);
  std::vector<CatalogEntry> catalog;
  ASSERT_EQ(a->Catalog(&catalog), Status::kOk);
  EXPECT_EQ(catalog.size(), 20u);
  EXPECT_EQ(a->header()[hdr::kRecordCount], 20);
  ASSERT_EQ(raw->LockWords(kPrimary, 1), Status::kOk);
  FileOptions fast;
  fast.lock_attempts = 2;
  fast.lock_wait_ms = 1;
  std::unique_ptr<DssFile> c;
  ASSERT_EQ(DssFile::Open(path, fast, &c), Status::kOk);
  EXPECT_EQ(c->Delete("/L/P0/X///Y/"), Status::kLockBusy);
  a.reset();
  b.reset();
  c.reset();
  raw.reset();
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace varnock::engine::dss7
