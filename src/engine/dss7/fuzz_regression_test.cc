#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

#include "fuzz/codec_exercise.h"
#include "fuzz/dss6_exercise.h"
#include "fuzz/dss7_exercise.h"
#include "fuzz/writes_exercise.h"

namespace varnock::engine::fuzzing {
namespace {

// Every input a fuzz target ever failed on, kept in fuzz/regressions/ (DSS-7 images at the
// top, the other targets' inputs in a folder of the target's name), runs clean.
TEST(FuzzRegressions, KeptInputsRunClean) {
  const std::filesystem::path root = VARNOCK_SOURCE_DIR "/fuzz/regressions";
  ASSERT_TRUE(std::filesystem::is_directory(root));
  const struct {
    const char* folder;
    std::function<void(const uint8_t*, size_t)> exercise;
  } targets[] = {
      {"", ExerciseImage},
      {"dss6", ExerciseDss6Image},
      {"codecs", ExerciseRecordCodecs},
      {"writes", ExerciseWrites},
  };
  int replayed = 0;
  for (const auto& target : targets) {
    const std::filesystem::path dir = root / target.folder;
    if (!std::filesystem::is_directory(dir)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
      if (!entry.is_regular_file() || entry.path().extension() == ".md") continue;
      std::ifstream in(entry.path(), std::ios::binary);
      const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                    std::istreambuf_iterator<char>());
      SCOPED_TRACE(entry.path().string());
      target.exercise(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
      ++replayed;
    }
  }
  RecordProperty("replayed", replayed);
}

}  // namespace
}  // namespace varnock::engine::fuzzing
