#include "engine/heclib/catalog_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <random>

#include "engine/dss7/test_support.h"
#include "engine/heclib/table_test_support.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine {
namespace {

using testing::CatalogLines;
using testing::CatalogPaths;
using testing::Table;
using testing::WriteRecord;
using varnock::testing::TempFolder;

// The paths sorted by the catalog order, each given as (path, type).
std::vector<std::string> Sorted(const std::vector<std::pair<std::string, int32_t>>& records) {
  std::vector<CatalogSortKey> keys;
  for (std::size_t i = 0; i < records.size(); ++i)
    keys.push_back(MakeCatalogSortKey(records[i].first, records[i].second, i));
  std::sort(keys.begin(), keys.end(), CatalogOrderLess);
  std::vector<std::string> out;
  for (const auto& k : keys)
    out.push_back(records[k.position].first);
  return out;
}

TEST(CatalogOrderTest, PartsComeInTheOrderABCFEDAsBlankPaddedBytes) {
  EXPECT_EQ(
      Sorted({{"/A/B/C/D/E/G/", 300},
              {"/A/B/C/E/D/F/", 300},
              {"/A/B/C/D/F/F/", 300},
              {"/A/B/C/D/E/F/", 300},
              {"/A/BB/C/D/E/F/", 300},
              {"/a/B/C/D/E/F/", 300},
              {"//B/C/D/E/F/", 300}}),
      (std::vector<std::string>{"//B/C/D/E/F/", "/A/B/C/E/D/F/", "/A/B/C/D/E/F/", "/A/B/C/D/F/F/",
                                "/A/B/C/D/E/G/", "/A/BB/C/D/E/F/", "/a/B/C/D/E/F/"}));
  // Padding with blanks: a part ending where another goes on with a byte below a blank sorts
  // after it, unlike a plain string comparison.
  EXPECT_EQ(Sorted({{"/A\x01/B/C/D/E/F/", 300}, {"/A/B/C/D/E/F/", 300}}),
            (std::vector<std::string>{"/A\x01/B/C/D/E/F/", "/A/B/C/D/E/F/"}));
}

TEST(CatalogOrderTest, TimeSeriesSortByIntervalThenDate) {
  EXPECT_EQ(Sorted({{"/R/G/FLOW/01JAN2021/1HOUR/OBS/", 100},
                    {"/R/G/FLOW/01Feb2020/1Day/OBS/", 100},
                    {"/R/G/FLOW/01JAN2020/1DAY/OBS/", 100},
                    {"/R/G/FLOW/01Jan1999/15Minute/OBS/", 100},
                    {"/R/G/FLOW/01Jan2020/IR-Month/OBS/", 110},
                    {"/R/G/FLOW/01JAN2019/IR-DAY/OBS/", 110},
                    {"/R/G/FLOW/TS-PATTERN/1DAY/OBS/", 101},
                    {"/R/G/FLOW/01JAN1990/1MON/OBS/", 100},
                    {"/R/G/FLOW///OBS/", 200}}),
            (std::vector<std::string>{
                "/R/G/FLOW///OBS/",  // not a time series: before them
                "/R/G/FLOW/01JAN2019/IR-DAY/OBS/", "/R/G/FLOW/01Jan2020/IR-Month/OBS/",
                "/R/G/FLOW/01Jan1999/15Minute/OBS/", "/R/G/FLOW/01JAN2021/1HOUR/OBS/",
                "/R/G/FLOW/01JAN2020/1DAY/OBS/", "/R/G/FLOW/01Feb2020/1Day/OBS/",
                "/R/G/FLOW/TS-PATTERN/1DAY/OBS/", "/R/G/FLOW/01JAN1990/1MON/OBS/"}));
  // Identical keys keep file order; so does a pathname that does not split.
  const auto key = MakeCatalogSortKey("no slashes", 100, 3);
  EXPECT_EQ(key.parts[0], "no slashes");
  EXPECT_FALSE(CatalogOrderLess(key, key));
  EXPECT_EQ(Sorted({{"/A/B/C/D/E/F/", 300}, {"/a/B/C/D/E/F/", 300}, {"/A/B/C/D/E/F/", 300}})[1],
            "/A/B/C/D/E/F/");
}

// The byte keys that sort large catalogs must give exactly the comparator's order, over a mix
// of series and other records whose parts collide in case, padding, intervals and dates.
TEST(CatalogOrderTest, ByteKeysSortManyRecordsAsTheComparatorDoes) {
  const char* const kA[] = {"R", "r", "RIVER", "", "R\x01"};
  const char* const kB[] = {"G1", "G10", "G2", "g1", "G1 "};
  const char* const kD[] = {"01JAN2021", "01Jan2021", "01FEB1999", "TS-PATTERN",
                            "",          "31DEC1899", "01JAN0001", "X"};
  const char* const kE[] = {"1HOUR", "1Hour", "15MIN", "IR-MONTH", "IR-DAY", "~1DAY", "", "1MON"};
  const char* const kF[] = {"OBS", "obs", "", "OBS2"};
  const int32_t kTypes[] = {100, 110, 105, 200, 300, 199, 99};
  std::mt19937 random(11);
  std::vector<std::string> paths;
  std::vector<int32_t> types;
  for (int i = 0; i < 3000; ++i) {
    auto pick = [&](const auto& list) { return list[random() % std::size(list)]; };
    paths.push_back(std::string("/") + pick(kA) + "/" + pick(kB) + "/FLOW/" + pick(kD) + "/" +
                    pick(kE) + "/" + pick(kF) + "/");
    types.push_back(pick(kTypes));
  }
  paths.push_back("no slashes");
  types.push_back(100);
  std::vector<CatalogSortKey> keys;
  for (std::size_t i = 0; i < paths.size(); ++i)
    keys.push_back(MakeCatalogSortKey(paths[i], types[i], i));
  std::vector<CatalogSortKey> expected = keys;
  std::stable_sort(expected.begin(), expected.end(), CatalogOrderLess);
  // Keys made with the memo of neighbouring parts must come out the same.
  std::vector<CatalogSortKey> memo_keys;
  auto memo = std::make_unique<CatalogKeyMemo>();
  for (std::size_t i = 0; i < paths.size(); ++i)
    memo_keys.push_back(MakeCatalogSortKey(paths[i], types[i], i, memo.get()));
  for (const auto* made : {&keys, &memo_keys}) {
    const std::vector<std::size_t> order = CatalogOrder(*made);
    ASSERT_EQ(order.size(), expected.size());
    for (std::size_t i = 0; i < order.size(); ++i)
      ASSERT_EQ(order[i], expected[i].position) << i << ": " << paths[expected[i].position];
  }
}

TEST(CatalogLayoutTest, PathnamesAreListedUnderTheIntervalVocabularysNames) {
  const struct {
    const char* stored;
    int32_t type;
    const char* listed;
  } cases[] = {
      {"/r/g/flow/01Jan2020/15Minute/obs/", 100, "/R/G/FLOW/01JAN2020/15MIN/OBS/"},
      {"/A/B/C/01Jan2020/1Minute/F/", 105, "/A/B/C/01JAN2020/1MIN/F/"},
      {"/A/B/C/01Jan2020/1Month/F/", 100, "/A/B/C/01JAN2020/1MON/F/"},
      {"/A/B/C/01Jan2020/1Hour/F/", 100, "/A/B/C/01JAN2020/1HOUR/F/"},
      {"/A/B/C/01Jan2020/1Week/F/", 100, "/A/B/C/01JAN2020/1WEEK/F/"},
      {"/A/B/C/01Jan2020/Semi-Month/F/", 100, "/A/B/C/01JAN2020/SEMI-MONTH/F/"},
      {"/A/B/C/01Jan1900/1Year/F/", 100, "/A/B/C/01JAN1900/1YEAR/F/"},
      {"/A/B/C/01Jan2020/IR-Month/F/", 110, "/A/B/C/01JAN2020/IR-MONTH/F/"},
      {"/A/B/C/01Jan2020/IR-Decade/F/", 115, "/A/B/C/01JAN2020/IR-DECADE/F/"},
      {"/A/B/C/01JAN2020/15MIN/F/", 100, "/A/B/C/01JAN2020/15MIN/F/"},
      // No name in the vocabulary: the stored spelling, upper-cased.
      {"/A/B/C/01Jan2020/30Second/F/", 100, "/A/B/C/01JAN2020/30SECOND/F/"},
      {"/A/B/C/01Jan2020/12Minute/F/", 100, "/A/B/C/01JAN2020/12MINUTE/F/"},
      {"/A/B/C/01Jan2020/~1Day/F/", 110, "/A/B/C/01JAN2020/~1DAY/F/"},
      {"/A/B/C/01Jan2000/IR-Century/F/", 110, "/A/B/C/01JAN2000/IR-CENTURY/F/"},
      // Only time series name intervals in E.
      {"/A/B/Stage-Flow//1Day/F/", 200, "/A/B/STAGE-FLOW//1DAY/F/"},
      {"no slashes", 100, "NO SLASHES"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Heclib6CatalogPath(c.stored, c.type), c.listed) << c.stored;
}

TEST(CatalogLayoutTest, HeaderAndRecordLinesAreHeclibsAbbreviatedLayout) {
  CatalogHeader header;
  header.file_name = "/data/sample.dss";
  header.record_count = 595;
  header.sorted = true;
  header.now = {.julian = 36956, .hour = 9, .minute = 5, .second = 0};  // 7 March 2001
  header.file_created_julian = 31199;                                   // 2 June 1985
  header.file_version = "7-IU";
  const auto lines = CatalogHeaderLines(header);
  const std::array<std::string, 10> want = {
      "", "     HECDSS Complete Catalog of Record Pathnames in File /data/sample.dss", "",
      // The second field starts at column 50.
      "     Catalog Created on Mar 7, 2001 at  9:05     File Created on Jun 2, 1985",
      "     Number of Records:    595                   DSS Version 7-JA,  File 7-IU",
      "     Sort Order: ABCFED", "", "  Ref.", " Number   Tag           Record Pathname", ""};
  EXPECT_EQ(lines, want);
  header.sorted = false;
  header.file_created_julian = 0;
  EXPECT_EQ(CatalogHeaderLines(header)[5], "     Pathnames Not Sorted");
  EXPECT_EQ(CatalogHeaderLines(header)[3].substr(49), "File Created on ");

  EXPECT_EQ(CatalogRecordLine(1, "T1", "/A/B/C/D/E/F/"), "     1  T1        /A/B/C/D/E/F/");
  EXPECT_EQ(CatalogRecordLine(999999, "T123456789", "/A/"), "999999  T1234567  /A/");
  EXPECT_EQ(CatalogRecordLine(1234567, "T9", "/A/"), "1234567 T9        /A/");
}

class CatalogFileTest : public ::testing::Test {
 protected:
  TempFolder folder_;
};

TEST_F(CatalogFileTest, ReferenceFilesListTheirDumpsPathnamesAsHeclib6Shows) {
  const std::pair<const char*, const char*> files[] = {
      {"fixture7.dss", "fixture7.dump.txt"},
      {"sample7.dss", "sample7.dss.dump.txt.gz"},
      {"MoRiverObs7.dss", "MoRiverObs7.dss.dump.txt.gz"},
      {"fixture6.dss", "fixture6.dump.txt"},
      {"sample6.dss", "sample6.dss.dump.txt.gz"}};
  for (const auto& [file, dump] : files) {
    VARNOCK_REQUIRE_FIXTURE(source, file);
    VARNOCK_REQUIRE_FIXTURE(dump_path, dump);
    std::vector<std::string> expected;
    for (const auto& [path, type] : dss7::testing::DumpRecords(dump_path))
      expected.push_back(Heclib6CatalogPath(path, type));
    std::sort(expected.begin(), expected.end());
    Table table;
    ASSERT_EQ(table.Open(folder_.CopyIn(source, file)), 0);
    std::vector<container::CatalogItem> entries;
    ASSERT_EQ(table.records().file().Catalog(&entries), dss7::Status::kOk);
    std::map<std::string, int32_t> types;
    for (const auto& e : entries)
      types[Heclib6CatalogPath(e.listed_path, e.type)] = e.type;
    char count_line[64];
    std::snprintf(count_line, sizeof count_line, "     Number of Records:%7zu", expected.size());
    for (bool sorted : {false, true}) {
      int32_t norecs = 0;
      const auto lines = CatalogLines(table, folder_.File("cat.dsc"), sorted, &norecs);
      ASSERT_GE(lines.size(), 10u);
      EXPECT_EQ(lines[4].substr(0, 30), count_line);
      EXPECT_EQ(lines[4].substr(lines[4].size() - 4), table.records().file().VersionText());
      auto paths = CatalogPaths(lines);
      EXPECT_EQ(norecs, static_cast<int32_t>(paths.size())) << file;
      for (std::size_t i = 0; i < paths.size(); ++i)
        ASSERT_EQ(std::stoi(lines[10 + i].substr(0, 8)), static_cast<int>(i + 1));
      for (std::size_t i = 1; sorted && i < paths.size(); ++i) {
        const auto a = MakeCatalogSortKey(paths[i - 1], types[paths[i - 1]], 0);
        const auto b = MakeCatalogSortKey(paths[i], types[paths[i]], 1);
        ASSERT_TRUE(CatalogOrderLess(a, b)) << paths[i - 1] << " " << paths[i];
      }
      std::sort(paths.begin(), paths.end());
      EXPECT_EQ(paths, expected) << file;
    }
  }
}

// Long catalogs go out in several writes: every record once, numbered without gaps, and
// sorted across the writes' boundaries.
TEST_F(CatalogFileTest, CatalogLongerThanOneWriteListsEveryRecordInOrder) {
  Table table;
  ASSERT_EQ(table.Open(folder_.File("long")), 0);
  const std::string head = "/" + std::string(120, 'P') + "/" + std::string(120, 'Q') + "/";
  constexpr int kRecords = 4500;  // about 1.2 MB of lines
  for (int i = kRecords; i-- > 0;) {
    ASSERT_EQ(WriteRecord(table, head + std::to_string(100000 + i) + "///F/"), dss7::Status::kOk);
  }
  int32_t norecs = 0;
  const auto lines = CatalogLines(table, folder_.File("long.dsc"), true, &norecs);
  ASSERT_EQ(norecs, kRecords);
  ASSERT_EQ(lines.size(), 10u + kRecords);
  const auto paths = CatalogPaths(lines);
  for (int i = 0; i < kRecords; ++i) {
    ASSERT_EQ(std::stoi(lines[10 + static_cast<std::size_t>(i)].substr(0, 8)), i + 1);
    ASSERT_EQ(paths[static_cast<std::size_t>(i)], head + std::to_string(100000 + i) + "///F/");
  }
}

TEST_F(CatalogFileTest, UnsortedFollowsTheFileAndTagsStayWithTheirRecord) {
  Table table;
  ASSERT_EQ(table.Open(folder_.File("order")), 0);
  for (const char* path : {"/Z/B/C///F/", "/A/B/C///F/", "/M/B/C///F/"})
    ASSERT_EQ(WriteRecord(table, path), dss7::Status::kOk);
  std::vector<dss7::CatalogEntry> entries;
  ASSERT_EQ(table.file().Catalog(&entries), dss7::Status::kOk);
  const auto unsorted = CatalogPaths(CatalogLines(table, folder_.File("o.dsc"), false));
  const auto sorted = CatalogLines(table, folder_.File("o.dsc"), true);
  ASSERT_EQ(sorted.size(), 13u);
  EXPECT_EQ(CatalogPaths(sorted),
            (std::vector<std::string>{"/A/B/C///F/", "/M/B/C///F/", "/Z/B/C///F/"}));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(unsorted[i], entries[i].path);
    // The tag numbers the record in file order, whatever the listing's order.
    const auto at = std::find(unsorted.begin(), unsorted.end(), CatalogPaths(sorted)[i]);
    EXPECT_EQ(sorted[10 + i].substr(8, 10),
              "T" + std::to_string(at - unsorted.begin() + 1) + std::string(8, ' '));
  }
}

TEST_F(CatalogFileTest, EmptyFilesAndFailuresLeaveNoStaleCatalog) {
  const std::string catalog = folder_.File("e.dsc");
  std::ofstream(catalog) << "old catalog line 1\nold line 2\n";
  Table table;
  ASSERT_EQ(table.Open(folder_.File("e")), 0);
  int32_t norecs = -1;
  const auto lines = CatalogLines(table, catalog, true, &norecs);
  EXPECT_EQ(norecs, 0);
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ(lines[4].substr(0, 30), "     Number of Records:      0");

  // No unit, a closed table, or an old catalog to re-sort: nothing is written.
  const int32_t unit = 14, none = 0, yes = 1;
  int32_t made = 1, count = -1;
  ZCAT_(table.data(), &unit, &none, &none, nullptr, 0, &yes, &yes, &made, &count);
  EXPECT_TRUE(made == 0 && count == 0);
  ASSERT_EQ(FORTRANOPEN_(catalog.data(), static_cast<int32_t>(catalog.size()), &unit), 0);
  ZCAT_(table.data(), &unit, &none, &unit, nullptr, 0, &yes, &yes, &made, &count);
  Table closed;
  ZCAT_(closed.data(), &unit, &none, &none, nullptr, 0, &yes, &yes, &made, &count);
  FORTRANCLOSE_(&unit);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(testing::ReadLines(catalog), lines);
}

}  // namespace
}  // namespace varnock::engine
