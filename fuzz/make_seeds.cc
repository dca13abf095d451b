// Writes small inputs to seed the fuzz targets: make_seeds DIR fills DIR/dss7 and DIR/dss6 with
// small files of either version, DIR/codecs with one record image of each kind both versions
// write, and DIR/writes with a few operation strings.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/dss6/dss6_file.h"
#include "engine/dss6/store.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/memory_file_io.h"
#include "engine/records/paired/record_io.h"
#include "engine/records/series/series.h"
#include "fuzz/record_image.h"
#include "fuzz/writes_exercise.h"

using namespace varnock::engine;
using varnock::engine::dss7::MemoryFileIO;
using varnock::engine::dss7::Status;

namespace {

void WriteBytes(const std::filesystem::path& name, const void* data, size_t size) {
  std::ofstream out(name, std::ios::binary);
  out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
}

void WriteStorage(const std::filesystem::path& name, const MemoryFileIO::Storage& storage) {
  WriteBytes(name, storage.bytes.data(), storage.bytes.size());
}

// One record of each kind, the same in both versions, written through the write-path
// target's writers.
std::vector<fuzzing::WriteStep> KindSteps() {
  const std::vector<double> values = {1.5, -901, 3.25, 4, 5, 6, 7, 8};
  constexpr int64_t kDay = 44000 * 1440;  // June 2020
  const std::vector<int64_t> minutes = {
      kDay,        kDay + 15,        kDay + 1440,      kDay + 2880,
      kDay + 4320, kDay + 10 * 1440, kDay + 11 * 1440, kDay + 12 * 1440};
  std::vector<fuzzing::WriteStep> steps;
  const struct {
    int op;
    const char* path;
    bool doubles;
  } kinds[] = {
      {0, "/S/R/FLOW/01JAN2020/1HOUR/F/", false},     {0, "/S/D/FLOW/01JAN2020/1DAY/F/", true},
      {1, "/S/I/STAGE/01JAN2020/IR-MONTH/F/", false}, {2, "/S/P/STAGE-FLOW///F/", false},
      {2, "/S/Q/STAGE-FLOW///DOUBLE/", true},         {3, "/S/T/NOTE///F/", false}};
  for (const auto& kind : kinds) {
    fuzzing::WriteStep step;
    step.op = kind.op;
    step.path = kind.path;
    step.doubles = kind.doubles;
    step.values = values;
    step.minutes = minutes;
    step.start_minutes = minutes[0] + 60;
    steps.push_back(step);
  }
  return steps;
}

template <typename Writer, typename File>
void WriteKinds(File& file) {
  Writer writer{file};
  for (const fuzzing::WriteStep& step : KindSteps()) {
    if (step.op == 0) writer.Regular(step);
    if (step.op == 1) writer.Irregular(step);
    if (step.op == 2) writer.Paired(step);
    if (step.op == 3) writer.Text(step);
  }
}

// The kinds in a DSS-7 file, with a text table besides; their images become codec seeds.
void Dss7Seeds(const std::filesystem::path& dir) {
  auto storage = MemoryFileIO::NewStorage();
  std::unique_ptr<dss7::DssFile> file;
  if (dss7::DssFile::CreateIO(std::make_unique<MemoryFileIO>(storage), {}, {}, &file) !=
      Status::kOk)
    return;
  WriteKinds<fuzzing::Dss7Writer>(*file);
  paired::TextData table;
  table.rows = 2;
  table.columns = 2;
  table.cells = {"a", "b", "c", "d"};
  table.column_labels = {"X", "Y"};
  (void)paired::WriteText(*file, "/S/U/TABLE///F/", table);
  std::vector<dss7::CatalogEntry> entries;
  (void)file->Catalog(&entries);
  int n = 0;
  for (const auto& entry : entries) {
    dss7::Record record;
    if (file->ReadRecord(entry.path, &record) != Status::kOk) continue;
    const auto image =
        fuzzing::SerializeRecordImage(fuzzing::ImageOfDss7Record(record, file->version().full));
    WriteBytes(dir / "codecs" / ("dss7_" + std::to_string(n++)), image.data(), image.size());
  }
  const int32_t version = file->version().full;
  (void)file->Close();
  WriteStorage(dir / "dss7" / "kinds.dss", *storage);
  // A location record (no writer makes one): x, y, z as doubles, six codes, a time zone.
  fuzzing::RecordImage location;
  location.header[0] = 20;
  location.header[5] = version;
  location.path = "/S/L/Location Info////";
  location.areas[dss7::kValues1] = std::vector<int32_t>(16, 0);
  location.areas[dss7::kValues2] = {0x65746f6e, 0};  // "note"
  const auto image = fuzzing::SerializeRecordImage(location);
  WriteBytes(dir / "codecs" / "dss7_location", image.data(), image.size());
}

// The kinds in a DSS-6 file.
void Dss6Seeds(const std::filesystem::path& dir) {
  auto storage = MemoryFileIO::NewStorage();
  std::unique_ptr<dss6::Dss6File> file;
  if (dss6::Dss6File::CreateIO(std::make_unique<MemoryFileIO>(storage), 2, {}, &file) !=
      Status::kOk)
    return;
  WriteKinds<fuzzing::Dss6Writer>(*file);
  std::vector<container::CatalogItem> items;
  (void)file->Catalog(&items);
  int n = 0;
  for (const auto& item : items) {
    container::RecordAreas record;
    if (file->ReadRecord(item.path, &record) != Status::kOk) continue;
    const auto image = fuzzing::SerializeRecordImage(fuzzing::ImageOfDss6Record(record));
    WriteBytes(dir / "codecs" / ("dss6_" + std::to_string(n++)), image.data(), image.size());
  }
  (void)file->Close();
  WriteStorage(dir / "dss6" / "kinds.dss", *storage);
}

// Files of several table sizes with rewritten and deleted records.
void Dss7Variants(const std::filesystem::path& dir) {
  for (int variant = 0; variant < 4; ++variant) {
    auto storage = MemoryFileIO::NewStorage();
    dss7::CreateOptions create;
    create.hash_table_size = 2 + variant * 3;
    create.bin_size = 30;
    std::unique_ptr<dss7::DssFile> file;
    if (dss7::DssFile::CreateIO(std::make_unique<MemoryFileIO>(storage), create, {}, &file) !=
        Status::kOk)
      return;
    for (int i = 0; i < 3 + variant * 4; ++i) {
      const std::vector<int32_t> values(static_cast<size_t>(5 + i * variant), i);
      dss7::RecordData d;
      d.type = i % 2 == 0 ? 300 : 200;
      d.areas[dss7::kValues1] = values;
      const std::string path =
          "/S/P" + std::to_string(i) + "/X///V" + std::to_string(variant) + "/";
      (void)file->Store(path, d);
      if (i % 3 == 1) (void)file->Store(path, d);
      if (i % 4 == 2) (void)file->Delete(path);
    }
    (void)file->Close();
    WriteStorage(dir / "dss7" / ("seed" + std::to_string(variant) + ".dss"), *storage);
  }
}

// Operation strings for the write-path target: each step is an operation byte, a selector,
// a count, a day (4 bytes), an hour and a minute, then per value a kind byte, a value byte
// and a time step (odd: the next byte times 5 minutes).
void WriteSeeds(const std::filesystem::path& dir) {
  for (int op = 0; op < 7; ++op) {
    std::vector<uint8_t> steps;
    for (int repeat = 0; repeat < 3; ++repeat) {
      steps.insert(steps.end(), {static_cast<uint8_t>(op), static_cast<uint8_t>(repeat * 0x41), 6,
                                 0x10, 0x5b, 0, 0, 3, 2});
      for (int i = 0; i < 6; ++i)
        steps.insert(steps.end(), {2, static_cast<uint8_t>(10 + i), 1, 3});
    }
    WriteBytes(dir / "writes" / ("op" + std::to_string(op)), steps.data(), steps.size());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds DIR\n");
    return 2;
  }
  const std::filesystem::path dir = argv[1];
  for (const char* sub : {"dss7", "dss6", "codecs", "writes"})
    std::filesystem::create_directories(dir / sub);
  Dss7Variants(dir);
  Dss7Seeds(dir);
  Dss6Seeds(dir);
  WriteSeeds(dir);
  return 0;
}
