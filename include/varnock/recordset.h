// Recordset: a small in-memory recordset in the manner of an ADO recordset: typed fields with a
// defined size, rows added in code or read from a CSV file or an SQLite database, a cursor, a
// filter, and clones that share the rows but keep their own cursor and filter.
#ifndef VARNOCK_RECORDSET_H_
#define VARNOCK_RECORDSET_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "varnock/object.h"
#include "varnock/variant.h"

namespace varnock {

// Field types (ADO's DataTypeEnum values).
enum DataTypeEnum : int32_t {
  adEmpty = 0,
  adSmallInt = 2,
  adInteger = 3,
  adSingle = 4,
  adDouble = 5,
  adDate = 7,
  adBoolean = 11,
  adVariant = 12,
  adBigInt = 20,
  adDBDate = 133,
  adDBTimeStamp = 135,
  adVarChar = 200,
  adLongVarChar = 201,
  adVarWChar = 202,
};
enum CursorTypeEnum : int32_t { adOpenForwardOnly = 0, adOpenStatic = 3 };
enum LockTypeEnum : int32_t { adLockReadOnly = 1, adLockOptimistic = 3 };

// ADO error numbers the recordset raises.
inline constexpr int32_t adErrItemNotFound = 3265;
inline constexpr int32_t adErrNoCurrentRecord = 3021;
inline constexpr int32_t adErrIllegalOperation = 3219;
inline constexpr int32_t adErrDataOverflow = static_cast<int32_t>(0x80040E21u);
inline constexpr int32_t adErrInvalidArgument = 3001;
// The provider's failure (E_FAIL), raised when a source cannot be read.
inline constexpr int32_t adErrProviderFailed = static_cast<int32_t>(0x80004005u);

struct FieldDefinition {
  std::string name;
  DataTypeEnum type = adVariant;
  int32_t defined_size = 0;
  int32_t attributes = -1;
};

// The rows and field definitions shared by a recordset and its clones.
struct RecordTable {
  std::vector<FieldDefinition> fields;
  std::vector<std::vector<Variant>> rows;
  // Column index of a field name (case-insensitive, as ADO matches names), or -1.
  int32_t ColumnOf(const std::string& name) const;
};

using RowPredicate = std::function<bool(const std::vector<Variant>& row)>;

// A recordset's own view of the table: the rows its filter lets through and its position.
struct RecordCursor {
  std::shared_ptr<RecordTable> table;
  std::vector<size_t> visible;  // row indices in table order
  size_t position = 0;          // index into `visible`; == visible.size() at EOF
  bool before_first = false;
  RowPredicate predicate;  // empty: every row
  std::string filter;      // the filter text, empty when there is none
  size_t rows_seen = 0;    // rows of the table already sorted into `visible` or out of it
  // Takes in the rows that other recordsets over the table have added since.
  void Sync();
};

// How Recordset::FromCsvFile reads a file.
struct CsvOptions {
  char delimiter = ',';
  // Types of named fields (names matched regardless of case). Other fields take the narrowest
  // of adInteger, adDouble, adDate, adBoolean, adVarWChar that holds every value of the column.
  std::vector<std::pair<std::string, DataTypeEnum>> types;
};

class VARNOCK_API Field : public Object {
 public:
  Field(std::shared_ptr<RecordCursor> cursor, size_t column);
  const std::string& Name() const;
  DataTypeEnum Type() const;
  int32_t DefinedSize() const;
  int32_t Attributes() const;
  // The value in the current row; raises 3021 when there is none.
  Variant Value() const;
  void Value(const Variant& value);

 private:
  std::shared_ptr<RecordCursor> cursor_;
  size_t column_;
};

class VARNOCK_API Recordset : public Object {
 public:
  Recordset();

  // Field definitions; only before the first row is added.
  void AppendField(const std::string& name, DataTypeEnum type, int32_t defined_size = 0,
                   int32_t attributes = -1);
  int32_t FieldCount() const;
  std::shared_ptr<Field> Fields(int32_t index) const;
  // The named field; raises 3265 for an unknown name.
  std::shared_ptr<Field> Fields(const std::string& name) const;

  CursorTypeEnum CursorType() const { return cursor_type_; }
  void CursorType(CursorTypeEnum type) { cursor_type_ = type; }
  LockTypeEnum LockType() const { return lock_type_; }
  void LockType(LockTypeEnum type) { lock_type_ = type; }
  void Open();
  bool IsOpen() const { return open_; }

  // Adds a row with the given fields set (the others Null) and makes it current. Values are
  // converted to the field types; text longer than a field's defined size raises
  // 0x80040E21 and adds nothing.
  void AddNew(const std::vector<std::string>& field_names, const std::vector<Variant>& values);
  // Adds an all-Null row and makes it current.
  void AddNew();
  void Update() {}

  int32_t RecordCount() const;
  // End and beginning of the rows (EOF and BOF; those names are C macros).
  bool IsEOF() const;
  bool IsBOF() const;
  void MoveFirst();
  void MoveLast();
  void MoveNext();
  void MovePrevious();

  // A recordset over the same rows with its own cursor (on the first row) and a copy of this
  // one's filter. Rows added through either are seen by both.
  std::shared_ptr<Recordset> Clone() const;
  // Keeps only the rows the predicate accepts and moves to the first of them; an empty
  // predicate removes the filter.
  void FilterRows(const RowPredicate& predicate);
  // The filter as text, in ADO's syntax: comparisons of a field ([Name] or Name) with a number,
  // a date between # ("#01/31/2020 13:00:00#", or any form Date::Parse reads), or a quoted text,
  // with the operators = <> < <= > >=, joined by And / Or and grouped with parentheses. A Null
  // field compares false. Setting it moves to the first row it lets through; an empty (or
  // blank) text removes the filter. Raises 3001 for a text it cannot read (the description
  // names the text) and 3265 for an unknown field, leaving the previous filter in place.
  void Filter(const std::string& criteria);
  const std::string& Filter() const { return cursor_->filter; }

  // A recordset of the rows of a delimited text file whose first row names the fields (quotes
  // as in RFC 4180; empty cells are Null). A cell that does not fit its field's type raises 13
  // naming the line; a missing file raises 0x80004005.
  static std::shared_ptr<Recordset> FromCsvFile(const std::string& path,
                                                const CsvOptions& options = {});
  // A recordset of an SQLite table, or of the rows of a query ("SELECT ..." or "WITH ...").
  // Field types follow the declared column types (INT, REAL / FLOAT / DOUBLE, BOOL, DATE /
  // TIME, text), else the values. Dates may be stored as text, as Julian day numbers (REAL) or
  // as Unix seconds (INTEGER). Failures of SQLite raise 0x80004005 with SQLite's message; a
  // value that does not fit its field raises 13 naming the row.
  static std::shared_ptr<Recordset> FromSqlite(const std::string& database_path,
                                               const std::string& table_or_query);

  const RecordTable& Table() const { return *cursor_->table; }

  // A value converted to a field's type, as AddNew stores it.
  static Variant Converted(const FieldDefinition& field, const Variant& value);

 private:
  // Builds a recordset over finished fields and rows (the sources' common last step).
  static std::shared_ptr<Recordset> FromTable(RecordTable table);

  std::shared_ptr<RecordCursor> cursor_;
  CursorTypeEnum cursor_type_ = adOpenForwardOnly;
  LockTypeEnum lock_type_ = adLockReadOnly;
  bool open_ = false;
};

}  // namespace varnock

#endif  // VARNOCK_RECORDSET_H_
