// export: several series into one wide table, paired data, and the time forms of a window.
#include <gtest/gtest.h>

#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"
#include "tools/varnock/tool_runner.h"

namespace {

using varnock::testing::CountLines;
using varnock::testing::Outcome;
using varnock::testing::Quoted;
using varnock::testing::RunTool;
using varnock::testing::TempFolder;

// The rows after the header line that starts with `header`.
std::string RowsFrom(const std::string& text, const std::string& header) {
  const size_t at = text.find("\n" + header);
  return at == std::string::npos ? "" : text.substr(at + 1);
}

TEST(ExportTest, SeveralSeriesMakeOneWideTable) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const Outcome wide = RunTool("export " + Quoted(source) +
                                   " '/FIXTURES/HOURLY/*//*/*/' --csv "
                                   "--start 2021-01-15T03:00 --end 2021-01-15T05:00",
                               folder);
  EXPECT_EQ(wide.exit_code, 0) << wide.err;
  EXPECT_NE(wide.out.find("# units FT,CFS\n# type INST-VAL,INST-VAL\n"), std::string::npos);
  EXPECT_EQ(RowsFrom(wide.out, "time,"),
            "time,/FIXTURES/HOURLY/ELEV//6Hour/C-DOUBLE/,/FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/\n"
            "2021-01-15T03:00:00,,257.673004\n2021-01-15T04:00:00,,261.49646\n"
            "2021-01-15T05:00:00,,265.30423\n");
  // Two patterns name the same two series; rows of both share a line where their times meet.
  const Outcome both = RunTool("export " + Quoted(source) +
                                   " /FIXTURES/HOURLY/ELEV//6Hour/C-DOUBLE/ "
                                   "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/ --csv",
                               folder);
  EXPECT_EQ(both.exit_code, 0);
  EXPECT_NE(both.out.find("time,/FIXTURES/HOURLY/ELEV//6Hour/C-DOUBLE/,/FIXTURES/HOURLY/FLOW//"),
            std::string::npos);
  EXPECT_EQ(RunTool("export " + Quoted(source) + " '/NOPE/*/*//*/*/' --csv", folder).exit_code, 4);
}

TEST(ExportTest, PairedDataGivesOrdinatesAndCurves) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const Outcome curve = RunTool(
      "export " + Quoted(source) + " /FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/ --csv", folder);
  EXPECT_EQ(curve.exit_code, 0) << curve.err;
  EXPECT_NE(curve.out.find("# units FT,AC-FT\n# type UNT,UNT\n"), std::string::npos);
  const std::string rows = RowsFrom(curve.out, "ordinate,");
  EXPECT_EQ(rows.substr(0, rows.find("115,")),
            "ordinate,LOW CURVE,HIGH CURVE\n100,0,10\n105,50,85\n110,200,310\n");
  EXPECT_EQ(CountLines(rows), 11);
  // Two paired-data records, or paired data with series, are not one table.
  EXPECT_EQ(RunTool("export " + Quoted(source) + " '/FIXTURES/RESERVOIR/*/*/*/*/' --csv", folder)
                .exit_code,
            2);
}

TEST(ExportTest, WindowTakesIsoAndHecTimes) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const std::string command =
      "export " + Quoted(source) + " /FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/ --csv ";
  const std::string expected =
      RunTool(command + "--start 2021-01-15T00:00:00 --end 2021-01-15T02:00:00", folder).out;
  ASSERT_EQ(CountLines(RowsFrom(expected, "time,")), 3);
  struct Case {
    const char* start;
    const char* end;
  };
  const Case same[] = {{"'14Jan2021 2400'", "'15JAN2021 0200'"},
                       {"'15Jan2021'", "'15Jan2021 02:00'"},
                       {"'15jan2021 0000'", "'2021-01-15 02:00'"},
                       {"'2021-01-14T24:00'", "'15Jan2021, 0200'"}};
  for (const Case& c : same) {
    const Outcome outcome = RunTool(command + "--start " + c.start + " --end " + c.end, folder);
    EXPECT_EQ(outcome.exit_code, 0) << c.start << " " << outcome.err;
    EXPECT_EQ(outcome.out, expected) << c.start << " " << c.end;
  }
  for (const char* bad :
       {"'15Jan2021 2430'", "'32Jan2021'", "'2021-01-15T24:30'", "'Jan2021'", "'15Jan21 0100'"}) {
    const Outcome outcome = RunTool(command + "--start " + bad, folder);
    EXPECT_EQ(outcome.exit_code, 2) << bad;
    EXPECT_NE(outcome.err.find("is not a time"), std::string::npos) << bad << outcome.err;
  }
}

// A DSS-6 file exports as its DSS-7 twin does: the same window of values, the same units and
// type, the same paired data; only the pathname's spelling differs.
TEST(ExportTest, DssSixExportsLikeItsDssSevenTwin) {
  VARNOCK_REQUIRE_FIXTURE(six, "fixture6.dss");
  VARNOCK_REQUIRE_FIXTURE(seven, "fixture7.dss");
  TempFolder folder;
  const std::string window = " --csv --start 2021-01-15T01:00 --end 2021-01-15T09:00";
  const std::string series = "'/FIXTURES/HOURLY/*//*/*/'";
  const Outcome a = RunTool("export " + Quoted(six) + " " + series + window, folder);
  const Outcome b = RunTool("export " + Quoted(seven) + " " + series + window, folder);
  EXPECT_EQ(a.exit_code, 0) << a.err;
  EXPECT_EQ(b.exit_code, 0) << b.err;
  EXPECT_GT(CountLines(a.out), 8);
  EXPECT_EQ(RowsFrom(a.out, "2021-"), RowsFrom(b.out, "2021-"));
  EXPECT_NE(a.out.find("/FIXTURES/HOURLY/FLOW//1HOUR/F77-ZSRTS/"), std::string::npos);

  const Outcome p6 = RunTool("export " + Quoted(six) + " '/*/*/ELEV-STORAGE/*/*/*/' --csv", folder);
  const Outcome p7 =
      RunTool("export " + Quoted(seven) + " '/*/*/ELEV-STORAGE/*/*/*/' --csv", folder);
  EXPECT_EQ(p6.exit_code, 0) << p6.err;
  EXPECT_EQ(RowsFrom(p6.out, "# units"), RowsFrom(p7.out, "# units"));
}

}  // namespace
