#include "engine/dss6/store.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "engine/dss6/dss6_file_internal.h"
#include "engine/dss6/intervals.h"
#include "engine/dss6/records.h"
#include "engine/dss6/slots.h"
#include "engine/dss7/hash.h"
#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::dss6 {
namespace {

constexpr int64_t kDay = 1440;
constexpr int32_t kWeekMinutes = 10080;
constexpr size_t kMaxUserHeader = 100;

int64_t FloorDiv(int64_t a, int64_t b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}

int32_t Julian(int64_t y, int64_t m, int64_t d) {
  int32_t j = 0;
  return YmdToJulian(y, m, d, &j) ? j : 0;
}

}  // namespace

// (julian, minutes 1..1440) of a time: 0000 is 2400 of the day before.
void Split(Minutes t, int32_t* julian, int32_t* minutes) {
  const int64_t day = FloorDiv(t - 1, kDay);
  *julian = static_cast<int32_t>(day);
  *minutes = static_cast<int32_t>(t - day * kDay);
}

// The day a regular block's slots count from: weekly blocks start on the Sunday on or before.
int32_t SlotBase(const Interval6& iv, int32_t block) {
  return iv.minutes == kWeekMinutes ? static_cast<int32_t>(FloorDiv(block, 7) * 7) : block;
}

// HEC's count of periods from (j1, m1) to (j2, m2).
int64_t Periods(const Interval6& iv, int32_t j1, int32_t m1, int32_t j2, int32_t m2) {
  if (iv.step == Step::kFixed) return ((int64_t{j2} - j1) * kDay + (m2 - m1)) / iv.minutes;
  const CivilDate a = JulianToYmd(j1);
  const CivilDate b = JulianToYmd(j2);
  const int64_t dy = b.year - a.year, dm = b.month - a.month, dd = b.day - a.day;
  switch (iv.step) {
    case Step::kTriMonth:
      return 36 * dy + 3 * dm + dd / 8;
    case Step::kSemiMonth:
      return 24 * dy + 2 * dm + dd / 13;
    case Step::kMonth:
      return 12 * dy + dm + dd / 27;
    case Step::kYear:
      return dy + (dm + dd / 28) / 12;
    case Step::kFixed:
      break;
  }
  return 0;
}

int64_t ValuesPerBlock(const Interval6& iv, int32_t block) {
  const int32_t next = NextBlockStart(iv.block, block);
  return Periods(iv, SlotBase(iv, block), 0, SlotBase(iv, next), 0);
}

int32_t LastDayOfMonth(int64_t y, int64_t m) {
  return Julian(y, m + 1, 1) - 1;
}

// HEC's offset of a first value at (j, m), and the standard time it is filed under.
void Standardise(const Interval6& iv, Minutes t, int32_t* offset, Minutes* standard) {
  int32_t j = 0, m = 0;
  Split(t, &j, &m);
  const CivilDate d = JulianToYmd(j);
  const bool month_end = JulianToYmd(j + 1).day == 1 && m == kDay;
  int64_t off = 0;
  if (iv.step == Step::kFixed && iv.minutes <= kDay) {
    off = m % iv.minutes;
  } else if (iv.step == Step::kFixed) {
    off = (j - FloorDiv(j, 7) * 7) * kDay + m;  // (day of week - 1) days, Sunday = 1
    if (off == kWeekMinutes) off = 0;
  } else if (iv.step == Step::kYear) {
    off = (d.month == 12 && d.day == 31 && m == kDay) ? 0 : (j - Julian(d.year, 1, 1)) * kDay + m;
  } else if (!month_end) {
    if (iv.step == Step::kTriMonth) {
      const int dd = d.day >= 30 ? 9 : d.day;
      off = (dd % 10 - 1) * kDay + m;
    } else if (iv.step == Step::kSemiMonth) {
      const int dd = d.day >= 30 ? 14 : d.day;
      off = (dd % 15 - 1) * kDay + m;
    } else {
      off = (d.day - 1) * kDay + m;
      if (off > 43200) off = 43200 - (kDay - m);
    }
  }
  *offset = static_cast<int32_t>(off);
  if (off == 0) {
    *standard = t;
    return;
  }
  int32_t day = j;
  switch (iv.step) {
    case Step::kFixed:
      *standard = t + iv.minutes - off;
      return;
    case Step::kTriMonth:
      day = d.day <= 10   ? Julian(d.year, d.month, 10)
            : d.day <= 20 ? Julian(d.year, d.month, 20)
                          : LastDayOfMonth(d.year, d.month);
      break;
    case Step::kSemiMonth:
      day = d.day <= 15 ? Julian(d.year, d.month, 15) : LastDayOfMonth(d.year, d.month);
      break;
    case Step::kMonth:
      day = LastDayOfMonth(d.year, d.month);
      break;
    case Step::kYear:
      day = Julian(d.year, 12, 31);
      break;
  }
  *standard = int64_t{day} * kDay + kDay;
}

