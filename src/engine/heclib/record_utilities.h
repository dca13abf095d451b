// HECLIB's record utilities on DSS-7 files: ZDTYPE, ZRENAM, ZDELET, ZUNDEL and ZCOREC.
// Pathname arguments arrive as the caller's whole buffer plus, where HECLIB has one, its
// length argument; each routine applies HECLIB's own length rule and never reads past the
// buffer. A failure of the file itself (a damaged file, an I/O error) also goes into the
// table's status word (inquiry STAT).
#ifndef VARNOCK_ENGINE_HECLIB_RECORD_UTILITIES_H_
#define VARNOCK_ENGINE_HECLIB_RECORD_UTILITIES_H_

#include <cstdint>
#include <string_view>

namespace varnock::engine {

// The type HECLIB guesses for a pathname that has no record: 100 for a regular E part, 110
// for an irregular one, plus 1 when the D part starts "TS-"; 0 otherwise.
int32_t GuessRecordType(std::string_view path);

struct RecordTypeAnswer {
  bool found = false;
  int32_t data_words = 0;  // int32 words of the record's values
  int32_t type = 0;        // stored code, or the guess when not found
};

// ZDTYPE: the pathname is the buffer with trailing blanks dropped; case does not matter. Also
// sets the type of the last-record buffer (inquiry TYPE). A table that is not open gives
// "not found" with type 0.
RecordTypeAnswer CheckRecordType(int32_t* ifltab, std::string_view path);

// ZRENAM: the old name is path[0, npath) without trailing blanks; the new name is exactly
// new_path[0, nnpath), blanks included. False when the old record is absent, the two names
// are the same text, or the file cannot store the new name. A record already under the new
// name is replaced. Time-series records keep their D and E parts (DSS-7 rule).
bool RenameRecord(int32_t* ifltab, std::string_view path, int32_t npath, std::string_view new_path,
                  int32_t nnpath);

// ZDELET: the pathname is the buffer without trailing blanks (HECLIB ignores NPATH).
bool DeleteRecord(int32_t* ifltab, std::string_view path);

// ZUNDEL: the pathname is exactly path[0, npath); "ALL" with npath 3 undeletes every
// recoverable record. Returns 0 undeleted, 1 nothing to undelete, 2 a live record has the
// name, -3 the deleted record's index and data disagree, or a fatal code (70 for a table
// that is not open).
int32_t UndeleteRecord(int32_t* ifltab, std::string_view path, int32_t npath);

// ZCOREC (nine-argument form): copies a record, within one file when both tables are the
// same (or two tables on the same file). Both names are their buffers without trailing
// blanks. Returns 0 copied, 1 source not found, -1 a buffer size of 0 or less, -2 the
// record's internal header is longer than header_words or its second header longer than
// data_words, -12 the target is read-only or has the record and option PROT is on, 3 the
// new name is not one a DSS-7 file can store, or a fatal code (70 for a table that is not
// open, 10 for a source record too damaged to copy).
int32_t CopyRecord(int32_t* from_table, int32_t* to_table, std::string_view path,
                   std::string_view new_path, int32_t header_words, int32_t data_words);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_HECLIB_RECORD_UTILITIES_H_
