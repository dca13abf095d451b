#include "engine/dss6/window.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "engine/dss6/records.h"
#include "engine/dss6/slots.h"
#include "engine/dss7/hash.h"
#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::dss6 {
namespace {

using series::SeriesCode;
using series::SeriesStatus;

constexpr int64_t kSecondsPerMinute = 60;

SeriesStatus FileFailure(Status s) {
  if (s == Status::kDamaged || s == Status::kPathMismatch) return {SeriesCode::kDamaged, s};
  return {SeriesCode::kFile, s};
}

// What HECLIB's inquiries report of the last block found.
void NoteLastBlock(const container::RecordAreas& record, const series::SeriesRead& fields,
                   series::SeriesBlock* last) {
  last->record_type = record.info.type;
  last->units = fields.units;
  last->type = fields.type;
  last->zone = fields.time_zone;
  last->offset = fields.offset_seconds;
  last->precision = record.info.precision;
  last->quality_size = record.info.quality ? 1 : 0;
  last->info.type = record.info.type;
  last->info.version = record.info.version;
  last->info.last_write_ms = record.info.last_write_ms;
  last->info.program.fill(0);
  std::memcpy(last->info.program.data(), record.info.program.data(),
              std::min(record.info.program.size(), sizeof last->info.program));
}

}  // namespace

SeriesStatus ReadRegularWindow(Dss6File& file, std::string_view path, Minutes start, int64_t count,
                               series::SeriesRead* out) {
  *out = {};
  path = TrimTrailingBlanks(path);
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(path, &parts)) return {SeriesCode::kBadPath};
  const Interval6* iv = FindRegular(parts[4]);
  Block irregular{};
  if (iv == nullptr || FindIrregularBlock(parts[4], &irregular)) return {SeriesCode::kBadInterval};
  if (count < 1) return {SeriesCode::kBadCount};
  int32_t offset = 0;
  Minutes standard = 0;
  Standardise(*iv, start, &offset, &standard);
  int32_t julian = 0, minutes = 0;
  Split(standard, &julian, &minutes);
  int32_t block = BlockStart(iv->block, julian);
  int64_t slot = Periods(*iv, SlotBase(*iv, block), 0, julian, minutes) - 1;
  const auto wanted = static_cast<size_t>(count);
  out->values.reserve(wanted);
  out->times.reserve(wanted);
  out->granularity = static_cast<int32_t>(kSecondsPerMinute);
  container::RecordAreas record;
  std::vector<double> slots;
  std::vector<int32_t> flags;
  // The slots taken from each block: their times follow the offset of the records read.
  struct Run {
    int32_t block;
    int64_t slot;
    size_t take;
  };
  std::vector<Run> runs;
  while (out->values.size() < wanted) {
    const int64_t in_block = ValuesPerBlock(*iv, block);
    if (in_block <= 0 || in_block > kMaxValuesPerBlock || slot < 0 || slot >= in_block) {
      return {SeriesCode::kBadTime};
    }
    const size_t take = std::min(static_cast<size_t>(in_block - slot), wanted - out->values.size());
    const size_t begin = out->values.size();
    const std::string block_path = NormalisePath(WithBlockParts(path, BlockDate(block), iv->name));
    const Status s = file.ReadRecord(block_path, &record);
    if (s == Status::kNotFound) {
      out->values.resize(begin + take, kMissing);
      out->quality.resize(begin + take, 0);
      out->absent.emplace_back(begin, begin + take);
    } else if (s != Status::kOk) {
      return FileFailure(s);
    } else {
      if (record.info.type != type::kRegularFloat && record.info.type != type::kRegularDouble) {
        return {SeriesCode::kWrongType};
      }
      const Status d = DecodeRegularSlots(record, &slots, &flags);
      if (d != Status::kOk) return FileFailure(d);
      series::SeriesRead fields;
      const Status h = RegularHeaderFields(record, &fields);
      if (h != Status::kOk) return FileFailure(h);
      for (size_t k = 0; k < take; ++k) {
        const auto at = static_cast<size_t>(slot) + k;
        out->values.push_back(at < slots.size() ? slots[at] : kMissing);
        out->quality.push_back(at < flags.size() ? flags[at] : 0);
      }
      if (out->blocks_found == 0) {
        out->units = fields.units;
        out->type = fields.type;
        out->time_zone = fields.time_zone;
        out->offset_seconds = fields.offset_seconds;
        out->precision = fields.precision;
        out->record_type = record.info.type;
        out->user_header = fields.user_header;
      }
      out->doubles = out->doubles || fields.doubles;
      if (!flags.empty()) out->quality_size = 1;
      ++out->blocks_found;
      NoteLastBlock(record, fields, &out->last);
    }
    runs.push_back({block, slot, take});
    block = NextBlockStart(iv->block, block);
    slot = 0;
  }
  const auto record_offset = static_cast<int32_t>(out->offset_seconds / kSecondsPerMinute);
  for (const Run& run : runs) {
    for (size_t k = 0; k < run.take; ++k) {
      const int64_t slot_k = run.slot + static_cast<int64_t>(k);
      out->times.push_back(ReportedMinutes(*iv, run.block, slot_k, record_offset) *
                           kSecondsPerMinute);
    }
  }
  // Flags only when some block had them: the others read 0.
  if (out->quality_size == 0) out->quality.clear();
  if (out->blocks_found == 0) return {SeriesCode::kNotFound};
  return {};
}

