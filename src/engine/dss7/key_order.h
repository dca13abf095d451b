// Sorting many records by byte keys of one width without a string per record: the keys sit in
// one buffer, byte positions where every key holds the same byte are dropped (they cannot
// decide any comparison), and the rest is sorted with its first 8 bytes as one integer.
#ifndef VARNOCK_ENGINE_DSS7_KEY_ORDER_H_
#define VARNOCK_ENGINE_DSS7_KEY_ORDER_H_

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace varnock::engine::dss7 {

class FixedWidthKeys {
 public:
  FixedWidthKeys(size_t rows, size_t width)
      : rows_(rows), width_(width), bytes_(std::make_unique_for_overwrite<char[]>(rows * width)) {}

  size_t rows() const { return rows_; }
  size_t width() const { return width_; }
  // The key of row i, width() bytes, to be filled by the caller.
  char* Row(size_t i) { return bytes_.get() + i * width_; }

  // Row numbers ordered by key bytes (unsigned), equal keys in row order.
  std::vector<size_t> StableOrder() const;

 private:
  size_t rows_;
  size_t width_;
  std::unique_ptr<char[]> bytes_;  // every byte written by the caller before use
};

// Writes text into the next `width` bytes of *at, cut or padded with blanks, and moves past
// them.
inline void PutColumn(char** at, std::string_view text, size_t width) {
  const size_t n = text.size() < width ? text.size() : width;
  if (n > 0) std::memcpy(*at, text.data(), n);
  std::memset(*at + n, ' ', width - n);
  *at += width;
}

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_KEY_ORDER_H_
