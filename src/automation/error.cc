#include "varnock/error.h"

#include <utility>

namespace varnock {

AutomationError::AutomationError(int32_t number, std::string source, std::string description,
                                 std::string help_file, int32_t help_context)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      help_file_(std::move(help_file)),
      help_context_(help_context) {
  what_ = description_.empty() ? "Automation error " + std::to_string(number_) : description_;
  if (!source_.empty()) what_ = source_ + ": " + what_;
}

std::string HostErrorText(int32_t number) {
  switch (number) {
    case 5:
      return "Invalid procedure call or argument";
    case 6:
      return "Overflow";
    case 7:
      return "Out of memory";
    case 9:
      return "Subscript out of range";
    case 13:
      return "Type mismatch";
    case 91:
      return "Object variable or With block variable not set";
    case 94:
      return "Invalid use of Null";
    case 429:
      return "ActiveX component can't create object";
    case 457:
      return "This key is already associated with an element of this collection";
    case 32811:
      return "Element not found";
    default:
      return "Application-defined or object-defined error";
  }
}

void RaiseHostError(int32_t number) {
  throw AutomationError(number, kLibraryTitle, HostErrorText(number));
}

}  // namespace varnock
