#include "engine/dss6/records.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <vector>

#include "engine/dss6/compression.h"
#include "engine/dss6/intervals.h"
#include "engine/dss7/hash.h"
#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::dss6 {
namespace {

// A DSS-7 weekly block has 521 slots; HEC reads a DSS-6 weekly block through that window.
constexpr int64_t kWeeklyWindow = 521;
constexpr int64_t kSecondsPerMinute = 60;
constexpr int32_t kWeekMinutes = 10080;
constexpr int32_t kYearMinutes = 366 * 1440;

using Words = std::span<const int32_t>;

Words Area(const container::RecordAreas& r, dss7::Area a) {
  return r.areas[static_cast<size_t>(a)];
}

std::string Field(Words words, size_t at, size_t n_words, size_t buffer) {
  if (at + n_words > words.size()) return HecFieldText({}, buffer);
  return HecFieldText(LoadChars(words.subspan(at, n_words), 4 * n_words), buffer);
}

float FloatOf(int32_t w) {
  float f;
  std::memcpy(&f, &w, sizeof f);
  return f;
}

double DoubleOf(int32_t low, int32_t high) {
  const uint64_t bits = static_cast<uint64_t>(static_cast<uint32_t>(low)) |
                        (static_cast<uint64_t>(static_cast<uint32_t>(high)) << 32);
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}

bool IsMissing6(double v) {
  return v == kMissing || v == kNotInFile;
}

int32_t MonthJulian(int64_t year, int64_t month, int64_t day) {
  int32_t j = 0;
  return YmdToJulian(year, month, day, &j) ? j : 0;
}

int64_t FloorDiv(int64_t a, int64_t b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}

bool IsLeap(int64_t y) {
  return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

// D and E parts of a stored block path.
bool BlockOf(std::string_view path, const Interval6** iv, int32_t* start) {
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(path, &parts)) return false;
  *iv = FindRegular(parts[4]);
  return *iv != nullptr && ParseBlockDate(parts[3], start);
}

}  // namespace

std::string HecFieldText(std::string_view field, size_t buffer) {
  const std::string_view trimmed = TrimTrailingBlanks(field.substr(0, buffer));
  if (trimmed.empty()) return std::string(buffer - 1, ' ');
  std::string out(trimmed);
  const size_t nul = out.find('\0');
  if (nul != std::string::npos) out.resize(nul);
  return out;
}

int64_t StandardMinutes(const Interval6& iv, int32_t block_start, int64_t k) {
  const CivilDate d = JulianToYmd(block_start);
  switch (iv.step) {
    case Step::kFixed: {
      // Weekly blocks count from the Sunday on or before the block start (julian 0 mod 7).
      int64_t base = block_start;
      if (iv.minutes == kWeekMinutes) base = FloorDiv(block_start, 7) * 7;
      return base * 1440 + (k + 1) * iv.minutes;
    }
    case Step::kMonth:
      return int64_t{MonthJulian(d.year, d.month + k + 1, 1)} * 1440;
    case Step::kSemiMonth: {
      const int64_t month = FloorDiv(k, 2);
      if (k - 2 * month == 0)
        return int64_t{MonthJulian(d.year, d.month + month, 15)} * 1440 + 1440;
      return int64_t{MonthJulian(d.year, d.month + month + 1, 1)} * 1440;
    }
    case Step::kTriMonth: {
      const int64_t month = FloorDiv(k, 3);
      const int64_t third = k - 3 * month;
      if (third < 2) {
        return int64_t{MonthJulian(d.year, d.month + month, 10 * (third + 1))} * 1440 + 1440;
      }
      return int64_t{MonthJulian(d.year, d.month + month + 1, 1)} * 1440;
    }
    case Step::kYear:
      return int64_t{MonthJulian(d.year + k + 1, 1, 1)} * 1440;
  }
  return 0;
}

