#include "engine/heclib/file_routines.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "engine/heclib/table_test_support.h"
#include "engine/rules/dates.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine {
namespace {

using testing::Table;
using testing::WriteRecord;
using varnock::testing::TempFolder;

void Set(std::string_view keyword, std::string_view text, int32_t number = 0) {
  ZSET_(keyword.data(), static_cast<int32_t>(keyword.size()), text.data(),
        static_cast<int32_t>(text.size()), &number);
}

std::pair<int32_t, std::string> Version(const std::string& name) {
  char text[4] = {'#', '#', '#', '#'};
  int32_t number = 0;
  ZFVER_(name.data(), static_cast<int32_t>(name.size()), text, 4, &number);
  return {number, std::string(text, 4)};
}

void WriteBytes(const std::string& path, std::size_t size) {
  std::ofstream(path, std::ios::binary) << std::string(size, 'x');
}

class FileRoutinesTest : public ::testing::Test {
 protected:
  void TearDown() override {
    ResetOptions();
    SetLastRecordInfo({});  // ZDTYPE leaves its type there
  }
  TempFolder folder_;
};

TEST_F(FileRoutinesTest, OpenStatusesFollowWhatIsOnDisk) {
  WriteBytes(folder_.File("small.dss"), 1000);
  WriteBytes(folder_.File("big.dss"), 1001);
  WriteBytes(folder_.File("empty.dss"), 0);
  std::filesystem::create_directory(folder_.File("dir.dss"));
  ASSERT_EQ(mkfifo(folder_.File("pipe.dss").c_str(), 0600), 0);
  // A version 5 file: "ZDSS", then the old "xx-n" identifier at byte 16.
  std::string old(2048, '\0');
  old.replace(0, 4, "ZDSS");
  old.replace(16, 4, "LA-5");
  std::ofstream(folder_.File("five.dss"), std::ios::binary) << old;
  const std::pair<std::string, int32_t> cases[] = {{folder_.File("new"), 0},
                                                   {folder_.File("five.dss"), -3},
                                                   {folder_.File("empty.dss"), 0},
                                                   {folder_.File("small.dss"), -6},
                                                   {folder_.File("big.dss"), -6},
                                                   {folder_.File("dir.dss"), -1},
                                                   {folder_.File("pipe.dss"), -1},
                                                   {folder_.File("no/such.dss"), -1},
                                                   {"   ", -10},
                                                   {"\"" + folder_.File("quoted") + "\"", 0}};
  for (const auto& [name, want] : cases) {
    Table table;
    table.words[5] = 77;
    EXPECT_EQ(table.Open(name), want) << name;
    EXPECT_EQ(table.words[0], want == 0 ? kOpenTableMark : 0) << name;
    EXPECT_EQ(table.words[5], 77);
  }
  EXPECT_EQ(Version(folder_.File("new")), std::make_pair(7, std::string("7-JA")));
  // A file that is not DSS is never replaced, however small.
  EXPECT_EQ(std::filesystem::file_size(folder_.File("small.dss")), 1000u);
  EXPECT_EQ(Version(folder_.File("empty.dss")).first, 7);
  EXPECT_EQ(Version(folder_.File("quoted.dss")).first, 7);
  EXPECT_EQ(std::filesystem::file_size(folder_.File("big.dss")), 1001u);
}

TEST_F(FileRoutinesTest, VersionSixFilesOpenAndReportTheirVersion) {
  const struct {
    const char* name;
    const char* id;
    const char* number;
    const char* records;
  } cases[] = {{"fixture6.dss", "6-YO", "62515", "27"}, {"sample6.dss", "6-QE", "61705", nullptr}};
  for (const auto& c : cases) {
    VARNOCK_REQUIRE_FIXTURE(source, c.name);
    const std::string copy = folder_.CopyIn(source, c.name);
    const auto before = std::filesystem::last_write_time(copy);
    {
      Table table;
      ASSERT_EQ(table.Open(copy), 0) << c.name;
      EXPECT_EQ(table.words[0], kOpenTableMark);
      EXPECT_EQ(table.records().file().MajorVersion(), 6);
      EXPECT_EQ(table.Ask("FVER"), c.number);
      if (c.records != nullptr) {
        EXPECT_EQ(table.Ask("NREC"), c.records);
      }
      EXPECT_EQ(table.Ask("READ"), "0");
      EXPECT_EQ(table.Ask("STAT"), "0");
    }
    EXPECT_EQ(Version(copy), std::make_pair(6, std::string(c.id)));
    // Opened for reading only, a write is refused and recorded in the status word.
    Set("READ", "ON");
    Table reader;
    ASSERT_EQ(reader.Open(copy), 0);
    EXPECT_EQ(reader.Ask("READ"), "1");
    std::vector<container::CatalogItem> items;
    ASSERT_EQ(reader.records().file().Catalog(&items), dss7::Status::kOk);
    ASSERT_FALSE(items.empty());
    const std::string& first = items.front().path;
    int32_t found = 1;
    ZDELET_(reader.data(), first.data(), static_cast<int32_t>(first.size()), nullptr, &found);
    EXPECT_EQ(found, 0);
    EXPECT_EQ(reader.Ask("STAT"), "130");
    // Opening, inquiring and a refused write change nothing.
    EXPECT_EQ(std::filesystem::last_write_time(copy), before);
  }
}

TEST_F(FileRoutinesTest, DssvMakesTheNextNewFileVersionSixOnly) {
  const struct {
    const char* keyword;
    int32_t number;
    int first, second;
  } cases[] = {
      {"DSSV", 6, 6, 7},  // one new file, then back to DSS-7
      {"DSSV", 7, 7, 7},  // asking for the default
      {"DSSV", 5, 7, 7},  // not a version we make: ignored
      {"ALLV", 6, 6, 6},  // every new file
  };
  int n = 0;
  for (const auto& c : cases) {
    Set(c.keyword, "", c.number);
    const std::string first = folder_.File("first" + std::to_string(n));
    const std::string second = folder_.File("second" + std::to_string(n++));
    for (const auto& [name, want] : {std::pair{first, c.first}, {second, c.second}}) {
      Table table;
      ASSERT_EQ(table.Open(name), 0);
      EXPECT_EQ(table.records().file().MajorVersion(), want) << c.keyword << " " << c.number;
    }
    // Opening an existing file uses up nothing.
    EXPECT_EQ(Version(first).first, c.first);
    ResetOptions();
  }
}

TEST_F(FileRoutinesTest, VersionOfFilesThatAreNotOpen) {
  WriteBytes(folder_.File("text.dss"), 50);
  std::filesystem::create_directory(folder_.File("dir.dss"));
  // "ZDSS", then an old "xx-n" identifier at byte 16.
  std::string old(32, '\0');
  old.replace(0, 4, "ZDSS");
  old.replace(16, 4, "LA-5");
  std::ofstream(folder_.File("old.dss"), std::ios::binary) << old;
  EXPECT_EQ(Version(folder_.File("absent")), std::make_pair(-1, std::string("    ")));
  EXPECT_EQ(Version(folder_.File("text")), std::make_pair(-3, std::string("    ")));
  EXPECT_EQ(Version(folder_.File("dir")).first, -2);
  EXPECT_EQ(Version(folder_.File("old")), std::make_pair(5, std::string("5-LA")));
  EXPECT_EQ(Version("").first, -1);
  // HECLIB keeps 64 characters of the name: a longer one names another file.
  const std::string deep = folder_.File(std::string(70, 'd'));
  Table table;
  ASSERT_EQ(table.Open(deep), 0);
  EXPECT_EQ(Version(deep).first, -1);
}

TEST_F(FileRoutinesTest, ReadOptionIsOneShotAndKeepsTheFileUnchanged) {
  Set("READ", "ON");
  Table missing;
  EXPECT_EQ(missing.Open(folder_.File("ro")), -2);
  EXPECT_FALSE(std::filesystem::exists(folder_.File("ro.dss")));
  Table writer;
  ASSERT_EQ(writer.Open(folder_.File("ro")), 0);  // READ was used up
  ASSERT_EQ(WriteRecord(writer, "/A/B/C///F/"), dss7::Status::kOk);
  EXPECT_EQ(writer.Ask("READ"), "0");

  Set("READ", "ON");
  Table reader;
  ASSERT_EQ(reader.Open(folder_.File("ro")), 0);
  EXPECT_EQ(reader.Ask("READ"), "1");
  EXPECT_EQ(reader.Ask("MULT"), "1");
  int32_t found = 1;
  ZDELET_(reader.data(), "/A/B/C///F/", 11, nullptr, &found);
  EXPECT_EQ(found, 0);
  EXPECT_EQ(reader.Ask("STAT"), "130");
  EXPECT_EQ(reader.Ask("NREC"), "1");
}

// EXCL keeps others out while the owner has the file; WLOC (one-shot) is refused while others
// have it open. `version` is that of the file the first open makes.
void ExpectExclusiveOpensKeepOthersOut(const std::string& name, int version) {
  Set("DSSV", "", version);
  {
    Set("EXCL", "ON");
    Table owner;
    ASSERT_EQ(owner.Open(name), 0);
    EXPECT_EQ(owner.records().file().MajorVersion(), version);
    EXPECT_EQ(owner.Ask("MULT"), "0");
    Table other;
    EXPECT_EQ(other.Open(name), -5);
  }
  Table first, second;
  ASSERT_EQ(first.Open(name), 0);
  Set("WLOC", "");
  EXPECT_EQ(second.Open(name), -5);  // others have it open
  EXPECT_EQ(second.Open(name), 0);   // WLOC was one-shot
  EXPECT_EQ(first.Ask("MULT"), "2");
}

TEST_F(FileRoutinesTest, ExclusiveOpensKeepOthersOut) {
  for (int version : {7, 6}) {
    SCOPED_TRACE(version);
    ExpectExclusiveOpensKeepOthersOut(folder_.File("shared" + std::to_string(version)), version);
  }
}

TEST_F(FileRoutinesTest, TwoTablesOnOneFileSeeEachOthersWrites) {
  Table a, b;
  ASSERT_EQ(a.Open(folder_.File("two")), 0);
  ASSERT_EQ(b.Open(folder_.File("two")), 0);
  EXPECT_NE(a.Ask("UNIT"), b.Ask("UNIT"));
  EXPECT_EQ(b.Ask("NREC"), "0");
  ASSERT_EQ(WriteRecord(a, "/A/B/C///ONE/"), dss7::Status::kOk);
  EXPECT_EQ(b.Ask("NREC"), "1");
  int32_t words = 0, found = 0, type = 0;
  char code[3];
  ZDTYPE_(b.data(), "/A/B/C///ONE/", 13, &words, &found, code, 3, &type);
  EXPECT_TRUE(found != 0 && type == 300 && words == 6);
  ZDELET_(b.data(), "/A/B/C///ONE/", 13, nullptr, &found);
  EXPECT_EQ(a.Ask("NREC"), "0");
  EXPECT_EQ(a.Ask("DELE"), "1");
}

// The same on a new DSS-6 file, written through its record writer; and what its inquiries say.
TEST_F(FileRoutinesTest, TwoTablesOnOneVersionSixFileSeeEachOthersWrites) {
  Set("DSSV", "", 6);
  Table a, b;
  ASSERT_EQ(a.Open(folder_.File("two6")), 0);
  ASSERT_EQ(b.Open(folder_.File("two6")), 0);
  EXPECT_EQ(b.Ask("NREC"), "0");
  paired::TextData text;
  text.text = "one";
  ASSERT_EQ(a.records().writer().StoreText("/A/B/C///ONE/", text), dss7::Status::kOk);
  EXPECT_EQ(b.Ask("NREC"), "1");
  int32_t words = 0, found = 0, type = 0;
  char code[3];
  ZDTYPE_(b.data(), "/a/b/c///one/", 13, &words, &found, code, 3, &type);
  EXPECT_TRUE(found != 0 && type == 300 && words == 1);
  ZDELET_(b.data(), "/A/B/C///ONE/", 13, nullptr, &found);
  EXPECT_EQ(a.Ask("NREC"), "0");
  EXPECT_EQ(a.Ask("DELE"), "1");
  // HEC's default DSS-6 layout: a dynamic table of 2048 hash codes, 4-byte words.
  const std::pair<const char*, std::string> answers[] = {
      {"FVER", "62515"}, {"TABL", "1"},
      {"HSIZ", "2048"},  {"READ", "0"},
      {"STAT", "0"},     {"SIZE", std::to_string((std::stoll(a.Ask("FSIZ")) * 4 + 1023) / 1024)},
  };
  for (const auto& [keyword, answer] : answers)
    EXPECT_EQ(a.Ask(keyword), answer) << keyword;
  EXPECT_EQ(a.Ask("FDAT").size(), 7u);
}

TEST_F(FileRoutinesTest, FileInquiries) {
  const std::string name = folder_.File(std::string(80, 'n'));
  Table table;
  ASSERT_EQ(table.Open(name), 0);
  EXPECT_EQ(table.Ask("NAME"), (name + ".dss").substr(0, 64));
  EXPECT_EQ(table.Ask("FVER"), "71001");
  EXPECT_EQ(table.Ask("VERS"), "6");
  EXPECT_EQ(table.Ask("TABL"), "2");
  EXPECT_EQ(table.Ask("HSIZ"), "8192");
  EXPECT_EQ(table.Ask("REMO"), "0");
  EXPECT_EQ(table.Ask("READ"), "0");
  EXPECT_EQ(table.Ask("STAT"), "0");
  EXPECT_EQ(table.Ask("FSIZ"), std::to_string(table.file().header()[dss7::hdr::kFileSize]));
  EXPECT_EQ(table.Ask("SIZE"), std::to_string((std::stoll(table.Ask("FSIZ")) * 8 + 1023) / 1024));
  EXPECT_EQ(table.Ask("DEAD"), "0");

  char today[16];
  LocalStamp now;
  ASSERT_TRUE(LocalStampOf(static_cast<int64_t>(std::time(nullptr)) * 1000, &now));
  const int32_t n = JulianToDate(now.julian, 114, today);
  EXPECT_EQ(table.Ask("FDAT"), std::string(today, static_cast<std::size_t>(n)));
  EXPECT_EQ(table.Ask("LWDA"), table.Ask("FDAT"));
  EXPECT_EQ(table.Ask("LWTI").size(), 8u);

  // CLEA stores whatever number comes in: the -903 the library presets becomes the status.
  EXPECT_EQ(table.Ask("CLEA", -903), "-903");  // the number comes back untouched
  EXPECT_EQ(table.Ask("STAT"), "-903");
  EXPECT_EQ(table.Ask("ERRO"), "-903");
  EXPECT_EQ(table.Ask("CLEA", 0), "0");
  EXPECT_EQ(table.Ask("STAT"), "0");
  EXPECT_EQ(table.Ask("QQQQ"), "-1");
}

TEST_F(FileRoutinesTest, CloseIsHarmlessAndTouchesOnlyItsWords) {
  Table table;
  ZCLOSE_(table.data());  // never opened
  ZCLOSE_(nullptr);
  table.words.fill(5);
  ASSERT_EQ(table.Open(folder_.File("c")), 0);
  const int32_t open_before = OpenTableCount();
  ZCLOSE_(table.data());
  ZCLOSE_(table.data());
  EXPECT_EQ(OpenTableCount(), open_before - 1);
  for (int i = 0; i < kTableWordsUsed; ++i)
    EXPECT_EQ(table.words[static_cast<std::size_t>(i)], 0);
  EXPECT_EQ(table.words[kTableWordsUsed], 5);
  EXPECT_EQ(table.Ask("NREC"), "-1");

  // Opening a table that is still open closes its first file.
  ASSERT_EQ(table.Open(folder_.File("c")), 0);
  ASSERT_EQ(table.Open(folder_.File("d")), 0);
  EXPECT_EQ(OpenTableCount(), open_before);
}

TEST_F(FileRoutinesTest, StaleAndDamagedTablesAreNeverTrusted) {
  Table table;
  ASSERT_EQ(table.Open(folder_.File("t")), 0);
  ASSERT_EQ(WriteRecord(table, "/A/B/C///F/"), dss7::Status::kOk);

  // A copy of the words outlives the close; a new open may take the same slot.
  Table copy;
  copy.words = table.words;
  ZCLOSE_(table.data());
  ASSERT_EQ(table.Open(folder_.File("t")), 0);
  int32_t status = 0;
  EXPECT_EQ(FileOfTable(copy.data(), &status), nullptr);
  EXPECT_EQ(status, kTableNotOpen);
  EXPECT_EQ(copy.Ask("STAT"), "70");

  std::mt19937 rng(7);
  const auto good = table.words;
  for (int round = 0; round < 2000; ++round) {
    Table junk;
    for (std::size_t i = 0; i < 8; ++i)
      junk.words[i] = round % 3 == 0 ? static_cast<int32_t>(rng()) : good[i];
    junk.words[static_cast<std::size_t>(1 + round % 3)] ^= static_cast<int32_t>(rng() | 1);
    if (round % 2 == 0) junk.words[0] = kOpenTableMark;
    status = 0;
    ASSERT_EQ(FileOfTable(junk.data(), &status), nullptr);
    ASSERT_EQ(status, kTableNotOpen);
    int32_t found = 1, words = 1, type = 1, undeleted = 0, copied = 0;
    const int32_t len = 11, big = 100;
    char code[3];
    ZDTYPE_(junk.data(), "/A/B/C///F/", 11, &words, &found, code, 3, &type);
    ASSERT_TRUE(found == 0 && words == 0 && type == 0);
    ZDELET_(junk.data(), "/A/B/C///F/", 11, &len, &found);
    ZRENAM_(junk.data(), "/A/B/C///F/", 11, &len, "/A/B/C///G/", 11, &len, &found);
    ASSERT_EQ(found, 0);
    ZUNDEL_(junk.data(), "/A/B/C///F/", 11, &len, &undeleted);
    ASSERT_EQ(undeleted, 70);
    ZCOREC_(table.data(), junk.data(), "/A/B/C///F/", 11, "/A/B/C///G/", 11, nullptr, &big, nullptr,
            &big, &copied);
    ASSERT_EQ(copied, 70);
    ZCLOSE_(junk.data());
    ASSERT_NE(junk.words[0], kOpenTableMark);
  }
  EXPECT_EQ(table.Ask("NREC"), "1");  // the real table was never disturbed
}

}  // namespace
}  // namespace varnock::engine
