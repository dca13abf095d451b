// Date::Parse: reads the date and time texts that the library and HECLIB produce, in the
// host's (United States) order: month before day when both are numbers.
#include <cctype>
#include <ctime>
#include <string>
#include <vector>

#include "automation/date_calendar.h"
#include "varnock/date.h"

namespace varnock {

namespace {

struct Token {
  enum Kind { Number, Word, Separator } kind;
  std::string_view text;
  int64_t number = 0;
};

// Splits text into runs of digits, runs of letters and single separator characters; blanks
// separate tokens but are not kept. Returns false on any character outside that set.
bool Tokenise(std::string_view text, std::vector<Token>& tokens) {
  size_t i = 0;
  while (i < text.size()) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == ' ' || c == '\t') {
      ++i;
    } else if (std::isdigit(c)) {
      size_t j = i;
      int64_t value = 0;
      while (j < text.size() && std::isdigit(static_cast<unsigned char>(text[j]))) {
        if (j - i < 12) value = value * 10 + (text[j] - '0');
        ++j;
      }
      if (j - i > 9) return false;
      tokens.push_back({Token::Number, text.substr(i, j - i), value});
      i = j;
    } else if (std::isalpha(c)) {
      size_t j = i;
      while (j < text.size() && std::isalpha(static_cast<unsigned char>(text[j])))
        ++j;
      tokens.push_back({Token::Word, text.substr(i, j - i)});
      i = j;
    } else if (c == '/' || c == '-' || c == ':' || c == ',' || c == '.') {
      tokens.push_back({Token::Separator, text.substr(i, 1)});
      ++i;
    } else {
      return false;
    }
  }
  return true;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) !=
        std::toupper(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

// Month number of a month name or its three-letter abbreviation, else 0.
int MonthOfWord(std::string_view word) {
  static constexpr std::string_view kMonths[] = {"JANUARY",   "FEBRUARY", "MARCH",    "APRIL",
                                                 "MAY",       "JUNE",     "JULY",     "AUGUST",
                                                 "SEPTEMBER", "OCTOBER",  "NOVEMBER", "DECEMBER"};
  for (int m = 0; m < 12; ++m) {
    if (EqualsIgnoreCase(word, kMonths[m]) ||
        (word.size() == 3 && EqualsIgnoreCase(word, kMonths[m].substr(0, 3))))
      return m + 1;
  }
  return EqualsIgnoreCase(word, "SEPT") ? 9 : 0;
}

bool IsWeekdayWord(std::string_view word) {
  static constexpr std::string_view kDays[] = {"SUNDAY",   "MONDAY", "TUESDAY", "WEDNESDAY",
                                               "THURSDAY", "FRIDAY", "SATURDAY"};
  for (std::string_view day : kDays) {
    if (EqualsIgnoreCase(word, day) ||
        (word.size() == 3 && EqualsIgnoreCase(word, day.substr(0, 3))))
      return true;
  }
  return false;
}

int64_t CurrentYear() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  return parts.tm_year + 1900;
}

// Two-digit years follow the host's window: 0..29 are 2000..2029, 30..99 are 1930..1999.
int64_t ExpandYear(const Token& token) {
  if (token.text.size() <= 2) return token.number < 30 ? 2000 + token.number : 1900 + token.number;
  return token.number;
}

