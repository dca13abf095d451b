#include "engine/dss7/codec.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace varnock::engine::dss7 {

void StoreBytes(std::string_view bytes, std::span<int64_t> words) {
  const size_t nwords = static_cast<size_t>(WordsForBytes(static_cast<int64_t>(bytes.size())));
  for (size_t w = 0; w < nwords && w < words.size(); ++w) {
    uint64_t v = 0;
    for (size_t b = 0; b < 8; ++b) {
      const size_t k = w * 8 + b;
      if (k < bytes.size()) v |= static_cast<uint64_t>(static_cast<uint8_t>(bytes[k])) << (8 * b);
    }
    words[w] = static_cast<int64_t>(v);
  }
}

void LoadBytes(std::span<const int64_t> words, size_t n, std::string* out) {
  n = std::min(n, words.size() * 8);
  out->resize(n);
  if constexpr (std::endian::native == std::endian::little) {
    // Word k holds bytes 8k..8k+7 from its low end: the words' own memory, in order.
    if (n > 0) std::memcpy(out->data(), words.data(), n);
  } else {
    for (size_t k = 0; k < n; ++k)
      (*out)[k] = static_cast<char>(ByteAt(words, k));
  }
}

std::string LoadBytes(std::span<const int64_t> words, size_t n) {
  std::string out;
  LoadBytes(words, n, &out);
  return out;
}

// On little-endian hosts an int32 array and its words are the same bytes: one copy.
void PackInt32s(std::span<const int32_t> values, std::span<int64_t> words) {
  const size_t n = values.size();
  if constexpr (std::endian::native == std::endian::little) {
    const size_t whole = std::min(n / 2, words.size());
    if (whole > 0) std::memcpy(words.data(), values.data(), whole * 8);
    if (n % 2 != 0 && whole < words.size()) words[whole] = PackPair(values[n - 1], 0);
    return;
  }
  for (size_t w = 0; w * 2 < n && w < words.size(); ++w) {
    const int32_t lo = values[2 * w];
    const int32_t hi = 2 * w + 1 < n ? values[2 * w + 1] : 0;
    words[w] = PackPair(lo, hi);
  }
}

void UnpackInt32s(std::span<const int64_t> words, std::span<int32_t> values) {
  if constexpr (std::endian::native == std::endian::little) {
    const size_t bytes = std::min(values.size() * 4, words.size() * 8);
    if (bytes > 0) std::memcpy(values.data(), words.data(), bytes);
    return;
  }
  for (size_t i = 0; i < values.size() && i / 2 < words.size(); ++i) {
    values[i] = (i % 2 == 0) ? PairFirst(words[i / 2]) : PairSecond(words[i / 2]);
  }
}

}  // namespace varnock::engine::dss7
