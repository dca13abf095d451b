// Regular and irregular time series over a DSS-7 file: the engine API that the classic routines
// and the object model use. Values travel as doubles (float records widen exactly); missing
// slots and blocks never written read as the undefined value kUndefinedDouble.
//
// Stores split the data into one record per block, merge with what is there, and prepare every
// block before the first write, so a failed store leaves each block either old or new.
#ifndef VARNOCK_ENGINE_RECORDS_SERIES_SERIES_H_
#define VARNOCK_ENGINE_RECORDS_SERIES_SERIES_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/records/series/record_codec.h"
#include "engine/records/series/time_axis.h"

namespace varnock::engine::series {

enum class SeriesCode : int32_t {
  kOk = 0,
  kNotFound,      // no block record in the window
  kBadPath,       // not a pathname of six parts
  kBadInterval,   // E part is not an interval of the wanted kind
  kBadCount,      // fewer than one value
  kBadTime,       // window or start cannot be formed
  kBadOrder,      // irregular times decrease
  kBadInput,      // array sizes disagree, or integer and character notes together
  kWrongType,     // a block record of another record type is in the way
  kIncompatible,  // quality or note sizes differ from the existing record's
  kTooLarge,      // a block would exceed the largest record area
  kDamaged,       // a block record fails the consistency checks
  kFile,          // the file layer failed; see `file`
};

struct SeriesStatus {
  SeriesCode code = SeriesCode::kOk;
  dss7::Status file = dss7::Status::kOk;
  bool ok() const { return code == SeriesCode::kOk; }
  bool operator==(SeriesCode c) const { return code == c; }
  // The file layer's status for the failure, so that every read failure has one number:
  // kTypeMismatch for a record of another kind (a pattern, a profile where a plain series was
  // asked for, or the reverse: nothing is wrong with it, this read does not take it);
  // kDamaged for records that fail the consistency checks; kNotFound; kInvalidArgument for
  // requests that cannot be formed; or the file's own status.
  dss7::Status AsFileStatus() const;
};

// What a store writes besides times: n values and optional per-value quality and notes.
struct SeriesInput {
  std::span<const double> values;
  bool doubles = false;              // record types 105/115; else values are rounded to float
  std::span<const int32_t> quality;  // quality_size ints per value
  int32_t quality_size = 0;
  std::span<const int32_t> inotes;  // inote_size ints per value
  int32_t inote_size = 0;
  std::string_view cnotes;  // with has_cnotes: one NUL-terminated note per value
  bool has_cnotes = false;
  std::span<const int32_t> user_header;  // empty: an existing record keeps its own
  std::string_view units;
  std::string_view type;
  std::string_view time_zone;
  int32_t precision = -1;
};

// Storage plans (HEC's storage flags, ZSRTS's IPLAN).
inline constexpr int32_t kPlanReplaceAll = 0;
inline constexpr int32_t kPlanReplaceMissing = 1;
inline constexpr int32_t kPlanWriteAll = 2;
inline constexpr int32_t kPlanDeleteEmpty = 3;
inline constexpr int32_t kPlanKeepOnMissing = 4;

struct RegularStore : SeriesInput {
  std::string_view path;  // D part ignored
  Instant start = 0;      // time of the first value; off-boundary times set the offset
  int32_t plan = kPlanReplaceAll;
};

struct IrregularStore : SeriesInput {
  std::string_view path;
  std::span<const Instant> times;  // non-decreasing, one per value
  bool replace = false;            // else merge
  bool span_markers = false;       // replace: a first/last -902 only marks the span to clear
  int32_t granularity = 60;        // seconds of the caller's time unit, kept in the header
};

struct SeriesRead {
  std::vector<Instant> times;
  std::vector<double> values;
  int32_t quality_size = 0;
  std::vector<int32_t> quality;
  int32_t inote_size = 0;
  std::vector<int32_t> inotes;
  bool has_cnotes = false;
  std::string cnotes;  // one NUL-terminated note per value when has_cnotes
  // From the first block record found.
  std::string units;
  std::string type;
  std::string time_zone;
  int32_t precision = -1;
  int32_t offset_seconds = 0;  // regular
  int32_t granularity = 0;
  int32_t record_type = 0;
  std::vector<int32_t> user_header;
  bool doubles = false;  // some block holds doubles
  int32_t blocks_found = 0;
  // Regular: [begin, end) value ranges whose block record does not exist.
  std::vector<std::pair<size_t, size_t>> absent;
  // The last block record found (HECLIB's routines report these).
  SeriesBlock last;
};

struct ReadOptions {
  bool floats = false;  // round double records to float, as a single-precision caller sees them
};

SeriesStatus StoreRegular(dss7::DssFile& file, const RegularStore& request);
// `count` slots from the slot holding `start` (snapped forward to a standard time).
SeriesStatus ReadRegular(dss7::DssFile& file, std::string_view path, Instant start, int64_t count,
                         SeriesRead* out, const ReadOptions& options = {});

SeriesStatus StoreIrregular(dss7::DssFile& file, const IrregularStore& request);
// Every value with first <= time <= last.
SeriesStatus ReadIrregular(dss7::DssFile& file, std::string_view path, Instant first, Instant last,
                           SeriesRead* out, const ReadOptions& options = {});

// One profile record: several depths per time step (types 102/107 regular, 112/117
// irregular). Depths and values widen to double like series values.
struct ProfileRead {
  int32_t record_type = 0;
  bool doubles = false;
  std::vector<double> depths;
  std::vector<Instant> times;  // one per stored time step
  std::vector<double> values;  // all depths of times[0], then of times[1], ...
  int32_t quality_size = 0;
  std::vector<int32_t> quality;  // quality_size ints per time step
  std::string depth_units;
  std::string units;
  std::string type;
  std::string time_zone;
  int32_t precision = -1;
  int32_t offset_seconds = 0;  // regular
  std::vector<int32_t> user_header;
  double Value(size_t step, size_t depth) const { return values[step * depths.size() + depth]; }
};

// The profile record named by `path` (its D part names the block). kNotFound; kWrongType when
// the record is not a profile; kDamaged when it fails the consistency checks.
SeriesStatus ReadProfile(dss7::DssFile& file, std::string_view path, ProfileRead* out);

// The whole block a pathname's D part names: its first standard time and slot count (regular),
// or its first and last instants (irregular).
SeriesStatus RegularBlockWindow(std::string_view path, Instant* start, int32_t* count);
SeriesStatus IrregularBlockWindow(std::string_view path, Instant* first, Instant* last);

// The six parts of a pathname and the interval its E part names.
struct SeriesPath {
  std::string_view parts[6];
  const Interval* interval = nullptr;
  // The record path of the block starting at `block`, with HEC's D and E spellings.
  std::string BlockPath(int32_t block) const;
};
SeriesStatus ParseSeriesPath(std::string_view path, bool irregular, SeriesPath* out);

}  // namespace varnock::engine::series

#endif  // VARNOCK_ENGINE_RECORDS_SERIES_SERIES_H_
