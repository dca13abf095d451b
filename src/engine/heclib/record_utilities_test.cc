#include "engine/heclib/record_utilities.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

#include "engine/heclib/table_test_support.h"
#include "engine/rules/interval_names.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine {
namespace {

using testing::Table;
using testing::WriteRecord;
using varnock::testing::TempFolder;

struct TypeAnswer {
  int32_t found, words, type;
  std::string code;
  bool operator==(const TypeAnswer&) const = default;
};

// ZDTYPE through an 80-column blank-padded field, as the library calls it.
TypeAnswer DataType(Table& table, std::string path) {
  path.resize(80, ' ');
  TypeAnswer a{-5, -5, -5, "###"};
  ZDTYPE_(table.data(), path.data(), 80, &a.words, &a.found, a.code.data(), 3, &a.type);
  return a;
}

bool Rename(Table& table, std::string from, int32_t nfrom, std::string to, int32_t nto) {
  int32_t found = -5;
  ZRENAM_(table.data(), from.data(), static_cast<int32_t>(from.size()), &nfrom, to.data(),
          static_cast<int32_t>(to.size()), &nto, &found);
  return found != 0;
}

bool Delete(Table& table, std::string path, int32_t npath = 0) {
  int32_t found = -5;
  ZDELET_(table.data(), path.data(), static_cast<int32_t>(path.size()), &npath, &found);
  return found != 0;
}

int32_t Undelete(Table& table, std::string path, int32_t npath) {
  int32_t status = -99;
  ZUNDEL_(table.data(), path.data(), static_cast<int32_t>(path.size()), &npath, &status);
  return status;
}

int32_t Copy(Table& from, Table& to, std::string old_path, std::string new_path,
             int32_t header_words = 100, int32_t data_words = 8192) {
  old_path.resize(80, ' ');
  new_path.resize(80, ' ');
  std::vector<int32_t> b1(static_cast<std::size_t>(std::max(header_words, 0)));
  std::vector<int32_t> b2(static_cast<std::size_t>(std::max(data_words, 0)));
  int32_t status = -99;
  ZCOREC_(from.data(), to.data(), old_path.data(), 80, new_path.data(), 80, b1.data(),
          &header_words, b2.data(), &data_words, &status);
  return status;
}

TEST(IntervalNamesTest, BothSpellingsAnyCase) {
  // clang-format off
  const std::pair<const char*, int64_t> cases[] = {
      {"1HOUR", 3600}, {"1Hour", 3600}, {"15MIN", 900}, {"15Minute", 900}, {"30second", 30},
      {"1MON", 2592000}, {"1Month", 2592000}, {"SEMI-MONTH", 1296000}, {"Tri-Month", 864000},
      {"1YEAR", 31536000}, {"7HOUR", 0}, {"01DAY", 0}, {"1DAYS", 0}, {"HOUR", 0}, {"", 0}};
  // clang-format on
  for (auto [e, seconds] : cases)
    EXPECT_EQ(RegularIntervalSeconds(e), seconds) << e;
  EXPECT_EQ(IrregularBlockRank("IR-Month"), 2);
  EXPECT_EQ(IrregularBlockRank("IR-CENTURY"), 5);
  EXPECT_EQ(IrregularBlockRank("IR-WEEK"), 0);
}

TEST(GuessRecordTypeTest, FromThePathnameAlone) {
  // clang-format off
  const std::pair<const char*, int32_t> cases[] = {
      {"/A/B/FLOW/01JAN2001/1HOUR/F/", 100}, {"/A/B/FLOW/TS-PAT/1Day/F/", 101},
      {"/A/B/FLOW/01JAN2001/IR-MONTH/F/", 110}, {"/A/B/FLOW/ts-x/IR-DAY/F/", 111},
      {"/A/B/FLOW-STAGE///F/", 0}, {"/A/B/C/D/1MINUTE/F/", 100}, {"no pathname", 0},
      {"/A/B/FLOW/01JAN2001/~1DAY/F/", 110}, {"/A/B/FLOW//~15Minute/F/", 110},
      {"/A/B/FLOW//~IR-DAY/F/", 0}};
  // clang-format on
  for (auto [path, type] : cases)
    EXPECT_EQ(GuessRecordType(path), type) << path;
}

class RecordUtilitiesTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(table_.Open(folder_.File("u")), 0); }
  void TearDown() override {
    ResetOptions();
    SetLastRecordInfo({});  // ZDTYPE leaves its type there
  }
  TempFolder folder_;
  Table table_;
};

