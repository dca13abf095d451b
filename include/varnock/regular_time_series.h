// RegularTimeSeries: a regular-interval series of single-precision values with its start, its
// time step (the interval of its pathname) and the record attributes of a DSS file.
#ifndef VARNOCK_REGULAR_TIME_SERIES_H_
#define VARNOCK_REGULAR_TIME_SERIES_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "varnock/date.h"
#include "varnock/interfaces.h"
#include "varnock/pathname.h"
#include "varnock/statistics.h"

namespace varnock {

class VARNOCK_API RegularTimeSeries : public IHTSLStream,
                                      public ITimeSeriesDirect,
                                      public IRTSTransform,
                                      public IDSSRecord {
 public:
  RegularTimeSeries();

  // _RegularTimeSeries
  void Aggregation(AggregationTypes value) { aggregation_ = value; }
  // Always refused: a regular series' dates follow from its start and interval.
  void DateTime(int32_t lngIndex, Date value);
  void TsUnits(const std::string& value);
  void TsType(const std::string& value);
  const std::string& TsUnits() const { return units_; }
  const std::string& TsType() const { return type_; }
  int32_t TsOffset() const { return offset_; }
  int32_t Interval();
  void Interval(int32_t minutes);
  void Starting(Date value);
  Date Starting() const;
  void ValueCount(int32_t count);
  int32_t ValueCount() const { return static_cast<int32_t>(values_.size()) - 1; }
  // The date of value i (zero-based, any integer).
  Date DateTime(int32_t lngIndex);
  // The last second of the month before the month of datDate advanced by one strInterval.
  Date LastDateTime(Date datDate, const std::string& strInterval) const;
  void SetAllMissing();
  int32_t Flag(int32_t lngIndex) const;
  void Flag(int32_t lngIndex, int32_t value);
  float Value(int32_t lngIndex) const;
  void Value(int32_t lngIndex, float value);
  Date Ending();
  void Ending(Date value);
  // This object through one of its interfaces named by text, or nullptr.
  std::shared_ptr<Object> ScriptQueryInterface(const std::string& InterfaceType);
  void WindowStart(Date value) { window_start_ = value; }
  Date WindowStart() const;
  void WindowEnd(Date value) { window_end_ = value; }
  Date WindowEnd() const;
  void IntervalSnap(bool value) { interval_snap_ = value; }
  bool IntervalSnap() const { return interval_snap_; }
  void UserWindow(bool value) { user_window_ = value; }
  bool UserWindow() const { return user_window_; }
  void Padding(PadMethods value) { padding_ = value; }
  PadMethods Padding() const { return padding_; }
  AggregationTypes AggregationValue() const { return aggregation_; }

  // IDSSRecord
  void Store(const std::shared_ptr<DSSDatabase>& pDB) override;
  void Retrieve(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::shared_ptr<varnock::Pathname> Pathname() override { return pathname_; }
  void Plan(DSSPlans value) override;
  DSSPlans Plan() override { return plan_; }
  void MissingIsError(bool value) override { missing_is_error_ = value; }
  bool MissingIsError() override { return missing_is_error_; }
  bool RecordExists(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::string RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) override;

  // IRTSTransform
  // Coarsens the series in place, period ending: new value i combines the old values after
  // the end of new period i - 1 up to the end of period i. Value(0) marks the start and
  // enters no period (the new Value(0) is -902).
  // A series that does not fit the target is left as it is WITHOUT an error: ValueCount - 1
  // must be a whole number of target steps, and for weekly, monthly and yearly targets the
  // day of Value(0) must begin a period (a Sunday, the 1st, 1 January) and the day before
  // the last value's must end one. So a year of hourly values laid out naturally, 8,760
  // from 1 January 01:00, is not changed at all. Lay it out from 1 January 00:00 with 8,761
  // values (Value(0) at 00:00, not aggregated): ChangeInterval(1440) then gives -902 and 365
  // daily values, ChangeInterval(43200) -902 and 12 monthly values.
  // Errors: 131 for an interval pair it does not know, 1002 for a TsType other than INST-VAL
  // and PER-CUM, 1005 for an Aggregation outside 0..2, the host's overflow and subscript
  // errors; the series is left as it was on every error.
  void ChangeInterval(int32_t NewInterval) override;
  void RefreshStatistics() override;
  float MaxValue() override { return Statistics().Max(); }
  float MinValue() override { return Statistics().Min(); }
  float MeanValue() override { return Statistics().Mean(); }
  int32_t MissingCount() override { return Statistics().MissingCount(); }
  void RunningMax() override;
  void RunningMin() override;
  void SetMaximumFrom(const std::shared_ptr<RegularTimeSeries>& pRTS) override;
  void SetAsPeakSince() override;
  // Copies Aggregation, the values, UserWindow, IntervalSnap, units, type, the start and the
  // windows (unset ones stay unset), not the pathname, Padding, offset or statistics.
  std::shared_ptr<RegularTimeSeries> Clone() override;

  // ITimeSeriesDirect
  void FillArray(Variant& pArr, bool IncludeDates) override;
  void FromRecordset(std::shared_ptr<Recordset> pRS, std::shared_ptr<Field> DateTimeField,
                     std::shared_ptr<Field> DataField) override;

  // IHTSLStream
  std::string Domain() override { return pathname_->Apart(); }
  void Domain(const std::string& value) override { pathname_->Apart(value); }
  std::string Location() override { return pathname_->Bpart(); }
  void Location(const std::string& value) override { pathname_->Bpart(value); }
  std::string ValueType() override { return pathname_->Cpart(); }
  void ValueType(const std::string& value) override { pathname_->Cpart(value); }
  void FromDOM(const std::shared_ptr<Object>& pHTSL) override;
  std::shared_ptr<Object> ToDOM() override;

  // The values as stored: slot 0 is not part of the series, slots 1..N hold it.
  const std::vector<float>& ValueSlots() const { return values_; }

 private:
  void RequireStartAndCount() const;
  void RequireRegularInterval(int32_t interval) const;
  void ResizeKeeping(int32_t count);
  clsStatistics& Statistics();
  // One step of building a series slot by slot: stores the carry in the slot after `index`,
  // advances `index` and picks the carry for the next slot by TsType and Padding.
  void ApplyPadding(int32_t& index, float& carry);
  // Adds one reading to the carry of the import by TsType and Aggregation.
  void Accumulate(const Variant& reading, float& carry) const;
  // The working array of an interval change: a copy of `source` whose values 0..group_count
  // are -902 followed by the aggregate of each group of consecutive values of `source`, the
  // groups of fixed size, or of the days of successive months (nominal_days 30) or years (365)
  // from first_day.
  std::vector<float> AggregateFixedGroups(const std::vector<float>& source, int32_t group_size,
                                          int32_t group_count) const;
  std::vector<float> AggregateCalendarGroups(const std::vector<float>& source, Date first_day,
                                             int32_t nominal_days, int32_t group_count) const;

  std::string units_;
  std::string type_;
  int32_t offset_ = 0;
  DSSPlans plan_ = plnAlwaysWrite;
  bool missing_is_error_ = false;
  PadMethods padding_ = intPadWatch;
  std::shared_ptr<varnock::Pathname> pathname_;
  std::vector<float> values_;
  std::vector<int32_t> flags_;
  std::optional<Date> starting_;
  std::optional<Date> window_start_;
  std::optional<Date> window_end_;
  AggregationTypes aggregation_ = atUseLast;
  bool user_window_ = false;
  bool interval_snap_ = false;
  std::unique_ptr<clsStatistics> statistics_;  // created on first use
};

}  // namespace varnock

#endif  // VARNOCK_REGULAR_TIME_SERIES_H_
