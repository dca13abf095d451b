#include "engine/heclib/message_units.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <string>

#include "engine/heclib/options.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine {
namespace {

struct Unit {
  int fd = -1;
  bool written = false;  // the old content is cut at the first write
  dev_t device = 0;
  ino_t inode = 0;
};

std::mutex g_mutex;
std::array<Unit, kMaxUnit + 1> g_units;

bool ValidUnit(int32_t unit) {
  return unit >= kMinUnit && unit <= kMaxUnit;
}

void Disconnect(Unit& u) {
  if (u.fd >= 0) close(u.fd);
  u = Unit();
}

// Write-locks the whole file through this open file description, without waiting. Such a lock
// conflicts with every other open of the file, in this process too.
int LockWhole(int fd) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0;
  lock.l_len = 0;
  return fcntl(fd, F_OFD_SETLK, &lock) == 0 ? 0 : errno;
}

// Writes the text, then a newline when `newline` is set.
int WriteAll(int fd, std::string_view text, bool newline) {
  char end = '\n';
  iovec parts[2] = {{const_cast<char*>(text.data()), text.size()}, {&end, newline ? 1u : 0u}};
  int first = 0;
  while (first < 2) {
    const ssize_t n = writev(fd, parts + first, 2 - first);
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    auto left = static_cast<std::size_t>(n);
    while (first < 2 && left >= parts[first].iov_len)
      left -= parts[first++].iov_len;
    if (first < 2) {
      parts[first].iov_base = static_cast<char*>(parts[first].iov_base) + left;
      parts[first].iov_len -= left;
    }
  }
  return 0;
}

}  // namespace

int32_t OpenUnit(int32_t unit, std::string_view name) {
  if (!ValidUnit(unit)) return EINVAL;
  name = TrimTrailingBlanks(name);
  if (name.empty()) return ENOENT;
  if (name.find('\0') != std::string_view::npos) return EINVAL;
  const std::string path(name);
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) return errno;
  struct stat info {};
  if (fstat(fd, &info) != 0) {
    const int error = errno;
    close(fd);
    return error;
  }

  std::unique_lock lock(g_mutex);
  Unit& u = g_units[static_cast<std::size_t>(unit)];
  if (u.fd >= 0 && u.device == info.st_dev && u.inode == info.st_ino) {
    // Reopening the unit's own file leaves the connection as it is.
    close(fd);
    return 0;
  }
  if (const int error = LockWhole(fd); error != 0) {
    close(fd);
    return error;
  }
  Disconnect(u);
  u.fd = fd;
  u.device = info.st_dev;
  u.inode = info.st_ino;
  return 0;
}

int32_t CloseUnit(int32_t unit) {
  if (!ValidUnit(unit)) return EINVAL;
  std::unique_lock lock(g_mutex);
  Disconnect(g_units[static_cast<std::size_t>(unit)]);
  return 0;
}

bool UnitConnected(int32_t unit) {
  if (!ValidUnit(unit)) return false;
  std::unique_lock lock(g_mutex);
  return g_units[static_cast<std::size_t>(unit)].fd >= 0;
}

namespace {

int32_t WriteToUnit(int32_t unit, std::string_view text, bool newline) {
  if (!ValidUnit(unit)) return EBADF;
  std::unique_lock lock(g_mutex);
  Unit& u = g_units[static_cast<std::size_t>(unit)];
  if (u.fd < 0) return EBADF;
  if (!u.written) {
    if (ftruncate(u.fd, 0) != 0) return errno;
    u.written = true;
  }
  return WriteAll(u.fd, text, newline);
}

}  // namespace

int32_t WriteUnitLine(int32_t unit, std::string_view line) {
  return WriteToUnit(unit, line, true);
}

int32_t WriteUnitText(int32_t unit, std::string_view text) {
  return WriteToUnit(unit, text, false);
}

void CloseMessageOutput() {
  CloseUnit(CurrentOptions().message_unit);
}

bool MessageWanted(int32_t level) {
  return level <= CurrentOptions().message_level;
}

void EmitMessage(int32_t level, std::string_view text) {
  const Options options = CurrentOptions();
  if (level > options.message_level) return;
  WriteUnitLine(options.message_unit, text);
}

void EmitReadOnlyWrite(std::string_view routine, std::string_view path) {
  if (!MessageWanted(1)) return;
  EmitMessage(1, " *****DSS*** " + std::string(routine) +
                     ":  File is open for read access only; nothing written to " +
                     std::string(path));
}

}  // namespace varnock::engine
