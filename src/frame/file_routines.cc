// Wrappers of the file, option and inquiry routines.
#include <cctype>

#include "frame/engine_table.h"
#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {

std::string UpperCase(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

constexpr int32_t kNoNumberAnswer = -903;

}  // namespace

int32_t hecZopen(FileTable& ifltab, const std::string& name) {
  const auto& engine = frame::Engine();
  if (MessageFileName().empty()) OpenMessageFile();
  hecZset("MLEV", "", 1);
  const std::string trimmed = TrimBlanks(name);
  int32_t status = 0;
  engine.zopen(ifltab.data(), trimmed.data(), static_cast<int32_t>(trimmed.size()), &status);
  return status;
}

void hecZclose(FileTable& ifltab) {
  frame::Engine().zclose(ifltab.data());
}

void hecZset(const std::string& keyword, const std::string& text, int32_t number) {
  const auto& engine = frame::Engine();
  std::string keyword_field = FitField(UpperCase(keyword), kKeywordWidth);
  std::string text_field = FitField(text, kOptionTextWidth);
  engine.zset(keyword_field.data(), kKeywordWidth, text_field.data(), kOptionTextWidth, &number);
}

std::string hecZinqir(FileTable& ifltab, const std::string& keyword) {
  const auto& engine = frame::Engine();
  std::string keyword_field = FitField(CheckInquiryKeyword(keyword), kKeywordWidth);
  std::string answer(kInquiryAnswerWidth, ' ');
  int32_t number = kNoNumberAnswer;
  engine.zinqir(ifltab.data(), keyword_field.data(), kKeywordWidth, answer.data(),
                kInquiryAnswerWidth, &number);
  return number != kNoNumberAnswer ? std::to_string(number) : answer;
}

std::string hecZfver(const std::string& name, int32_t& version) {
  const auto& engine = frame::Engine();
  std::string version_text(kVersionWidth, ' ');
  version = 0;
  engine.zfver(name.data(), static_cast<int32_t>(name.size()), version_text.data(), kVersionWidth,
               &version);
  return version > 0 ? TrimTrailingBlanks(version_text) : "";
}

std::string CheckInquiryKeyword(const std::string& keyword) {
  const std::string candidate = UpperCase(TrimBlanks(keyword));
  for (const KeywordDescription& entry : InquiryKeywords()) {
    if (candidate == entry.keyword) return candidate;
  }
  throw AutomationError(5009, "", "Error: Invalid Inqir -- " + keyword);
}

}  // namespace varnock
