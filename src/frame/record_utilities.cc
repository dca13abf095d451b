// Wrappers of the catalog and record-utility routines.
#include <vector>

#include "frame/engine_table.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {
constexpr int32_t kTrue = 1;
constexpr int32_t kFalse = 0;
constexpr size_t kTypeCodeWidth = 3;
constexpr int32_t kHeaderBufferWords = 100;
constexpr int32_t kDataBufferWords = 8192;
}  // namespace

int32_t hecZcat(FileTable& ifltab, int32_t unit, bool sorted) {
  const auto& engine = frame::Engine();
  const int32_t no_unit = 0;
  const int32_t sort = sorted ? kTrue : kFalse;
  std::string instructions(kOptionTextWidth, ' ');
  int32_t condensed_made = kFalse;
  int32_t count = 0;
  engine.zcat(ifltab.data(), &unit, &no_unit, &no_unit, instructions.data(),
              static_cast<int32_t>(instructions.size()), &kTrue, &sort, &condensed_made, &count);
  return count;
}

RecordTypeAnswer hecZdtype(FileTable& ifltab, const std::string& pathname) {
  const auto& engine = frame::Engine();
  std::string path = FitField(pathname, kPathnameWidth);
  std::string code(kTypeCodeWidth, ' ');
  int32_t found = kFalse;
  RecordTypeAnswer answer;
  engine.zdtype(ifltab.data(), path.data(), kPathnameWidth, &answer.data_words, &found, code.data(),
                kTypeCodeWidth, &answer.type_number);
  answer.found = found != kFalse;
  answer.type_code = code;
  return answer;
}

bool hecZrenam(FileTable& ifltab, const std::string& from, int32_t from_length,
               const std::string& to, int32_t to_length) {
  const auto& engine = frame::Engine();
  std::string old_name = from;
  std::string new_name = to;
  int32_t found = kFalse;
  engine.zrenam(ifltab.data(), old_name.data(), static_cast<int32_t>(old_name.size()), &from_length,
                new_name.data(), static_cast<int32_t>(new_name.size()), &to_length, &found);
  return found != kFalse;
}

bool hecZdelet(FileTable& ifltab, const std::string& pathname, int32_t length) {
  const auto& engine = frame::Engine();
  std::string path = pathname;
  int32_t found = kFalse;
  engine.zdelet(ifltab.data(), path.data(), static_cast<int32_t>(path.size()), &length, &found);
  return found != kFalse;
}

int32_t hecZundel(FileTable& ifltab, const std::string& pathname, int32_t length) {
  const auto& engine = frame::Engine();
  std::string path = pathname;
  int32_t status = 0;
  engine.zundel(ifltab.data(), path.data(), static_cast<int32_t>(path.size()), &length, &status);
  return status;
}

int32_t hecZcorec(FileTable& from_table, FileTable& to_table, const std::string& from,
                  const std::string& to) {
  const auto& engine = frame::Engine();
  std::string old_name = FitField(from, kPathnameWidth);
  std::string new_name = FitField(to, kPathnameWidth);
  std::vector<int32_t> header_buffer(kHeaderBufferWords);
  std::vector<int32_t> data_buffer(kDataBufferWords);
  int32_t status = 0;
  engine.zcorec(from_table.data(), to_table.data(), old_name.data(), kPathnameWidth,
                new_name.data(), kPathnameWidth, header_buffer.data(), &kHeaderBufferWords,
                data_buffer.data(), &kDataBufferWords, &status);
  return status;
}

}  // namespace varnock
