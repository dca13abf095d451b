// Drives the write paths of both file versions with a byte string: each step takes an
// operation byte and its arguments (sizes, times, values, which of a few paths) from the input
// and stores a regular or irregular series, paired data or text, or deletes, undeletes or
// renames a record, on a fresh file held in memory. Afterwards every record must read and the
// integrity check must find nothing: a write the engine accepted may not leave a damaged file.
// Shared by the libFuzzer target and the test that replays fuzz/regressions/writes/.
#ifndef VARNOCK_FUZZ_WRITES_EXERCISE_H_
#define VARNOCK_FUZZ_WRITES_EXERCISE_H_

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "engine/container/record_reader.h"
#include "engine/dss6/dss6_file.h"
#include "engine/dss6/integrity.h"
#include "engine/dss6/store.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/memory_file_io.h"
#include "engine/records/paired/record_io.h"
#include "engine/records/series/record_codec.h"
#include "engine/records/series/series.h"

namespace varnock::engine::fuzzing {

// Reads the input front to back; past its end every read gives zeros.
class ByteCursor {
 public:
  ByteCursor(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool done() const { return at_ >= size_; }
  uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
  int32_t Int32() {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
      v |= static_cast<uint32_t>(Byte()) << (8 * i);
    return static_cast<int32_t>(v);
  }
  double Value() {
    switch (Byte() % 4) {
      case 0:
        return -901.0;
      case 1:
        return static_cast<double>(Int32()) / 16.0;
      default:
        return Byte();
    }
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

inline constexpr const char* kRegularPaths[] = {"/F/A/FLOW//1HOUR/S/", "/F/B/FLOW//1DAY/S/",
                                                "/F/C/FLOW//15MIN/S/", "/F/D/FLOW//1MON/S/"};
inline constexpr const char* kIrregularPaths[] = {"/F/E/STAGE//IR-DAY/S/",
                                                  "/F/F/STAGE//IR-YEAR/S/"};
inline constexpr const char* kOtherPaths[] = {"/F/G/STAGE-FLOW///S/", "/F/H/NOTE///S/",
                                              "/F/I/RENAMED///S/"};

// The fault the fuzzer reports: a write path left the file damaged or unreadable.
[[noreturn]] inline void WriteFinding(const std::string& what) {
  std::fprintf(stderr, "write-path finding: %s\n", what.c_str());
  std::abort();
}

struct WriteStep {
  int op = 0;
  std::string path;
  std::vector<double> values;
  std::vector<int64_t> minutes;  // from julian 0, non-decreasing
  int64_t start_minutes = 0;
  bool doubles = false;
  bool flag = false;
  std::string other_path;
};

inline WriteStep NextStep(ByteCursor& in) {
  WriteStep step;
  step.op = in.Byte() % 7;
  const uint8_t which = in.Byte();
  step.doubles = (which & 0x80) != 0;
  step.flag = (which & 0x40) != 0;
  const size_t count = in.Byte() % 40 + (step.flag ? 0 : 1);
  // Days from 1900 to about 2150, minutes within the day on a 5-minute grid.
  const int64_t day = 1 + static_cast<int64_t>(static_cast<uint32_t>(in.Int32()) % 91000);
  step.start_minutes = day * 1440 + (in.Byte() % 24) * 60 + (in.Byte() % 12) * 5;
  int64_t t = step.start_minutes;
  for (size_t i = 0; i < count; ++i) {
    step.values.push_back(in.Value());
    t += in.Byte() % 2 == 0 ? 0 : (in.Byte() % 200) * 5;
    step.minutes.push_back(t);
  }
  switch (step.op) {
    case 0:
      step.path = kRegularPaths[which % 4];
      break;
    case 1:
      step.path = kIrregularPaths[which % 2];
      break;
    default:
      step.path = kOtherPaths[which % 3];
      step.other_path = kOtherPaths[(which / 3) % 3];
      break;
  }
  return step;
}

inline void CheckReadable(container::RecordReader& reader, const char* version) {
  std::vector<container::CatalogItem> items;
  if (reader.file().Catalog(&items) != dss7::Status::kOk)
    WriteFinding(std::string(version) + ": catalog unreadable");
  for (const auto& item : items) {
    series::SeriesRead read;
    paired::PairedData pairs;
    paired::TextData text;
    const dss7::Status s[] = {reader.ReadSeriesBlock(item, &read), reader.ReadPaired(item, &pairs),
                              reader.ReadText(item, &text)};
    for (const dss7::Status status : s) {
      if (status == dss7::Status::kDamaged || status == dss7::Status::kPathMismatch)
        WriteFinding(std::string(version) + ": record " + item.listed_path + " reads as damaged");
    }
  }
}

inline paired::PairedData PairsOf(const WriteStep& step) {
  paired::PairedData pairs;
  pairs.doubles = step.doubles;
  pairs.curve_count = 1;
  for (size_t i = 0; i < step.values.size(); ++i)
    pairs.ordinates.push_back(static_cast<double>(i));
  pairs.values = step.values;
  pairs.units_independent = "FT";
  return pairs;
}

inline paired::TextData TextOf(const WriteStep& step) {
  paired::TextData text;
  for (const double v : step.values)
    text.text += static_cast<char>(static_cast<int>(v) & 0x7f);
  return text;
}

// The writes of one file version, named alike so that one loop drives both.
struct Dss7Writer {
  dss7::DssFile& file;
  void Regular(const WriteStep& step) {
    series::RegularStore request;
    request.path = step.path;
    request.values = step.values;
    request.doubles = step.doubles;
    request.start = step.start_minutes * 60;
    request.plan = step.flag ? series::kPlanKeepOnMissing : series::kPlanReplaceAll;
    (void)series::StoreRegular(file, request);
  }
  void Irregular(const WriteStep& step) {
    std::vector<series::Instant> instants;
    for (const int64_t m : step.minutes)
      instants.push_back(m * 60);
    series::IrregularStore request;
    request.path = step.path;
    request.values = step.values;
    request.times = instants;
    request.doubles = step.doubles;
    request.replace = step.flag;
    (void)series::StoreIrregular(file, request);
  }
  // Paired data and text read back exactly as written (floats rounded as the record keeps them).
  void Paired(const WriteStep& step) {
    const paired::PairedData written = PairsOf(step);
    if (paired::WritePairedData(file, step.path, written) != dss7::Status::kOk) return;
    paired::PairedData back;
    if (paired::ReadPairedData(file, step.path, &back) != dss7::Status::kOk)
      WriteFinding("DSS-7 paired data written but not readable: " + step.path);
    const auto kept = [&](double v) {
      return written.doubles ? v : static_cast<double>(series::ToFloat(v));
    };
    bool same = back.values.size() == written.values.size() &&
                back.ordinates.size() == written.ordinates.size();
    for (size_t i = 0; same && i < written.values.size(); ++i)
      same = (back.values[i] == kept(written.values[i]) ||
              (std::isnan(back.values[i]) && std::isnan(written.values[i])));
    if (!same) WriteFinding("DSS-7 paired data read back differ: " + step.path);
  }
  void Text(const WriteStep& step) {
    const paired::TextData written = TextOf(step);
    if (paired::WriteText(file, step.path, written) != dss7::Status::kOk) return;
    paired::TextData back;
    if (paired::ReadText(file, step.path, &back) != dss7::Status::kOk || back.text != written.text)
      WriteFinding("DSS-7 text read back differs: " + step.path);
  }
};

struct Dss6Writer {
  dss6::Dss6File& file;
  void Regular(const WriteStep& step) {
    dss6::RegularStore6 request;
    request.path = step.path;
    request.values = step.values;
    request.doubles = step.doubles;
    request.start = step.start_minutes;
    request.plan = step.flag ? series::kPlanKeepOnMissing : series::kPlanReplaceAll;
    (void)dss6::StoreRegular(file, request);
  }
  void Irregular(const WriteStep& step) {
    dss6::IrregularStore6 request;
    request.path = step.path;
    request.values = step.values;
    request.times = step.minutes;
    request.doubles = step.doubles;
    request.replace = step.flag;
    (void)dss6::StoreIrregular(file, request);
  }
  void Paired(const WriteStep& step) { (void)dss6::StorePaired(file, step.path, PairsOf(step)); }
  void Text(const WriteStep& step) { (void)dss6::StoreText(file, step.path, TextOf(step)); }
};

// Runs up to 32 steps, then checks the file: integrity, a clean close, and every record
// readable after opening it again.
template <typename Writer, typename File>
void RunSteps(const uint8_t* data, size_t size, const char* version, File& file,
              const std::shared_ptr<dss7::MemoryFileIO::Storage>& storage) {
  Writer writer{file};
  ByteCursor in(data, size);
  for (int steps = 0; steps < 32 && !in.done(); ++steps) {
    const WriteStep step = NextStep(in);
    switch (step.op) {
      case 0:
        writer.Regular(step);
        break;
      case 1:
        writer.Irregular(step);
        break;
      case 2:
        writer.Paired(step);
        break;
      case 3:
        writer.Text(step);
        break;
      case 4:
        (void)file.Delete(step.path);
        break;
      case 5:
        (void)file.Undelete(step.path);
        break;
      default:
        (void)file.Rename(step.path, step.other_path);
        break;
    }
  }
  dss7::IntegrityReport report;
  dss7::Status checked;
  if constexpr (std::is_same_v<File, dss7::DssFile>)
    checked = dss7::CheckIntegrity(file, &report);
  else
    checked = dss6::CheckIntegrity(file, &report);
  if (checked != dss7::Status::kOk || !report.ok())
    WriteFinding(std::string(version) + " integrity: " + report.Summary());
  if (file.Close() != dss7::Status::kOk) WriteFinding(std::string(version) + " close failed");
  std::unique_ptr<container::RecordReader> reader;
  if (container::OpenRecordReaderIO(std::make_unique<dss7::MemoryFileIO>(storage), &reader) !=
      dss7::Status::kOk)
    WriteFinding(std::string(version) + " file does not open again");
  CheckReadable(*reader, version);
}

inline void ExerciseDss7Writes(const uint8_t* data, size_t size) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  storage->max_bytes = int64_t{64} << 20;
  std::unique_ptr<dss7::DssFile> file;
  if (dss7::DssFile::CreateIO(std::make_unique<dss7::MemoryFileIO>(storage), {}, {}, &file) ==
      dss7::Status::kOk)
    RunSteps<Dss7Writer>(data, size, "DSS-7", *file, storage);
}

inline void ExerciseDss6Writes(const uint8_t* data, size_t size) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  storage->max_bytes = int64_t{64} << 20;
  std::unique_ptr<dss6::Dss6File> file;
  if (dss6::Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(storage), 2, {}, &file) ==
      dss7::Status::kOk)
    RunSteps<Dss6Writer>(data, size, "DSS-6", *file, storage);
}

inline void ExerciseWrites(const uint8_t* data, size_t size) {
  ExerciseDss7Writes(data, size);
  ExerciseDss6Writes(data, size);
}

}  // namespace varnock::engine::fuzzing

#endif  // VARNOCK_FUZZ_WRITES_EXERCISE_H_
