#include "varnock/recordset.h"

#include <cctype>

#include "automation/recordset_filter.h"
#include "varnock/error.h"

namespace varnock {

namespace {

constexpr const char* kAdoSource = "ADODB.Recordset";

[[noreturn]] void RaiseAdoError(int32_t number) {
  switch (number) {
    case adErrItemNotFound:
      throw AutomationError(number, kAdoSource,
                            "Item cannot be found in the collection corresponding to the "
                            "requested name or ordinal.");
    case adErrNoCurrentRecord:
      throw AutomationError(number, kAdoSource,
                            "Either BOF or EOF is True, or the current record has been deleted. "
                            "Requested operation requires a current record.");
    case adErrDataOverflow:
      throw AutomationError(number, kAdoSource,
                            "Multiple-step operation generated errors. Check each status value.");
    default:
      throw AutomationError(number, kAdoSource, "Operation is not allowed in this context.");
  }
}

bool SameName(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

std::vector<Variant>& CurrentRow(RecordCursor& cursor) {
  cursor.Sync();
  if (cursor.before_first || cursor.position >= cursor.visible.size())
    RaiseAdoError(adErrNoCurrentRecord);
  return cursor.table->rows[cursor.visible[cursor.position]];
}

}  // namespace

int32_t RecordTable::ColumnOf(const std::string& name) const {
  for (size_t i = 0; i < fields.size(); ++i) {
    if (SameName(fields[i].name, name)) return static_cast<int32_t>(i);
  }
  return -1;
}

void RecordCursor::Sync() {
  for (; rows_seen < table->rows.size(); ++rows_seen) {
    if (!predicate || predicate(table->rows[rows_seen])) visible.push_back(rows_seen);
  }
}

Field::Field(std::shared_ptr<RecordCursor> cursor, size_t column)
    : cursor_(std::move(cursor)), column_(column) {}

const std::string& Field::Name() const {
  return cursor_->table->fields[column_].name;
}
DataTypeEnum Field::Type() const {
  return cursor_->table->fields[column_].type;
}
int32_t Field::DefinedSize() const {
  return cursor_->table->fields[column_].defined_size;
}
int32_t Field::Attributes() const {
  return cursor_->table->fields[column_].attributes;
}

Variant Field::Value() const {
  return CurrentRow(*cursor_)[column_];
}

void Field::Value(const Variant& value) {
  CurrentRow(*cursor_)[column_] = value;
}

Recordset::Recordset() : cursor_(std::make_shared<RecordCursor>()) {
  cursor_->table = std::make_shared<RecordTable>();
}

void Recordset::AppendField(const std::string& name, DataTypeEnum type, int32_t defined_size,
                            int32_t attributes) {
  RecordTable& table = *cursor_->table;
  if (!table.rows.empty() || table.ColumnOf(name) >= 0) RaiseAdoError(adErrIllegalOperation);
  table.fields.push_back({name, type, defined_size, attributes});
}

int32_t Recordset::FieldCount() const {
  return static_cast<int32_t>(cursor_->table->fields.size());
}

std::shared_ptr<Field> Recordset::Fields(int32_t index) const {
  if (index < 0 || index >= FieldCount()) RaiseAdoError(adErrItemNotFound);
  return std::make_shared<Field>(cursor_, static_cast<size_t>(index));
}

std::shared_ptr<Field> Recordset::Fields(const std::string& name) const {
  const int32_t column = cursor_->table->ColumnOf(name);
  if (column < 0) RaiseAdoError(adErrItemNotFound);
  return std::make_shared<Field>(cursor_, static_cast<size_t>(column));
}

void Recordset::Open() {
  open_ = true;
}

Variant Recordset::Converted(const FieldDefinition& field, const Variant& value) {
  if (value.IsNull() || value.IsEmpty()) return Variant(Null);
  switch (field.type) {
    case adSmallInt:
      return Variant(value.ToInteger());
    case adInteger:
      return Variant(value.ToLong());
    case adSingle:
      return Variant(value.ToSingle());
    case adDouble:
      return Variant(value.ToDouble());
    case adDate:
    case adDBDate:
    case adDBTimeStamp:
      return Variant(value.ToDate());
    case adBoolean:
      return Variant(value.ToBoolean());
    case adVarChar:
    case adLongVarChar:
    case adVarWChar: {
      std::string text = value.ToString();
      if (field.defined_size > 0 && text.size() > static_cast<size_t>(field.defined_size))
        RaiseAdoError(adErrDataOverflow);
      return Variant(std::move(text));
    }
    default:
      return value;
  }
}

void Recordset::AddNew(const std::vector<std::string>& field_names,
                       const std::vector<Variant>& values) {
  RecordTable& table = *cursor_->table;
  if (field_names.size() != values.size()) RaiseHostError(hostInvalidProcedureCall);
  std::vector<Variant> row(table.fields.size(), Variant(Null));
  for (size_t i = 0; i < field_names.size(); ++i) {
    const int32_t column = table.ColumnOf(field_names[i]);
    if (column < 0) RaiseAdoError(adErrItemNotFound);
    row[static_cast<size_t>(column)] =
        Converted(table.fields[static_cast<size_t>(column)], values[i]);
  }
  cursor_->Sync();
  table.rows.push_back(std::move(row));
  // A new row stays in view under the filter until the filter is set again, as in ADO.
  cursor_->visible.push_back(table.rows.size() - 1);
  cursor_->rows_seen = table.rows.size();
  cursor_->position = cursor_->visible.size() - 1;
  cursor_->before_first = false;
}

void Recordset::AddNew() {
  AddNew({}, {});
}

int32_t Recordset::RecordCount() const {
  cursor_->Sync();
  return static_cast<int32_t>(cursor_->visible.size());
}

bool Recordset::IsEOF() const {
  cursor_->Sync();
  return cursor_->visible.empty() || cursor_->position >= cursor_->visible.size();
}

bool Recordset::IsBOF() const {
  cursor_->Sync();
  return cursor_->visible.empty() || cursor_->before_first;
}

void Recordset::MoveFirst() {
  cursor_->position = 0;
  cursor_->before_first = false;
}

void Recordset::MoveLast() {
  cursor_->Sync();
  cursor_->position = cursor_->visible.empty() ? 0 : cursor_->visible.size() - 1;
  cursor_->before_first = false;
}

void Recordset::MoveNext() {
  if (IsEOF()) RaiseAdoError(adErrNoCurrentRecord);
  if (cursor_->before_first) {
    cursor_->before_first = false;
  } else {
    ++cursor_->position;
  }
}

void Recordset::MovePrevious() {
  if (IsBOF()) RaiseAdoError(adErrNoCurrentRecord);
  if (cursor_->position == 0) {
    cursor_->before_first = true;
  } else {
    --cursor_->position;
  }
}

std::shared_ptr<Recordset> Recordset::Clone() const {
  auto clone = std::make_shared<Recordset>();
  clone->cursor_ = std::make_shared<RecordCursor>(*cursor_);
  clone->cursor_->position = 0;
  clone->cursor_->before_first = false;
  clone->cursor_type_ = cursor_type_;
  clone->lock_type_ = lock_type_;
  clone->open_ = open_;
  return clone;
}

void Recordset::FilterRows(const RowPredicate& predicate) {
  cursor_->predicate = predicate;
  cursor_->filter.clear();
  cursor_->visible.clear();
  cursor_->rows_seen = 0;
  cursor_->Sync();
  MoveFirst();
}

void Recordset::Filter(const std::string& criteria) {
  const bool blank = criteria.find_first_not_of(" \t\r\n") == std::string::npos;
  RowPredicate predicate = blank ? RowPredicate() : automation::CompileFilter(criteria, Table());
  FilterRows(predicate);
  if (!blank) cursor_->filter = criteria;
}

std::shared_ptr<Recordset> Recordset::FromTable(RecordTable table) {
  auto records = std::make_shared<Recordset>();
  *records->cursor_->table = std::move(table);
  records->cursor_->Sync();
  records->open_ = true;
  records->cursor_type_ = adOpenStatic;
  return records;
}

}  // namespace varnock
