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
