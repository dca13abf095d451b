#include "automation/host_memory.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

namespace varnock {

namespace {

uint64_t UsableBytes() {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long page_size = sysconf(_SC_PAGESIZE);
  uint64_t limit = UINT64_MAX;
  if (pages > 0 && page_size > 0)
    limit = static_cast<uint64_t>(pages) * static_cast<uint64_t>(page_size);
  rlimit address_space{};
  if (getrlimit(RLIMIT_AS, &address_space) == 0 && address_space.rlim_cur != RLIM_INFINITY)
    limit = std::min<uint64_t>(limit, address_space.rlim_cur);
  return limit;
}

}  // namespace

void RequireHostMemory(uint64_t count, size_t element_bytes) {
  if (element_bytes == 0) return;
  if (count > UsableBytes() / element_bytes) RaiseHostError(hostOutOfMemory);
}

}  // namespace varnock
