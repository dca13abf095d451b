// The data areas of regular and irregular time-series records, decoded into plain arrays and
// encoded back, over the int32 buffers the file layer reads and writes. Every position inside
// the internal header and values1 is defined here and nowhere else. Values travel as their raw
// int32 images (one int per float, two per double, little-endian hosts).
#ifndef VARNOCK_ENGINE_RECORDS_SERIES_RECORD_CODEC_H_
#define VARNOCK_ENGINE_RECORDS_SERIES_RECORD_CODEC_H_

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::series {

// Internal-header ints (both series kinds).
namespace ts_header {
inline constexpr int kGranularity = 0;
inline constexpr int kPrecision = 1;
inline constexpr int kOffset = 2;
inline constexpr int kDepths = 3;
inline constexpr int kFirstPosition = 4;
inline constexpr int kLastPosition = 5;
inline constexpr int kValuesNumber = 6;
inline constexpr int kValueSize = 7;
inline constexpr int kElementSize = 8;
inline constexpr int kValuesCompression = 9;
inline constexpr int kQualityNumber = 10;
inline constexpr int kQualitySize = 11;
inline constexpr int kQualityCompression = 12;
inline constexpr int kNotesNumber = 13;
inline constexpr int kInoteSize = 14;
inline constexpr int kNotesCompression = 15;
inline constexpr int kCnotesLength = 16;
inline constexpr int kFiller = 17;  // four blanks; legacy records start their strings here
inline constexpr int kStrings = 18;
inline constexpr int kFixedInts = 17;
inline constexpr int32_t kBlanks = 0x20202020;
inline constexpr size_t kMaxStringBytes = 192;  // HEC reads 200 bytes of strings at most
}  // namespace ts_header

inline constexpr int32_t kRegularFloat = 100;
inline constexpr int32_t kRegularDouble = 105;
inline constexpr int32_t kIrregularFloat = 110;
inline constexpr int32_t kIrregularDouble = 115;
// The record types the series reads take; patterns and profiles are other kinds.
constexpr bool IsPlainSeriesType(int32_t type) {
  return type == kRegularFloat || type == kRegularDouble || type == kIrregularFloat ||
         type == kIrregularDouble;
}
inline constexpr int32_t kRegularProfileFloat = 102;
inline constexpr int32_t kRegularProfileDouble = 107;
inline constexpr int32_t kIrregularProfileFloat = 112;
inline constexpr int32_t kIrregularProfileDouble = 117;

// HEC's "undefined": -FLT_MAX, and for doubles the same number widened (not -DBL_MAX).
inline constexpr float kUndefinedFloat = -FLT_MAX;
inline constexpr double kUndefinedDouble = -static_cast<double>(FLT_MAX);
// HEC's missing test: the undefined value or one of the DSS-6 flags -901 and -902.
inline bool IsMissing(double v) {
  return v == kUndefinedDouble || v == -901.0 || v == -902.0;
}
// Out-of-range doubles become infinities rather than undefined behaviour.
inline float ToFloat(double v) {
  if (std::isnan(v) || std::fabs(v) <= FLT_MAX) return static_cast<float>(v);
  return v > 0 ? HUGE_VALF : -HUGE_VALF;
}

// File versions below 7-HA keep the legacy layout: no section pads, unpadded strings at int 17.
inline constexpr int kFirstPaddedLayout = 70801;

// One record's content, uncompressed. `values` holds count * value_size ints; quality and
// integer notes count * their sizes; cnotes count NUL-terminated strings back to back.
struct SeriesBlock {
  int32_t record_type = kRegularFloat;
  int32_t granularity = 60;
  int32_t precision = -1;
  int32_t offset = 0;
  int32_t first_position = 0;  // regular only
  int32_t last_position = 0;
  int32_t count = 0;
  int32_t value_size = 1;  // ints a time step: element size, times the depths of a profile
  int32_t quality_size = 0;
  int32_t inote_size = 0;
  bool has_cnotes = false;
  std::string units;
  std::string type;
  std::string zone;
  std::string depth_units;      // profiles
  std::vector<int32_t> depths;  // profiles: the depths, as floats or doubles like the values
  std::vector<int32_t> times;   // irregular: seconds (minutes for IR-Century) from block start
  std::vector<int32_t> values;
  std::vector<int32_t> quality;
  std::vector<int32_t> inotes;
  std::string cnotes;
  std::vector<int32_t> user_header;
  dss7::InfoBlock info;  // as read; ignored by the encoder
};

inline double ValueAt(std::span<const int32_t> ints, int32_t value_size, size_t i) {
  if (value_size == 2) {
    double d;
    std::memcpy(&d, ints.data() + 2 * i, sizeof d);
    return d;
  }
  float f;
  std::memcpy(&f, ints.data() + i, sizeof f);
  return f;
}
inline void SetValueAt(std::span<int32_t> ints, int32_t value_size, size_t i, double v) {
  if (value_size == 2) {
    std::memcpy(ints.data() + 2 * i, &v, sizeof v);
  } else {
    const float f = ToFloat(v);
    std::memcpy(ints.data() + i, &f, sizeof f);
  }
}

enum class DecodeResult { kOk, kWrongType, kDamaged };

// Checks and expands a record read from a file whose full version is `file_version`. Every
// repeat-compression form HEC writes is expanded: bitmaps packed or one slot per compressed
// section, an all-equal double counted as one value or as two ints, and records whose section
// pads disagree with the file's version.
// With `profile`, reads profile records (102/107, 112/117) instead of plain series; records of
// the other kind, and patterns, are kWrongType.
DecodeResult DecodeSeries(const dss7::Record& record, bool irregular, int file_version,
                          SeriesBlock* out, bool profile = false);

// Lays out the internal header and values1 (uncompressed) for a file of `file_version`.
void EncodeSeries(const SeriesBlock& block, int file_version, std::vector<int32_t>* header,
                  std::vector<int32_t>* values1);

// HEC's packing of units/type/zone: each right-trimmed, blank-padded so that it and its NUL end
// on a multiple of 8 bytes; absent strings become 7 blanks and a NUL.
std::string PackStrings(std::span<const std::string_view> strings);

}  // namespace varnock::engine::series

#endif  // VARNOCK_ENGINE_RECORDS_SERIES_RECORD_CODEC_H_
