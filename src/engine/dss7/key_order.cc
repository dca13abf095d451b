#include "engine/dss7/key_order.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <utility>

namespace varnock::engine::dss7 {
namespace {

struct Ranked {
  uint64_t head;  // deciding bytes 0..7, big-endian, zero-filled
  uint64_t next;  // deciding bytes 8..15, the same way
  size_t row;
};

uint64_t BigEndianPrefix(const unsigned char* bytes, size_t count) {
  uint64_t v = 0;
  for (size_t k = 0; k < 8; ++k)
    v = (v << 8) | (k < count ? bytes[k] : 0u);
  return v;
}

}  // namespace

std::vector<size_t> FixedWidthKeys::StableOrder() const {
  std::vector<size_t> order(rows_);
  std::iota(order.begin(), order.end(), size_t{0});
  if (rows_ < 2 || width_ == 0) return order;

  // Positions where some key differs from the first one.
  std::vector<unsigned char> differs(width_, 0);
  const char* first = bytes_.get();
  for (size_t r = 1; r < rows_; ++r) {
    const char* key = first + r * width_;
    for (size_t j = 0; j < width_; ++j)
      differs[j] |= static_cast<unsigned char>(key[j] != first[j]);
  }
  std::vector<size_t> deciding;
  for (size_t j = 0; j < width_; ++j) {
    if (differs[j] != 0) deciding.push_back(j);
  }
  if (deciding.empty()) return order;

  // The first 16 deciding bytes of every key as two integers, which settle most comparisons;
  // longer keys also keep all their deciding bytes packed together for the rest.
  const size_t packed_width = deciding.size();
  std::vector<unsigned char> packed(packed_width > 16 ? rows_ * packed_width : 0);
  std::vector<Ranked> ranked(rows_);
  unsigned char gathered[16];
  for (size_t r = 0; r < rows_; ++r) {
    const char* key = first + r * width_;
    unsigned char* out = packed_width > 16 ? packed.data() + r * packed_width : gathered;
    for (size_t k = 0; k < packed_width && (packed_width > 16 || k < 16); ++k)
      out[k] = static_cast<unsigned char>(key[deciding[k]]);
    ranked[r] = {BigEndianPrefix(out, packed_width),
                 packed_width > 8 ? BigEndianPrefix(out + 8, packed_width - 8) : 0, r};
  }
  if (packed_width <= 16) {
    // Short keys: a stable byte-wise radix sort from the last deciding byte to the first.
    std::vector<Ranked> moved(rows_);
    for (size_t k = packed_width; k-- > 0;) {
      const bool in_head = k < 8;
      const unsigned shift = static_cast<unsigned>(8 * (7 - (in_head ? k : k - 8)));
      auto digit = [&](const Ranked& r) {
        return static_cast<size_t>(((in_head ? r.head : r.next) >> shift) & 0xff);
      };
      std::array<size_t, 256> start{};
      for (const Ranked& r : ranked)
        ++start[digit(r)];
      if (start[digit(ranked[0])] == rows_) continue;  // one value: nothing moves
      size_t sum = 0;
      for (size_t& c : start)
        sum += std::exchange(c, sum);
      for (const Ranked& r : ranked)
        moved[start[digit(r)]++] = r;
      ranked.swap(moved);
    }
  } else {
    const size_t tail = packed_width - 16;
    const unsigned char* base = packed.data() + 16;
    std::sort(ranked.begin(), ranked.end(), [&](const Ranked& a, const Ranked& b) {
      if (a.head != b.head) return a.head < b.head;
      if (a.next != b.next) return a.next < b.next;
      const int c = std::memcmp(base + a.row * packed_width, base + b.row * packed_width, tail);
      return c != 0 ? c < 0 : a.row < b.row;
    });
  }
  for (size_t r = 0; r < rows_; ++r)
    order[r] = ranked[r].row;
  return order;
}

}  // namespace varnock::engine::dss7
