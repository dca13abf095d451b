// Wrappers of the paired-data routines.
#include "frame/engine_table.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {
constexpr int32_t kTrue = 1;
constexpr int32_t kFalse = 0;
}  // namespace

int32_t hecZrpd(FileTable& ifltab, const std::string& pathname, PairedDataHeader& header,
                float* values, int32_t capacity, int32_t& nvals, std::string& labels,
                int32_t label_length, int32_t label_capacity, bool& has_labels) {
  const auto& engine = frame::Engine();
  std::string path = FitField(pathname, kPathnameWidth);
  header.units1.assign(kUnitsWidth, ' ');
  header.type1.assign(kTypeWidth, ' ');
  header.units2.assign(kUnitsWidth, ' ');
  header.type2.assign(kTypeWidth, ' ');
  labels.assign(static_cast<size_t>(label_length) * static_cast<size_t>(label_capacity), ' ');
  int32_t labelled = kFalse;
  int32_t no_header = 0;
  int32_t header_count = 0;
  int32_t status = 0;
  engine.zrpd(ifltab.data(), path.data(), kPathnameWidth, &header.nord, &header.ncurve,
              &header.ihoriz, header.units1.data(), kUnitsWidth, header.type1.data(), kTypeWidth,
              header.units2.data(), kUnitsWidth, header.type2.data(), kTypeWidth, values, &capacity,
              &nvals, labels.data(), label_length, &label_capacity, &labelled, &no_header,
              &no_header, &header_count, &status);
  has_labels = labelled != kFalse;
  return status;
}

int32_t hecZspd(FileTable& ifltab, const std::string& pathname, const PairedDataHeader& header,
                const float* values, const std::string& labels, int32_t label_length,
                bool has_labels, int32_t plan) {
  const auto& engine = frame::Engine();
  std::string path = FitField(pathname, kPathnameWidth);
  const std::string units1 = FitField(header.units1, kUnitsWidth);
  const std::string type1 = FitField(header.type1, kTypeWidth);
  const std::string units2 = FitField(header.units2, kUnitsWidth);
  const std::string type2 = FitField(header.type2, kTypeWidth);
  const int32_t labelled = has_labels ? kTrue : kFalse;
  const int32_t no_header = 0;
  int32_t status = 0;
  engine.zspd(ifltab.data(), path.data(), kPathnameWidth, &header.nord, &header.ncurve,
              &header.ihoriz, units1.data(), kUnitsWidth, type1.data(), kTypeWidth, units2.data(),
              kUnitsWidth, type2.data(), kTypeWidth, values, labels.data(), label_length, &labelled,
              &no_header, &no_header, &plan, &status);
  return status;
}

}  // namespace varnock
