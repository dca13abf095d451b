#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/dss6/dss6_file.h"
#include "engine/dss7/memory_file_io.h"

namespace varnock::engine::dss6 {
namespace {

using Storage = std::shared_ptr<dss7::MemoryFileIO::Storage>;

// Byte offset of the lock record of a size-code-6 file, and its lock words.
constexpr int64_t kLockRecord = 8704;
constexpr int64_t kWriteLock = kLockRecord;
constexpr int64_t kExclusive = kLockRecord + 8;
constexpr int64_t kFirstReadSlot = kLockRecord + 16;

const std::vector<int32_t> kHeader = {4};
const std::vector<int32_t> kData = {0x41414141};

RecordData6 Text() {
  RecordData6 d;
  d.type = type::kText;
  d.internal_header = kHeader;
  d.data = kData;
  d.logical_count = 1;
  return d;
}

std::unique_ptr<Dss6File> Handle(Storage storage) {
  Options6 o;
  o.lock_attempts = 3;
  o.lock_wait_ms = 1;
  std::unique_ptr<Dss6File> f;
  EXPECT_EQ(Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(std::move(storage)), o, &f),
            Status::kOk);
  return f;
}

TEST(Dss6Locks, WritersShareTheFileAsHecsProcessesDo) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  {
    std::unique_ptr<Dss6File> created;
    ASSERT_EQ(
        Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(storage), 6, Options6{}, &created),
        Status::kOk);
  }
  auto a = Handle(storage);
  auto b = Handle(storage);
  dss7::MemoryFileIO other(storage);  // another process
  // Each open holds a read slot of its own.
  for (int slot = 0; slot < 2; ++slot) {
    bool held = false;
    ASSERT_EQ(other.TestLock(kFirstReadSlot + 4 * slot, 4, &held), Status::kOk);
    EXPECT_TRUE(held) << slot;
  }
  // Both write; each re-reads the header under the write lock, so neither loses the other's.
  ASSERT_EQ(a->WriteNewRecord("/L/A/C///F/", Text()), Status::kOk);
  ASSERT_EQ(b->WriteNewRecord("/L/B/C///F/", Text()), Status::kOk);
  ASSERT_EQ(a->WriteNewRecord("/L/C/C///F/", Text()), Status::kOk);
  auto reader = Handle(storage);
  std::vector<container::CatalogItem> items;
  ASSERT_EQ(reader->Catalog(&items), Status::kOk);
  EXPECT_EQ(items.size(), 3u);

  // Someone else holding the write lock keeps us waiting, then out.
  ASSERT_EQ(other.TryLock(kWriteLock, 4), Status::kOk);
  EXPECT_EQ(a->WriteNewRecord("/L/D/C///F/", Text()), Status::kLockBusy);
  ASSERT_EQ(other.Unlock(kWriteLock, 4), Status::kOk);
  EXPECT_EQ(a->WriteNewRecord("/L/D/C///F/", Text()), Status::kOk);
  // An exclusive holder (a squeeze) refuses writers at once.
  ASSERT_EQ(other.TryLock(kExclusive, 4), Status::kOk);
  EXPECT_EQ(a->Delete("/L/D/C///F/"), Status::kExclusiveLocked);
  ASSERT_EQ(other.Unlock(kExclusive, 4), Status::kOk);
  EXPECT_EQ(a->Delete("/L/D/C///F/"), Status::kOk);
  // Closing gives the read slot back.
  a.reset();
  bool held = true;
  ASSERT_EQ(other.TestLock(kFirstReadSlot, 4, &held), Status::kOk);
  EXPECT_FALSE(held);
}

}  // namespace
}  // namespace varnock::engine::dss6
