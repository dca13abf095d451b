// The areas of one record as the codecs produce them, ready for the file layer.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_ENCODED_RECORD_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_ENCODED_RECORD_H_

#include <array>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <vector>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::paired {

struct EncodedRecord {
  int32_t type = 0;
  std::array<std::vector<int32_t>, dss7::kAreaCount> areas;
  int64_t data_count = 0;

  // Spans into `areas`, valid while this object is unchanged. The file layer sizes the
  // allocation as HEC does; the first and last data dates stay 0 (HEC leaves stale dates in
  // these records, and no reader uses them).
  dss7::RecordData View() const {
    dss7::RecordData d;
    d.type = type;
    for (int a = 0; a < dss7::kAreaCount; ++a)
      d.areas[a] = areas[a];
    d.data_count = data_count;
    d.logical_count = data_count;
    return d;
  }
};

// Runs f, turning a failed allocation into kNoMemory: engine calls never throw.
template <typename F>
dss7::Status NoThrow(F f) {
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return dss7::Status::kNoMemory;
  } catch (const std::length_error&) {
    return dss7::Status::kNoMemory;
  }
}

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_ENCODED_RECORD_H_
