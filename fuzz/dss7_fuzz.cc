// libFuzzer target: any bytes as a DSS-7 file, through every reader and writer.
#include "fuzz/dss7_exercise.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  varnock::engine::fuzzing::ExerciseImage(data, size);
  return 0;
}
