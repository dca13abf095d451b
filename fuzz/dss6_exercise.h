// Runs the DSS-6 container over one file image held in memory: the catalogs, every record
// through the version-neutral reader, the dump, the integrity check, and the DSS-6 write paths
// (series, paired data, text, delete, undelete, rename). Shared by the libFuzzer target and the
// test that replays fuzz/regressions/dss6/.
#ifndef VARNOCK_FUZZ_DSS6_EXERCISE_H_
#define VARNOCK_FUZZ_DSS6_EXERCISE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/container/record_reader.h"
#include "engine/dss6/dss6_file.h"
#include "engine/dss6/integrity.h"
#include "engine/dss6/reader.h"
#include "engine/dss6/store.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/memory_file_io.h"
#include "fuzz/memory_image.h"

namespace varnock::engine::fuzzing {

inline void WriteEverything6(dss6::Dss6File& file) {
  const std::vector<double> values = {1, 2, -901, 4, 5, 6};
  dss6::RegularStore6 regular;
  regular.path = "/FUZZ/REG/FLOW//1HOUR/F/";
  regular.values = values;
  regular.start = int64_t{44000} * 1440 + 60;
  (void)dss6::StoreRegular(file, regular);
  const std::vector<dss6::Minutes> times = {int64_t{44000} * 1440, int64_t{44000} * 1440 + 7,
                                            int64_t{44001} * 1440, int64_t{44031} * 1440,
                                            int64_t{44400} * 1440, int64_t{44401} * 1440};
  dss6::IrregularStore6 irregular;
  irregular.path = "/FUZZ/IRR/STAGE//IR-MONTH/F/";
  irregular.values = values;
  irregular.times = times;
  (void)dss6::StoreIrregular(file, irregular);
  paired::PairedData pairs;
  pairs.curve_count = 1;
  pairs.ordinates = {1, 2, 3};
  pairs.values = {4, 5, 6};
  (void)dss6::StorePaired(file, "/FUZZ/PD/STAGE-FLOW///F/", pairs);
  paired::TextData text;
  text.text = "fuzz";
  (void)dss6::StoreText(file, "/FUZZ/TXT/NOTE///F/", text);
  (void)file.Delete("/FUZZ/TXT/NOTE///F/");
  (void)file.Undelete("/FUZZ/TXT/NOTE///F/");
  (void)file.Rename("/FUZZ/PD/STAGE-FLOW///F/", "/FUZZ/PD/STAGE-FLOW///RENAMED/");
}

inline void ExerciseDss6Image(const uint8_t* data, size_t size) {
  auto storage = StorageOf(data, size);
  // A lock word the image holds may not make the run wait.
  dss6::Options6 options;
  options.lock_attempts = 1;
  options.lock_wait_ms = 0;
  options.read_only = true;
  {
    std::unique_ptr<dss6::Dss6File> file;
    if (dss6::Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(storage), options, &file) ==
        dss7::Status::kOk) {
      ReadEverything(*dss6::MakeRecordFile(std::move(file)));
    }
  }
  options.read_only = false;
  std::unique_ptr<dss6::Dss6File> file;
  if (dss6::Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(storage), options, &file) !=
      dss7::Status::kOk) {
    return;
  }
  dss7::IntegrityReport report;
  (void)dss6::CheckIntegrity(*file, &report);
  WriteEverything6(*file);
  (void)dss6::CheckIntegrity(*file, &report);
  (void)file->Close();
}

}  // namespace varnock::engine::fuzzing

#endif  // VARNOCK_FUZZ_DSS6_EXERCISE_H_
