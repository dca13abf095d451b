// copy and rename keep time-series records whole; damaged records give one exit code on every
// command.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"
#include "tools/varnock/tool_runner.h"

namespace {

using varnock::testing::CountLines;
using varnock::testing::Outcome;
using varnock::testing::Quoted;
using varnock::testing::RunTool;
using varnock::testing::TempFolder;

constexpr char kFlow[] = "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/";

// The command text with {file}, {copy}, {csv} and {flow} replaced by quoted names.
std::string Command(std::string text, const TempFolder& folder, const std::string& file) {
  const std::pair<std::string, std::string> names[] = {{"{file}", Quoted(file)},
                                                       {"{copy}", Quoted(folder.File("copy.dss"))},
                                                       {"{csv}", Quoted(folder.File("one.csv"))},
                                                       {"{flow}", Quoted(kFlow)}};
  for (const auto& [token, value] : names) {
    for (size_t at = text.find(token); at != std::string::npos; at = text.find(token, at))
      text.replace(at, token.size(), value);
  }
  return text;
}

TEST(RecordsTest, NewNamesKeepTheDateAndIntervalParts) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  struct Case {
    const char* command;
    int exit_code;
  };
  const Case cases[] = {
      {"copy {file} {copy} {flow} --to /X/Y/Z/01Jan1990/1Hour/W/", 2},
      {"copy {file} {copy} {flow} --to /X/Y/Z/01Jan2021/1Day/W/", 2},
      {"copy {file} {file} {flow} --to /X/Y/Z/01Jan2021/1Day/W/", 2},
      {"rename {file} {flow} /X/Y/Z/01Feb2021/1Hour/W/", 2},
      {"copy {file} {copy} {flow} --to '  /X/Y/Z/01JAN2021/1HOUR/W/ '", 0},
      {"rename {file} ' /FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/' "
       "/X/Y/Z/01Jan2021/1Hour/W/",
       0},
      // Other record types have no block parts to keep.
      {"copy {file} {copy} /FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/ --to /X/Y/Z/D/E/F/", 0},
  };
  for (const Case& c : cases) {
    TempFolder folder;
    const std::string file = folder.CopyIn(source, "fixture7.dss");
    const std::string copy = folder.File("copy.dss");
    const std::string command = Command(c.command, folder, file);
    const Outcome outcome = RunTool(command, folder);
    EXPECT_EQ(outcome.exit_code, c.exit_code) << c.command << ": " << outcome.err;
    if (c.exit_code == 2) {
      EXPECT_NE(outcome.err.find("changes the D or E part"), std::string::npos) << outcome.err;
      EXPECT_FALSE(std::filesystem::exists(copy)) << c.command;
      EXPECT_EQ(CountLines(RunTool("catalog " + Quoted(file) + " '/X/*/*/*/*/*/'", folder).out), 0);
    } else {
      const std::string target = command.find("copy") == 0 ? copy : file;
      EXPECT_EQ(CountLines(RunTool("catalog " + Quoted(target) + " '/X/*/*/*/*/*/'", folder).out),
                1)
          << c.command;
    }
  }
}

// The rows of an export with values, leaving out -901: DSS-7 can hold it as a value, DSS-6
// only as its missing marker.
std::string PresentRows(const std::string& exported) {
  std::string rows;
  const size_t header = exported.find("time,value");
  size_t at = header == std::string::npos ? exported.size() : header;
  while (at < exported.size()) {
    const size_t end = exported.find('\n', at);
    const std::string line = exported.substr(at, end - at);
    if (!line.ends_with(",-901")) rows += line + "\n";
    at = end == std::string::npos ? exported.size() : end + 1;
  }
  return rows;
}

