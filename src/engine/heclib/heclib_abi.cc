// The exported HECLIB routines: each turns its (pointer, length) arguments into views and calls
// the engine. Null pointers are tolerated: a missing input counts as 0 or empty text, a missing
// output is not written.
#include "engine/heclib/heclib_abi.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "engine/heclib/catalog_file.h"
#include "engine/heclib/file_routines.h"
#include "engine/heclib/message_units.h"
#include "engine/heclib/options.h"
#include "engine/heclib/record_utilities.h"
#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"
#include "engine/rules/pathname_rules.h"

namespace engine = varnock::engine;

namespace {

int32_t ValueOr0(const int32_t* value) {
  return value != nullptr ? *value : 0;
}

void Store(int32_t* target, int32_t value) {
  if (target != nullptr) *target = value;
}

// The file routines allocate; running out of memory must not unwind into the caller, so each
// stores its failure answer first and runs under this.
template <typename F>
void WithoutThrowing(F&& routine) noexcept {
  try {
    routine();
  } catch (...) {
  }
}

// Statuses given when memory runs out.
constexpr int32_t kNoMemory = 60;

}  // namespace

int32_t FORTRANOPEN_(const char* name, int32_t name_len, const int32_t* unit) {
  if (unit == nullptr) return EINVAL;
  return engine::OpenUnit(*unit, engine::InText(name, name_len));
}

int32_t FORTRANCLOSE_(const int32_t* unit) {
  if (unit == nullptr) return EINVAL;
  return engine::CloseUnit(*unit);
}

void closedssoutput_() {
  engine::CloseMessageOutput();
}

void ZSET_(const char* keyword, int32_t keyword_len, const char* text, int32_t text_len,
           const int32_t* number) {
  engine::SetOption(engine::InText(keyword, keyword_len), engine::InText(text, text_len),
                    ValueOr0(number));
}

void ZINQIR_(int32_t* ifltab, const char* keyword, int32_t keyword_len, char* text,
             int32_t text_len, int32_t* number) {
  int32_t unused = 0;
  engine::Inquire(ifltab, engine::InText(keyword, keyword_len), engine::OutText(text, text_len),
                  number != nullptr ? number : &unused);
}

void ZOPEN_(int32_t* ifltab, const char* name, int32_t name_len, int32_t* status) {
  Store(status, -1);
  WithoutThrowing(
      [&] { Store(status, engine::OpenTableFile(ifltab, engine::InText(name, name_len))); });
}

void ZCLOSE_(int32_t* ifltab) {
  WithoutThrowing([&] { engine::CloseTableFile(ifltab); });
}

void ZFVER_(const char* name, int32_t name_len, char* version, int32_t version_len,
            int32_t* version_number) {
  engine::AssignBlankPadded(engine::OutText(version, version_len), {});
  Store(version_number, -2);
  WithoutThrowing([&] {
    Store(version_number, engine::ProbeFileVersion(engine::InText(name, name_len),
                                                   engine::OutText(version, version_len)));
  });
}

void DATJUL_(const char* date, int32_t date_len, int32_t* julian, int32_t* error) {
  int32_t day = 0;
  const int32_t status = engine::DateToJulian(engine::InText(date, date_len), &day);
  Store(julian, day);
  Store(error, status);
}

void JULDAT_(const int32_t* julian, const int32_t* style, char* date, int32_t date_len,
             int32_t* text_len) {
  const std::span<char> out = engine::OutText(date, date_len);
  if (julian == nullptr) {
    engine::AssignBlankPadded(out, {});
    Store(text_len, out.empty() ? 0 : 1);
    return;
  }
  Store(text_len, engine::JulianToDate(*julian, ValueOr0(style), out));
}

void DATCLL_(const int32_t* julian_in, const int32_t* minutes_in, int32_t* julian_out,
             int32_t* minutes_out) {
  const engine::DayMinute result =
      engine::NormaliseDayMinutes(ValueOr0(julian_in), ValueOr0(minutes_in));
  Store(julian_out, result.julian);
  Store(minutes_out, result.minutes);
}

void ZUPATH_(const char* path, int32_t path_len, int32_t* part_begin, int32_t* part_end,
             int32_t* part_len, int32_t* status) {
  engine::PathnameParts parts{};
  const int32_t result = engine::SplitPathname(engine::InText(path, path_len), &parts);
  if (result == 0) {
    if (part_begin != nullptr) std::copy(parts.begin.begin(), parts.begin.end(), part_begin);
    if (part_end != nullptr) std::copy(parts.end.begin(), parts.end.end(), part_end);
    if (part_len != nullptr) std::copy(parts.length.begin(), parts.length.end(), part_len);
  }
  Store(status, result);
}