// Takes "h:mm[:ss] [AM|PM]" out of the token list, leaving the date tokens.
bool ExtractTime(std::vector<Token>& tokens, int64_t& seconds, bool& found) {
  found = false;
  seconds = 0;
  for (size_t i = 0; i + 2 < tokens.size(); ++i) {
    if (tokens[i].kind != Token::Number || tokens[i + 1].text != ":" ||
        tokens[i + 2].kind != Token::Number)
      continue;
    int64_t hour = tokens[i].number;
    const int64_t minute = tokens[i + 2].number;
    int64_t second = 0;
    size_t end = i + 3;
    if (end + 1 < tokens.size() && tokens[end].text == ":" &&
        tokens[end + 1].kind == Token::Number) {
      second = tokens[end + 1].number;
      end += 2;
    }
    if (end < tokens.size() && tokens[end].kind == Token::Word) {
      const bool am = EqualsIgnoreCase(tokens[end].text, "AM");
      const bool pm = EqualsIgnoreCase(tokens[end].text, "PM");
      if (am || pm) {
        if (hour < 1 || hour > 12) return false;
        hour = (hour % 12) + (pm ? 12 : 0);
        ++end;
      }
    }
    if (hour > 23 || minute > 59 || second > 59) return false;
    seconds = hour * 3600 + minute * 60 + second;
    found = true;
    // An ISO "T" between date and time is a word token glued to nothing; drop it too.
    size_t begin = i;
    if (begin > 0 && tokens[begin - 1].kind == Token::Word &&
        EqualsIgnoreCase(tokens[begin - 1].text, "T"))
      --begin;
    tokens.erase(tokens.begin() + static_cast<std::ptrdiff_t>(begin),
                 tokens.begin() + static_cast<std::ptrdiff_t>(end));
    return true;
  }
  return true;
}

bool ValidDay(int64_t year, int64_t month, int64_t day) {
  return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 &&
         day <= calendar::MonthLength(year, static_cast<int>(month));
}

// Reads the date tokens (separators already dropped) into year, month and day.
bool ReadDate(const std::vector<Token>& tokens, int64_t& year, int64_t& month, int64_t& day) {
  std::vector<const Token*> numbers;
  int named_month = 0;
  for (const Token& token : tokens) {
    if (token.kind == Token::Number) {
      numbers.push_back(&token);
    } else if (token.kind == Token::Word) {
      const int m = MonthOfWord(token.text);
      if (m != 0 && named_month == 0) {
        named_month = m;
      } else if (!IsWeekdayWord(token.text)) {
        return false;
      }
    }
  }
  if (named_month != 0) {
    month = named_month;
    if (numbers.size() == 2) {
      // The year is the number that cannot be a day; otherwise the later one.
      const bool first_is_year = numbers[0]->text.size() > 2 && numbers[1]->text.size() <= 2;
      day = first_is_year ? numbers[1]->number : numbers[0]->number;
      year = ExpandYear(first_is_year ? *numbers[0] : *numbers[1]);
    } else if (numbers.size() == 1) {
      if (numbers[0]->text.size() > 2) {
        year = numbers[0]->number;
        day = 1;
      } else {
        day = numbers[0]->number;
        year = CurrentYear();
      }
    } else {
      return false;
    }
  } else if (numbers.size() == 3) {
    if (numbers[0]->text.size() > 2) {  // ISO order
      year = numbers[0]->number;
      month = numbers[1]->number;
      day = numbers[2]->number;
    } else {
      month = numbers[0]->number;
      day = numbers[1]->number;
      year = ExpandYear(*numbers[2]);
    }
  } else if (numbers.size() == 2) {
    month = numbers[0]->number;
    if (numbers[1]->text.size() > 2) {
      year = numbers[1]->number;
      day = 1;
    } else {
      day = numbers[1]->number;
      year = CurrentYear();
    }
  } else {
    return false;
  }
  return ValidDay(year, month, day);
}

}  // namespace

std::optional<Date> Date::Parse(std::string_view text) {
  std::vector<Token> tokens;
  if (!Tokenise(text, tokens) || tokens.empty()) return std::nullopt;
  // A DSS style date ("07MAR2001") tokenises as number, word, number: that is already fine.
  int64_t seconds = 0;
  bool has_time = false;
  if (!ExtractTime(tokens, seconds, has_time)) return std::nullopt;
  std::vector<Token> date_tokens;
  for (const Token& token : tokens) {
    if (token.kind != Token::Separator) date_tokens.push_back(token);
  }
  if (date_tokens.empty()) {
    if (!has_time) return std::nullopt;
    return Date(static_cast<double>(seconds) / 86400.0);
  }
  int64_t year = 0, month = 0, day = 0;
  if (!ReadDate(date_tokens, year, month, day)) return std::nullopt;
  return FromParts(static_cast<int32_t>(year), static_cast<int32_t>(month),
                   static_cast<int32_t>(day), 0, 0, static_cast<int32_t>(seconds));
}

}  // namespace varnock
