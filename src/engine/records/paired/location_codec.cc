#include "engine/records/paired/location_codec.h"

#include <span>

#include "engine/dss7/layout.h"
#include "engine/records/paired/area_bytes.h"
#include "engine/records/paired/encoded_record.h"
#include "engine/records/paired/record_layout.h"

namespace varnock::engine::paired {

using dss7::Status;
namespace lv = location_values;

namespace {

std::string UpToNul(std::span<const int32_t> ints) {
  const std::string bytes = AreaBytes(ints, 4 * ints.size());
  return bytes.substr(0, bytes.find('\0'));
}

}  // namespace

Status DecodeLocation(const dss7::Record& record, LocationData* out) {
  return NoThrow([&]() -> Status {
    if (record.info.type != dss7::kLocationType) return Status::kTypeMismatch;
    const std::span<const int32_t> values = record.areas[dss7::kValues1];
    if (values.size() < static_cast<size_t>(lv::kTimeZone)) return Status::kDamaged;
    LocationData d;
    d.x = DoubleAt(values, lv::kCoordinates / 2);
    d.y = DoubleAt(values, lv::kCoordinates / 2 + 1);
    d.z = DoubleAt(values, lv::kCoordinates / 2 + 2);
    d.coordinate_system = values[lv::kCoordinateSystem];
    d.coordinate_id = values[lv::kCoordinateId];
    d.horizontal_units = values[lv::kHorizontalUnits];
    d.horizontal_datum = values[lv::kHorizontalDatum];
    d.vertical_units = values[lv::kVerticalUnits];
    d.vertical_datum = values[lv::kVerticalDatum];
    d.time_zone = UpToNul(values.subspan(lv::kTimeZone));
    d.supplemental = UpToNul(record.areas[dss7::kValues2]);
    *out = std::move(d);
    return Status::kOk;
  });
}

}  // namespace varnock::engine::paired
