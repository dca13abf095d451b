#include "engine/records/paired/paired_codec.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "engine/dss7/layout.h"
#include "engine/records/paired/area_bytes.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;

int ValueInts(int32_t type) {
  return type >= kPairedDouble ? 2 : 1;
}

double ValueAt(std::span<const int32_t> ints, int size, size_t i) {
  return size == 2 ? DoubleAt(ints, i) : static_cast<double>(FloatAt(ints, i));
}

void AppendValue(double v, bool doubles, std::vector<int32_t>* out) {
  if (doubles) {
    AppendDouble(v, out);
  } else {
    AppendFloat(ToFloat(v), out);
  }
}

// The strings before the time zone: units and type of each axis.
constexpr size_t kUnitsAndTypes = 4;

// Words are whole on disk, and HEC sizes the label area in whole words.
size_t LabelAreaInts(size_t bytes) {
  return 2 * ((bytes + 7) / 8);
}

}  // namespace

Status DecodePaired(const dss7::Record& record, PairedData* out, int file_version) {
  return NoThrow([&]() -> Status {
    const int32_t type = record.info.type;
    if (!IsPairedType(type)) return Status::kTypeMismatch;
    const std::span<const int32_t> header = record.areas[dss7::kInternalHeader];
    const std::span<const int32_t> labels = record.areas[dss7::kHeader2];
    const std::span<const int32_t> ordinates = record.areas[dss7::kValues1];
    const std::span<const int32_t> curves = record.areas[dss7::kValues2];
    if (header.size() < static_cast<size_t>(pd_header::kMinInts)) return Status::kDamaged;
    const int64_t rows = header[pd_header::kOrdinates];
    const int64_t curve_count = header[pd_header::kCurves];
    const int64_t label_bytes = header[pd_header::kLabelBytes];
    const int size = ValueInts(type);
    // Counts come from the file: check them against the areas before sizing anything.
    if (rows < 0 || curve_count < 0 || label_bytes < 0) return Status::kDamaged;
    if (rows * size > static_cast<int64_t>(ordinates.size())) return Status::kDamaged;
    if (rows > 0 && curve_count > static_cast<int64_t>(curves.size()) / (rows * size)) {
      return Status::kDamaged;
    }
    if (label_bytes > 4 * static_cast<int64_t>(labels.size())) return Status::kDamaged;
    // Without rows the values area does not bound the curves; each curve then needs at least
    // the NUL of its label.
    if (rows == 0 && curve_count > std::max<int64_t>(label_bytes, 1)) return Status::kDamaged;

    PairedData d;
    d.doubles = size == 2;
    d.curve_count = static_cast<int32_t>(curve_count);
    d.axis_flag = header[pd_header::kAxisFlag];
    d.precision = header[pd_header::kPrecision];
    d.ordinates.reserve(static_cast<size_t>(rows));
    for (size_t i = 0; i < static_cast<size_t>(rows); ++i)
      d.ordinates.push_back(ValueAt(ordinates, size, i));
    const size_t count = static_cast<size_t>(rows * curve_count);
    d.values.reserve(count);
    for (size_t i = 0; i < count; ++i)
      d.values.push_back(ValueAt(curves, size, i));
    if (header.size() > static_cast<size_t>(pd_header::kFiller)) {
      const int32_t filler = header[pd_header::kFiller];
      const size_t first =
          (filler == 0 || filler == kBlankInt) ? pd_header::kStrings : pd_header::kFiller;
      const std::string bytes =
          AreaBytes(header.subspan(std::min(first, header.size())), pd_header::kMaxStringBytes);
      std::vector<std::string> s = UnpackStrings(bytes, pd_header::kStringCount);
      if (file_version < kFirstVersionWithoutBlankPrefix) {
        for (size_t i = 0; i < kUnitsAndTypes; ++i)
          s[i] = std::string(TrimBlanks(s[i]));
      }
      d.units_independent = std::move(s[0]);
      d.type_independent = std::move(s[1]);
      d.units_dependent = std::move(s[2]);
      d.type_dependent = std::move(s[3]);
      d.time_zone = std::move(s[4]);
    }
    if (label_bytes > 0 && curve_count > 0) {
      d.labels = SplitStrings(AreaBytes(labels, static_cast<size_t>(label_bytes)),
                              static_cast<size_t>(curve_count));
    }
    d.user_header.assign(record.areas[dss7::kUserHeader].begin(),
                         record.areas[dss7::kUserHeader].end());
    *out = std::move(d);
    return Status::kOk;
  });
}

Status EncodePaired(const PairedData& data, EncodedRecord* out) {
  return NoThrow([&]() -> Status {
    const int64_t rows = static_cast<int64_t>(data.rows());
    const int64_t curve_count = data.curve_count;
    const int size = data.doubles ? 2 : 1;
    if (rows < 1 || curve_count < 1) return Status::kInvalidArgument;
    if (curve_count > dss7::kMaxAreaInt32 / (rows * size)) return Status::kInvalidArgument;
    if (static_cast<int64_t>(data.values.size()) != rows * curve_count) {
      return Status::kInvalidArgument;
    }
    if (data.has_labels() && static_cast<int64_t>(data.labels.size()) != curve_count) {
      return Status::kInvalidArgument;
    }
    const std::array<std::string_view, pd_header::kStringCount> strings = {
        data.units_independent, data.type_independent, data.units_dependent, data.type_dependent,
        data.time_zone};
    const std::string packed = PackStrings(strings);
    const std::string label_bytes = data.has_labels() ? JoinStrings(data.labels) : std::string();
    if (packed.size() > pd_header::kMaxStringBytes ||
        static_cast<int64_t>(label_bytes.size()) > 4 * dss7::kMaxAreaInt32 ||
        static_cast<int64_t>(data.user_header.size()) > dss7::kMaxAreaInt32) {
      return Status::kInvalidArgument;
    }

    EncodedRecord r;
    r.type = data.record_type();
    auto& header = r.areas[dss7::kInternalHeader];
    header.assign(pd_header::kStrings, 0);
    header[pd_header::kOrdinates] = static_cast<int32_t>(rows);
    header[pd_header::kCurves] = data.curve_count;
    header[pd_header::kAxisFlag] = data.axis_flag;
    header[pd_header::kLabelBytes] = static_cast<int32_t>(label_bytes.size());
    header[pd_header::kPrecision] = data.precision;
    header[pd_header::kFiller] = kBlankInt;
    const std::vector<int32_t> string_ints = IntsOfBytes(packed);
    header.insert(header.end(), string_ints.begin(), string_ints.end());
    if (!label_bytes.empty()) {
      r.areas[dss7::kHeader2] = IntsOfBytes(label_bytes, LabelAreaInts(label_bytes.size()));
    }
    r.areas[dss7::kUserHeader] = data.user_header;
    auto& ordinates = r.areas[dss7::kValues1];
    ordinates.reserve(static_cast<size_t>(rows * size));
    for (double v : data.ordinates)
      AppendValue(v, data.doubles, &ordinates);
    auto& curves = r.areas[dss7::kValues2];
    curves.reserve(static_cast<size_t>(rows * curve_count * size));
    for (double v : data.values)
      AppendValue(v, data.doubles, &curves);
    r.data_count = (curve_count + 1) * rows;
    *out = std::move(r);
    return Status::kOk;
  });
}

}  // namespace varnock::engine::paired
