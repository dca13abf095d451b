#include "varnock/variant_array.h"

#include <cstdint>

#include "automation/host_memory.h"
#include "varnock/error.h"

namespace varnock {

namespace {

int64_t Extent(int32_t lower, int32_t upper) {
  const int64_t extent = static_cast<int64_t>(upper) - lower + 1;
  if (extent < 0) RaiseHostError(hostSubscriptOutOfRange);
  return extent;
}

// Larger arrays than this cannot be described by a safe array's 32-bit element counts.
constexpr int64_t kMaxElements = INT32_MAX;

}  // namespace

VariantArray::VariantArray(int32_t lower, int32_t upper) : bounds_{{lower, upper}} {
  const int64_t count = Extent(lower, upper);
  if (count > kMaxElements) RaiseHostError(hostOverflow);
  AllocateForHost(static_cast<uint64_t>(count), sizeof(Variant),
                  [&] { elements_.resize(static_cast<size_t>(count)); });
}

VariantArray::VariantArray(int32_t lower1, int32_t upper1, int32_t lower2, int32_t upper2)
    : bounds_{{lower1, upper1}, {lower2, upper2}} {
  int64_t count = 0;  // each extent is below 2^33, so their product can pass 2^63
  if (__builtin_mul_overflow(Extent(lower1, upper1), Extent(lower2, upper2), &count) ||
      count > kMaxElements)
    RaiseHostError(hostOverflow);
  AllocateForHost(static_cast<uint64_t>(count), sizeof(Variant),
                  [&] { elements_.resize(static_cast<size_t>(count)); });
}

int32_t VariantArray::LBound(int32_t dimension) const {
  if (dimension < 1 || dimension > Dimensions()) RaiseHostError(hostSubscriptOutOfRange);
  return bounds_[static_cast<size_t>(dimension - 1)].lower;
}

int32_t VariantArray::UBound(int32_t dimension) const {
  if (dimension < 1 || dimension > Dimensions()) RaiseHostError(hostSubscriptOutOfRange);
  return bounds_[static_cast<size_t>(dimension - 1)].upper;
}

size_t VariantArray::Offset(int32_t i, int32_t j, int32_t subscripts) const {
  if (subscripts != Dimensions()) RaiseHostError(hostSubscriptOutOfRange);
  const Bound& first = bounds_[0];
  if (i < first.lower || i > first.upper) RaiseHostError(hostSubscriptOutOfRange);
  const int64_t row = static_cast<int64_t>(i) - first.lower;
  if (subscripts == 1) return static_cast<size_t>(row);
  const Bound& second = bounds_[1];
  if (j < second.lower || j > second.upper) RaiseHostError(hostSubscriptOutOfRange);
  const int64_t rows = Extent(first.lower, first.upper);
  return static_cast<size_t>(row + (static_cast<int64_t>(j) - second.lower) * rows);
}

const Variant& VariantArray::operator()(int32_t i) const {
  return elements_[Offset(i, 0, 1)];
}
Variant& VariantArray::operator()(int32_t i) {
  return elements_[Offset(i, 0, 1)];
}
const Variant& VariantArray::operator()(int32_t i, int32_t j) const {
  return elements_[Offset(i, j, 2)];
}
Variant& VariantArray::operator()(int32_t i, int32_t j) {
  return elements_[Offset(i, j, 2)];
}

}  // namespace varnock