std::string WithBlockParts(std::string_view path, std::string_view d, std::string_view e) {
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(path, &parts)) return {};
  std::string out = "/";
  for (int p = 0; p < 6; ++p) {
    out += p == 3 ? d : p == 4 ? e : parts[p];
    out += '/';
  }
  return out;
}

namespace {

void PutField(std::vector<int32_t>& words, size_t at, size_t n_words, std::string_view text) {
  StoreChars(text.substr(0, 4 * n_words), std::span(words).subspan(at, n_words));
}

void PutValue(std::vector<int32_t>& words, size_t at, double v, bool doubles) {
  if (doubles) {
    std::memcpy(&words[at], &v, sizeof v);
  } else {
    const float f = series::ToFloat(v);
    std::memcpy(&words[at], &f, sizeof f);
  }
}

bool IsMissing(double v) {
  return v == kMissing || v == kNotInFile || v == series::kUndefinedDouble;
}

Status ReadExisting(Dss6File& file, const std::string& path, container::RecordAreas* out,
                    bool* found) {
  *found = false;
  const Status s = file.ReadRecord(path, out);
  if (s == Status::kNotFound) return Status::kOk;
  if (s == Status::kOk) *found = true;
  return s;
}

std::span<const int32_t> UserHeader(std::span<const int32_t> given) {
  return given.first(std::min(given.size(), kMaxUserHeader));
}

}  // namespace

EncodedBlock EncodeRegular(int32_t offset, std::string_view units, std::string_view type,
                           int32_t zone_offset, std::span<const double> values, bool doubles,
                           std::span<const int32_t> quality) {
  EncodedBlock b;
  b.header.assign(regular_header::kWords, 0);
  b.header[regular_header::kOffsetMinutes] = offset;
  PutField(b.header, regular_header::kUnits, 2, units);
  PutField(b.header, regular_header::kType, 2, type);
  b.header[regular_header::kZoneOffset] = zone_offset;
  PutField(b.header, regular_header::kZoneName, 6, "");
  const size_t n = values.size();
  const bool has_quality = !quality.empty();
  b.data.assign(n * ((doubles ? 2 : 1) + (has_quality ? 1 : 0)), 0);
  for (size_t i = 0; i < n; ++i) {
    if (doubles) {
      PutValue(b.data, 2 * i, values[i], true);
      if (has_quality) b.data[2 * n + i] = quality[i];
    } else if (has_quality) {
      PutValue(b.data, 2 * i, values[i], false);
      b.data[2 * i + 1] = quality[i];
    } else {
      PutValue(b.data, i, values[i], false);
    }
  }
  return b;
}

