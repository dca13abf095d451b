#include "engine/dss7/file_io.h"

#include <limits>
#include <vector>

#include "engine/dss7/codec.h"

namespace varnock::engine::dss7 {
namespace {

constexpr int64_t kMaxAddress = std::numeric_limits<int64_t>::max() / 16;

bool AddressOk(int64_t address, size_t count, size_t unit) {
  return address >= 0 && address < kMaxAddress && count < static_cast<size_t>(kMaxAddress) / unit;
}

}  // namespace

Status FileIO::ReadWords(int64_t address, std::span<int64_t> out) {
  if (!AddressOk(address, out.size(), 8)) return Status::kDamaged;
  if (out.empty()) return Status::kOk;
  const Status s = ReadBytes(address * 8, std::as_writable_bytes(out));
  if (s == Status::kOk) WordsFromDisk(out);
  return s;
}

Status FileIO::WriteWords(int64_t address, std::span<const int64_t> words) {
  if (!AddressOk(address, words.size(), 8)) return Status::kDamaged;
  if (words.empty()) return Status::kOk;
  if constexpr (kHostIsDiskOrder) {
    return WriteBytes(address * 8, std::as_bytes(words));
  } else {
    std::vector<int64_t> copy(words.begin(), words.end());
    WordsToDisk(copy);
    return WriteBytes(address * 8, std::as_bytes(std::span<const int64_t>(copy)));
  }
}

Status FileIO::ReadInt32s(int64_t address, std::span<int32_t> out) {
  if (!AddressOk(address, out.size(), 4)) return Status::kDamaged;
  if (out.empty()) return Status::kOk;
  const Status s = ReadBytes(address * 8, std::as_writable_bytes(out));
  if (s == Status::kOk) Int32sFromDisk(out);
  return s;
}

Status FileIO::LockWords(int64_t address, int64_t count) {
  if (!AddressOk(address, static_cast<size_t>(count), 8) || count <= 0) return Status::kLockError;
  return TryLock(address * 8, count * 8);
}

Status FileIO::UnlockWords(int64_t address, int64_t count) {
  if (!AddressOk(address, static_cast<size_t>(count), 8) || count <= 0) return Status::kLockError;
  return Unlock(address * 8, count * 8);
}

Status FileIO::TestWords(int64_t address, int64_t count, bool* held_by_other) {
  *held_by_other = false;
  if (!AddressOk(address, static_cast<size_t>(count), 8) || count <= 0) return Status::kLockError;
  return TestLock(address * 8, count * 8, held_by_other);
}

Status FileIO::SizeWords(int64_t* words) {
  int64_t bytes = 0;
  const Status s = SizeBytes(&bytes);
  *words = s == Status::kOk ? bytes / 8 : 0;
  return s;
}

}  // namespace varnock::engine::dss7
