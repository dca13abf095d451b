// The catalog as the classes use it: names handed straight back to the record classes, and
// catalog files that cannot be written beside the database.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

#include "tests/support/caught_error.h"
#include "tests/support/dump_records.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/heclib.h"
#include "varnock/irregular_time_series.h"
#include "varnock/paired_data.h"
#include "varnock/regular_time_series.h"

namespace varnock {
namespace {

using testing::CaughtError;
using testing::TempFolder;

// A dump value as the classic routines give it: the never-written marker reads as -901.
float ClassicValue(const std::string& text) {
  const double value = std::stod(text);
  if (value <= -3.4e38) return -901.0f;
  return static_cast<float>(value);
}

void ExpectRegularMatches(const std::string& name, const testing::DumpSeries& record,
                          const std::shared_ptr<DSSDatabase>& db) {
  const Date first = Date::FromText(record.times.front());
  const Date last = Date::FromText(record.times.back());
  auto ts = std::make_shared<RegularTimeSeries>();
  ts->Pathname()->Name(name);
  // The block's range, as a user would give it: the interval decides the count.
  ts->Starting(first);
  ts->Ending(last);
  ASSERT_EQ(ts->ValueCount(), static_cast<int32_t>(record.values.size()));
  ts->Retrieve(db);
  ASSERT_EQ(ts->ValueCount(), static_cast<int32_t>(record.values.size()));
  EXPECT_EQ(ts->TsUnits(), record.units);
  EXPECT_EQ(ts->TsType(), record.type);
  EXPECT_EQ(ts->DateTime(ts->ValueCount() - 1), last);
  for (size_t i = 0; i < record.values.size(); ++i)
    ASSERT_EQ(ts->Value(static_cast<int32_t>(i)), ClassicValue(record.values[i])) << i;
}

void ExpectIrregularMatches(const std::string& name, const testing::DumpSeries& record,
                            const std::shared_ptr<DSSDatabase>& db) {
  auto ts = std::make_shared<IrregTimeSeries>();
  ts->Pathname()->Name(name);
  ts->Starting(Date::FromText(record.times.front()));
  ts->Ending(Date::FromText(record.times.back()));
  ts->Retrieve(db);
  ASSERT_EQ(ts->ValueCount(), static_cast<int32_t>(record.values.size()));
  EXPECT_EQ(TrimTrailingBlanks(ts->TsUnits()), record.units);
  for (size_t i = 0; i < record.values.size(); ++i) {
    const auto index = static_cast<int32_t>(i);
    ASSERT_EQ(ts->Value(index), ClassicValue(record.values[i])) << i;
    ASSERT_NEAR(ts->DateTime(index).Serial(), Date::FromText(record.times[i]).Serial(), 0.5 / 86400)
        << i;
  }
}

void ExpectPairedMatches(const std::string& name, const testing::DumpPaired& record,
                         const std::shared_ptr<DSSDatabase>& db) {
  auto pd = std::make_shared<PairedData>();
  pd->Pathname()->Name(name);
  pd->Retrieve(db);
  ASSERT_EQ(pd->Nord(), record.ordinates);
  ASSERT_EQ(pd->Ncurve(), record.curves);
  // HEC's DSS-6 dump shows an empty text as the blanks of its buffer; ZRPD hands back blanks.
  EXPECT_EQ(pd->Units(axFirstAxis), TrimTrailingBlanks(record.units[0]));
  EXPECT_EQ(pd->Units(axSecondAxis), TrimTrailingBlanks(record.units[1]));
  EXPECT_EQ(pd->PdType(axFirstAxis), TrimTrailingBlanks(record.types[0]));
  EXPECT_EQ(pd->PdType(axSecondAxis), TrimTrailingBlanks(record.types[1]));
  for (size_t c = 0; c < record.labels.size(); ++c)
    EXPECT_EQ(pd->LABEL(static_cast<int32_t>(c)), record.labels[c]);
  ASSERT_EQ(record.rows.size(), static_cast<size_t>(record.ordinates));
  for (int32_t i = 0; i < record.ordinates; ++i) {
    const auto& row = record.rows[static_cast<size_t>(i)];
    ASSERT_EQ(row.size(), static_cast<size_t>(record.curves) + 1);
    EXPECT_EQ(pd->XValue(i), ClassicValue(row[0])) << i;
    for (int32_t c = 0; c < record.curves; ++c)
      EXPECT_EQ(pd->YValue(c, i), ClassicValue(row[static_cast<size_t>(c) + 1])) << i;
  }
}

// Every series and paired-data record of a database, read by handing each name of its catalog
// as it stands to the class of its kind, holds what the dump shows.
void ExpectCatalogNamesReadAsDump(const std::shared_ptr<DSSDatabase>& db,
                                  const std::string& dump_path) {
  std::map<std::string, testing::DumpSeries> series;
  for (auto& record : testing::DumpTimeSeries(dump_path))
    series[testing::Heclib6Name(record.path, record.rectype)] = record;
  std::map<std::string, testing::DumpPaired> paired;
  for (auto& record : testing::DumpPairedData(dump_path))
    paired[testing::Heclib6Name(record.path, record.rectype)] = record;
  ASSERT_FALSE(series.empty());

  const auto collection = db->AsCollection(true);
  auto recordset = db->AsRecordset();
  ASSERT_EQ(recordset->RecordCount(), static_cast<int32_t>(collection.size()));
  size_t read = 0;
  for (const auto& path : collection) {
    const std::string name = TrimTrailingBlanks(path->Name());
    SCOPED_TRACE(name);
    // The recordset lists the same parts.
    EXPECT_EQ(recordset->Fields("E")->Value().ToString(), path->Epart());
    recordset->MoveNext();
    EXPECT_TRUE(db->RecordExistsGateway(*path));
    if (const auto found = series.find(name); found != series.end()) {
      if (found->second.rectype < 110) {
        ExpectRegularMatches(name, found->second, db);
      } else {
        ExpectIrregularMatches(name, found->second, db);
      }
    } else if (const auto pd = paired.find(name); pd != paired.end()) {
      ExpectPairedMatches(name, pd->second, db);
    } else {
      continue;
    }
    ++read;
  }
  EXPECT_EQ(read, series.size() + paired.size());
}

// The same for a reference file and its own dump.
void ExpectCatalogNamesReadAsTheirDump(const std::string& file, const std::string& dump) {
  VARNOCK_REQUIRE_FIXTURE(source, file);
  VARNOCK_REQUIRE_FIXTURE(dump_path, dump);
  TempFolder folder;
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.CopyIn(source, file));
  db->Connect();
  ExpectCatalogNamesReadAsDump(db, dump_path);
}

TEST(CatalogTest, EveryFixtureRecordReadsUnderItsCatalogName) {
  ExpectCatalogNamesReadAsTheirDump("fixture7.dss", "fixture7.dump.txt");
}

TEST(CatalogTest, EverySampleRecordReadsUnderItsCatalogName) {
  ExpectCatalogNamesReadAsTheirDump("sample7.dss", "sample7.dss.dump.txt.gz");
}

TEST(CatalogTest, EveryObservedRecordReadsUnderItsCatalogName) {
  ExpectCatalogNamesReadAsTheirDump("MoRiverObs7.dss", "MoRiverObs7.dss.dump.txt.gz");
}

TEST(CatalogTest, EveryVersionSixFixtureRecordReadsUnderItsCatalogName) {
  ExpectCatalogNamesReadAsTheirDump("fixture6.dss", "fixture6.dump.txt");
}

TEST(CatalogTest, EveryVersionSixSampleRecordReadsUnderItsCatalogName) {
  ExpectCatalogNamesReadAsTheirDump("sample6.dss", "sample6.dss.dump.txt.gz");
}

// Every record copied (ZCOREC) into a new file of the other version reads back as the source's
// dump shows it: blocks, spellings and missing markers converted on the way.
TEST(CatalogTest, RecordsCopiedAcrossVersionsReadAsTheSourceDump) {
  const struct {
    const char* file;
    const char* dump;
    int target_version;
  } cases[] = {{"fixture7.dss", "fixture7.dump.txt", 6}, {"fixture6.dss", "fixture6.dump.txt", 7}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    VARNOCK_REQUIRE_FIXTURE(source, c.file);
    VARNOCK_REQUIRE_FIXTURE(dump_path, c.dump);
    TempFolder folder;
    auto from = std::make_shared<DSSDatabase>();
    from->Name(folder.CopyIn(source, c.file));
    from->Connect();
    auto to = std::make_shared<DSSDatabase>();
    to->Name(folder.File("converted.dss"));
    to->Setting("DSSV", Variant(c.target_version));
    to->Connect(true);
    for (const auto& path : from->AsCollection(true)) {
      if (from->RecordTypeGateway(*path) == "TXT") continue;  // the classes have no text class
      from->Copy(path, path, to);
    }
    ExpectCatalogNamesReadAsDump(to, dump_path);
    to->Disconnect();
    EXPECT_EQ(to->Version().substr(0, 1), std::to_string(c.target_version));
  }
}

// Points TMPDIR, the temporary folder, elsewhere for one test.
class TemporaryFolderAt {
 public:
  explicit TemporaryFolderAt(const std::string& folder) {
    if (const char* old = std::getenv("TMPDIR")) saved_ = old;
    ::setenv("TMPDIR", folder.c_str(), 1);
  }
  ~TemporaryFolderAt() {
    if (saved_) {
      ::setenv("TMPDIR", saved_->c_str(), 1);
    } else {
      ::unsetenv("TMPDIR");
    }
  }
  TemporaryFolderAt(const TemporaryFolderAt&) = delete;
  TemporaryFolderAt& operator=(const TemporaryFolderAt&) = delete;