Status StoreRegular(Dss6File& file, const RegularStore6& rq) {
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(rq.path, &parts)) return Status::kInvalidArgument;
  const Interval6* iv = FindRegular(parts[4]);
  Block irregular{};
  if (iv == nullptr || FindIrregularBlock(parts[4], &irregular)) return Status::kInvalidArgument;
  const size_t n = rq.values.size();
  if (n == 0 || (!rq.quality.empty() && rq.quality.size() != n)) return Status::kInvalidArgument;
  int32_t offset = 0;
  Minutes standard = 0;
  Standardise(*iv, rq.start, &offset, &standard);
  int32_t j = 0, m = 0;
  Split(standard, &j, &m);
  int32_t block = BlockStart(iv->block, j);
  int64_t slot = Periods(*iv, SlotBase(*iv, block), 0, j, m) - 1;
  const bool with_quality = !rq.quality.empty();
  const std::string units(TrimTrailingBlanks(rq.units.substr(0, kFieldChars)));
  const std::string type(TrimTrailingBlanks(rq.type.substr(0, kFieldChars)));

  for (size_t i = 0; i < n;) {
    const int64_t slots = ValuesPerBlock(*iv, block);
    if (slots <= 0 || slots > kMaxValuesPerBlock || slot < 0) return Status::kInvalidArgument;
    const std::string path = NormalisePath(WithBlockParts(rq.path, BlockDate(block), iv->name));
    // The block as it stands, or a new one of nothing but missing values.
    container::RecordAreas existing;
    bool found = false;
    Status s = ReadExisting(file, path, &existing, &found);
    if (s != Status::kOk) return s;
    std::vector<double> values(static_cast<size_t>(slots), kMissing);
    std::vector<int32_t> flags;
    bool doubles = rq.doubles;
    bool quality = with_quality;
    if (found) {
      if (existing.info.type != type::kRegularFloat && existing.info.type != type::kRegularDouble) {
        return Status::kTypeMismatch;
      }
      std::vector<double> old;
      s = DecodeRegularSlots(existing, &old, &flags);
      if (s != Status::kOk) return s;
      const bool old_doubles = existing.info.type == type::kRegularDouble;
      if ((with_quality || existing.info.quality) &&
          (old_doubles != rq.doubles ||
           (old_doubles && !(with_quality && existing.info.quality)))) {
        return Status::kTypeMismatch;
      }
      doubles = rq.doubles || old_doubles;
      quality = with_quality || existing.info.quality;
      std::copy_n(old.begin(), std::min(old.size(), values.size()), values.begin());
    }
    if (quality) flags.resize(values.size(), 0);
    bool all_missing = true;
    for (; i < n && slot < slots; ++i, ++slot) {
      const auto k = static_cast<size_t>(slot);
      const double v = rq.values[i];
      const bool write = rq.plan == 1   ? IsMissing(values[k])
                         : rq.plan == 4 ? !IsMissing(v) || IsMissing(values[k])
                                        : true;
      if (write) {
        values[k] = IsMissing(v) ? kMissing : v;
        if (quality) flags[k] = with_quality ? rq.quality[i] : 0;
      }
    }
    all_missing = std::all_of(values.begin(), values.end(), IsMissing);
    const bool plain = !quality && !(found && existing.info.compression > 0);
    if (rq.plan == 3 && all_missing && plain) {
      if (found) s = file.Delete(path);
    } else {
      const EncodedBlock e =
          EncodeRegular(offset, units, type, rq.zone_offset, values, doubles,
                        quality ? std::span<const int32_t>(flags) : std::span<const int32_t>());
      RecordData6 d;
      d.type = doubles ? type::kRegularDouble : type::kRegularFloat;
      d.internal_header = e.header;
      d.data = e.data;
      d.user_header = UserHeader(rq.user_header);
      d.logical_count = static_cast<int32_t>(slots);
      d.quality_flag = quality ? 1 : 0;
      d.precision = rq.precision;
      s = file.Store(path, d);
    }
    if (s != Status::kOk) return s;
    block = NextBlockStart(iv->block, block);
    slot = 0;
  }
  return Status::kOk;
}

