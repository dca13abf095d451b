#include "engine/rules/dates.h"

#include <ctime>

#include "engine/rules/fixed_text.h"

namespace varnock::engine {
namespace {

// Julian day of 1 January 1970, day 0 of DaysFromCivil.
constexpr int64_t kJulianOfUnixEpoch = 25568;

constexpr std::string_view kMonthNames[12] = {"January",   "February", "March",    "April",
                                              "May",       "June",     "July",     "August",
                                              "September", "October",  "November", "December"};

int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

// Days since 1970-01-01 of a proleptic Gregorian date, month 1..12 (H. Hinnant's algorithm).
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2 ? 1 : 0;
  const int64_t era = FloorDiv(y, 400);
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

// The date text after cleaning: control characters blanked, upper case, trimmed both ends.
struct CleanDate {
  char text[40];
  std::size_t size = 0;
  std::string_view View() const { return {text, size}; }
};

char CleanChar(char c) {
  const auto u = static_cast<unsigned char>(c);
  return (u < 32 || u == 127) ? ' ' : AsciiUpper(c);
}

bool Clean(std::string_view in, CleanDate* out) {
  std::size_t end = in.size();
  while (end > 0 && CleanChar(in[end - 1]) == ' ')
    --end;
  std::size_t begin = 0;
  while (begin < end && CleanChar(in[begin]) == ' ')
    ++begin;
  const std::size_t size = end - begin;
  if (size < 3 || size > sizeof(out->text)) return false;
  for (std::size_t i = 0; i < size; ++i)
    out->text[i] = CleanChar(in[begin + i]);
  out->size = size;
  return true;
}

// HECLIB's integer reader: blanks anywhere are skipped, one sign may lead, at least one digit.
bool ReadInteger(std::string_view field, int64_t* value) {
  bool negative = false;
  bool signed_already = false;
  bool digits = false;
  int64_t v = 0;
  for (char c : field) {
    if (c == ' ') continue;
    if ((c == '+' || c == '-') && !signed_already && !digits) {
      signed_already = true;
      negative = c == '-';
      continue;
    }
    if (!IsDigit(c)) return false;
    digits = true;
    // Saturate: such a number fails every range check later anyway.
    if (v < 1'000'000'000'000'000) v = v * 10 + (c - '0');
  }
  if (!digits) return false;
  *value = negative ? -v : v;
  return true;
}

// The clock is read only for texts without a year.
int32_t YearOrNow(const int32_t* current_year) {
  return current_year != nullptr ? *current_year : CurrentYear();
}

struct Ymd {
  int64_t year;
  int64_t month;
  int64_t day;
};

// Month, separator, day, optional separator and year; separators "/" or "-" in any mix.
bool ParseNumericForm(std::string_view text, const int32_t* current_year, Ymd* out) {
  const std::size_t first = text.find_first_of("/-");
  const std::string_view rest = text.substr(first + 1);
  const std::size_t second = rest.find_first_of("/-");
  const std::string_view year_field =
      second == std::string_view::npos ? std::string_view() : rest.substr(second + 1);
  if (!ReadInteger(text.substr(0, first), &out->month)) return false;
  if (!ReadInteger(rest.substr(0, second), &out->day)) return false;
  if (TrimBlanks(year_field).empty()) {
    out->year = YearOrNow(current_year);
  } else if (!ReadInteger(year_field, &out->year)) {
    return false;
  }
  return out->month >= 1 && out->month <= 12 && out->day >= 1 && out->day <= 31;
}

// A month name anywhere, the day as the digits left over, the year as 2..4 trailing digits.
bool ParseMonthNameForm(std::string_view text, const int32_t* current_year, Ymd* out) {
  std::size_t year_begin = text.size();
  while (year_begin > 0 && IsDigit(text[year_begin - 1]))
    --year_begin;
  const std::size_t year_digits = text.size() - year_begin;
  if (year_digits == 1 || year_digits > 4) return false;
  if (year_digits == 0) {
    out->year = YearOrNow(current_year);
  } else {
    ReadInteger(text.substr(year_begin), &out->year);
  }

  const std::string_view rest = text.substr(0, year_begin);
  out->month = 0;
  for (int m = 0; m < 12 && out->month == 0; ++m) {
    const char abbrev[3] = {AsciiUpper(kMonthNames[m][0]), AsciiUpper(kMonthNames[m][1]),
                            AsciiUpper(kMonthNames[m][2])};
    if (rest.find(std::string_view(abbrev, 3)) != std::string_view::npos) out->month = m + 1;
  }
  if (out->month == 0) return false;

  const std::size_t day_first = rest.find_first_of("0123456789");
  if (day_first == std::string_view::npos) {
    out->day = 1;
    return true;
  }
  const std::size_t day_last = rest.find_last_of("0123456789");
  if (day_last - day_first > 1) return false;
  ReadInteger(rest.substr(day_first, day_last - day_first + 1), &out->day);
  return out->day >= 1 && out->day <= 31;
}

// Text assembled for JULDAT; the longest style needs 18 characters.
class DateText {
 public:
  void Append(std::string_view text) {
    for (char c : text)
      Put(c);
  }
  void AppendNumber(int32_t value, int width) {
    char digits[12];
    int n = 0;
    do {
      digits[n++] = static_cast<char>('0' + value % 10);
      value /= 10;
    } while (value > 0 && n < 12);
    for (int i = n; i < width; ++i)
      Put('0');
    while (n > 0)
      Put(digits[--n]);
  }
  void AppendMonth(int32_t month, bool full, bool upper) {
    const std::string_view name = kMonthNames[month - 1];
    for (char c : full ? name : name.substr(0, 3))
      Put(upper ? AsciiUpper(c) : c);
  }
  std::string_view View() const { return {text_, size_}; }

 private:
  void Put(char c) {
    if (size_ < sizeof(text_)) text_[size_++] = c;
  }
  char text_[32];
  std::size_t size_ = 0;
};

void ComposeStyled(const CivilDate& date, int32_t style, DateText* out) {
  if (style < 0) {
    // Numeric: month, day, year modulo 100; zero-padded below -10, "-" only for -2 and -12.
    const int width = style < -10 ? 2 : 1;
    const char separator[1] = {(style == -2 || style == -12) ? '-' : '/'};
    out->AppendNumber(date.month, width);
    out->Append({separator, 1});
    out->AppendNumber(date.day, width);
    out->Append({separator, 1});
    out->AppendNumber(date.year % 100, 2);
    return;
  }
  const bool upper = style >= 100;
  const bool short_year = (style % 100) >= 10;
  const int layout = style % 10;
  const bool full_month = layout == 0 || layout == 2 || layout == 3;
  auto month = [&] { out->AppendMonth(date.month, full_month, upper); };
  auto year = [&] {
    if (short_year) {
      out->AppendNumber(date.year % 100, 2);
    } else {
      out->AppendNumber(date.year, 4);
    }
  };
  switch (layout) {
    case 0:
    case 1:  // June 2, 1985
      month();
      out->Append(" ");
      out->AppendNumber(date.day, 1);
      out->Append(", ");
      year();
      break;
    case 2:
    case 8:  // 2 June 1985
      out->AppendNumber(date.day, 1);
      out->Append(" ");
      month();
      out->Append(" ");
      year();
      break;
    case 4:
    case 5:  // 02Jun1985
      out->AppendNumber(date.day, layout == 4 ? 2 : 1);
      month();
      year();
      break;
    case 6:  // Jun1985
      month();
      year();
      break;
    case 7:  // 02 Jun 1985
      out->AppendNumber(date.day, 2);
      out->Append(" ");
      month();
      out->Append(" ");
      year();
      break;
    default:  // 3 and 9: June 1985
      month();
      out->Append(" ");
      year();
      break;
  }
}

}  // namespace

bool YmdToJulian(int64_t year, int64_t month, int64_t day, int32_t* julian) {
  // Keep every intermediate far inside int64: such dates are out of 32-bit range anyway.
  constexpr int64_t kLimit = int64_t{1} << 40;
  if (year < -kLimit || year > kLimit || month < -kLimit || month > kLimit || day < -kLimit ||
      day > kLimit) {
    return false;
  }
  const int64_t months = month - 1;
  const int64_t y = year + FloorDiv(months, 12);
  const int64_t m = months - FloorDiv(months, 12) * 12 + 1;
  const int64_t result = DaysFromCivil(y, m, 1) + (day - 1) + kJulianOfUnixEpoch;
  if (result < INT32_MIN || result > INT32_MAX) return false;
  *julian = static_cast<int32_t>(result);
  return true;
}

CivilDate JulianToYmd(int32_t julian) {
  // Inverse of DaysFromCivil (H. Hinnant's algorithm).
  const int64_t z = int64_t{julian} - kJulianOfUnixEpoch + 719468;
  const int64_t era = FloorDiv(z, 146097);
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  const int64_t d = doy - (153 * mp + 2) / 5 + 1;
  const int64_t m = mp < 10 ? mp + 3 : mp - 9;
  const int64_t y = yoe + era * 400 + (m <= 2 ? 1 : 0);
  return {static_cast<int32_t>(y), static_cast<int32_t>(m), static_cast<int32_t>(d)};
}

namespace {

int32_t ParseDate(std::string_view text, const int32_t* current_year, int32_t* julian) {
  *julian = kUndefinedJulian;
  CleanDate clean;
  if (!Clean(text, &clean)) return -1;
  const std::string_view cleaned = clean.View();
  Ymd ymd{};
  const bool numeric = cleaned.find_first_of("/-") != std::string_view::npos;
  const bool ok = numeric ? ParseNumericForm(cleaned, current_year, &ymd)
                          : ParseMonthNameForm(cleaned, current_year, &ymd);
  if (!ok) return -1;
  if (ymd.year < 100) ymd.year += 2000;
  int32_t result = 0;
  if (!YmdToJulian(ymd.year, ymd.month, ymd.day, &result)) return -1;
  *julian = result;
  return 0;
}

}  // namespace

int32_t DateToJulian(std::string_view text, int32_t current_year, int32_t* julian) {
  return ParseDate(text, &current_year, julian);
}

int32_t DateToJulian(std::string_view text, int32_t* julian) {
  return ParseDate(text, nullptr, julian);
}

int32_t CurrentYear() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&now, &local) == nullptr) return 1970;
  return local.tm_year + 1900;
}

int32_t JulianToDate(int32_t julian, int32_t style, std::span<char> out) {
  const CivilDate date = JulianToYmd(julian);
  if (date.year < 0 || date.year > 9999) {
    AssignBlankPadded(out, {});
    return out.empty() ? 0 : 1;
  }
  DateText text;
  ComposeStyled(date, style, &text);
  AssignBlankPadded(out, text.View());
  return static_cast<int32_t>(std::min(out.size(), text.View().size()));
}

DayMinute NormaliseDayMinutes(int32_t julian, int32_t minutes) {
  const int64_t days = FloorDiv(int64_t{minutes} - 1, 1440);
  const int64_t minute = int64_t{minutes} - days * 1440;
  const auto wrapped = static_cast<uint32_t>(static_cast<uint64_t>(int64_t{julian} + days));
  return {static_cast<int32_t>(wrapped), static_cast<int32_t>(minute)};
}

}  // namespace varnock::engine
