// Irregular-interval series: (time, value) pairs in day .. century blocks, merged into or
// replacing what each block holds, and read back over an inclusive window.
#include <algorithm>

#include "engine/records/series/series_internal.h"

namespace varnock::engine::series {
namespace {

using internal::Fail;

// HEC's estimate of how many values a full block would hold; never below the count stored.
int64_t LogicalCount(int32_t block, int32_t next_block, Instant first, Instant last,
                     int64_t count) {
  const int64_t days = next_block - block + 1;
  const int64_t per_day = (next_block - block) >= 370 ? 1440 : kSecondsPerDay;
  const int64_t unit = kSecondsPerDay / per_day;
  const DaySecond a = SplitInstant(first);
  const DaySecond b = SplitInstant(last);
  const int64_t span =
      (int64_t{b.julian} - a.julian + 1) * per_day + (b.seconds - a.seconds) / unit;
  const int64_t average = span / count;
  const int64_t logical = average == 0 ? 1 : days * per_day / average;
  return std::max(logical, count);
}

// One pair of the merged block: from the request (index into it) or from the old record.
struct Pick {
  bool incoming;
  int32_t index;
};

struct StoreContext {
  dss7::DssFile& file;
  const IrregularStore& in;
  const SeriesPath& path;
  size_t begin;  // stored pairs of the request: [begin, end)
  size_t end;
  Instant window_first;
  Instant window_last;
  std::vector<uint32_t> note_at;
  std::vector<Pick> picks;
  std::vector<uint32_t> old_note_at;
};

SeriesStatus PrepareBlock(StoreContext& c, int32_t block, size_t a, size_t b,
                          std::vector<internal::Prepared>* out) {
  const Interval& iv = *c.path.interval;
  const IrregularStore& in = c.in;
  const int32_t next = NextBlockStart(iv.block, block);
  const Instant base = MakeInstant(block, 0);
  const int64_t unit = internal::StoredTimeUnit(iv);
  internal::Prepared p;
  p.path = c.path.BlockPath(block);
  SeriesBlock old;
  bool exists = false;
  SeriesStatus s = internal::ReadBlock(c.file, p.path, true, &old, &exists);
  if (!s.ok()) return s;
  if (a == b && !exists) return {};

  // Time-ordered union: under replace old pairs inside the window go, under merge old pairs at
  // the time of a new one.
  auto old_time = [&](size_t i) { return base + int64_t{old.times[i]} * unit; };
  c.picks.clear();
  size_t i = 0;
  size_t j = a;
  bool dropped = false;
  const size_t n_old = exists ? static_cast<size_t>(old.count) : 0;
  while (i < n_old || j < b) {
    if (i < n_old && in.replace && old_time(i) >= c.window_first && old_time(i) <= c.window_last) {
      dropped = true;
      ++i;
    } else if (i < n_old && (j == b || old_time(i) < in.times[j])) {
      c.picks.push_back({false, static_cast<int32_t>(i++)});
    } else if (i < n_old && old_time(i) == in.times[j]) {
      ++i;
    } else {
      c.picks.push_back({true, static_cast<int32_t>(j++)});
    }
  }
  if (a == b && !dropped) return {};
  if (c.picks.empty()) {
    p.remove = true;
    out->push_back(std::move(p));
    return {};
  }

  SeriesBlock r;
  s = internal::MergeSizes(in, exists ? &old : nullptr, &r);
  if (!s.ok()) return s;
  r.value_size = (in.doubles || (exists && old.value_size == 2)) ? 2 : 1;
  r.record_type = r.value_size == 2 ? kIrregularDouble : kIrregularFloat;
  const size_t n = c.picks.size();
  r.count = static_cast<int32_t>(n);
  r.granularity = in.granularity;
  r.precision = in.precision;
  r.units.assign(in.units);
  r.type.assign(in.type);
  r.zone.assign(in.time_zone);
  r.times.resize(n);
  r.values.resize(n * r.value_size);
  r.quality.assign(n * r.quality_size, 0);
  r.inotes.assign(n * r.inote_size, 0);
  if (exists && old.has_cnotes) internal::NoteOffsets(old.cnotes, old.count, &c.old_note_at);
  for (size_t k = 0; k < n; ++k) {
    const Pick& pk = c.picks[k];
    const auto x = static_cast<size_t>(pk.index);
    if (pk.incoming) {
      r.times[k] = static_cast<int32_t>((in.times[x] - base) / unit);
      const double v = in.doubles ? in.values[x] : static_cast<double>(ToFloat(in.values[x]));
      SetValueAt(r.values, r.value_size, k, v);
      std::copy_n(in.quality.begin() + static_cast<int64_t>(x) * in.quality_size, in.quality_size,
                  r.quality.begin() + static_cast<int64_t>(k) * r.quality_size);
      std::copy_n(in.inotes.begin() + static_cast<int64_t>(x) * in.inote_size, in.inote_size,
                  r.inotes.begin() + static_cast<int64_t>(k) * r.inote_size);
      if (r.has_cnotes && in.has_cnotes)
        r.cnotes.append(in.cnotes, c.note_at[x], c.note_at[x + 1] - c.note_at[x] - 1);
    } else {
      r.times[k] = old.times[x];
      SetValueAt(r.values, r.value_size, k, ValueAt(old.values, old.value_size, x));
      std::copy_n(old.quality.begin() + static_cast<int64_t>(x) * old.quality_size,
                  old.quality_size, r.quality.begin() + static_cast<int64_t>(k) * r.quality_size);
      std::copy_n(old.inotes.begin() + static_cast<int64_t>(x) * old.inote_size, old.inote_size,
                  r.inotes.begin() + static_cast<int64_t>(k) * r.inote_size);
      if (r.has_cnotes && old.has_cnotes)
        r.cnotes.append(old.cnotes, c.old_note_at[x], c.old_note_at[x + 1] - c.old_note_at[x] - 1);
    }
    if (r.has_cnotes) r.cnotes.push_back('\0');
  }
  r.user_header.assign(in.user_header.begin(), in.user_header.end());
  if (in.user_header.empty() && exists) r.user_header = old.user_header;

  s = internal::Encode(r, c.file.version().full, &p);
  if (!s.ok()) return s;
  const Instant first = base + int64_t{r.times.front()} * unit;
  const Instant last = base + int64_t{r.times.back()} * unit;
  p.logical_count = LogicalCount(block, next, first, last, r.count);
  p.first = internal::ToDateTime(first);
  p.last = internal::ToDateTime(last);
  out->push_back(std::move(p));
  return {};
}

}  // namespace

SeriesStatus StoreIrregular(dss7::DssFile& file, const IrregularStore& in) {
  SeriesPath path;
  SeriesStatus s = ParseSeriesPath(in.path, true, &path);
  if (!s.ok()) return s;
  const size_t n = in.times.size();
  if (n < 1) return Fail(SeriesCode::kBadCount);
  if (in.values.size() != n) return Fail(SeriesCode::kBadInput);
  s = internal::CheckInput(in, n);
  if (!s.ok()) return s;
  for (size_t i = 0; i < n; ++i) {
    if (!internal::InCalendar(in.times[i])) return Fail(SeriesCode::kBadTime);
    if (i > 0 && in.times[i] < in.times[i - 1]) return Fail(SeriesCode::kBadOrder);
  }
  const Interval& iv = *path.interval;
  StoreContext c{file, in, path, 0, n, in.times.front(), in.times.back(), {}, {}, {}};
  // A -902 at either end of a replace only marks the span to clear.
  if (in.replace && in.span_markers) {
    if (c.end > c.begin && in.values[c.begin] == -902.0) ++c.begin;
    if (c.end > c.begin && in.values[c.end - 1] == -902.0) --c.end;
  }
  if (in.has_cnotes) internal::NoteOffsets(in.cnotes, static_cast<int32_t>(n), &c.note_at);

  std::vector<internal::Prepared> prepared;
  const int32_t last_block = BlockOf(iv.block, c.window_last);
  size_t at = c.begin;
  int32_t block = BlockOf(iv.block, c.window_first);
  while (block <= last_block) {
    if (!in.replace && at < c.end) block = std::max(block, BlockOf(iv.block, in.times[at]));
    const int32_t next = NextBlockStart(iv.block, block);
    size_t stop = at;
    while (stop < c.end && in.times[stop] <= MakeInstant(next, 0))
      ++stop;
    s = PrepareBlock(c, block, at, stop, &prepared);
    if (!s.ok()) return s;
    at = stop;
    if (!in.replace && at == c.end) break;
    block = next;
  }
  return internal::WriteAll(file, prepared);
}

SeriesStatus ReadIrregular(dss7::DssFile& file, std::string_view path_text, Instant first,
                           Instant last, SeriesRead* out, const ReadOptions& options) {
  SeriesPath path;
  SeriesStatus s = ParseSeriesPath(path_text, true, &path);
  if (!s.ok()) return s;
  if (first > last || !internal::InCalendar(first) || !internal::InCalendar(last))
    return Fail(SeriesCode::kBadTime);
  const Interval& iv = *path.interval;
  const int64_t unit = internal::StoredTimeUnit(iv);
  internal::ResetRead(out);
  SeriesBlock b;
  std::vector<uint32_t> offsets;
  const int32_t last_block = BlockOf(iv.block, last);
  for (int32_t block = BlockOf(iv.block, first); block <= last_block;
       block = NextBlockStart(iv.block, block)) {
    bool found = false;
    s = internal::ReadBlock(file, path.BlockPath(block), true, &b, &found);
    if (!s.ok()) return s;
    if (!found) continue;
    const size_t done = out->values.size();
    s = internal::AdoptBlock(b, done, done, out);
    if (!s.ok()) return s;
    if (b.has_cnotes) internal::NoteOffsets(b.cnotes, b.count, &offsets);
    const Instant base = MakeInstant(block, 0);
    const Instant limit = MakeInstant(NextBlockStart(iv.block, block), 0);
    for (int32_t i = 0; i < b.count; ++i) {
      const Instant t = base + int64_t{b.times[i]} * unit;
      if (t < first || t > last || t > limit || b.times[i] <= 0) continue;
      out->times.push_back(t);
      out->values.push_back(ValueAt(b.values, b.value_size, static_cast<size_t>(i)));
      if (out->quality_size > 0) {
        for (int32_t k = 0; k < out->quality_size; ++k)
          out->quality.push_back(b.quality_size > 0 ? b.quality[i * b.quality_size + k] : 0);
      }
      if (out->inote_size > 0) {
        for (int32_t k = 0; k < out->inote_size; ++k)
          out->inotes.push_back(b.inote_size > 0 ? b.inotes[i * b.inote_size + k] : 0);
      }
      if (out->has_cnotes) {
        if (b.has_cnotes) out->cnotes.append(b.cnotes, offsets[i], offsets[i + 1] - offsets[i] - 1);
        out->cnotes.push_back('\0');
      }
    }
    out->last = std::move(b);
    b = SeriesBlock();
  }
  if (options.floats) {
    for (double& v : out->values)
      v = static_cast<double>(ToFloat(v));
  }
  if (out->blocks_found == 0) return Fail(SeriesCode::kNotFound);
  return {};
}

}  // namespace varnock::engine::series
