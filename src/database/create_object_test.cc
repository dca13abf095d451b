#include "varnock/create_object.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"
#include "varnock/varnock.h"

namespace varnock {
namespace {

template <typename T>
bool Is(const std::shared_ptr<Object>& object) {
  return std::dynamic_pointer_cast<T>(object) != nullptr;
}

TEST(CreateObjectTest, CreatesEveryClassByItsRegisteredName) {
  EXPECT_TRUE(Is<DSSDatabase>(CreateObject("Varnock23.DSSDatabase")));
  EXPECT_TRUE(Is<Pathname>(CreateObject("Varnock23.Pathname")));
  EXPECT_TRUE(Is<RegularTimeSeries>(CreateObject("varnock23.regulartimeseries")));
  EXPECT_TRUE(Is<IrregTimeSeries>(CreateObject(" VARNOCK23.IRREGTIMESERIES ")));
  EXPECT_TRUE(Is<PairedData>(CreateObject("Varnock23.PairedData")));
  EXPECT_TRUE(Is<GriddedData>(CreateObject("Varnock23.GriddedData")));
}

TEST(CreateObjectTest, EachCallMakesANewObject) {
  EXPECT_NE(CreateObject("Varnock23.Pathname"), CreateObject("Varnock23.Pathname"));
}

TEST(CreateObjectTest, UnknownNamesRaise429) {
  for (const char* name : {"", "Varnock23.", "Varnock23.IDSSRecord", "Scripting.Dictionary",
                           "RegularTimeSeries", "Varnock22.RegularTimeSeries"}) {
    const AutomationError error = testing::CaughtError([&] { CreateObject(name); });
    EXPECT_EQ(error.Number(), hostCannotCreateObject) << name;
    EXPECT_EQ(error.Source(), kLibraryTitle) << name;
    EXPECT_EQ(error.Description(), "ActiveX component can't create object") << name;
  }
}

}  // namespace
}  // namespace varnock
