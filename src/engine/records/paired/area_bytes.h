// Values and bytes inside the int32 areas of a record, independent of the host's byte order:
// floats are one int, doubles two (low int first), and byte k of an area is byte k % 4 of int
// k / 4, least significant first, as the file holds it. Also HEC's packed units/type strings
// and its lists of NUL-terminated strings.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_AREA_BYTES_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_AREA_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace varnock::engine::paired {

float FloatAt(std::span<const int32_t> ints, size_t i);
double DoubleAt(std::span<const int32_t> ints, size_t i);
void AppendFloat(float v, std::vector<int32_t>* out);
void AppendDouble(double v, std::vector<int32_t>* out);

// A double as the nearest float; values beyond the float range become infinities.
float ToFloat(double v);

// The first n bytes of an area (n is clipped to the area).
std::string AreaBytes(std::span<const int32_t> ints, size_t n);
// Bytes as ints, zero-filling the tail, padded with zero ints up to `min_ints`.
std::vector<int32_t> IntsOfBytes(std::string_view bytes, size_t min_ints = 0);

// HEC's packing: each string cut at a NUL and right-trimmed of blanks, then blank-padded so
// that it and its NUL end on a multiple of 8 bytes; an empty string becomes 7 blanks and a NUL.
std::string PackStrings(std::span<const std::string_view> strings);

// The reverse, for `count` strings from the start of `bytes`: each right-trimmed of blanks.
// The list ends at the first empty string or at the end of the bytes (later ones are empty).
std::vector<std::string> UnpackStrings(std::string_view bytes, size_t count);

// `count` NUL-terminated strings from `bytes`, kept as stored; missing ones are empty and a
// final string without its NUL ends at the end of the bytes.
std::vector<std::string> SplitStrings(std::string_view bytes, size_t count);

// The strings each followed by a NUL (a string is cut at its first NUL).
std::string JoinStrings(std::span<const std::string> strings);

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_AREA_BYTES_H_