TEST_F(RecordUtilitiesTest, DataTypeOfRecordsAndGuesses) {
  ASSERT_EQ(WriteRecord(table_, "/A/B/FLOW/01Jan2001/1Hour/F/", 105, 9), dss7::Status::kOk);
  ASSERT_EQ(WriteRecord(table_, "/A/B/C///PD/", 200), dss7::Status::kOk);
  ASSERT_EQ(WriteRecord(table_, "/A/B/C///LOC/", 20), dss7::Status::kOk);
  EXPECT_EQ(DataType(table_, "/a/b/flow/01JAN2001/1HOUR/f/"), (TypeAnswer{1, 9, 105, "RTD"}));
  EXPECT_EQ(DataType(table_, "/A/B/C///PD/"), (TypeAnswer{1, 6, 200, "PD "}));
  EXPECT_EQ(DataType(table_, "/A/B/C///LOC/"), (TypeAnswer{1, 6, 20, "UND"}));
  EXPECT_EQ(table_.Ask("TYPE"), "20");
  EXPECT_EQ(DataType(table_, "/A/B/FLOW/01JAN2001/IR-DAY/F/"), (TypeAnswer{0, 0, 110, "ITS"}));
  EXPECT_EQ(table_.Ask("TYPE"), "110");
  EXPECT_EQ(DataType(table_, "/A/B/FLOW-STAGE///F/"), (TypeAnswer{0, 0, 0, "UND"}));
}

TEST_F(RecordUtilitiesTest, RenameReplacesTargetsAndTakesTheNewLengthLiterally) {
  ASSERT_EQ(WriteRecord(table_, "/A/B/C///OLD/", 300, 3), dss7::Status::kOk);
  ASSERT_EQ(WriteRecord(table_, "/A/B/C///TAKEN/", 300, 5), dss7::Status::kOk);
  // The old name is trimmed within NPATH; the new one is used for exactly NNPATH characters.
  EXPECT_TRUE(Rename(table_, "/A/B/C///OLD/   ", 16, "/A/B/C///TAKEN/xyz", 15));
  EXPECT_EQ(DataType(table_, "/A/B/C///TAKEN/").words, 3);
  EXPECT_EQ(DataType(table_, "/A/B/C///OLD/").found, 0);
  EXPECT_EQ(table_.Ask("NREC"), "1");
  EXPECT_FALSE(Rename(table_, "/A/B/C///OLD/", 13, "/A/B/C///NEW/", 13));      // gone
  EXPECT_FALSE(Rename(table_, "/A/B/C///TAKEN/", 15, "/A/B/C///TAKEN/", 15));  // same
  EXPECT_FALSE(Rename(table_, "/A/B/C///TAKEN/", 15, "/A/B/C///NEW/  ", 15));  // blanks kept
  EXPECT_FALSE(Rename(table_, "/A/B/C///TAKEN/", 15, "/A/B/C///NEW/", 0));
  EXPECT_TRUE(Rename(table_, "/A/B/C///TAKEN/", 99, "/A/B/C///NEW/", 99));  // cut to the buffer
  EXPECT_EQ(DataType(table_, "/A/B/C///NEW/").found, 1);
  EXPECT_EQ(table_.Ask("STAT"), "0");
}