void ZCHKPN_(char* path, int32_t path_len, const int32_t* check_len, int32_t* status) {
  Store(status, engine::CheckPathname(engine::OutText(path, path_len), ValueOr0(check_len)));
}

void ZGPNP_(const char* line, int32_t line_len, char* a, int32_t a_len, char* b, int32_t b_len,
            char* c, int32_t c_len, char* d, int32_t d_len, char* e, int32_t e_len, char* f,
            int32_t f_len, int32_t* part_lengths) {
  std::array<int32_t, 6> lengths{};
  if (part_lengths != nullptr) std::copy_n(part_lengths, 6, lengths.begin());
  engine::SplitPartString(
      engine::InText(line, line_len),
      {engine::OutText(a, a_len), engine::OutText(b, b_len), engine::OutText(c, c_len),
       engine::OutText(d, d_len), engine::OutText(e, e_len), engine::OutText(f, f_len)},
      &lengths);
  if (part_lengths != nullptr) std::copy(lengths.begin(), lengths.end(), part_lengths);
}

void ZCAT_(int32_t* ifltab, const int32_t* catalog_unit, const int32_t* condensed_unit,
           const int32_t* input_unit, const char* instructions, int32_t instructions_len,
           const int32_t* abbreviated, const int32_t* sorted, int32_t* condensed_made,
           int32_t* record_count) {
  // Only the abbreviated form of a full catalog is written (see WriteCatalog).
  (void)instructions;
  (void)instructions_len;
  (void)abbreviated;
  Store(condensed_made, 0);
  Store(record_count, 0);
  engine::CatalogRequest request;
  request.unit = ValueOr0(catalog_unit);
  request.condensed_unit = ValueOr0(condensed_unit);
  request.input_unit = ValueOr0(input_unit);
  request.sorted = ValueOr0(sorted) != 0;
  WithoutThrowing([&] { Store(record_count, engine::WriteCatalog(ifltab, request)); });
}

void ZDTYPE_(int32_t* ifltab, const char* path, int32_t path_len, int32_t* data_words,
             int32_t* found, char* type_code, int32_t type_code_len, int32_t* type_number) {
  engine::RecordTypeAnswer answer;
  WithoutThrowing(
      [&] { answer = engine::CheckRecordType(ifltab, engine::InText(path, path_len)); });
  Store(data_words, answer.data_words);
  Store(found, answer.found ? 1 : 0);
  engine::AssignBlankPadded(engine::OutText(type_code, type_code_len),
                            engine::RecordTypeName(answer.type));
  Store(type_number, answer.type);
}

void ZRENAM_(int32_t* ifltab, const char* path, int32_t path_len, const int32_t* npath,
             const char* new_path, int32_t new_path_len, const int32_t* nnpath, int32_t* found) {
  Store(found, 0);
  WithoutThrowing([&] {
    const bool done =
        engine::RenameRecord(ifltab, engine::InText(path, path_len), ValueOr0(npath),
                             engine::InText(new_path, new_path_len), ValueOr0(nnpath));
    Store(found, done ? 1 : 0);
  });
}

void ZDELET_(int32_t* ifltab, const char* path, int32_t path_len, const int32_t* npath,
             int32_t* found) {
  (void)npath;  // HECLIB trims the name and ignores its length
  Store(found, 0);
  WithoutThrowing(
      [&] { Store(found, engine::DeleteRecord(ifltab, engine::InText(path, path_len)) ? 1 : 0); });
}

void ZUNDEL_(int32_t* ifltab, const char* path, int32_t path_len, const int32_t* npath,
             int32_t* status) {
  Store(status, kNoMemory);
  WithoutThrowing([&] {
    Store(status, engine::UndeleteRecord(ifltab, engine::InText(path, path_len), ValueOr0(npath)));
  });
}

void ZCOREC_(int32_t* ifltab_from, int32_t* ifltab_to, const char* path_from, int32_t path_from_len,
             const char* path_to, int32_t path_to_len, int32_t* buffer1, const int32_t* buffer1_len,
             int32_t* buffer2, const int32_t* buffer2_len, int32_t* status) {
  // The work buffers are not needed: the file layer copies records whole.
  (void)buffer1;
  (void)buffer2;
  Store(status, kNoMemory);
  WithoutThrowing([&] {
    Store(status,
          engine::CopyRecord(ifltab_from, ifltab_to, engine::InText(path_from, path_from_len),
                             engine::InText(path_to, path_to_len), ValueOr0(buffer1_len),
                             ValueOr0(buffer2_len)));
  });
}
