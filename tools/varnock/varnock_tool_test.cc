// Runs the varnock tool itself and checks its output, messages and exit codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

#include "tests/support/dump_reader.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"
#include "tools/varnock/tool_runner.h"

namespace {

using varnock::testing::TempFolder;

using varnock::testing::CountLines;
using varnock::testing::Outcome;
using varnock::testing::Quoted;
using varnock::testing::RunTool;

TEST(VarnockToolTest, HelpAndUsageErrors) {
  TempFolder folder;
  const Outcome help = RunTool("--help", folder);
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_NE(help.out.find("catalog"), std::string::npos);
  for (const char* command :
       {"dump", "export", "import", "info", "catalog", "copy", "rename", "delete", "undelete"}) {
    const Outcome one = RunTool(std::string(command) + " --help", folder);
    EXPECT_EQ(one.exit_code, 0) << command;
    EXPECT_EQ(one.out.rfind("usage: varnock " + std::string(command), 0), 0u) << one.out;
  }
  EXPECT_EQ(RunTool("frobnicate", folder).exit_code, 2);
  const Outcome missing_args = RunTool("rename x.dss", folder);
  EXPECT_EQ(missing_args.exit_code, 2);
  EXPECT_EQ(CountLines(missing_args.err), 1);
  EXPECT_EQ(RunTool("catalog a.dss --bogus", folder).exit_code, 2);
}

TEST(VarnockToolTest, InfoAndCatalogOfAReferenceFile) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const std::string file = Quoted(folder.CopyIn(source, "fixture7.dss"));
  const Outcome info = RunTool("info " + file, folder);
  EXPECT_EQ(info.exit_code, 0);
  EXPECT_NE(info.out.find("version       7-IX"), std::string::npos);
  EXPECT_NE(info.out.find("records       27"), std::string::npos);

  const Outcome catalog = RunTool("catalog " + file, folder);
  EXPECT_EQ(catalog.exit_code, 0);
  EXPECT_EQ(CountLines(catalog.out), 27);
  EXPECT_NE(catalog.out.find("RTS  /FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/"),
            std::string::npos);
  const Outcome hourly = RunTool("catalog " + file + " '/fixtures/hourly/*/*/*/*/'", folder);
  EXPECT_EQ(CountLines(hourly.out), 7);
  const Outcome condensed = RunTool("catalog " + file + " --condensed", folder);
  EXPECT_NE(condensed.out.find("/FIXTURES/HOURLY/FLOW/01Jan2021 - 01Apr2021/1Hour/F77-ZSRTS/  "
                               "(4 blocks)"),
            std::string::npos);
  const Outcome none = RunTool("catalog " + file + " '/NOPE/*/*/*/*/*/'", folder);
  EXPECT_EQ(none.exit_code, 4);
}

TEST(VarnockToolTest, FilesItCannotOpen) {
  TempFolder folder;
  const Outcome missing = RunTool("info " + Quoted(folder.File("absent.dss")), folder);
  EXPECT_EQ(missing.exit_code, 3);
  EXPECT_EQ(missing.err,
            "varnock info: Unable to connect to the DSS file: " + folder.File("absent.dss") + "\n");
  std::ofstream(folder.File("text.dss")) << std::string(5000, 'x');
  EXPECT_EQ(RunTool("catalog " + Quoted(folder.File("text.dss")), folder).exit_code, 3);
  VARNOCK_REQUIRE_FIXTURE(version6, "fixture6.dss");
  const Outcome old = RunTool("info " + Quoted(version6), folder);
  EXPECT_EQ(old.exit_code, 0);
  EXPECT_NE(old.out.find("version       6-YO\nrecords       27\n"), std::string::npos) << old.out;
}

