#include "varnock/recordset.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

#include "varnock/error.h"

namespace varnock {
namespace {

using testing::ErrorNumberOf;

std::shared_ptr<Recordset> Readings() {
  auto records = std::make_shared<Recordset>();
  records->AppendField("Stamp", adDate);
  records->AppendField("Value", adSingle);
  records->AppendField("Gauge", adVarChar, 4);
  records->Open();
  records->AddNew({"Stamp", "Value", "Gauge"},
                  {Variant("3/7/2001"), Variant("1.5"), Variant("G1")});
  records->AddNew({"value", "Stamp"}, {Variant(2.5), Variant(Date::Serial(2001, 3, 8))});
  records->AddNew({"Stamp", "Value", "Gauge"}, {Variant("3/9/2001"), Variant(3), Variant("G2")});
  return records;
}

TEST(RecordsetTest, RowsAreTypedAndNavigable) {
  auto records = Readings();
  EXPECT_EQ(records->RecordCount(), 3);
  records->MoveFirst();
  EXPECT_EQ(records->Fields("stamp")->Value().Type(), vbDate);
  EXPECT_EQ(records->Fields("Value")->Value().Type(), vbSingle);
  EXPECT_EQ(records->Fields("Value")->Value().ToDouble(), 1.5);
  records->MoveNext();
  EXPECT_TRUE(records->Fields("Gauge")->Value().IsNull());
  records->MoveLast();
  EXPECT_EQ(records->Fields("Gauge")->Value().ToString(), "G2");
  records->MoveNext();
  EXPECT_TRUE(records->IsEOF());
  EXPECT_EQ(ErrorNumberOf([&] { records->Fields("Value")->Value(); }), adErrNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { records->MoveNext(); }), adErrNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { records->Fields("Missing"); }), adErrItemNotFound);
  records->MoveFirst();
  records->MovePrevious();
  EXPECT_TRUE(records->IsBOF());
}

TEST(RecordsetTest, BadValuesAddNothing) {
  auto records = Readings();
  EXPECT_EQ(ErrorNumberOf([&] { records->AddNew({"Gauge"}, {Variant("TOO LONG")}); }),
            adErrDataOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { records->AddNew({"Value"}, {Variant("abc")}); }), hostTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { records->AddNew({"Nope"}, {Variant(1)}); }), adErrItemNotFound);
  EXPECT_EQ(records->RecordCount(), 3);
  EXPECT_EQ(ErrorNumberOf([&] { records->AppendField("Late", adInteger); }), adErrIllegalOperation);
}

TEST(RecordsetTest, ClonesShareRowsButNotCursorsOrFilters) {
  auto records = Readings();
  auto clone = records->Clone();
  clone->FilterRows([](const std::vector<Variant>& row) { return row[1].ToDouble() > 2; });
  EXPECT_EQ(clone->RecordCount(), 2);
  EXPECT_EQ(records->RecordCount(), 3);
  EXPECT_EQ(clone->Fields("Value")->Value().ToDouble(), 2.5);
  clone->Fields("Value")->Value(Variant(9.0f));
  records->MoveFirst();
  records->MoveNext();
  EXPECT_EQ(records->Fields("Value")->Value().ToDouble(), 9.0);
  clone->FilterRows({});
  EXPECT_EQ(clone->RecordCount(), 3);
}

}  // namespace
}  // namespace varnock
