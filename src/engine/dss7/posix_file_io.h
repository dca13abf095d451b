// FileIO over a POSIX descriptor: pread/pwrite, fsync, and open-file-description locks, which
// conflict with HEC's lockf locks and with every other descriptor, also in this process.
#ifndef VARNOCK_ENGINE_DSS7_POSIX_FILE_IO_H_
#define VARNOCK_ENGINE_DSS7_POSIX_FILE_IO_H_

#include <memory>
#include <string>

#include "engine/dss7/file_io.h"

namespace varnock::engine::dss7 {

class PosixFileIO final : public FileIO {
 public:
  enum class Mode {
    kReadWriteOrReadOnly,  // read/write, falling back to read-only when write is refused
    kReadOnly,
    kCreate,  // read/write, creating the file when missing
  };
  static Status Open(const std::string& path, Mode mode, std::unique_ptr<PosixFileIO>* out);
  ~PosixFileIO() override;
  PosixFileIO(const PosixFileIO&) = delete;
  PosixFileIO& operator=(const PosixFileIO&) = delete;

  Status ReadBytes(int64_t offset, std::span<std::byte> out) override;
  Status WriteBytes(int64_t offset, std::span<const std::byte> data) override;
  Status SizeBytes(int64_t* size) override;
  Status Sync() override;
  bool ReadOnly() const override { return read_only_; }
  Status TryLock(int64_t offset, int64_t length) override;
  Status Unlock(int64_t offset, int64_t length) override;
  Status TestLock(int64_t offset, int64_t length, bool* held_by_other) override;
  const std::byte* MapPrefix(int64_t bytes) override;

 private:
  PosixFileIO(int fd, bool read_only) : fd_(fd), read_only_(read_only) {}
  int fd_;
  bool read_only_;
  void* map_ = nullptr;
  int64_t map_bytes_ = 0;
};

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_POSIX_FILE_IO_H_
