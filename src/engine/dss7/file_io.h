// Byte-level access to a DSS file, with byte-range locks. The DSS layer above sees words; the
// helpers here convert between host words and the disk image in one call per range.
#ifndef VARNOCK_ENGINE_DSS7_FILE_IO_H_
#define VARNOCK_ENGINE_DSS7_FILE_IO_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "engine/dss7/status.h"

namespace varnock::engine::dss7 {

class FileIO {
 public:
  virtual ~FileIO() = default;

  // Exactly out.size() bytes at `offset`; a short read is kReadError.
  virtual Status ReadBytes(int64_t offset, std::span<std::byte> out) = 0;
  // kWriteError, kDiskFull or kReadOnly on failure (possibly after part of the range landed).
  virtual Status WriteBytes(int64_t offset, std::span<const std::byte> data) = 0;
  virtual Status SizeBytes(int64_t* size) = 0;
  virtual Status Sync() = 0;
  virtual bool ReadOnly() const = 0;

  // Exclusive byte-range locks owned by this handle: kOk, kLockBusy when someone else holds
  // part of the range, kLockError when locking is impossible (e.g. a read-only descriptor).
  virtual Status TryLock(int64_t offset, int64_t length) = 0;
  virtual Status Unlock(int64_t offset, int64_t length) = 0;
  // Whether another holder has any part of the range locked.
  virtual Status TestLock(int64_t offset, int64_t length, bool* held_by_other) = 0;
  // A live view of the file's first `bytes` bytes that shows other writers' changes at once (a
  // shared mapping), or nullptr when this kind of file has none; lets a caller see that the
  // header is unchanged without a read. Valid while this FileIO lives.
  virtual const std::byte* MapPrefix(int64_t bytes) {
    (void)bytes;
    return nullptr;
  }

  // Word-addressed helpers (address = byte offset / 8).
  Status ReadWords(int64_t address, std::span<int64_t> out);
  Status WriteWords(int64_t address, std::span<const int64_t> words);
  // n int32s from a word address (4n bytes: an odd tail's pad is not read).
  Status ReadInt32s(int64_t address, std::span<int32_t> out);
  Status SizeWords(int64_t* words);  // whole words in the file
  // Word-range locks; kLockError for a range no file can have.
  Status LockWords(int64_t address, int64_t count);
  Status UnlockWords(int64_t address, int64_t count);
  Status TestWords(int64_t address, int64_t count, bool* held_by_other);
};

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_FILE_IO_H_
