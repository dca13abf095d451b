#include "varnock/database.h"

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"

#include <filesystem>
#include <set>

#include "tests/support/dump_reader.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"
#include "varnock/error.h"

namespace varnock {
namespace {

using testing::CaughtError;

using testing::TempFolder;

std::shared_ptr<Pathname> Path(const std::string& name) {
  auto path = std::make_shared<Pathname>();
  path->Name(name);
  return path;
}

std::set<std::string> Names(const std::vector<std::shared_ptr<Pathname>>& collection) {
  std::set<std::string> names;
  for (const auto& path : collection)
    names.insert(TrimTrailingBlanks(path->Name()));
  return names;
}

TEST(DSSDatabaseTest, ConnectCreatesOnlyWhenAsked) {
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("new.dss"));
  const AutomationError missing = CaughtError([&] { db->Connect(); });
  EXPECT_EQ(missing.Number(), kObjectErrorBase + dssHeclibError);
  EXPECT_EQ(missing.Source(), "DSSDatabase");
  EXPECT_EQ(missing.Description(), "Unable to connect to the DSS file: " + folder.File("new.dss"));
  EXPECT_EQ(missing.HelpContext(), 518);
  EXPECT_EQ(db->istat(), -2);
  EXPECT_FALSE(db->IsConnected());
  EXPECT_FALSE(std::filesystem::exists(folder.File("new.dss")));

  db->Connect(true);
  EXPECT_TRUE(db->IsConnected());
  EXPECT_EQ(db->istat(), 0);
  EXPECT_EQ(db->Inquire("nrec").ToString(), "0");
  const std::string name = db->Inquire("NAME").ToString();
  EXPECT_EQ(name.size(), 512u);

  const AutomationError twice = CaughtError([&] { db->Connect(); });
  EXPECT_EQ(twice.Number(), kObjectErrorBase + dssIsOpen);
  EXPECT_EQ(twice.Source(), "Varnock.DSSDatabase");
  EXPECT_EQ(twice.Description(),
            "The HEC-DSS file " + folder.File("new.dss") + " is already open.");
  EXPECT_EQ(CaughtError([&] { db->Name("other.dss"); }).Number(), kObjectErrorBase + dssIsOpen);
  EXPECT_EQ(db->Name(), folder.File("new.dss"));
  EXPECT_EQ(CaughtError([&] { db->Version(); }).Number(), 5009);

  db->Disconnect();
  db->Disconnect();  // silent
  EXPECT_FALSE(db->IsConnected());
  EXPECT_EQ(db->Version(), "7-JA");
  EXPECT_EQ(CaughtError([&] { db->Inquire("NREC"); }).Number(), kObjectErrorBase + dssNotOpen);
}

TEST(DSSDatabaseTest, VersionOfFilesThatAreNotOpen) {
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("absent.dss"));
  EXPECT_EQ(CaughtError([&] { db->Version(); }).Number(), kObjectErrorBase + dssHeclibError);
  EXPECT_EQ(db->istat(), -1);
  db->Name(std::string(65, 'x'));
  const AutomationError too_long = CaughtError([&] { db->Version(); });
  EXPECT_EQ(too_long.Number(), kObjectErrorBase + 6);
  EXPECT_EQ(too_long.Description(), "Filename too long for HECLIB");
}

TEST(DSSDatabaseTest, VersionSixFilesConnectAndReportTheirVersion) {
  for (const auto& [name, id] : {std::pair{"fixture6.dss", "6-YO"}, {"sample6.dss", "6-QE"}}) {
    VARNOCK_REQUIRE_FIXTURE(source, name);
    TempFolder folder;
    auto db = std::make_shared<DSSDatabase>();
    db->Name(folder.CopyIn(source, name));
    db->Connect();
    EXPECT_EQ(db->istat(), 0);
    EXPECT_TRUE(db->IsConnected());
    EXPECT_EQ(db->Inquire("TABL").ToString(), "1");  // HEC's dynamic hash table
    db->Disconnect();
    EXPECT_EQ(db->Version(), id);
  }
}

TEST(DSSDatabaseTest, DssvMakesTheNextNewFileVersionSix) {
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Setting("DSSV", Variant(6));
  for (const auto& [name, version] : {std::pair{"six.dss", "6-"}, {"seven.dss", "7-"}}) {
    db->Name(folder.File(name));
    db->Connect(true);
    db->Disconnect();
    EXPECT_EQ(db->Version().substr(0, 2), version) << name;
  }
}

TEST(DSSDatabaseTest, SettingsAndInquiries) {
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("settings.dss"));
  db->Connect(true);
  db->Setting("MLEV", Variant(4));
  EXPECT_EQ(db->Inquire("mlev").ToString(), "4");
  db->Setting("MLEV", Variant("3"));
  EXPECT_EQ(db->Inquire("MLVL").ToString(), "3");
  EXPECT_EQ(CaughtError([&] { db->Setting("MLEV", Variant(70000)); }).Number(), hostOverflow);
  EXPECT_EQ(CaughtError([&] { db->Inquire("VERSION"); }).Description(),
            "Error: Invalid Inqir -- VERSION");
  EXPECT_EQ(db->DictSettings()->Count(), 41);
  EXPECT_TRUE(db->DictSettings()->Exists("MAP "));
  EXPECT_EQ(db->DictInQuire()->Count(), 35);
  EXPECT_EQ(db->DictInQuire()->Keys().front(), "UNIT");
}

