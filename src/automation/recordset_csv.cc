// Recordset::FromCsvFile and the helpers its sources share.
#include <algorithm>
#include <cctype>
#include <fstream>
#include <limits>

#include "automation/recordset_sources.h"
#include "varnock/date.h"
#include "varnock/error.h"
#include "varnock/recordset.h"

namespace varnock {

namespace automation {

namespace {

constexpr const char* kAdoSource = "ADODB.Recordset";

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t") == std::string::npos;
}

bool IsIntegerText(const std::string& text) {
  size_t i = 0;
  while (i < text.size() && text[i] == ' ')
    ++i;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
  const size_t digits_from = i;
  while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])))
    ++i;
  const size_t digits_to = i;
  while (i < text.size() && text[i] == ' ')
    ++i;
  if (digits_to == digits_from || i != text.size()) return false;
  double value = 0;
  return TryParseNumber(text, value) && value >= std::numeric_limits<int32_t>::min() &&
         value <= std::numeric_limits<int32_t>::max();
}

bool IsBooleanText(const std::string& text) {
  std::string upper;
  for (const char c : text)
    upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper == "TRUE" || upper == "FALSE";
}

std::string TypeName(DataTypeEnum type) {
  switch (type) {
    case adSmallInt:
    case adInteger:
    case adBigInt:
      return "an integer";
    case adSingle:
    case adDouble:
      return "a number";
    case adDate:
    case adDBDate:
    case adDBTimeStamp:
      return "a date";
    case adBoolean:
      return "True or False";
    default:
      return "a value of the field's type";
  }
}

}  // namespace

void ColumnGuess::Add(const std::string& text) {
  if (IsBlank(text)) return;
  seen_ = true;
  longest_ =
      std::max<int32_t>(longest_, static_cast<int32_t>(std::min<size_t>(text.size(), INT32_MAX)));
  double ignored = 0;
  if (integer_ && !IsIntegerText(text)) integer_ = false;
  if (number_ && !TryParseNumber(text, ignored)) number_ = false;
  if (boolean_ && !IsBooleanText(text)) boolean_ = false;
  if (date_ && !Date::Parse(text)) date_ = false;
}

DataTypeEnum ColumnGuess::Type() const {
  if (!seen_) return adVarWChar;
  if (integer_) return adInteger;
  if (number_) return adDouble;
  if (boolean_) return adBoolean;
  if (date_) return adDate;
  return adVarWChar;
}

Variant CellValue(const std::string& text, const FieldDefinition& field, const std::string& where) {
  const bool textual = field.type == adVarChar || field.type == adVarWChar ||
                       field.type == adLongVarChar || field.type == adVariant;
  if (text.empty() || (!textual && IsBlank(text))) return Variant(Null);
  try {
    return Recordset::Converted(field, Variant(text));
  } catch (const AutomationError& error) {
    std::string reason = "\"" + text + "\" is not " + TypeName(field.type);
    if (error.Number() == hostOverflow) reason = "\"" + text + "\" is out of range";
    if (error.Number() == adErrDataOverflow) reason = "\"" + text + "\" is too long";
    RaiseCellError(where, field, reason);
  }
}

void RaiseCellError(const std::string& where, const FieldDefinition& field,
                    const std::string& reason) {
  throw AutomationError(hostTypeMismatch, kAdoSource,
                        "Type mismatch in " + where + ", field \"" + field.name + "\": " + reason);
}

void RaiseSourceError(const std::string& description) {
  throw AutomationError(adErrProviderFailed, kAdoSource, description);
}

}  // namespace automation

namespace {

// Reads delimited records with RFC 4180 quoting; a quoted cell may span lines.
class CsvReader {
 public:
  CsvReader(std::istream& in, char delimiter) : in_(in), delimiter_(delimiter) {}

