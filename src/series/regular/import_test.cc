// End to end: gauge readings kept in an SQLite table and in a CSV file, imported into hourly
// and daily series under every padding and aggregation rule.
#include <sqlite3.h>

#include <fstream>

#include <gtest/gtest.h>

#include "series/regular/series_test_support.h"
#include "tests/support/temp_folder.h"

namespace varnock {
namespace {

// Readings of gauge G1 (G2 is noise the query leaves out). Times in "YYYY-MM-DD HH:MM:SS";
// an empty value is Null.
struct Reading {
  const char* gauge;
  const char* stamp;
  const char* value;
};
const Reading kReadings[] = {
    {"G1", "2019-12-31 23:30:00", "4"},   {"G2", "2020-01-01 00:00:00", "100"},
    {"G1", "2020-01-01 00:20:00", "1"},   {"G1", "2020-01-01 00:40:00", "3"},
    {"G1", "2020-01-01 01:00:00", "2"},   {"G2", "2020-01-01 01:30:00", "100"},
    {"G1", "2020-01-01 02:10:00", ""},    {"G1", "2020-01-01 02:50:00", "5"},
    {"G1", "2020-01-01 04:30:00", "6"},   {"G1", "2020-01-01 06:00:00", "7"},
    {"G1", "2020-01-01 07:00:00", "0.5"}, {"G2", "2020-01-02 12:00:00", "100"},
    {"G1", "2020-01-03 12:00:00", "10"},
};

void Execute(sqlite3* db, const std::string& sql) {
  char* message = nullptr;
  ASSERT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << message;
}

std::shared_ptr<Recordset> FromSqlite(const testing::TempFolder& folder) {
  const std::string path = folder.File("gauges.db");
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  std::string sql = "BEGIN; CREATE TABLE readings (gauge TEXT, stamp DATETIME, flow REAL);";
  // Stored out of time order: the query puts them in order.
  for (auto it = std::rbegin(kReadings); it != std::rend(kReadings); ++it) {
    const std::string value = *it->value ? it->value : "NULL";
    sql += std::string("INSERT INTO readings VALUES ('") + it->gauge + "', '" + it->stamp + "', " +
           value + ");";
  }
  Execute(db, sql + "COMMIT;");
  sqlite3_close(db);
  return Recordset::FromSqlite(
      path, "SELECT stamp, flow FROM readings WHERE gauge = 'G1' ORDER BY stamp");
}

// The same readings of G1 as a spreadsheet would save them: month-first dates, AM/PM times.
std::shared_ptr<Recordset> FromCsv(const testing::TempFolder& folder) {
  std::ofstream csv(folder.File("g1.csv"));
  csv << "Stamp,Flow\n";
  for (const Reading& reading : kReadings) {
    if (std::string(reading.gauge) != "G1") continue;
    csv << Date::FromText(reading.stamp).ToString() << "," << reading.value << "\n";
  }
  csv.close();
  return Recordset::FromCsvFile(folder.File("g1.csv"));
}

struct Rule {
  const char* type;
  PadMethods padding;
  AggregationTypes aggregation;
  // Hourly from 01:00 to 06:00 on 1 January 2020, daily from 2 to 5 January 2020.
  std::vector<float> hourly;
  std::vector<float> daily;
};

const Rule kRules[] = {
    {"INST-VAL", intPadWatch, atUseLast, {4, 2, 2, 5, 5, 6}, {4, 0.5, 0.5, 10}},
    {"INST-VAL", intPadWatch, atUseHighest, {4, 3, 3, 5, 5, 6}, {4, 7, 7, 10}},
    {"INST-VAL", intPadEDMSpolled, atUseLast, {-901, 2, -901, 5, -901, 6}, {-901, 0.5, -901, 10}},
    {"INST-VAL", intPadEDMSmixed, atUseHighest, {-901, 3, -901, 5, -901, 6}, {-901, 7, -901, 10}},
    {"PER-CUM", intPadWatch, atUseLast, {0, 6, 0, 5, 0, 6}, {0, 24.5, 0, 10}},
    {"PER-CUM",
     intPadEDMSpolled,
     atUseAverage,
     {-901, 6, -901, 5, -901, 6},
     {-901, 24.5, -901, 10}},
    {"PER-CUM", intPadEDMSmixed, atUseHighest, {0, 6, 0, 5, 0, 6}, {0, 24.5, 0, 10}},
};

std::vector<float> Imported(int32_t interval, Date start, size_t count, const Rule& rule,
                            const std::shared_ptr<Recordset>& records) {
  auto ts = testing::Series(interval, start, std::vector<float>(count), rule.type);
  ts->Padding(rule.padding);
  ts->Aggregation(rule.aggregation);
  ts->FromRecordset(records, records->Fields(0), records->Fields(1));
  return testing::Values(*ts);
}

TEST(ImportTest, SqliteAndCsvReadingsGiveTheSameSeries) {
  testing::TempFolder folder;
  const std::shared_ptr<Recordset> sources[] = {FromSqlite(folder), FromCsv(folder)};
  for (const auto& records : sources) {
    ASSERT_EQ(records->RecordCount(), 10);
    EXPECT_EQ(records->Fields(0)->Type(), adDate);
    for (const Rule& rule : kRules) {
      const std::string name = std::string(rule.type) + " padding " + std::to_string(rule.padding) +
                               " aggregation " + std::to_string(rule.aggregation);
      EXPECT_EQ(Imported(60, testing::At(2020, 1, 1, 1), 6, rule, records), rule.hourly) << name;
      EXPECT_EQ(Imported(1440, testing::At(2020, 1, 2), 4, rule, records), rule.daily) << name;
    }
    // The recordset the host handed in is where it was.
    EXPECT_EQ(records->Filter(), "");
    EXPECT_EQ(records->Fields(1)->Value().ToDouble(), 4.0);
  }
}

TEST(ImportTest, AveragingInstantaneousReadingsIsRefused) {
  testing::TempFolder folder;
  const Rule average{"INST-VAL", intPadWatch, atUseAverage, {}, {}};
  EXPECT_EQ(testing::CaughtError([&] {
              Imported(60, testing::At(2020, 1, 1, 1), 6, average, FromSqlite(folder));
            }).Number(),
            1005);
}

}  // namespace
}  // namespace varnock
