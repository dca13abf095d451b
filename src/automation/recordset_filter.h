// The recordset's filter language, a subset of ADO's: comparisons of a field with a literal,
// joined with And / Or and grouped with parentheses.
#ifndef VARNOCK_AUTOMATION_RECORDSET_FILTER_H_
#define VARNOCK_AUTOMATION_RECORDSET_FILTER_H_

#include <functional>
#include <string>
#include <vector>

#include "varnock/recordset.h"
#include "varnock/variant.h"

namespace varnock::automation {

using RowPredicate = std::function<bool(const std::vector<Variant>& row)>;

// Compiles a filter text against the table's fields. Fields are named in brackets ([Stamp]) or
// bare; literals are numbers, dates between # (read as Date::Parse reads them), and texts in
// single or double quotes (a doubled quote stands for one). A comparison with a Null field, or
// with a value that does not convert to the literal's kind, is false.
// Raises 3001 naming the text when it cannot be read, and 3265 for an unknown field.
RowPredicate CompileFilter(const std::string& text, const RecordTable& table);

}  // namespace varnock::automation

#endif  // VARNOCK_AUTOMATION_RECORDSET_FILTER_H_
