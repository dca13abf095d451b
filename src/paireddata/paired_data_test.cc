#include "varnock/paired_data.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"
#include "varnock/database.h"
#include "varnock/error.h"

namespace varnock {
namespace {

using testing::CaughtError;

// A database connected to a copy of a reference file.
std::shared_ptr<DSSDatabase> ConnectedCopy(const std::string& source,
                                           const testing::TempFolder& folder) {
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.CopyIn(source, "copy.dss"));
  db->Connect();
  return db;
}

TEST(PairedDataTest, NewObjectAndLimits) {
  PairedData pd;
  EXPECT_EQ(pd.Nord(), 0);
  EXPECT_EQ(pd.Ncurve(), 0);
  EXPECT_EQ(pd.XValue(0), -902.0f);
  EXPECT_EQ(pd.YValue(0, 0), -902.0f);
  EXPECT_EQ(pd.PdType(axFirstAxis), "UNT");
  EXPECT_EQ(pd.AsXmlString(),
            "<pd typeAbs=\"UNT\" typeOrd=\"UNT\" unitsAbs=\"\" unitsOrd=\"\"></pd>");
  EXPECT_EQ(CaughtError([&] { pd.SetNcurveNord(1, 20000); }).Number(), hostOverflow);
  EXPECT_EQ(CaughtError([&] { pd.Units(axUndefined); }).Number(), kObjectErrorBase + 5);
  EXPECT_EQ(CaughtError([&] { pd.PdType(static_cast<PDAxes>(3), "X"); }).Number(),
            kObjectErrorBase + 5);
  EXPECT_EQ(CaughtError([&] { pd.Plan(plnPreserveMissing); }).Source(), "PairedData");
  pd.Plan(plnWriteOnlyIfExisting);
  EXPECT_EQ(pd.Plan(), plnWriteOnlyIfExisting);
  EXPECT_EQ(CaughtError([&] { pd.MissingIsError(true); }).Number(), kObjectErrorBase + 16385);
  EXPECT_FALSE(pd.MissingIsError());
}

TEST(PairedDataTest, OrdinateLayoutAndXml) {
  PairedData pd;
  pd.SetNcurveNord(1, 3);
  for (int i = 0; i < 3; ++i) {
    pd.XValue(i, static_cast<float>(i + 1));
    pd.YValue(0, i, 10.0f * (i + 1) + 0.5f);
  }
  EXPECT_EQ(pd.XValue(3), pd.YValue(0, 0));  // greater-than test lets Nord through
  EXPECT_EQ(CaughtError([&] { pd.XValue(4); }).Number(), kObjectErrorBase + 5);
  EXPECT_EQ(CaughtError([&] { pd.YValue(1, 0); }).Number(), hostSubscriptOutOfRange);
  pd.SetNcurveNord(1, 2);
  pd.Units(axFirstAxis, "FT");
  pd.Units(axSecondAxis, "CFS");
  pd.XValue(0, 1.0f);
  pd.XValue(1, 2.0f);
  pd.YValue(0, 0, 10.0f);
  pd.YValue(0, 1, 20.5f);
  EXPECT_EQ(pd.AsXmlString(),
            "<pd typeAbs=\"UNT\" typeOrd=\"UNT\" unitsAbs=\"FT\" unitsOrd=\"CFS\"><abs "
            "value=\"1\"><ord>10</ord></abs><abs value=\"2\"><ord>20.5</ord></abs></pd>");
  pd.YValue(0, 1, 12345678.0f);
  pd.XValue(1, 0.00001f);
  EXPECT_NE(pd.AsXmlString().find("<abs value=\"1E-05\"><ord>1.234568E+07</ord>"),
            std::string::npos);
}

// The parameter is the DSS version of the new file.
class PairedDataVersions : public ::testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Versions, PairedDataVersions, ::testing::Values(6, 7),
                         [](const auto& info) { return "DSS" + std::to_string(info.param); });

