// ChangeInterval: aggregation of a regular series to a coarser interval.
#include <optional>

#include "series/regular/calendar_procedures.h"
#include "series/series_common.h"
#include "varnock/error.h"
#include "varnock/regular_time_series.h"

namespace varnock {

namespace {

constexpr int32_t kLargestSubDaily = 720;
constexpr int32_t kDay = 1440;
constexpr int32_t kWeek = 10080;
constexpr int32_t kTriMonth = 14400;
constexpr int32_t kSemiMonth = 21600;
constexpr int32_t kMonth = 43200;
constexpr int32_t kYear = 525600;
constexpr int32_t kNonstandardInterval = 131;
constexpr int32_t kUndefinedType = 1002;
constexpr int32_t kUndefinedAggregation = 1005;

// The interval change counts in 32 bits and reports what does not fit as the host does.
int32_t Checked(int64_t value) {
  if (value < INT32_MIN || value > INT32_MAX) RaiseHostError(hostOverflow);
  return static_cast<int32_t>(value);
}

// A group count of 0 or 1 still makes one group.
int32_t AtLeastOneGroup(int32_t quotient) {
  return quotient < 2 ? 1 : quotient;
}

[[noreturn]] void RaiseNonstandard(int32_t interval) {
  throw AutomationError(kNonstandardInterval, "",
                        "Nonstandard time interval specified: " + std::to_string(interval));
}

bool IsFirstOfMonth(Date day) {
  return day.Day() == 1;
}
bool IsLastOfMonth(Date day) {
  return day.Day() == series::DaysInMonth(static_cast<int16_t>(day.Month()), day.Year());
}
bool IsFirstOfYear(Date day) {
  return day.Month() == 1 && day.Day() == 1;
}
bool IsLastOfYear(Date day) {
  return day.Month() == 12 && day.Day() == 31;
}

// The slot of public index k in an array whose slot 0 is not part of the series.
size_t SlotOf(const std::vector<float>& values, int64_t k) {
  if (k < -1 || k + 1 >= static_cast<int64_t>(values.size()))
    RaiseHostError(hostSubscriptOutOfRange);
  return static_cast<size_t>(k + 1);
}
float& At(std::vector<float>& values, int64_t k) {
  return values[SlotOf(values, k)];
}
float At(const std::vector<float>& values, int64_t k) {
  return values[SlotOf(values, k)];
}

// Only values above -901 take part in an aggregate.
bool Present(float value) {
  return value > kMissingValue;
}

// The aggregate of values first..last of `source`, or nothing when the group yields none.
std::optional<float> Combine(const std::vector<float>& source, int64_t first, int64_t last,
                             bool cumulative, AggregationTypes aggregation) {
  if (cumulative) {
    float sum = 0.0f;
    bool any = false;
    for (int64_t k = first; k <= last; ++k) {
      const float value = At(source, k);
      if (!Present(value)) continue;
      sum += value;
      any = true;
    }
    return any ? std::optional<float>(sum) : std::nullopt;
  }
  switch (aggregation) {
    case atUseHighest: {
      float highest = kMissingValue;
      for (int64_t k = first; k <= last; ++k) {
        const float value = At(source, k);
        if (Present(value) && value > highest) highest = value;
      }
      return Present(highest) ? std::optional<float>(highest) : std::nullopt;
    }
    case atUseLast: {
      float latest = kMissingValue;
      for (int64_t k = first; k <= last; ++k) {
        const float value = At(source, k);
        if (Present(value)) latest = value;
      }
      return Present(latest) ? std::optional<float>(latest) : std::nullopt;
    }
    case atUseAverage: {
      float sum = 0.0f;
      int64_t count = 0;
      for (int64_t k = first; k <= last; ++k) {
        const float value = At(source, k);
        if (!Present(value)) continue;
        sum += value;
        ++count;
      }
      if (count == 0) return std::nullopt;
      return static_cast<float>(static_cast<double>(sum) / static_cast<double>(count));
    }
  }
  throw AutomationError(kUndefinedAggregation, kLibraryTitle, "Undefined aggregation type");
}

}  // namespace

std::vector<float> RegularTimeSeries::AggregateFixedGroups(const std::vector<float>& source,
                                                           int32_t group_size,
                                                           int32_t group_count) const {
  std::vector<float> work = source;
  At(work, 0) = kNotProducedValue;
  const bool cumulative = type_ == "PER-CUM";
  if (!cumulative && type_ != "INST-VAL")
    throw AutomationError(kUndefinedType, kLibraryTitle, "Undefined time series type");
  for (int32_t i = 1; i <= group_count; ++i) {
    At(work, i) = kMissingValue;
    const int64_t first = Checked(static_cast<int64_t>(i - 1) * group_size + 1);
    const int64_t last = Checked(static_cast<int64_t>(i) * group_size);
    if (auto value = Combine(source, first, last, cumulative, aggregation_)) At(work, i) = *value;
  }
  return work;
}

std::vector<float> RegularTimeSeries::AggregateCalendarGroups(const std::vector<float>& source,
                                                              Date first_day, int32_t nominal_days,
                                                              int32_t group_count) const {
  std::vector<float> work = source;
  At(work, 0) = kNotProducedValue;
  const bool cumulative = type_ == "PER-CUM";
  if (!cumulative && type_ != "INST-VAL")
    throw AutomationError(kUndefinedType, kLibraryTitle, "Undefined time series type");
  Date day = first_day;
  int32_t position = 0;
  for (int32_t i = 1; i <= group_count; ++i) {
    At(work, i) = kMissingValue;
    const int32_t length = nominal_days == 30
                               ? series::DaysInMonth(static_cast<int16_t>(day.Month()), day.Year())
                               : series::DaysInYear(day.Year());
    const int32_t end = Checked(static_cast<int64_t>(position) + length);
    if (auto value = Combine(source, position + 1, end, cumulative, aggregation_))
      At(work, i) = *value;
    day = day.Add(DateUnit::Day, length);
    position = end;
  }
  return work;
}

void RegularTimeSeries::ChangeInterval(int32_t NewInterval) {
  const int32_t target = NewInterval;
  const int32_t current = Interval();
  if (target <= current || current == kWeek || current == kTriMonth || target == kTriMonth ||
      current == kSemiMonth || target == kSemiMonth)
    return;

  const int32_t intervals = ValueCount() - 1;
  const Date starting = Starting();
  const Date ending = Ending();
  const Date start_day = starting.DatePart();
  const Date last_day = ending.Add(DateUnit::Day, -1).DatePart();
  const int32_t day_count =
      target >= kDay ? Checked(Date::Diff(DateUnit::Day, start_day, last_day) + 1) : 0;
  const auto boundaries_plus_one = [&](DateUnit unit) {
    return Checked(Date::Diff(unit, start_day, last_day) + 1);
  };
  // Sub-daily values to one value per day, the first of two stages to weeks, months, years.
  const auto daily = [&] {
    const int32_t per_day = kDay / current;
    return AggregateFixedGroups(values_, per_day, AtLeastOneGroup(intervals / per_day));
  };
  // Whether a sub-daily series covers exactly day_count whole days.
  const auto whole_days = [&] {
    if (Checked(static_cast<int64_t>(intervals) * current) / kDay != day_count) return false;
    if (kDay % current != 0) return false;
    return intervals % (kDay / current) == 0;
  };

  std::vector<float> work;
  if (current >= 1 && current <= kLargestSubDaily) {
    if (target <= kDay) {
      if (target % current != 0) return;
      const int32_t ratio = target / current;
      if (intervals % ratio != 0) return;
      work = AggregateFixedGroups(values_, ratio, AtLeastOneGroup(intervals / ratio));
    } else if (target == kWeek) {
      if (start_day.Weekday() != 1 || last_day.Weekday() != 7) return;
      if (Checked(static_cast<int64_t>(intervals) * current) % kWeek != 0) return;
      if (kDay % current != 0 || intervals % (kDay / current) != 0) return;
      const std::vector<float> days = daily();
      work = AggregateFixedGroups(days, 7, boundaries_plus_one(DateUnit::Week));
    } else if (target == kMonth) {
      if (!IsFirstOfMonth(start_day) || !IsLastOfMonth(last_day) || !whole_days()) return;
      const std::vector<float> days = daily();
      work = AggregateCalendarGroups(days, start_day, 30, boundaries_plus_one(DateUnit::Month));
    } else if (target == kYear) {
      if (!IsFirstOfYear(start_day) || !IsLastOfYear(last_day) || !whole_days()) return;
      const std::vector<float> days = daily();
      work = AggregateCalendarGroups(days, start_day, 365, boundaries_plus_one(DateUnit::Year));
    } else {
      RaiseNonstandard(target);
    }
  } else if (current == kDay) {
    if (target == kWeek) {
      if (start_day.Weekday() != 1 || last_day.Weekday() != 7 || intervals != day_count) return;
      work = AggregateFixedGroups(values_, 7, boundaries_plus_one(DateUnit::Week));
    } else if (target == kMonth) {
      if (!IsFirstOfMonth(start_day) || !IsLastOfMonth(last_day) || intervals != day_count) return;
      work = AggregateCalendarGroups(values_, start_day, 30, boundaries_plus_one(DateUnit::Month));
    } else if (target == kYear) {
      if (!IsFirstOfYear(start_day) || !IsLastOfYear(last_day) || intervals != day_count) return;
      work = AggregateCalendarGroups(values_, start_day, 365, boundaries_plus_one(DateUnit::Year));
    } else {
      RaiseNonstandard(target);
    }
  } else if (current == kMonth) {
    if (target != kYear) RaiseNonstandard(target);
    if (!IsFirstOfYear(start_day) || !IsLastOfYear(last_day) || intervals % 12 != 0) return;
    work = AggregateFixedGroups(values_, 12, AtLeastOneGroup(intervals / 12));
  } else {
    RaiseNonstandard(current);
  }

  // Everything that can fail has run; the pathname refuses a step it cannot name before it
  // changes anything.
  pathname_->Interval(target);
  values_ = std::move(work);
  interval_snap_ = false;
  starting_ = starting;
  Ending(ending);  // re-derives the count for the new interval
  RefreshStatistics();
}

}  // namespace varnock
