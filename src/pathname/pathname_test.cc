#include "varnock/pathname.h"

#include <gtest/gtest.h>

#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock {
namespace {

std::string Shown(const Pathname& path) {
  return TrimTrailingBlanks(path.Name());
}

TEST(PathnameTest, NewPathnameIsBlankAndComposesToSevenSlashes) {
  Pathname path;
  EXPECT_TRUE(path.IsBlank());
  EXPECT_EQ(path.Name(), "///////" + std::string(73, ' '));
  EXPECT_TRUE(path.IsValid());
  path.Fpart("x");
  EXPECT_FALSE(path.IsBlank());
}

TEST(PathnameTest, ComposeUpperCasesCutsAndTrimsParts) {
  Pathname path;
  path.Apart("river");
  path.Bpart("  gauge 7 ");
  path.Cpart(std::string(40, 'c'));
  path.Epart("1hour");
  EXPECT_EQ(path.Apart(), "RIVER");
  EXPECT_EQ(path.Bpart(), "  GAUGE 7 ");  // stored as given, only upper-cased
  EXPECT_EQ(Shown(path), "/RIVER/GAUGE 7/" + std::string(32, 'C') + "//1HOUR//");
  EXPECT_EQ(path.Name().size(), 80u);
  // A composed name longer than 80 characters is cut at 80.
  path.Apart(std::string(32, 'x'));
  path.Bpart(std::string(32, 'x'));
  path.Dpart(std::string(32, 'x'));
  EXPECT_EQ(path.Name().size(), 80u);
  EXPECT_NE(path.Name().back(), ' ');
}

TEST(PathnameTest, ParsesNamesAndRejectsMalformedOnes) {
  Pathname path;
  path.Name("junk before /basin/gauge/flow/01jan2001/1day/obs/ and after");
  EXPECT_EQ(path.Apart(), "BASIN");
  EXPECT_EQ(path.Dpart(), "01JAN2001");
  EXPECT_EQ(path.Fpart(), "OBS");
  EXPECT_EQ(path.Interval(), 1440);
  path.Name("/a//c////");
  EXPECT_EQ(path.Apart(), "A");
  EXPECT_EQ(path.Bpart(), "");
  EXPECT_EQ(path.Cpart(), "C");
  // Text past column 80 is cut before parsing, so the seventh slash is lost here.
  const std::string long_name = "/" + std::string(75, 'a') + "/b/c/d/e/f/";
  try {
    path.Name(long_name);
    FAIL() << "expected an error";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.Number(), 8197);
    EXPECT_EQ(error.Source(), "hecZupath");
    EXPECT_EQ(error.HelpContext(), 514);
    EXPECT_EQ(error.Description().rfind("Bad pathname: /AAAA", 0), 0u);
  }
  EXPECT_EQ(path.Cpart(), "C");  // unchanged after the failure
  EXPECT_THROW(path.Name("no slashes at all"), AutomationError);
}

TEST(PathnameTest, ValidityFollowsHeclibsCheck) {
  Pathname path;
  path.Name("/A/B/C/D/E/F/");
  EXPECT_TRUE(path.IsValid());
  path.Cpart("bad\x01part");
  EXPECT_FALSE(path.IsValid());
  path.Cpart("a/b");  // an eighth slash
  EXPECT_FALSE(path.IsValid());
}

TEST(PathnameTest, IntervalVocabulary) {
  Pathname path;
  path.Epart("1hour");
  EXPECT_EQ(path.Epart(), "1HOUR");
  EXPECT_EQ(path.Interval(), 60);
  path.Epart(" 1DAY ");
  EXPECT_EQ(path.Interval(), 1440);
  path.Epart("1SEC");
  EXPECT_EQ(path.Interval(), 0);
  path.Interval(10);
  EXPECT_EQ(path.Epart(), "10MIN");
  path.Interval(-2);
  EXPECT_EQ(path.Epart(), "IR-DAY");
  path.Interval(525600);
  EXPECT_EQ(path.Epart(), "1YEAR");
  EXPECT_EQ(path.Interval(), 525600);
  for (int32_t bad : {0, -1, 7, 45}) {
    try {
      path.Interval(bad);
      FAIL() << bad;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.Number(), 128);
      EXPECT_EQ(error.Source(), "Pathname");
      EXPECT_EQ(error.Description(), "Nonstandard time interval specified: " + std::to_string(bad));
    }
  }
  EXPECT_EQ(path.Epart(), "1YEAR");
  for (const IntervalEntry& entry : kIntervals) {
    path.Interval(entry.minutes);
    EXPECT_EQ(path.Interval(), entry.minutes) << entry.name;
  }
}

TEST(PathnameTest, StoredPartsKeepTheirCaseAndStillNameAnInterval) {
  Pathname path;
  const std::string parts[6] = {"A", "B", "FLOW", "01Jan2020", "1Hour", "obs"};
  path.SetStoredParts(parts);
  EXPECT_EQ(TrimTrailingBlanks(path.Name()), "/A/B/FLOW/01Jan2020/1Hour/obs/");
  EXPECT_EQ(path.Interval(), 60);
  EXPECT_TRUE(path.IsValid());
}

TEST(PathnameTest, CloneAndClear) {
  Pathname path;
  path.Name("/A/B/C/D/1DAY/F/");
  EXPECT_EQ(path.Interval(), 1440);
  auto copy = path.Clone();
  EXPECT_EQ(copy->Name(), path.Name());
  copy->Apart("other");
  EXPECT_EQ(path.Apart(), "A");
  EXPECT_EQ(copy->Interval(), 1440);
  path.Clear();
  EXPECT_TRUE(path.IsBlank());
  EXPECT_EQ(path.Interval(), 0);
}

TEST(PathnameTest, PartStrings) {
  Pathname path;
  path.Name("/A/B/C/D/E/F/");
  path.SetPartsFromString("B=south fork F=");
  EXPECT_EQ(Shown(path), "/A/SOUTH FORK/C/D/E//");
  path.SetPartsFromString("/X/Y/Z/D/E/F/");  // the slash form is not a part string
  EXPECT_EQ(Shown(path), "/A/SOUTH FORK/C/D/E//");
  path.SetPartsFromString("C=FLOW,E=1HOUR");
  EXPECT_EQ(Shown(path), "/A/SOUTH FORK/FLOW/D/1HOUR//");
  EXPECT_EQ(path.Interval(), 60);
}

}  // namespace
}  // namespace varnock
