#include "engine/records/series/classic.h"

#include <time.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <vector>

#include "engine/heclib/message_units.h"
#include "engine/heclib/options.h"
#include "engine/records/series/series.h"
#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::series {
namespace {

// Where a routine's status list has no code of its own for a failure.
struct StatusMap {
  int32_t bad_interval;
  int32_t wrong_type;
  int32_t too_large;
};
constexpr StatusMap kRegularRead{12, 20, 16};
constexpr StatusMap kRegularStore{12, 511, 16};
constexpr StatusMap kIrregular{24, 20, 21};

int32_t ToHeclib(const SeriesStatus& s, const StatusMap& m) {
  switch (s.code) {
    case SeriesCode::kOk:
      return 0;
    case SeriesCode::kNotFound:
      return 5;
    case SeriesCode::kBadPath:
      return 24;
    case SeriesCode::kBadInterval:
      return m.bad_interval;
    case SeriesCode::kBadCount:
      return 11;
    case SeriesCode::kBadTime:
    case SeriesCode::kBadInput:
      return 15;
    case SeriesCode::kBadOrder:
      return 30;
    case SeriesCode::kWrongType:
    case SeriesCode::kIncompatible:
      return m.wrong_type;
    case SeriesCode::kTooLarge:
      return m.too_large;
    case SeriesCode::kDamaged:
      return 10;
    case SeriesCode::kFile:
      break;
  }
  return static_cast<int32_t>(s.file);
}

float ClassicValue(double v) {
  const float f = ToFloat(v);
  return f == kUndefinedFloat ? kClassicMissing : f;
}

// What HECLIB's inquiries report about the last record read.
void RememberLastRecord(const SeriesBlock& b) {
  LastRecordInfo r;
  r.precision = std::max(b.precision, 0);
  const time_t seconds = static_cast<time_t>(b.info.last_write_ms / 1000);
  // Records stored together share their second: its local date and time texts are made once
  // (a bulk read would otherwise spend much of its time in the time zone rules).
  struct WrittenTexts {
    time_t seconds = 0;
    bool valid = false;
    char date[32] = {};
    char time[32] = {};
  };
  thread_local WrittenTexts written;
  struct tm local {};
  if (b.info.last_write_ms > 0 && !(written.valid && written.seconds == seconds) &&
      localtime_r(&seconds, &local) != nullptr) {
    static constexpr const char* kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                              "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
    std::snprintf(written.date, sizeof written.date, "%02d%s%02d", local.tm_mday % 100,
                  kMonths[local.tm_mon % 12], local.tm_year % 100);
    std::snprintf(written.time, sizeof written.time, "%02d:%02d:%02d", local.tm_hour % 100,
                  local.tm_min % 100, local.tm_sec % 100);
    written.seconds = seconds;
    written.valid = true;
  }
  if (b.info.last_write_ms > 0 && written.valid && written.seconds == seconds) {
    r.written_date.Assign(written.date);
    r.written_time.Assign(written.time);
  }
  r.program.Assign(b.info.Program());
  r.version = b.info.version;
  r.zone_offset = -1;
  r.zone_name.Assign(b.zone);
  r.quality_flag = b.quality_size > 0 ? 1 : 0;
  r.type = b.record_type;
  SetLastRecordInfo(r);
}

bool StartInstant(std::string_view date, std::string_view time, Instant* out) {
  int32_t julian = 0;
  int32_t minutes = 0;
  if (DateToJulian(TrimBlanks(date), &julian) != 0 || !ParseClockTime(time, &minutes)) return false;
  *out = MakeInstant(julian, int64_t{minutes} * 60);
  return true;
}

}  // namespace

bool ParseClockTime(std::string_view text, int32_t* minutes) {
  int32_t hhmm = 0;
  int digits = 0;
  for (char c : text) {
    if (IsDigit(c)) {
      hhmm = (hhmm % 1000) * 10 + (c - '0');  // keeps the rightmost four
      ++digits;
    } else if (static_cast<unsigned char>(c) > static_cast<unsigned char>(';')) {
      return false;
    }
  }
  if (digits == 0 || TrimBlanks(text).empty() || hhmm > 2400) return false;
  *minutes = hhmm / 100 * 60 + hhmm % 100;
  return true;
}