TEST_F(RecordUtilitiesTest, DeleteAndUndeleteStatuses) {
  for (const char* path : {"/A/B/C///ONE/", "/A/B/C///TWO/", "/A/B/C///THREE/"})
    ASSERT_EQ(WriteRecord(table_, path), dss7::Status::kOk);
  EXPECT_TRUE(Delete(table_, "/A/B/C///ONE/    ", 3));  // NPATH plays no part
  EXPECT_FALSE(Delete(table_, "/A/B/C///ONE/"));
  EXPECT_EQ(table_.Ask("DELE"), "1");
  EXPECT_EQ(Undelete(table_, "/A/B/C///ONE/ ", 14), 1);  // length taken literally
  EXPECT_EQ(Undelete(table_, "/A/B/C///ONE/xx", 13), 0);
  EXPECT_EQ(Undelete(table_, "/A/B/C///ONE/", 13), 2);
  EXPECT_EQ(Undelete(table_, "/A/B/C///NONE/", 14), 1);
  EXPECT_EQ(Undelete(table_, "/A/B/C///ONE/", 0), 1);

  // A new record under a deleted name hides the deleted one.
  ASSERT_TRUE(Delete(table_, "/A/B/C///TWO/"));
  ASSERT_EQ(WriteRecord(table_, "/A/B/C///TWO/"), dss7::Status::kOk);
  EXPECT_EQ(Undelete(table_, "/A/B/C///TWO/", 13), 2);

  ASSERT_TRUE(Delete(table_, "/A/B/C///ONE/") && Delete(table_, "/A/B/C///THREE/"));
  EXPECT_EQ(table_.Ask("NREC"), "1");
  EXPECT_EQ(Undelete(table_, "ALL   ", 3), 0);
  EXPECT_EQ(table_.Ask("NREC"), "3");
  EXPECT_EQ(Undelete(table_, "ALL", 3), 1);
  EXPECT_EQ(Undelete(table_, "ALL", 4), 1);  // "ALL" only with NPATH 3
}

TEST_F(RecordUtilitiesTest, CopyWithinAndBetweenFiles) {
  ASSERT_EQ(WriteRecord(table_, "/A/B/C///SRC/", 300, 4), dss7::Status::kOk);
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "/A/B/C///DUP/"), 0);
  EXPECT_EQ(DataType(table_, "/A/B/C///DUP/"), (TypeAnswer{1, 4, 300, "TXT"}));
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///DUP/", "/A/B/C///DUP/"), 0);  // onto itself
  EXPECT_EQ(DataType(table_, "/A/B/C///DUP/"), (TypeAnswer{1, 4, 300, "TXT"}));
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///ABSENT/", "/A/B/C///X/"), 1);
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "/A/B/C///X/", 0, 10), -1);
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "/A/B/C///X/", 10, -3), -1);
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "/A/B/C///X/", 3, 10), -2);  // 4-word header
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "BAD"), 3);

  // An existing target is overwritten, also by a record of another type, unless PROT is on.
  ASSERT_EQ(WriteRecord(table_, "/A/B/C///PD/", 200, 2), dss7::Status::kOk);
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "/A/B/C///PD/"), 0);
  EXPECT_EQ(DataType(table_, "/A/B/C///PD/"), (TypeAnswer{1, 4, 300, "TXT"}));
  int32_t zero = 0;
  ZSET_("PROT", 4, "ON", 2, &zero);
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "/A/B/C///PD/"), -12);
  EXPECT_EQ(Copy(table_, table_, "/A/B/C///SRC/", "/A/B/C///NEW/"), 0);
  ResetOptions();

  Table other;
  ASSERT_EQ(other.Open(folder_.File("other")), 0);
  EXPECT_EQ(Copy(table_, other, "/A/B/C///SRC/", "/A/B/C///SRC/"), 0);
  EXPECT_EQ(DataType(other, "/A/B/C///SRC/"), (TypeAnswer{1, 4, 300, "TXT"}));
  EXPECT_EQ(other.Ask("NREC"), "1");

  int32_t on = 0;
  ZSET_("READ", 4, "ON", 2, &on);
  Table reader;
  ASSERT_EQ(reader.Open(folder_.File("other")), 0);
  EXPECT_EQ(Copy(table_, reader, "/A/B/C///SRC/", "/A/B/C///Y/"), -12);
  EXPECT_EQ(Copy(reader, table_, "/A/B/C///SRC/", "/A/B/C///FROM-READER/"), 0);
}

