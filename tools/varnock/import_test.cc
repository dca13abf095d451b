// import: which CSV files it reads, which it refuses, and where readings land in a series.
#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"
#include "tools/varnock/tool_runner.h"

namespace {

using varnock::testing::Outcome;
using varnock::testing::Quoted;
using varnock::testing::RunTool;
using varnock::testing::TempFolder;
using varnock::testing::WriteText;

constexpr char kHourly[] = "/A/B/FLOW//1HOUR/F/";

// Imports `csv` into a new file with the extra arguments; on success returns the export of
// the stored series (its time,value rows).
Outcome ImportText(const TempFolder& folder, const std::string& csv, const std::string& extra = "",
                   std::string* exported = nullptr) {
  const std::string csv_file = folder.File("in.csv");
  const std::string dss = folder.File("out.dss");
  std::remove(dss.c_str());
  WriteText(csv_file, csv);
  const Outcome outcome = RunTool(
      "import " + Quoted(dss) + " " + Quoted(csv_file) + " --path " + Quoted(kHourly) + " " + extra,
      folder);
  if (exported != nullptr && outcome.exit_code == 0) {
    const std::string text =
        RunTool("export " + Quoted(dss) + " " + Quoted(kHourly) + " --csv", folder).out;
    const size_t header = text.find("time,value");
    *exported = header == std::string::npos ? text : text.substr(header);
  }
  return outcome;
}

TEST(ImportTest, ReadsTheCsvFormsUsersWrite) {
  struct Case {
    const char* name;
    std::string csv;
    const char* stored;
  };
  const Case cases[] = {
      {"capitalised header", "Time,Value\n2021-01-01T01:00:00,1.5\n",
       "time,value\n2021-01-01T01:00:00,1.5\n"},
      {"byte-order mark", "\xEF\xBB\xBFtime,value\r\n2021-01-01T01:00:00,1.5\r\n",
       "time,value\n2021-01-01T01:00:00,1.5\n"},
      {"no header, a line of blanks", "2021-01-01T01:00:00,1.5\n  \n2021-01-01T02:00:00,2\n",
       "time,value\n2021-01-01T01:00:00,1.5\n2021-01-01T02:00:00,2\n"},
      {"quoted fields", "\"time\",\"value\"\n\"2021-01-01T01:00:00\",\"1.5\"\n",
       "time,value\n2021-01-01T01:00:00,1.5\n"},
      {"quality as a flag word", "time,value,quality\n2021-01-01T01:00:00,1.5,4294967295\n",
       "time,value,quality\n2021-01-01T01:00:00,1.5,-1\n"},
      {"24:00 of a day", "time,value\n2021-01-01T24:00:00,3\n",
       "time,value\n2021-01-02T00:00:00,3\n"},
      {"HEC's dates", "time,value\n01Jan2021 2300,2\n01JAN2021 2400,3\n",
       "time,value\n2021-01-01T23:00:00,2\n2021-01-02T00:00:00,3\n"},
  };
  // New files of both versions take the same rows.
  for (const char* version : {"", "--new-version 6"}) {
    for (const Case& c : cases) {
      TempFolder folder;
      std::string stored;
      const Outcome outcome = ImportText(folder, c.csv, version, &stored);
      EXPECT_EQ(outcome.exit_code, 0) << c.name << version << ": " << outcome.err;
      EXPECT_EQ(stored, c.stored) << c.name << version;
    }
  }
}

TEST(ImportTest, RefusesBadRowsNamingThem) {
  struct Case {
    const char* name;
    std::string csv;
    const char* extra;
    const char* message;  // after "in.csv line N: "
  };
  const Case cases[] = {
      {"24:30 is no time", "time,value\n2021-01-01T24:30:00,1\n", "", "line 2: bad time"},
      {"2430 is no time either", "time,value\n01Jan2021 2430,1\n", "", "line 2: bad time"},
      {"hexadecimal value", "time,value\n2021-01-01T01:00:00,0x10\n", "", "line 2: bad value"},
      {"nan", "time,value\n2021-01-01T01:00:00,1\n2021-01-01T02:00:00,nan\n", "",
       "line 3: bad value 'nan'"},
      {"inf", "time,value\n2021-01-01T01:00:00,-inf\n", "", "line 2: bad value '-inf'"},
      {"beyond a double", "time,value\n2021-01-01T01:00:00,1e400\n", "", "line 2: bad value"},
      {"beyond a float", "time,value\n2021-01-01T01:00:00,1e39\n", "",
       "line 2: value 1e+39 does not fit a single-precision record"},
      {"quality beyond 32 bits", "time,value,quality\n2021-01-01T01:00:00,1,4294967296\n", "",
       "line 2: bad quality '4294967296'"},
      {"extra column", "time,value\n2021-01-01T01:00:00,1,5,6\n", "", "line 2: 4 columns"},
      {"extra column without header", "2021-01-01T01:00:00,1,5,6\n", "", "line 1: 4 columns"},
      {"header of four columns", "time,value,quality,note\n2021-01-01T01:00:00,1\n", "",
       "line 1: a header of 4 columns"},
      {"unclosed quote", "time,value\n2021-01-01T01:00:00,\"1\n", "", "unclosed quote"},
      {"off the hourly grid",
       "time,value\n2021-01-01T01:30:00,1\n2021-01-01T02:00:00,2\n2021-01-01T02:10:00,3\n", "",
       "line 3: time 2021-01-01T02:00:00 is off the 1Hour grid"},
      {"off the grid at the end", "time,value\n2021-01-01T01:00:00,1\n2021-01-01T05:59:00,4\n", "",
       "line 3: time 2021-01-01T05:59:00 is off the 1Hour grid"},
  };
  for (const Case& c : cases) {
    TempFolder folder;
    const Outcome outcome = ImportText(folder, c.csv, c.extra);
    EXPECT_EQ(outcome.exit_code, 5) << c.name;
    EXPECT_NE(outcome.err.find(c.message), std::string::npos) << c.name << ": " << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder.File("out.dss"))) << c.name;
  }
  // With --doubles a value beyond float range is stored as it is.
  TempFolder folder;
  std::string stored;
  EXPECT_EQ(
      ImportText(folder, "time,value\n2021-01-01T01:00:00,1e39\n", "--doubles", &stored).exit_code,
      0);
  EXPECT_EQ(stored, "time,value\n2021-01-01T01:00:00,9.9999999999999994e+38\n");
}

