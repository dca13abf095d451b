// HECLIB's file routines for DSS-7 files: ZOPEN, ZCLOSE, ZFVER and the ZINQIR answers about an
// open file.
#ifndef VARNOCK_ENGINE_HECLIB_FILE_ROUTINES_H_
#define VARNOCK_ENGINE_HECLIB_FILE_ROUTINES_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "engine/heclib/options.h"

namespace varnock::engine {

// ZOPEN. Returns ISTAT:
//   0   opened, or created as a new DSS-7 file (missing, empty, or a non-DSS file of at most
//       1000 bytes, which is replaced);
//  -1   could not be opened or created (also: a name holding NUL, no room for more files);
//  -2   a new file would be needed but option READ is on or write access is refused, or the
//       file says "ZDSS" with version 7 but its header is damaged;
//  -3   a DSS file of another version (DSS-6 among them);
//  -5   exclusively locked by another table or process (or EXCL asked while others have it);
//  -6   an existing non-DSS file of more than 1000 bytes;
//  -10  blank name.
// The file is read-only when option READ was on or write access is refused. A table that is
// still open is closed first (HECLIB would lose track of it). The one-shot options SIZE, TABL,
// EXCL, WLOC and READ are reset whatever the outcome.
int32_t OpenTableFile(int32_t* ifltab, std::string_view name);

// ZCLOSE: harmless on a table that is not open.
void CloseTableFile(int32_t* ifltab);

// ZFVER: the version text ("7-JA", "6-YO") into text, blank-padded (blank on failure), and
// IVER: the major version, -1 no such file, -2 not accessible, -3 not a DSS file. The name is
// cut to 64 characters after the ".dss" rule, as HECLIB keeps it.
int32_t ProbeFileVersion(std::string_view name, std::span<char> text);

// The file-inquiry hook ZOPEN installs (see FileInquiryHook in options.h). A damaged table
// answers STAT and ERRO with 70 and nothing else.
bool AnswerFileInquiry(int32_t* ifltab, std::string_view keyword, std::string_view text_in,
                       int32_t number_in, InquiryAnswer* answer);

// A time stamp of the file layer (milliseconds since 1970) as a local HEC julian day and
// time of day. False when it is out of range.
struct LocalStamp {
  int32_t julian = 0;
  int32_t hour = 0;
  int32_t minute = 0;
  int32_t second = 0;
};
bool LocalStampOf(int64_t millis, LocalStamp* out);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_HECLIB_FILE_ROUTINES_H_