int32_t ClassicReadRegular(SeriesFile& file, std::string_view path, std::string_view date,
                           std::string_view time, int32_t* nvals, float* values,
                           std::span<char> units, std::span<char> type, int32_t* offset_minutes) {
  const int32_t wanted = *nvals;
  auto fail = [&](int32_t status) {
    *nvals = 0;
    return status;
  };
  SeriesPath sp;
  SeriesStatus s = ParseSeriesPath(path, false, &sp);
  if (s.code == SeriesCode::kBadPath) return fail(24);
  if (wanted < 1) return fail(11);
  if (!s.ok()) return fail(12);

  Instant start = 0;
  int64_t count = wanted;
  if (TrimBlanks(date).size() > 4) {
    if (!StartInstant(date, time, &start)) return fail(15);
  } else {
    int32_t block_count = 0;
    if (!file.WholeBlock(path, &start, &block_count).ok()) return fail(24);
    count = std::min<int64_t>(block_count, wanted);
  }
  SeriesRead read;
  s = file.ReadRegular(path, start, count, &read, {.floats = true});
  if (!s.ok() && s.code != SeriesCode::kNotFound) return fail(ToHeclib(s, kRegularRead));

  // Slots of absent blocks are -902; slots never written, -901. The runs between absent
  // blocks are converted in plain passes, counting instead of branching per value. The float
  // read left every value a float widened (the undefined value too), so the narrowing is exact
  // and ClassicValue reduces to the undefined value's replacement.
  const size_t n = read.values.size();
  size_t missing = 0;
  size_t marked_absent = 0;
  size_t next = 0;
  auto convert_until = [&, in = read.values.data()](size_t end) {
    size_t run_missing = 0;  // locals, so that the loop keeps them in registers
    size_t run_marked = 0;
    for (size_t i = next; i < end; ++i) {
      const auto f = static_cast<float>(in[i]);
      const float v = f == kUndefinedFloat ? kClassicMissing : f;
      values[i] = v;
      run_missing += v == kClassicMissing;
      run_marked += v == kClassicAbsent;
    }
    missing += run_missing;
    marked_absent += run_marked;
    next = std::max(next, end);
  };
  size_t absent_slots = 0;
  for (const auto& [begin, end] : read.absent) {
    convert_until(std::clamp(begin, next, n));
    const size_t stop = std::clamp(end, next, n);
    std::fill(values + next, values + stop, kClassicAbsent);
    absent_slots += stop - next;
    next = stop;
  }
  convert_until(n);
  const bool any_missing = missing > 0;
  const bool any_valid = n > missing + marked_absent + absent_slots;
  *nvals = static_cast<int32_t>(read.values.size());
  if (read.blocks_found == 0) {
    AssignBlankPadded(units, {});
    AssignBlankPadded(type, {});
    *offset_minutes = 0;
    return 5;
  }
  AssignBlankPadded(units, read.last.units);
  AssignBlankPadded(type, read.last.type);
  *offset_minutes = read.last.offset / 60;
  RememberLastRecord(read.last);
  if (!any_valid) return 4;
  return (any_missing ? 1 : 0) + (read.absent.empty() ? 0 : 2);
}

int32_t ClassicStoreRegular(SeriesFile& file, std::string_view path, std::string_view date,
                            std::string_view time, int32_t nvals, const float* values,
                            std::string_view units, std::string_view type, int32_t plan) {
  struct ResetAfter {
    ~ResetAfter() { ResetTolerance(); }
  } reset;
  SeriesPath sp;
  SeriesStatus s = ParseSeriesPath(path, false, &sp);
  if (s.code == SeriesCode::kBadPath) return 24;
  if (nvals < 1) return 11;
  if (!s.ok()) return 12;
  RegularStore request;
  if (!StartInstant(date, time, &request.start)) return 15;
  const std::vector<double> widened(values, values + nvals);
  request.values = widened;
  request.path = path;
  request.units = TrimBlanks(units);
  request.type = TrimBlanks(type);
  request.plan = (plan >= 0 && plan <= 4) ? plan : kPlanReplaceAll;
  s = file.StoreRegular(request);
  if (s.code == SeriesCode::kFile && s.file == dss7::Status::kReadOnly) {
    EmitReadOnlyWrite("ZSRTS", path);
    return 30;
  }
  return ToHeclib(s, kRegularStore);
}

