#include <algorithm>

#include "engine/records/series/series_internal.h"
#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"
#include "engine/rules/pathname_rules.h"

namespace varnock::engine::series {
namespace internal {

void ResetRead(SeriesRead* out) {
  SeriesRead empty;
  std::swap(empty.times, out->times);
  std::swap(empty.values, out->values);
  std::swap(empty.quality, out->quality);
  std::swap(empty.inotes, out->inotes);
  empty.times.clear();
  empty.values.clear();
  empty.quality.clear();
  empty.inotes.clear();
  *out = std::move(empty);
}

SeriesStatus ReadBlock(dss7::DssFile& file, const std::string& path, bool irregular,
                       SeriesBlock* out, bool* found) {
  // One record buffer per thread: series reads and stores read block after block.
  thread_local dss7::Record record;
  return TakeBlock(file, file.ReadRecord(path, &record), record, irregular, out, found);
}

BlockRecords& ReadBlockRecords(dss7::DssFile& file, const std::vector<std::string>& paths) {
  thread_local BlockRecords read;
  if (read.records.size() < paths.size()) read.records.resize(paths.size());
  read.statuses.assign(paths.size(), dss7::Status::kNotFound);
  const dss7::Status s = file.ReadRecords(paths, read.records, read.statuses);
  if (!dss7::Ok(s)) read.statuses.assign(paths.size(), s);
  return read;
}

SeriesStatus TakeBlock(dss7::DssFile& file, dss7::Status s, const dss7::Record& record,
                       bool irregular, SeriesBlock* out, bool* found) {
  *found = false;
  if (s == dss7::Status::kNotFound) return {};
  if (!dss7::Ok(s)) return FileFail(s);
  switch (DecodeSeries(record, irregular, file.version().full, out)) {
    case DecodeResult::kOk:
      *found = true;
      return {};
    case DecodeResult::kWrongType:
      return Fail(SeriesCode::kWrongType);
    case DecodeResult::kDamaged:
      break;
  }
  return Fail(SeriesCode::kDamaged);
}

SeriesStatus AdoptBlock(const SeriesBlock& b, size_t value_slots, size_t note_slots,
                        SeriesRead* out) {
  if (out->blocks_found++ == 0) {
    out->units = b.units;
    out->type = b.type;
    out->time_zone = b.zone;
    out->precision = b.precision;
    if (b.record_type < kIrregularFloat) out->offset_seconds = b.offset;
    out->granularity = b.granularity;
    out->record_type = b.record_type;
    out->user_header = b.user_header;
  }
  out->doubles = out->doubles || b.value_size == 2;
  if (b.quality_size > 0 && out->quality_size == 0) {
    out->quality_size = b.quality_size;
    out->quality.assign(value_slots * b.quality_size, 0);
  }
  if (b.inote_size > 0 && out->inote_size == 0) {
    out->inote_size = b.inote_size;
    out->inotes.assign(value_slots * b.inote_size, 0);
  }
  if ((b.quality_size > 0 && b.quality_size != out->quality_size) ||
      (b.inote_size > 0 && b.inote_size != out->inote_size))
    return Fail(SeriesCode::kIncompatible);
  if (b.has_cnotes && !out->has_cnotes) {
    out->has_cnotes = true;
    out->cnotes.assign(note_slots, '\0');
  }
  return {};
}

SeriesStatus CheckInput(const SeriesInput& in, size_t n) {
  const bool sizes_ok = in.quality_size >= 0 && in.quality_size <= 64 && in.inote_size >= 0 &&
                        in.inote_size <= 64 &&
                        in.quality.size() == n * static_cast<size_t>(in.quality_size) &&
                        in.inotes.size() == n * static_cast<size_t>(in.inote_size);
  if (!sizes_ok || (in.has_cnotes && in.inote_size > 0)) return Fail(SeriesCode::kBadInput);
  if (in.has_cnotes &&
      (static_cast<size_t>(std::count(in.cnotes.begin(), in.cnotes.end(), '\0')) != n ||
       in.cnotes.back() != '\0'))
    return Fail(SeriesCode::kBadInput);
  return {};
}

SeriesStatus MergeSizes(const SeriesInput& in, const SeriesBlock* existing, SeriesBlock* out) {
  out->quality_size = in.quality_size;
  out->inote_size = in.inote_size;
  out->has_cnotes = in.has_cnotes;
  if (existing == nullptr) return {};
  auto merge = [](int32_t incoming, int32_t stored, int32_t* result) {
    if (incoming > 0 && stored > 0 && incoming != stored) return false;
    *result = std::max(incoming, stored);
    return true;
  };
  if (!merge(in.quality_size, existing->quality_size, &out->quality_size) ||
      !merge(in.inote_size, existing->inote_size, &out->inote_size))
    return Fail(SeriesCode::kIncompatible);
  out->has_cnotes = in.has_cnotes || existing->has_cnotes;
  if (out->has_cnotes && out->inote_size > 0) return Fail(SeriesCode::kIncompatible);
  return {};
}

bool InCalendar(Instant t) {
  constexpr Instant kFirst = MakeInstant(-693594, 0);     // 01Jan0001 0000
  constexpr Instant kLast = MakeInstant(2958464, 86400);  // 31Dec9999 2400 and a day to spare
  return t >= kFirst && t <= kLast;
}

dss7::DateTime ToDateTime(Instant t) {
  const DaySecond ds = SplitInstant(t);
  return {ds.julian, ds.seconds};
}

SeriesStatus Encode(const SeriesBlock& block, int file_version, Prepared* out) {
  // Sized in 64 bits before the encoder counts the same ints in the header's 32-bit words.
  const int64_t per_step = int64_t{block.value_size} + block.quality_size + block.inote_size;
  const int64_t ints = static_cast<int64_t>(block.times.size()) + int64_t{block.count} * per_step +
                       static_cast<int64_t>(block.cnotes.size()) / 4 + 3;
  if (block.count < 0 || ints > dss7::kMaxAreaInt32) return Fail(SeriesCode::kTooLarge);
  EncodeSeries(block, file_version, &out->header, &out->values1);
  if (static_cast<int64_t>(out->values1.size()) > dss7::kMaxAreaInt32)
    return Fail(SeriesCode::kTooLarge);
  out->type = block.record_type;
  out->data_count = block.count;
  out->user_header = block.user_header;
  return {};
}

namespace {

SeriesStatus WriteEach(dss7::DssFile& file, const std::vector<Prepared>& blocks) {
  for (const Prepared& p : blocks) {
    if (p.remove) {
      const dss7::Status s = file.Delete(p.path);
      if (!dss7::Ok(s) && s != dss7::Status::kNotFound) return FileFail(s);
      continue;
    }
    dss7::RecordData data;
    data.type = p.type;
    data.areas[dss7::kInternalHeader] = p.header;
    data.areas[dss7::kUserHeader] = p.user_header;
    data.areas[dss7::kValues1] = p.values1;
    data.allocated = static_cast<int64_t>(p.values1.size() + (p.values1.size() & 1));
    data.data_count = p.data_count;
    data.logical_count = p.logical_count;
    data.first = p.first;
    data.last = p.last;
    const dss7::Status s = file.Store(p.path, data);
    if (!dss7::Ok(s)) return FileFail(s);
  }
  return {};
}

}  // namespace

SeriesStatus WriteAll(dss7::DssFile& file, const std::vector<Prepared>& blocks) {
  // Several blocks: one hold of the write lock for all of them.
  if (blocks.size() < 2 || file.in_batch()) return WriteEach(file, blocks);
  dss7::Status s = file.BeginBatch();
  if (!dss7::Ok(s)) return FileFail(s);
  const SeriesStatus written = WriteEach(file, blocks);
  s = file.EndBatch();
  if (!written.ok()) return written;
  return dss7::Ok(s) ? SeriesStatus{} : FileFail(s);
}

void NoteOffsets(std::string_view notes, int32_t count, std::vector<uint32_t>* offsets) {
  offsets->assign(static_cast<size_t>(count) + 1, static_cast<uint32_t>(notes.size()));
  uint32_t at = 0;
  for (int32_t i = 0; i < count && at <= notes.size(); ++i) {
    (*offsets)[static_cast<size_t>(i)] = at;
    const size_t end = notes.find('\0', at);
    at = end == std::string_view::npos ? static_cast<uint32_t>(notes.size())
                                       : static_cast<uint32_t>(end + 1);
  }
}

}  // namespace internal

dss7::Status SeriesStatus::AsFileStatus() const {
  switch (code) {
    case SeriesCode::kOk:
      return dss7::Status::kOk;
    case SeriesCode::kNotFound:
      return dss7::Status::kNotFound;
    case SeriesCode::kWrongType:
      return dss7::Status::kTypeMismatch;
    case SeriesCode::kDamaged:
    case SeriesCode::kIncompatible:
      return dss7::Status::kDamaged;
    case SeriesCode::kFile:
      return file;
    default:
      return dss7::Status::kInvalidArgument;
  }
}

SeriesStatus ParseSeriesPath(std::string_view path, bool irregular, SeriesPath* out) {
  path = TrimTrailingBlanks(path);
  PathnameParts parts;
  if (path.size() < 2 || path.size() > static_cast<size_t>(kMaxPathnameLength) ||
      path.front() != '/' || SplitPathname(path, &parts) != 0)
    return internal::Fail(SeriesCode::kBadPath);
  for (int i = 0; i < 6; ++i) {
    out->parts[i] = parts.length[i] == 0 ? std::string_view()
                                         : path.substr(static_cast<size_t>(parts.begin[i] - 1),
                                                       static_cast<size_t>(parts.length[i]));
  }
  out->interval = FindInterval(TrimBlanks(out->parts[4]));
  if (out->interval == nullptr || out->interval->irregular != irregular)
    return internal::Fail(SeriesCode::kBadInterval);
  return {};
}

std::string SeriesPath::BlockPath(int32_t block) const {
  std::string p = "/";
  for (int i = 0; i < 6; ++i) {
    if (i == 3)
      p += BlockDate(block);
    else if (i == 4)
      p += interval->name;
    else
      p += parts[i];
    p += '/';
  }
  return p;
}

namespace internal {

SeriesStatus BlockOfDPart(std::string_view path, bool irregular, SeriesPath* sp, int32_t* block) {
  const SeriesStatus s = ParseSeriesPath(path, irregular, sp);
  if (!s.ok()) return s;
  int32_t julian = 0;
  const std::string_view d = TrimBlanks(sp->parts[3]);
  if (d.size() < 5 || DateToJulian(d, 2000, &julian) != 0) return Fail(SeriesCode::kBadTime);
  *block = BlockStart(sp->interval->block, julian);
  return {};
}

}  // namespace internal

SeriesStatus RegularBlockWindow(std::string_view path, Instant* start, int32_t* count) {
  SeriesPath sp;
  int32_t block = 0;
  const SeriesStatus s = internal::BlockOfDPart(path, false, &sp, &block);
  if (!s.ok()) return s;
  *start = FirstStandardTime(*sp.interval, block);
  *count = ValuesPerBlock(*sp.interval, block);
  return {};
}

SeriesStatus IrregularBlockWindow(std::string_view path, Instant* first, Instant* last) {
  SeriesPath sp;
  int32_t block = 0;
  const SeriesStatus s = internal::BlockOfDPart(path, true, &sp, &block);
  if (!s.ok()) return s;
  *first = MakeInstant(block, 1);
  *last = MakeInstant(NextBlockStart(sp.interval->block, block), 0);
  return {};
}

}  // namespace varnock::engine::series
