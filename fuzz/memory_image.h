// What the file-image fuzz targets share: the image held in memory, with a cap on how far
// writes may grow it, and a read of everything through the version-neutral reader.
#ifndef VARNOCK_FUZZ_MEMORY_IMAGE_H_
#define VARNOCK_FUZZ_MEMORY_IMAGE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "engine/container/record_reader.h"
#include "engine/dss7/memory_file_io.h"

namespace varnock::engine::fuzzing {

inline std::shared_ptr<dss7::MemoryFileIO::Storage> StorageOf(const uint8_t* data, size_t size) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  storage->bytes.resize(size);
  for (size_t i = 0; i < size; ++i)
    storage->bytes[i] = static_cast<std::byte>(data[i]);
  storage->max_bytes = int64_t{64} << 20;  // writes may not grow the image without bound
  return storage;
}

// Reads every record (the first 64) through the version-neutral reader, and the dump.
inline void ReadEverything(container::RecordReader& reader) {
  std::vector<container::CatalogItem> items;
  if (reader.file().Catalog(&items) != dss7::Status::kOk) return;
  for (size_t i = 0; i < items.size() && i < 64; ++i) {
    series::SeriesRead read;
    (void)reader.ReadSeriesBlock(items[i], &read);
    paired::PairedData pairs;
    (void)reader.ReadPaired(items[i], &pairs);
    paired::TextData text;
    (void)reader.ReadText(items[i], &text);
  }
  container::DumpCounts counts;
  (void)container::StreamDump(
      reader, {}, [](std::string_view) { return true; }, &counts);
}

}  // namespace varnock::engine::fuzzing

#endif  // VARNOCK_FUZZ_MEMORY_IMAGE_H_
