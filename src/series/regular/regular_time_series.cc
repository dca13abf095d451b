#include "varnock/regular_time_series.h"

#include "automation/host_memory.h"

#include <algorithm>
#include <cctype>

#include "series/series_common.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {

constexpr const char* kSource = "RegularTimeSeries";
constexpr int32_t kWeek = 10080;
constexpr int32_t kMonth = 43200;
constexpr int32_t kYear = 525600;
constexpr int32_t kDay = 1440;

AutomationError DateError(const std::string& description) {
  return AutomationError(kObjectErrorBase + dssDateError, kSource, description, kHelpFile,
                         series::kDateErrorHelpContext);
}

// Semi-monthly and tri-monthly steps have no calendar rule of their own here.
[[noreturn]] void RaiseUnsupportedStep() {
  throw AutomationError(kObjectErrorBase + 5, kSource,
                        "Semi-monthly and tri-monthly intervals are not supported here", kHelpFile,
                        series::kArgumentHelpContext);
}

Date AtMidnight(int32_t year, int32_t month, int32_t day) {
  return Date::Serial(year, month, day);
}

// The end of the interval that contains a date (the next boundary after it).
Date SnapToIntervalEnd(Date date, int32_t interval) {
  if (interval <= kDay) return date.Add(DateUnit::Minute, interval);
  if (interval == kWeek) return date.Add(DateUnit::Day, 8 - date.Weekday()).DatePart();
  if (interval == kMonth) return AtMidnight(date.Year(), date.Month() + 1, 1);
  if (interval == kYear) return AtMidnight(date.Year() + 1, 1, 1);
  RaiseUnsupportedStep();
}

}  // namespace

RegularTimeSeries::RegularTimeSeries()
    : pathname_(std::make_shared<varnock::Pathname>()), values_(1, 0.0f), flags_(1, 0) {}

void RegularTimeSeries::RequireStartAndCount() const {
  if (!starting_) throw DateError("Starting property not set");
  if (ValueCount() == 0) {
    throw AutomationError(kObjectErrorBase + series::kNotSetUp, kSource,
                          "ValueCount property not set", kHelpFile, series::kCountHelpContext);
  }
}

void RegularTimeSeries::RequireRegularInterval(int32_t interval) const {
  if (interval == 0) {
    throw AutomationError(kObjectErrorBase + 5, kSource, "Need to set Interval", kHelpFile,
                          series::kArgumentHelpContext);
  }
  if (interval < 0) {
    throw AutomationError(kObjectErrorBase + 5, kSource, "Interval is not regular time series",
                          kHelpFile, series::kArgumentHelpContext);
  }
}

void RegularTimeSeries::DateTime(int32_t, Date) {
  throw AutomationError(kObjectErrorBase + 5, kSource,
                        "The dates of a regular time series follow from Starting and the "
                        "interval; DateTime cannot be set");
}

void RegularTimeSeries::TsUnits(const std::string& value) {
  units_ = series::UpperCase(value);
}
void RegularTimeSeries::TsType(const std::string& value) {
  type_ = series::UpperCase(value);
}

int32_t RegularTimeSeries::Interval() {
  return pathname_->Interval();
}

void RegularTimeSeries::Interval(int32_t minutes) {
  pathname_->Interval(minutes);
  if (pathname_->Interval() < 0) RequireRegularInterval(pathname_->Interval());
}

void RegularTimeSeries::Starting(Date value) {
  if (!interval_snap_) {
    starting_ = value;
    return;
  }
  const int32_t interval = Interval();
  RequireRegularInterval(interval);
  if (interval <= kDay) {
    // Only the minute within the hour counts; the hour is dropped.
    starting_ = value.DatePart().PlusDays((value.Minute() + interval) / 1440.0);
  } else if (interval == kWeek) {
    starting_ = value.Add(DateUnit::Day, 8 - value.Weekday());
  } else if (interval == kMonth || interval == kYear) {
    starting_ = SnapToIntervalEnd(value, interval);
  }
}

Date RegularTimeSeries::Starting() const {
  if (!starting_) throw DateError("Starting property not set");
  return *starting_;
}

void RegularTimeSeries::ResizeKeeping(int32_t count) {
  if (count < 0) RaiseHostError(hostSubscriptOutOfRange);
  const uint64_t slots = static_cast<uint64_t>(count) + 1;
  AllocateForHost(slots, sizeof(float), [&] { values_.resize(slots, 0.0f); });
}

void RegularTimeSeries::ValueCount(int32_t count) {
  if (count == 0) {
    values_.assign(1, 0.0f);
    return;
  }
  ResizeKeeping(count);
}

Date RegularTimeSeries::DateTime(int32_t lngIndex) {
  const int32_t interval = Interval();
  RequireRegularInterval(interval);
  const Date start = starting_.value_or(Date(0.0));
  const double time_of_day = start.TimePart();
  Date result;
  if (interval == kYear) {
    const bool leap_day = start.Month() == 2 && start.Day() == 29;
    result = Date::Serial(start.Year() + lngIndex, start.Month(), leap_day ? 28 : start.Day())
                 .PlusDays(time_of_day);
  } else if (interval == kMonth) {
    const int64_t month = static_cast<int64_t>(start.Month()) + lngIndex;
    const int64_t year_step = series::FloorDiv(month, 12);
    const int32_t month_of_year = static_cast<int32_t>(month - 12 * year_step);
    const int32_t day = std::min(start.Day(), 28);
    result = Date::Serial(static_cast<int32_t>(start.Year() + year_step), month_of_year, day)
                 .PlusDays(time_of_day);
  } else {
    result = start.Add(DateUnit::Minute, static_cast<double>(interval) * lngIndex);
  }
  return interval_snap_ ? SnapToIntervalEnd(result, interval) : result;
}

