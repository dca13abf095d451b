// Arrays whose size comes from the host's input (a ValueCount, array bounds): what this machine
// cannot hold raises the host's "Out of memory" (7), never lets std::bad_alloc escape, and is
// refused before the allocation, because Linux may grant a huge allocation and only fail, or
// call in the out-of-memory killer, when the zeroed pages are touched.
#ifndef VARNOCK_AUTOMATION_HOST_MEMORY_H_
#define VARNOCK_AUTOMATION_HOST_MEMORY_H_

#include <cstddef>
#include <cstdint>
#include <new>

#include "varnock/error.h"

namespace varnock {

// Raises "Out of memory" when `count` elements of `element_bytes` each need more than the
// machine's physical memory (or the process's address-space limit). No product overflows.
VARNOCK_API void RequireHostMemory(uint64_t count, size_t element_bytes);

// RequireHostMemory, then runs `allocate`; a std::bad_alloc from it raises "Out of memory".
template <typename Allocate>
void AllocateForHost(uint64_t count, size_t element_bytes, Allocate&& allocate) {
  RequireHostMemory(count, element_bytes);
  try {
    allocate();
  } catch (const std::bad_alloc&) {
    RaiseHostError(hostOutOfMemory);
  }
}

}  // namespace varnock

#endif  // VARNOCK_AUTOMATION_HOST_MEMORY_H_
