#include <sqlite3.h>

#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/caught_error.h"
#include "tests/support/temp_folder.h"
#include "varnock/recordset.h"

namespace varnock {
namespace {

using testing::CaughtError;

std::string Written(const testing::TempFolder& folder, const std::string& name,
                    const std::string& text) {
  std::ofstream(folder.File(name), std::ios::binary) << text;
  return folder.File(name);
}

std::string Database(const testing::TempFolder& folder, const std::string& sql) {
  const std::string path = folder.File("gauges.db");
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(db, ("BEGIN;" + sql + "COMMIT;").c_str(), nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(db);
  return path;
}

TEST(RecordsetCsvTest, TypesAreInferredOrGiven) {
  testing::TempFolder folder;
  auto records =
      Recordset::FromCsvFile(Written(folder, "r.csv",
                                     "\xEF\xBB\xBFStamp,Flow,Count,Gauge,Ok\r\n"
                                     "2020-01-01 00:30:00,1.5,3,\"North, upper\",True\r\n"
                                     "\r\n"
                                     "01/01/2020 01:00:00,,-4,\"said \"\"hi\"\"\nthere\",false\r\n"
                                     "1/1/2020 2:00:00 AM,2e1,,x,TRUE\r\n"));
  const std::vector<DataTypeEnum> types = {adDate, adDouble, adInteger, adVarWChar, adBoolean};
  for (int32_t i = 0; i < 5; ++i)
    EXPECT_EQ(records->Fields(i)->Type(), types[i]) << i;
  EXPECT_EQ(records->RecordCount(), 3);
  EXPECT_EQ(records->Fields("Stamp")->Value(), Variant(Date::Serial(2020, 1, 1, 0, 30)));
  EXPECT_EQ(records->Fields("Gauge")->Value(), Variant("North, upper"));
  records->MoveNext();
  EXPECT_TRUE(records->Fields("Flow")->Value().IsNull());
  EXPECT_EQ(records->Fields("Gauge")->Value(), Variant("said \"hi\"\nthere"));
  records->MoveLast();
  EXPECT_EQ(records->Fields("Stamp")->Value(), Variant(Date::Serial(2020, 1, 1, 2)));
  EXPECT_EQ(records->Fields("Flow")->Value(), Variant(20.0));

  CsvOptions options;
  options.delimiter = ';';
  options.types = {{"flow", adSingle}, {"Code", adVarChar}};
  auto given = Recordset::FromCsvFile(Written(folder, "s.csv", "Flow;Code\n7;007\n"), options);
  EXPECT_EQ(given->Fields("Flow")->Value(), Variant(7.0f));
  EXPECT_EQ(given->Fields("Code")->Value(), Variant("007"));
}

TEST(RecordsetCsvTest, FaultsNameTheirLine) {
  testing::TempFolder folder;
  CsvOptions dated;
  dated.types = {{"Stamp", adDate}, {"Flow", adSingle}};
  const std::pair<std::string, std::string> bad_cells[] = {
      {"Stamp,Flow\n1/1/2020,1\n\n1/2/2020,2\nnot a date,3\n", "line 5"},
      {"Stamp,Flow\n1/1/2020,1\n1/2/2020,x2\n", "line 3"}};
  for (const auto& [text, line] : bad_cells) {
    const std::string& csv = text;  // clang before 16 cannot capture a structured binding
    const AutomationError error =
        CaughtError([&] { Recordset::FromCsvFile(Written(folder, "b.csv", csv), dated); });
    EXPECT_EQ(error.Number(), hostTypeMismatch);
    EXPECT_NE(error.Description().find(line), std::string::npos) << error.Description();
  }
  const std::pair<std::string, int32_t> bad_files[] = {
      {"A,B\n1,2\n3\n", adErrInvalidArgument},  // too few cells
      {"A\n\"open\n", adErrInvalidArgument},    // quote never closed
      {"A,a\n1,2\n", adErrInvalidArgument},     // repeated name
      {"", adErrProviderFailed}};               // no header
  for (const auto& [text, number] : bad_files) {
    const std::string& csv = text;
    EXPECT_EQ(CaughtError([&] { Recordset::FromCsvFile(Written(folder, "f.csv", csv)); }).Number(),
              number)
        << csv;
  }
  EXPECT_EQ(CaughtError([&] { Recordset::FromCsvFile(folder.File("absent.csv")); }).Number(),
            adErrProviderFailed);
  CsvOptions unknown;
  unknown.types = {{"Level", adDouble}};
  EXPECT_EQ(CaughtError([&] {
              Recordset::FromCsvFile(Written(folder, "u.csv", "A\n1\n"), unknown);
            }).Number(),
            adErrItemNotFound);
}

TEST(RecordsetSqliteTest, ColumnTypesFollowDeclarationsOrValues) {
  testing::TempFolder folder;
  const std::string path = Database(
      folder,
      "CREATE TABLE readings (stamp DATETIME, flow REAL, n INTEGER, big INTEGER, gauge TEXT,"
      " ok BOOLEAN, loose);"
      "INSERT INTO readings VALUES ('2020-01-01 00:30:00', 1.5, 3, 1, 'North', 1, 7);"
      "INSERT INTO readings VALUES (2458849.5, NULL, -4, 5000000000, NULL, 0, 8);"
      "INSERT INTO readings VALUES (1577840400, 2, NULL, 2, 'x', NULL, 9);"
      "CREATE TABLE \"odd \"\"name\"\"\" (v); INSERT INTO \"odd \"\"name\"\"\" VALUES ('a');");
  auto records = Recordset::FromSqlite(path, "readings");
  // An INTEGER column with a value beyond 32 bits holds doubles.
  const std::vector<DataTypeEnum> types = {adDate,     adDouble,  adInteger, adDouble,
                                           adVarWChar, adBoolean, adInteger};
  for (int32_t i = 0; i < 7; ++i)
    EXPECT_EQ(records->Fields(i)->Type(), types[i]) << i;
  // Dates from text, from a Julian day number and from Unix seconds.
  const Date stamps[] = {Date::Serial(2020, 1, 1, 0, 30), Date::Serial(2020, 1, 1),
                         Date::Serial(2020, 1, 1, 1)};
  for (const Date stamp : stamps) {
    EXPECT_EQ(records->Fields("stamp")->Value(), Variant(stamp));
    records->MoveNext();
  }
  records->MovePrevious();
  records->MovePrevious();
  EXPECT_TRUE(records->Fields("flow")->Value().IsNull());
  EXPECT_EQ(records->Fields("big")->Value(), Variant(5e9));

  auto query = Recordset::FromSqlite(
      path, "  select gauge, flow * 2 AS twice FROM readings WHERE flow > 0 ORDER BY n DESC");
  EXPECT_EQ(query->RecordCount(), 2);
  EXPECT_EQ(query->Fields("twice")->Type(), adDouble);
  EXPECT_EQ(query->Fields("gauge")->Value(), Variant("North"));
  EXPECT_EQ(Recordset::FromSqlite(path, "odd \"name\"")->Fields("v")->Value(), Variant("a"));
}

TEST(RecordsetSqliteTest, FailuresAreReported) {
  testing::TempFolder folder;
  const std::string path = Database(folder,
                                    "CREATE TABLE t (stamp DATE, flow REAL);"
                                    "INSERT INTO t VALUES ('1/1/2020', 1), ('someday', 2);");
  AutomationError error = CaughtError([&] { Recordset::FromSqlite(path, "t"); });
  EXPECT_EQ(error.Number(), hostTypeMismatch);
  EXPECT_NE(error.Description().find("row 2"), std::string::npos) << error.Description();
  error = CaughtError([&] { Recordset::FromSqlite(path, "absent"); });
  EXPECT_EQ(error.Number(), adErrProviderFailed);
  EXPECT_NE(error.Description().find("no such table"), std::string::npos);
  EXPECT_EQ(CaughtError([&] { Recordset::FromSqlite(folder.File("none.db"), "t"); }).Number(),
            adErrProviderFailed);
}

}  // namespace
}  // namespace varnock
