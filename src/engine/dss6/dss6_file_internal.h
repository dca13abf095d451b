// Pieces shared by the Dss6File implementation files; not part of the file layer's API.
#ifndef VARNOCK_ENGINE_DSS6_DSS6_FILE_INTERNAL_H_
#define VARNOCK_ENGINE_DSS6_DSS6_FILE_INTERNAL_H_

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <new>
#include <stdexcept>
#include <string>

#include "engine/dss6/dss6_file.h"

namespace varnock::engine::dss6::internal {

template <typename F>
inline Status NoThrow(F&& f) {
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return Status::kNoMemory;
  } catch (const std::length_error&) {
    return Status::kNoMemory;
  }
}

// Hash codes and bins per block for HEC's size codes 1..9.
struct SizeCode {
  int32_t hash_codes;
  int32_t bins_per_block;
};
inline constexpr SizeCode kSizeCodes[] = {{8, 4},     {32, 4},    {128, 8},   {512, 16}, {1024, 32},
                                          {2048, 32}, {4096, 32}, {8192, 32}, {8192, 64}};
inline constexpr int32_t kIrregularGrowthPairs = 100;
inline constexpr int32_t kIrregularMinimumPairs = 200;
inline constexpr int32_t kMaxRecordVersion = 999;
inline constexpr int kReadSlots = 100;
inline constexpr const char* kVersionString = "6-YO";

// Lock-record byte ranges (offsets from its first byte).
inline constexpr int64_t kWriteLockByte = 0;
inline constexpr int64_t kExclusiveByte = 8;
inline constexpr int64_t kReadSlotByte = 16;
inline constexpr int64_t kLockBytes = 4;

// First address of the physical record holding `address`, or of the next one when `address`
// does not start a record.
inline int64_t RoundUpToRecord(int64_t address) {
  return (address - 1) % kWordsPerRecord == 0
             ? address
             : kWordsPerRecord * ((address - 1) / kWordsPerRecord + 1) + 1;
}

inline int32_t WithLong(int32_t base, bool long_path) {
  return long_path ? base + entry_status::kLongPath : base;
}

inline void Saturate(HeaderWords& h, int word, int64_t delta) {
  h[word] = static_cast<int32_t>(std::clamp<int64_t>(int64_t{h[word]} + delta, 0, INT32_MAX));
}

inline std::tm SystemLocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local;
}

inline void DateTimeText(const std::tm& t, std::string* date, std::string* time) {
  static constexpr const char* kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                            "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
  char text[32];
  std::snprintf(text, sizeof text, "%02d%s%02d", t.tm_mday, kMonths[std::clamp(t.tm_mon, 0, 11)],
                (t.tm_year + 1900) % 100);
  *date = text;
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", t.tm_hour, t.tm_min, t.tm_sec);
  *time = text;
}

inline bool ValidPath(const std::string& path) {
  return path.size() >= static_cast<size_t>(kMinPathBytes) &&
         path.size() <= static_cast<size_t>(kMaxPathBytes) && path.front() == '/';
}

}  // namespace varnock::engine::dss6::internal

#endif  // VARNOCK_ENGINE_DSS6_DSS6_FILE_INTERNAL_H_
