// Recordset::FromSqlite: a table or the rows of a query of an SQLite database, read through
// SQLite's C API.
#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>

#include "automation/recordset_sources.h"
#include "varnock/date.h"
#include "varnock/error.h"
#include "varnock/recordset.h"

namespace varnock {

namespace {

// One value as SQLite hands it over.
struct Cell {
  int storage = SQLITE_NULL;
  int64_t integer = 0;
  double real = 0;
  std::string text;
};

// Serial days of the epochs SQLite's date functions use.
constexpr double kUnixEpochSerial = 25569.0;          // 1 January 1970
constexpr double kJulianDayOfSerialZero = 2415018.5;  // 30 December 1899 00:00

std::string Upper(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

bool IsQuery(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t\r\n(");
  if (first == std::string::npos) return false;
  const std::string head = Upper(text.substr(first, 6));
  return head.rfind("SELECT", 0) == 0 || head.rfind("WITH", 0) == 0 || head.rfind("VALUES", 0) == 0;
}

std::string QuotedIdentifier(const std::string& name) {
  std::string out = "\"";
  for (const char c : name) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

bool FitsLong(int64_t value) {
  return value >= std::numeric_limits<int32_t>::min() &&
         value <= std::numeric_limits<int32_t>::max();
}

// The field type a declared column type names, or adEmpty when the values must decide
// (no declared type, NUMERIC, DECIMAL and other names without a recognised word).
DataTypeEnum DeclaredType(const char* declared) {
  if (declared == nullptr) return adEmpty;
  const std::string type = Upper(declared);
  const auto has = [&](const char* word) { return type.find(word) != std::string::npos; };
  if (has("DATE") || has("TIME")) return adDate;
  if (has("BOOL")) return adBoolean;
  if (has("INT")) return adInteger;
  if (has("CHAR") || has("CLOB") || has("TEXT")) return adVarWChar;
  if (has("REAL") || has("FLOA") || has("DOUB")) return adDouble;
  return adEmpty;
}

DataTypeEnum TypeFromValues(const std::vector<std::vector<Cell>>& rows, size_t column) {
  bool any = false, integers = true, numbers = true, texts = true;
  automation::ColumnGuess guess;
  for (const auto& row : rows) {
    const Cell& cell = row[column];
    if (cell.storage == SQLITE_NULL) continue;
    any = true;
    integers = integers && cell.storage == SQLITE_INTEGER && FitsLong(cell.integer);
    numbers = numbers && (cell.storage == SQLITE_INTEGER || cell.storage == SQLITE_FLOAT);
    texts = texts && cell.storage == SQLITE_TEXT;
    if (cell.storage == SQLITE_TEXT) guess.Add(cell.text);
  }
  if (!any) return adVarWChar;
  if (integers) return adInteger;
  if (numbers) return adDouble;
  if (texts) return guess.Type();
  return adVarWChar;
}

// A date from seconds after the zero date, rounded to the second and built from parts as the
// host builds dates, so that it equals the same instant read from text; nothing when it lies
// outside the host's range.
std::optional<Date> DateFromSeconds(double seconds) {
  if (!std::isfinite(seconds) || std::fabs(seconds) > 1e12) return std::nullopt;
  const int64_t whole = std::llround(seconds);
  const int64_t day = whole / 86400 - (whole % 86400 < 0 ? 1 : 0);
  return Date::FromParts(1899, 12, 30 + static_cast<int32_t>(day), 0, 0,
                         static_cast<int32_t>(whole - day * 86400));
}

Variant CellToField(const Cell& cell, const FieldDefinition& field, const std::string& where) {
  if (cell.storage == SQLITE_NULL) return Variant(Null);
  const bool numeric = cell.storage == SQLITE_INTEGER || cell.storage == SQLITE_FLOAT;
  const double number =
      cell.storage == SQLITE_INTEGER ? static_cast<double>(cell.integer) : cell.real;
  switch (field.type) {
    case adDate:
      if (numeric) {
        const std::optional<Date> date =
            cell.storage == SQLITE_INTEGER
                ? DateFromSeconds(static_cast<double>(cell.integer) + kUnixEpochSerial * 86400.0)
                : DateFromSeconds((cell.real - kJulianDayOfSerialZero) * 86400.0);
        if (!date) automation::RaiseCellError(where, field, cell.text + " is not a date");
        return Variant(*date);
      }
      break;
    case adInteger:
      if (cell.storage == SQLITE_INTEGER && FitsLong(cell.integer))
        return Variant(static_cast<int32_t>(cell.integer));
      break;
    case adDouble:
      if (numeric) return Variant(number);
      break;
    case adBoolean:
      if (numeric) return Variant(number != 0);
      break;
    default:
      break;
  }
  return automation::CellValue(cell.text, field, where);
}

struct Closer {
  void operator()(sqlite3* db) const { sqlite3_close(db); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

}  // namespace

std::shared_ptr<Recordset> Recordset::FromSqlite(const std::string& database_path,
                                                 const std::string& table_or_query) {
  sqlite3* raw_db = nullptr;
  const int opened = sqlite3_open_v2(database_path.c_str(), &raw_db, SQLITE_OPEN_READONLY, nullptr);
  std::unique_ptr<sqlite3, Closer> db(raw_db);
  if (opened != SQLITE_OK) {
    automation::RaiseSourceError("SQLite cannot open \"" + database_path +
                                 "\": " + (db ? sqlite3_errmsg(db.get()) : "out of memory"));
  }
  const std::string sql = IsQuery(table_or_query)
                              ? table_or_query
                              : "SELECT * FROM " + QuotedIdentifier(table_or_query);
  sqlite3_stmt* raw_statement = nullptr;
  if (sqlite3_prepare_v2(db.get(), sql.c_str(), -1, &raw_statement, nullptr) != SQLITE_OK) {
    automation::RaiseSourceError("SQLite cannot read \"" + table_or_query + "\" in \"" +
                                 database_path + "\": " + sqlite3_errmsg(db.get()));
  }
  std::unique_ptr<sqlite3_stmt, Closer> statement(raw_statement);

  RecordTable table;
  const int columns = sqlite3_column_count(statement.get());
  std::vector<DataTypeEnum> declared;
  for (int c = 0; c < columns; ++c) {
    const char* name = sqlite3_column_name(statement.get(), c);
    table.fields.push_back({name ? name : "", adEmpty, 0, -1});
    declared.push_back(DeclaredType(sqlite3_column_decltype(statement.get(), c)));
  }

  std::vector<std::vector<Cell>> cells;
  int step = SQLITE_ROW;
  while ((step = sqlite3_step(statement.get())) == SQLITE_ROW) {
    std::vector<Cell> row(static_cast<size_t>(columns));
    for (int c = 0; c < columns; ++c) {
      Cell& cell = row[static_cast<size_t>(c)];
      cell.storage = sqlite3_column_type(statement.get(), c);
      if (cell.storage == SQLITE_NULL) continue;
      cell.integer = sqlite3_column_int64(statement.get(), c);
      cell.real = sqlite3_column_double(statement.get(), c);
      const unsigned char* text = sqlite3_column_text(statement.get(), c);
      const int bytes = sqlite3_column_bytes(statement.get(), c);
      if (text) cell.text.assign(reinterpret_cast<const char*>(text), static_cast<size_t>(bytes));
    }
    cells.push_back(std::move(row));
  }
  if (step != SQLITE_DONE) {
    automation::RaiseSourceError("SQLite failed reading \"" + table_or_query + "\" in \"" +
                                 database_path + "\": " + sqlite3_errmsg(db.get()));
  }

  for (size_t c = 0; c < table.fields.size(); ++c) {
    DataTypeEnum type = declared[c] == adEmpty ? TypeFromValues(cells, c) : declared[c];
    // An INTEGER column holding values beyond 32 bits keeps them as doubles.
    if (type == adInteger && TypeFromValues(cells, c) == adDouble) type = adDouble;
    table.fields[c].type = type;
  }

  table.rows.reserve(cells.size());
  for (size_t r = 0; r < cells.size(); ++r) {
    const std::string where = "row " + std::to_string(r + 1) + " of \"" + table_or_query +
                              "\" in \"" + database_path + "\"";
    std::vector<Variant> row;
    row.reserve(table.fields.size());
    for (size_t c = 0; c < table.fields.size(); ++c)
      row.push_back(CellToField(cells[r][c], table.fields[c], where));
    table.rows.push_back(std::move(row));
  }
  return FromTable(std::move(table));
}

}  // namespace varnock
