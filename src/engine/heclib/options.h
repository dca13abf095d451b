// HECLIB's process-wide options (ZSET), the buffer describing the last record looked up, and
// the inquiries answered from them (ZINQIR). Inquiries about an open file are passed to a hook
// that the file layer installs.
#ifndef VARNOCK_ENGINE_HECLIB_OPTIONS_H_
#define VARNOCK_ENGINE_HECLIB_OPTIONS_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "engine/rules/fixed_text.h"

namespace varnock::engine {

// The library's DSS version id, reported by inquiry VERS.
inline constexpr std::string_view kEngineVersionId = "7-JA";

// Word 1 of a 32-bit file table while a file is open through it.
inline constexpr int32_t kOpenTableMark = 6;

struct Options {
  FixedText<6> program{std::string_view("Undefi")};  // PROG, PRGN
  int32_t message_level = 4;                         // MLEV, MLVL: 0..15
  int32_t message_unit = 6;                          // MUNI, MLFN: 1..199
  int32_t precision = 0;                             // PREC
  bool tolerance_on = false;                         // TOL: reset after each regular write
  double tolerance = 0.0;                            // TOL: 0.6 / 10^n
  int32_t next_unit = 0;                             // UNIT, FILN: 0 = not set
  bool catalog_map = false;                          // MAP
  int32_t map_unit = 0;                              // MAP, MAPU
  bool condensed_missing = false;                    // CCDA
  int32_t data_type = 0;                             // TYPE
  bool columns_80 = false;                           // 80CO
  bool exclusive = false;                            // EXCL: next open only
  bool multi_user = false;                           // MULT
  bool write_lock = false;                           // WLOC: next open only
  FixedText<16> file_date_text;                      // FDAT
  int32_t file_date = 0;                             // FDAT
  FixedText<16> size_text;                           // SIZE: next new file only
  int32_t size = 0;                                  // SIZE: next new file only
  int32_t hash_size = 0;                             // HSIZ 1..8, 0 = not set
  bool stable_table = false;                         // TABL: next new file only
  FixedText<8> tag;                                  // TAG: next new record only
  bool tag_set = false;                              // TAG
  int32_t record_version = 0;                        // RVER
  FixedText<16> record_date;                         // RDAT
  FixedText<16> record_time;                         // RTIM
  int32_t zone_offset = 0;                           // ZONE
  FixedText<12> zone_name;                           // ZONE
  int32_t quality_flag = 0;                          // QUAL, FLAG
  bool catalog_time_window = false;                  // TWCA
  bool protect = false;                              // PROT
  bool read_only = false;                            // READ: next open only
  bool compress = false;                             // COMP
  bool catalog_status = false;                       // CAST, SQST
  bool compression_debug = false;                    // DCDB
  int32_t compression_debug_unit = 0;                // DCDB
  bool abort_on_fatal = true;                        // ABOR
  bool stamp_write_time = true;                      // UPRT
  bool quality_protect = false;                      // QPRO
  bool show_handle = false;                          // HAND
  int32_t new_file_version = 0;                      // DSSV: next new file only; 0 = ALLV's
  int32_t all_files_version = 7;                     // ALLV: every new file
  int32_t NewFileVersion() const {
    return new_file_version != 0 ? new_file_version : all_files_version;
  }
};

// ZSET. Unknown keywords are ignored.
void SetOption(std::string_view keyword, std::string_view text, int32_t number);

// A copy of the options as they are now.
Options CurrentOptions();

// Back to the defaults of a new process.
void ResetOptions();

// ZOPEN calls this after every open: SIZE, TABL, EXCL, WLOC and READ last for one open only.
void ResetOpenOptions();

// ZOPEN calls this after creating a file: DSSV chooses the version of one new file.
void ResetNewFileVersion();

// The regular-series writer calls this after every write: TOL lasts for one write only.
void ResetTolerance();

// The record writer takes the TAG for a new record through this; it is used up by the call.
// Returns false (tag untouched) when none was set.
bool TakeNextRecordTag(FixedText<8>* tag);

// What the inquiries PREC, RDAT, RTIM, PROG, RVER, ZONE, FLAG/QUAL, TAG and TYPE report: the
// last record any routine of the process looked up, whichever file it was in.
struct LastRecordInfo {
  int32_t precision = 0;
  FixedText<7> written_date;  // "07MAR01"
  FixedText<8> written_time;  // "HH:MM:SS"
  FixedText<6> program;
  int32_t version = 0;
  int32_t zone_offset = -1;  // -1 = none
  FixedText<12> zone_name;
  int32_t quality_flag = 0;
  FixedText<8> tag;
  int32_t type = 0;  // record type code, shown by TYPE with its 3-letter name
};

void SetLastRecordInfo(const LastRecordInfo& info);
// ZDTYPE reports only the type of the record it checked.
void SetLastRecordType(int32_t type);
LastRecordInfo CurrentLastRecordInfo();

// The 3-letter name of a record type code ("RTS", "PD ", ...), "UND" for unknown codes.
std::string_view RecordTypeName(int32_t type);

// The name HEC's DSS-7 library gives a record type in its catalogs ("RTS", "PD", "LOC",
// "RTPR", "TT", ...); "UDF" for codes without one.
std::string_view RecordKindName(int32_t type);

// The answer to one inquiry. Text is blank-padded into the caller's field; number is given back
// only when has_number is set.
struct InquiryAnswer {
  bool has_number = false;
  int32_t number = 0;
  FixedText<256> text;
};

// Answers an inquiry about the file open through ifltab: keyword is 4 characters, upper case,
// blank-padded; text_in and number_in are what the caller passed (inquiry CLEA stores them).
// Returns false for keywords it does not know. Called only while word 1 of the table is 6.
using FileInquiryHook = bool (*)(int32_t* ifltab, std::string_view keyword,
                                 std::string_view text_in, int32_t number_in,
                                 InquiryAnswer* answer);

// The file layer installs its hook once; nullptr removes it.
void SetFileInquiryHook(FileInquiryHook hook);

// ZINQIR. The text is always assigned; *number only by inquiries with a numeric answer.
// ifltab may be null (no file).
void Inquire(int32_t* ifltab, std::string_view keyword, std::span<char> text, int32_t* number);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_HECLIB_OPTIONS_H_
