// Pieces shared by the series classes: error constants, slot indexing, interval words and the
// names of the interfaces a script may ask for.
#ifndef VARNOCK_SERIES_SERIES_COMMON_H_
#define VARNOCK_SERIES_SERIES_COMMON_H_

#include <cstdint>
#include <memory>
#include <string>

#include "varnock/date.h"
#include "varnock/error.h"

namespace varnock {
class DSSDatabase;
class Pathname;
}  // namespace varnock

namespace varnock::series {

// Code of "the object is not set up for the call" (0x80044001 with the object-error base).
inline constexpr int32_t kNotSetUp = 16385;
inline constexpr int32_t kBadPathnameHelpContext = 516;
inline constexpr int32_t kDateErrorHelpContext = 517;
inline constexpr int32_t kCountHelpContext = 520;
inline constexpr int32_t kArgumentHelpContext = 521;

std::string UpperCase(std::string text);

constexpr int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

// The array slot of a zero-based public index: slot index + 1. Raises the host's "Subscript
// out of range" when the slot is outside the array.
size_t Slot(int32_t index, size_t slot_count);

// The host's interval words of date arithmetic ("yyyy", "q", "m", "y", "d", "w", "ww", "h",
// "n", "s"); raises the host's error 5 for any other word.
DateUnit DateUnitOfWord(const std::string& word);

enum class InterfaceName { kNone, kTimeSeriesDirect, kHtslStream, kDssRecord, kRtsTransform };
// Which interface a script names (case and surrounding blanks ignored).
InterfaceName InterfaceOfName(const std::string& name);

// The database a record operation was given; raises the host's error 91 for none.
DSSDatabase& RequireDatabase(const std::shared_ptr<DSSDatabase>& database);

// 0x80044001 for a member that this class refuses: "<member> is not supported by <source>",
// and the hint after a semicolon when there is one.
AutomationError NotSupported(const std::string& source, const std::string& member,
                             const std::string& hint = "");

// The text of a retrieval that found no data while MissingIsError is set.
std::string NoDataText(const Pathname& pathname);

}  // namespace varnock::series

#endif  // VARNOCK_SERIES_SERIES_COMMON_H_
