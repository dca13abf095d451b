// CreateObject: creates a creatable class by its registered name ("Varnock23.DSSDatabase"),
// as an automation host does with a ProgID.
#ifndef VARNOCK_CREATE_OBJECT_H_
#define VARNOCK_CREATE_OBJECT_H_

#include <memory>
#include <string_view>

#include "varnock/object.h"

namespace varnock {

// The host's error when no class is registered under a name.
inline constexpr int32_t hostCannotCreateObject = 429;

// A new object of the class registered as `prog_id` (compared regardless of case, blanks
// around it ignored): DSSDatabase, Pathname, RegularTimeSeries, IrregTimeSeries, PairedData
// and GriddedData under the prefix "Varnock23.". Raises 429 "ActiveX component can't create
// object" for any other name.
VARNOCK_API std::shared_ptr<Object> CreateObject(std::string_view prog_id);

}  // namespace varnock

#endif  // VARNOCK_CREATE_OBJECT_H_