int64_t ReportedMinutes(const Interval6& iv, int32_t block_start, int64_t k, int32_t offset) {
  // HEC's C library reports values at their standard times when the offset is not positive.
  if (offset <= 0) return StandardMinutes(iv, block_start, k);
  int64_t t = StandardMinutes(iv, block_start, k - 1) + offset;
  if (iv.step == Step::kYear) {
    const CivilDate d = JulianToYmd(static_cast<int32_t>(FloorDiv(t, 1440)));
    if (IsLeap(d.year) && d.month > 2) t += 1440;
  }
  return t;
}

Status DecodeRegularSlots(const container::RecordAreas& r, std::vector<double>* values,
                          std::vector<int32_t>* flags) {
  const int32_t type = r.info.type;
  if (type != type::kRegularFloat && type != type::kRegularDouble) return Status::kTypeMismatch;
  const Words data = Area(r, dss7::kValues1);
  const bool doubles = type == type::kRegularDouble;
  const bool quality = r.info.quality;
  const int64_t n = r.info.logical_count;
  if (n <= 0 || n > kMaxValuesPerBlock) return Status::kDamaged;
  const auto count = static_cast<size_t>(n);
  values->assign(count, 0.0);
  flags->clear();
  if (r.info.compression > 0) {
    if (doubles || quality) return Status::kDamaged;
    std::vector<float> floats(count);
    const Status s = Decompress(Area(r, dss7::kHeader2), data, floats);
    if (s != Status::kOk) return s;
    std::copy(floats.begin(), floats.end(), values->begin());
    return Status::kOk;
  }
  const size_t per_value = (doubles ? 2 : 1) + (quality ? 1 : 0);
  if (data.size() < count * per_value) return Status::kDamaged;
  if (quality) flags->resize(count);
  for (size_t i = 0; i < count; ++i) {
    if (doubles) {
      (*values)[i] = DoubleOf(data[2 * i], data[2 * i + 1]);
      if (quality) (*flags)[i] = data[2 * count + i];  // doubles, then the flags
    } else if (quality) {
      (*values)[i] = FloatOf(data[2 * i]);  // (value, flag) pairs
      (*flags)[i] = data[2 * i + 1];
    } else {
      (*values)[i] = FloatOf(data[i]);
    }
  }
  return Status::kOk;
}

Status RegularHeaderFields(const container::RecordAreas& r, series::SeriesRead* out) {
  const Words ih = Area(r, dss7::kInternalHeader);
  if (ih.size() < static_cast<size_t>(regular_header::kMinWords)) return Status::kDamaged;
  out->record_type = r.info.type;
  out->doubles = r.info.type == type::kRegularDouble;
  const int32_t offset = ih[regular_header::kOffsetMinutes];
  // An offset lies within one interval, a year at most; more is damage, not seconds to count.
  if (offset > kYearMinutes) return Status::kDamaged;
  out->offset_seconds = offset > 0 ? offset * static_cast<int32_t>(kSecondsPerMinute) : 0;
  out->units = Field(ih, regular_header::kUnits, 2, kSeriesTextBuffer);
  out->type = Field(ih, regular_header::kType, 2, kSeriesTextBuffer);
  if (ih.size() >= static_cast<size_t>(regular_header::kWords)) {
    out->time_zone =
        std::string(TrimTrailingBlanks(LoadChars(ih.subspan(regular_header::kZoneName, 6), 24)));
  }
  out->precision = r.info.precision;
  out->user_header.assign(Area(r, dss7::kUserHeader).begin(), Area(r, dss7::kUserHeader).end());
  return Status::kOk;
}

