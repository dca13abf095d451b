#include "varnock/variant_array.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

namespace varnock {
namespace {

int32_t ErrorNumberOf(const std::function<void()>& action) {
  return testing::CaughtError(action).Number();
}

TEST(VariantArrayTest, BoundsAndSubscriptsAreChecked) {
  VariantArray row(1, 3);
  EXPECT_EQ(std::make_tuple(row.Dimensions(), row.LBound(), row.UBound()),
            std::make_tuple(1, 1, 3));
  row(3) = Variant(2.5f);
  EXPECT_EQ(row(3), Variant(2.5f));
  EXPECT_TRUE(row(1).IsEmpty());
  for (const auto& bad : std::vector<std::function<void()>>{
           [&] { row(0); }, [&] { row(4); }, [&] { row(1, 1); }, [&] { row.UBound(2); }})
    EXPECT_EQ(ErrorNumberOf(bad), hostSubscriptOutOfRange);

  VariantArray table(-2, 1, 1, 2);
  EXPECT_EQ(table.ElementCount(), 8);
  table(-2, 2) = Variant("corner");
  table(1, 1) = Variant(7);
  EXPECT_EQ(table(-2, 2), Variant("corner"));
  EXPECT_TRUE(table(-2, 1).IsEmpty() && table(1, 2).IsEmpty());  // cells do not alias
  EXPECT_EQ(ErrorNumberOf([&] { table(1, 3); }), hostSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { table(2); }), hostSubscriptOutOfRange);

  EXPECT_EQ(VariantArray(1, 0).ElementCount(), 0);
  EXPECT_EQ(ErrorNumberOf([] { VariantArray(1, -1); }), hostSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([] { VariantArray(INT32_MIN, INT32_MAX); }), hostOverflow);
}

TEST(VariantArrayTest, VariantHoldsACopyOfTheArray) {
  VariantArray values(1, 2);
  values(1) = Variant(1.0f);
  const Variant held(values);
  EXPECT_TRUE(held.IsArray());
  EXPECT_EQ(held.Type(), vbArray | vbVariant);
  Variant copy = held;
  copy.Array()(1) = Variant(9.0f);
  EXPECT_EQ(held.Array()(1), Variant(1.0f));
  EXPECT_FALSE(copy == held);
  EXPECT_FALSE(Variant(3).IsArray() || held.IsNumeric());
  EXPECT_EQ(ErrorNumberOf([] { Variant(3).Array(); }), hostTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { held.ToDouble(); }), hostTypeMismatch);
}

}  // namespace
}  // namespace varnock
