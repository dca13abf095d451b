#include "varnock/heclib.h"

namespace varnock {

std::string FitField(std::string_view text, size_t width) {
  std::string field(text.substr(0, width));
  field.resize(width, ' ');
  return field;
}

std::string TrimBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return "";
  const size_t last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

std::string TrimTrailingBlanks(std::string_view text) {
  const size_t last = text.find_last_not_of(' ');
  return last == std::string_view::npos ? "" : std::string(text.substr(0, last + 1));
}

}  // namespace varnock
