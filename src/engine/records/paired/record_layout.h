// Every position inside the data areas of paired-data records (types 200 / 205), text
// records (300 / 310) and location records (20). The codecs name these and never spell an int index
// themselves.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_RECORD_LAYOUT_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_RECORD_LAYOUT_H_

#include <cstddef>
#include <cstdint>

namespace varnock::engine::paired {

inline constexpr int32_t kPairedFloat = 200;
inline constexpr int32_t kPairedDouble = 205;
inline constexpr int32_t kText = 300;
inline constexpr int32_t kTextTable = 310;

// HEC's range test for paired data.
constexpr bool IsPairedType(int32_t type) {
  return type >= 200 && type < 300;
}
constexpr bool IsTextType(int32_t type) {
  return type == kText || type == kTextTable;
}

// Paired data, internal header (ints). Areas: header2 = curve labels, values1 = ordinates,
// values2 = curves, curve-major.
namespace pd_header {
inline constexpr int kOrdinates = 0;
inline constexpr int kCurves = 1;
inline constexpr int kAxisFlag = 2;  // 1: independent variable on the horizontal axis
inline constexpr int kLabelBytes = 3;
inline constexpr int kPrecision = 4;  // -1 unset, else 10 * x digits + y digits
inline constexpr int kFiller = 5;     // four blanks; older records start their strings here
inline constexpr int kStrings = 6;
inline constexpr int kMinInts = 5;              // HEC refuses shorter headers
inline constexpr size_t kMaxStringBytes = 400;  // HEC reads no more string bytes than this
inline constexpr int kStringCount = 5;          // units and type of each axis, then the time zone
inline constexpr int32_t kDefaultAxisFlag = 1;
inline constexpr int32_t kNoPrecision = -1;
}  // namespace pd_header

// Text records, internal header (ints). Areas: header2 = column labels, values1 = the text
// bytes, values2 = the table cells, row-major, each NUL-terminated.
namespace text_header {
inline constexpr int kTextBytes = 0;
inline constexpr int kTableBytes = 1;
inline constexpr int kLabelBytes = 2;
inline constexpr int kRows = 3;
inline constexpr int kColumns = 4;
inline constexpr int kReserved = 5;
inline constexpr int kInts = 6;
inline constexpr int kMinInts = 5;
}  // namespace text_header

// Location records (type 20, path "/A/B/Location Info////"), values1 (ints): three doubles
// x, y, z, then six codes, then the time-zone name's bytes. values2 = supplemental text.
namespace location_values {
inline constexpr int kCoordinates = 0;  // x, y, z: 2 ints each
inline constexpr int kCoordinateSystem = 6;
inline constexpr int kCoordinateId = 7;
inline constexpr int kHorizontalUnits = 8;
inline constexpr int kHorizontalDatum = 9;
inline constexpr int kVerticalUnits = 10;
inline constexpr int kVerticalDatum = 11;
inline constexpr int kTimeZone = 12;
}  // namespace location_values

// Four blanks as one int, in either byte order.
inline constexpr int32_t kBlankInt = 0x20202020;

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_RECORD_LAYOUT_H_
