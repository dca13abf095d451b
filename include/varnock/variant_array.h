// VariantArray: the automation runtime's array of variants (a safe array of VT_VARIANT) with
// one or two dimensions and any lower bounds. A Variant holds one by value.
#ifndef VARNOCK_VARIANT_ARRAY_H_
#define VARNOCK_VARIANT_ARRAY_H_

#include <cstdint>
#include <vector>

#include "varnock/object.h"
#include "varnock/variant.h"

namespace varnock {

class VARNOCK_API VariantArray {
 public:
  // Bounds as the host's ReDim takes them; an upper bound one below the lower gives an empty
  // dimension, anything lower raises "Subscript out of range".
  VariantArray(int32_t lower, int32_t upper);
  VariantArray(int32_t lower1, int32_t upper1, int32_t lower2, int32_t upper2);

  int32_t Dimensions() const { return static_cast<int32_t>(bounds_.size()); }
  // Bounds of a dimension counted from 1, as LBound and UBound; raise "Subscript out of range"
  // for a dimension the array does not have.
  int32_t LBound(int32_t dimension = 1) const;
  int32_t UBound(int32_t dimension = 1) const;
  int64_t ElementCount() const { return static_cast<int64_t>(elements_.size()); }

  // Elements by subscript; the count of subscripts must match the dimensions and each must be
  // within its bounds, else "Subscript out of range".
  const Variant& operator()(int32_t i) const;
  Variant& operator()(int32_t i);
  const Variant& operator()(int32_t i, int32_t j) const;
  Variant& operator()(int32_t i, int32_t j);

  friend bool operator==(const VariantArray& a, const VariantArray& b) {
    return a.bounds_ == b.bounds_ && a.elements_ == b.elements_;
  }

 private:
  struct Bound {
    int32_t lower;
    int32_t upper;
    friend bool operator==(const Bound&, const Bound&) = default;
  };
  size_t Offset(int32_t i, int32_t j, int32_t subscripts) const;

  std::vector<Bound> bounds_;
  std::vector<Variant> elements_;  // first subscript varies fastest, as in a safe array
};

}  // namespace varnock

#endif  // VARNOCK_VARIANT_ARRAY_H_
