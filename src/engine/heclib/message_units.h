// Fortran-style units 1..199 connected to files (FORTRANOPEN, FORTRANCLOSE), and HECLIB's
// message output, which goes to whichever file the message unit (option MUNI) is connected to.
#ifndef VARNOCK_ENGINE_HECLIB_MESSAGE_UNITS_H_
#define VARNOCK_ENGINE_HECLIB_MESSAGE_UNITS_H_

#include <cstdint>
#include <string_view>

namespace varnock::engine {

inline constexpr int32_t kMinUnit = 1;
inline constexpr int32_t kMaxUnit = 199;

// FORTRANOPEN: connects unit to the file name (trailing blanks ignored), creating it if
// missing. An existing file keeps its content until the first line is written to the unit;
// from then on the file holds only what the unit wrote. The file is write-locked for as long
// as the unit is connected, so no two units or processes share it. A unit already connected to
// another file is switched over only once the new file is open and locked.
// Returns 0, or an errno value (EAGAIN/EACCES when the file is locked elsewhere, EINVAL for a
// unit outside 1..199 or a name holding a NUL, ENOENT for a blank name) with the unit as it was.
int32_t OpenUnit(int32_t unit, std::string_view name);

// FORTRANCLOSE: 0, also for a unit that is not connected; EINVAL for a unit outside 1..199.
int32_t CloseUnit(int32_t unit);

bool UnitConnected(int32_t unit);

// Writes one line (a newline is added) to the unit. Returns 0, EBADF when the unit is not
// connected, or the errno of a failed write.
int32_t WriteUnitLine(int32_t unit, std::string_view line);
// Writes text as it is (lines already ended by newlines), as WriteUnitLine does each line.
int32_t WriteUnitText(int32_t unit, std::string_view text);

// closedssoutput: closes the message unit's file. Messages are dropped until it is connected
// again.
void CloseMessageOutput();

// True when a message of this level passes the message level (MLEV): 1 errors, 2 warnings,
// 3 write notices, 4 read notices, 5 and above debugging.
bool MessageWanted(int32_t level);

// Writes text as one line to the message unit if the level passes; dropped when the unit is
// not connected.
void EmitMessage(int32_t level, std::string_view text);

// The error line of a write refused because the file is open for read access only (the
// routine's status alone does not say why).
void EmitReadOnlyWrite(std::string_view routine, std::string_view path);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_HECLIB_MESSAGE_UNITS_H_
