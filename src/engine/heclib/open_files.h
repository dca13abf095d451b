// The link between a HECLIB file table (the caller's 600 32-bit words) and an open DSS file of
// either version (a container::RecordFile).
//
// A table the engine opened holds, besides word 1 = 6, the slot of the file in a process-wide
// list and a random key that the slot also keeps. A table whose words do not match a live slot
// (never opened, closed, copied from a closed table, or overwritten) is reported as not open
// (status 70) instead of being trusted.
#ifndef VARNOCK_ENGINE_HECLIB_OPEN_FILES_H_
#define VARNOCK_ENGINE_HECLIB_OPEN_FILES_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "engine/container/record_file.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine {

// HECLIB's code for "file not opened / invalid IFLTAB".
inline constexpr int32_t kTableNotOpen = 70;

// Table words the engine uses (index 0 is word 1); ZCLOSE zeroes exactly these.
inline constexpr int kTableWordsUsed = 4;

// What ZOPEN knows of an open file beyond the file itself, and the table's status word.
struct OpenTable {
  std::unique_ptr<container::RecordFile> file;
  std::string name;          // the normalised name ZOPEN opened
  bool created = false;      // ZOPEN made the file
  bool exclusive = false;    // opened with EXCL or WLOC
  bool remote = false;       // on a network file system
  int32_t handle = 0;        // inquiry UNIT; set by AttachTable
  int32_t status_word = 0;   // inquiry STAT; CLEA stores any number here
  int32_t error_number = 0;  // inquiry ERRO
  FixedText<64> error_text;
};

// The open file of the table, or nullptr with *status = 70 when the table is not open or its
// words are damaged. *status is left alone on success; status may be null. No I/O is done:
// call Refresh() on the file to see writes made through other tables or processes. As in
// HECLIB, one table is used by one thread at a time.
container::RecordFile* FileOfTable(int32_t* ifltab, int32_t* status);

// The whole entry of an open table, or nullptr. Valid until the table is closed.
OpenTable* TableOf(int32_t* ifltab);

// Puts the open file into a free slot and marks the table (words 1..4). Returns false, with
// the file closed and the table left alone, when the engine already has too many files open.
bool AttachTable(int32_t* ifltab, OpenTable table);

// Closes the table's file and zeroes the words the engine uses. A table that is not open is
// left as it is, except that a damaged one loses its open mark.
void DetachTable(int32_t* ifltab);

// Number of tables open now (for tests and the closing summary).
int32_t OpenTableCount();

// HECLIB's fatal code for a file-layer status: the status itself from 10 up, else 0.
int32_t FatalCode(dss7::Status status);

// Records a fatal status (10 and above) in the table's status word and error message, as
// HECLIB does with ABOR off; other statuses and tables that are not open are ignored.
void NoteFileStatus(int32_t* ifltab, dss7::Status status);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_HECLIB_OPEN_FILES_H_
