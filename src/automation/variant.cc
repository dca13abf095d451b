#include "varnock/variant.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "varnock/error.h"
#include "varnock/variant_array.h"

namespace varnock {

namespace {

std::string FormatNumber(double value, int digits) {
  if (value == 0) return "0";
  char text[48];
  std::snprintf(text, sizeof text, "%.*G", digits, value);
  return text;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
    text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
    text.remove_suffix(1);
  return text;
}

template <typename T>
T RoundToInteger(double value) {
  const double rounded = std::nearbyint(value);  // half to even under the default mode
  if (!(rounded >= static_cast<double>(std::numeric_limits<T>::min()) &&
        rounded <= static_cast<double>(std::numeric_limits<T>::max())))
    RaiseHostError(hostOverflow);
  return static_cast<T>(rounded);
}

}  // namespace

namespace detail {

ArrayBox::ArrayBox(VariantArray array) : array_(std::make_unique<VariantArray>(std::move(array))) {}
ArrayBox::ArrayBox(const ArrayBox& other) : array_(std::make_unique<VariantArray>(*other.array_)) {}
ArrayBox& ArrayBox::operator=(const ArrayBox& other) {
  if (this != &other) array_ = std::make_unique<VariantArray>(*other.array_);
  return *this;
}
ArrayBox::ArrayBox(ArrayBox&& other) noexcept = default;
ArrayBox& ArrayBox::operator=(ArrayBox&& other) noexcept = default;
ArrayBox::~ArrayBox() = default;

bool operator==(const ArrayBox& a, const ArrayBox& b) {
  return *a.array_ == *b.array_;
}

}  // namespace detail

Variant::Variant(VariantArray v) : value_(detail::ArrayBox(std::move(v))) {}

std::string SingleToText(float value) {
  return FormatNumber(value, 7);
}

std::string DoubleToText(double value) {
  return FormatNumber(value, 15);
}

bool TryParseNumber(std::string_view text, double& value) {
  text = Trim(text);
  if (text.empty()) return false;
  // Digit-group commas are allowed in the whole part, as the host allows them.
  std::string cleaned;
  cleaned.reserve(text.size());
  bool seen_digit = false, seen_point = false, seen_exponent = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (std::isdigit(static_cast<unsigned char>(c))) {
      seen_digit = true;
      cleaned += c;
    } else if (c == ',' && seen_digit && !seen_point && !seen_exponent) {
      continue;
    } else if (c == '.' && !seen_point && !seen_exponent) {
      seen_point = true;
      cleaned += c;
    } else if ((c == 'E' || c == 'e' || c == 'D' || c == 'd') && seen_digit && !seen_exponent) {
      seen_exponent = true;
      cleaned += 'E';
    } else if ((c == '+' || c == '-') && (i == 0 || (seen_exponent && (cleaned.back() == 'E')))) {
      cleaned += c;
    } else {
      return false;
    }
  }
  if (!seen_digit || cleaned.back() == 'E' || cleaned.back() == '+' || cleaned.back() == '-')
    return false;
  char* end = nullptr;
  const double parsed = std::strtod(cleaned.c_str(), &end);
  if (end != cleaned.c_str() + cleaned.size() || !std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

VariantType Variant::Type() const {
  static constexpr VariantType kTypes[] = {vbEmpty,
                                           vbNull,
                                           vbInteger,
                                           vbLong,
                                           vbSingle,
                                           vbDouble,
                                           vbDate,
                                           vbString,
                                           vbBoolean,
                                           vbObject,
                                           static_cast<VariantType>(vbArray | vbVariant)};
  return kTypes[value_.index()];
}

bool Variant::IsNumeric() const {
  switch (Type()) {
    case vbEmpty:
    case vbInteger:
    case vbLong:
    case vbSingle:
    case vbDouble:
    case vbBoolean:
      return true;
    case vbString: {
      double ignored;
      return TryParseNumber(std::get<std::string>(value_), ignored);
    }
    default:
      return false;
  }
}

bool Variant::IsDate() const {
  if (Type() == vbDate) return true;
  if (Type() == vbString) return Date::Parse(std::get<std::string>(value_)).has_value();
  return false;
}

std::string Variant::ToString() const {
  switch (Type()) {
    case vbEmpty:
      return "";
    case vbNull:
      RaiseHostError(hostInvalidUseOfNull);
    case vbInteger:
      return std::to_string(std::get<int16_t>(value_));
    case vbLong:
      return std::to_string(std::get<int32_t>(value_));
    case vbSingle:
      return SingleToText(std::get<float>(value_));
    case vbDouble:
      return DoubleToText(std::get<double>(value_));
    case vbDate:
      return std::get<Date>(value_).ToString();
    case vbString:
      return std::get<std::string>(value_);
    case vbBoolean:
      return std::get<bool>(value_) ? "True" : "False";
    default:
      RaiseHostError(hostTypeMismatch);
  }
}

double Variant::ToDouble() const {
  switch (Type()) {
    case vbEmpty:
      return 0;
    case vbNull:
      RaiseHostError(hostInvalidUseOfNull);
    case vbInteger:
      return std::get<int16_t>(value_);
    case vbLong:
      return std::get<int32_t>(value_);
    case vbSingle:
      return std::get<float>(value_);
    case vbDouble:
      return std::get<double>(value_);
    case vbDate:
      return std::get<Date>(value_).Serial();
    case vbBoolean:
      return std::get<bool>(value_) ? -1.0 : 0.0;
    case vbString: {
      double value = 0;
      if (!TryParseNumber(std::get<std::string>(value_), value)) RaiseHostError(hostTypeMismatch);
      return value;
    }
    default:
      RaiseHostError(hostTypeMismatch);
  }
}

float Variant::ToSingle() const {
  const double value = ToDouble();
  if (std::fabs(value) > std::numeric_limits<float>::max()) RaiseHostError(hostOverflow);
  return static_cast<float>(value);
}

int32_t Variant::ToLong() const {
  return RoundToInteger<int32_t>(ToDouble());
}

int16_t Variant::ToInteger() const {
  return RoundToInteger<int16_t>(ToDouble());
}

bool Variant::ToBoolean() const {
  if (Type() == vbString) {
    const std::string_view text = Trim(std::get<std::string>(value_));
    if (text.size() == 4 && std::toupper(text[0]) == 'T' && std::toupper(text[1]) == 'R' &&
        std::toupper(text[2]) == 'U' && std::toupper(text[3]) == 'E')
      return true;
    if (text.size() == 5 && std::toupper(text[0]) == 'F' && std::toupper(text[1]) == 'A' &&
        std::toupper(text[2]) == 'L' && std::toupper(text[3]) == 'S' &&
        std::toupper(text[4]) == 'E')
      return false;
  }
  return ToDouble() != 0;
}

Date Variant::ToDate() const {
  switch (Type()) {
    case vbDate:
      return std::get<Date>(value_);
    case vbString: {
      const std::string& text = std::get<std::string>(value_);
      if (auto date = Date::Parse(text)) return *date;
      double serial = 0;
      if (TryParseNumber(text, serial)) return Date(serial);
      RaiseHostError(hostTypeMismatch);
    }
    case vbNull:
      RaiseHostError(hostInvalidUseOfNull);
    case vbObject:
      RaiseHostError(hostTypeMismatch);
    default:
      return Date(ToDouble());
  }
}

std::shared_ptr<Object> Variant::ToObject() const {
  if (IsEmpty()) return nullptr;
  if (!IsObject()) RaiseHostError(hostTypeMismatch);
  return std::get<std::shared_ptr<Object>>(value_);
}

const VariantArray& Variant::Array() const {
  if (!IsArray()) RaiseHostError(hostTypeMismatch);
  return std::get<detail::ArrayBox>(value_).Get();
}

VariantArray& Variant::Array() {
  if (!IsArray()) RaiseHostError(hostTypeMismatch);
  return std::get<detail::ArrayBox>(value_).Get();
}

}  // namespace varnock
