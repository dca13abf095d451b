// convert, squeeze and check on files of both versions.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/dump_reader.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"
#include "tools/varnock/tool_runner.h"

namespace {

using varnock::testing::Outcome;
using varnock::testing::Quoted;
using varnock::testing::RunTool;
using varnock::testing::TempFolder;

std::string Dump(const std::string& file, const TempFolder& folder) {
  return RunTool("dump " + Quoted(file), folder).out;
}

// Overwrites `count` bytes from `offset` with 0xFF.
void Scribble(const std::string& file, std::streamoff offset, size_t count) {
  std::fstream f(file, std::ios::in | std::ios::out | std::ios::binary);
  f.seekp(offset);
  const std::string junk(count, '\xFF');
  f.write(junk.data(), static_cast<std::streamsize>(junk.size()));
}

// fixture7 converted to DSS-6 is HEC's own fixture6 record for record, and back to DSS-7 it
// keeps every pathname, time and value (slots never written marked as DSS-7 marks them).
TEST(VarnockMaintainTest, ConvertBothWays) {
  VARNOCK_REQUIRE_FIXTURE(fixture7, "fixture7.dss");
  VARNOCK_REQUIRE_FIXTURE(fixture6, "fixture6.dss");
  VARNOCK_REQUIRE_FIXTURE(dump6, "fixture6.dump.txt");
  TempFolder folder;
  const std::string six = folder.File("six.dss"), seven = folder.File("seven.dss");
  const Outcome to6 =
      RunTool("convert " + Quoted(fixture7) + " " + Quoted(six) + " --to 6", folder);
  EXPECT_EQ(to6.exit_code, 0) << to6.err;
  EXPECT_EQ(to6.out, "converted 27 records to DSS version 6\n");
  EXPECT_TRUE(Dump(six, folder) == varnock::testing::ReadDumpText(dump6));

  const Outcome to7 = RunTool("convert " + Quoted(six) + " " + Quoted(seven) + " --to 7", folder);
  EXPECT_EQ(to7.exit_code, 0) << to7.err;
  const Outcome direct = RunTool(
      "convert " + Quoted(fixture6) + " " + Quoted(folder.File("direct.dss")) + " --to 7", folder);
  EXPECT_EQ(direct.exit_code, 0) << direct.err;
  const std::string round_trip = Dump(seven, folder);
  EXPECT_NE(round_trip.find("file_version 7\nrecord_count 27\n"), std::string::npos);
  EXPECT_TRUE(round_trip == Dump(folder.File("direct.dss"), folder));

  struct Refused {
    std::string arguments;
    int exit_code;
  };
  const Refused refused[] = {
      {"convert " + Quoted(fixture7) + " " + Quoted(folder.File("x.dss")) + " --to 5", 2},
      {"convert " + Quoted(fixture7) + " " + Quoted(folder.File("x.dss")), 2},
      {"convert " + Quoted(fixture7) + " " + Quoted(six) + " --to 6", 6},  // exists
      {"convert " + Quoted(folder.File("absent.dss")) + " " + Quoted(folder.File("y.dss")) +
           " --to 6",
       3}};
  for (const auto& r : refused)
    EXPECT_EQ(RunTool(r.arguments, folder).exit_code, r.exit_code) << r.arguments;
  EXPECT_FALSE(std::filesystem::exists(folder.File("x.dss")));
}

// Squeezing keeps every record; check passes a sound file and fails a scribbled one, on both
// versions.
TEST(VarnockMaintainTest, SqueezeAndCheckOnBothVersions) {
  for (const char* name : {"fixture6.dss", "fixture7.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(source, name);
    TempFolder folder;
    const std::string file = folder.CopyIn(source, name);
    std::filesystem::permissions(file, std::filesystem::perms::owner_write,
                                 std::filesystem::perm_options::add);
    const std::string before = Dump(file, folder);
    const Outcome squeezed = RunTool("squeeze " + Quoted(file), folder);
    EXPECT_EQ(squeezed.exit_code, 0) << name << squeezed.err;
    EXPECT_TRUE(Dump(file, folder) == before) << name;
    const Outcome sound = RunTool("check " + Quoted(file), folder);
    EXPECT_EQ(sound.exit_code, 0) << name << sound.out;
    EXPECT_EQ(sound.out, "sound\n") << name;

    Scribble(file, 30000, 4000);
    const Outcome damaged = RunTool("check " + Quoted(file), folder);
    EXPECT_EQ(damaged.exit_code, 3) << name;
    EXPECT_NE(damaged.out.find(" found\n"), std::string::npos) << name;
    EXPECT_NE(damaged.err.find("is damaged"), std::string::npos) << name;
  }
}

// catalog and info read both versions alike; a DSS-6 catalog lists its upper-case names,
// and patterns match either (case is ignored).
TEST(VarnockMaintainTest, CatalogAndInfoOnBothVersions) {
  const char* flow = "'/FIXTURES/HOURLY/FLOW/*/1Hour/*/'";
  int flow_lines[2] = {0, 0};
  for (const char* name : {"fixture6.dss", "fixture7.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(file, name);
    TempFolder folder;
    const bool six = name[7] == '6';
    const Outcome catalog = RunTool("catalog " + Quoted(file), folder);
    EXPECT_EQ(catalog.exit_code, 0) << name;
    EXPECT_EQ(varnock::testing::CountLines(catalog.out), 27) << name;
    EXPECT_NE(catalog.out.find(six ? "/01JAN2021/1HOUR/" : "/01Jan2021/1Hour/"), std::string::npos)
        << name;
    const Outcome matched = RunTool("catalog " + Quoted(file) + " " + flow, folder);
    EXPECT_EQ(matched.exit_code, 0) << name;
    flow_lines[six ? 0 : 1] = varnock::testing::CountLines(matched.out);
    const Outcome info = RunTool("info " + Quoted(file), folder);
    EXPECT_EQ(info.exit_code, 0) << name;
    EXPECT_NE(info.out.find(six ? "version       6-" : "version       7-"), std::string::npos);
    EXPECT_NE(info.out.find("records       27\n"), std::string::npos) << info.out;
  }
  EXPECT_GT(flow_lines[0], 0);
  EXPECT_EQ(flow_lines[0], flow_lines[1]);
}

// delete, undelete and rename write to files of both versions alike; the file stays sound.
TEST(VarnockMaintainTest, DeleteUndeleteAndRenameOnBothVersions) {
  for (const char* name : {"fixture6.dss", "fixture7.dss"}) {
    VARNOCK_REQUIRE_FIXTURE(source, name);
    TempFolder folder;
    const std::string file = folder.CopyIn(source, name);
    std::filesystem::permissions(file, std::filesystem::perms::owner_write,
                                 std::filesystem::perm_options::add);
    const Outcome deleted =
        RunTool("delete " + Quoted(file) + " '/FIXTURES/DAILY/*/*/*/*/'", folder);
    EXPECT_EQ(deleted.exit_code, 0) << name << deleted.err;
    const int left = varnock::testing::CountLines(RunTool("catalog " + Quoted(file), folder).out);
    EXPECT_EQ(left + std::stoi(deleted.err.substr(deleted.err.find(' ') + 1)), 27) << name;
    const Outcome renamed = RunTool("rename " + Quoted(file) +
                                        " /FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/"
                                        " /FIXTURES/RESERVOIR/ELEV-STORAGE///RENAMED/",
                                    folder);
    EXPECT_EQ(renamed.exit_code, 0) << name << renamed.err;
    const std::string dump = RunTool("dump " + Quoted(file), folder).out;
    EXPECT_NE(dump.find("record /FIXTURES/RESERVOIR/ELEV-STORAGE///RENAMED/\n"), std::string::npos)
        << name;
    EXPECT_EQ(dump.find("F77-ZSPD/\n"), std::string::npos) << name;
    EXPECT_EQ(RunTool("check " + Quoted(file), folder).exit_code, 0) << name;
    EXPECT_EQ(RunTool("delete " + Quoted(file) + " '/NOTHING/*/*/*/*/*/'", folder).exit_code, 4);
    const Outcome restored =
        RunTool("undelete " + Quoted(file) + " '/FIXTURES/DAILY/*/*/*/*/'", folder);
    EXPECT_EQ(restored.exit_code, 0) << name << restored.err;
    EXPECT_EQ(restored.err, "un" + deleted.err) << name;
    EXPECT_EQ(varnock::testing::CountLines(RunTool("catalog " + Quoted(file), folder).out), 27);
    EXPECT_EQ(RunTool("check " + Quoted(file), folder).exit_code, 0) << name;
  }
}

}  // namespace