TEST(VarnockToolTest, RecordUtilities) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const std::string file = Quoted(folder.CopyIn(source, "fixture7.dss"));
  const std::string copy = Quoted(folder.File("copy.dss"));
  const std::string flow = "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/";

  EXPECT_EQ(RunTool("copy " + file + " " + copy + " '/FIXTURES/HOURLY/*/*/*/*/'", folder).exit_code,
            0);
  EXPECT_EQ(CountLines(RunTool("catalog " + copy, folder).out), 7);
  EXPECT_EQ(RunTool("copy " + file + " " + file + " " + Quoted(flow), folder).exit_code, 2);
  EXPECT_EQ(
      RunTool("copy " + file + " " + file + " " + Quoted(flow) + " --to /X/Y/Z/01Jan2021/1Hour/W/",
              folder)
          .exit_code,
      0);
  EXPECT_EQ(RunTool("rename " + copy + " " + Quoted(flow) + " /R/E/N/01Jan2021/1Hour/D/", folder)
                .exit_code,
            0);
  const Outcome renamed_again =
      RunTool("rename " + copy + " " + Quoted(flow) + " /A/B/C/D/E/F/", folder);
  EXPECT_EQ(renamed_again.exit_code, 4);
  EXPECT_NE(renamed_again.err.find("Pathname not found:"), std::string::npos);

  EXPECT_EQ(RunTool("delete " + copy + " '/*/*/ELEV/*/*/*/'", folder).exit_code, 0);
  EXPECT_EQ(CountLines(RunTool("catalog " + copy, folder).out), 4);
  EXPECT_EQ(RunTool("delete " + copy + " '/*/*/ELEV/*/*/*/'", folder).exit_code, 4);
  EXPECT_EQ(RunTool("undelete " + copy + " '/*/*/ELEV/*/*/*/'", folder).exit_code, 0);
  const Outcome after = RunTool("catalog " + copy, folder);
  EXPECT_EQ(CountLines(after.out), 7);
  EXPECT_NE(after.out.find("/R/E/N/01Jan2021/1Hour/D/"), std::string::npos);
  EXPECT_EQ(CountLines(RunTool("catalog " + file, folder).out), 28);
}

}  // namespace

namespace {

// The dump of each reference file is byte for byte the dump HEC's library gives.
TEST(VarnockToolTest, DumpsReproduceTheReferenceDumps) {
  const std::pair<const char*, const char*> files[] = {
      {"fixture7.dss", "fixture7.dump.txt"},
      {"sample7.dss", "sample7.dss.dump.txt.gz"},
      {"MoRiverObs7.dss", "MoRiverObs7.dss.dump.txt.gz"},
      {"fixture6.dss", "fixture6.dump.txt"},
      {"sample6.dss", "sample6.dss.dump.txt.gz"}};
  for (const auto& [file, dump] : files) {
    VARNOCK_REQUIRE_FIXTURE(source, file);
    VARNOCK_REQUIRE_FIXTURE(dump_path, dump);
    TempFolder folder;
    const Outcome ours = RunTool("dump " + Quoted(source), folder);
    EXPECT_EQ(ours.exit_code, 0) << file;
    const std::string expected = varnock::testing::ReadDumpText(dump_path);
    ASSERT_EQ(ours.out.size(), expected.size()) << file;
    EXPECT_TRUE(ours.out == expected) << file;
  }
}

}  // namespace

