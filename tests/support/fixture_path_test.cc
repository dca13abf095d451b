// Which values of CI make a missing reference file a failure rather than a skip.
#include "tests/support/fixture_path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace {

TEST(FixturePath, CiMeansSetToSomethingOtherThanFalse) {
  const struct {
    std::optional<std::string> value;
    bool ci;
  } cases[] = {{std::nullopt, false}, {"", false},    {"0", false}, {"false", false},
               {"False", false},      {"true", true}, {"1", true},  {"yes", true}};
  const char* saved = std::getenv("CI");
  const std::optional<std::string> restore =
      saved ? std::optional<std::string>(saved) : std::nullopt;
  for (const auto& c : cases) {
    if (c.value) {
      setenv("CI", c.value->c_str(), 1);
    } else {
      unsetenv("CI");
    }
    EXPECT_EQ(varnock::testing::RunningInCi(), c.ci) << (c.value ? *c.value : "(unset)");
  }
  if (restore) {
    setenv("CI", restore->c_str(), 1);
  } else {
    unsetenv("CI");
  }
}

}  // namespace
