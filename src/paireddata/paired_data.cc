#include "varnock/paired_data.h"

#include "series/series_common.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/variant.h"

namespace varnock {

namespace {

constexpr const char* kSource = "PairedData";
constexpr float kNotSized = -902.0f;

AutomationError ArgumentError(const std::string& description) {
  return AutomationError(kObjectErrorBase + 5, kSource, description);
}

size_t AxisIndex(PDAxes axis) {
  if (axis != axFirstAxis && axis != axSecondAxis) {
    throw ArgumentError("Axis " + std::to_string(axis) +
                        " is neither axFirstAxis (1) nor axSecondAxis (2)");
  }
  return axis == axFirstAxis ? 0 : 1;
}

}  // namespace

PairedData::PairedData()
    : values_(1, 0.0f), labels_(1), pathname_(std::make_shared<varnock::Pathname>()) {}

void PairedData::SetNcurveNord(int16_t NewNcurve, int16_t NewNord) {
  // The size is computed in 16-bit arithmetic: a record holds at most 32767 values.
  const int32_t size = (static_cast<int32_t>(NewNcurve) + 1) * NewNord;
  if (size > INT16_MAX || size < INT16_MIN) RaiseHostError(hostOverflow);
  if (size < 0 || NewNcurve < 0) RaiseHostError(hostSubscriptOutOfRange);
  ncurve_ = NewNcurve;
  nord_ = NewNord;
  values_.assign(static_cast<size_t>(size), 0.0f);
  labels_.assign(static_cast<size_t>(NewNcurve), std::string());
}

std::string PairedData::Units(PDAxes Axis) const {
  return units_[AxisIndex(Axis)];
}
void PairedData::Units(PDAxes Axis, const std::string& value) {
  units_[AxisIndex(Axis)] = value;
}
std::string PairedData::PdType(PDAxes Axis) const {
  return types_[AxisIndex(Axis)];
}
void PairedData::PdType(PDAxes Axis, const std::string& value) {
  types_[AxisIndex(Axis)] = value;
}

std::string PairedData::LABEL(int32_t CurveNo) const {
  if (CurveNo < 0 || static_cast<size_t>(CurveNo) >= labels_.size())
    RaiseHostError(hostSubscriptOutOfRange);
  return labels_[static_cast<size_t>(CurveNo)];
}

void PairedData::LABEL(int32_t CurveNo, const std::string& value) {
  if (CurveNo < 0 || static_cast<size_t>(CurveNo) >= labels_.size())
    RaiseHostError(hostSubscriptOutOfRange);
  labels_[static_cast<size_t>(CurveNo)] = value;
}

size_t PairedData::ValueIndex(int64_t index) const {
  if (index < INT32_MIN || index > INT32_MAX) RaiseHostError(hostOverflow);
  if (index < 0 || static_cast<size_t>(index) >= values_.size())
    RaiseHostError(hostSubscriptOutOfRange);
  return static_cast<size_t>(index);
}

float PairedData::XValue(int32_t OrdNo) const {
  if (nord_ == 0 || ncurve_ == 0) return kNotSized;
  // Deliberately greater-than: OrdNo == Nord reads the first ordinate of curve 1.
  if (OrdNo > nord_) {
    throw ArgumentError("Ordinate " + std::to_string(OrdNo) + " is beyond Nord (" +
                        std::to_string(nord_) + ")");
  }
  return values_[ValueIndex(OrdNo)];
}

void PairedData::XValue(int32_t OrdNo, float value) {
  values_[ValueIndex(OrdNo)] = value;
}

float PairedData::YValue(int32_t CurveNo, int32_t OrdNo) const {
  if (nord_ == 0 || ncurve_ == 0) return kNotSized;
  return values_[ValueIndex((static_cast<int64_t>(CurveNo) + 1) * nord_ + OrdNo)];
}

void PairedData::YValue(int32_t CurveNo, int32_t OrdNo, float value) {
  values_[ValueIndex((static_cast<int64_t>(CurveNo) + 1) * nord_ + OrdNo)] = value;
}

std::string PairedData::AsXmlString() const {
  std::string xml = "<pd typeAbs=\"" + types_[0] + "\" typeOrd=\"" + types_[1] + "\" unitsAbs=\"" +
                    units_[0] + "\" unitsOrd=\"" + units_[1] + "\">";
  for (int32_t i = 0; i < nord_; ++i) {
    xml += "<abs value=\"" + SingleToText(values_[ValueIndex(i)]) + "\">";
    for (int32_t j = 1; j <= ncurve_; ++j) {
      xml += "<ord>" + SingleToText(values_[ValueIndex(static_cast<int64_t>(nord_) * j + i)]) +
             "</ord>";
    }
    xml += "</abs>";
  }
  return xml + "</pd>";
}

void PairedData::Store(const std::shared_ptr<DSSDatabase>& pDB) {
  series::RequireDatabase(pDB).WritePairedGateway(*pathname_, *this, plan_);
}

void PairedData::Retrieve(const std::shared_ptr<DSSDatabase>& pDB) {
  series::RequireDatabase(pDB).ReadPairedGateway(*pathname_, *this);
}

void PairedData::Plan(DSSPlans value) {
  if (value != plnAlwaysWrite && value != plnDontReplaceExisting &&
      value != plnWriteOnlyIfExisting) {
    throw ArgumentError("Plan " + std::to_string(value) + " is not allowed for paired data");
  }
  plan_ = value;
}

void PairedData::MissingIsError(bool) {
  throw series::NotSupported(kSource, "MissingIsError");
}

bool PairedData::RecordExists(const std::shared_ptr<DSSDatabase>& pDB) {
  return series::RequireDatabase(pDB).RecordExistsGateway(*pathname_);
}

std::string PairedData::RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) {
  return series::RequireDatabase(pDB).RecordTypeGateway(*pathname_);
}

void PairedData::LoadFromRecord(int16_t ncurve, int16_t nord, std::vector<float> values,
                                std::vector<std::string> labels) {
  ncurve_ = ncurve;
  nord_ = nord;
  values_ = std::move(values);
  if (values_.empty()) values_.assign(1, 0.0f);
  labels_ = std::move(labels);
  if (labels_.empty()) labels_.assign(1, std::string());
}

}  // namespace varnock
