// The time-series gateways of DSSDatabase: the only road by which series reach the file.
#include <algorithm>
#include <climits>
#include <cmath>
#include <unordered_map>

#include "database/errors.h"
#include "varnock/database.h"
#include "varnock/error.h"

namespace varnock {

namespace {

enum class Direction { kRead, kWrite };

constexpr int32_t kLastInformationalStatus = 10;
constexpr int32_t kIrregularBufferTooSmall = 1;
constexpr int32_t kIrregularBufferSizes[] = {100, 2000, 20000, 50000};

std::string UnusualError(int32_t status) {
  return "Unusual error. Code was " + std::to_string(status) + ".";
}

std::string RegularStatusText(int32_t status, Direction direction) {
  const bool read = direction == Direction::kRead;
  switch (status) {
    case 11:
      return read ? "The number of RTS Values requested was less than one."
                  : "The number of RTS values specified was less than one.";
    case 12:
      return "A non-standard time interval was provided in the \"E\" part of the pathname.";
    case 15:
      return "The starting date or time was not recognized.";
    case 20:
      return read ? "The data was not recognized as regular time series." : UnusualError(status);
    case 24:
      return "The pathname given does not meet regular-interval time series conventions.";
    case 53:
      return "The data could not be un-compressed.";
    default:
      return UnusualError(status);
  }
}

std::string IrregularStatusText(int32_t status, Direction direction) {
  const bool read = direction == Direction::kRead;
  switch (status) {
    case 20:
      return read ? "The data was not recognized as irregular-interval regular time series."
                  : UnusualError(status);
    case 21:
      return read ? UnusualError(status)
                  : "Internal buffer error; please adjust your pathname E part";
    case 24:
      return "The pathname given does not meet irregular-interval time series conventions.";
    case 30:
      return read ? UnusualError(status) : "Data overlap in time or are not sorted correctly";
    default:
      return UnusualError(status);
  }
}

[[noreturn]] void RaiseHeclibFailure(const std::string& description) {
  throw AutomationError(kObjectErrorBase + dssHeclibError, "DSSDatabase", description, kHelpFile,
                        database::kHeclibErrorHelpContext);
}

// Minutes past midnight of a 4-digit "HHMM" text.
int32_t MinutesOfTimeText(const std::string& time_text) {
  return std::stoi(time_text.substr(0, 2)) * 60 + std::stoi(time_text.substr(2, 2));
}

// A window bound as HECLIB's julian day and minutes, through the date texts.
void HecTimeOf(Date date, int32_t& julian, int32_t& minutes) {
  std::string date_text, time_text;
  DateToHecText(Variant(date), date_text, time_text);
  julian = hecDatJul(date_text);
  minutes = MinutesOfTimeText(time_text);
}

}  // namespace

void DSSDatabase::ReadRegularGateway(varnock::Pathname& pathname, const std::string& date_text,
                                     const std::string& time_text, std::vector<float>& values,
                                     std::string& units, std::string& type, int32_t& offset) {
  RequireConnection();
  pathname.Dpart("");
  const std::string name = pathname.Name();
  if (values.empty()) values.resize(1);
  int32_t count = static_cast<int32_t>(values.size()) - 1;
  istat_ = 0;
  istat_ =
      hecZrrts(ifltab_, name, date_text, time_text, count, values.data() + 1, units, type, offset);
  if (istat_ > kLastInformationalStatus)
    RaiseHeclibFailure(RegularStatusText(istat_, Direction::kRead));
  if (count < 0) count = 0;
  values.resize(std::min(static_cast<size_t>(count) + 1, values.size()));
}

void DSSDatabase::WriteRegularGateway(varnock::Pathname& pathname, const std::string& date_text,
                                      const std::string& time_text,
                                      const std::vector<float>& values, int32_t plan,
                                      const std::string& units, const std::string& type) {
  RequireConnection();
  pathname.Dpart("");
  const std::string name = pathname.Name();
  const int32_t count = values.empty() ? 0 : static_cast<int32_t>(values.size()) - 1;
  istat_ = 0;
  istat_ = hecZsrts(ifltab_, name, date_text, time_text, count,
                    values.empty() ? nullptr : values.data() + 1, units, type, plan);
  if (istat_ > kLastInformationalStatus)
    RaiseHeclibFailure(RegularStatusText(istat_, Direction::kWrite));
}

void DSSDatabase::ReadIrregularGateway(const varnock::Pathname& pathname, Date window_start,
                                       Date window_end, std::vector<float>& values,
                                       std::vector<Date>& dates, std::string& units,
                                       std::string& type) {
  RequireConnection();
  std::vector<int32_t> times;
  int32_t count = 0;
  int32_t base_julian = 0;
  for (const int32_t size : kIrregularBufferSizes) {
    int32_t start_julian = 0, start_minutes = 0, end_julian = 0, end_minutes = 0;
    HecTimeOf(window_start, start_julian, start_minutes);
    HecTimeOf(window_end, end_julian, end_minutes);
    times.assign(static_cast<size_t>(size) + 1, 0);
    values.assign(static_cast<size_t>(size) + 1, 0.0f);
    count = 0;
    istat_ = 0;
    istat_ =
        hecZrits(ifltab_, pathname.Name(), start_julian, start_minutes, end_julian, end_minutes,
                 times.data() + 1, values.data() + 1, size, count, base_julian, units, type);
    if (istat_ != kIrregularBufferTooSmall) break;
  }
  if (istat_ > kLastInformationalStatus)
    RaiseHeclibFailure(IrregularStatusText(istat_, Direction::kRead));
  count = std::clamp<int32_t>(count, 0, static_cast<int32_t>(values.size()) - 1);
  values.resize(static_cast<size_t>(count) + 1);
  dates.assign(static_cast<size_t>(count) + 1, Date(0.0));
  // Values of one day share the day's parse; the text round trip runs once per day and
  // thread, for this read and the ones after it (bounded). A day is asked of HECLIB once: it
  // covers the minute stamps (first - minute, first - minute + 1440], which the values after
  // it mostly fall in.
  constexpr size_t kRememberedDays = 1 << 16;
  thread_local std::unordered_map<int32_t, Date> midnight_of_day;
  if (midnight_of_day.size() > kRememberedDays) midnight_of_day.clear();
  bool have_day = false;
  int64_t day_stamp = 0;  // the stamp of the day's minute 0
  Date day_midnight(0.0);
  for (int32_t i = 1; i <= count; ++i) {
    const int32_t stamp = times[static_cast<size_t>(i)];
    if (!have_day || stamp <= day_stamp || stamp > day_stamp + 1440) {
      int32_t julian = 0, minutes = 0;
      hecDatCll(base_julian, stamp, julian, minutes);
      auto found = midnight_of_day.find(julian);
      if (found == midnight_of_day.end())
        found = midnight_of_day.emplace(julian, Date::FromText(hecJulDat(julian, 8))).first;
      have_day = true;
      day_stamp = int64_t{stamp} - minutes;
      day_midnight = found->second;
    }
    // PlusDays: before 1900 a serial's fraction counts forward from its day, not up the line.
    dates[static_cast<size_t>(i)] =
        day_midnight.PlusDays(static_cast<int32_t>(stamp - day_stamp) / 1440.0);
  }
}

void DSSDatabase::WriteIrregularGateway(const varnock::Pathname& pathname,
                                        const std::vector<float>& values,
                                        const std::vector<Date>& dates, int32_t merge,
                                        const std::string& units, const std::string& type) {
  RequireConnection();
  const size_t count = dates.empty() ? 0 : dates.size() - 1;
  std::vector<int32_t> times(count + 1, 0);
  std::unordered_map<int64_t, int32_t> julian_of_day;
  // Neighbouring values mostly share their day: the last one found is tried first.
  int64_t last_day = 0;
  int32_t last_julian = 0;
  bool have_day = false;
  for (size_t i = 1; i <= count; ++i) {
    const Date date = dates[i];
    const double whole_day = date.DatePart().Serial();
    const auto day = static_cast<int64_t>(whole_day);
    if (!have_day || day != last_day) {
      auto found = julian_of_day.find(day);
      if (found == julian_of_day.end()) {
        std::string date_text, time_text;
        DateToHecText(Variant(date), date_text, time_text);
        found = julian_of_day.emplace(day, hecDatJul(date_text)).first;
      }
      have_day = true;
      last_day = day;
      last_julian = found->second;
    }
    const int64_t minutes = static_cast<int64_t>(std::nearbyint(date.DayFraction() * 1440));
    const int64_t stamp = static_cast<int64_t>(last_julian) * 1440 + minutes;
    if (stamp < INT32_MIN || stamp > INT32_MAX) RaiseHostError(hostOverflow);
    times[i] = static_cast<int32_t>(stamp);
  }
  const int32_t value_count = values.empty() ? 0 : static_cast<int32_t>(values.size()) - 1;
  istat_ = 0;
  istat_ = hecZsits(
      ifltab_, pathname.Name(), times.data() + 1, values.empty() ? nullptr : values.data() + 1,
      std::min<int32_t>(value_count, static_cast<int32_t>(count)), 0, units, type, merge);
  if (istat_ > kLastInformationalStatus)
    RaiseHeclibFailure(IrregularStatusText(istat_, Direction::kWrite));
}

}  // namespace varnock