TEST(DSSDatabaseTest, CatalogsOfReferenceFilesHoldTheirDumpsPathnames) {
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
    auto db = std::make_shared<DSSDatabase>();
    db->Name(folder.CopyIn(source, file));
    db->Connect();
    std::set<std::string> expected;
    for (const auto& [path, type] : testing::DumpRecordTypes(dump_path))
      expected.insert(testing::Heclib6Name(path, type));
    const auto collection = db->AsCollection(true);
    EXPECT_EQ(collection.size(), expected.size()) << file;
    EXPECT_EQ(Names(collection), expected) << file;
    EXPECT_EQ(db->Inquire("NREC").ToString(), std::to_string(expected.size()));

    auto records = db->AsRecordset();
    EXPECT_EQ(records->RecordCount(), static_cast<int32_t>(expected.size()));
    records->MoveFirst();
    EXPECT_EQ(records->Fields("RecNum")->Value().ToLong(), 1);
    EXPECT_EQ(records->Fields("A")->DefinedSize(), 32);
  }
}

class RecordUtilities : public ::testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Fixtures, RecordUtilities, ::testing::Values("fixture7", "fixture6"));

// The copy into another file goes to a new DSS-7 file: across versions for fixture6.
TEST_P(RecordUtilities, RoundTrip) {
  const std::string file = std::string(GetParam()) + ".dss";
  VARNOCK_REQUIRE_FIXTURE(source, file);
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.CopyIn(source, file));
  db->Connect();
  const auto before = Names(db->AsCollection(true));
  ASSERT_FALSE(before.empty());
  const std::string first = *before.begin();
  const auto first_path = Path(first);
  EXPECT_TRUE(db->RecordExistsGateway(*first_path));

  // Copy within the file, then rename, delete and undelete the copy.
  auto copy = first_path->Clone();
  copy->Fpart("COPIED");
  db->Copy(first_path, copy);
  EXPECT_TRUE(db->RecordExistsGateway(*copy));
  EXPECT_EQ(db->RecordTypeGateway(*copy), db->RecordTypeGateway(*first_path));
  auto renamed = copy->Clone();
  renamed->Fpart("RENAMED");
  db->Rename(copy, renamed);
  EXPECT_FALSE(db->RecordExistsGateway(*copy));
  EXPECT_TRUE(db->RecordExistsGateway(*renamed));
  db->Delete(renamed);
  EXPECT_FALSE(db->RecordExistsGateway(*renamed));
  const AutomationError absent = CaughtError([&] { db->Delete(renamed); });
  EXPECT_EQ(absent.Number(), kObjectErrorBase + dssBadPathname);
  EXPECT_EQ(absent.Description(), "Pathname not found:" + renamed->Name());
  EXPECT_EQ(CaughtError([&] { db->Rename(copy, renamed); }).Description(),
            "Pathname not found:" + copy->Name());
  db->Undelete(renamed);
  EXPECT_EQ(db->istat(), 0);
  EXPECT_TRUE(db->RecordExistsGateway(*renamed));
  EXPECT_EQ(CaughtError([&] { db->Undelete(renamed); }).Number(),
            kObjectErrorBase + dssHeclibError);
  EXPECT_EQ(db->istat(), 2);

  auto expected = before;
  expected.insert(TrimTrailingBlanks(renamed->Name()));
  EXPECT_EQ(Names(db->AsCollection(true)), expected);

  // Copy into another file, which must be connected.
  auto other = std::make_shared<DSSDatabase>();
  other->Name(folder.File("other.dss"));
  EXPECT_EQ(CaughtError([&] { db->Copy(first_path, first_path, other); }).Description(),
            "Destination database not open");
  other->Connect(true);
  db->Copy(first_path, first_path, other);
  EXPECT_TRUE(other->RecordExistsGateway(*first_path));
  // The copy takes the upper-cased name the Pathname composes.
  EXPECT_EQ(Names(other->AsCollection(true)),
            std::set<std::string>{TrimTrailingBlanks(first_path->Name())});
}

TEST(DSSDatabaseTest, TypeOfAbsentRecordsIsGuessedFromThePathname) {
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("types.dss"));
  db->Connect(true);
  EXPECT_EQ(db->RecordTypeGateway(*Path("/A/B/FLOW/01JAN2001/1HOUR/F/")), "RTS");
  EXPECT_EQ(db->RecordTypeGateway(*Path("/A/B/FLOW/01JAN2001/IR-MONTH/F/")), "ITS");
  EXPECT_EQ(db->RecordTypeGateway(*Path("/A/B/FLOW-STAGE///F/")), "UND");
  EXPECT_FALSE(db->RecordExistsGateway(*Path("/A/B/FLOW/01JAN2001/1HOUR/F/")));
  // An empty file's catalog is its header alone.
  EXPECT_EQ(db->AsRecordset(true)->RecordCount(), 0);
  EXPECT_TRUE(db->AsCollection().empty());
}

TEST(DSSDatabaseTest, OperationsNeedAConnection) {
  auto db = std::make_shared<DSSDatabase>();
  const AutomationError error = CaughtError([&] { db->AsCollection(); });
  EXPECT_EQ(error.Number(), kObjectErrorBase + dssNotOpen);
  EXPECT_EQ(error.Description(), "No DSS file connected");
  EXPECT_EQ(error.HelpContext(), 521);
  EXPECT_EQ(CaughtError([&] { db->Delete(Path("/A/B/C/D/E/F/")); }).Number(),
            kObjectErrorBase + dssNotOpen);
  EXPECT_EQ(CaughtError([&] { db->RecordExistsGateway(*Path("/A/B/C/D/E/F/")); }).Number(),
            kObjectErrorBase + dssNotOpen);
}

}  // namespace
}  // namespace varnock
