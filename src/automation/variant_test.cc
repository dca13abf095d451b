#include "varnock/variant.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

#include "varnock/dictionary.h"
#include "varnock/error.h"

namespace varnock {
namespace {

using testing::ErrorNumberOf;

TEST(VariantTest, TypesAndNumericTests) {
  EXPECT_EQ(Variant().Type(), vbEmpty);
  EXPECT_EQ(Variant(Null).Type(), vbNull);
  EXPECT_EQ(Variant(int16_t{4}).Type(), vbInteger);
  EXPECT_EQ(Variant(4).Type(), vbLong);
  EXPECT_EQ(Variant(4.0f).Type(), vbSingle);
  EXPECT_EQ(Variant(4.0).Type(), vbDouble);
  EXPECT_EQ(Variant(Date(1.0)).Type(), vbDate);
  EXPECT_EQ(Variant("x").Type(), vbString);
  EXPECT_EQ(Variant(true).Type(), vbBoolean);
  EXPECT_TRUE(Variant().IsNumeric());
  EXPECT_TRUE(Variant(" 1,000.5 ").IsNumeric());
  EXPECT_TRUE(Variant("-1.5e3").IsNumeric());
  EXPECT_FALSE(Variant("1.5x").IsNumeric());
  EXPECT_FALSE(Variant("").IsNumeric());
  EXPECT_FALSE(Variant(Date(1.0)).IsNumeric());
  EXPECT_FALSE(Variant(Null).IsNumeric());
  EXPECT_TRUE(Variant("3/7/2001").IsDate());
  EXPECT_FALSE(Variant(36957.0).IsDate());
}

TEST(VariantTest, ConversionsAsTheHostMakesThem) {
  EXPECT_EQ(Variant(2.5).ToInteger(), 2);  // half to even
  EXPECT_EQ(Variant(3.5).ToInteger(), 4);
  EXPECT_EQ(Variant("-7").ToLong(), -7);
  EXPECT_EQ(Variant(true).ToDouble(), -1.0);
  EXPECT_EQ(Variant("3/7/2001").ToDate(), Date::Serial(2001, 3, 7));
  EXPECT_EQ(Variant(36957).ToDate(), Date::Serial(2001, 3, 7));
  EXPECT_EQ(Variant(Date::Serial(2001, 3, 7)).ToString(), "3/7/2001");
  EXPECT_EQ(Variant(false).ToString(), "False");
  EXPECT_TRUE(Variant(" true").ToBoolean());
  EXPECT_EQ(ErrorNumberOf([] { Variant(40000).ToInteger(); }), hostOverflow);
  EXPECT_EQ(ErrorNumberOf([] { Variant("abc").ToDouble(); }), hostTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([] { Variant(Null).ToString(); }), hostInvalidUseOfNull);
  EXPECT_EQ(ErrorNumberOf([] { Variant("3/7/2001").ToDouble(); }), hostTypeMismatch);
}

TEST(VariantTest, NumberTextKeepsSevenOrFifteenDigits) {
  EXPECT_EQ(SingleToText(1.0f), "1");
  EXPECT_EQ(SingleToText(0.1f), "0.1");
  EXPECT_EQ(SingleToText(-901.0f), "-901");
  EXPECT_EQ(SingleToText(1234567.0f), "1234567");
  EXPECT_EQ(SingleToText(12345678.0f), "1.234568E+07");
  EXPECT_EQ(SingleToText(0.00001f), "1E-05");
  EXPECT_EQ(SingleToText(3.1415926f), "3.141593");
  EXPECT_EQ(DoubleToText(0.1), "0.1");
  EXPECT_EQ(DoubleToText(1.0 / 3.0), "0.333333333333333");
  EXPECT_EQ(DoubleToText(1e15), "1E+15");
  EXPECT_EQ(DoubleToText(-0.0), "0");
}

TEST(DictionaryTest, KeepsInsertionOrderAndRefusesDuplicates) {
  auto dict = std::make_shared<Dictionary>();
  dict->Add("b", Variant(1));
  dict->Add("a", Variant(2));
  dict->Item("c", Variant(3));
  dict->Item("b", Variant(4));
  EXPECT_EQ(dict->Count(), 3);
  EXPECT_EQ(dict->Keys(), (std::vector<std::string>{"b", "a", "c"}));
  EXPECT_EQ(dict->Item("b"), Variant(4));
  EXPECT_TRUE(dict->Item("zzz").IsEmpty());
  EXPECT_FALSE(dict->Exists("zzz"));
  EXPECT_EQ(ErrorNumberOf([&] { dict->Add("a", Variant()); }), 457);
  dict->Remove("b");
  EXPECT_EQ(dict->Keys(), (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(dict->Item("c"), Variant(3));
  EXPECT_EQ(ErrorNumberOf([&] { dict->Remove("b"); }), 32811);
}

}  // namespace
}  // namespace varnock
