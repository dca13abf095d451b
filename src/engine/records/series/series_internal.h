// Pieces shared by the regular and irregular series code: block reads, input checks and the
// prepare-then-write step.
#ifndef VARNOCK_ENGINE_RECORDS_SERIES_SERIES_INTERNAL_H_
#define VARNOCK_ENGINE_RECORDS_SERIES_SERIES_INTERNAL_H_

#include <string>
#include <vector>

#include "engine/records/series/series.h"

namespace varnock::engine::series::internal {

inline SeriesStatus Fail(SeriesCode code) {
  return {code, dss7::Status::kOk};
}
inline SeriesStatus FileFail(dss7::Status status) {
  return {SeriesCode::kFile, status};
}

// Takes a found block into a read: the header fields of the first block, and the quality and
// note sections, sized for `value_slots` values (notes for `note_slots`). kIncompatible when
// this block's section sizes differ from earlier blocks'.
SeriesStatus AdoptBlock(const SeriesBlock& b, size_t value_slots, size_t note_slots,
                        SeriesRead* out);

// Empties a read for reuse, keeping the capacity of its arrays.
void ResetRead(SeriesRead* out);

// One read per record: *found false when the block does not exist.
SeriesStatus ReadBlock(dss7::DssFile& file, const std::string& path, bool irregular,
                       SeriesBlock* out, bool* found);

// Several block records read together, for TakeBlock; the buffers are kept per thread.
struct BlockRecords {
  std::vector<dss7::Record> records;
  std::vector<dss7::Status> statuses;
};
BlockRecords& ReadBlockRecords(dss7::DssFile& file, const std::vector<std::string>& paths);

// Decodes what reading one block record gave (`status` and `record`), as ReadBlock does.
SeriesStatus TakeBlock(dss7::DssFile& file, dss7::Status status, const dss7::Record& record,
                       bool irregular, SeriesBlock* out, bool* found);

// The block a pathname's D part names, with the parsed path.
SeriesStatus BlockOfDPart(std::string_view path, bool irregular, SeriesPath* sp, int32_t* block);

// Seconds per stored time unit of irregular records: seconds, minutes in century blocks.
inline int64_t StoredTimeUnit(const Interval& iv) {
  return iv.block == BlockKind::kCentury ? 60 : 1;
}

// Sizes of quality and notes against n values; both note kinds together are refused.
SeriesStatus CheckInput(const SeriesInput& in, size_t n);

// The sizes a merged record gets from the incoming data and the existing record.
SeriesStatus MergeSizes(const SeriesInput& in, const SeriesBlock* existing, SeriesBlock* out);

// Years 1..9999: block arithmetic outside them is not meaningful (and julians overflow).
bool InCalendar(Instant t);

// (julian, seconds 1..86400), as info blocks hold times.
dss7::DateTime ToDateTime(Instant t);

// One block's outcome, fully encoded before anything is written.
struct Prepared {
  std::string path;
  bool remove = false;  // delete the record (if it exists) instead of writing
  std::vector<int32_t> header;
  std::vector<int32_t> values1;
  std::vector<int32_t> user_header;
  int32_t type = 0;
  int64_t data_count = 0;
  int64_t logical_count = 0;
  dss7::DateTime first;
  dss7::DateTime last;
};

// Encodes `block` into `out` for the file's layout.
SeriesStatus Encode(const SeriesBlock& block, int file_version, Prepared* out);

SeriesStatus WriteAll(dss7::DssFile& file, const std::vector<Prepared>& blocks);

// Offsets of each note in a run of NUL-terminated notes (count + 1 entries).
void NoteOffsets(std::string_view notes, int32_t count, std::vector<uint32_t>* offsets);

}  // namespace varnock::engine::series::internal

#endif  // VARNOCK_ENGINE_RECORDS_SERIES_SERIES_INTERNAL_H_