Status DecodeRegular(const container::RecordAreas& r, series::SeriesRead* out) {
  const int32_t type = r.info.type;
  if (type != type::kRegularFloat && type != type::kRegularDouble) return Status::kTypeMismatch;
  const Words ih = Area(r, dss7::kInternalHeader);
  if (ih.size() < static_cast<size_t>(regular_header::kMinWords)) return Status::kDamaged;
  const Interval6* iv = nullptr;
  int32_t block = 0;
  if (!BlockOf(r.info.path, &iv, &block)) return Status::kDamaged;
  std::vector<double> values;
  std::vector<int32_t> flags;
  const Status s = DecodeRegularSlots(r, &values, &flags);
  if (s != Status::kOk) return s;
  const size_t count = values.size();
  const size_t window =
      iv->minutes == kWeekMinutes ? std::min<size_t>(count, kWeeklyWindow) : count;
  values.resize(window);
  if (!flags.empty()) flags.resize(window);
  if (std::all_of(values.begin(), values.end(), IsMissing6)) return Status::kNotFound;

  series::SeriesRead read;
  if (const Status h = RegularHeaderFields(r, &read); h != Status::kOk) return h;
  const int32_t offset = ih[regular_header::kOffsetMinutes];
  read.times.resize(window);
  for (size_t k = 0; k < window; ++k) {
    read.times[k] =
        ReportedMinutes(*iv, block, static_cast<int64_t>(k), offset) * kSecondsPerMinute;
  }
  read.values = std::move(values);
  if (!flags.empty()) {
    read.quality_size = 1;
    read.quality = std::move(flags);
  }
  read.blocks_found = 1;
  *out = std::move(read);
  return Status::kOk;
}

Status DecodeIrregular(const container::RecordAreas& r, series::SeriesRead* out) {
  const int32_t type = r.info.type;
  if (type != type::kIrregularFloat && type != type::kIrregularDouble) {
    return Status::kTypeMismatch;
  }
  const Words ih = Area(r, dss7::kInternalHeader);
  const Words data = Area(r, dss7::kValues1);
  if (ih.size() < static_cast<size_t>(irregular_header::kMinWords)) return Status::kDamaged;
  const bool doubles = type == type::kIrregularDouble;
  const bool quality = r.info.quality;
  const size_t step = 2 + (doubles ? 1 : 0) + (quality ? 1 : 0);
  const int64_t n = ih[irregular_header::kCount];
  if (n < 0 || static_cast<uint64_t>(n) > data.size() / step) return Status::kDamaged;
  const auto count = static_cast<size_t>(n);
  const int64_t base = ih[irregular_header::kBlockJulian];

  series::SeriesRead read;
  read.record_type = type;
  read.doubles = doubles;
  read.units = Field(ih, irregular_header::kUnits, 2, kSeriesTextBuffer);
  read.type = Field(ih, irregular_header::kType, 2, kSeriesTextBuffer);
  read.precision = r.info.precision;
  read.times.resize(count);
  read.values.resize(count);
  if (quality) {
    read.quality_size = 1;
    read.quality.resize(count);
  }
  for (size_t i = 0; i < count; ++i) {
    const auto pair = data.subspan(i * step, step);
    read.times[i] = (base * 1440 + pair[0]) * kSecondsPerMinute;
    read.values[i] = doubles ? DoubleOf(pair[1], pair[2]) : FloatOf(pair[1]);
    if (quality) read.quality[i] = pair[step - 1];
  }
  read.user_header.assign(Area(r, dss7::kUserHeader).begin(), Area(r, dss7::kUserHeader).end());
  read.blocks_found = 1;
  *out = std::move(read);
  return Status::kOk;
}

