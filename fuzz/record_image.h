// One record of either file version as a flat byte image, the input of the record-codec fuzz
// target: 17 int32 header words, the pathname bytes (padded to 4), then the six areas' words.
//   0 record type      1 info version       2 data count        3 logical count
//   4 allocated        5 full file version  6 DSS-6 compression 7 DSS-6 quality flag
//   8 precision        9 pseudo interval    10..15 area lengths 16 pathname bytes
// Lengths are cut to what the image holds, so every byte string is a record.
#ifndef VARNOCK_FUZZ_RECORD_IMAGE_H_
#define VARNOCK_FUZZ_RECORD_IMAGE_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "engine/container/container.h"
#include "engine/dss7/dss_file.h"

namespace varnock::engine::fuzzing {

inline constexpr size_t kImageHeaderWords = 17;
inline constexpr size_t kMaxImagePath = 400;

struct RecordImage {
  int32_t header[kImageHeaderWords] = {};
  std::string path;
  std::array<std::vector<int32_t>, dss7::kAreaCount> areas;
};

inline RecordImage ParseRecordImage(const uint8_t* data, size_t size) {
  RecordImage image;
  const size_t header_bytes = std::min(size, sizeof image.header);
  std::memcpy(image.header, data, header_bytes);
  size_t at = header_bytes;
  const size_t path_bytes = std::min(
      {static_cast<size_t>(static_cast<uint32_t>(image.header[16])), kMaxImagePath, size - at});
  image.path.assign(reinterpret_cast<const char*>(data + at), path_bytes);
  at = std::min(size, at + (path_bytes + 3) / 4 * 4);
  for (int a = 0; a < dss7::kAreaCount; ++a) {
    const size_t words =
        std::min(static_cast<size_t>(static_cast<uint32_t>(image.header[10 + a])), (size - at) / 4);
    image.areas[a].resize(words);
    if (words > 0) std::memcpy(image.areas[a].data(), data + at, words * 4);
    at += words * 4;
  }
  return image;
}

inline std::vector<uint8_t> SerializeRecordImage(const RecordImage& image) {
  RecordImage copy = image;
  copy.header[16] = static_cast<int32_t>(std::min(image.path.size(), kMaxImagePath));
  for (int a = 0; a < dss7::kAreaCount; ++a)
    copy.header[10 + a] = static_cast<int32_t>(image.areas[a].size());
  std::vector<uint8_t> out(sizeof copy.header);
  std::memcpy(out.data(), copy.header, sizeof copy.header);
  const size_t path_bytes = static_cast<size_t>(copy.header[16]);
  out.insert(out.end(), image.path.begin(),
             image.path.begin() + static_cast<ptrdiff_t>(path_bytes));
  out.resize(out.size() + ((4 - path_bytes % 4) % 4), 0);
  for (const auto& area : image.areas) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(area.data());
    out.insert(out.end(), bytes, bytes + area.size() * 4);
  }
  return out;
}

// The image as a DSS-7 record, with its info block as the file layer hands it over.
inline dss7::Record Dss7RecordOf(const RecordImage& image) {
  dss7::Record r;
  r.info.type = image.header[0];
  r.info.version = image.header[1];
  r.info.data_count = image.header[2];
  r.info.logical_count = image.header[3];
  r.info.allocated = image.header[4];
  r.info.path = image.path;
  r.info.path_length = static_cast<int64_t>(image.path.size());
  r.areas = image.areas;
  for (int a = 0; a < dss7::kAreaCount; ++a)
    r.info.area_length[a] = static_cast<int64_t>(image.areas[a].size());
  return r;
}

// The image as a DSS-6 record.
inline container::RecordAreas Dss6RecordOf(const RecordImage& image) {
  container::RecordAreas r;
  r.info.path = image.path;
  r.info.type = image.header[0];
  r.info.version = image.header[1];
  r.info.logical_count = image.header[3];
  r.info.compression = image.header[6];
  r.info.quality = image.header[7] != 0;
  r.info.precision = image.header[8];
  r.info.pseudo_interval = image.header[9];
  r.areas = image.areas;
  for (int a = 0; a < dss7::kAreaCount; ++a)
    r.info.area_length[a] = static_cast<int64_t>(image.areas[a].size());
  return r;
}

inline RecordImage ImageOfDss7Record(const dss7::Record& r, int32_t file_version) {
  RecordImage image;
  image.header[0] = r.info.type;
  image.header[1] = r.info.version;
  image.header[2] = static_cast<int32_t>(r.info.data_count);
  image.header[3] = static_cast<int32_t>(r.info.logical_count);
  image.header[4] = static_cast<int32_t>(r.info.allocated);
  image.header[5] = file_version;
  image.header[8] = -1;
  image.path = r.info.path;
  image.areas = r.areas;
  return image;
}

inline RecordImage ImageOfDss6Record(const container::RecordAreas& r) {
  RecordImage image;
  image.header[0] = r.info.type;
  image.header[1] = r.info.version;
  image.header[3] = static_cast<int32_t>(r.info.logical_count);
  image.header[5] = 60000;
  image.header[6] = r.info.compression;
  image.header[7] = r.info.quality ? 1 : 0;
  image.header[8] = r.info.precision;
  image.header[9] = r.info.pseudo_interval;
  image.path = r.info.path;
  image.areas = r.areas;
  return image;
}

}  // namespace varnock::engine::fuzzing

#endif  // VARNOCK_FUZZ_RECORD_IMAGE_H_
