#include "csv.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli.h"

namespace varnock::cli {

namespace {

std::string Trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
    text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
    text.remove_suffix(1);
  return std::string(text);
}

// Walks the records of a CSV text. Lines starting with '#' are comments (outside quotes).
class CsvReader {
 public:
  CsvReader(std::string_view text, std::string name) : text_(text), name_(std::move(name)) {
    if (text_.substr(0, 3) == "\xEF\xBB\xBF") pos_ = 3;
  }
  size_t position() const { return pos_; }
  int line() const { return record_line_; }

  // The next record's cells; false at the end. A comment line comes back as one cell
  // (without its '#') with *comment set. Blank lines are skipped.
  bool Next(std::vector<std::string>* cells, bool* comment) {
    cells->clear();
    *comment = false;
    while (pos_ < text_.size() && (text_[pos_] == '\n' || text_[pos_] == '\r')) {
      if (text_[pos_] == '\n') ++line_;
      ++pos_;
    }
    if (pos_ >= text_.size()) return false;
    record_line_ = line_;
    if (text_[pos_] == '#') {
      const size_t end = std::min(text_.find('\n', pos_), text_.size());
      cells->push_back(Trimmed(text_.substr(pos_ + 1, end - pos_ - 1)));
      pos_ = end;
      *comment = true;
      return true;
    }
    while (true) {
      cells->push_back(ReadField());
      if (pos_ >= text_.size()) return true;
      const char c = text_[pos_];
      if (c == ',') {
        ++pos_;
        continue;
      }
      // End of record: "\n" or "\r\n".
      if (c == '\r') ++pos_;
      if (pos_ < text_.size() && text_[pos_] == '\n') {
        ++pos_;
        ++line_;
      }
      return true;
    }
  }

 private:
  std::string ReadField() {
    size_t start = pos_;
    while (start < text_.size() && (text_[start] == ' ' || text_[start] == '\t'))
      ++start;
    if (start < text_.size() && text_[start] == '"') {
      std::string field;
      size_t at = start + 1;
      while (true) {
        if (at >= text_.size()) throw Failure(kExitBadInput, Place() + "unclosed quote");
        if (text_[at] == '"') {
          if (at + 1 < text_.size() && text_[at + 1] == '"') {
            field += '"';
            at += 2;
            continue;
          }
          ++at;
          break;
        }
        if (text_[at] == '\n') ++line_;
        field += text_[at++];
      }
      while (at < text_.size() && (text_[at] == ' ' || text_[at] == '\t'))
        ++at;
      if (at < text_.size() && text_[at] != ',' && text_[at] != '\n' && text_[at] != '\r')
        throw Failure(kExitBadInput, Place() + "text after a closing quote");
      pos_ = at;
      return field;
    }
    size_t end = pos_;
    while (end < text_.size() && text_[end] != ',' && text_[end] != '\n' && text_[end] != '\r')
      ++end;
    const std::string field = Trimmed(text_.substr(pos_, end - pos_));
    if (field.find('"') != std::string::npos)
      throw Failure(kExitBadInput, Place() + "a quote inside an unquoted field");
    pos_ = end;
    return field;
  }

  std::string Place() const { return RowPlace(name_, record_line_); }

  std::string_view text_;
  std::string name_;
  size_t pos_ = 0;
  int line_ = 1;
  int record_line_ = 1;
};

// A decimal number: sign, digits with an optional point, an optional exponent. Hexadecimal,
// "nan" and "inf" are not numbers here; neither is a value beyond the range of a double.
bool ParseDecimal(const std::string& text, double* out) {
  size_t i = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t digits = 0;
  while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) {
    ++i;
    ++digits;
  }
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) {
      ++i;
      ++digits;
    }
  }
  if (digits == 0) return false;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    size_t exponent_digits = 0;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) {
      ++i;
      ++exponent_digits;
    }
    if (exponent_digits == 0) return false;
  }
  if (i != text.size()) return false;
  *out = std::strtod(text.c_str(), nullptr);
  return std::isfinite(*out);
}