// Copies between and within files of both versions: records of one version travel whole,
// across versions they are converted, and a series reads back the same from either file.
TEST(RecordsTest, CopiesBetweenAndWithinVersions) {
#define VARNOCK_DAILY "'/FIXTURES/DAILY/STAGE/*/1DAY/C-ZTSSTORE/'"
  const std::string daily = VARNOCK_DAILY;
  struct Case {
    const char* source;
    const char* command;
    const char* version;  // of the copy
    int records;          // in the copy
  };
  const Case cases[] = {
      {"fixture7.dss", "copy {file} {copy} --new-version 6", "6-", 27},
      {"fixture6.dss", "copy {file} {copy}", "7-", 27},
      {"fixture6.dss", "copy {file} {copy} --new-version 6", "6-", 27},
      {"fixture6.dss", "copy {file} {copy} " VARNOCK_DAILY, "7-", 2},
  };
#undef VARNOCK_DAILY
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.source) + ": " + c.command);
    VARNOCK_REQUIRE_FIXTURE(source, c.source);
    TempFolder folder;
    const std::string file = folder.CopyIn(source, c.source);
    const Outcome outcome = RunTool(Command(c.command, folder, file), folder);
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("copied " + std::to_string(c.records) + " records"),
              std::string::npos)
        << outcome.err;
    const std::string copy = Quoted(folder.File("copy.dss"));
    EXPECT_EQ(CountLines(RunTool("catalog " + copy, folder).out), c.records);
    EXPECT_NE(RunTool("info " + copy, folder).out.find(std::string("version       ") + c.version),
              std::string::npos);
    const std::string exported = " " + daily + " --csv";
    const std::string rows = PresentRows(RunTool("export " + copy + exported, folder).out);
    EXPECT_GT(CountLines(rows), 100);
    EXPECT_EQ(rows, PresentRows(RunTool("export " + Quoted(file) + exported, folder).out));
  }
  // Within a DSS-6 file under a new name.
  VARNOCK_REQUIRE_FIXTURE(source6, "fixture6.dss");
  TempFolder folder;
  const std::string file = Quoted(folder.CopyIn(source6, "fixture6.dss"));
  EXPECT_EQ(RunTool("copy " + file + " " + file +
                        " /FIXTURES/DAILY/STAGE/01JAN2020/1DAY/C-ZTSSTORE/ --to "
                        "/X/Y/Z/01JAN2020/1DAY/W/",
                    folder)
                .exit_code,
            0);
  EXPECT_EQ(CountLines(RunTool("catalog " + file + " '/X/*/*/*/*/*/'", folder).out), 1);
}

TEST(RecordsTest, MissingSourceIsAFileThatCannotBeOpened) {
  TempFolder folder;
  const Outcome outcome = RunTool(
      "copy " + Quoted(folder.File("nope.dss")) + " " + Quoted(folder.File("new.dss")), folder);
  EXPECT_EQ(outcome.exit_code, 3);
  EXPECT_EQ(outcome.err,
            "varnock copy: Unable to connect to the DSS file: " + folder.File("nope.dss") + "\n");
  EXPECT_FALSE(std::filesystem::exists(folder.File("new.dss")));
}

// Overwrites one 8-byte word of a file.
void PutWord(const std::string& file, int64_t word, int64_t value) {
  std::fstream out(file, std::ios::in | std::ios::out | std::ios::binary);
  out.seekp(word * 8);
  out.write(reinterpret_cast<const char*>(&value), sizeof value);
}

// A record whose info block is damaged stops every command that touches it with exit 3.
TEST(RecordsTest, DamagedRecordsExitThreeOnEveryCommand) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  constexpr int64_t kFlowInfoWord = 15773;  // the info block of kFlow in the reference file
  const char* reads[] = {
      "export {file} {flow} --csv",
      "copy {file} {copy} {flow}",
      "copy {file} {file} {flow} --to /A/B/C/01Jan2021/1Hour/E/",
  };
  struct Damage {
    const char* name;
    int64_t word;
    int64_t value;
    std::vector<const char*> commands;
  };
  const Damage damages[] = {
      {"info flag",
       kFlowInfoWord,
       123456789,
       {reads[0], reads[1], reads[2], "delete {file} {flow}",
        "rename {file} {flow} /A/B/C/01Jan2021/1Hour/D/"}},
      {"first area address",
       kFlowInfoWord + 13,
       1000000000000,
       {reads[0], reads[1], reads[2],
        "import {file} {csv} --path /FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/"}}};
  for (const Damage& damage : damages) {
    for (const char* command : damage.commands) {
      TempFolder folder;
      const std::string file = folder.CopyIn(source, "fixture7.dss");
      PutWord(file, damage.word, damage.value);
      std::ofstream(folder.File("one.csv")) << "time,value\n2021-01-01T01:00:00,5\n";
      const Outcome outcome = RunTool(Command(command, folder, file), folder);
      EXPECT_EQ(outcome.exit_code, 3) << damage.name << ": " << command << ": " << outcome.err;
      EXPECT_NE(outcome.err.find("damaged file"), std::string::npos) << outcome.err;
    }
  }
}

}  // namespace
