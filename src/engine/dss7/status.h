// Result codes of the DSS-7 file layer. Values above 10 follow HECLIB's fatal codes where one
// fits, so the routine facade can hand them through unchanged.
#ifndef VARNOCK_ENGINE_DSS7_STATUS_H_
#define VARNOCK_ENGINE_DSS7_STATUS_H_

#include <cstdint>

namespace varnock::engine::dss7 {

enum class Status : int32_t {
  kOk = 0,
  kNotFound = 1,         // no such record
  kExists = 2,           // a live record already has that path
  kInvalidArgument = 3,  // bad pathname, oversized area, bad option
  kTypeMismatch = 4,     // rewrite would change the record type
  kDamaged = 10,         // bad address or structure in the file
  kPathMismatch = 11,    // index and info block disagree
  kNotDssFile = 20,      // no "ZDSS" magic, or too short
  kInvalidHeader = 21,   // header marker or parameters wrong
  kReadError = 30,
  kOpenFailed = 31,  // the operating system refused to open or create
  kWriteError = 40,
  kDiskFull = 41,
  kNoMemory = 60,
  kNotOpen = 70,
  kReadOnly = 130,
  kLockBusy = 200,  // another process keeps the write lock
  kExclusiveLocked = 201,
  kLockError = 202,
  kIncompatibleVersion = 300,
};

const char* StatusText(Status s);

inline bool Ok(Status s) {
  return s == Status::kOk;
}

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_STATUS_H_
