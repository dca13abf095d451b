// Pieces shared by the recordset's file and database sources: guessing a column's type from its
// values, and the errors that name the place of a bad value.
#ifndef VARNOCK_AUTOMATION_RECORDSET_SOURCES_H_
#define VARNOCK_AUTOMATION_RECORDSET_SOURCES_H_

#include <cstdint>
#include <string>

#include "varnock/recordset.h"

namespace varnock::automation {

// Watches the non-empty texts of a column and names the narrowest type that holds them all.
class ColumnGuess {
 public:
  void Add(const std::string& text);
  // adInteger, adDouble, adBoolean, adDate or adVarWChar (also when no text was seen).
  DataTypeEnum Type() const;
  int32_t LongestText() const { return longest_; }

 private:
  bool seen_ = false;
  bool integer_ = true;
  bool number_ = true;
  bool boolean_ = true;
  bool date_ = true;
  int32_t longest_ = 0;
};

// The value a text cell holds in a field of the given type; Null for an empty cell. Raises 13
// with `where` (such as "line 4 of readings.csv") and the field's name in the description.
Variant CellValue(const std::string& text, const FieldDefinition& field, const std::string& where);

// Raises 13 for a value that does not fit its field, naming the place, the field and why.
[[noreturn]] void RaiseCellError(const std::string& where, const FieldDefinition& field,
                                 const std::string& reason);

// Raises the provider's failure with a description naming what failed.
[[noreturn]] void RaiseSourceError(const std::string& description);

}  // namespace varnock::automation

#endif  // VARNOCK_AUTOMATION_RECORDSET_SOURCES_H_
