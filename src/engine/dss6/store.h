// Storing records into a DSS-6 file the way HEC's DSS-6 library stores them: regular series
// split into whole-block records (-901 in slots never written, offsets in minutes, storage
// plans), irregular series in capacity-sized blocks (merge or replace), paired data with labels,
// and text. Records are written uncompressed, as HEC does by default.
#ifndef VARNOCK_ENGINE_DSS6_STORE_H_
#define VARNOCK_ENGINE_DSS6_STORE_H_

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "engine/dss6/dss6_file.h"
#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/text_codec.h"

namespace varnock::engine::dss6 {

// Minutes from julian 0: julian * 1440 + minutes of the day (2400 = 0000 of the next day).
using Minutes = int64_t;

// The time-zone word HEC's writers leave when no zone is given: its Fortran routines -1, its
// C routines 0.
inline constexpr int32_t kZoneUnsetFortran = -1;
inline constexpr int32_t kZoneUnsetC = 0;

struct SeriesStore6 {
  std::string_view path;  // D part ignored (regular) / block parts taken from the times
  std::span<const double> values;
  bool doubles = false;
  std::span<const int32_t> quality;  // empty, or one flag per value
  std::string_view units;
  std::string_view type;
  int32_t zone_offset = kZoneUnsetFortran;
  int32_t precision = -1;
  std::span<const int32_t> user_header;  // at most 100 words are kept
};

struct RegularStore6 : SeriesStore6 {
  Minutes start = 0;  // time of the first value; off-boundary times set the offset
  int32_t plan = 0;   // HEC's storage plans 0..4
};

struct IrregularStore6 : SeriesStore6 {
  std::span<const Minutes> times;  // non-decreasing, one per value
  bool replace = false;            // else merge
};

// kInvalidArgument for a bad path, E part, sizes or times (decreasing: HEC's status 30);
// kTypeMismatch when an existing block cannot take the data (quality with other precisions);
// otherwise the file's status. Blocks are written one by one, each an independent record.
Status StoreRegular(Dss6File& file, const RegularStore6& request);
Status StoreIrregular(Dss6File& file, const IrregularStore6& request);
// `program` names the writer when not empty (else the file's program).
Status StorePaired(Dss6File& file, std::string_view path, const paired::PairedData& data,
                   std::string_view program = {});
Status StoreText(Dss6File& file, std::string_view path, const paired::TextData& data);

// The internal-header and data words of one block, as HEC lays them out.
struct EncodedBlock {
  std::vector<int32_t> header;
  std::vector<int32_t> data;
};
EncodedBlock EncodeRegular(int32_t offset, std::string_view units, std::string_view type,
                           int32_t zone_offset, std::span<const double> values, bool doubles,
                           std::span<const int32_t> quality);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_STORE_H_