 private:
  std::optional<std::string> saved_;
};

std::shared_ptr<DSSDatabase> DatabaseWithTwoRecords(const std::string& name) {
  auto db = std::make_shared<DSSDatabase>();
  db->Name(name);
  db->Connect(true);
  for (const char* path : {"/A/B/FLOW/01JAN2020/15MIN/F/", "/A/B/STAGE/01JAN2020/1HOUR/F/"}) {
    auto ts = std::make_shared<RegularTimeSeries>();
    ts->Pathname()->Name(path);
    ts->Starting(Date::FromText("2020-01-01T01:00:00"));
    ts->ValueCount(3);
    ts->Store(db);
  }
  return db;
}

TEST(CatalogTest, CatalogThatCannotBeWrittenBesideTheFileGoesToTheTemporaryFolder) {
  TempFolder folder;
  // The catalog of ".../x.dss.d/f.dss" is ".../x.dsc.d/f.dsc"; with a file in the way its
  // folder cannot be made, whoever runs the test.
  std::filesystem::create_directory(folder.path() / "x.dss.d");
  std::ofstream(folder.File("x.dsc.d")) << "not a folder\n";
  const std::string catalog_beside = folder.File("x.dsc.d/f.dsc");
  auto db = DatabaseWithTwoRecords(folder.File("x.dss.d/f.dss"));
  TempFolder temporary;
  TemporaryFolderAt redirect(temporary.path().string());

  const auto collection = db->AsCollection(true);
  ASSERT_EQ(collection.size(), 2u);
  EXPECT_EQ(collection[0]->Epart(), "15MIN");
  EXPECT_EQ(db->AsRecordset()->RecordCount(), 2);  // no catalog beside the file: made again
  EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));  // each temporary catalog is removed
  EXPECT_TRUE(std::filesystem::is_regular_file(folder.File("x.dsc.d")));

  // An explicit destination that cannot be written falls back alike.
  EXPECT_EQ(db->AsCollection(true, folder.File("x.dsc.d/other.dsc")).size(), 2u);
  EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));

  // MakeNewCatalog has no listing to return, so there it is an error with a text.
  const AutomationError refused = CaughtError([&] { db->MakeNewCatalog(); });
  EXPECT_EQ(refused.Number(), kObjectErrorBase + dssCatalogIssue);
  EXPECT_EQ(refused.Source(), "DSSDatabase");
  EXPECT_EQ(refused.Description(), "Unable to write the catalog file " + catalog_beside);

  // Nowhere to write at all: the error names the catalog file.
  TemporaryFolderAt nowhere(folder.File("x.dsc.d"));
  const AutomationError failed = CaughtError([&] { db->AsCollection(true); });
  EXPECT_EQ(failed.Number(), kObjectErrorBase + dssCatalogIssue);
  EXPECT_EQ(failed.Description().rfind("Unable to write the catalog file " + catalog_beside, 0), 0u)
      << failed.Description();
}

TEST(CatalogTest, CatalogOfAFileInAReadOnlyFolder) {
  if (::geteuid() == 0) {
    GTEST_SKIP() << "running as root, where folder permissions do not stop writes; the "
                    "fallback itself is covered by the test with a file in the catalog's way";
  }
  TempFolder folder;
  std::filesystem::create_directory(folder.path() / "ro");
  DatabaseWithTwoRecords(folder.File("ro/data.dss"))->Disconnect();
  std::filesystem::permissions(folder.path() / "ro", std::filesystem::perms::owner_read |
                                                         std::filesystem::perms::owner_exec);
  auto db = std::make_shared<DSSDatabase>();
  db->Name(folder.File("ro/data.dss"));
  db->Connect();
  const auto collection = db->AsCollection();
  std::filesystem::permissions(folder.path() / "ro", std::filesystem::perms::owner_all);
  EXPECT_EQ(collection.size(), 2u);
  EXPECT_FALSE(std::filesystem::exists(folder.File("ro/data.dsc")));
}

}  // namespace
}  // namespace varnock
