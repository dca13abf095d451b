// Store and retrieve N hourly series of M values through the engine's C++ API and through
// RegularTimeSeries, catalogue the file, and compare each with a raw baseline that writes and
// reads the same number of value bytes with plain file calls. Each case reports values per
// second and `x_raw`, its time per iteration divided by the raw baseline's.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/series/series.h"
#include "varnock/varnock.h"

namespace {

namespace dss7 = varnock::engine::dss7;
namespace series = varnock::engine::series;

struct Shape {
  int64_t series_count;
  int64_t values_per_series;
};
// Index 0: 200 series of a year of hours; index 1: 2000 series of a month of hours.
constexpr Shape kShapes[] = {{200, 8760}, {2000, 744}};

std::filesystem::path BenchFolder() {
  auto folder =
      std::filesystem::temp_directory_path() / ("varnock_bench_" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  return folder;
}

std::string SeriesPath(int64_t i) {
  return "/BENCH/LOC" + std::to_string(i) + "/FLOW//1HOUR/RUN/";
}

std::vector<double> Values(int64_t count) {
  std::vector<double> values(static_cast<size_t>(count));
  for (int64_t i = 0; i < count; ++i)
    values[static_cast<size_t>(i)] = 100.0 + std::sin(i / 24.0);
  return values;
}

// 1 January 2021 00:00 as an engine instant (julian 44196) plus one hour.
constexpr series::Instant kStart = series::MakeInstant(44196, 3600);

// Seconds the raw baseline needs to write, then read back, N chunks of M floats.
double RawSeconds(const Shape& shape, bool write) {
  const auto path = BenchFolder() / "raw.bin";
  std::vector<float> chunk(static_cast<size_t>(shape.values_per_series), 1.5f);
  const size_t bytes = chunk.size() * sizeof(float);
  if (!write) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (int64_t i = 0; i < shape.series_count; ++i)
      benchmark::DoNotOptimize(::pwrite(fd, chunk.data(), bytes, static_cast<off_t>(i * bytes)));
    ::close(fd);
  }
  const auto begin = std::chrono::steady_clock::now();
  const int fd = ::open(path.c_str(), write ? (O_WRONLY | O_CREAT | O_TRUNC) : O_RDONLY, 0644);
  for (int64_t i = 0; i < shape.series_count; ++i) {
    if (write) {
      benchmark::DoNotOptimize(::pwrite(fd, chunk.data(), bytes, static_cast<off_t>(i * bytes)));
    } else {
      benchmark::DoNotOptimize(::pread(fd, chunk.data(), bytes, static_cast<off_t>(i * bytes)));
    }
  }
  ::close(fd);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  std::filesystem::remove(path);
  return seconds;
}

void Report(benchmark::State& state, const Shape& shape, double raw_seconds,
            std::chrono::steady_clock::duration spent) {
  const double total = static_cast<double>(shape.series_count * shape.values_per_series);
  state.counters["values/s"] = benchmark::Counter(total * static_cast<double>(state.iterations()),
                                                  benchmark::Counter::kIsRate);
  const double per_iteration =
      std::chrono::duration<double>(spent).count() / static_cast<double>(state.iterations());
  state.counters["x_raw"] = per_iteration / raw_seconds;
}

std::unique_ptr<dss7::DssFile> NewFile(const std::filesystem::path& path, const Shape& shape) {
  std::filesystem::remove(path);
  dss7::CreateOptions create;
  create.expected_paths = shape.series_count * 13;
  std::unique_ptr<dss7::DssFile> file;
  dss7::FileOptions options;
  if (!dss7::Ok(dss7::DssFile::Create(path.string(), create, options, &file))) return nullptr;
  return file;
}

void StoreAll(dss7::DssFile& file, const Shape& shape, const std::vector<double>& values) {
  series::RegularStore store;
  store.values = values;
  store.units = "CFS";
  store.type = "INST-VAL";
  store.start = kStart;
  for (int64_t i = 0; i < shape.series_count; ++i) {
    const std::string path = SeriesPath(i);
    store.path = path;
    series::StoreRegular(file, store);
  }
}

// A file holding every series of the shape, for the read and catalog cases.
void WriteFilledFile(const std::filesystem::path& path, const Shape& shape) {
  auto file = NewFile(path, shape);
  StoreAll(*file, shape, Values(shape.values_per_series));
  file->Close();
}

std::unique_ptr<dss7::DssFile> OpenReadOnly(const std::filesystem::path& path) {
  std::unique_ptr<dss7::DssFile> file;
  dss7::FileOptions options;
  options.read_only = true;
  dss7::DssFile::Open(path.string(), options, &file);
  return file;
}

void BM_EngineStore(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFolder() / "engine_store.dss";
  const auto values = Values(shape.values_per_series);
  const double raw = RawSeconds(shape, true);
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    state.PauseTiming();
    auto file = NewFile(path, shape);
    state.ResumeTiming();
    const auto begin = std::chrono::steady_clock::now();
    StoreAll(*file, shape, values);
    file->Close();
    spent += std::chrono::steady_clock::now() - begin;
  }
  Report(state, shape, raw, spent);
}