namespace {

// Dump lines of one series' records (the file-level header lines left out).
std::string SeriesDump(const std::string& file, const std::string& pattern,
                       const TempFolder& folder) {
  const std::string dump = RunTool("dump " + Quoted(file) + " " + Quoted(pattern), folder).out;
  const size_t first_record = dump.find("record ");
  return first_record == std::string::npos ? "" : dump.substr(first_record);
}

TEST(VarnockToolTest, ExportedSeriesImportIntoTheSameRecords) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const std::string copy = folder.File("round.dss");
  const char* series[][2] = {
      {"/FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/", "/FIXTURES/HOURLY/FLOW/*/1Hour/F77-ZSRTS/"},
      {"/FIXTURES/DAILY/TEMP//1Day/F77-OFFSET/", "/FIXTURES/DAILY/TEMP/*/1Day/F77-OFFSET/"},
      {"/FIXTURES/HOURLY/ELEV//6Hour/C-DOUBLE/", "/FIXTURES/HOURLY/ELEV/*/6Hour/C-DOUBLE/"},
      {"/FIXTURES/GAGE/FLOW//IR-Day/F77-ZSITS/", "/FIXTURES/GAGE/FLOW/*/IR-Day/F77-ZSITS/"}};
  for (const auto& [path, pattern] : series) {
    const std::string csv = folder.File("series.csv");
    EXPECT_EQ(
        RunTool("export " + Quoted(source) + " " + Quoted(path) + " --csv --output " + Quoted(csv),
                folder)
            .exit_code,
        0)
        << path;
    EXPECT_EQ(RunTool("import " + Quoted(copy) + " " + Quoted(csv), folder).exit_code, 0) << path;
    const std::string original = SeriesDump(source, pattern, folder);
    ASSERT_FALSE(original.empty()) << path;
    EXPECT_EQ(SeriesDump(copy, pattern, folder), original) << path;
  }
  // A window keeps the values between its ends, both included.
  const Outcome window = RunTool("export " + Quoted(source) +
                                     " /FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/ --csv "
                                     "--start 2021-01-15T03:00:00 --end 2021-01-15T05:00:00",
                                 folder);
  EXPECT_NE(window.out.find("time,value\n2021-01-15T03:00:00,257.673004\n"), std::string::npos);
  EXPECT_EQ(CountLines(window.out), 5 + 1 + 3);
}

TEST(VarnockToolTest, BadCsvInputNamesTheLine) {
  TempFolder folder;
  const std::string csv = folder.File("bad.csv");
  std::ofstream(csv) << "# pathname /A/B/FLOW//1Hour/F/\ntime,value\n2021-01-01T01:00:00,1.5\n"
                        "2021-01-01T02:00:00,abc\n";
  const Outcome bad = RunTool("import " + Quoted(folder.File("x.dss")) + " " + Quoted(csv), folder);
  EXPECT_EQ(bad.exit_code, 5);
  EXPECT_NE(bad.err.find("line 4: bad value 'abc'"), std::string::npos) << bad.err;
  std::ofstream(csv) << "time,value\n2021-13-01T01:00:00,1.5\n";
  const Outcome no_path =
      RunTool("import " + Quoted(folder.File("x.dss")) + " " + Quoted(csv), folder);
  EXPECT_EQ(no_path.exit_code, 5);
  EXPECT_NE(no_path.err.find("line 2: bad time"), std::string::npos) << no_path.err;
  EXPECT_EQ(
      RunTool("export " + Quoted(folder.File("x.dss")) + " /A/B/C//1Hour/F/", folder).exit_code, 2);
}

}  // namespace

