#include "varnock/irregular_time_series.h"

#include "automation/host_memory.h"

#include "series/series_common.h"
#include "varnock/database.h"
#include "varnock/error.h"

namespace varnock {

namespace {

constexpr const char* kSource = "IrregTimeSeries";

AutomationError NotSetUp(const std::string& description, int32_t help_context) {
  return AutomationError(kObjectErrorBase + series::kNotSetUp, kSource, description, kHelpFile,
                         help_context);
}

constexpr const char* kMergeHint = "MergeOption takes the place of a store plan";

}  // namespace

IrregTimeSeries::IrregTimeSeries() {
  ClearData();
}

void IrregTimeSeries::ClearData() {
  values_.assign(1, 0.0f);
  dates_.assign(1, Date(0.0));
}

void IrregTimeSeries::TsUnits(const std::string& value) {
  units_ = series::UpperCase(value);
}
void IrregTimeSeries::TsType(const std::string& value) {
  type_ = series::UpperCase(value);
}

int32_t IrregTimeSeries::Flag(int32_t lngIndex) const {
  return flags_[series::Slot(lngIndex, flags_.size())];
}

void IrregTimeSeries::Flag(int32_t lngIndex, int32_t value) {
  flags_[series::Slot(lngIndex, flags_.size())] = value;
}

void IrregTimeSeries::ValueCount(int32_t count) {
  if (count < 1) {
    ClearData();
  } else {
    const uint64_t slots = static_cast<uint64_t>(count) + 1;
    AllocateForHost(slots, sizeof(float) + sizeof(Date) + sizeof(int32_t), [&] {
      // New arrays first, so that a failure leaves the series as it was.
      std::vector<float> values(slots, 0.0f);
      std::vector<Date> dates(slots, Date(0.0));
      std::vector<int32_t> flags(slots, 0);
      values_.swap(values);
      dates_.swap(dates);
      flags_.swap(flags);
    });
  }
  starting_.reset();
  ending_.reset();
}

Date IrregTimeSeries::DateTime(int32_t lngIndex) const {
  return dates_[series::Slot(lngIndex, dates_.size())];
}

void IrregTimeSeries::DateTime(int32_t lngIndex, Date value) {
  if (ValueCount() == 0) throw NotSetUp("ValueCount property not set", series::kCountHelpContext);
  dates_[series::Slot(lngIndex, dates_.size())] = value;
}

void IrregTimeSeries::Starting(Date value) {
  starting_ = value;
  ClearData();
}

void IrregTimeSeries::Ending(Date value) {
  ending_ = value;
  ClearData();
}

float IrregTimeSeries::Value(int32_t lngIndex) const {
  return values_[series::Slot(lngIndex, values_.size())];
}

void IrregTimeSeries::Value(int32_t lngIndex, float value) {
  if (ValueCount() == 0) throw NotSetUp("ValueCount property not set", series::kCountHelpContext);
  values_[series::Slot(lngIndex, values_.size())] = value;
}

std::shared_ptr<Object> IrregTimeSeries::ScriptQueryInterface(const std::string& InterfaceType) {
  switch (series::InterfaceOfName(InterfaceType)) {
    case series::InterfaceName::kTimeSeriesDirect:
    case series::InterfaceName::kHtslStream:
    case series::InterfaceName::kDssRecord:
      return shared_from_this();
    case series::InterfaceName::kRtsTransform:  // not an interface of this class
    case series::InterfaceName::kNone:
      break;
  }
  return nullptr;
}

std::shared_ptr<varnock::Pathname> IrregTimeSeries::Pathname() {
  if (!pathname_) pathname_ = std::make_shared<varnock::Pathname>();
  return pathname_;
}

void IrregTimeSeries::RequireNamedPathname() {
  if (Pathname()->IsBlank()) {
    throw AutomationError(kObjectErrorBase + dssBadPathname, kSource, "Pathname property not set",
                          kHelpFile, series::kBadPathnameHelpContext);
  }
}

void IrregTimeSeries::Store(const std::shared_ptr<DSSDatabase>& pDB) {
  RequireNamedPathname();
  if (ValueCount() == 0) throw NotSetUp("ValueCount property not set", series::kCountHelpContext);
  series::RequireDatabase(pDB).WriteIrregularGateway(*pathname_, values_, dates_, merge_option_,
                                                     units_, type_);
}

void IrregTimeSeries::Retrieve(const std::shared_ptr<DSSDatabase>& pDB) {
  RequireNamedPathname();
  if (!starting_ || !ending_) {
    throw NotSetUp("Need to set both Starting and Ending date properties first",
                   series::kCountHelpContext);
  }
  DSSDatabase& db = series::RequireDatabase(pDB);
  db.ReadIrregularGateway(*pathname_, *starting_, *ending_, values_, dates_, units_, type_);
  // The bare number, without source, as this class has always raised it.
  if (db.istat() == 5 && missing_is_error_)
    throw AutomationError(dssHeclibError, "", series::NoDataText(*pathname_));
}

void IrregTimeSeries::Plan(DSSPlans) {
  throw series::NotSupported(kSource, "Plan", kMergeHint);
}

DSSPlans IrregTimeSeries::Plan() {
  throw series::NotSupported(kSource, "Plan", kMergeHint);
}

bool IrregTimeSeries::RecordExists(const std::shared_ptr<DSSDatabase>& pDB) {
  return series::RequireDatabase(pDB).RecordExistsGateway(*Pathname());
}

std::string IrregTimeSeries::RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) {
  return series::RequireDatabase(pDB).RecordTypeGateway(*Pathname());
}

void IrregTimeSeries::FromDOM(const std::shared_ptr<Object>&) {
  throw series::NotSupported(kSource, "FromDOM");
}

std::shared_ptr<Object> IrregTimeSeries::ToDOM() {
  throw series::NotSupported(kSource, "ToDOM");
}

}  // namespace varnock