Status StoreIrregular(Dss6File& file, const IrregularStore6& rq) {
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(rq.path, &parts)) return Status::kInvalidArgument;
  // A "~" E part names a pseudo-regular series, kept in the IR- block its interval picks.
  Block kind{};
  int32_t pseudo = 0;
  if (!parts[4].empty() && parts[4].front() == '~') {
    const Interval6* iv = FindRegular(parts[4].substr(1));
    if (iv == nullptr) return Status::kInvalidArgument;
    pseudo = iv->minutes;
    kind = PseudoRegularBlock(pseudo);
  } else if (!FindIrregularBlock(parts[4], &kind)) {
    return Status::kInvalidArgument;
  }
  const std::string e_part(IrregularBlockName(kind));
  size_t first = 0, last = rq.values.size();
  if (rq.times.size() != last || (!rq.quality.empty() && rq.quality.size() != last)) {
    return Status::kInvalidArgument;
  }
  // A -902 at either end only marks the span.
  if (last > 0 && rq.values[0] == kNotInFile) ++first;
  if (last > first && rq.values[last - 1] == kNotInFile) --last;
  if (first >= last) return Status::kInvalidArgument;
  for (size_t i = 1; i < rq.times.size(); ++i) {
    if (rq.times[i] < rq.times[i - 1]) return Status::kInvalidArgument;
  }
  const Minutes window_begin = rq.times[first], window_end = rq.times[last - 1];
  const auto block_of = [&](Minutes t) {
    return BlockStart(kind, static_cast<int32_t>(FloorDiv(t - 1, kDay)));
  };
  const auto& h = file.header();
  // The room a block reserves comes from header words; beyond any real setting (a damaged
  // header) they fall back to what new files get, so that they cannot size a record.
  constexpr int32_t kMaxReservePairs = 1 << 20;
  const auto reserve = [](int32_t word, int32_t fallback) {
    return word > kMaxReservePairs ? fallback : std::max(1, word);
  };
  const int32_t minimum =
      reserve(h[hdr::kIrregularMinimum + static_cast<int>(kind)], internal::kIrregularMinimumPairs);
  const int32_t growth = reserve(h[hdr::kIrregularGrowth], internal::kIrregularGrowthPairs);
  const bool with_quality = !rq.quality.empty();
  const std::string units(TrimTrailingBlanks(rq.units.substr(0, kFieldChars)));
  const std::string type(TrimTrailingBlanks(rq.type.substr(0, kFieldChars)));

  size_t i = first;
  for (int32_t block = block_of(window_begin); block <= block_of(window_end);
       block = NextBlockStart(kind, block)) {
    const int32_t next = NextBlockStart(kind, block);
    const Minutes block_start = int64_t{block} * kDay;
    const Minutes block_end = int64_t{next} * kDay;
    const std::string path = NormalisePath(WithBlockParts(rq.path, BlockDate(block), e_part));
    struct Pair {
      Minutes t;
      double v;
      int32_t q;
    };
    std::vector<Pair> incoming;
    for (; i < last && rq.times[i] <= block_end; ++i) {
      incoming.push_back({rq.times[i], rq.values[i], with_quality ? rq.quality[i] : 0});
    }
    container::RecordAreas existing;
    bool found = false;
    Status s = ReadExisting(file, path, &existing, &found);
    if (s != Status::kOk) return s;
    if (incoming.empty() && (!rq.replace || !found)) continue;
    std::vector<Pair> stored;
    bool quality = with_quality;
    if (found) {
      series::SeriesRead old;
      s = DecodeIrregular(existing, &old);
      if (s != Status::kOk) return s;
      quality = quality || existing.info.quality;
      for (size_t k = 0; k < old.values.size(); ++k) {
        stored.push_back(
            {old.times[k] / 60, old.values[k], old.quality.empty() ? 0 : old.quality[k]});
      }
    }
    std::vector<Pair> merged;
    if (rq.replace) {
      for (const auto& p : stored)
        if (p.t < window_begin || p.t > window_end) merged.push_back(p);
      merged.insert(merged.end(), incoming.begin(), incoming.end());
      std::stable_sort(merged.begin(), merged.end(),
                       [](const Pair& a, const Pair& b) { return a.t < b.t; });
    } else {
      // Time-ordered union; where times are equal the new value wins.
      size_t a = 0, b = 0;
      while (a < stored.size() || b < incoming.size()) {
        if (b == incoming.size() || (a < stored.size() && stored[a].t < incoming[b].t)) {
          merged.push_back(stored[a++]);
        } else {
          while (a < stored.size() && stored[a].t == incoming[b].t)
            ++a;
          merged.push_back(incoming[b++]);
        }
      }
    }
    if (merged.empty()) {
      if (found) s = file.Delete(path);
      if (s != Status::kOk) return s;
      continue;
    }
    const auto n = static_cast<int32_t>(merged.size());
    const int32_t capacity =
        n <= minimum ? minimum : minimum + ((n - minimum) / growth + 1) * growth;
    const size_t step = 2 + (rq.doubles ? 1 : 0) + (quality ? 1 : 0);
    std::vector<int32_t> header(irregular_header::kWords, 0);
    header[irregular_header::kCapacity] = capacity;
    header[irregular_header::kCount] = n;
    header[irregular_header::kBlockJulian] = block;
    header[irregular_header::kPseudoInterval] = pseudo;
    PutField(header, irregular_header::kUnits, 2, units);
    PutField(header, irregular_header::kType, 2, type);
    header[irregular_header::kZoneOffset] = rq.zone_offset;
    PutField(header, irregular_header::kZoneName, 6, "");
    std::vector<int32_t> data(static_cast<size_t>(capacity) * step, 0);
    for (size_t k = 0; k < merged.size(); ++k) {
      data[k * step] = static_cast<int32_t>(merged[k].t - block_start);
      PutValue(data, k * step + 1, IsMissing(merged[k].v) ? kMissing : merged[k].v, rq.doubles);
      if (quality) data[k * step + step - 1] = merged[k].q;
    }
    // HEC's "last time" word: data word n * step - 2.
    header[irregular_header::kLastTime] = data[static_cast<size_t>(n) * step - 2];
    RecordData6 d;
    d.type = rq.doubles ? type::kIrregularDouble : type::kIrregularFloat;
    d.internal_header = header;
    d.data = data;
    d.user_header = UserHeader(rq.user_header);
    d.logical_count = n;
    d.quality_flag = quality ? 1 : 0;
    d.precision = rq.precision;
    d.pseudo_interval = pseudo;
    s = file.Store(path, d);
    if (s != Status::kOk) return s;
  }
  return Status::kOk;
}