int32_t ClassicReadIrregular(SeriesFile& file, std::string_view path, int32_t start_julian,
                             int32_t start_minutes, int32_t end_julian, int32_t end_minutes,
                             int32_t* times, float* values, int32_t capacity, int32_t* nvals,
                             int32_t* base_julian, std::span<char> units, std::span<char> type) {
  *nvals = 0;
  SeriesPath sp;
  if (!ParseSeriesPath(path, true, &sp).ok()) return 24;
  Instant first = MakeInstant(start_julian, int64_t{start_minutes} * 60);
  Instant last = MakeInstant(end_julian, int64_t{end_minutes} * 60);
  int32_t base = start_julian;
  const bool whole_block = start_minutes == -2;
  if (whole_block) {
    if (!IrregularBlockWindow(path, &first, &last).ok()) return 24;
    base = SplitInstant(first).julian;
  }
  SeriesRead read;
  const SeriesStatus s = file.ReadIrregular(path, first, last, &read, {.floats = true});
  if (s.code == SeriesCode::kNotFound || s.code == SeriesCode::kBadTime) {
    *base_julian = 0;
    return 4;
  }
  if (!s.ok()) return ToHeclib(s, kIrregular);
  // Data stored with second granularity come back in seconds from the first block's start.
  const bool seconds = read.granularity == 1;
  if (seconds && !whole_block) base = BlockOf(sp.interval->block, first);
  const int64_t unit = seconds ? 1 : 60;
  const size_t n = std::min(read.values.size(), static_cast<size_t>(std::max(capacity, 0)));
  for (size_t i = 0; i < n; ++i) {
    const int64_t t = (read.times[i] - MakeInstant(base, 0)) / unit;
    times[i] = static_cast<int32_t>(std::clamp<int64_t>(t, INT32_MIN, INT32_MAX));
    values[i] = ClassicValue(read.values[i]);
  }
  *nvals = static_cast<int32_t>(n);
  *base_julian = base;
  AssignBlankPadded(units, read.last.units);
  AssignBlankPadded(type, read.last.type);
  RememberLastRecord(read.last);
  if (read.values.size() > n) return 1;
  return read.values.empty() ? 3 : 0;
}

int32_t ClassicStoreIrregular(SeriesFile& file, std::string_view path, const int32_t* times,
                              const float* values, int32_t nvals, int32_t base_julian,
                              std::string_view units, std::string_view type, int32_t replace) {
  SeriesPath sp;
  if (!ParseSeriesPath(path, true, &sp).ok()) return 24;
  if (nvals == 0) return 4;
  if (nvals < 0) return 11;
  std::vector<Instant> instants(static_cast<size_t>(nvals));
  for (size_t i = 0; i < instants.size(); ++i) {
    instants[i] = (int64_t{base_julian} * 1440 + times[i]) * 60;
    if (i > 0 && times[i] < times[i - 1]) return 30;
  }
  const std::vector<double> widened(values, values + nvals);
  IrregularStore request;
  request.path = path;
  request.times = instants;
  request.values = widened;
  request.units = TrimBlanks(units);
  request.type = TrimBlanks(type);
  request.replace = replace == 1;
  request.span_markers = true;
  const SeriesStatus s = file.StoreIrregular(request);
  if (s.code == SeriesCode::kFile && s.file == dss7::Status::kReadOnly)
    EmitReadOnlyWrite("ZSITS", path);
  return ToHeclib(s, kIrregular);
}

}  // namespace varnock::engine::series
