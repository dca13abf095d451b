// FileIO that forwards to another and fails one chosen read, write or sync, so tests can break
// every write path at every step. A failing write may first land a prefix of its bytes.
#ifndef VARNOCK_ENGINE_DSS7_FAULT_FILE_IO_H_
#define VARNOCK_ENGINE_DSS7_FAULT_FILE_IO_H_

#include <memory>

#include "engine/dss7/file_io.h"

namespace varnock::engine::dss7 {

class FaultFileIO final : public FileIO {
 public:
  enum class Op { kRead, kWrite, kSync, kAnyStep };

  explicit FaultFileIO(std::unique_ptr<FileIO> inner) : inner_(std::move(inner)) {}

  // How much of a failing write lands first: a byte count, or one of these.
  static constexpr int64_t kTearHalf = -1;  // the first half of its bytes
  static constexpr int64_t kTearAll = -2;   // all of it, and the write still reports failure

  // The n-th (1-based) call of `op` counted from now fails with `error`. For a failing write,
  // `torn_bytes` (a count, kTearHalf or kTearAll) of its leading bytes land first.
  void FailAt(Op op, int64_t n, Status error = Status::kWriteError, int64_t torn_bytes = 0);
  // Every call from the first failure on fails too (a dead disk).
  void set_sticky(bool sticky) { sticky_ = sticky; }
  void Disarm() { armed_ = false; }
  bool fired() const { return fired_; }
  int64_t reads() const { return reads_; }
  int64_t writes() const { return writes_; }
  int64_t syncs() const { return syncs_; }
  int64_t steps() const { return reads_ + writes_ + syncs_; }

  Status ReadBytes(int64_t offset, std::span<std::byte> out) override;
  Status WriteBytes(int64_t offset, std::span<const std::byte> data) override;
  Status SizeBytes(int64_t* size) override { return inner_->SizeBytes(size); }
  Status Sync() override;
  bool ReadOnly() const override { return inner_->ReadOnly(); }
  Status TryLock(int64_t offset, int64_t length) override {
    return inner_->TryLock(offset, length);
  }
  Status Unlock(int64_t offset, int64_t length) override { return inner_->Unlock(offset, length); }
  Status TestLock(int64_t offset, int64_t length, bool* held_by_other) override {
    return inner_->TestLock(offset, length, held_by_other);
  }

 private:
  bool ShouldFail(Op op);

  std::unique_ptr<FileIO> inner_;
  bool armed_ = false;
  bool fired_ = false;
  bool sticky_ = false;
  Op op_ = Op::kAnyStep;
  int64_t target_ = 0;
  int64_t seen_ = 0;
  Status error_ = Status::kWriteError;
  int64_t torn_bytes_ = 0;
  int64_t reads_ = 0;
  int64_t writes_ = 0;
  int64_t syncs_ = 0;
};

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_FAULT_FILE_IO_H_
