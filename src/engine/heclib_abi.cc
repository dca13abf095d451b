// The exported HECLIB routines: each turns its (pointer, length) arguments into views and calls
// the engine. Null pointers are tolerated: a missing input counts as 0 or empty text, a missing
// output is not written.
#include "engine/heclib_abi.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

#include "engine/dates.h"
#include "engine/dss_file_name.h"
#include "engine/fixed_text.h"
#include "engine/message_units.h"
#include "engine/options.h"
#include "engine/pathname_rules.h"

namespace engine = varnock::engine;

namespace {

int32_t ValueOr0(const int32_t* value) {
  return value != nullptr ? *value : 0;
}

void Store(int32_t* target, int32_t value) {
  if (target != nullptr) *target = value;
}

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

// PLACEHOLDER until the DSS-7 file layer (src/engine/dss7/) takes over ZOPEN_, ZCLOSE_ and
// ZFVER_: no file can be opened yet.
void ZOPEN_(int32_t* ifltab, const char* name, int32_t name_len, int32_t* status) {
  (void)name;
  (void)name_len;
  Store(ifltab, 0);
  Store(status, -1);
}

// PLACEHOLDER (see ZOPEN_): word 1 is the only word used so far.
void ZCLOSE_(int32_t* ifltab) {
  Store(ifltab, 0);
}

// PLACEHOLDER (see ZOPEN_): tells a missing file (-1) from one it cannot read yet (-3).
void ZFVER_(const char* name, int32_t name_len, char* version, int32_t version_len,
            int32_t* version_number) {
  engine::AssignBlankPadded(engine::OutText(version, version_len), {});
  std::string path;
  struct stat info {};
  const bool exists = engine::NormaliseDssFileName(engine::InText(name, name_len), &path) &&
                      path.find('\0') == std::string::npos && stat(path.c_str(), &info) == 0;
  Store(version_number, exists ? -3 : -1);
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