namespace {

TEST(VarnockToolTest, MessagesSayWhatIsWrong) {
  TempFolder folder;
  const Outcome version = RunTool("--version", folder);
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_EQ(version.out.rfind("varnock ", 0), 0u) << version.out;
  const Outcome help = RunTool("help import", folder);
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_EQ(help.out.rfind("usage: varnock import", 0), 0u) << help.out;
  EXPECT_EQ(RunTool("help frobnicate", folder).exit_code, 2);

  const Outcome directory = RunTool("info " + Quoted(folder.path().string()), folder);
  EXPECT_EQ(directory.exit_code, 3);
  EXPECT_NE(directory.err.find(" is a directory"), std::string::npos) << directory.err;
  const Outcome csv_directory = RunTool(
      "import " + Quoted(folder.File("x.dss")) + " " + Quoted(folder.path().string()), folder);
  EXPECT_EQ(csv_directory.exit_code, 3);
  EXPECT_NE(csv_directory.err.find(" is a directory"), std::string::npos) << csv_directory.err;

  const Outcome new_version =
      RunTool("import " + Quoted(folder.File("x.dss")) + " in.csv --new-version 8", folder);
  EXPECT_EQ(new_version.exit_code, 2);
  EXPECT_NE(new_version.err.find("--new-version takes 6 or 7, not '8'"), std::string::npos)
      << new_version.err;

  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  const std::string file = Quoted(folder.CopyIn(source, "fixture7.dss"));
  const Outcome missing = RunTool("rename " + file + " '  /A/B/C/D/E/F/ ' /A/B/C/D/E/G/", folder);
  EXPECT_EQ(missing.exit_code, 4);
  EXPECT_EQ(missing.err, "varnock rename: Pathname not found: /A/B/C/D/E/F/\n");
}

TEST(VarnockToolTest, PatternsSelectRecords) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const std::string file = Quoted(source);
  struct Case {
    const char* patterns;
    int exit_code;
    int lines;  // catalog lines, and records of the dump
  };
  const Case cases[] = {
      {"'/FIXTURES/*/FLOW//1HOUR/*/'", 0, 4},  // an empty D part: every block
      {"'/FIXTURES/HOURLY/FLOW/01Feb2021/1Hour/*/'", 0, 1},
      {"'/*/*/ELEV-*//*/*/'", 0, 2},  // no D part to match in paired data
      {"'/FIXTURES/*/FLOW//1HOUR/*/' '/*/*/ELEV/*/*/*/'", 0, 7},
      {"'*/RESERVOIR/*'", 0, 2},  // a glob over the whole pathname
      {"'/NOPE/*/*//*/*/'", 4, 0},
      {"'/*/*/*/*/*/'", 2, 0},  // five parts: not a pathname
      {"'/*/*/*/*/*/*/*/'", 2, 0},
  };
  for (const Case& c : cases) {
    const Outcome catalog = RunTool("catalog " + file + " " + c.patterns, folder);
    EXPECT_EQ(catalog.exit_code, c.exit_code) << c.patterns << catalog.err;
    EXPECT_EQ(CountLines(catalog.out), c.lines) << c.patterns << "\n" << catalog.out;
    const Outcome dump = RunTool("dump " + file + " " + c.patterns, folder);
    EXPECT_EQ(dump.exit_code, c.exit_code) << c.patterns;
    if (c.exit_code != 2) {
      EXPECT_NE(dump.out.find("\nrecord_count " + std::to_string(c.lines) + "\n"),
                std::string::npos)
          << c.patterns;
    }
  }
}

TEST(VarnockToolTest, CondensedCatalogKeepsTheOrder) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const Outcome condensed = RunTool("catalog " + Quoted(source) + " --condensed", folder);
  const size_t notes = condensed.out.find("TXT  /FIXTURES/NOTES/README///C-ZTEXTSTORE/\n");
  const size_t hourly = condensed.out.find("/FIXTURES/HOURLY/FLOW/");
  const size_t quarter = condensed.out.find("/FIXTURES/QUARTER/PRECIP/");
  ASSERT_NE(notes, std::string::npos);
  EXPECT_LT(hourly, notes);
  EXPECT_LT(notes, quarter);
  EXPECT_EQ(CountLines(condensed.out), 13);
}

// With the bar forced on, the CSV reading shows progress and the summary starts a line.
TEST(VarnockToolTest, ProgressCoversReadingAndEndsItsLine) {
  TempFolder folder;
  std::string csv = "# pathname /A/B/FLOW//1HOUR/F/\ntime,value\n";
  for (int hour = 1; hour <= 2000; ++hour) {
    char row[64];
    std::snprintf(row, sizeof row, "2021-%02d-%02dT%02d:00:00,%d\n", 1 + (hour / 24) / 28,
                  1 + (hour / 24) % 28, hour % 24, hour);
    csv += row;
  }
  std::ofstream(folder.File("in.csv")) << csv;
  const std::string dss = Quoted(folder.File("out.dss"));
  const Outcome imported =
      RunTool("import " + dss + " " + Quoted(folder.File("in.csv")), folder, "VARNOCK_PROGRESS=1");
  EXPECT_NE(imported.err.find("reading "), std::string::npos) << imported.err;
  EXPECT_NE(imported.err.find(" 50%"), std::string::npos);
  EXPECT_NE(imported.err.find("\033[Kimported "), std::string::npos) << imported.err;
  const Outcome copied =
      RunTool("copy " + dss + " " + Quoted(folder.File("copy.dss")), folder, "VARNOCK_PROGRESS=1");
  EXPECT_EQ(copied.exit_code, 0);
  EXPECT_NE(copied.err.find("100%\r\033[Kcopied "), std::string::npos) << copied.err;
  EXPECT_EQ(
      RunTool("import " + dss + " " + Quoted(folder.File("in.csv")), folder, "VARNOCK_PROGRESS=0")
          .err.find('\r'),
      std::string::npos);
}

