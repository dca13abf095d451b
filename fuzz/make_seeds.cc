// Writes small DSS-7 files to seed the fuzzer: make_seeds DIR.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/dss7/memory_file_io.h"

using namespace varnock::engine::dss7;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (int variant = 0; variant < 4; ++variant) {
    auto storage = MemoryFileIO::NewStorage();
    CreateOptions create;
    create.hash_table_size = 2 + variant * 3;
    create.bin_size = 30;
    std::unique_ptr<DssFile> file;
    if (DssFile::CreateIO(std::make_unique<MemoryFileIO>(storage), create, {}, &file) !=
        Status::kOk) {
      return 1;
    }
    for (int i = 0; i < 3 + variant * 4; ++i) {
      const std::vector<int32_t> values(static_cast<size_t>(5 + i * variant), i);
      RecordData d;
      d.type = i % 2 == 0 ? 300 : 200;
      d.areas[kValues1] = values;
      const std::string path =
          "/S/P" + std::to_string(i) + "/X///V" + std::to_string(variant) + "/";
      (void)file->Store(path, d);
      if (i % 3 == 1) (void)file->Store(path, d);
      if (i % 4 == 2) (void)file->Delete(path);
    }
    (void)file->Close();
    std::ofstream out(std::string(argv[1]) + "/seed" + std::to_string(variant) + ".dss",
                      std::ios::binary);
    out.write(reinterpret_cast<const char*>(storage->bytes.data()),
              static_cast<std::streamsize>(storage->bytes.size()));
  }
  return 0;
}
