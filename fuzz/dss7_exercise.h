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

#include "engine/container/record_file.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/memory_file_io.h"
#include "fuzz/memory_image.h"

namespace varnock::engine::fuzzing {

inline void ExerciseImage(const uint8_t* data, size_t size) {
  auto storage = StorageOf(data, size);
  // A lock word the image holds may not make the run wait.
  dss7::FileOptions options;
  options.lock_attempts = 1;
  options.lock_wait_ms = 0;
  options.read_only = true;
  {
    std::unique_ptr<dss7::DssFile> file;
    if (dss7::DssFile::OpenIO(std::make_unique<dss7::MemoryFileIO>(storage), options, &file) ==
        dss7::Status::kOk)
      ReadEverything(*container::MakeDss7RecordFile(std::move(file)));
  }
  options.read_only = false;
  std::unique_ptr<dss7::DssFile> file;
  if (dss7::DssFile::OpenIO(std::make_unique<dss7::MemoryFileIO>(storage), options, &file) !=
      dss7::Status::kOk) {
    return;
  }
  std::vector<dss7::CatalogEntry> catalog, sorted;
  (void)file->Catalog(&catalog);
  (void)file->SortedCatalog(&sorted);
  for (size_t i = 0; i < catalog.size() && i < 64; ++i) {
    dss7::Record r;
    (void)file->ReadRecord(catalog[i].path, &r);
  }
  dss7::IntegrityReport report;
  (void)dss7::CheckIntegrity(*file, &report);
  const std::vector<int32_t> values(300, 7);
  dss7::RecordData d;
  d.type = 300;
  d.areas[dss7::kValues1] = values;
  const std::string first = catalog.empty() ? "/FUZZ/NONE/X///Y/" : catalog[0].path;
  (void)file->WriteNewRecord("/FUZZ/NEW/X///Y/", d);
  (void)file->Store(first, d);
  (void)file->Rename(first, "/FUZZ/RENAMED/X///A-LONGER-F-PART/");
  (void)file->Delete("/FUZZ/NEW/X///Y/");
  (void)file->Undelete("/FUZZ/NEW/X///Y/");
  (void)file->Copy("/FUZZ/NEW/X///Y/", *file, "/FUZZ/COPY/X///Y/");
  (void)dss7::CheckIntegrity(*file, &report);
}

}  // namespace varnock::engine::fuzzing

#endif  // VARNOCK_FUZZ_DSS7_EXERCISE_H_
