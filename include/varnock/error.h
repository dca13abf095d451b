// AutomationError: every failure the library reports, as the automation host's error object.
#ifndef VARNOCK_ERROR_H_
#define VARNOCK_ERROR_H_

#include <cstdint>
#include <exception>
#include <string>

#include "varnock/object.h"

namespace varnock {

// The library's identity as the host sees it.
inline constexpr const char* kLibraryTitle = "Varnock23";
inline constexpr const char* kProductName = "Varnock";
inline constexpr const char* kHelpFile = "Varnock.chm";

// Automation object errors are this base plus a code.
inline constexpr int32_t kObjectErrorBase = static_cast<int32_t>(0x80040000u);

class VARNOCK_API AutomationError : public std::exception {
 public:
  AutomationError(int32_t number, std::string source, std::string description,
                  std::string help_file = "", int32_t help_context = 0);

  int32_t Number() const { return number_; }
  const std::string& Source() const { return source_; }
  const std::string& Description() const { return description_; }
  const std::string& HelpFile() const { return help_file_; }
  int32_t HelpContext() const { return help_context_; }
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
  std::string help_file_;
  int32_t help_context_;
  std::string what_;
};

// The host runtime's own errors, raised with the library's title as source.
enum HostErrors : int32_t {
  hostInvalidProcedureCall = 5,
  hostOverflow = 6,
  hostOutOfMemory = 7,
  hostSubscriptOutOfRange = 9,
  hostTypeMismatch = 13,
  hostObjectNotSet = 91,
  hostInvalidUseOfNull = 94,
};

// Raises one of the host's standard errors with its standard text.
[[noreturn]] VARNOCK_API void RaiseHostError(int32_t number);

// The standard text of a host error number ("Overflow", "Type mismatch", ...).
VARNOCK_API std::string HostErrorText(int32_t number);

}  // namespace varnock

#endif  // VARNOCK_ERROR_H_
