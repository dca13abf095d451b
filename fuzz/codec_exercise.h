// Runs every record decoder of both file versions over one record image (record_image.h), then
// the encoders over whatever decoded, and renders the dump lines of what decoded. Shared by the
// libFuzzer target and the test that replays fuzz/regressions/codecs/: whatever the bytes,
// every call must return a status, without a crash or a runaway allocation.
#ifndef VARNOCK_FUZZ_CODEC_EXERCISE_H_
#define VARNOCK_FUZZ_CODEC_EXERCISE_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "engine/dss6/codec.h"
#include "engine/dss6/records.h"
#include "engine/records/paired/dump_lines.h"
#include "engine/records/paired/location_codec.h"
#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/text_codec.h"
#include "engine/records/series/record_codec.h"
#include "fuzz/record_image.h"

namespace varnock::engine::fuzzing {

inline void ExerciseDss7Codecs(const RecordImage& image) {
  const dss7::Record record = Dss7RecordOf(image);
  const int file_version = image.header[5];
  for (const bool irregular : {false, true}) {
    for (const bool profile : {false, true}) {
      series::SeriesBlock block;
      if (series::DecodeSeries(record, irregular, file_version, &block, profile) !=
          series::DecodeResult::kOk)
        continue;
      std::vector<int32_t> header, values1;
      series::EncodeSeries(block, file_version, &header, &values1);
    }
  }
  paired::PairedData pairs;
  if (paired::DecodePaired(record, &pairs, file_version) == dss7::Status::kOk) {
    (void)paired::PairedDumpLines(pairs);
    paired::EncodedRecord encoded;
    (void)paired::EncodePaired(pairs, &encoded);
  }
  paired::TextData text;
  if (paired::DecodeText(record, &text) == dss7::Status::kOk) {
    (void)paired::TextDumpLines(text, record.info.type);
    paired::EncodedRecord encoded;
    (void)paired::EncodeText(text, &encoded);
  }
  paired::LocationData location;
  (void)paired::DecodeLocation(record, &location);
}

inline void ExerciseDss6Codecs(const RecordImage& image) {
  const container::RecordAreas record = Dss6RecordOf(image);
  series::SeriesRead read;
  (void)dss6::DecodeRegular(record, &read);
  std::vector<double> slots;
  std::vector<int32_t> quality;
  (void)dss6::DecodeRegularSlots(record, &slots, &quality);
  read = {};
  (void)dss6::DecodeIrregular(record, &read);
  paired::PairedData pairs;
  if (dss6::DecodePaired(record, &pairs) == dss7::Status::kOk) (void)paired::PairedDumpLines(pairs);
  paired::TextData text;
  if (dss6::DecodeText(record, &text) == dss7::Status::kOk)
    (void)paired::TextDumpLines(text, record.info.type);
  // The file-level structures of DSS-6 as word buffers: an info block and a bin.
  dss6::InfoBlock info;
  (void)dss6::DecodeInfoBlock(record.areas[dss7::kInternalHeader], &info);
  std::vector<int32_t> bin(record.areas[dss7::kHeader2]);
  bin.resize(dss6::kBinWords);  // the decoder takes one whole bin
  int32_t offset = 0;
  for (int entries = 0; entries < 64; ++entries) {
    dss6::BinEntry entry;
    if (dss6::DecodeBinEntry(bin, offset, &entry) != dss6::EntryScan::kEntry) break;
    if (entry.Words() <= 0) break;
    offset += entry.Words();
  }
}

inline void ExerciseRecordCodecs(const uint8_t* data, size_t size) {
  const RecordImage image = ParseRecordImage(data, size);
  ExerciseDss7Codecs(image);
  ExerciseDss6Codecs(image);
}

}  // namespace varnock::engine::fuzzing

#endif  // VARNOCK_FUZZ_CODEC_EXERCISE_H_