SeriesStatus RegularBlockWindow(std::string_view path, Minutes* start, int64_t* count) {
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(TrimTrailingBlanks(path), &parts)) return {SeriesCode::kBadPath};
  const Interval6* iv = FindRegular(parts[4]);
  Block irregular{};
  if (iv == nullptr || FindIrregularBlock(parts[4], &irregular)) return {SeriesCode::kBadInterval};
  const std::string_view d = TrimBlanks(parts[3]);
  int32_t julian = 0;
  if (d.size() < 5 || DateToJulian(d, 2000, &julian) != 0) return {SeriesCode::kBadTime};
  const int32_t block = BlockStart(iv->block, julian);
  *start = StandardMinutes(*iv, block, 0);
  *count = ValuesPerBlock(*iv, block);
  return {};
}

SeriesStatus ReadIrregularWindow(Dss6File& file, std::string_view path, Minutes first, Minutes last,
                                 series::SeriesRead* out) {
  *out = {};
  path = TrimTrailingBlanks(path);
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(path, &parts)) return {SeriesCode::kBadPath};
  Block kind{};
  if (!parts[4].empty() && parts[4].front() == '~') {
    const Interval6* iv = FindRegular(parts[4].substr(1));
    if (iv == nullptr) return {SeriesCode::kBadInterval};
    kind = PseudoRegularBlock(iv->minutes);
  } else if (!FindIrregularBlock(parts[4], &kind)) {
    return {SeriesCode::kBadInterval};
  }
  if (last < first) return {SeriesCode::kBadTime};
  out->granularity = static_cast<int32_t>(kSecondsPerMinute);
  const auto block_of = [&](Minutes t) {
    int32_t julian = 0, minutes = 0;
    Split(t, &julian, &minutes);
    return BlockStart(kind, julian);
  };
  const std::string e_part(IrregularBlockName(kind));
  container::RecordAreas record;
  const int32_t final_block = block_of(last);
  for (int32_t block = block_of(first); block <= final_block; block = NextBlockStart(kind, block)) {
    const std::string block_path = NormalisePath(WithBlockParts(path, BlockDate(block), e_part));
    Status s = file.ReadRecord(block_path, &record);
    if (s == Status::kNotFound) continue;
    if (s != Status::kOk) return FileFailure(s);
    series::SeriesRead b;
    s = DecodeIrregular(record, &b);
    if (s == Status::kTypeMismatch) return {SeriesCode::kWrongType};
    if (s != Status::kOk) return FileFailure(s);
    for (size_t k = 0; k < b.values.size(); ++k) {
      const series::Instant t = b.times[k];
      if (t < first * kSecondsPerMinute || t > last * kSecondsPerMinute) continue;
      out->times.push_back(t);
      out->values.push_back(b.values[k]);
      out->quality.push_back(k < b.quality.size() ? b.quality[k] : 0);
    }
    if (out->blocks_found == 0) {
      out->units = b.units;
      out->type = b.type;
      out->time_zone = b.time_zone;
      out->precision = b.precision;
      out->record_type = record.info.type;
      out->user_header = b.user_header;
    }
    out->doubles = out->doubles || b.doubles;
    if (b.quality_size > 0) out->quality_size = 1;
    ++out->blocks_found;
    NoteLastBlock(record, b, &out->last);
    if (block >= final_block || NextBlockStart(kind, block) <= block) break;
  }
  if (out->quality_size == 0) out->quality.clear();
  if (out->blocks_found == 0) return {SeriesCode::kNotFound};
  return {};
}

}  // namespace varnock::engine::dss6
