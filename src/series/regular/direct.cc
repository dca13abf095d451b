// ITimeSeriesDirect of the regular series: array output and import from a recordset.
#include "series/series_common.h"
#include "varnock/error.h"
#include "varnock/regular_time_series.h"
#include "varnock/variant_array.h"

namespace varnock {

namespace {

constexpr int32_t kDay = 1440;
constexpr int32_t kWeek = 10080;
constexpr int32_t kMonth = 43200;
constexpr int32_t kYear = 525600;
constexpr int32_t kUndefinedType = 1002;
constexpr int32_t kUndefinedAggregation = 1005;
// About half a second, in days: a record this close before a slot date still belongs after it.
constexpr double kSlotTolerance = 5.8e-6;
// Below -900 a reading or a carry is missing.
constexpr float kMissingBelow = -900.0f;

// A date as the import writes it into its filter texts; an unset date writes nothing.
std::string FilterDate(const std::optional<Date>& date) {
  return date ? date->Format("mm/dd/yyyy hh:nn:ss") : "";
}

}  // namespace

void ITimeSeriesDirect::FillArray(Variant&, bool) {
  throw series::NotSupported("", "FillArray");
}

void ITimeSeriesDirect::FromRecordset(std::shared_ptr<Recordset>, std::shared_ptr<Field>,
                                      std::shared_ptr<Field>) {
  throw series::NotSupported("", "FromRecordset");
}

void RegularTimeSeries::FillArray(Variant& pArr, bool IncludeDates) {
  Interval();
  Starting();  // an unset start fails here, before pArr is touched
  const int32_t n = ValueCount();
  if (!IncludeDates) {
    VariantArray values(1, n);
    for (int32_t i = 1; i <= n; ++i)
      values(i) = Variant(Value(i - 1));
    pArr = std::move(values);
    return;
  }
  VariantArray table(1, n, 1, 2);
  for (int32_t i = 1; i <= n; ++i) {
    table(i, 1) = Variant(DateTime(i - 1));
    table(i, 2) = Variant(Value(i - 1));
  }
  pArr = std::move(table);
}

void RegularTimeSeries::ApplyPadding(int32_t& index, float& carry) {
  if (index == INT32_MAX) RaiseHostError(hostOverflow);
  ++index;
  values_[series::Slot(index - 1, values_.size())] = carry;
  if (type_ == "INST-VAL") {
    if (padding_ == intPadEDMSpolled || padding_ == intPadEDMSmixed) carry = kMissingValue;
  } else if (type_ == "PER-CUM") {
    if (padding_ == intPadWatch || padding_ == intPadEDMSmixed) {
      carry = 0.0f;
    } else if (padding_ == intPadEDMSpolled) {
      carry = kMissingValue;
    }
  }
}

void RegularTimeSeries::Accumulate(const Variant& value, float& carry) const {
  const float reading = value.IsNull() ? kMissingValue : value.ToSingle();
  if (reading < kMissingBelow) {
    if (carry < kMissingBelow) carry = kMissingValue;
    return;
  }
  if (carry < kMissingBelow) {
    carry = reading;
    return;
  }
  if (type_ == "INST-VAL") {
    if (aggregation_ == atUseLast) {
      carry = reading;
    } else if (aggregation_ == atUseHighest) {
      if (reading > carry) carry = reading;
    } else {
      // Averaging is refused here on purpose: the carry keeps no count.
      throw AutomationError(kUndefinedAggregation, kLibraryTitle, "Undefined aggregation type");
    }
  } else if (type_ == "PER-CUM") {
    carry = carry + reading;
  } else {
    throw AutomationError(kUndefinedType, kLibraryTitle, "Undefined time series type");
  }
}

void RegularTimeSeries::FromRecordset(std::shared_ptr<Recordset> pRS,
                                      std::shared_ptr<Field> DateTimeField,
                                      std::shared_ptr<Field> DataField) {
  if (!pRS || !DateTimeField || !DataField) RaiseHostError(hostObjectNotSet);

  // The window reaches one interval before the start so that the first period is covered.
  std::optional<Date> window_start;
  Date window_end;
  if (user_window_) {
    window_start = WindowStart();
    window_end = WindowEnd();
  } else {
    window_end = Ending();
    const int32_t interval = Interval();
    const Date start = Starting();
    if (interval == kWeek) {
      window_start = start.Add(DateUnit::Day, -7);
    } else if (interval == kMonth) {
      window_start = Date::Serial(start.Year(), start.Month() - 1, 1);
    } else if (interval == kYear) {
      window_start = Date::Serial(start.Year() - 1, 1, 1);
    } else if (interval <= kDay) {
      window_start = start.Add(DateUnit::Minute, -static_cast<double>(interval));
    }
  }

  const std::shared_ptr<Recordset> records = pRS->Clone();
  SetAllMissing();
  const std::string stamp = "[" + DateTimeField->Name() + "]";
  const std::string data = DataField->Name();

  float carry = 0.0f;
  if (type_ == "INST-VAL") {
    if (padding_ == intPadEDMSpolled || padding_ == intPadEDMSmixed) {
      carry = kMissingValue;
    } else if (padding_ == intPadWatch) {
      // The last reading at or before the window start carries into the first period.
      records->Filter(stamp + "  <= #" + FilterDate(window_start) + "#");
      if (!records->IsEOF()) {
        records->MoveLast();
        const Variant value = records->Fields(data)->Value();
        carry = value.IsNull() ? kMissingValue : value.ToSingle();
      }
    }
  } else if (type_ == "PER-CUM") {
    if (padding_ == intPadEDMSpolled) carry = kMissingValue;
  }

  records->Filter("(" + stamp + " >= #" + FilterDate(window_start) + "#" + " and " + stamp +
                  "  <= #" + FilterDate(window_end) + "#)");
  int32_t index = 0;
  for (; !records->IsEOF(); records->MoveNext()) {
    Date when = records->Fields(DateTimeField->Name())->Value().ToDate();
    // A stamp on a whole minute counts toward the period that ends there.
    if (when.Second() == 0) when = when.Add(DateUnit::Second, -1);
    bool stepped = false;
    // Compared on the time line (before 1899 serial differences are not time differences).
    while (DateTime(index - 1).DaysSince(when) < kSlotTolerance) {
      ApplyPadding(index, carry);
      stepped = true;
    }
    if (stepped) carry = kMissingValue;
    Accumulate(records->Fields(data)->Value(), carry);
  }
  while (index + 1 <= ValueCount())
    ApplyPadding(index, carry);
}

}  // namespace varnock
