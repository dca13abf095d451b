// What the record layer needs from a DSS file, whatever its version: the catalog, lookup of a
// record's info, and its data areas as int32 buffers. Each version's container implements it;
// word size, address base, pathname case and the index structures stay inside the container.
//
// Areas are named as DSS-7 names them. A DSS-6 record has four: its internal header
// (kInternalHeader), compression header (kHeader2), user header (kUserHeader) and data
// (kValues1); kValues2 and kValues3 stay empty.
#ifndef VARNOCK_ENGINE_CONTAINER_CONTAINER_H_
#define VARNOCK_ENGINE_CONTAINER_CONTAINER_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/dss7/layout.h"
#include "engine/dss7/status.h"

namespace varnock::engine::container {

using Status = dss7::Status;
using dss7::Area;
inline constexpr int kAreaCount = dss7::kAreaCount;

// One live record as the catalog lists it.
struct CatalogItem {
  std::string path;         // as stored (the key for Lookup and ReadRecord)
  std::string listed_path;  // as HEC's catalog shows it (DSS-6: "~" E parts of pseudo-regular)
  int32_t type = 0;
  int64_t info_address = 0;
  std::string tag;  // DSS-6 keeps one per record; empty in DSS-7
  // The data's first and last julian days and the last write, as DSS-7 bins keep them; 0 in
  // DSS-6, which does not.
  int32_t first_julian = 0;
  int32_t last_julian = 0;
  int64_t last_write_ms = 0;
};

// The version-neutral part of a record's info block.
struct RecordInfo {
  std::string path;
  int64_t address = 0;
  int32_t type = 0;
  int32_t version = 0;
  int64_t logical_count = 0;
  int32_t compression = 0;  // DSS-6 compression scheme; 0 = none
  bool quality = false;     // DSS-6 quality flag
  int32_t precision = -1;
  int32_t pseudo_interval = 0;                    // DSS-6: minutes of a "~" E part, else 0
  std::array<int64_t, kAreaCount> area_length{};  // int32s
  std::string program;                            // the program that last wrote it
  int64_t last_write_ms = 0;                      // since 1970; 0 when unknown
};

struct RecordAreas {
  RecordInfo info;
  std::array<std::vector<int32_t>, kAreaCount> areas;
};

// What `varnock info` shows of a file, as its version keeps it.
// Bytes of `words` words, saturated: header words of a damaged file may hold anything.
inline int64_t SaturatedBytes(int64_t words, int64_t word_bytes) {
  int64_t bytes = 0;
  if (__builtin_mul_overflow(words, word_bytes, &bytes)) return words < 0 ? INT64_MIN : INT64_MAX;
  return bytes;
}

// `part` as a whole percentage of `whole`, within 0..100 whatever the two hold.
inline int64_t BoundedPercent(int64_t part, int64_t whole) {
  if (whole <= 0 || part <= 0) return 0;
  if (part >= whole) return 100;
  return static_cast<int64_t>(static_cast<long double>(part) * 100.0L / whole);
}

struct FileFacts {
  int64_t records = 0;
  int64_t deleted = -1;  // -1 where the version does not count deleted records
  int64_t size_bytes = 0;
  int64_t dead_bytes = 0;
  std::string created;       // the version's own text or an ISO time; empty when unknown
  std::string last_written;  // likewise
};

class Container {
 public:
  virtual ~Container() = default;
  virtual int MajorVersion() const = 0;
  virtual std::string VersionText() const = 0;
  virtual FileFacts Facts() const = 0;
  // Live records in the order the file's bins list them.
  virtual Status Catalog(std::vector<CatalogItem>* out) = 0;
  // Live records in HEC's sorted-catalog order.
  virtual Status SortedCatalog(std::vector<CatalogItem>* out) = 0;
  // Deleted records that can still be restored, in file order.
  virtual Status DeletedCatalog(std::vector<CatalogItem>* out) = 0;
  // kOk, kNotFound, or a damage / I/O status.
  virtual Status Lookup(std::string_view path, RecordInfo* out) = 0;
  virtual Status ReadRecord(std::string_view path, RecordAreas* out) = 0;
  // Writes: kReadOnly on a file opened for reading; kNotFound when no live record has the path.
  virtual bool read_only() const = 0;
  virtual Status Delete(std::string_view path) = 0;
  // kExists when a live record has taken the name.
  virtual Status Undelete(std::string_view path) = 0;
  // A live record under the new name is replaced.
  virtual Status Rename(std::string_view old_path, std::string_view new_path) = 0;
  // Finishes the writes and closes the file; later calls fail.
  virtual Status Close() = 0;
};

}  // namespace varnock::engine::container

#endif  // VARNOCK_ENGINE_CONTAINER_CONTAINER_H_
