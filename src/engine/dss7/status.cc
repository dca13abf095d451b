#include "engine/dss7/status.h"

namespace varnock::engine::dss7 {

const char* StatusText(Status s) {
  switch (s) {
    case Status::kOk:
      return "ok";
    case Status::kNotFound:
      return "record not found";
    case Status::kExists:
      return "record already exists";
    case Status::kInvalidArgument:
      return "invalid argument";
    case Status::kTypeMismatch:
      return "different record type";
    case Status::kDamaged:
      return "bad address in file (damaged file)";
    case Status::kPathMismatch:
      return "index and record disagree (damaged file)";
    case Status::kNotDssFile:
      return "not a DSS file";
    case Status::kInvalidHeader:
      return "invalid file header";
    case Status::kReadError:
      return "read error";
    case Status::kOpenFailed:
      return "cannot open file";
    case Status::kWriteError:
      return "write error";
    case Status::kDiskFull:
      return "disk full";
    case Status::kNoMemory:
      return "out of memory";
    case Status::kNotOpen:
      return "file not open";
    case Status::kReadOnly:
      return "file is read-only";
    case Status::kLockBusy:
      return "file locked by another writer";
    case Status::kExclusiveLocked:
      return "file exclusively locked by another process";
    case Status::kLockError:
      return "lock error";
    case Status::kIncompatibleVersion:
      return "incompatible DSS version";
  }
  return "unknown status";
}

}  // namespace varnock::engine::dss7
