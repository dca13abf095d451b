#include "varnock/variant_array.h"

#include <gtest/gtest.h>

#include "varnock/error.h"

namespace varnock {
namespace {

int32_t ErrorNumberOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error.Number();
  }
  return 0;
}

TEST(VariantArrayTest, BoundsAndSubscriptsAreChecked) {
  VariantArray row(1, 3);
  EXPECT_EQ(row.Dimensions(), 1);
  EXPECT_EQ(row.LBound(), 1);
  EXPECT_EQ(row.UBound(), 3);
  EXPECT_TRUE(row(1).IsEmpty());
  row(3) = Variant(2.5f);
  EXPECT_EQ(row(3).ToDouble(), 2.5);
  for (const int32_t bad : {0, 4})
    EXPECT_EQ(ErrorNumberOf([&] { row(bad); }), hostSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { row(1, 1); }), hostSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { row.UBound(2); }), hostSubscriptOutOfRange);

  VariantArray table(-2, 1, 1, 2);
  EXPECT_EQ(table.ElementCount(), 8);
  EXPECT_EQ(table.LBound(1), -2);
  EXPECT_EQ(table.UBound(2), 2);
  table(-2, 2) = Variant("corner");
  table(1, 1) = Variant(7);
  EXPECT_EQ(table(-2, 2).ToString(), "corner");
  EXPECT_TRUE(table(-2, 1).IsEmpty());  // distinct cells, not aliases
  EXPECT_EQ(table(1, 1).ToLong(), 7);
  EXPECT_EQ(ErrorNumberOf([&] { table(1, 3); }), hostSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { table(2); }), hostSubscriptOutOfRange);

  EXPECT_EQ(VariantArray(1, 0).ElementCount(), 0);
  EXPECT_EQ(ErrorNumberOf([] { VariantArray(1, -1); }), hostSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([] { VariantArray(INT32_MIN, INT32_MAX); }), hostOverflow);
}

TEST(VariantArrayTest, VariantHoldsACopyOfTheArray) {
  VariantArray values(1, 2);
  values(1) = Variant(1.0f);
  Variant held(values);
  EXPECT_TRUE(held.IsArray());
  EXPECT_EQ(held.Type(), vbArray | vbVariant);
  Variant copy = held;
  copy.Array()(1) = Variant(9.0f);
  EXPECT_EQ(held.Array()(1).ToDouble(), 1.0);
  EXPECT_FALSE(copy == held);
  copy.Array()(1) = Variant(1.0f);
  EXPECT_TRUE(copy == held);

  EXPECT_FALSE(Variant(3).IsArray());
  EXPECT_EQ(ErrorNumberOf([] { Variant(3).Array(); }), hostTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { held.ToDouble(); }), hostTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { held.ToString(); }), hostTypeMismatch);
  EXPECT_FALSE(held.IsNumeric());
}

}  // namespace
}  // namespace varnock
