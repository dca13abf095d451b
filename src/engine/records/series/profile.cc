// Profile records: several depths per time step, one record per block, read whole.
#include "engine/records/series/series_internal.h"

namespace varnock::engine::series {

SeriesStatus ReadProfile(dss7::DssFile& file, std::string_view path, ProfileRead* out) {
  *out = ProfileRead();
  SeriesPath sp;
  int32_t block = 0;
  SeriesStatus s = internal::BlockOfDPart(path, false, &sp, &block);
  if (s == SeriesCode::kBadInterval) s = internal::BlockOfDPart(path, true, &sp, &block);
  if (!s.ok()) return s;
  const Interval* interval = sp.interval;
  const bool irregular = interval->irregular;

  dss7::Record record;
  const dss7::Status read = file.ReadRecord(sp.BlockPath(block), &record);
  if (read == dss7::Status::kNotFound) return internal::Fail(SeriesCode::kNotFound);
  if (!dss7::Ok(read)) return internal::FileFail(read);
  SeriesBlock b;
  switch (DecodeSeries(record, irregular, file.version().full, &b, true)) {
    case DecodeResult::kOk:
      break;
    case DecodeResult::kWrongType:
      return internal::Fail(SeriesCode::kWrongType);
    case DecodeResult::kDamaged:
      return internal::Fail(SeriesCode::kDamaged);
  }
  const int32_t element = b.record_type % 10 >= 5 ? 2 : 1;
  const size_t depth_count = b.depths.size() / static_cast<size_t>(element);
  if (!irregular && b.last_position >= ValuesPerBlock(*interval, block))
    return internal::Fail(SeriesCode::kDamaged);

  out->record_type = b.record_type;
  out->doubles = element == 2;
  out->depths.resize(depth_count);
  for (size_t k = 0; k < depth_count; ++k)
    out->depths[k] = ValueAt(b.depths, element, k);
  const auto steps = static_cast<size_t>(b.count);
  out->values.resize(steps * depth_count);
  for (size_t i = 0; i < out->values.size(); ++i)
    out->values[i] = ValueAt(b.values, element, i);
  out->times.resize(steps);
  if (irregular) {
    const Instant base = MakeInstant(block, 0);
    const int64_t unit = internal::StoredTimeUnit(*interval);
    for (size_t i = 0; i < steps; ++i)
      out->times[i] = base + int64_t{b.times[i]} * unit;
  } else {
    Instant standard =
        StepStandard(*interval, FirstStandardTime(*interval, block), b.first_position);
    for (size_t i = 0; i < steps; ++i) {
      out->times[i] = ReportedTime(*interval, standard, b.offset);
      standard = StepStandard(*interval, standard, 1);
    }
    out->offset_seconds = b.offset;
  }
  out->quality_size = b.quality_size;
  out->quality = std::move(b.quality);
  out->depth_units = std::move(b.depth_units);
  out->units = std::move(b.units);
  out->type = std::move(b.type);
  out->time_zone = std::move(b.zone);
  out->precision = b.precision;
  out->user_header = std::move(b.user_header);
  return {};
}

}  // namespace varnock::engine::series
