// Pure codecs over 8-byte words: int32 pairs, byte strings, int32 arrays, and the conversion
// between host words and the little-endian disk image (the only place byte order is handled).
#ifndef VARNOCK_ENGINE_DSS7_CODEC_H_
#define VARNOCK_ENGINE_DSS7_CODEC_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace varnock::engine::dss7 {

// Two int32s in one word: the first is the low half (bytes 0-3 on disk).
constexpr int64_t PackPair(int32_t first, int32_t second) {
  return static_cast<int64_t>(static_cast<uint64_t>(static_cast<uint32_t>(first)) |
                              (static_cast<uint64_t>(static_cast<uint32_t>(second)) << 32));
}
constexpr int32_t PairFirst(int64_t word) {
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(word)));
}
constexpr int32_t PairSecond(int64_t word) {
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(word) >> 32));
}

constexpr int64_t WordsForBytes(int64_t bytes) {
  return (bytes + 7) / 8;
}
constexpr int64_t WordsForInt32s(int64_t n) {
  return (n + 1) / 2;
}

// Byte k of a word array as it lies on disk (byte k of word k/8, least significant first).
inline uint8_t ByteAt(std::span<const int64_t> words, size_t k) {
  return static_cast<uint8_t>(static_cast<uint64_t>(words[k / 8]) >> (8 * (k % 8)));
}

// Stores bytes from word 0 on, zero-padding the last word. `words` must hold
// WordsForBytes(bytes.size()) words; nothing past that is touched.
void StoreBytes(std::string_view bytes, std::span<int64_t> words);

// The first n bytes of a word array (n is clipped to the array).
std::string LoadBytes(std::span<const int64_t> words, size_t n);
// The same into *out, reusing its memory.
void LoadBytes(std::span<const int64_t> words, size_t n, std::string* out);

// int32 arrays as words: element 2k is the low half of word k; an odd tail is zero-padded.
void PackInt32s(std::span<const int32_t> values, std::span<int64_t> words);
void UnpackInt32s(std::span<const int64_t> words, std::span<int32_t> values);

// Host <-> disk image, in place. No-ops on little-endian hosts.
inline void WordsFromDisk(std::span<int64_t> words) {
  if constexpr (std::endian::native == std::endian::big) {
    for (auto& w : words)
      w = static_cast<int64_t>(__builtin_bswap64(static_cast<uint64_t>(w)));
  }
}
inline void WordsToDisk(std::span<int64_t> words) {
  WordsFromDisk(words);
}
inline void Int32sFromDisk(std::span<int32_t> values) {
  if constexpr (std::endian::native == std::endian::big) {
    for (auto& v : values)
      v = static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(v)));
  }
}
inline constexpr bool kHostIsDiskOrder = std::endian::native == std::endian::little;

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_CODEC_H_
