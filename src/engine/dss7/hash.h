// The two pathname hashes of DSS-7 and the pathname rules the file layer enforces.
#ifndef VARNOCK_ENGINE_DSS7_HASH_H_
#define VARNOCK_ENGINE_DSS7_HASH_H_

#include <array>
#include <cstdint>
#include <string_view>

namespace varnock::engine::dss7 {

// The byte both hashes see for a path byte: controls and bytes >= 128 become '?', a-z upper.
constexpr uint8_t HashByte(uint8_t b) {
  if (b < 32 || b >= 128) return '?';
  if (b >= 'a' && b <= 'z') return static_cast<uint8_t>(b - 'a' + 'A');
  return b;
}

// 64-bit "31 * h + c" hash of the normalised path; never 0 (0 marks an empty bin slot).
int64_t BinHash(std::string_view path);

// Index into a hash table of `table_size` (>= 2) entries: XOR of ibit-wide groups of the
// normalised path read as one big-endian bit string, modulo the table size.
int32_t TableHash(std::string_view path, int64_t table_size);

// HEC's table hash core (DSS-6 uses it too): the bytes, each passed through `map`, read as one
// big-endian bit string padded with zero bytes to whole groups, cut into ibit-wide groups from
// the start, XORed together.
template <typename Map>
uint64_t XorBitGroups(std::string_view bytes, int ibit, Map map) {
  const auto len = static_cast<int64_t>(bytes.size());
  const int64_t groups = (8 * len + ibit - 1) / ibit;
  const int64_t nbytes = (groups * ibit + 7) / 8;
  const uint64_t mask = (uint64_t{1} << ibit) - 1;
  uint64_t acc = 0;
  int nbits = 0;
  uint64_t x = 0;
  for (int64_t i = 0; i < nbytes; ++i) {
    const uint8_t c = i < len ? map(static_cast<uint8_t>(bytes[static_cast<size_t>(i)])) : 0;
    acc = (acc << 8) | c;
    nbits += 8;
    while (nbits >= ibit) {
      x ^= (acc >> (nbits - ibit)) & mask;
      nbits -= ibit;
      acc &= (uint64_t{1} << nbits) - 1;
    }
  }
  return x;
}

// Bits per group for a table size: k for exactly 2^k, else floor(log2) + 1.
int TableHashBits(int64_t table_size);

// Case-insensitive (ASCII) path equality, as lookups compare.
bool SamePath(std::string_view a, std::string_view b);

// F part starts "C:" (any case), contains '|', and the path is long enough.
bool IsCollectionPath(std::string_view path);

// Lengths of parts A..F; false unless the path is "/A/B/C/D/E/F/" with exactly 7 slashes.
bool SplitPartLengths(std::string_view path, std::array<int64_t, 6>* lengths);
bool SplitParts(std::string_view path, std::array<std::string_view, 6>* parts);

// A path a writer may store: 7 slashes, 1..391 bytes, parts <= 128, no control bytes or DEL.
bool IsStorablePath(std::string_view path);

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_HASH_H_
