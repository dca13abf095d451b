// The paired-data gateways of DSSDatabase.
#include <algorithm>

#include "database/errors.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/paired_data.h"

namespace varnock {

namespace {

constexpr int32_t kLabelWidth = 12;
constexpr int32_t kLabelBufferLabels = 50;  // a 600-character buffer
constexpr int32_t kPairedBufferSizes[] = {100, 2000, 20000, 50000};

std::string PairedStatusText(int32_t status, int32_t buffer_size) {
  switch (status) {
    case -1:
      return "Record does not exist";
    case 1:
      return "Insufficient array size: " + std::to_string(buffer_size);
    case 20:
      return "Record is not paired data";
    default:
      return "Error number " + std::to_string(status) + " occurred!";
  }
}

}  // namespace

void DSSDatabase::WritePairedGateway(const varnock::Pathname& pathname, const PairedData& data,
                                     int32_t plan) {
  RequireConnection();
  PairedDataHeader header;
  header.nord = data.Nord();
  header.ncurve = data.Ncurve();
  header.ihoriz = data.Horizontal();
  header.units1 = data.Units(axFirstAxis);
  header.type1 = data.PdType(axFirstAxis);
  header.units2 = data.Units(axSecondAxis);
  header.type2 = data.PdType(axSecondAxis);
  // Labels go as elements of 12 x (upper bound of the label array) characters; each element
  // holds one 12-character label, blank-padded, so HECLIB's element rule reads them right.
  const std::vector<std::string>& labels = data.LabelArray();
  const int32_t upper_bound = static_cast<int32_t>(labels.size()) - 1;
  const bool has_labels = upper_bound >= 1;
  const int32_t element = has_labels ? kLabelWidth * upper_bound : kLabelWidth;
  const int32_t elements = has_labels ? std::max<int32_t>(header.ncurve, upper_bound + 1) : 1;
  std::string buffer(static_cast<size_t>(element) * static_cast<size_t>(elements), ' ');
  if (has_labels) {
    const size_t copied = std::min(labels.size(), static_cast<size_t>(elements));
    for (size_t i = 0; i < copied; ++i)
      buffer.replace(i * static_cast<size_t>(element), kLabelWidth,
                     FitField(labels[i], kLabelWidth));
  }
  const std::vector<float>& values = data.ValueArray();
  istat_ = 0;
  istat_ =
      hecZspd(ifltab_, pathname.Name(), header, values.data(), buffer, element, has_labels, plan);
}

void DSSDatabase::ReadPairedGateway(const varnock::Pathname& pathname, PairedData& data) {
  RequireConnection();
  PairedDataHeader header;
  std::vector<float> values;
  std::string labels;
  bool has_labels = false;
  int32_t count = 0;
  int32_t size = 0;
  for (const int32_t buffer_size : kPairedBufferSizes) {
    size = buffer_size;
    values.assign(static_cast<size_t>(size) + 1, 0.0f);
    count = 0;
    istat_ = 0;
    istat_ = hecZrpd(ifltab_, pathname.Name(), header, values.data(), size + 1, count, labels,
                     kLabelWidth, kLabelBufferLabels, has_labels);
    if (istat_ != 1) break;
  }
  const std::string units[2] = {TrimTrailingBlanks(header.units1),
                                TrimTrailingBlanks(header.units2)};
  const std::string types[2] = {TrimTrailingBlanks(header.type1), TrimTrailingBlanks(header.type2)};
  std::vector<std::string> curve_labels;
  if (has_labels && istat_ == 0) {
    const int32_t stored = std::clamp<int32_t>(header.ncurve, 0, kLabelBufferLabels);
    for (int32_t i = 0; i < stored; ++i)
      curve_labels.push_back(
          TrimTrailingBlanks(labels.substr(static_cast<size_t>(i) * kLabelWidth, kLabelWidth)));
  }
  if (istat_ != 0) {
    throw AutomationError(kObjectErrorBase + dssHeclibError, "DSSDatabase",
                          PairedStatusText(istat_, size), kHelpFile,
                          database::kHeclibErrorHelpContext);
  }
  data.PdType(axFirstAxis, types[0]);
  data.Units(axFirstAxis, units[0]);
  data.PdType(axSecondAxis, types[1]);
  data.Units(axSecondAxis, units[1]);
  const size_t delivered = static_cast<size_t>(std::clamp<int32_t>(count, 0, size + 1));
  values.resize(delivered);
  data.LoadFromRecord(static_cast<int16_t>(header.ncurve), static_cast<int16_t>(header.nord),
                      std::move(values), std::move(curve_labels));
  data.Horizontal(header.ihoriz == 1   ? axFirstAxis
                  : header.ihoriz == 2 ? axSecondAxis
                                       : axUndefined);
}

}  // namespace varnock
