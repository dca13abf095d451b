// FileIO over bytes in memory. Several handles may share one storage; each handle is a lock
// owner of its own, as separate descriptors of one file are.
#ifndef VARNOCK_ENGINE_DSS7_MEMORY_FILE_IO_H_
#define VARNOCK_ENGINE_DSS7_MEMORY_FILE_IO_H_

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "engine/dss7/file_io.h"

namespace varnock::engine::dss7 {

class MemoryFileIO final : public FileIO {
 public:
  struct Storage {
    struct Lock {
      const void* owner;
      int64_t offset;
      int64_t length;
    };
    std::mutex mu;
    std::vector<std::byte> bytes;
    std::vector<Lock> locks;
    int64_t max_bytes = int64_t{1} << 34;  // writes past this report a full disk
  };

  explicit MemoryFileIO(std::shared_ptr<Storage> storage, bool read_only = false)
      : storage_(std::move(storage)), read_only_(read_only) {}
  ~MemoryFileIO() override;

  static std::shared_ptr<Storage> NewStorage() { return std::make_shared<Storage>(); }
  // A deep copy of the bytes (locks are not copied).
  static std::shared_ptr<Storage> CopyStorage(Storage& from);

  Status ReadBytes(int64_t offset, std::span<std::byte> out) override;
  Status WriteBytes(int64_t offset, std::span<const std::byte> data) override;
  Status SizeBytes(int64_t* size) override;
  Status Sync() override { return Status::kOk; }
  bool ReadOnly() const override { return read_only_; }
  Status TryLock(int64_t offset, int64_t length) override;
  Status Unlock(int64_t offset, int64_t length) override;
  Status TestLock(int64_t offset, int64_t length, bool* held_by_other) override;

 private:
  std::shared_ptr<Storage> storage_;
  bool read_only_;
};

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_MEMORY_FILE_IO_H_
