// Variant: the automation variant. Holds nothing (Empty), Null, a number, a date, a text, a
// boolean, an object or an array of variants, and converts between them as the host does.
#ifndef VARNOCK_VARIANT_H_
#define VARNOCK_VARIANT_H_

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "varnock/date.h"
#include "varnock/object.h"

namespace varnock {

// The host's type codes (VarType).
enum VariantType : int32_t {
  vbEmpty = 0,
  vbNull = 1,
  vbInteger = 2,
  vbLong = 3,
  vbSingle = 4,
  vbDouble = 5,
  vbDate = 7,
  vbString = 8,
  vbObject = 9,
  vbBoolean = 11,
  vbVariant = 12,
  vbArray = 8192,  // added to the element type: an array of variants is vbArray + vbVariant
};

struct NullValue {
  friend bool operator==(NullValue, NullValue) { return true; }
};
inline constexpr NullValue Null{};

class VariantArray;

namespace detail {
// Holds an array inside a Variant with value semantics: copying the Variant copies the array,
// as the host copies a variant that holds an array.
class VARNOCK_API ArrayBox {
 public:
  explicit ArrayBox(VariantArray array);
  ArrayBox(const ArrayBox& other);
  ArrayBox& operator=(const ArrayBox& other);
  ArrayBox(ArrayBox&& other) noexcept;
  ArrayBox& operator=(ArrayBox&& other) noexcept;
  ~ArrayBox();
  VariantArray& Get() const { return *array_; }
  friend VARNOCK_API bool operator==(const ArrayBox& a, const ArrayBox& b);

 private:
  std::unique_ptr<VariantArray> array_;
};
}  // namespace detail

class VARNOCK_API Variant {
 public:
  Variant() = default;
  Variant(NullValue) : value_(NullValue{}) {}
  Variant(int16_t v) : value_(v) {}
  Variant(int32_t v) : value_(v) {}
  Variant(float v) : value_(v) {}
  Variant(double v) : value_(v) {}
  Variant(Date v) : value_(v) {}
  Variant(bool v) : value_(v) {}
  Variant(std::string v) : value_(std::move(v)) {}
  Variant(const char* v) : value_(std::string(v)) {}
  Variant(std::shared_ptr<Object> v) : value_(std::move(v)) {}
  Variant(VariantArray v);  // NOLINT: implicit, like the other automation types

  VariantType Type() const;
  bool IsEmpty() const { return value_.index() == 0; }
  bool IsNull() const { return std::holds_alternative<NullValue>(value_); }
  bool IsObject() const { return std::holds_alternative<std::shared_ptr<Object>>(value_); }
  bool IsArray() const { return std::holds_alternative<detail::ArrayBox>(value_); }
  // True for numbers, booleans, Empty, and text that reads as a number (the host's IsNumeric).
  bool IsNumeric() const;
  // True for dates and for text that reads as a date (the host's IsDate).
  bool IsDate() const;

  // Conversions as the host makes them; each raises 13 "Type mismatch" when the value cannot
  // be converted, 94 "Invalid use of Null" for Null, and 6 "Overflow" when out of range.
  std::string ToString() const;
  double ToDouble() const;
  float ToSingle() const;
  int32_t ToLong() const;     // rounds half to even
  int16_t ToInteger() const;  // rounds half to even
  bool ToBoolean() const;
  Date ToDate() const;
  std::shared_ptr<Object> ToObject() const;
  // The array held; raises 13 "Type mismatch" when the variant holds no array.
  const VariantArray& Array() const;
  VariantArray& Array();

  friend bool operator==(const Variant& a, const Variant& b) { return a.value_ == b.value_; }

 private:
  std::variant<std::monostate, NullValue, int16_t, int32_t, float, double, Date, std::string, bool,
               std::shared_ptr<Object>, detail::ArrayBox>
      value_;
};

// The host's text form of numbers: at most 7 significant digits for singles, 15 for doubles,
// without trailing zeros, with an exponent ("1.234568E+07", "1E-05") for very large or small
// magnitudes.
VARNOCK_API std::string SingleToText(float value);
VARNOCK_API std::string DoubleToText(double value);

// Reads a whole text as a number the way the host does (blanks around it allowed).
VARNOCK_API bool TryParseNumber(std::string_view text, double& value);

}  // namespace varnock

#endif  // VARNOCK_VARIANT_H_