// HEC's copy takes the location record of the A and B parts along, to the new A and B parts.
// A copy from DSS-7 into DSS-6 keeps the source's version count and writer, for which the
// DSS-6 info block has a place: as a new record and as a rewrite of one.
TEST_F(RecordUtilitiesTest, CopyIntoVersionSixKeepsVersionCountAndWriter) {
  const std::string path = "/A/B/NOTE///KEPT/";
  paired::TextData text;
  text.text = "kept";
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(table_.records().writer().StoreText(path, text), dss7::Status::kOk);
  container::RecordInfo source;
  ASSERT_EQ(table_.records().file().Lookup(path, &source), dss7::Status::kOk);
  ASSERT_EQ(source.version, 3);
  int32_t six = 6;
  ZSET_("DSSV", 4, "", 0, &six);
  Table target;
  ASSERT_EQ(target.Open(folder_.File("six")), 0);
  ASSERT_EQ(target.records().file().MajorVersion(), 6);
  for (const char* what : {"new", "rewrite"}) {
    SCOPED_TRACE(what);
    ASSERT_EQ(Copy(table_, target, path, path), 0);
    container::RecordInfo copied;
    ASSERT_EQ(target.records().file().Lookup(path, &copied), dss7::Status::kOk);
    EXPECT_EQ(copied.version, source.version);
    EXPECT_EQ(copied.program, source.program.substr(0, 6));
  }
  // Writes of its own count on from there, under the table's program.
  ASSERT_EQ(target.records().writer().StoreText(path, text), dss7::Status::kOk);
  container::RecordInfo rewritten;
  ASSERT_EQ(target.records().file().Lookup(path, &rewritten), dss7::Status::kOk);
  EXPECT_EQ(rewritten.version, source.version + 1);
}

TEST_F(RecordUtilitiesTest, CopyCarriesTheLocationRecord) {
  const std::string flow = "/A/B/FLOW/01Jan2001/1Hour/F/";
  ASSERT_EQ(WriteRecord(table_, flow, 100, 4), dss7::Status::kOk);
  ASSERT_EQ(WriteRecord(table_, "/A/B/Location Info////", 20, 12), dss7::Status::kOk);
  Table other;
  ASSERT_EQ(other.Open(folder_.File("other")), 0);
  EXPECT_EQ(Copy(table_, other, flow, flow), 0);
  EXPECT_EQ(DataType(other, "/A/B/Location Info////"), (TypeAnswer{1, 12, 20, "UND"}));
  EXPECT_EQ(other.Ask("NREC"), "2");
  EXPECT_EQ(Copy(table_, table_, flow, "/X/Y/FLOW/01Jan2001/1Hour/F/"), 0);
  EXPECT_EQ(DataType(table_, "/X/Y/Location Info////"), (TypeAnswer{1, 12, 20, "UND"}));
  EXPECT_EQ(table_.Ask("NREC"), "4");
}

TEST_F(RecordUtilitiesTest, UtilitiesOnTheReferenceFile) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
  Table fixture;
  ASSERT_EQ(fixture.Open(folder_.CopyIn(source, "fixture7.dss")), 0);
  const std::string hourly = "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/";
  const TypeAnswer stored = DataType(fixture, hourly);
  EXPECT_TRUE(stored.found == 1 && stored.type == 100 && stored.code == "RTS" && stored.words > 0);
  EXPECT_EQ(DataType(fixture, "/FIXTURES/NOTES/README///C-ZTEXTSTORE/").code, "TXT");
  EXPECT_EQ(DataType(fixture, "/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/").code, "PDD");
  EXPECT_EQ(DataType(fixture, "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/").code, "PD ");
  EXPECT_EQ(DataType(fixture, "/FIXTURES/GAGE/FLOW/01Jun2021/IR-Day/F77-ZSITS/").code, "ITS");

  // A time series keeps its D and E parts when renamed; F13 was deleted when the file was made.
  EXPECT_TRUE(Rename(fixture, hourly, static_cast<int32_t>(hourly.size()),
                     "/FIXTURES/HOURLY/FLOW/01FEB2099/1DAY/MOVED/", 43));
  EXPECT_EQ(DataType(fixture, "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/MOVED/"), stored);
  EXPECT_EQ(Copy(fixture, table_, "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/MOVED/", hourly), 0);
  EXPECT_EQ(DataType(table_, hourly), stored);
  EXPECT_EQ(fixture.Ask("DELE"), "1");
}

// ZRRTS of `n` hourly values from 01JAN2021 01:00; the status goes into *status.
std::vector<float> Hourly(Table& table, const std::string& path, int32_t n, int32_t* status) {
  std::vector<float> values(static_cast<std::size_t>(n));
  char units[8], type[8];
  int32_t offset = 0;
  ZRRTS_(table.data(), path.data(), static_cast<int32_t>(path.size()), "01JAN2021", 9, "0100", 4,
         &n, values.data(), units, 8, type, 8, &offset, status);
  values.resize(static_cast<std::size_t>(std::max(n, 0)));
  return values;
}

