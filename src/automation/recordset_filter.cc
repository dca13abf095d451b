#include "automation/recordset_filter.h"

#include <cctype>
#include <memory>
#include <optional>

#include "varnock/date.h"
#include "varnock/error.h"

namespace varnock::automation {

namespace {

constexpr int32_t kAdErrInvalidArgument = 3001;
constexpr const char* kAdoSource = "ADODB.Recordset";

enum class Op { kEqual, kNotEqual, kLess, kLessEqual, kGreater, kGreaterEqual };

// The comparison seen from the other side: 5 < [x] is [x] > 5.
Op Mirrored(Op op) {
  switch (op) {
    case Op::kLess:
      return Op::kGreater;
    case Op::kLessEqual:
      return Op::kGreaterEqual;
    case Op::kGreater:
      return Op::kLess;
    case Op::kGreaterEqual:
      return Op::kLessEqual;
    default:
      return op;
  }
}

bool Holds(Op op, int order) {
  switch (op) {
    case Op::kEqual:
      return order == 0;
    case Op::kNotEqual:
      return order != 0;
    case Op::kLess:
      return order < 0;
    case Op::kLessEqual:
      return order <= 0;
    case Op::kGreater:
      return order > 0;
    case Op::kGreaterEqual:
      return order >= 0;
  }
  return false;
}

template <typename T>
int Order(const T& a, const T& b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}

int CompareTextIgnoringCase(const std::string& a, const std::string& b) {
  for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
    const int ca = std::tolower(static_cast<unsigned char>(a[i]));
    const int cb = std::tolower(static_cast<unsigned char>(b[i]));
    if (ca != cb) return ca < cb ? -1 : 1;
  }
  return Order(a.size(), b.size());
}

// Dates compare to the second: serials before 1899 do not grow with time, and the filter texts
// carry whole seconds.
int CompareDates(Date a, Date b) {
  const int64_t seconds = Date::Diff(DateUnit::Second, b, a);
  return seconds < 0 ? -1 : (seconds > 0 ? 1 : 0);
}

struct Literal {
  enum Kind { kNumber, kDate, kText } kind;
  double number = 0;
  Date date;
  std::string text;
};

// The order of a field value against a literal, or nothing when they cannot be compared.
std::optional<int> CompareValue(const Variant& value, const Literal& literal) {
  if (value.IsNull() || value.IsEmpty() || value.IsObject() || value.IsArray()) return std::nullopt;
  try {
    switch (literal.kind) {
      case Literal::kDate:
        return CompareDates(value.ToDate(), literal.date);
      case Literal::kNumber:
        if (!value.IsNumeric() && value.Type() != vbDate) return std::nullopt;
        return Order(value.ToDouble(), literal.number);
      case Literal::kText:
        // A text literal takes the type of the field it meets, as ADO converts it.
        if (value.Type() == vbDate) {
          const auto date = Date::Parse(literal.text);
          if (!date) return std::nullopt;
          return CompareDates(value.ToDate(), *date);
        }
        if (value.Type() != vbString) {
          double number = 0;
          if (!TryParseNumber(literal.text, number)) return std::nullopt;
          return Order(value.ToDouble(), number);
        }
        return CompareTextIgnoringCase(value.ToString(), literal.text);
    }
  } catch (const AutomationError&) {
    return std::nullopt;  // a value of another kind never matches
  }
  return std::nullopt;
}

struct Token {
  enum Kind { kEnd, kOpen, kClose, kField, kLiteral, kOperator, kAnd, kOr } kind;
  std::string field;
  Literal literal{};
  Op op = Op::kEqual;
  size_t position = 0;
};

class FilterParser {
 public:
  FilterParser(const std::string& text, const RecordTable& table) : text_(text), table_(table) {}

  RowPredicate Parse() {
    Advance();
    RowPredicate predicate = Disjunction();
    if (token_.kind != Token::kEnd) Fail("unexpected text");
    return predicate;
  }

 private:
  [[noreturn]] void Fail(const std::string& reason) const {
    throw AutomationError(kAdErrInvalidArgument, kAdoSource,
                          "Arguments are of the wrong type, are out of acceptable range, or are "
                          "in conflict with one another. Cannot read the filter \"" +
                              text_ + "\": " + reason + " at position " +
                              std::to_string(token_.position + 1) + ".");
  }

