#include "engine/dss6/compression.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace varnock::engine::dss6 {
namespace {

namespace cz = compression;

uint8_t ByteOf(std::span<const int32_t> words, size_t k) {
  return static_cast<uint8_t>(CharAt(words, k));
}

uint32_t Unsigned(std::span<const int32_t> words, size_t at, int bytes) {
  uint32_t v = 0;
  for (int b = 0; b < bytes; ++b)
    v |= static_cast<uint32_t>(ByteOf(words, at + static_cast<size_t>(b))) << (8 * b);
  return v;
}

float FloatAt(std::span<const int32_t> words, size_t at) {
  const uint32_t bits = Unsigned(words, at, 4);
  float f;
  std::memcpy(&f, &bits, sizeof f);
  return f;
}

float SignificantValue(uint32_t code) {
  switch (code) {
    case cz::kCodeZero:
      return 0.0f;
    case cz::kCodeTinyPositive:
      return 1.0e-37f;
    case cz::kCodeTinyNegative:
      return -1.0e-37f;
    case cz::kCodeHugePositive:
      return 1.0e37f;
    case cz::kCodeHugeNegative:
      return -1.0e37f;
    default:
      break;
  }
  int e = static_cast<int>(code / 1024);
  const auto mantissa = static_cast<float>(code % 1024);
  const bool negative = e > cz::kNegativeExponent;
  if (negative) e -= cz::kNegativeExponent;
  const float v = mantissa * HecPowerOfTen(e - cz::kExponentBias);
  return negative ? -v : v;
}

}  // namespace

float HecPowerOfTen(int k) {
  int n = k < 0 ? -k : k;
  float x = 10.0f;
  float y = (n % 2 == 1) ? 10.0f : 1.0f;
  while ((n /= 2) > 0) {
    x = x * x;
    if (n % 2 == 1) y = y * x;
  }
  return k >= 0 ? y : 1.0f / y;
}

Status Decompress(std::span<const int32_t> header, std::span<const int32_t> data,
                  std::span<float> out) {
  const size_t header_bytes = header.size() * 4;
  if (header.size() < static_cast<size_t>(cz::kHeaderWords)) return Status::kDamaged;
  if (ByteOf(header, cz::kMarkC) != 'C' || ByteOf(header, cz::kFormatVersion) != cz::kVersion ||
      ByteOf(header, cz::kMarkD) != 'D' || ByteOf(header, cz::kMarkS) != 'S' ||
      ByteOf(header, cz::kMarkR) != 'R') {
    return Status::kDamaged;
  }
  const int scheme = ByteOf(header, cz::kScheme);
  if (scheme < cz::kRepeat || scheme > cz::kRepeatSignificant) return Status::kDamaged;
  const auto n = static_cast<int32_t>(Unsigned(header, cz::kValueCount, 4));
  if (n != static_cast<int32_t>(out.size())) return Status::kDamaged;
  const bool repeat = scheme % 2 == 1;
  const bool delta = scheme == cz::kDelta || scheme == cz::kRepeatDelta;
  const bool significant = scheme == cz::kSignificant || scheme == cz::kRepeatSignificant;

  // Repeat bits, when present, follow the repeat section's fixed bytes.
  const size_t repeat_length =
      ByteOf(header, cz::kRepeatLengthLow) + 256u * ByteOf(header, cz::kRepeatLengthHigh);
  const bool has_bits = repeat_length != static_cast<size_t>(cz::kPlainRepeatLength);
  const size_t bit_words = (out.size() + 31) / 32;
  if (has_bits) {
    if (repeat_length != 4 * bit_words + 8) return Status::kDamaged;
    if (header_bytes < cz::kRepeatBits + 4 * bit_words + 1) return Status::kDamaged;
    if (ByteOf(header, cz::kRepeatBits + 4 * bit_words + 1) != 'E') return Status::kDamaged;
  } else if (ByteOf(header, cz::kRepeatBits) != 'E') {
    return Status::kDamaged;
  }
  const auto repeated = [&](size_t i) {
    if (!repeat || !has_bits || i == 0) return false;
    return ((ByteOf(header, cz::kRepeatBits + i / 8) >> (i % 8)) & 1) != 0;
  };
  size_t stored = 0;
  for (size_t i = 0; i < out.size(); ++i)
    stored += repeated(i) ? 0 : 1;

  int value_bytes = 4;
  if (delta) value_bytes = ByteOf(header, cz::kDeltaBytes);
  if (significant) value_bytes = 2;
  if (value_bytes != 1 && value_bytes != 2 && value_bytes != 4) return Status::kDamaged;
  if (stored * static_cast<size_t>(value_bytes) > data.size() * 4) return Status::kDamaged;

  const float base = FloatAt(header, cz::kDeltaBase);
  // Delta values scale by the float nearest to the power of ten.
  const float scale = static_cast<float>(
      std::pow(10.0, static_cast<int>(ByteOf(header, cz::kDeltaPower)) - cz::kPowerBias));
  const uint32_t all_ones = value_bytes == 1 ? 0xffu : 0xffffu;
  size_t next = 0;
  float previous = 0.0f;
  for (size_t i = 0; i < out.size(); ++i) {
    if (repeated(i)) {
      out[i] = previous;
      continue;
    }
    const size_t at = next++ * static_cast<size_t>(value_bytes);
    float v;
    if (delta) {
      const uint32_t code = Unsigned(data, at, value_bytes);
      v = code == all_ones ? kMissing : static_cast<float>(code) * scale + base;
    } else if (significant) {
      v = SignificantValue(Unsigned(data, at, 2));
    } else {
      v = FloatAt(data, at);
    }
    out[i] = previous = v;
  }
  return Status::kOk;
}

}  // namespace varnock::engine::dss6
