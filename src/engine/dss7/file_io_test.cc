#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>

#include "engine/dss7/fault_file_io.h"
#include "engine/dss7/memory_file_io.h"
#include "engine/dss7/posix_file_io.h"

namespace varnock::engine::dss7 {
namespace {

std::string TempPath(const std::string& name) {
  return (std::filesystem::temp_directory_path() /
          ("varnock_dss7_" + std::to_string(::getpid()) + "_" + name))
      .string();
}

// The contract every implementation keeps: word round trip, short reads fail, size, locks
// exclusive between two handles of one file.
void CheckContract(FileIO& a, FileIO& b) {
  const std::array<int64_t, 3> words{-97531, 7, int64_t{1} << 40};
  ASSERT_EQ(a.WriteWords(2, words), Status::kOk);
  int64_t size = 0;
  ASSERT_EQ(a.SizeWords(&size), Status::kOk);
  EXPECT_EQ(size, 5);
  std::array<int64_t, 3> back{};
  ASSERT_EQ(b.ReadWords(2, back), Status::kOk);
  EXPECT_EQ(back, words);
  std::array<int32_t, 3> ints{};
  ASSERT_EQ(b.ReadInt32s(3, ints), Status::kOk);
  EXPECT_EQ(ints[0], 7);
  EXPECT_EQ(ints[1], 0);
  EXPECT_EQ(ints[2], 0);
  EXPECT_EQ(b.ReadWords(4, back), Status::kReadError);  // runs past the end
  EXPECT_EQ(b.ReadWords(-1, back), Status::kDamaged);

  EXPECT_EQ(a.LockWords(100, 1), Status::kOk);
  EXPECT_EQ(a.LockWords(100, 1), Status::kOk);  // re-locking one's own range is fine
  EXPECT_EQ(b.LockWords(100, 1), Status::kLockBusy);
  EXPECT_EQ(b.LockWords(100, 2), Status::kLockBusy);  // overlap
  EXPECT_EQ(b.LockWords(101, 1), Status::kOk);
  bool held = false;
  ASSERT_EQ(b.TestWords(100, 1, &held), Status::kOk);
  EXPECT_TRUE(held);
  ASSERT_EQ(a.TestWords(100, 1, &held), Status::kOk);
  EXPECT_FALSE(held);  // own lock is not "another holder"
  EXPECT_EQ(a.UnlockWords(100, 1), Status::kOk);
  EXPECT_EQ(b.LockWords(100, 1), Status::kOk);
}

TEST(Dss7FileIO, MemoryKeepsTheContract) {
  auto storage = MemoryFileIO::NewStorage();
  MemoryFileIO a(storage), b(storage);
  CheckContract(a, b);
}

TEST(Dss7FileIO, MemoryReadOnlyAndDiskFull) {
  auto storage = MemoryFileIO::NewStorage();
  MemoryFileIO ro(storage, true);
  const std::array<int64_t, 1> one{1};
  EXPECT_EQ(ro.WriteWords(0, one), Status::kReadOnly);
  storage->max_bytes = 16;
  MemoryFileIO rw(storage);
  EXPECT_EQ(rw.WriteWords(1, one), Status::kOk);
  EXPECT_EQ(rw.WriteWords(2, one), Status::kDiskFull);
}

TEST(Dss7FileIO, PosixKeepsTheContractAcrossDescriptors) {
  const std::string path = TempPath("contract.bin");
  std::filesystem::remove(path);
  std::unique_ptr<PosixFileIO> a, b;
  ASSERT_EQ(PosixFileIO::Open(path, PosixFileIO::Mode::kCreate, &a), Status::kOk);
  ASSERT_EQ(PosixFileIO::Open(path, PosixFileIO::Mode::kReadWriteOrReadOnly, &b), Status::kOk);
  CheckContract(*a, *b);
  EXPECT_EQ(a->Sync(), Status::kOk);
  a.reset();
  b.reset();
  std::unique_ptr<PosixFileIO> ro;
  ASSERT_EQ(PosixFileIO::Open(path, PosixFileIO::Mode::kReadOnly, &ro), Status::kOk);
  EXPECT_TRUE(ro->ReadOnly());
  const std::array<int64_t, 1> one{1};
  EXPECT_EQ(ro->WriteWords(0, one), Status::kReadOnly);
  ro.reset();
  std::filesystem::remove(path);
  EXPECT_EQ(PosixFileIO::Open(path, PosixFileIO::Mode::kReadWriteOrReadOnly, &a),
            Status::kOpenFailed);
  EXPECT_EQ(PosixFileIO::Open(std::filesystem::temp_directory_path().string(),
                              PosixFileIO::Mode::kReadOnly, &a),
            Status::kOpenFailed);  // a directory is not a file
}

TEST(Dss7FileIO, FaultFailsTheChosenStepAndTearsWrites) {
  auto storage = MemoryFileIO::NewStorage();
  FaultFileIO fault(std::make_unique<MemoryFileIO>(storage));
  const std::array<int64_t, 4> words{1, 2, 3, 4};
  fault.FailAt(FaultFileIO::Op::kWrite, 2, Status::kDiskFull, 9);
  EXPECT_EQ(fault.WriteWords(0, words), Status::kOk);
  EXPECT_EQ(fault.WriteWords(10, words), Status::kDiskFull);
  EXPECT_TRUE(fault.fired());
  int64_t size = 0;
  ASSERT_EQ(fault.SizeWords(&size), Status::kOk);
  EXPECT_EQ(size, 11);                                  // nine torn bytes landed
  EXPECT_EQ(fault.WriteWords(20, words), Status::kOk);  // not sticky: later calls pass

  fault.FailAt(FaultFileIO::Op::kAnyStep, 2);
  fault.set_sticky(true);
  std::array<int64_t, 1> one{};
  EXPECT_EQ(fault.ReadWords(0, one), Status::kOk);
  EXPECT_EQ(fault.Sync(), Status::kWriteError);
  EXPECT_EQ(fault.ReadWords(0, one), Status::kReadError);
  EXPECT_EQ(fault.steps(), 3);
}

}  // namespace
}  // namespace varnock::engine::dss7
