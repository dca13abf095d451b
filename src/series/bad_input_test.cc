// Bad input to the classes: numbers that are not dates, times before 30 December 1899, arrays
// larger than memory, stores into read-only files and files that are not DSS files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>

#include "tests/support/caught_error.h"
#include "tests/support/temp_folder.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/heclib.h"
#include "varnock/irregular_time_series.h"
#include "varnock/regular_time_series.h"
#include "varnock/variant_array.h"

namespace varnock {
namespace {

using testing::CaughtError;
using testing::TempFolder;

std::string FileText(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void ExpectHostError(const AutomationError& error, int32_t number, const std::string& text) {
  EXPECT_EQ(error.Number(), number);
  EXPECT_EQ(error.Source(), kLibraryTitle);
  EXPECT_EQ(error.Description(), text);
}

TEST(BadInputTest, NumbersThatAreNotDatesOverflow) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    const char* what;
    std::function<void()> action;
  } cases[] = {
      {"NaN", [&] { (void)Date(nan); }},
      {"infinity", [&] { (void)Date(inf); }},
      {"minus infinity", [&] { (void)Date(-inf); }},
      {"huge", [] { (void)Date(1e300); }},
      {"first day after 9999", [] { (void)Date(2958466.0); }},
      {"last day before year 100", [] { (void)Date(-657435.0); }},
      {"variant number", [] { (void)Variant(1e18).ToDate(); }},
      {"variant text", [] { (void)Variant("1e308").ToDate(); }},
      {"fraction past the end", [] { (void)Date::Serial(9999, 12, 31).PlusDays(1.0); }},
      {"series start", [&] { RegularTimeSeries().Starting(Date(nan)); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ExpectHostError(CaughtError(c.action), hostOverflow, "Overflow");
  }
  // The edges of the range are dates.
  EXPECT_EQ(Date(2958465.99).Year(), 9999);
  EXPECT_EQ(Date(-657434.99).Year(), 100);
  EXPECT_EQ(Date(-657434.99).Hour(), 23);
}

TEST(BadInputTest, FractionsBeforeTheOriginCountForwardFromMidnight) {
  const struct {
    int32_t year, month, day, hour, minute;
  } cases[] = {{1850, 3, 1, 12, 0},  {1850, 3, 1, 6, 0},    {1850, 2, 28, 23, 59},
               {1899, 12, 29, 0, 1}, {1899, 12, 30, 18, 0}, {1600, 2, 29, 7, 45},
               {2001, 3, 7, 9, 30}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" +
                 std::to_string(c.day));
    const Date midnight = Date::Serial(c.year, c.month, c.day);
    const Date expected = Date::Serial(c.year, c.month, c.day, c.hour, c.minute);
    const double minutes = c.hour * 60 + c.minute;
    EXPECT_EQ(midnight.PlusDays(minutes / 1440), expected);
    EXPECT_NEAR(expected.DayFraction() * 1440, minutes, 1e-6);
    EXPECT_EQ(expected.DatePart(), midnight);
    EXPECT_EQ(HecTimeToDate(hecDatJul(midnight.Format("m/d/yyyy")), static_cast<int32_t>(minutes)),
              expected);
  }
}

TEST(BadInputTest, IrregularTimesBeforeTheOriginStoreAndReadBackExactly) {
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("old.dss"));
  db->Connect(true);
  const Date times[] = {Date::Serial(1850, 2, 28),        Date::Serial(1850, 2, 28, 23, 59),
                        Date::Serial(1850, 3, 1, 6, 0),   Date::Serial(1850, 3, 1, 12, 0),
                        Date::Serial(1850, 3, 2),         Date::Serial(1899, 12, 29, 18, 30),
                        Date::Serial(1899, 12, 30, 0, 15)};
  const int32_t n = static_cast<int32_t>(std::size(times));
  auto ts = std::make_shared<IrregTimeSeries>();
  ts->Pathname()->Name("/OLD/GAUGE/STAGE//IR-CENTURY/OBS/");
  ts->ValueCount(n);
  for (int32_t i = 0; i < n; ++i) {
    ts->DateTime(i, times[i]);
    ts->Value(i, static_cast<float>(i));
  }
  ts->Store(db);