// Overwrites int `index` of the internal header of the live record `path` in a DSS-7 file, as
// damage would: finds its info block (flag -97534, status 1, the path) and the header's address.
bool DamageInternalHeader(const std::string& file, const std::string& path, int index,
                          int32_t value) {
  std::fstream f(file, std::ios::in | std::ios::out | std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
  auto word = [&](size_t w) {
    int64_t v = 0;
    std::memcpy(&v, bytes.data() + 8 * w, 8);
    return v;
  };
  for (size_t w = 0; 8 * (w + 30) + path.size() <= bytes.size(); ++w) {
    if (word(w) != -97534 || word(w + 1) != 1 || word(w + 2) != static_cast<int64_t>(path.size()) ||
        std::memcmp(bytes.data() + 8 * (w + 30), path.data(), path.size()) != 0)
      continue;
    f.clear();
    f.seekp(word(w + 13) * 8 + 4 * index);
    f.write(reinterpret_cast<const char*>(&value), sizeof value);
    return static_cast<bool>(f);
  }
  return false;
}

// A record that cannot be read shows as "error <status>" and the dump fails; records of kinds
// the dump does not render stay "unsupported".
TEST(VarnockToolTest, DumpShowsDamageAndFails) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const std::string file = folder.CopyIn(source, "fixture7.dss");
  const std::string flow = "/FIXTURES/HOURLY/FLOW/01Feb2021/1Hour/F77-ZSRTS/";
  ASSERT_TRUE(DamageInternalHeader(file, flow, 7, 3));  // value size 3: no such series
  const Outcome damaged = RunTool("dump " + Quoted(file), folder);
  EXPECT_EQ(damaged.exit_code, 3);
  EXPECT_NE(damaged.out.find("record " + flow + "\nrectype 100\nerror 10\nend\n"),
            std::string::npos);
  EXPECT_EQ(damaged.out.substr(damaged.out.size() - 4), "END\n");
  EXPECT_NE(damaged.err.find("1 record could not be read"), std::string::npos);
  const Outcome others = RunTool("dump " + Quoted(file) + " '/FIXTURES/DAILY/*/*/*/*/'", folder);
  EXPECT_EQ(others.exit_code, 0);

  VARNOCK_REQUIRE_FIXTURE(missouri, "MoRiverObs7.dss");
  const std::string location = "/MISSOURI RIVER/BOONVILLE, MO/Location Info////";
  const Outcome unsupported = RunTool("dump " + Quoted(missouri) + " " + Quoted(location), folder);
  EXPECT_EQ(unsupported.exit_code, 0);
  EXPECT_NE(unsupported.out.find("rectype 20\nunsupported\nend\n"), std::string::npos);
}

// Location records are listed as such, and a copied series takes its location record along.
TEST(VarnockToolTest, LocationRecordsListedAndCopied) {
  VARNOCK_REQUIRE_FIXTURE(missouri, "MoRiverObs7.dss");
  TempFolder folder;
  const std::string location = "/MISSOURI RIVER/BOONVILLE, MO/Location Info////";
  const Outcome catalog = RunTool("catalog " + Quoted(missouri), folder);
  EXPECT_NE(catalog.out.find("LOC  " + location + "\n"), std::string::npos);
  const std::string copy = Quoted(folder.File("copy.dss"));
  ASSERT_EQ(RunTool("copy " + Quoted(missouri) + " " + copy +
                        " '/MISSOURI RIVER/BOONVILLE, MO/FLOW/01Oct2007/15Minute/USGS/'",
                    folder)
                .exit_code,
            0);
  const Outcome copied = RunTool("catalog " + copy, folder);
  EXPECT_EQ(CountLines(copied.out), 2);
  EXPECT_NE(copied.out.find("LOC  " + location + "\n"), std::string::npos);
}

}  // namespace
namespace plot_tests {

// Sets an environment variable for the tool run by one test, restored at the end.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value) : name_(name) {
    const char* old = std::getenv(name);
    had_ = old != nullptr;
    if (had_) old_ = old;
    setenv(name, value.c_str(), 1);
  }
  ~ScopedEnv() { had_ ? setenv(name_, old_.c_str(), 1) : unsetenv(name_); }

 private:
  const char* name_;
  bool had_ = false;
  std::string old_;
};