TEST_P(PairedDataVersions, StoreAndRetrieveWithLabels) {
  testing::TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("paired.dss"));
  db->Setting("DSSV", Variant(GetParam()));
  db->Connect(true);
  auto pd = std::make_shared<PairedData>();
  pd->Pathname()->Name("/BASIN/GAUGE/STAGE-FLOW///RATING/");
  pd->SetNcurveNord(3, 4);
  pd->Units(axFirstAxis, "FT");
  pd->Units(axSecondAxis, "CFS");
  pd->PdType(axSecondAxis, "LINEAR");
  pd->Horizontal(axSecondAxis);
  for (int i = 0; i < 4; ++i) {
    pd->XValue(i, static_cast<float>(i));
    for (int c = 0; c < 3; ++c)
      pd->YValue(c, i, 100.0f * c + i);
  }
  pd->LABEL(0, "LOW");
  pd->LABEL(1, "MIDDLE");
  pd->LABEL(2, "HIGH");
  pd->Store(db);
  EXPECT_EQ(db->istat(), 0);
  EXPECT_TRUE(pd->RecordExists(db));

  auto back = std::make_shared<PairedData>();
  back->Pathname()->Name("/BASIN/GAUGE/STAGE-FLOW///RATING/");
  back->Retrieve(db);
  EXPECT_EQ(back->Nord(), 4);
  EXPECT_EQ(back->Ncurve(), 3);
  EXPECT_EQ(back->Units(axSecondAxis), "CFS");
  EXPECT_EQ(back->PdType(axSecondAxis), "LINEAR");
  EXPECT_EQ(back->Horizontal(), axSecondAxis);
  EXPECT_EQ(back->AsXmlString(), pd->AsXmlString());
  EXPECT_EQ(back->LABEL(0), "LOW");
  EXPECT_EQ(back->LABEL(2), "HIGH");

  back->Pathname()->Name("/BASIN/GAUGE/NOTHING///RATING/");
  EXPECT_EQ(CaughtError([&] { back->Retrieve(db); }).Description(), "Record does not exist");
}

TEST(PairedDataTest, TimeSeriesIsNotPairedData) {
  for (const char* file : {"fixture7.dss", "fixture6.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(source, file);
    testing::TempFolder folder;
    auto db = ConnectedCopy(source, folder);
    auto pd = std::make_shared<PairedData>();
    pd->Pathname()->Name("/FIXTURES/DAILY/STAGE/01Jan2020/1Day/C-ZTSSTORE/");
    const AutomationError error = CaughtError([&] { pd->Retrieve(db); });
    EXPECT_EQ(error.Description(), "Record is not paired data") << file;
    EXPECT_EQ(error.HelpContext(), 518);
  }
}

TEST(PairedDataTest, ReferenceCurvesReadAsHecWroteThem) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  testing::TempFolder folder;
  auto db = ConnectedCopy(source, folder);
  auto pd = std::make_shared<PairedData>();
  pd->Pathname()->Name("/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/");
  pd->Retrieve(db);
  EXPECT_EQ(pd->Nord(), 10);
  EXPECT_EQ(pd->Ncurve(), 2);
  EXPECT_EQ(pd->Units(axFirstAxis), "FT");
  EXPECT_EQ(pd->Units(axSecondAxis), "AC-FT");
  EXPECT_EQ(pd->PdType(axSecondAxis), "UNT");
  EXPECT_EQ(pd->LABEL(0), "LOW CURVE");
  EXPECT_EQ(pd->LABEL(1), "HIGH CURVE");
  EXPECT_EQ(pd->XValue(9), 145.0f);
  EXPECT_EQ(pd->YValue(0, 9), 4050.0f);
  EXPECT_EQ(pd->YValue(1, 3), 685.0f);

  // The double-precision record arrives in single precision.
  pd->Pathname()->Name("/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/");
  pd->Retrieve(db);
  EXPECT_EQ(pd->Nord(), 6);
  EXPECT_EQ(pd->PdType(axFirstAxis), "LINEAR");
  EXPECT_EQ(pd->LABEL(1), "WINTER");
  EXPECT_EQ(pd->YValue(0, 1), static_cast<float>(1000.1428571428571));
}

TEST(GriddedDataTest, RefusesRecordsButAnswersExistence) {
  testing::TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("grid.dss"));
  db->Connect(true);
  auto grid = std::make_shared<GriddedData>();
  grid->Pathname()->Name("/SHG/BASIN/PRECIP/01JAN2020:0100/01JAN2020:0200/NEXRAD/");
  const AutomationError refused = CaughtError([&] { grid->Retrieve(db); });
  EXPECT_EQ(refused.Number(), kObjectErrorBase + 16385);
  EXPECT_EQ(refused.Source(), "GriddedData");
  EXPECT_EQ(CaughtError([&] { grid->Store(db); }).Number(), kObjectErrorBase + 16385);
  EXPECT_FALSE(grid->RecordExists(db));
}

}  // namespace
}  // namespace varnock
