// Every error the classes raise carries a description: one failing call per raise site that
// once raised an empty one.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/caught_error.h"
#include "tests/support/temp_folder.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/irregular_time_series.h"
#include "varnock/paired_data.h"
#include "varnock/regular_time_series.h"

namespace varnock {
namespace {

using testing::CaughtError;
using testing::TempFolder;

constexpr const char* kStage = "/A/B/STAGE/01JAN2020/1HOUR/F/";

std::shared_ptr<Pathname> Path(const std::string& name) {
  auto path = std::make_shared<Pathname>();
  path->Name(name);
  return path;
}

std::shared_ptr<RegularTimeSeries> Hourly(const std::string& name, int32_t count) {
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->Pathname()->Name(name);
  ts->Starting(Date::Serial(2020, 1, 1, 1, 0));
  ts->ValueCount(count);
  return ts;
}

TEST(ErrorTextsTest, EveryFailingCallSaysWhatWentWrong) {
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("texts.dss"));
  db->Connect(true);
  Hourly(kStage, 3)->Store(db);
  auto unconnected = std::make_shared<DSSDatabase>();
  unconnected->Name(folder.File("absent.dss"));
  std::ofstream(folder.File("text.dss")) << "not a DSS file, only text\n";
  auto not_dss = std::make_shared<DSSDatabase>();
  not_dss->Name(folder.File("text.dss"));

  auto missing_regular = Hourly("/A/B/NONE/01JAN2020/1HOUR/F/", 3);
  missing_regular->MissingIsError(true);
  auto irregular = std::make_shared<IrregTimeSeries>();
  auto paired = std::make_shared<PairedData>();
  paired->SetNcurveNord(1, 2);
  auto gridded = std::make_shared<GriddedData>();
  Variant array;

  const int32_t not_open = kObjectErrorBase + dssNotOpen;
  const int32_t heclib = kObjectErrorBase + dssHeclibError;
  const int32_t argument = kObjectErrorBase + 5;
  const int32_t not_set_up = kObjectErrorBase + 16385;
  const std::string stage = Path(kStage)->Name();
  const struct {
    const char* call;
    int32_t number;
    std::function<void()> action;
    std::string text = "";  // when given, the exact description
  } cases[] = {
      {"Inquire, not connected", not_open, [&] { unconnected->Inquire("NREC"); },
       "No DSS file connected"},
      {"RecordExists, not connected", not_open,
       [&] { Hourly(kStage, 1)->RecordExists(unconnected); }},
      {"RecordDataType, not connected", not_open,
       [&] { Hourly(kStage, 1)->RecordDataType(unconnected); }},
      {"Rename, not connected", not_open, [&] { unconnected->Rename(Path(kStage), Path(kStage)); }},
      {"Copy, not connected", not_open, [&] { unconnected->Copy(Path(kStage), Path(kStage)); }},
      {"Delete, not connected", not_open, [&] { unconnected->Delete(Path(kStage)); }},
      {"Undelete, not connected", not_open, [&] { unconnected->Undelete(Path(kStage)); }},
      {"Name, connected", kObjectErrorBase + dssIsOpen, [&] { db->Name("other.dss"); },
       "The HEC-DSS file " + folder.File("texts.dss") + " is already open."},
      {"Version, no file", heclib, [&] { unconnected->Version(); }},
      {"Version, not a DSS file", heclib, [&] { not_dss->Version(); }},
      {"Copy, no such record", heclib,
       [&] { db->Copy(Path("/A/B/NONE/01JAN2020/1HOUR/F/"), Path("/A/B/C/01JAN2020/1HOUR/F/")); }},
      {"Undelete, a live record", heclib, [&] { db->Undelete(Path(kStage)); },
       "Record already exists:" + stage},
      {"Undelete, never written", heclib,
       [&] { db->Undelete(Path("/A/B/NEVER/01JAN2020/1HOUR/F/")); }},
      {"RegularTimeSeries.DateTime let", argument,
       [&] { Hourly(kStage, 1)->DateTime(0, Date::Serial(2020, 1, 1)); }},
      {"RegularTimeSeries.Plan 3", argument, [&] { Hourly(kStage, 1)->Plan(plnReserved3); }},
      {"RegularTimeSeries.Plan 4", argument, [&] { Hourly(kStage, 1)->Plan(plnPreserveMissing); }},
      {"RegularTimeSeries.Retrieve, no data", heclib, [&] { missing_regular->Retrieve(db); },
       "No data found for /A/B/NONE//1HOUR/F/"},  // the read blanks the D part
      {"RegularTimeSeries.FromDOM", not_set_up, [&] { Hourly(kStage, 1)->FromDOM(nullptr); }},
      {"RegularTimeSeries.ToDOM", not_set_up, [&] { Hourly(kStage, 1)->ToDOM(); }},
      {"RegularTimeSeries.SetMaximumFrom, other length", kObjectErrorBase + dssDateError,
       [&] { Hourly(kStage, 2)->SetMaximumFrom(Hourly(kStage, 3)); }},
      {"RegularTimeSeries.SetAsPeakSince", not_set_up,
       [&] { Hourly(kStage, 1)->SetAsPeakSince(); }},
      {"IrregTimeSeries.Plan let", not_set_up, [&] { irregular->Plan(plnAlwaysWrite); }},
      {"IrregTimeSeries.Plan get", not_set_up, [&] { irregular->Plan(); },
       "Plan is not supported by IrregTimeSeries; MergeOption takes the place of a store plan"},
      {"IrregTimeSeries.FromDOM", not_set_up, [&] { irregular->FromDOM(nullptr); }},
      {"IrregTimeSeries.ToDOM", not_set_up, [&] { irregular->ToDOM(); }},
      {"IrregTimeSeries.FillArray", not_set_up, [&] { irregular->FillArray(array, false); }},
      {"IrregTimeSeries.FromRecordset", not_set_up,
       [&] { irregular->FromRecordset(nullptr, nullptr, nullptr); }},
      {"PairedData.Units, axis 3", argument, [&] { paired->Units(static_cast<PDAxes>(3)); }},
      {"PairedData.PdType let, axis 0", argument,
       [&] { paired->PdType(static_cast<PDAxes>(0), "UNT"); }},
      {"PairedData.XValue, beyond Nord", argument, [&] { paired->XValue(3); }},
      {"PairedData.Plan 9", argument, [&] { paired->Plan(static_cast<DSSPlans>(9)); }},
      {"PairedData.MissingIsError let", not_set_up, [&] { paired->MissingIsError(true); }},
      {"GriddedData.Store", not_set_up, [&] { gridded->Store(db); }},
      {"GriddedData.Retrieve", not_set_up, [&] { gridded->Retrieve(db); },
       "Retrieve is not supported by GriddedData"},
  };
  for (const auto& c : cases) {
    const AutomationError error = CaughtError(c.action);
    EXPECT_EQ(error.Number(), c.number) << c.call;
    EXPECT_FALSE(error.Description().empty()) << c.call;
    EXPECT_EQ(std::string(error.what()).find("Automation error"), std::string::npos) << c.call;
    if (!c.text.empty()) {
      EXPECT_EQ(error.Description(), c.text) << c.call;
    }
  }
}

}  // namespace
}  // namespace varnock