// Readings at any times go into the interval they end in, combined by the series' rules.
TEST(ImportTest, AggregatesReadingsOnlyWhenAsked) {
  const std::string readings =
      "time,value\n2021-01-01T01:30:00,1\n2021-01-01T02:00:00,4\n2021-01-01T02:10:00,3\n"
      "2021-01-01T02:40:00,5\n2021-01-01T05:59:00,4\n";
  struct Case {
    const char* extra;
    int exit_code;
    const char* stored;
  };
  const Case cases[] = {
      {"--aggregate last --type INST-VAL", 0,
       "time,value\n2021-01-01T02:00:00,4\n2021-01-01T03:00:00,5\n2021-01-01T06:00:00,4\n"},
      {"--aggregate highest --type INST-VAL", 0,
       "time,value\n2021-01-01T02:00:00,4\n2021-01-01T03:00:00,5\n2021-01-01T06:00:00,4\n"},
      {"--aggregate average --type INST-VAL", 0,
       "time,value\n2021-01-01T02:00:00,2.5\n2021-01-01T03:00:00,4\n2021-01-01T06:00:00,4\n"},
      {"--aggregate sum --type PER-CUM", 0,
       "time,value\n2021-01-01T02:00:00,5\n2021-01-01T03:00:00,8\n2021-01-01T06:00:00,4\n"},
      {"--aggregate sum --type INST-VAL", 2, ""},
      {"--aggregate average --type PER-CUM", 2, ""},
      {"--aggregate average --type PER-AVER", 2, ""},
      {"--aggregate median --type INST-VAL", 2, ""},
  };
  for (const Case& c : cases) {
    TempFolder folder;
    std::string stored;
    const Outcome outcome = ImportText(folder, readings, c.extra, &stored);
    EXPECT_EQ(outcome.exit_code, c.exit_code) << c.extra << ": " << outcome.err;
    if (c.exit_code == 0) {
      EXPECT_EQ(stored, c.stored) << c.extra;
      EXPECT_NE(outcome.err.find("imported 5 readings as 3 values"), std::string::npos)
          << outcome.err;
    }
  }
}

// A series whose values sit at a fixed offset within the interval stays on its own grid.
TEST(ImportTest, KeepsAnOffsetGrid) {
  TempFolder folder;
  std::string stored;
  const std::string csv = "time,value\n2021-01-01T01:30:00,1\n2021-01-01T02:30:00,2\n";
  EXPECT_EQ(ImportText(folder, csv, "", &stored).exit_code, 0);
  EXPECT_EQ(stored, csv);
}

}  // namespace