// The utilities on HEC's DSS-6 file, and copies from it into a DSS-7 file and back: the
// values read through ZRRTS stay the same every way.
TEST_F(RecordUtilitiesTest, UtilitiesOnTheVersionSixReferenceFile) {
  VARNOCK_REQUIRE_FIXTURE(source, "fixture6.dss");
  Table fixture;
  ASSERT_EQ(fixture.Open(folder_.CopyIn(source, "fixture6.dss")), 0);
  const std::string hourly = "/FIXTURES/HOURLY/FLOW/01JAN2021/1HOUR/F77-ZSRTS/";
  const std::pair<std::string, const char*> kinds[] = {
      {hourly, "RTS"},
      {"/FIXTURES/HOURLY/ELEV/01JUL2021/6HOUR/C-DOUBLE/", "RTD"},
      {"/FIXTURES/NOTES/README///C-ZTEXTSTORE/", "TXT"},
      {"/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/", "PDD"},
      {"/fixtures/reservoir/elev-storage///f77-zspd/", "PD "},
      {"/FIXTURES/GAGE/FLOW/01Jun2021/IR-Day/F77-ZSITS/", "ITS"},
      {"/FIXTURES/GAGE/FLOW/01JUL2021/IR-DAY/ABSENT/", "ITS"}};
  for (const auto& [path, code] : kinds) {
    const TypeAnswer a = DataType(fixture, path);
    EXPECT_EQ(a.code, code) << path;
    EXPECT_EQ(a.found != 0, std::string(path).find("ABSENT") == std::string::npos) << path;
  }
  int32_t status = -1;
  const std::vector<float> original = Hourly(fixture, hourly, 48, &status);
  ASSERT_LE(status, 4);

  const TypeAnswer stored = DataType(fixture, hourly);
  const std::string moved = "/FIXTURES/HOURLY/FLOW/01JAN2021/1HOUR/MOVED/";
  const auto length = static_cast<int32_t>(moved.size());
  EXPECT_TRUE(Rename(fixture, hourly, static_cast<int32_t>(hourly.size()), moved, length));
  EXPECT_EQ(DataType(fixture, moved), stored);
  EXPECT_TRUE(Delete(fixture, moved));
  EXPECT_FALSE(Delete(fixture, moved));
  EXPECT_EQ(Undelete(fixture, moved, length), 0);
  EXPECT_EQ(Undelete(fixture, moved, length), 2);
  EXPECT_EQ(Undelete(fixture, "/FIXTURES/NO/SUCH///RECORD/", 27), 1);

  // Within the DSS-6 file the record travels whole; into DSS-7 and back it is converted.
  const std::string same = "/X/Y/FLOW/01JAN2021/1HOUR/SAME/";
  const std::string back = "/X/Y/FLOW/01JAN2021/1HOUR/BACK/";
  EXPECT_EQ(Copy(fixture, fixture, moved, same), 0);
  EXPECT_EQ(DataType(fixture, same), stored);
  EXPECT_EQ(Copy(fixture, fixture, same, "/x/y/flow/01jan2021/1hour/same/"), 0);  // onto itself
  EXPECT_EQ(DataType(fixture, same), stored);
  EXPECT_EQ(Copy(fixture, table_, moved, hourly), 0);
  EXPECT_EQ(DataType(table_, hourly).type, 100);
  EXPECT_EQ(Copy(table_, fixture, hourly, back), 0);
  EXPECT_EQ(DataType(fixture, back).type, 100);
  for (auto [table, path] : {std::pair{&fixture, same}, {&table_, hourly}, {&fixture, back}}) {
    EXPECT_EQ(Hourly(*table, path, 48, &status), original) << path;
    EXPECT_LE(status, 4);
  }
  // Every other kind crosses as well (the hourly record was renamed away above).
  for (const auto& [path, code] : kinds) {
    if (path == hourly || path.find("ABSENT") != std::string::npos) continue;
    EXPECT_EQ(Copy(fixture, table_, path, path), 0) << path;
    EXPECT_EQ(DataType(table_, path).code, code) << path;
  }
  EXPECT_EQ(fixture.Ask("STAT"), "0");
}