  auto back = std::make_shared<IrregTimeSeries>();
  back->Pathname()->Name("/OLD/GAUGE/STAGE//IR-CENTURY/OBS/");
  back->Starting(Date::Serial(1850, 1, 1));
  back->Ending(Date::Serial(1900, 1, 1));
  back->Retrieve(db);
  ASSERT_EQ(back->ValueCount(), n);
  for (int32_t i = 0; i < n; ++i) {
    SCOPED_TRACE(times[i].ToString());
    EXPECT_EQ(back->DateTime(i), times[i]);
    EXPECT_EQ(back->Value(i), static_cast<float>(i));
  }
}

TEST(BadInputTest, ArraysLargerThanMemoryRaiseOutOfMemory) {
  const uint64_t physical =
      static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  auto irregular = std::make_shared<IrregTimeSeries>();
  irregular->ValueCount(3);
  const struct {
    const char* what;
    uint64_t bytes;  // what the call would allocate
    std::function<void()> action;
  } cases[] = {
      {"irregular ValueCount", uint64_t{INT32_MAX} * 16, [&] { irregular->ValueCount(INT32_MAX); }},
      {"variant array", uint64_t{INT32_MAX} * sizeof(Variant),
       [] { VariantArray(0, INT32_MAX - 1); }},
      {"two-dimensional variant array", uint64_t{46340} * 46340 * sizeof(Variant),
       [] { VariantArray(0, 46339, 0, 46339); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    if (c.bytes <= physical) continue;  // a machine that could hold it would allocate it
    ExpectHostError(CaughtError(c.action), hostOutOfMemory, "Out of memory");
  }
  EXPECT_EQ(irregular->ValueCount(), 3);  // a refused count leaves the series as it was
  // Bounds whose product passes 64 bits overflow, as the host's ReDim does.
  EXPECT_EQ(CaughtError([] { VariantArray(INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX); }).Number(),
            hostOverflow);
}

TEST(BadInputTest, RefusedFilesAndWritesSayWhyInTheMessageFile) {
  TempFolder folder;
  const std::string name = folder.File("readonly.dss");
  {
    auto db = std::make_shared<DSSDatabase>();
    db->Name(name);
    db->Connect(true);
  }
  auto db = std::make_shared<DSSDatabase>();
  db->Setting("READ", Variant("ON"));
  db->Name(name);
  db->Connect();
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->Pathname()->Name("/A/B/FLOW//1HOUR/F/");
  ts->Starting(Date::Serial(2020, 1, 1, 1, 0));
  ts->ValueCount(3);
  const AutomationError refused = CaughtError([&] { ts->Store(db); });
  EXPECT_EQ(refused.Number(), kObjectErrorBase + dssHeclibError);
  EXPECT_EQ(refused.Description(), "Unusual error. Code was 30.");
  EXPECT_EQ(db->istat(), 30);
  EXPECT_NE(FileText(MessageFileName()).find("ZSRTS:  File is open for read access only"),
            std::string::npos);
  db->Disconnect();

  // A text file bigger than 1000 bytes is not replaced by a new DSS file.
  const std::string text_file = folder.File("notes.dss");
  const std::string notes(2000, 'x');
  std::ofstream(text_file) << notes;
  auto other = std::make_shared<DSSDatabase>();
  other->Name(text_file);
  const AutomationError not_dss = CaughtError([&] { other->Connect(); });
  EXPECT_EQ(not_dss.Description(), "Unusual error. ISTAT is -6");
  EXPECT_EQ(other->istat(), -6);
  EXPECT_EQ(FileText(text_file), notes);
  EXPECT_NE(FileText(MessageFileName()).find("Not a DSS file: "), std::string::npos);
}

}  // namespace
}  // namespace varnock