// Quality is a 32-bit flag word: a decimal from -2^31 to 2^32 - 1, kept as its 32 bits.
bool ParseQuality(const std::string& text, int32_t* out) {
  if (text.empty()) return false;
  size_t i = text[0] == '-' || text[0] == '+' ? 1 : 0;
  if (i == text.size()) return false;
  for (size_t k = i; k < text.size(); ++k) {
    if (!std::isdigit(static_cast<unsigned char>(text[k]))) return false;
  }
  errno = 0;
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  if (errno == ERANGE || value < INT32_MIN || value > static_cast<long long>(UINT32_MAX))
    return false;
  *out = static_cast<int32_t>(static_cast<uint32_t>(value));
  return true;
}

void ReadComment(const std::string& comment, CsvSeries* csv) {
  std::istringstream words(comment);
  std::string key;
  words >> key;
  std::string value;
  std::getline(words, value);
  value = Trimmed(value);
  if (key == "pathname") csv->path = TrimmedPath(value);
  if (key == "units") csv->units = value;
  if (key == "type") csv->type = value;
  if (key == "precision") csv->doubles = value == "double";
}

std::string FileText(const std::string& name) {
  std::error_code ignored;
  if (std::filesystem::is_directory(name, ignored))
    throw Failure(kExitFile, name + " is a directory, not a CSV file");
  std::ifstream in(name, std::ios::binary);
  if (!in) throw Failure(kExitFile, "cannot read " + name);
  std::stringstream text;
  text << in.rdbuf();
  if (in.bad()) throw Failure(kExitFile, "cannot read " + name);
  return text.str();
}

}  // namespace

std::string RowPlace(const std::string& file, int line) {
  return file + " line " + std::to_string(line) + ": ";
}

std::string CsvField(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string out = "\"";
  for (char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

CsvSeries ReadSeriesCsv(const std::string& name) {
  const std::string text = FileText(name);
  CsvReader reader(text, name);
  Progress progress("reading " + name, static_cast<int64_t>(text.size()));
  CsvSeries csv;
  size_t columns = 3;  // time, value, quality; a header line may say fewer
  bool first = true;
  std::vector<std::string> cells;
  bool comment = false;
  while (reader.Next(&cells, &comment)) {
    progress.Advance(static_cast<int64_t>(reader.position()));
    if (comment) {
      ReadComment(cells[0], &csv);
      continue;
    }
    if (cells.size() == 1 && cells[0].empty()) continue;  // a line of blanks
    const std::string where = RowPlace(name, reader.line());
    CsvRow row;
    row.line = reader.line();
    double number = 0;
    if (first) {
      first = false;
      // A header names the columns: its first cell is no time and its second no number.
      if (!ParseTime(cells[0], &row.time) &&
          (cells.size() < 2 || !ParseDecimal(cells[1], &number))) {
        if (cells.size() < 2 || cells.size() > 3)
          throw Failure(kExitBadInput, where + "a header of " + std::to_string(cells.size()) +
                                           " columns; expected time,value[,quality]");
        columns = cells.size();
        if (columns == 3 && !SameIgnoringCase(cells[2], "quality"))
          throw Failure(kExitBadInput, where + "third column '" + cells[2] +
                                           "'; only quality may follow the value");
        csv.has_quality = columns == 3;
        continue;
      }
    }
    if (cells.size() < 2) throw Failure(kExitBadInput, where + "expected time,value");
    if (cells.size() > columns)
      throw Failure(kExitBadInput, where + std::to_string(cells.size()) + " columns; expected " +
                                       (columns == 3 ? "time,value[,quality]" : "time,value"));
    if (!ParseTime(cells[0], &row.time))
      throw Failure(kExitBadInput,
                    where + "bad time '" + cells[0] + "' (YYYY-MM-DDTHH:MM:SS or 01Jan2021 2400)");
    if (!ParseDecimal(cells[1], &row.value))
      throw Failure(kExitBadInput,
                    where + "bad value '" + cells[1] + "' (a finite decimal number)");
    if (cells.size() == 3) {
      csv.has_quality = true;
      if (!cells[2].empty() && !ParseQuality(cells[2], &row.quality))
        throw Failure(kExitBadInput,
                      where + "bad quality '" + cells[2] +
                          "' (a decimal 32-bit flag word, -2147483648 to 4294967295)");
    }
    if (!csv.rows.empty() && row.time <= csv.rows.back().time)
      throw Failure(kExitBadInput, where + "times must increase");
    csv.rows.push_back(row);
  }
  progress.Done();
  return csv;
}

}  // namespace varnock::cli
