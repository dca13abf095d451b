// Location records (type 20): the coordinates, datums and time zone HEC keeps for the data of
// one A and B part, at "/A/B/Location Info////", decoded from their int32 areas.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_LOCATION_CODEC_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_LOCATION_CODEC_H_

#include <cstdint>
#include <string>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::paired {

struct LocationData {
  double x = 0;
  double y = 0;
  double z = 0;
  // HEC's codes, as stored (for example coordinate system 1 and horizontal units 3 are
  // latitude and longitude).
  int32_t coordinate_system = 0;
  int32_t coordinate_id = 0;
  int32_t horizontal_units = 0;
  int32_t horizontal_datum = 0;
  int32_t vertical_units = 0;
  int32_t vertical_datum = 0;
  std::string time_zone;     // empty when none is stored
  std::string supplemental;  // free text, up to its first NUL
};

// kOk; kTypeMismatch for records other than type 20; kDamaged when values1 is shorter than the
// coordinates and codes.
dss7::Status DecodeLocation(const dss7::Record& record, LocationData* out);

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_LOCATION_CODEC_H_
