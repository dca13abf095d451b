// Runs every reader and writer of the DSS-7 container over one file image held in memory.
// Shared by the libFuzzer target and the test that replays the inputs kept in
// fuzz/regressions/: whatever the bytes, every call must return a status, without a crash, a
// hang or a runaway allocation.
#ifndef VARNOCK_FUZZ_DSS7_EXERCISE_H_
#define VARNOCK_FUZZ_DSS7_EXERCISE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/memory_file_io.h"

namespace varnock::engine::dss7::fuzzing {

inline void ExerciseImage(const uint8_t* data, size_t size) {
  auto storage = MemoryFileIO::NewStorage();
  storage->bytes.resize(size);
  for (size_t i = 0; i < size; ++i)
    storage->bytes[i] = static_cast<std::byte>(data[i]);
  storage->max_bytes = int64_t{64} << 20;  // writes may not grow the image without bound
  FileOptions options;
  options.lock_attempts = 1;
  std::unique_ptr<DssFile> file;
  if (DssFile::OpenIO(std::make_unique<MemoryFileIO>(storage), options, &file) != Status::kOk) {
    return;
  }
  std::vector<CatalogEntry> catalog, sorted;
  (void)file->Catalog(&catalog);
  (void)file->SortedCatalog(&sorted);
  for (size_t i = 0; i < catalog.size() && i < 64; ++i) {
    Record r;
    (void)file->ReadRecord(catalog[i].path, &r);
  }
  IntegrityReport report;
  (void)CheckIntegrity(*file, &report);
  const std::vector<int32_t> values(300, 7);
  RecordData d;
  d.type = 300;
  d.areas[kValues1] = values;
  const std::string first = catalog.empty() ? "/FUZZ/NONE/X///Y/" : catalog[0].path;
  (void)file->WriteNewRecord("/FUZZ/NEW/X///Y/", d);
  (void)file->Store(first, d);
  (void)file->Rename(first, "/FUZZ/RENAMED/X///A-LONGER-F-PART/");
  (void)file->Delete("/FUZZ/NEW/X///Y/");
  (void)file->Undelete("/FUZZ/NEW/X///Y/");
  (void)file->Copy("/FUZZ/NEW/X///Y/", *file, "/FUZZ/COPY/X///Y/");
  (void)CheckIntegrity(*file, &report);
}

}  // namespace varnock::engine::dss7::fuzzing

#endif  // VARNOCK_FUZZ_DSS7_EXERCISE_H_
