#include "engine/records/paired/area_bytes.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>

namespace varnock::engine::paired {
namespace {

uint32_t Bits(std::span<const int32_t> ints, size_t i) {
  return static_cast<uint32_t>(ints[i]);
}

std::string_view CutAtNul(std::string_view s) {
  return s.substr(0, s.find('\0'));
}

std::string_view TrimRight(std::string_view s) {
  const size_t last = s.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string_view() : s.substr(0, last + 1);
}

}  // namespace

float FloatAt(std::span<const int32_t> ints, size_t i) {
  return std::bit_cast<float>(Bits(ints, i));
}

double DoubleAt(std::span<const int32_t> ints, size_t i) {
  const uint64_t bits = uint64_t{Bits(ints, 2 * i)} | (uint64_t{Bits(ints, 2 * i + 1)} << 32);
  return std::bit_cast<double>(bits);
}

void AppendFloat(float v, std::vector<int32_t>* out) {
  out->push_back(static_cast<int32_t>(std::bit_cast<uint32_t>(v)));
}

void AppendDouble(double v, std::vector<int32_t>* out) {
  const uint64_t bits = std::bit_cast<uint64_t>(v);
  out->push_back(static_cast<int32_t>(static_cast<uint32_t>(bits)));
  out->push_back(static_cast<int32_t>(static_cast<uint32_t>(bits >> 32)));
}

float ToFloat(double v) {
  // Casting an out-of-range double is undefined; IEEE rounding gives FLT_MAX or infinity.
  constexpr double kLimit = static_cast<double>(FLT_MAX);
  constexpr double kHalfStep = 0x1p103;  // half the float spacing at FLT_MAX
  if (v > kLimit) return v >= kLimit + kHalfStep ? HUGE_VALF : FLT_MAX;
  if (v < -kLimit) return v <= -kLimit - kHalfStep ? -HUGE_VALF : -FLT_MAX;
  return static_cast<float>(v);
}

std::string AreaBytes(std::span<const int32_t> ints, size_t n) {
  n = std::min(n, ints.size() * 4);
  std::string out(n, '\0');
  for (size_t k = 0; k < n; ++k)
    out[k] = static_cast<char>((Bits(ints, k / 4) >> (8 * (k % 4))) & 0xFF);
  return out;
}

std::vector<int32_t> IntsOfBytes(std::string_view bytes, size_t min_ints) {
  std::vector<int32_t> out(std::max(min_ints, (bytes.size() + 3) / 4), 0);
  for (size_t k = 0; k < bytes.size(); ++k) {
    const uint32_t b = static_cast<unsigned char>(bytes[k]);
    out[k / 4] = static_cast<int32_t>(static_cast<uint32_t>(out[k / 4]) | (b << (8 * (k % 4))));
  }
  return out;
}

std::string PackStrings(std::span<const std::string_view> strings) {
  std::string out;
  for (std::string_view s : strings) {
    s = TrimRight(CutAtNul(s));
    const size_t padded = (s.size() + 1 + 7) / 8 * 8;
    out.append(s);
    out.append(padded - s.size() - 1, ' ');
    out.push_back('\0');
  }
  return out;
}

std::vector<std::string> UnpackStrings(std::string_view bytes, size_t count) {
  std::vector<std::string> out(count);
  size_t at = 0;
  for (size_t i = 0; i < count && at < bytes.size(); ++i) {
    const std::string_view s = CutAtNul(bytes.substr(at));
    // Older records: an empty string ends the list (HEC then reads no further strings).
    if (s.empty()) break;
    out[i] = std::string(TrimRight(s));
    at += s.size() + 1;
  }
  return out;
}

std::vector<std::string> SplitStrings(std::string_view bytes, size_t count) {
  std::vector<std::string> out;
  out.reserve(std::min(count, bytes.size() + 1));
  size_t at = 0;
  while (out.size() < count && at < bytes.size()) {
    const std::string_view s = CutAtNul(bytes.substr(at));
    out.emplace_back(s);
    at += s.size() + 1;
  }
  out.resize(count);
  return out;
}

std::string JoinStrings(std::span<const std::string> strings) {
  std::string out;
  for (const std::string& s : strings) {
    out.append(CutAtNul(s));
    out.push_back('\0');
  }
  return out;
}

}  // namespace varnock::engine::paired