  // The next record and the line it starts on; false at the end. Blank lines are skipped.
  bool Next(std::vector<std::string>& cells, int64_t& first_line) {
    std::string line;
    while (true) {
      if (!std::getline(in_, line)) return false;
      ++line_;
      Clean(line);
      if (line.find_first_not_of(" \t") != std::string::npos) break;
    }
    first_line = line_;
    cells.assign(1, "");
    bool quoted = false;
    for (size_t i = 0;; ++i) {
      if (i == line.size()) {
        if (!quoted) return true;
        // The quoted cell goes on past the line break.
        if (!std::getline(in_, line)) {
          throw AutomationError(
              adErrInvalidArgument, "ADODB.Recordset",
              "Unterminated quoted field starting on line " + std::to_string(first_line));
        }
        ++line_;
        Clean(line);
        cells.back() += '\n';
        i = static_cast<size_t>(-1);
        continue;
      }
      const char c = line[i];
      if (quoted) {
        if (c != '"') {
          cells.back() += c;
        } else if (i + 1 < line.size() && line[i + 1] == '"') {
          cells.back() += '"';
          ++i;
        } else {
          quoted = false;
        }
      } else if (c == '"' && cells.back().empty()) {
        quoted = true;
      } else if (c == delimiter_) {
        cells.emplace_back();
      } else {
        cells.back() += c;
      }
    }
  }

 private:
  void Clean(std::string& line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line_ == 1 && line.rfind("\xEF\xBB\xBF", 0) == 0) line.erase(0, 3);
  }

  std::istream& in_;
  char delimiter_;
  int64_t line_ = 0;
};

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::shared_ptr<Recordset> Recordset::FromCsvFile(const std::string& path,
                                                  const CsvOptions& options) {
  std::ifstream in(path, std::ios::binary);
  if (!in) automation::RaiseSourceError("Cannot open the file \"" + path + "\"");
  CsvReader reader(in, options.delimiter);
  std::vector<std::string> header;
  int64_t header_line = 0;
  if (!reader.Next(header, header_line))
    automation::RaiseSourceError("The file \"" + path + "\" has no header row");

  RecordTable table;
  for (const std::string& cell : header) {
    const std::string name = Trimmed(cell);
    if (name.empty() || table.ColumnOf(name) >= 0) {
      throw AutomationError(
          adErrInvalidArgument, "ADODB.Recordset",
          "Empty or repeated field name \"" + name + "\" in the header of \"" + path + "\"");
    }
    table.fields.push_back({name, adEmpty, 0, -1});
  }

  std::vector<std::vector<std::string>> texts;
  std::vector<int64_t> lines;
  std::vector<std::string> cells;
  int64_t line = 0;
  while (reader.Next(cells, line)) {
    if (cells.size() != table.fields.size()) {
      throw AutomationError(adErrInvalidArgument, "ADODB.Recordset",
                            "Line " + std::to_string(line) + " of \"" + path + "\" has " +
                                std::to_string(cells.size()) + " fields; the header names " +
                                std::to_string(table.fields.size()));
    }
    texts.push_back(cells);
    lines.push_back(line);
  }

  for (const auto& [name, type] : options.types) {
    const int32_t column = table.ColumnOf(name);
    if (column < 0) {
      throw AutomationError(adErrItemNotFound, "ADODB.Recordset",
                            "The file \"" + path + "\" has no field \"" + name + "\"");
    }
    table.fields[static_cast<size_t>(column)].type = type;
  }
  for (size_t column = 0; column < table.fields.size(); ++column) {
    FieldDefinition& field = table.fields[column];
    if (field.type != adEmpty) continue;
    automation::ColumnGuess guess;
    for (const auto& row : texts)
      guess.Add(row[column]);
    field.type = guess.Type();
    if (field.type == adVarWChar) field.defined_size = std::max(guess.LongestText(), 1);
  }

  table.rows.reserve(texts.size());
  for (size_t r = 0; r < texts.size(); ++r) {
    const std::string where = "line " + std::to_string(lines[r]) + " of \"" + path + "\"";
    std::vector<Variant> row;
    row.reserve(table.fields.size());
    for (size_t column = 0; column < table.fields.size(); ++column)
      row.push_back(automation::CellValue(texts[r][column], table.fields[column], where));
    table.rows.push_back(std::move(row));
  }
  return FromTable(std::move(table));
}

}  // namespace varnock