void BM_EngineRetrieve(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFolder() / "engine_read.dss";
  WriteFilledFile(path, shape);
  const double raw = RawSeconds(shape, false);
  auto file = OpenReadOnly(path);
  series::SeriesRead read;
  series::ReadOptions floats;
  floats.floats = true;
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    for (int64_t i = 0; i < shape.series_count; ++i) {
      series::ReadRegular(*file, SeriesPath(i), kStart, shape.values_per_series, &read, floats);
      benchmark::DoNotOptimize(read.values.data());
    }
    spent += std::chrono::steady_clock::now() - begin;
  }
  Report(state, shape, raw, spent);
}

void BM_EngineCatalog(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFolder() / "engine_catalog.dss";
  WriteFilledFile(path, shape);
  auto file = OpenReadOnly(path);
  std::vector<dss7::CatalogEntry> entries;
  for (auto _ : state) {
    file->SortedCatalog(&entries, false);
    benchmark::DoNotOptimize(entries.data());
  }
  state.counters["records"] = static_cast<double>(entries.size());
  state.counters["records/s"] = benchmark::Counter(
      static_cast<double>(entries.size() * state.iterations()), benchmark::Counter::kIsRate);
}

std::shared_ptr<varnock::RegularTimeSeries> ClassSeries(const Shape& shape) {
  auto ts = std::make_shared<varnock::RegularTimeSeries>();
  ts->Pathname()->Name(SeriesPath(0));
  ts->Starting(varnock::Date::Serial(2021, 1, 1, 1, 0));
  ts->ValueCount(static_cast<int32_t>(shape.values_per_series));
  ts->TsUnits("CFS");
  ts->TsType("INST-VAL");
  for (int32_t i = 0; i < ts->ValueCount(); ++i)
    ts->Value(i, 100.0f + std::sin(i / 24.0f));
  return ts;
}

void BM_ClassStore(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFolder() / "class_store.dss";
  const double raw = RawSeconds(shape, true);
  auto ts = ClassSeries(shape);
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(path);
    auto db = std::make_shared<varnock::DSSDatabase>();
    db->Name(path.string());
    db->Connect(true);
    state.ResumeTiming();
    const auto begin = std::chrono::steady_clock::now();
    for (int64_t i = 0; i < shape.series_count; ++i) {
      ts->Pathname()->Bpart("LOC" + std::to_string(i));
      ts->Store(db);
    }
    db->Disconnect();
    spent += std::chrono::steady_clock::now() - begin;
  }
  Report(state, shape, raw, spent);
}

void BM_ClassRetrieve(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFolder() / "class_read.dss";
  WriteFilledFile(path, shape);
  const double raw = RawSeconds(shape, false);
  auto db = std::make_shared<varnock::DSSDatabase>();
  db->Name(path.string());
  db->Connect();
  auto ts = ClassSeries(shape);
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    for (int64_t i = 0; i < shape.series_count; ++i) {
      ts->Pathname()->Bpart("LOC" + std::to_string(i));
      ts->ValueCount(static_cast<int32_t>(shape.values_per_series));
      ts->Retrieve(db);
      benchmark::DoNotOptimize(ts->Value(0));
    }
    spent += std::chrono::steady_clock::now() - begin;
  }
  Report(state, shape, raw, spent);
}

void BM_RawWrite(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  double total = 0;
  for (auto _ : state)
    total += RawSeconds(shape, true);
  state.counters["values/s"] = benchmark::Counter(
      static_cast<double>(shape.series_count * shape.values_per_series * state.iterations()),
      benchmark::Counter::kIsRate);
  benchmark::DoNotOptimize(total);
}

void BM_RawRead(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  double total = 0;
  for (auto _ : state)
    total += RawSeconds(shape, false);
  state.counters["values/s"] = benchmark::Counter(
      static_cast<double>(shape.series_count * shape.values_per_series * state.iterations()),
      benchmark::Counter::kIsRate);
  benchmark::DoNotOptimize(total);
}

}  // namespace

// Argument 0: 200 x 8760 values; argument 1: 2000 x 744 values.
BENCHMARK(BM_RawWrite)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineStore)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_EngineRetrieve)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineCatalog)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ClassStore)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_ClassRetrieve)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::filesystem::remove_all(BenchFolder());
  return 0;
}
