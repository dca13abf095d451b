// The frame: start-up of the HECLIB engine and the thin wrappers through which the library
// calls its routines. Each wrapper fits texts into the routine's fixed-width fields (blank-padded,
// cut at the width) and hands numbers by address, as HECLIB expects.
#ifndef VARNOCK_HECLIB_H_
#define VARNOCK_HECLIB_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "varnock/date.h"
#include "varnock/object.h"
#include "varnock/variant.h"

namespace varnock {

// HECLIB's file table. Word 1 (index 0) is 6 while a file is open through it.
using FileTable = std::array<int32_t, 600>;

// Widths of HECLIB's fixed character fields.
inline constexpr size_t kPathnameWidth = 80;
inline constexpr size_t kPartWidth = 32;
inline constexpr size_t kKeywordWidth = 4;
inline constexpr size_t kOptionTextWidth = 6;
inline constexpr size_t kInquiryAnswerWidth = 512;
inline constexpr size_t kVersionWidth = 4;
inline constexpr size_t kDateTextWidth = 20;
inline constexpr size_t kTimeTextWidth = 4;

// The text blank-padded or cut to exactly `width` characters.
VARNOCK_API std::string FitField(std::string_view text, size_t width);
// The text without blanks at either end, and without blanks at its end.
VARNOCK_API std::string TrimBlanks(std::string_view text);
VARNOCK_API std::string TrimTrailingBlanks(std::string_view text);

// Loads the engine, once per process: from the folder of the Varnock library itself, else by
// bare name through the normal search path. Raises 0x80040000 + the system error code with
// "Problem loading the HEC library DLL." when neither works. Every wrapper calls it first.
VARNOCK_API void StartUp();

// The temporary folder, with a trailing separator: TMPDIR when set, else /tmp (the host's
// temp-path call).
VARNOCK_API std::string TemporaryFolder();

// The message file to which HECLIB writes its diagnostics; empty until it is first opened.
VARNOCK_API std::string MessageFileName();
// Opens the message file if none is open: the first of twenty numbered names in the temporary
// folder that can be opened. Never raises for a name that cannot be opened.
VARNOCK_API void OpenMessageFile();
// Closes HECLIB's message output, deletes the message file and forgets its name.
VARNOCK_API void PurgeMessages();

VARNOCK_API int32_t hecFortranOpen(const std::string& name, int32_t unit);
VARNOCK_API int32_t hecFortranClose(int32_t unit);

// Opens (or creates) a DSS file; returns HECLIB's status.
VARNOCK_API int32_t hecZopen(FileTable& ifltab, const std::string& name);
VARNOCK_API void hecZclose(FileTable& ifltab);
// Sets a HECLIB option: keyword upper-cased and cut to 4 characters, text cut to 6.
VARNOCK_API void hecZset(const std::string& keyword, const std::string& text, int32_t number);
// Inquires a HECLIB option or file property: the number as decimal text when HECLIB gives
// one, else the 512-character text answer untrimmed. Raises 5009 for an unknown keyword.
VARNOCK_API std::string hecZinqir(FileTable& ifltab, const std::string& keyword);
// The DSS version of a file that is not open: the version text with trailing blanks removed
// when the version number is above 0, else empty text. The number goes to `version`.
VARNOCK_API std::string hecZfver(const std::string& name, int32_t& version);

// Date text to HEC julian day; raises 8196 "Bad date: ..." (source "hecDatJul") on bad text.
VARNOCK_API int32_t hecDatJul(const std::string& date_text);
// HEC julian day to date text in a JULDAT style, trimmed.
VARNOCK_API std::string hecJulDat(int32_t julian, int32_t style);
// Normalises a julian day plus minutes (which may exceed a day) to a day and 1..1440 minutes.
VARNOCK_API void hecDatCll(int32_t julian_in, int32_t minutes_in, int32_t& julian_out,
                           int32_t& minutes_out);
// A date as HECLIB start texts: date "M/D/YYYY" and time "HHMM"; both empty for a value that
// is not a date.
VARNOCK_API void DateToHecText(const Variant& value, std::string& date_text,
                               std::string& time_text);
// A HEC julian day plus minutes as a date: normalised by DATCLL, the day through JULDAT
// style 8 and the host's date parser, the minutes added as a day fraction.
VARNOCK_API Date HecTimeToDate(int32_t julian, int32_t minutes);

// Pathname routines. hecZupath raises 8197 "Bad pathname: ..." (source "hecZupath").
struct PathnameParts {
  std::array<std::string, 6> parts;
};
VARNOCK_API PathnameParts hecZupath(const std::string& pathname);
VARNOCK_API int32_t hecZchkpn(const std::string& pathname, int32_t length);
// Splits a part string ("A=x B=y ...") into the parts; returns the six part lengths (-1 for a
// part not named, -10 in the first when nothing was recognised) and sets `parts` as ZGPNP does.
VARNOCK_API std::array<int32_t, 6> hecZgpnp(const std::string& text,
                                            std::array<std::string, 6>& parts);

// Catalog and record utilities. Pathnames are handed over with their given lengths.
// Writes the catalog of the open file on a unit opened with hecFortranOpen; returns the count.
VARNOCK_API int32_t hecZcat(FileTable& ifltab, int32_t unit, bool sorted);
struct RecordTypeAnswer {
  bool found = false;
  int32_t data_words = 0;
  int32_t type_number = 0;
  std::string type_code;  // HECLIB's 3-character field
};
VARNOCK_API RecordTypeAnswer hecZdtype(FileTable& ifltab, const std::string& pathname);
VARNOCK_API bool hecZrenam(FileTable& ifltab, const std::string& from, int32_t from_length,
                           const std::string& to, int32_t to_length);
VARNOCK_API bool hecZdelet(FileTable& ifltab, const std::string& pathname, int32_t length);
VARNOCK_API int32_t hecZundel(FileTable& ifltab, const std::string& pathname, int32_t length);
VARNOCK_API int32_t hecZcorec(FileTable& from_table, FileTable& to_table, const std::string& from,
                              const std::string& to);

// Time-series routines. Texts are fitted to HECLIB's fields (pathname 80, date 20, time 4,
// units and type 8); units and type come back as the 8-character fields. Each returns ISTAT.
inline constexpr size_t kUnitsWidth = 8;
inline constexpr size_t kTypeWidth = 8;
VARNOCK_API int32_t hecZrrts(FileTable& ifltab, const std::string& pathname,
                             const std::string& date_text, const std::string& time_text,
                             int32_t& nvals, float* values, std::string& units, std::string& type,
                             int32_t& offset);
VARNOCK_API int32_t hecZsrts(FileTable& ifltab, const std::string& pathname,
                             const std::string& date_text, const std::string& time_text,
                             int32_t nvals, const float* values, const std::string& units,
                             const std::string& type, int32_t plan);
VARNOCK_API int32_t hecZrits(FileTable& ifltab, const std::string& pathname, int32_t start_julian,
                             int32_t start_minutes, int32_t end_julian, int32_t end_minutes,
                             int32_t* times, float* values, int32_t capacity, int32_t& nvals,
                             int32_t& base_julian, std::string& units, std::string& type);
VARNOCK_API int32_t hecZsits(FileTable& ifltab, const std::string& pathname, const int32_t* times,
                             const float* values, int32_t nvals, int32_t base_julian,
                             const std::string& units, const std::string& type, int32_t replace);

// Paired-data routines. Values are NORD x (NCURVE + 1) floats; labels are handed over as one
// buffer of elements of `label_length` characters each.
struct PairedDataHeader {
  int32_t nord = 0;
  int32_t ncurve = 0;
  int32_t ihoriz = 0;
  std::string units1, type1, units2, type2;  // 8-character fields
};
VARNOCK_API int32_t hecZrpd(FileTable& ifltab, const std::string& pathname,
                            PairedDataHeader& header, float* values, int32_t capacity,
                            int32_t& nvals, std::string& labels, int32_t label_length,
                            int32_t label_capacity, bool& has_labels);
VARNOCK_API int32_t hecZspd(FileTable& ifltab, const std::string& pathname,
                            const PairedDataHeader& header, const float* values,
                            const std::string& labels, int32_t label_length, bool has_labels,
                            int32_t plan);

// Inquiry and setting keywords with their descriptions, in HECLIB's documented order.
struct KeywordDescription {
  const char* keyword;
  const char* description;
};
VARNOCK_API const std::array<KeywordDescription, 41>& SettingKeywords();
VARNOCK_API const std::array<KeywordDescription, 35>& InquiryKeywords();
// The trimmed, upper-cased keyword when it is an inquiry keyword; raises 5009 otherwise.
VARNOCK_API std::string CheckInquiryKeyword(const std::string& keyword);

}  // namespace varnock

#endif  // VARNOCK_HECLIB_H_