  bool IsWordChar(char c) const { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

  // Text up to the closing character; a doubled closing character stands for itself in quotes.
  std::string Enclosed(char close, bool doubling) {
    std::string out;
    ++pos_;
    while (true) {
      if (pos_ >= text_.size()) Fail(std::string("missing closing ") + close);
      if (text_[pos_] == close) {
        if (doubling && pos_ + 1 < text_.size() && text_[pos_ + 1] == close) {
          out += close;
          pos_ += 2;
          continue;
        }
        ++pos_;
        return out;
      }
      out += text_[pos_++];
    }
  }

  void Advance() {
    while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_])))
      ++pos_;
    token_ = Token{};
    token_.position = pos_;
    if (pos_ >= text_.size()) return;
    const char c = text_[pos_];
    if (c == '(' || c == ')') {
      token_.kind = c == '(' ? Token::kOpen : Token::kClose;
      ++pos_;
    } else if (c == '[') {
      token_.kind = Token::kField;
      token_.field = Enclosed(']', false);
    } else if (c == '#') {
      const std::string inside = Enclosed('#', false);
      const auto date = Date::Parse(inside);
      if (!date) Fail("\"" + inside + "\" is not a date");
      token_.kind = Token::kLiteral;
      token_.literal = {Literal::kDate, 0, *date, ""};
    } else if (c == '\'' || c == '"') {
      token_.kind = Token::kLiteral;
      token_.literal = {Literal::kText, 0, Date(), Enclosed(c, true)};
    } else if (c == '<' || c == '>' || c == '=') {
      ReadOperator();
    } else if (std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '+') {
      ReadNumber();
    } else if (IsWordChar(c)) {
      size_t end = pos_;
      while (end < text_.size() && IsWordChar(text_[end]))
        ++end;
      std::string word = text_.substr(pos_, end - pos_);
      pos_ = end;
      std::string upper = word;
      for (char& ch : upper)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
      if (upper == "AND") {
        token_.kind = Token::kAnd;
      } else if (upper == "OR") {
        token_.kind = Token::kOr;
      } else {
        token_.kind = Token::kField;
        token_.field = std::move(word);
      }
    } else {
      Fail(std::string("unexpected character '") + c + "'");
    }
  }

  void ReadOperator() {
    token_.kind = Token::kOperator;
    const char c = text_[pos_++];
    const char next = pos_ < text_.size() ? text_[pos_] : '\0';
    if (c == '=') {
      token_.op = Op::kEqual;
    } else if (c == '<' && next == '>') {
      token_.op = Op::kNotEqual;
      ++pos_;
    } else if (next == '=') {
      token_.op = c == '<' ? Op::kLessEqual : Op::kGreaterEqual;
      ++pos_;
    } else {
      token_.op = c == '<' ? Op::kLess : Op::kGreater;
    }
  }

  void ReadNumber() {
    size_t end = pos_ + 1;
    while (end < text_.size()) {
      const char ch = text_[end];
      const bool exponent_sign =
          (ch == '+' || ch == '-') && (text_[end - 1] == 'e' || text_[end - 1] == 'E');
      if (!std::isdigit(static_cast<unsigned char>(ch)) && ch != '.' && ch != 'e' && ch != 'E' &&
          !exponent_sign)
        break;
      ++end;
    }
    const std::string number = text_.substr(pos_, end - pos_);
    double value = 0;
    if (!TryParseNumber(number, value)) Fail("\"" + number + "\" is not a number");
    pos_ = end;
    token_.kind = Token::kLiteral;
    token_.literal = {Literal::kNumber, value, Date(), ""};
  }

  RowPredicate Disjunction() {
    RowPredicate left = Conjunction();
    while (token_.kind == Token::kOr) {
      Advance();
      RowPredicate right = Conjunction();
      left = [left, right](const std::vector<Variant>& row) { return left(row) || right(row); };
    }
    return left;
  }

  RowPredicate Conjunction() {
    RowPredicate left = Primary();
    while (token_.kind == Token::kAnd) {
      Advance();
      RowPredicate right = Primary();
      left = [left, right](const std::vector<Variant>& row) { return left(row) && right(row); };
    }
    return left;
  }

  RowPredicate Primary() {
    if (token_.kind == Token::kOpen) {
      Advance();
      RowPredicate inner = Disjunction();
      if (token_.kind != Token::kClose) Fail("missing closing parenthesis");
      Advance();
      return inner;
    }
    const Token left = token_;
    if (left.kind != Token::kField && left.kind != Token::kLiteral)
      Fail("expected a field or a value");
    Advance();
    if (token_.kind != Token::kOperator) Fail("expected a comparison operator");
    Op op = token_.op;
    Advance();
    const Token right = token_;
    if (right.kind != Token::kField && right.kind != Token::kLiteral)
      Fail("expected a field or a value");
    if ((left.kind == Token::kField) == (right.kind == Token::kField))
      Fail("a comparison needs one field and one value");
    Advance();
    const Token& field = left.kind == Token::kField ? left : right;
    const Literal literal = left.kind == Token::kField ? right.literal : left.literal;
    if (left.kind != Token::kField) op = Mirrored(op);
    const int32_t column = table_.ColumnOf(field.field);
    if (column < 0) {
      throw AutomationError(adErrItemNotFound, kAdoSource,
                            "Item cannot be found in the collection corresponding to the "
                            "requested name or ordinal.");
    }
    const size_t index = static_cast<size_t>(column);
    return [index, op, literal](const std::vector<Variant>& row) {
      const std::optional<int> order = CompareValue(row[index], literal);
      return order.has_value() && Holds(op, *order);
    };
  }

  const std::string& text_;
  const RecordTable& table_;
  size_t pos_ = 0;
  Token token_;
};

}  // namespace

RowPredicate CompileFilter(const std::string& text, const RecordTable& table) {
  return FilterParser(text, table).Parse();
}

}  // namespace varnock::automation