TEST_F(RecordUtilitiesTest, NamesAsTheHeclib6CatalogListsThemFindTheirRecords) {
  // The catalog lists "15Minute" and "1Month" as "15MIN" and "1MON"; each utility takes them.
  const std::string quarter = "/A/B/FLOW/01Jan2020/15Minute/F/";
  const std::string monthly = "/A/B/FLOW/01Jan2020/1Month/F/";
  ASSERT_EQ(WriteRecord(table_, quarter, 100, 5), dss7::Status::kOk);
  ASSERT_EQ(WriteRecord(table_, monthly, 100, 7), dss7::Status::kOk);
  EXPECT_EQ(DataType(table_, "/A/B/FLOW/01JAN2020/15MIN/F/"), (TypeAnswer{1, 5, 100, "RTS"}));
  EXPECT_EQ(Copy(table_, table_, "/A/B/FLOW/01JAN2020/1MON/F/", "/A/B/C///COPY/"), 0);
  EXPECT_EQ(DataType(table_, "/A/B/C///COPY/").words, 7);
  EXPECT_TRUE(Delete(table_, "/A/B/FLOW/01JAN2020/1MON/F/"));
  EXPECT_EQ(DataType(table_, monthly).found, 0);
  EXPECT_EQ(Undelete(table_, "/A/B/FLOW/01JAN2020/1MON/F/", 27), 0);
  EXPECT_EQ(DataType(table_, monthly).found, 1);
  const std::string listed = "/A/B/FLOW/01JAN2020/15MIN/F/";
  EXPECT_TRUE(
      Rename(table_, listed, static_cast<int32_t>(listed.size()), "/A/B/FLOW//15MIN/G/", 19));
  EXPECT_EQ(DataType(table_, "/A/B/FLOW/01Jan2020/15Minute/G/").found, 1);
  // A name whose E part is no interval is taken as it stands.
  EXPECT_EQ(DataType(table_, "/A/B/FLOW/01JAN2020/15MINUTES/F/").found, 0);
}

TEST_F(RecordUtilitiesTest, DamagedFilesGiveStatusesNeverFaults) {
  // DSS-6 looks names up upper-cased, so one name serves both files; the copy from the DSS-6
  // file into the DSS-7 table converts the record.
  const std::string hourly = "/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/";
  for (const char* file : {"fixture7.dss", "fixture6.dss"}) {
    SCOPED_TRACE(file);
    VARNOCK_REQUIRE_FIXTURE(source, file);
    std::ifstream in(source, std::ios::binary);
    const std::string clean((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::mt19937 rng(99);
    for (int round = 0; round < 60; ++round) {
      std::string bytes = clean;
      // Mostly the index and records; now and then the header too.
      const std::size_t from = round % 5 == 0 ? 0 : 800;
      for (int n = 0; n < 40; ++n)
        bytes[from + rng() % (bytes.size() - from)] = static_cast<char>(rng());
      const std::string name = folder_.File("hostile.dss");
      std::ofstream(name, std::ios::binary | std::ios::trunc) << bytes;
      Table hostile;
      const int32_t opened = hostile.Open(name);
      ASSERT_TRUE(opened == 0 || opened == -1 || opened == -2 || opened == -3 || opened == -6)
          << opened;
      if (opened != 0) continue;
      testing::CatalogLines(hostile, folder_.File("hostile.dsc"), round % 2 == 0);
      DataType(hostile, hourly);
      int32_t status = 0;
      Hourly(hostile, hourly, 30, &status);
      ASSERT_TRUE(status <= 5 || status >= 10) << status;
      const int32_t copied = Copy(hostile, table_, hourly, "/A/B/C///COPY/");
      ASSERT_TRUE(copied == 0 || copied == 1 || copied == -2 || copied >= 10) << copied;
      Rename(hostile, hourly, 48, "/X/Y/Z///R/", 11);
      Delete(hostile, "/FIXTURES/NOTES/README///C-ZTEXTSTORE/");
      const int32_t undeleted = Undelete(hostile, "ALL", 3);
      ASSERT_TRUE(undeleted == 0 || undeleted == 1 || undeleted >= 10) << undeleted;
      for (const char* key : {"NREC", "DELE", "SIZE", "DEAD", "FDAT", "LWTI", "STAT"})
        hostile.Ask(key);
    }
  }
  EXPECT_EQ(table_.Ask("STAT"), "0");
}

}  // namespace
}  // namespace varnock::engine
