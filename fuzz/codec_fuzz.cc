// libFuzzer target: any bytes as a record image (record_image.h), through every record decoder
// of both versions and the encoders.
#include "fuzz/codec_exercise.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  varnock::engine::fuzzing::ExerciseRecordCodecs(data, size);
  return 0;
}
