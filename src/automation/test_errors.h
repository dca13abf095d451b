// The error an action raises, for tests.
#ifndef VARNOCK_AUTOMATION_TEST_ERRORS_H_
#define VARNOCK_AUTOMATION_TEST_ERRORS_H_

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

}  // namespace varnock::testing

#endif  // VARNOCK_AUTOMATION_TEST_ERRORS_H_
