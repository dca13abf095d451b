// Paired-data records (types 200 floats / 205 doubles): one set of ordinates (the independent
// variable) shared by one or more curves, with units, types, optional curve labels and the
// axis flag, decoded from and encoded to the record's int32 areas as HEC's DSS-7 library lays
// them out.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_PAIRED_CODEC_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_PAIRED_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/records/paired/encoded_record.h"
#include "engine/records/paired/record_layout.h"

namespace varnock::engine::paired {

struct PairedData {
  bool doubles = false;           // stored as type 205 rather than 200
  std::vector<double> ordinates;  // one per row
  int32_t curve_count = 0;
  std::vector<double> values;     // curve-major: curve c, row r at c * rows() + r (0-based)
  std::string units_independent;  // strings are right-trimmed; empty = absent
  std::string type_independent;
  std::string units_dependent;
  std::string type_dependent;
  std::string time_zone;
  int32_t axis_flag = pd_header::kDefaultAxisFlag;  // as stored: 1 = independent horizontal
  int32_t precision = pd_header::kNoPrecision;
  std::vector<std::string> labels;  // none stored when empty, else one per curve
  std::vector<int32_t> user_header;

  int32_t record_type() const { return doubles ? kPairedDouble : kPairedFloat; }
  size_t rows() const { return ordinates.size(); }
  bool has_labels() const { return !labels.empty(); }
  double Value(size_t curve, size_t row) const { return values[curve * rows() + row]; }
};

// Files created by DSS-7 libraries up to 7-F (below "7-GA") hold paired-data units and types
// with a leading blank that HEC's reading strips.
inline constexpr int kFirstVersionWithoutBlankPrefix = 70701;

// kOk; kTypeMismatch when the record is not paired data (type outside 200..299); kDamaged
// when its counts do not fit its areas. Type 205 and up hold doubles. Float values are
// widened exactly. Older records (strings at int 5, unpadded; leading blanks in files older
// than `kFirstVersionWithoutBlankPrefix`) read as HEC reads them. `file_version` is the full
// version number of the file the record comes from.
dss7::Status DecodePaired(const dss7::Record& record, PairedData* out,
                          int file_version = kFirstVersionWithoutBlankPrefix);

// kOk, or kInvalidArgument when the data are inconsistent: no rows or curves, a values count
// other than rows * curves, labels neither none nor one per curve, an area above the file's
// limit, or more string bytes than HEC reads back. Float records round each value to float.
dss7::Status EncodePaired(const PairedData& data, EncodedRecord* out);

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_PAIRED_CODEC_H_
