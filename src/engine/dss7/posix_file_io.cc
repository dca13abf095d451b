#include "engine/dss7/posix_file_io.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <new>

namespace varnock::engine::dss7 {
namespace {

Status LockCall(int fd, int cmd, short type, int64_t offset, int64_t length, struct flock* fl) {
  *fl = {};
  fl->l_type = type;
  fl->l_whence = SEEK_SET;
  fl->l_start = static_cast<off_t>(offset);
  fl->l_len = static_cast<off_t>(length);
  fl->l_pid = 0;
  while (fcntl(fd, cmd, fl) != 0) {
    if (errno == EINTR) continue;
    if (errno == EAGAIN || errno == EACCES) return Status::kLockBusy;
    return Status::kLockError;
  }
  return Status::kOk;
}

}  // namespace

Status PosixFileIO::Open(const std::string& path, Mode mode, std::unique_ptr<PosixFileIO>* out) {
  int flags = O_CLOEXEC;
  bool read_only = false;
  int fd = -1;
  if (mode == Mode::kReadOnly) {
    read_only = true;
    fd = ::open(path.c_str(), flags | O_RDONLY);
  } else {
    if (mode == Mode::kCreate) flags |= O_CREAT;
    do {
      fd = ::open(path.c_str(), flags | O_RDWR, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0 && (errno == EACCES || errno == EROFS || errno == EPERM) &&
        mode == Mode::kReadWriteOrReadOnly) {
      read_only = true;
      fd = ::open(path.c_str(), O_CLOEXEC | O_RDONLY);
    }
  }
  if (fd < 0) return Status::kOpenFailed;
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    return Status::kOpenFailed;
  }
  out->reset(new (std::nothrow) PosixFileIO(fd, read_only));
  if (!*out) {
    ::close(fd);
    return Status::kNoMemory;
  }
  return Status::kOk;
}

PosixFileIO::~PosixFileIO() {
  if (map_ != nullptr) ::munmap(map_, static_cast<size_t>(map_bytes_));
  if (fd_ >= 0) ::close(fd_);
}

const std::byte* PosixFileIO::MapPrefix(int64_t bytes) {
  if (map_ != nullptr) return bytes <= map_bytes_ ? static_cast<const std::byte*>(map_) : nullptr;
  int64_t size = 0;
  // Only bytes the file already has: a mapping past its end would fault when touched.
  if (bytes <= 0 || SizeBytes(&size) != Status::kOk || size < bytes) return nullptr;
  void* at = ::mmap(nullptr, static_cast<size_t>(bytes), PROT_READ, MAP_SHARED, fd_, 0);
  if (at == MAP_FAILED) return nullptr;
  map_ = at;
  map_bytes_ = bytes;
  return static_cast<const std::byte*>(map_);
}

Status PosixFileIO::ReadBytes(int64_t offset, std::span<std::byte> out) {
  size_t done = 0;
  while (done < out.size()) {
    const ssize_t n = ::pread(fd_, out.data() + done, out.size() - done,
                              static_cast<off_t>(offset + static_cast<int64_t>(done)));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return Status::kReadError;
    done += static_cast<size_t>(n);
  }
  return Status::kOk;
}

Status PosixFileIO::WriteBytes(int64_t offset, std::span<const std::byte> data) {
  if (read_only_) return Status::kReadOnly;
  size_t done = 0;
  while (done < data.size()) {
    const ssize_t n = ::pwrite(fd_, data.data() + done, data.size() - done,
                               static_cast<off_t>(offset + static_cast<int64_t>(done)));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) return Status::kDiskFull;
    if (n <= 0) return Status::kWriteError;
    done += static_cast<size_t>(n);
  }
  return Status::kOk;
}

Status PosixFileIO::SizeBytes(int64_t* size) {
  struct stat st;
  if (fstat(fd_, &st) != 0) return Status::kReadError;
  *size = static_cast<int64_t>(st.st_size);
  return Status::kOk;
}

Status PosixFileIO::Sync() {
  if (read_only_) return Status::kOk;
  while (::fsync(fd_) != 0) {
    if (errno == EINTR) continue;
    return errno == ENOSPC ? Status::kDiskFull : Status::kWriteError;
  }
  return Status::kOk;
}

Status PosixFileIO::TryLock(int64_t offset, int64_t length) {
  struct flock fl;
  return LockCall(fd_, F_OFD_SETLK, F_WRLCK, offset, length, &fl);
}

Status PosixFileIO::Unlock(int64_t offset, int64_t length) {
  struct flock fl;
  const Status s = LockCall(fd_, F_OFD_SETLK, F_UNLCK, offset, length, &fl);
  return s == Status::kLockBusy ? Status::kLockError : s;
}

Status PosixFileIO::TestLock(int64_t offset, int64_t length, bool* held_by_other) {
  struct flock fl;
  *held_by_other = false;
  const Status s = LockCall(fd_, F_OFD_GETLK, F_WRLCK, offset, length, &fl);
  if (s != Status::kOk) return s;
  *held_by_other = fl.l_type != F_UNLCK;
  return Status::kOk;
}

}  // namespace varnock::engine::dss7
