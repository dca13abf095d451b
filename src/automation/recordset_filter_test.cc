#include <gtest/gtest.h>

#include "tests/support/caught_error.h"
#include "varnock/recordset.h"

namespace varnock {
namespace {

using testing::CaughtError;

// Hourly readings of two gauges; the 02:00 reading has no value and the 03:00 one no stamp.
std::shared_ptr<Recordset> Readings() {
  auto records = std::make_shared<Recordset>();
  records->AppendField("Stamp", adDate);
  records->AppendField("Flow", adDouble);
  records->AppendField("Gauge", adVarChar, 8);
  records->Open();
  records->AddNew({"Stamp", "Flow", "Gauge"}, {Variant("1/1/2020 00:00:00"), 10.0, "North"});
  records->AddNew({"Stamp", "Flow", "Gauge"}, {Variant("1/1/2020 01:00:00"), 12.5, "south"});
  records->AddNew({"Stamp", "Gauge"}, {Variant("1/1/2020 02:00:00"), "North"});
  records->AddNew({"Flow", "Gauge"}, {Variant(30.0), "O'Neil"});
  return records;
}

// The Flow values the filter lets through, in order ("-" for Null).
std::string FlowsUnder(Recordset& records, const std::string& filter) {
  records.Filter(filter);
  std::string out;
  for (; !records.IsEOF(); records.MoveNext()) {
    const Variant flow = records.Fields("Flow")->Value();
    out += (out.empty() ? "" : ",") + (flow.IsNull() ? std::string("-") : flow.ToString());
  }
  return out;
}

TEST(RecordsetFilterTest, ComparisonsOfEveryKind) {
  auto records = Readings();
  struct Case {
    const char* filter;
    const char* flows;
  };
  const Case cases[] = {
      // The texts the series import hands over, blanks and all.
      {"[Stamp]  <= #01/01/2020 01:00:00#", "10,12.5"},
      {"([Stamp] >= #01/01/2020 00:30:00# and [Stamp]  <= #01/01/2020 02:00:00#)", "12.5,-"},
      {"[Stamp] > #2020-01-01T00:00:00#", "12.5,-"},
      {"Stamp = #1 Jan 2020 01:00#", "12.5"},
      {"[Flow] >= 12.5", "12.5,30"},
      {"[Flow] <> 10", "12.5,30"},  // the Null flow is neither equal nor unequal
      {"12.5 > [Flow]", "10"},
      {"[Flow] < -1e3", ""},
      {"[Gauge] = 'NORTH'", "10,-"},  // texts compare without regard to case
      {"[Gauge] = 'O''Neil'", "30"},
      {"[Gauge] > \"n\"", "10,12.5,-,30"},
      {"[Flow] = '30'", "30"},  // a text literal takes the field's type
      {"[Stamp] = '1/1/2020 1:00:00 AM'", "12.5"},
      {"[Flow] > 11 or [Gauge] = 'North' and [Flow] < 11", "10,12.5,30"},
      {"([Flow] > 11 or [Gauge] = 'North') and [Flow] < 20", "10,12.5"},
      {"((([Flow] = 10)))", "10"},
      {"[Gauge] = 5", ""},  // not comparable: false, not an error
  };
  for (const Case& c : cases) {
    EXPECT_EQ(FlowsUnder(*records, c.filter), c.flows) << c.filter;
    EXPECT_EQ(records->Filter(), c.filter);
  }
  records->Filter("[Flow] > 1000");
  EXPECT_TRUE(records->IsEOF() && records->IsBOF());
  records->Filter("  ");
  EXPECT_EQ(records->Filter(), "");
  EXPECT_EQ(records->RecordCount(), 4);
}

TEST(RecordsetFilterTest, TextsItCannotReadAreRefusedByName) {
  auto records = Readings();
  records->Filter("[Flow] > 11");
  const char* bad[] = {"[Flow] >",
                       "[Flow] 10",
                       "[Stamp] <= #13/45/2020#",
                       "([Flow] > 1",
                       "[Flow] > 1)",
                       "[Flow] = 'open",
                       "[Flow > 1",
                       "[Flow] = [Flow]",
                       "1 = 1",
                       "[Flow] > 1 and",
                       "[Flow] ~ 1",
                       "[Flow] > 1 xor [Flow] < 3",
                       "[Stamp] = #1/1/2020",
                       "and [Flow] > 1"};
  for (const char* text : bad) {
    const AutomationError error = CaughtError([&] { records->Filter(text); });
    EXPECT_EQ(error.Number(), adErrInvalidArgument) << text;
    EXPECT_NE(error.Description().find(text), std::string::npos) << error.Description();
    EXPECT_EQ(error.Description().rfind("Arguments are of the wrong type", 0), 0u);
  }
  EXPECT_EQ(CaughtError([&] { records->Filter("[Level] > 1"); }).Number(), adErrItemNotFound);
  // A refused text leaves the previous filter in force.
  EXPECT_EQ(records->Filter(), "[Flow] > 11");
  EXPECT_EQ(records->RecordCount(), 2);
}

TEST(RecordsetFilterTest, ClonesShareRowsAndKeepTheirOwnFilter) {
  auto records = Readings();
  auto clone = records->Clone();
  clone->Filter("[Gauge] = 'North'");
  EXPECT_EQ(clone->RecordCount(), 2);
  EXPECT_EQ(records->RecordCount(), 4);
  // A row added through the original reaches the clone when its filter lets it through.
  records->AddNew({"Stamp", "Flow", "Gauge"}, {Variant("1/1/2020 04:00:00"), 40.0, "north"});
  records->AddNew({"Stamp", "Flow", "Gauge"}, {Variant("1/1/2020 05:00:00"), 50.0, "south"});
  EXPECT_EQ(clone->RecordCount(), 3);
  clone->MoveLast();
  EXPECT_EQ(clone->Fields("Flow")->Value().ToDouble(), 40.0);
  clone->Fields("Flow")->Value(Variant(41.0));
  records->MoveLast();
  records->MovePrevious();
  EXPECT_EQ(records->Fields("Flow")->Value().ToDouble(), 41.0);
  // The clone of a filtered recordset starts with that filter, on its first row.
  auto second = clone->Clone();
  EXPECT_EQ(second->Filter(), "[Gauge] = 'North'");
  EXPECT_EQ(second->Fields("Flow")->Value().ToDouble(), 10.0);
  // A filtered-out row added through this recordset stays in view until the next filter.
  clone->AddNew({"Gauge", "Flow"}, {Variant("east"), Variant(60.0)});
  EXPECT_EQ(clone->RecordCount(), 4);
  clone->Filter(clone->Filter());
  EXPECT_EQ(clone->RecordCount(), 3);
}

}  // namespace
}  // namespace varnock
