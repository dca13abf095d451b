#include "engine/dss7/memory_file_io.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace varnock::engine::dss7 {
namespace {

bool Overlaps(int64_t a, int64_t alen, int64_t b, int64_t blen) {
  return a < b + blen && b < a + alen;
}

}  // namespace

MemoryFileIO::~MemoryFileIO() {
  std::lock_guard<std::mutex> guard(storage_->mu);
  auto& locks = storage_->locks;
  locks.erase(std::remove_if(locks.begin(), locks.end(),
                             [this](const Storage::Lock& l) { return l.owner == this; }),
              locks.end());
}

std::shared_ptr<MemoryFileIO::Storage> MemoryFileIO::CopyStorage(Storage& from) {
  auto copy = std::make_shared<Storage>();
  std::lock_guard<std::mutex> guard(from.mu);
  copy->bytes = from.bytes;
  copy->max_bytes = from.max_bytes;
  return copy;
}

Status MemoryFileIO::ReadBytes(int64_t offset, std::span<std::byte> out) {
  std::lock_guard<std::mutex> guard(storage_->mu);
  const auto size = static_cast<int64_t>(storage_->bytes.size());
  if (offset < 0 || offset > size || static_cast<int64_t>(out.size()) > size - offset) {
    return Status::kReadError;
  }
  if (!out.empty()) std::memcpy(out.data(), storage_->bytes.data() + offset, out.size());
  return Status::kOk;
}

Status MemoryFileIO::WriteBytes(int64_t offset, std::span<const std::byte> data) {
  if (read_only_) return Status::kReadOnly;
  std::lock_guard<std::mutex> guard(storage_->mu);
  if (offset < 0) return Status::kWriteError;
  const int64_t end = offset + static_cast<int64_t>(data.size());
  if (end > storage_->max_bytes) return Status::kDiskFull;
  try {
    if (end > static_cast<int64_t>(storage_->bytes.size())) {
      storage_->bytes.resize(static_cast<size_t>(end), std::byte{0});
    }
  } catch (const std::bad_alloc&) {
    return Status::kDiskFull;
  }
  if (!data.empty()) std::memcpy(storage_->bytes.data() + offset, data.data(), data.size());
  return Status::kOk;
}

Status MemoryFileIO::SizeBytes(int64_t* size) {
  std::lock_guard<std::mutex> guard(storage_->mu);
  *size = static_cast<int64_t>(storage_->bytes.size());
  return Status::kOk;
}

Status MemoryFileIO::TryLock(int64_t offset, int64_t length) {
  std::lock_guard<std::mutex> guard(storage_->mu);
  for (const auto& l : storage_->locks) {
    if (l.owner != this && Overlaps(l.offset, l.length, offset, length)) return Status::kLockBusy;
  }
  for (const auto& l : storage_->locks) {
    if (l.owner == this && l.offset == offset && l.length == length) return Status::kOk;
  }
  try {
    storage_->locks.push_back({this, offset, length});
  } catch (const std::bad_alloc&) {
    return Status::kLockError;
  }
  return Status::kOk;
}

Status MemoryFileIO::Unlock(int64_t offset, int64_t length) {
  std::lock_guard<std::mutex> guard(storage_->mu);
  auto& locks = storage_->locks;
  locks.erase(std::remove_if(locks.begin(), locks.end(),
                             [&](const Storage::Lock& l) {
                               return l.owner == this &&
                                      Overlaps(l.offset, l.length, offset, length);
                             }),
              locks.end());
  return Status::kOk;
}

Status MemoryFileIO::TestLock(int64_t offset, int64_t length, bool* held_by_other) {
  std::lock_guard<std::mutex> guard(storage_->mu);
  *held_by_other = false;
  for (const auto& l : storage_->locks) {
    if (l.owner != this && Overlaps(l.offset, l.length, offset, length)) *held_by_other = true;
  }
  return Status::kOk;
}

}  // namespace varnock::engine::dss7