Status StorePaired(Dss6File& file, std::string_view path, const paired::PairedData& pd,
                   std::string_view program) {
  namespace ph = paired_header;
  const size_t rows = pd.rows();
  const auto m = static_cast<size_t>(pd.curve_count);
  if (rows == 0 || m == 0 || m > ph::kMaxCurves || pd.values.size() != rows * m ||
      (!pd.labels.empty() && pd.labels.size() != m)) {
    return Status::kInvalidArgument;
  }
  std::vector<int32_t> header(ph::kFixedWords, 0);
  header[ph::kOrdinates] = static_cast<int32_t>(rows);
  header[ph::kCurves] = static_cast<int32_t>(m);
  header[ph::kAxisFlag] = pd.axis_flag;
  PutField(header, ph::kUnitsIndependent, 2, pd.units_independent);
  PutField(header, ph::kTypeIndependent, 2, pd.type_independent);
  PutField(header, ph::kUnitsDependent, 2, pd.units_dependent);
  PutField(header, ph::kTypeDependent, 2, pd.type_dependent);
  if (!pd.labels.empty()) {
    size_t longest = 0;
    for (const auto& l : pd.labels) {
      header.resize(header.size() + ph::kLabelWords, 0);
      PutField(header, header.size() - ph::kLabelWords, ph::kLabelWords, l);
      longest = std::max(longest, TrimTrailingBlanks(l).size());
    }
    // Labels longer than 12 characters are also kept whole.
    if (longest > static_cast<size_t>(ph::kLabelChars)) {
      const size_t w = (longest + 3) / 4;
      header.push_back(static_cast<int32_t>(w));
      for (const auto& l : pd.labels) {
        header.resize(header.size() + w, 0);
        PutField(header, header.size() - w, w, l);
      }
    }
  }
  const size_t per = pd.doubles ? 2 : 1;
  std::vector<int32_t> data((rows + rows * m) * per, 0);
  for (size_t r = 0; r < rows; ++r)
    PutValue(data, r * per, pd.ordinates[r], pd.doubles);
  for (size_t k = 0; k < rows * m; ++k)
    PutValue(data, (rows + k) * per, pd.values[k], pd.doubles);
  RecordData6 d;
  d.type = pd.doubles ? type::kPairedDouble : type::kPairedFloat;
  d.internal_header = header;
  d.data = data;
  d.user_header = UserHeader(pd.user_header);
  d.logical_count = static_cast<int32_t>(data.size());
  d.precision = pd.precision;
  d.program = program;
  return file.Store(path, d);
}

Status StoreText(Dss6File& file, std::string_view path, const paired::TextData& td) {
  // HEC cannot write a record without a data word: empty text is one blank.
  std::string text(TrimTrailingBlanks(td.text));
  if (text.empty()) text = " ";
  const std::vector<int32_t> header = {static_cast<int32_t>(text.size())};
  std::vector<int32_t> data(static_cast<size_t>(PathWords(static_cast<int64_t>(text.size()))), 0);
  StoreChars(text, data, '\0');
  RecordData6 d;
  d.type = type::kText;
  d.internal_header = header;
  d.data = data;
  d.user_header = UserHeader(td.user_header);
  d.logical_count = static_cast<int32_t>(data.size());
  d.precision = -1;
  return file.Store(path, d);
}

}  // namespace varnock::engine::dss6
