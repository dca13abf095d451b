// Pieces shared by the DssFile implementation files; not part of the file layer's API.
#ifndef VARNOCK_ENGINE_DSS7_DSS_FILE_INTERNAL_H_
#define VARNOCK_ENGINE_DSS7_DSS_FILE_INTERNAL_H_

#include <new>
#include <stdexcept>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::dss7 {

// Result of walking one path's hash chain.
struct DssFile::Probe {
  int64_t bin_hash = 0;
  int32_t table_hash = 0;
  int64_t chain_head = 0;      // hash-table entry (0: no chain yet)
  int64_t last_bin = 0;        // last bin of the chain
  int64_t entries_passed = 0;  // entries looked at before the match
  bool collision = false;      // another path with the same hash and length was met
  bool found = false;
  int64_t entry_bin = 0;
  int64_t entry_offset = 0;
  BinEntry entry;
  InfoBlock info;  // of a live or deleted match
};

// Runs an operation, turning allocation failures into a status.
template <typename F>
Status NoThrow(F&& f) {
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return Status::kNoMemory;
  } catch (const std::length_error&) {
    return Status::kNoMemory;
  }
}

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_DSS_FILE_INTERNAL_H_
