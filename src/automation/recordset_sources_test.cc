#include <sqlite3.h>

#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"
#include "varnock/error.h"
#include "varnock/recordset.h"

namespace varnock {
namespace {

AutomationError CaughtError(const std::function<void()>& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error;
  }
  return AutomationError(0, "", "no error");
}

std::string Written(const testing::TempFolder& folder, const std::string& name,
                    const std::string& text) {
  std::ofstream(folder.File(name), std::ios::binary) << text;
  return folder.File(name);
}

void Execute(sqlite3* db, const std::string& sql) {
  char* message = nullptr;
  ASSERT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << message;
}

std::string Database(const testing::TempFolder& folder, const std::string& sql) {
  const std::string path = folder.File("gauges.db");
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  Execute(db, "BEGIN;" + sql + "COMMIT;");
  sqlite3_close(db);
  return path;
}

TEST(RecordsetCsvTest, TypesAreInferredOrGiven) {
  testing::TempFolder folder;
  const std::string path = Written(folder, "r.csv",
                                   "\xEF\xBB\xBFStamp,Flow,Count,Gauge,Ok\r\n"
                                   "2020-01-01 00:30:00,1.5,3,\"North, upper\",True\r\n"
                                   "\r\n"
                                   "01/01/2020 01:00:00,,-4,\"said \"\"hi\"\"\nthere\",false\r\n"
                                   "1/1/2020 2:00:00 AM,2e1,,x,TRUE\r\n");
  auto records = Recordset::FromCsvFile(path);
  ASSERT_EQ(records->FieldCount(), 5);
  EXPECT_EQ(records->Fields("Stamp")->Type(), adDate);
  EXPECT_EQ(records->Fields("Flow")->Type(), adDouble);
  EXPECT_EQ(records->Fields("Count")->Type(), adInteger);
  EXPECT_EQ(records->Fields("Gauge")->Type(), adVarWChar);
  EXPECT_EQ(records->Fields("Ok")->Type(), adBoolean);
  EXPECT_EQ(records->RecordCount(), 3);
  EXPECT_EQ(records->Fields("Stamp")->Value().ToDate(), Date::Serial(2020, 1, 1, 0, 30));
  EXPECT_EQ(records->Fields("Gauge")->Value().ToString(), "North, upper");
  records->MoveNext();
  EXPECT_TRUE(records->Fields("Flow")->Value().IsNull());
  EXPECT_EQ(records->Fields("Gauge")->Value().ToString(), "said \"hi\"\nthere");
  EXPECT_FALSE(records->Fields("Ok")->Value().ToBoolean());
  records->MoveLast();
  EXPECT_EQ(records->Fields("Stamp")->Value().ToDate(), Date::Serial(2020, 1, 1, 2));
  EXPECT_EQ(records->Fields("Flow")->Value().ToDouble(), 20.0);
  EXPECT_TRUE(records->Fields("Count")->Value().IsNull());

  CsvOptions options;
  options.delimiter = ';';
  options.types = {{"flow", adSingle}, {"Code", adVarChar}};
  auto given = Recordset::FromCsvFile(Written(folder, "s.csv", "Flow;Code\n7;007\n"), options);
  EXPECT_EQ(given->Fields("Flow")->Value().Type(), vbSingle);
  EXPECT_EQ(given->Fields("Code")->Value().ToString(), "007");
}

TEST(RecordsetCsvTest, BadCellsNameTheirLine) {
  testing::TempFolder folder;
  CsvOptions dated;
  dated.types = {{"Stamp", adDate}, {"Flow", adSingle}};
  const std::string bad_date =
      Written(folder, "d.csv", "Stamp,Flow\n1/1/2020,1\n\n1/2/2020,2\nnot a date,3\n");
  AutomationError error = CaughtError([&] { Recordset::FromCsvFile(bad_date, dated); });
  EXPECT_EQ(error.Number(), hostTypeMismatch);
  EXPECT_NE(error.Description().find("line 5"), std::string::npos) << error.Description();
  EXPECT_NE(error.Description().find("\"Stamp\""), std::string::npos);

  const std::string bad_number = Written(folder, "n.csv", "Stamp,Flow\n1/1/2020,1\n1/2/2020,x2\n");
  error = CaughtError([&] { Recordset::FromCsvFile(bad_number, dated); });
  EXPECT_NE(error.Description().find("line 3"), std::string::npos) << error.Description();
  EXPECT_NE(error.Description().find("\"x2\" is not a number"), std::string::npos);

  const std::string ragged = Written(folder, "r.csv", "A,B\n1,2\n3\n");
  error = CaughtError([&] { Recordset::FromCsvFile(ragged); });
  EXPECT_EQ(error.Number(), adErrInvalidArgument);
  EXPECT_NE(error.Description().find("Line 3"), std::string::npos);

  EXPECT_EQ(CaughtError([&] {
              Recordset::FromCsvFile(Written(folder, "q.csv", "A\n\"open\n"));
            }).Number(),
            adErrInvalidArgument);
  EXPECT_EQ(
      CaughtError([&] { Recordset::FromCsvFile(Written(folder, "h.csv", "A,a\n1,2\n")); }).Number(),
      adErrInvalidArgument);
  EXPECT_EQ(CaughtError([&] { Recordset::FromCsvFile(folder.File("absent.csv")); }).Number(),
            adErrProviderFailed);
  EXPECT_EQ(CaughtError([&] { Recordset::FromCsvFile(Written(folder, "e.csv", "")); }).Number(),
            adErrProviderFailed);
  CsvOptions unknown;
  unknown.types = {{"Level", adDouble}};
  EXPECT_EQ(CaughtError([&] { Recordset::FromCsvFile(bad_number, unknown); }).Number(),
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
      "INSERT INTO readings VALUES (1577840400, 2, NULL, 2, 'x', NULL, 9);");
  auto records = Recordset::FromSqlite(path, "readings");
  EXPECT_EQ(records->Fields("stamp")->Type(), adDate);
  EXPECT_EQ(records->Fields("flow")->Type(), adDouble);
  EXPECT_EQ(records->Fields("n")->Type(), adInteger);
  EXPECT_EQ(records->Fields("big")->Type(), adDouble);  // beyond 32 bits
  EXPECT_EQ(records->Fields("gauge")->Type(), adVarWChar);
  EXPECT_EQ(records->Fields("ok")->Type(), adBoolean);
  EXPECT_EQ(records->Fields("loose")->Type(), adInteger);
  ASSERT_EQ(records->RecordCount(), 3);
  EXPECT_EQ(records->Fields("stamp")->Value().ToDate(), Date::Serial(2020, 1, 1, 0, 30));
  records->MoveNext();
  // A Julian day number, then Unix seconds.
  EXPECT_EQ(records->Fields("stamp")->Value().ToDate(), Date::Serial(2020, 1, 1));
  EXPECT_TRUE(records->Fields("flow")->Value().IsNull());
  EXPECT_EQ(records->Fields("big")->Value().ToDouble(), 5e9);
  records->MoveNext();
  EXPECT_EQ(records->Fields("stamp")->Value().ToDate(), Date::Serial(2020, 1, 1, 1));

  auto query = Recordset::FromSqlite(
      path,
      "  select gauge, flow * 2 AS twice FROM readings WHERE flow IS NOT NULL ORDER BY n DESC");
  EXPECT_EQ(query->RecordCount(), 2);
  EXPECT_EQ(query->Fields("twice")->Type(), adDouble);
  EXPECT_EQ(query->Fields("gauge")->Value().ToString(), "North");

  Database(folder,
           "CREATE TABLE \"odd \"\"name\"\"\" (v); INSERT INTO \"odd \"\"name\"\"\" VALUES ('a');");
  EXPECT_EQ(Recordset::FromSqlite(path, "odd \"name\"")->Fields("v")->Value().ToString(), "a");
}

TEST(RecordsetSqliteTest, FailuresAreReported) {
  testing::TempFolder folder;
  const std::string path = Database(folder,
                                    "CREATE TABLE t (stamp DATE, flow REAL);"
                                    "INSERT INTO t VALUES ('1/1/2020', 1);"
                                    "INSERT INTO t VALUES ('someday', 2);");
  AutomationError error = CaughtError([&] { Recordset::FromSqlite(path, "t"); });
  EXPECT_EQ(error.Number(), hostTypeMismatch);
  EXPECT_NE(error.Description().find("row 2"), std::string::npos) << error.Description();
  error = CaughtError([&] { Recordset::FromSqlite(path, "absent"); });
  EXPECT_EQ(error.Number(), adErrProviderFailed);
  EXPECT_NE(error.Description().find("no such table"), std::string::npos);
  EXPECT_EQ(CaughtError([&] { Recordset::FromSqlite(folder.File("none.db"), "t"); }).Number(),
            adErrProviderFailed);
  EXPECT_EQ(CaughtError([&] { Recordset::FromSqlite(path, "SELECT nope FROM t"); }).Number(),
            adErrProviderFailed);
}

}  // namespace
}  // namespace varnock
