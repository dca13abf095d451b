#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/dss7_exercise.h"

namespace varnock::engine::dss7 {
namespace {

// Every input the fuzzer ever crashed on, kept in fuzz/regressions/, runs clean.
TEST(Dss7FuzzRegressions, KeptInputsRunClean) {
  const std::filesystem::path dir = VARNOCK_SOURCE_DIR "/fuzz/regressions";
  ASSERT_TRUE(std::filesystem::is_directory(dir));
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    if (!entry.is_regular_file() || entry.path().extension() == ".md") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                  std::istreambuf_iterator<char>());
    SCOPED_TRACE(entry.path().string());
    fuzzing::ExerciseImage(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++replayed;
  }
  RecordProperty("replayed", replayed);
}

}  // namespace
}  // namespace varnock::engine::dss7