Status DecodePaired(const container::RecordAreas& r, paired::PairedData* out) {
  const int32_t type = r.info.type;
  if (type != type::kPairedFloat && type != type::kPairedDouble) return Status::kTypeMismatch;
  namespace ph = paired_header;
  const Words ih = Area(r, dss7::kInternalHeader);
  const Words data = Area(r, dss7::kValues1);
  if (ih.size() < static_cast<size_t>(ph::kFixedWords)) return Status::kDamaged;
  const int64_t rows = ih[ph::kOrdinates];
  const int64_t curves = ih[ph::kCurves];
  if (rows < 0 || curves < 0 || curves > ph::kMaxCurves) return Status::kDamaged;
  const bool doubles = type == type::kPairedDouble;
  const uint64_t words_needed =
      static_cast<uint64_t>(rows) * static_cast<uint64_t>(curves + 1) * (doubles ? 2u : 1u);
  if (words_needed > data.size()) return Status::kDamaged;

  paired::PairedData pd;
  pd.doubles = doubles;
  pd.curve_count = static_cast<int32_t>(curves);
  pd.axis_flag = ih[ph::kAxisFlag];
  std::string* const texts[] = {&pd.units_independent, &pd.type_independent, &pd.units_dependent,
                                &pd.type_dependent};
  for (size_t f = 0; f < 4; ++f) {
    const std::string raw = LoadChars(ih.subspan(ph::kUnitsIndependent + 2 * f, 2), kFieldChars);
    if (raw.find('\0') != std::string::npos) return Status::kNotFound;
    *texts[f] = HecFieldText(raw, kPairedTextBuffer);
  }
  const auto value = [&](size_t i) {
    return doubles ? DoubleOf(data[2 * i], data[2 * i + 1]) : static_cast<double>(FloatOf(data[i]));
  };
  const auto n = static_cast<size_t>(rows);
  pd.ordinates.resize(n);
  for (size_t i = 0; i < n; ++i)
    pd.ordinates[i] = value(i);
  pd.values.resize(n * static_cast<size_t>(curves));
  for (size_t i = 0; i < pd.values.size(); ++i)
    pd.values[i] = value(n + i);

  // Labels: long labels when the header says so and holds them, else the 12-character ones
  // that lie inside the header.
  const auto m = static_cast<size_t>(curves);
  const size_t long_at = ph::kLabels + ph::kLabelWords * m;
  std::vector<std::string> labels(m);
  if (ih.size() > long_at && ih[long_at] > 0 &&
      ih.size() >= long_at + 1 + static_cast<size_t>(ih[long_at])) {
    const auto w = static_cast<size_t>(ih[long_at]);
    for (size_t k = 0; k < m; ++k) {
      const size_t at = long_at + 1 + k * w;
      if (at + w <= ih.size()) labels[k] = LoadChars(ih.subspan(at, w), 4 * w);
    }
  } else {
    for (size_t k = 0; k < m; ++k) {
      const size_t at = ph::kLabels + ph::kLabelWords * k;
      if (at + ph::kLabelWords <= ih.size()) {
        labels[k] = LoadChars(ih.subspan(at, ph::kLabelWords), ph::kLabelChars);
      }
    }
  }
  const bool any = std::any_of(labels.begin(), labels.end(), [](const std::string& l) {
    const std::string_view head = std::string_view(l).substr(0, ph::kLabelTestChars);
    return head.find_first_not_of(std::string_view(" \0", 2)) != std::string_view::npos;
  });
  if (any) {
    for (auto& l : labels) {
      const size_t nul = l.find('\0');
      if (nul != std::string::npos) l.resize(nul);
      l = std::string(TrimTrailingBlanks(l));
    }
    pd.labels = std::move(labels);
  }
  pd.user_header.assign(Area(r, dss7::kUserHeader).begin(), Area(r, dss7::kUserHeader).end());
  *out = std::move(pd);
  return Status::kOk;
}

Status DecodeText(const container::RecordAreas& r, paired::TextData* out) {
  if (r.info.type != type::kText) return Status::kTypeMismatch;
  const Words ih = Area(r, dss7::kInternalHeader);
  const Words data = Area(r, dss7::kValues1);
  if (ih.empty()) return Status::kDamaged;
  const int64_t n = ih[text_header::kByteCount];
  if (n < 0 || static_cast<uint64_t>(n) > 4 * data.size()) return Status::kDamaged;
  paired::TextData t;
  t.text = LoadChars(data, static_cast<size_t>(n));
  t.user_header.assign(Area(r, dss7::kUserHeader).begin(), Area(r, dss7::kUserHeader).end());
  *out = std::move(t);
  return Status::kOk;
}

}  // namespace varnock::engine::dss6
