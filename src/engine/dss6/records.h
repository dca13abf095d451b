// DSS-6 record payloads decoded into the engine's version-neutral record structures, the way
// HEC's own library reads them back: regular series (whole blocks, -901 in unwritten slots,
// minutes, offsets, quality, doubles, compression), irregular series, paired data and text.
//
// Decoders are pure: they take a record's areas (as a Container hands them over) and its stored
// path, and check every count against the areas before use.
#ifndef VARNOCK_ENGINE_DSS6_RECORDS_H_
#define VARNOCK_ENGINE_DSS6_RECORDS_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/container/container.h"
#include "engine/dss6/codec.h"
#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/text_codec.h"
#include "engine/records/series/series.h"

namespace varnock::engine::dss6 {

// The text HEC's C layer makes of a fixed field: copied into a `buffer`-character blank-padded
// buffer, trailing blanks removed (an all-blank buffer is left with buffer - 1 blanks), cut at
// the first NUL.
std::string HecFieldText(std::string_view field, size_t buffer);
// Buffers HEC's C layer uses: series units and types, paired-data units and types.
inline constexpr size_t kSeriesTextBuffer = 20;
inline constexpr size_t kPairedTextBuffer = 100;

// The whole block the record's D part names. kTypeMismatch for other record types; kDamaged
// when counts, lengths, the D or E part disagree with the areas; kNotFound when every value of a
// regular block is missing, as HEC's reader reports such a block.
Status DecodeRegular(const container::RecordAreas& record, series::SeriesRead* out);
// The units, type, offset, time zone, precision and user header of a regular block record
// (left alone when its internal header is too short).
// kDamaged when the internal header is short or its offset passes a year.
Status RegularHeaderFields(const container::RecordAreas& record, series::SeriesRead* out);
// All slots of a regular block record (decompressed), and its quality flags when it has them.
Status DecodeRegularSlots(const container::RecordAreas& record, std::vector<double>* values,
                          std::vector<int32_t>* quality);
Status DecodeIrregular(const container::RecordAreas& record, series::SeriesRead* out);
// kNotFound when a units or type field holds NUL bytes (HEC's reader fails on those).
Status DecodePaired(const container::RecordAreas& record, paired::PairedData* out);
Status DecodeText(const container::RecordAreas& record, paired::TextData* out);

// Standard (end-of-period) time of slot k of a regular block, in minutes from julian 0, and
// the time HEC reports a slot at given the series' offset.
struct Interval6;
int64_t StandardMinutes(const Interval6& iv, int32_t block_start, int64_t slot);
int64_t ReportedMinutes(const Interval6& iv, int32_t block_start, int64_t slot, int32_t offset);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_RECORDS_H_
