// Locates HEC-written reference files for tests. They live outside the repository, in the
// shared fixtures folder beside it. Under CI a missing reference file fails the test; on a
// developer machine without the folder the test is skipped.
#ifndef VARNOCK_TESTS_SUPPORT_FIXTURE_PATH_H_
#define VARNOCK_TESTS_SUPPORT_FIXTURE_PATH_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace varnock::testing {

inline std::string FixturePath(const std::string& name) {
  return (std::filesystem::path(VARNOCK_FIXTURES_DIR) / name).string();
}

// CI systems set CI to "true" or "1"; an empty value, "false" or "0" means a developer machine.
inline bool RunningInCi() {
  const char* ci = std::getenv("CI");
  if (ci == nullptr) return false;
  const std::string value(ci);
  return !value.empty() && value != "0" && value != "false" && value != "FALSE" && value != "False";
}

}  // namespace varnock::testing

// Use at the top of a test body: yields the path, or fails (CI) / skips (elsewhere).
#define VARNOCK_REQUIRE_FIXTURE(var, name)                                             \
  const std::string var = ::varnock::testing::FixturePath(name);                       \
  if (!std::filesystem::exists(var)) {                                                 \
    if (::varnock::testing::RunningInCi()) FAIL() << "missing reference file " << var; \
    GTEST_SKIP() << "reference file not present: " << var;                             \
  }

#endif  // VARNOCK_TESTS_SUPPORT_FIXTURE_PATH_H_
