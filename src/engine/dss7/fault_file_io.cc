#include "engine/dss7/fault_file_io.h"

#include <algorithm>

namespace varnock::engine::dss7 {

void FaultFileIO::FailAt(Op op, int64_t n, Status error, int64_t torn_bytes) {
  armed_ = true;
  fired_ = false;
  op_ = op;
  target_ = n;
  seen_ = 0;
  error_ = error;
  torn_bytes_ = torn_bytes;
  reads_ = writes_ = syncs_ = 0;
}

bool FaultFileIO::ShouldFail(Op op) {
  if (fired_ && sticky_) return true;
  if (!armed_ || fired_) return false;
  if (op_ != Op::kAnyStep && op_ != op) return false;
  if (++seen_ != target_) return false;
  fired_ = true;
  return true;
}

Status FaultFileIO::ReadBytes(int64_t offset, std::span<std::byte> out) {
  ++reads_;
  if (ShouldFail(Op::kRead)) return Status::kReadError;
  return inner_->ReadBytes(offset, out);
}

Status FaultFileIO::WriteBytes(int64_t offset, std::span<const std::byte> data) {
  ++writes_;
  const bool first_failure = !fired_;
  if (ShouldFail(Op::kWrite)) {
    if (first_failure) {
      size_t torn = data.size();
      if (torn_bytes_ == kTearHalf) torn = data.size() / 2;
      if (torn_bytes_ >= 0) torn = std::min(data.size(), static_cast<size_t>(torn_bytes_));
      if (torn > 0) (void)inner_->WriteBytes(offset, data.first(torn));
    }
    return error_ == Status::kOk ? Status::kWriteError : error_;
  }
  return inner_->WriteBytes(offset, data);
}

Status FaultFileIO::Sync() {
  ++syncs_;
  if (ShouldFail(Op::kSync)) return error_ == Status::kOk ? Status::kWriteError : error_;
  return inner_->Sync();
}

}  // namespace varnock::engine::dss7
