// The error an action raises, for tests.
#ifndef VARNOCK_TESTS_SUPPORT_CAUGHT_ERROR_H_
#define VARNOCK_TESTS_SUPPORT_CAUGHT_ERROR_H_

#include <functional>

#include "varnock/error.h"

namespace varnock::testing {

// The error the action raised, or error 0 "no error".
inline AutomationError CaughtError(const std::function<void()>& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error;
  }
  return AutomationError(0, "", "no error");
}

// The number of the error the action raised, or 0.
inline int32_t ErrorNumberOf(const std::function<void()>& action) {
  return CaughtError(action).Number();
}

}  // namespace varnock::testing

#endif  // VARNOCK_TESTS_SUPPORT_CAUGHT_ERROR_H_
