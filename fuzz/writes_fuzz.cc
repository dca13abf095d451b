// libFuzzer target: any bytes as a sequence of writes on fresh files of both versions; the
// files must read and pass the integrity check afterwards.
#include "fuzz/writes_exercise.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  varnock::engine::fuzzing::ExerciseWrites(data, size);
  return 0;
}
