// Fixed-length, blank-padded character arguments as HECLIB sees them, and a small bounded
// string for text the engine keeps between calls without touching the heap.
#ifndef VARNOCK_ENGINE_RULES_FIXED_TEXT_H_
#define VARNOCK_ENGINE_RULES_FIXED_TEXT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace varnock::engine {

// A (pointer, length) input argument. A null pointer or a length of zero or less is empty.
inline std::string_view InText(const char* data, int32_t length) {
  if (data == nullptr || length <= 0) return {};
  return {data, static_cast<std::size_t>(length)};
}

// A (pointer, length) output argument, same rules as InText.
inline std::span<char> OutText(char* data, int32_t length) {
  if (data == nullptr || length <= 0) return {};
  return {data, static_cast<std::size_t>(length)};
}

// Copies text into out, cut at its size and padded with blanks.
inline void AssignBlankPadded(std::span<char> out, std::string_view text) {
  const std::size_t n = std::min(out.size(), text.size());
  std::copy_n(text.data(), n, out.data());
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(n), out.end(), ' ');
}

inline std::string_view TrimTrailingBlanks(std::string_view text) {
  const std::size_t last = text.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

inline std::string_view TrimBlanks(std::string_view text) {
  text = TrimTrailingBlanks(text);
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

inline char AsciiUpper(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
}

inline bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return AsciiUpper(x) == AsciiUpper(y); });
}

inline bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Up to N characters kept by value; longer text is cut. Trivially copyable, so structs that
// hold it can be snapshotted under a lock.
template <std::size_t N>
class FixedText {
 public:
  constexpr FixedText() = default;
  constexpr explicit FixedText(std::string_view text) { Assign(text); }

  constexpr void Assign(std::string_view text) {
    size_ = std::min(N, text.size());
    for (std::size_t i = 0; i < size_; ++i)
      data_[i] = text[i];
  }
  constexpr std::string_view View() const { return {data_, size_}; }
  constexpr bool operator==(std::string_view other) const { return View() == other; }

 private:
  char data_[N] = {};
  std::size_t size_ = 0;
};

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_RULES_FIXED_TEXT_H_