// The Python package beside the tool in the build tree (BUILD/python next to BUILD/bin).
bool ModuleBuilt() {
  const std::filesystem::path tool(VARNOCK_TOOL_PATH);
  return std::filesystem::is_regular_file(tool.parent_path().parent_path() / "python" / "varnock" /
                                          "__main__.py");
}

// An interpreter wrapper: runs /usr/bin/python3 with extra arguments or environment.
std::string Wrapper(const TempFolder& folder, const std::string& name, const std::string& body) {
  const std::string path = folder.File(name);
  std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  return path;
}

TEST(VarnockToolPlotTest, WritesAnImageOfAReferenceSeries) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  if (!ModuleBuilt()) GTEST_SKIP() << "the Python module is not built (VARNOCK_PYTHON=OFF)";
  TempFolder folder;
  const std::string image = folder.File("flow.png");
  const Outcome plot = RunTool("plot " + Quoted(source) +
                                   " /FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/ "
                                   "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/ --output " +
                                   Quoted(image) + " --start 2021-02-01 --end 2021-03-01",
                               folder);
  ASSERT_EQ(plot.exit_code, 0) << plot.err;
  std::ifstream png(image, std::ios::binary);
  char signature[8] = {};
  png.read(signature, sizeof signature);
  EXPECT_EQ(std::string(signature + 1, 3), "PNG");
  EXPECT_GT(std::filesystem::file_size(image), 10000u);
}

TEST(VarnockToolPlotTest, FailuresSayWhatToDo) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  TempFolder folder;
  const std::string args = "plot " + Quoted(source) + " /FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/" +
                           " --output " + Quoted(folder.File("x.png"));
  // A stand-in for matplotlib that cannot be imported.
  std::filesystem::create_directories(folder.path() / "hide" / "matplotlib");
  std::ofstream(folder.File("hide/matplotlib/__init__.py")) << "raise ImportError('hidden')\n";
  struct Case {
    const char* name;
    std::string python;  // VARNOCK_PYTHON
    int exit_code;
    const char* expected;  // in the one line on stderr
    bool needs_module;
  };
  const std::vector<Case> cases = {
      {"no interpreter", folder.File("no-such-python"), 1, "VARNOCK_PYTHON", false},
      // -I -S: neither PYTHONPATH nor site-packages, so no varnock wherever it is installed.
      {"no module", Wrapper(folder, "isolated", "exec /usr/bin/python3 -I -S \"$@\""), 1,
       "needs the Python module varnock", false},
      {"no matplotlib",
       Wrapper(folder, "nompl",
               "PYTHONPATH=" + folder.File("hide") + ":$PYTHONPATH exec /usr/bin/python3 \"$@\""),
       1, "apt install python3-matplotlib", true},
  };
  for (const Case& each : cases) {
    if (each.needs_module && !ModuleBuilt()) continue;
    ScopedEnv python("VARNOCK_PYTHON", each.python);
    const Outcome outcome = RunTool(args, folder);
    EXPECT_EQ(outcome.exit_code, each.exit_code) << each.name << ": " << outcome.err;
    EXPECT_NE(outcome.err.find(each.expected), std::string::npos)
        << each.name << ": " << outcome.err;
    EXPECT_EQ(CountLines(outcome.err), 1) << each.name << ": " << outcome.err;
  }
  if (!ModuleBuilt()) return;
  const Outcome unknown = RunTool(
      "plot " + Quoted(source) + " /NO/SUCH/SERIES//1Hour// -o " + Quoted(folder.File("y.png")),
      folder);
  EXPECT_EQ(unknown.exit_code, 4) << unknown.err;
  EXPECT_EQ(RunTool("plot " + Quoted(source), folder).exit_code, 2);
}

}  // namespace plot_tests
