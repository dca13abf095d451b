// Regular-interval series: a store split into block records and merged slot by slot with what
// each block holds, and window reads across blocks.
#include <algorithm>
#include <cstring>

#include "engine/records/series/series_internal.h"

namespace varnock::engine::series {
namespace {

using internal::Fail;
using internal::InCalendar;

constexpr int64_t kMaxReadValues = int64_t{1} << 26;

// A regular block expanded to all of its slots, with the notes as views.
struct FullBlock {
  std::vector<double> values;
  std::vector<int32_t> quality;
  std::vector<int32_t> inotes;
  std::vector<std::string_view> cnotes;
  std::vector<uint32_t> offsets;  // scratch for note positions
};

bool SlotValid(const FullBlock& f, const SeriesBlock& b, size_t s) {
  if (!IsMissing(f.values[s])) return true;
  for (int32_t k = 0; k < b.quality_size; ++k)
    if (f.quality[s * b.quality_size + k] != 0) return true;
  for (int32_t k = 0; k < b.inote_size; ++k)
    if (f.inotes[s * b.inote_size + k] != 0) return true;
  return b.has_cnotes && !f.cnotes[s].empty();
}

struct StoreContext {
  dss7::DssFile& file;
  const RegularStore& in;
  const SeriesPath& path;
  int32_t offset;
  int32_t granularity;
  std::vector<uint32_t> note_at;  // where each incoming note starts
  FullBlock full;
};

// A request value as the block stores it: rounded to float unless the store keeps doubles.
double StoredValue(const RegularStore& in, size_t i) {
  return in.doubles ? in.values[i] : static_cast<double>(ToFloat(in.values[i]));
}

// Completes block `b` holding stored slots [lo, hi] (values already in place) and encodes it.
SeriesStatus FinishBlock(StoreContext& c, int32_t block, int32_t n_slots, int64_t first_valid,
                         int64_t last_valid, int64_t lo, int64_t hi, const SeriesBlock* old,
                         SeriesBlock b, internal::Prepared p,
                         std::vector<internal::Prepared>* out) {
  const RegularStore& in = c.in;
  b.count = static_cast<int32_t>(hi - lo + 1);
  b.first_position = static_cast<int32_t>(lo);
  b.last_position = static_cast<int32_t>(hi);
  b.granularity = c.granularity;
  b.precision = in.precision;
  b.offset = c.offset;
  b.units.assign(in.units);
  b.type.assign(in.type);
  b.zone.assign(in.time_zone);
  b.user_header.assign(in.user_header.begin(), in.user_header.end());
  if (in.user_header.empty() && old != nullptr) b.user_header = old->user_header;
  const SeriesStatus s = internal::Encode(b, c.file.version().full, &p);
  if (!s.ok()) return s;
  const Interval& iv = *c.path.interval;
  const Instant first_std = FirstStandardTime(iv, block);
  p.logical_count = n_slots;
  p.first = internal::ToDateTime(StepStandard(iv, first_std, std::max<int64_t>(first_valid, 0)));
  p.last = internal::ToDateTime(StepStandard(iv, first_std, std::max<int64_t>(last_valid, 0)));
  out->push_back(std::move(p));
  return {};
}

// Merges values [first, first + count) of the request into the block starting at `block`, from
// slot `pos`, and encodes the result (or a delete, or nothing) into *out.
SeriesStatus PrepareBlock(StoreContext& c, int32_t block, int32_t n_slots, int32_t pos,
                          size_t first, int32_t count, std::vector<internal::Prepared>* out) {
  const RegularStore& in = c.in;
  internal::Prepared p;
  p.path = c.path.BlockPath(block);
  SeriesBlock old;
  bool exists = false;
  SeriesStatus s = internal::ReadBlock(c.file, p.path, false, &old, &exists);
  if (!s.ok()) return s;
  if (exists && old.last_position >= n_slots) return Fail(SeriesCode::kDamaged);

  SeriesBlock b;
  s = internal::MergeSizes(in, exists ? &old : nullptr, &b);
  if (!s.ok()) return s;
  b.value_size = (in.doubles || (exists && old.value_size == 2)) ? 2 : 1;
  b.record_type = b.value_size == 2 ? kRegularDouble : kRegularFloat;

  FullBlock& f = c.full;
  const auto slots = static_cast<size_t>(n_slots);
  int64_t first_valid = -1;
  int64_t last_valid = -1;
  if (!exists && b.quality_size == 0 && b.inote_size == 0 && !b.has_cnotes) {
    // A new block of plain values: converted in one pass into slots [pos, pos + count), then
    // trimmed to the slots from the first to the last valid one.
    const int32_t size = b.value_size;
    b.values.resize(static_cast<size_t>(count) * size);
    int32_t written = 0;
    for (int32_t j = 0; j < count; ++j) {
      double v = in.values[first + static_cast<size_t>(j)];
      if (size == 1) {
        const float f = ToFloat(v);
        v = f;
        std::memcpy(b.values.data() + j, &f, sizeof f);
      } else {
        std::memcpy(b.values.data() + 2 * int64_t{j}, &v, sizeof v);
      }
      if (!IsMissing(v)) {
        ++written;
        if (first_valid < 0) first_valid = pos + j;
        last_valid = pos + j;
      } else if (in.plan == kPlanKeepOnMissing) {
        SetValueAt(b.values, size, static_cast<size_t>(j), kUndefinedDouble);
      } else {
        ++written;
      }
    }
    if (written == 0 || (first_valid < 0 && in.plan == kPlanDeleteEmpty)) return {};
    const int64_t lo = std::max<int64_t>(first_valid, 0);
    const int64_t hi = std::max<int64_t>(last_valid, 0);
    if (first_valid < 0) {
      // Nothing valid: HEC's one undefined value at slot 0 (or what the request put there).
      const double at_zero = pos == 0 ? ValueAt(b.values, size, 0) : kUndefinedDouble;
      b.values.resize(static_cast<size_t>(size));
      SetValueAt(b.values, size, 0, at_zero);
    } else {
      b.values.erase(b.values.begin() + (hi - pos + 1) * size, b.values.end());
      b.values.erase(b.values.begin(), b.values.begin() + (lo - pos) * size);
    }
    return FinishBlock(c, block, n_slots, first_valid, last_valid, lo, hi, exists ? &old : nullptr,
                       std::move(b), std::move(p), out);
  }
  f.values.assign(slots, kUndefinedDouble);
  f.quality.assign(slots * b.quality_size, 0);
  f.inotes.assign(slots * b.inote_size, 0);
  f.cnotes.assign(b.has_cnotes ? slots : 0, std::string_view());
  if (exists) {
    if (old.has_cnotes) internal::NoteOffsets(old.cnotes, old.count, &f.offsets);
    for (int32_t i = 0; i < old.count; ++i) {
      const size_t slot = static_cast<size_t>(old.first_position + i);
      f.values[slot] = ValueAt(old.values, old.value_size, static_cast<size_t>(i));
      std::copy_n(old.quality.begin() + int64_t{i} * old.quality_size, old.quality_size,
                  f.quality.begin() + static_cast<int64_t>(slot) * b.quality_size);
      std::copy_n(old.inotes.begin() + int64_t{i} * old.inote_size, old.inote_size,
                  f.inotes.begin() + static_cast<int64_t>(slot) * b.inote_size);
      if (old.has_cnotes) {
        const auto at = f.offsets[static_cast<size_t>(i)];
        f.cnotes[slot] = std::string_view(old.cnotes).substr(at, f.offsets[i + 1] - at - 1);
      }
    }
  }

  int32_t written = 0;
  for (int32_t j = 0; j < count; ++j) {
    const size_t i = first + static_cast<size_t>(j);
    const size_t slot = static_cast<size_t>(pos + j);
    const double v = StoredValue(in, i);
    if (in.plan == kPlanReplaceMissing && !IsMissing(f.values[slot])) continue;
    if (in.plan == kPlanKeepOnMissing && IsMissing(v)) continue;
    ++written;
    f.values[slot] = v;
    for (int32_t k = 0; k < b.quality_size; ++k)
      f.quality[slot * b.quality_size + k] =
          in.quality_size > 0 ? in.quality[i * in.quality_size + k] : 0;
    for (int32_t k = 0; k < b.inote_size; ++k)
      f.inotes[slot * b.inote_size + k] = in.inote_size > 0 ? in.inotes[i * in.inote_size + k] : 0;
    if (b.has_cnotes) {
      f.cnotes[slot] = std::string_view();
      if (in.has_cnotes)
        f.cnotes[slot] = in.cnotes.substr(c.note_at[i], c.note_at[i + 1] - c.note_at[i] - 1);
    }
  }
  // Plans 1 and 4 write nothing when no slot takes a new value.
  if (written == 0 && (in.plan == kPlanReplaceMissing || in.plan == kPlanKeepOnMissing)) return {};

  for (size_t slot = 0; slot < slots; ++slot) {
    if (!SlotValid(f, b, slot)) continue;
    if (first_valid < 0) first_valid = static_cast<int64_t>(slot);
    last_valid = static_cast<int64_t>(slot);
  }
  if (first_valid < 0 && in.plan == kPlanDeleteEmpty) {
    if (exists) {
      p.remove = true;
      out->push_back(std::move(p));
    }
    return {};
  }
  // Quality or notes make the record hold the whole block; an all-missing block keeps HEC's
  // one undefined value at slot 0.
  const bool whole = b.quality_size > 0 || b.inote_size > 0 || b.has_cnotes;
  const int64_t lo = whole ? 0 : std::max<int64_t>(first_valid, 0);
  const int64_t hi = whole ? n_slots - 1 : std::max<int64_t>(last_valid, 0);
  b.values.resize(static_cast<size_t>(hi - lo + 1) * b.value_size);
  for (int64_t i = 0; i <= hi - lo; ++i)
    SetValueAt(b.values, b.value_size, static_cast<size_t>(i), f.values[lo + i]);
  b.quality.assign(f.quality.begin() + lo * b.quality_size,
                   f.quality.begin() + (hi + 1) * b.quality_size);
  b.inotes.assign(f.inotes.begin() + lo * b.inote_size, f.inotes.begin() + (hi + 1) * b.inote_size);
  if (b.has_cnotes) {
    for (int64_t slot = lo; slot <= hi; ++slot) {
      b.cnotes.append(f.cnotes[static_cast<size_t>(slot)]);
      b.cnotes.push_back('\0');
    }
  }
  return FinishBlock(c, block, n_slots, first_valid, last_valid, lo, hi, exists ? &old : nullptr,
                     std::move(b), std::move(p), out);
}

}  // namespace

SeriesStatus StoreRegular(dss7::DssFile& file, const RegularStore& in) {
  SeriesPath path;
  SeriesStatus s = ParseSeriesPath(in.path, false, &path);
  if (!s.ok()) return s;
  const size_t n = in.values.size();
  if (n < 1) return Fail(SeriesCode::kBadCount);
  s = internal::CheckInput(in, n);
  if (!s.ok()) return s;
  const Interval& iv = *path.interval;
  const Standardised start = Standardise(iv, in.start);
  if (!InCalendar(start.standard) ||
      !InCalendar(StepStandard(iv, start.standard, static_cast<int64_t>(n))))
    return Fail(SeriesCode::kBadTime);
  StoreContext c{file, in, path, start.offset, iv.seconds < 60 ? 1 : 60, {}, {}};
  if (in.has_cnotes) internal::NoteOffsets(in.cnotes, static_cast<int32_t>(n), &c.note_at);

  std::vector<internal::Prepared> prepared;
  int32_t block = BlockOf(iv.block, start.standard);
  int64_t pos = std::max<int64_t>(SlotOf(iv, block, start.standard), 0);
  size_t done = 0;
  while (done < n) {
    const int32_t slots = ValuesPerBlock(iv, block);
    if (pos < slots) {
      const auto count = static_cast<int32_t>(std::min<int64_t>(slots - pos, n - done));
      s = PrepareBlock(c, block, slots, static_cast<int32_t>(pos), done, count, &prepared);
      if (!s.ok()) return s;
      done += static_cast<size_t>(count);
    }
    // Weekly blocks can hold fewer slots than Saturdays: the rest spills to the next block's
    // slot 0, as HEC does.
    block = NextBlockStart(iv.block, block);
    pos = std::max<int64_t>(
        SlotOf(iv, block, StepStandard(iv, start.standard, static_cast<int64_t>(done))), 0);
  }
  return internal::WriteAll(file, prepared);
}

namespace {

// Copies `count` stored values from position `first` of a block, widening floats.
void CopyValues(const SeriesBlock& b, int64_t first, int64_t count, double* out) {
  if (count <= 0) return;
  if (b.value_size == 2) {
    std::memcpy(out, b.values.data() + 2 * first, static_cast<size_t>(count) * sizeof(double));
    return;
  }
  const int32_t* ints = b.values.data() + first;
  for (int64_t k = 0; k < count; ++k) {
    float f;
    std::memcpy(&f, ints + k, sizeof f);
    out[k] = f;
  }
}

}  // namespace

SeriesStatus ReadRegular(dss7::DssFile& file, std::string_view path_text, Instant start,
                         int64_t count, SeriesRead* out, const ReadOptions& options) {
  SeriesPath path;
  SeriesStatus s = ParseSeriesPath(path_text, false, &path);
  if (!s.ok()) return s;
  if (count < 1) return Fail(SeriesCode::kBadCount);
  if (count > kMaxReadValues) return Fail(SeriesCode::kTooLarge);
  const Interval& iv = *path.interval;
  if (!InCalendar(start)) return Fail(SeriesCode::kBadTime);
  const Instant first_std = Standardise(iv, start).standard;
  if (!InCalendar(StepStandard(iv, first_std, count))) return Fail(SeriesCode::kBadTime);
  const auto n = static_cast<size_t>(count);
  internal::ResetRead(out);
  out->values.assign(n, kUndefinedDouble);

  // The blocks the window touches, read together (one pass over records lying together).
  struct Segment {
    int32_t slots;
    int64_t pos;
    size_t take;
  };
  std::vector<Segment> segments;
  std::vector<std::string> block_paths;
  int32_t block = BlockOf(iv.block, first_std);
  int64_t pos = std::max<int64_t>(SlotOf(iv, block, first_std), 0);
  size_t done = 0;
  while (done < n) {
    const int32_t slots = ValuesPerBlock(iv, block);
    if (pos < slots) {
      const auto take = static_cast<size_t>(std::min<int64_t>(slots - pos, count - done));
      segments.push_back({slots, pos, take});
      block_paths.push_back(path.BlockPath(block));
      done += take;
    }
    block = NextBlockStart(iv.block, block);
    pos = std::max<int64_t>(
        SlotOf(iv, block, StepStandard(iv, first_std, static_cast<int64_t>(done))), 0);
  }
  internal::BlockRecords& records = internal::ReadBlockRecords(file, block_paths);

  SeriesBlock b;
  std::vector<uint32_t> offsets;
  done = 0;
  for (size_t k = 0; k < segments.size(); ++k) {
    const auto [slots, pos, take] = segments[k];
    {
      bool found = false;
      s = internal::TakeBlock(file, records.statuses[k], records.records[k], false, &b, &found);
      if (!s.ok()) return s;
      if (found && b.last_position >= slots) return Fail(SeriesCode::kDamaged);
      if (!found) {
        if (!out->absent.empty() && out->absent.back().second == done)
          out->absent.back().second = done + take;
        else
          out->absent.emplace_back(done, done + take);
      } else {
        s = internal::AdoptBlock(b, n, done, out);
        if (!s.ok()) return s;
        if (b.has_cnotes) internal::NoteOffsets(b.cnotes, b.count, &offsets);
        // Stored positions of this block that fall in the window: [lo, hi) of `take`.
        const int64_t lo =
            std::clamp<int64_t>(b.first_position - pos, 0, static_cast<int64_t>(take));
        const int64_t hi =
            std::clamp<int64_t>(b.first_position + b.count - pos, lo, static_cast<int64_t>(take));
        CopyValues(b, pos + lo - b.first_position, hi - lo, out->values.data() + done + lo);
        const bool per_slot = b.quality_size > 0 || b.inote_size > 0 || out->has_cnotes;
        for (size_t j = 0; per_slot && j < take; ++j) {
          const int64_t i = pos + static_cast<int64_t>(j) - b.first_position;
          const bool stored = i >= 0 && i < b.count;
          if (!stored && !out->has_cnotes) continue;
          if (stored && b.quality_size > 0)
            std::copy_n(b.quality.begin() + i * b.quality_size, b.quality_size,
                        out->quality.begin() + static_cast<int64_t>(done + j) * b.quality_size);
          if (stored && b.inote_size > 0)
            std::copy_n(b.inotes.begin() + i * b.inote_size, b.inote_size,
                        out->inotes.begin() + static_cast<int64_t>(done + j) * b.inote_size);
          if (out->has_cnotes) {
            if (stored && b.has_cnotes)
              out->cnotes.append(b.cnotes, offsets[i], offsets[i + 1] - offsets[i] - 1);
            out->cnotes.push_back('\0');
          }
        }
      }
      if (out->has_cnotes && !found) out->cnotes.append(take, '\0');
      done += take;
    }
  }

  // The last block found is the one `b` still holds: a block not found leaves it alone.
  if (out->blocks_found > 0) out->last = std::move(b);
  out->times.resize(n);
  if (iv.klass == IntervalClass::kFixed) {
    // Fixed steps: the reported time of slot i is plain arithmetic.
    const Instant shift = out->offset_seconds == 0 ? 0 : out->offset_seconds - iv.seconds;
    for (size_t i = 0; i < n; ++i)
      out->times[i] = first_std + static_cast<int64_t>(i) * iv.seconds + shift;
  } else {
    Instant t = first_std;
    for (size_t i = 0; i < n; ++i) {
      out->times[i] = ReportedTime(iv, t, out->offset_seconds);
      t = StepStandard(iv, t, 1);
    }
  }
  // Float blocks widen exactly, so only double blocks need rounding for a float caller.
  if (options.floats && out->doubles) {
    for (double& v : out->values)
      v = static_cast<double>(ToFloat(v));
  }
  if (out->blocks_found == 0) return Fail(SeriesCode::kNotFound);
  return {};
}

}  // namespace varnock::engine::series