Date RegularTimeSeries::LastDateTime(Date datDate, const std::string& strInterval) const {
  const Date advanced = datDate.Add(series::DateUnitOfWord(strInterval), 1);
  const Date first_of_month = Date::FromText(std::to_string(advanced.Month()) + "/1/" +
                                             std::to_string(advanced.Year()) + " 12:00:00 AM");
  return first_of_month.Add(DateUnit::Second, -1);
}

void RegularTimeSeries::SetAllMissing() {
  std::fill(values_.begin() + 1, values_.end(), kMissingValue);
}

int32_t RegularTimeSeries::Flag(int32_t lngIndex) const {
  return flags_[series::Slot(lngIndex, flags_.size())];
}

void RegularTimeSeries::Flag(int32_t lngIndex, int32_t value) {
  flags_[series::Slot(lngIndex, flags_.size())] = value;
}

float RegularTimeSeries::Value(int32_t lngIndex) const {
  return values_[series::Slot(lngIndex, values_.size())];
}

void RegularTimeSeries::Value(int32_t lngIndex, float value) {
  values_[series::Slot(lngIndex, values_.size())] = value;
}

Date RegularTimeSeries::Ending() {
  RequireStartAndCount();
  const int32_t interval = Interval();
  const int32_t steps = ValueCount() - 1;
  if (interval <= kWeek)
    return starting_->Add(DateUnit::Minute, static_cast<double>(interval) * steps);
  if (interval == kMonth) return starting_->Add(DateUnit::Month, steps);
  if (interval == kYear) return starting_->Add(DateUnit::Year, steps);
  RaiseUnsupportedStep();
}

void RegularTimeSeries::Ending(Date value) {
  const int32_t interval = Interval();
  RequireRegularInterval(interval);
  if (!starting_) {
    if (ValueCount() == 0)
      throw DateError("Need to set either Starting or ValueCount properties first");
    // Minute arithmetic for every interval, months and years included.
    starting_ = value.Add(DateUnit::Minute, -static_cast<double>(interval) * (ValueCount() - 1));
    return;
  }
  int64_t count = 0;
  if (interval <= kWeek) {
    count = Date::Diff(DateUnit::Minute, *starting_, value) / interval + 1;
  } else if (interval == kMonth) {
    count = Date::Diff(DateUnit::Month, *starting_, value) + 1;
  } else if (interval == kYear) {
    count = Date::Diff(DateUnit::Year, *starting_, value) + 1;
  } else {
    RaiseUnsupportedStep();
  }
  if (count < 1) throw DateError("Ending is before Starting");
  if (count > INT32_MAX - 1) RaiseHostError(hostOverflow);
  ResizeKeeping(static_cast<int32_t>(count));
}

std::shared_ptr<Object> RegularTimeSeries::ScriptQueryInterface(const std::string& InterfaceType) {
  switch (series::InterfaceOfName(InterfaceType)) {
    case series::InterfaceName::kTimeSeriesDirect:
    case series::InterfaceName::kHtslStream:
    case series::InterfaceName::kDssRecord:
    case series::InterfaceName::kRtsTransform:
      return shared_from_this();
    case series::InterfaceName::kNone:
      break;
  }
  return nullptr;
}

Date RegularTimeSeries::WindowStart() const {
  if (!window_start_) throw DateError("Start window property not set");
  return *window_start_;
}

Date RegularTimeSeries::WindowEnd() const {
  if (!window_end_) throw DateError("Start window property not set");
  return *window_end_;
}

void RegularTimeSeries::Store(const std::shared_ptr<DSSDatabase>& pDB) {
  RequireStartAndCount();
  series::RequireDatabase(pDB);
  std::string date_text, time_text;
  DateToHecText(Variant(*starting_), date_text, time_text);
  pDB->WriteRegularGateway(*pathname_, date_text, time_text, values_, plan_, units_, type_);
}

void RegularTimeSeries::Retrieve(const std::shared_ptr<DSSDatabase>& pDB) {
  RequireStartAndCount();
  series::RequireDatabase(pDB);
  std::string date_text, time_text;
  DateToHecText(Variant(*starting_), date_text, time_text);
  pDB->ReadRegularGateway(*pathname_, date_text, time_text, values_, units_, type_, offset_);
  if (pDB->istat() == 5 && missing_is_error_)
    throw AutomationError(kObjectErrorBase + dssHeclibError, kSource,
                          series::NoDataText(*pathname_));
  units_ = TrimBlanks(units_);
  type_ = TrimBlanks(type_);
}

void RegularTimeSeries::Plan(DSSPlans value) {
  if (value == plnReserved3 || value == plnPreserveMissing) {
    throw AutomationError(kObjectErrorBase + 5, kSource,
                          "Plan " + std::to_string(value) + " is not allowed for a regular series");
  }
  plan_ = value;
}

bool RegularTimeSeries::RecordExists(const std::shared_ptr<DSSDatabase>& pDB) {
  series::RequireDatabase(pDB);
  return pDB->RecordExistsGateway(*pathname_);
}

std::string RegularTimeSeries::RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) {
  series::RequireDatabase(pDB);
  return pDB->RecordTypeGateway(*pathname_);
}

void RegularTimeSeries::FromDOM(const std::shared_ptr<Object>&) {
  throw series::NotSupported(kSource, "FromDOM");
}

std::shared_ptr<Object> RegularTimeSeries::ToDOM() {
  throw series::NotSupported(kSource, "ToDOM");
}

}  // namespace varnock
