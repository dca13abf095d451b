// libFuzzer target: any bytes as a DSS-6 file, through every reader and writer.
#include "fuzz/dss6_exercise.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  varnock::engine::fuzzing::ExerciseDss6Image(data, size);
  return 0;
}
