// Errors raised by DSSDatabase.
#ifndef VARNOCK_DATABASE_ERRORS_H_
#define VARNOCK_DATABASE_ERRORS_H_

#include <string>

#include "varnock/error.h"
#include "varnock/interfaces.h"

namespace varnock::database {

inline constexpr int32_t kHeclibErrorHelpContext = 518;
inline constexpr int32_t kNotOpenHelpContext = 521;

// A DSSDatabase error: the object-error base plus the code, without help context.
inline AutomationError Error(DSSErrors code, const std::string& description) {
  return AutomationError(kObjectErrorBase + code, "DSSDatabase", description);
}

}  // namespace varnock::database

#endif  // VARNOCK_DATABASE_ERRORS_H_
