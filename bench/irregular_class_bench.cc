// Irregular series of N hourly values each, stored and retrieved through the engine's C++ API
// and through IrregTimeSeries, on the shapes of series_bench.cc (200 x 8760, 2000 x 744), so
// that the classes' share of the work shows. Run with --benchmark_repetitions=N for min and
// median.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/class_store_timing.h"
#include "engine/dss7/dss_file.h"
#include "engine/records/series/series.h"
#include "varnock/varnock.h"

namespace {

namespace dss7 = varnock::engine::dss7;
namespace series = varnock::engine::series;

struct Shape {
  int64_t series_count;
  int64_t values_per_series;
};
constexpr Shape kShapes[] = {{200, 8760}, {2000, 744}};

// 1 January 2021 01:00, as the engine and the classes count it.
constexpr int64_t kStartJulian = 44196;
const varnock::Date kClassStart = varnock::Date::Serial(2021, 1, 1, 1, 0);

std::filesystem::path IrregularFolder() {
  // Inside the folder that series_bench.cc's main removes at the end.
  auto folder = std::filesystem::temp_directory_path() /
                ("varnock_bench_" + std::to_string(getpid())) / "irregular";
  std::filesystem::create_directories(folder);
  return folder;
}

std::string IrregularPath(int64_t i) {
  return "/BENCH/LOC" + std::to_string(i) + "/FLOW//IR-MONTH/RUN/";
}

struct EngineData {
  std::vector<double> values;
  std::vector<series::Instant> times;
};

EngineData Data(const Shape& shape) {
  EngineData d;
  for (int64_t i = 0; i < shape.values_per_series; ++i) {
    d.values.push_back(100.0 + std::sin(static_cast<double>(i) / 24.0));
    d.times.push_back(series::MakeInstant(kStartJulian, 3600 * (i + 1)));
  }
  return d;
}

void Report(benchmark::State& state, const Shape& shape,
            std::chrono::steady_clock::duration spent) {
  state.counters["values/s"] = benchmark::Counter(
      static_cast<double>(shape.series_count * shape.values_per_series * state.iterations()),
      benchmark::Counter::kIsRate);
  state.counters["ms/iteration"] = std::chrono::duration<double, std::milli>(spent).count() /
                                   static_cast<double>(state.iterations());
}

std::unique_ptr<dss7::DssFile> NewFile(const std::filesystem::path& path, const Shape& shape) {
  std::filesystem::remove(path);
  dss7::CreateOptions create;
  create.expected_paths = shape.series_count * 13;
  std::unique_ptr<dss7::DssFile> file;
  dss7::DssFile::Create(path.string(), create, dss7::FileOptions{}, &file);
  return file;
}

void StoreAll(dss7::DssFile& file, const Shape& shape, const EngineData& data) {
  series::IrregularStore store;
  store.values = data.values;
  store.times = data.times;
  store.units = "CFS";
  store.type = "INST-VAL";
  for (int64_t i = 0; i < shape.series_count; ++i) {
    const std::string path = IrregularPath(i);
    store.path = path;
    series::StoreIrregular(file, store);
  }
}

const std::filesystem::path& FilledFile(int64_t shape_index) {
  static std::filesystem::path paths[2];
  auto& path = paths[shape_index];
  if (path.empty()) {
    path = IrregularFolder() / ("filled" + std::to_string(shape_index) + ".dss");
    const Shape& shape = kShapes[shape_index];
    auto file = NewFile(path, shape);
    StoreAll(*file, shape, Data(shape));
    file->Close();
  }
  return path;
}

void BM_IrregularEngineStore(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = IrregularFolder() / "engine_store.dss";
  const EngineData data = Data(shape);
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    state.PauseTiming();
    auto file = NewFile(path, shape);
    state.ResumeTiming();
    const auto begin = std::chrono::steady_clock::now();
    StoreAll(*file, shape, data);
    file->Close();
    spent += std::chrono::steady_clock::now() - begin;
  }
  Report(state, shape, spent);
}

void BM_IrregularEngineRetrieve(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  std::unique_ptr<dss7::DssFile> file;
  dss7::FileOptions options;
  options.read_only = true;
  dss7::DssFile::Open(FilledFile(state.range(0)).string(), options, &file);
  const series::Instant first = series::MakeInstant(kStartJulian, 0);
  const series::Instant last = series::MakeInstant(kStartJulian, 3600 * shape.values_per_series);
  series::SeriesRead read;
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    for (int64_t i = 0; i < shape.series_count; ++i) {
      series::ReadIrregular(*file, IrregularPath(i), first, last, &read, {.floats = true});
      benchmark::DoNotOptimize(read.values.data());
    }
    spent += std::chrono::steady_clock::now() - begin;
  }
  Report(state, shape, spent);
}

std::shared_ptr<varnock::IrregTimeSeries> ClassSeries(const Shape& shape) {
  auto ts = std::make_shared<varnock::IrregTimeSeries>();
  ts->Pathname()->Name(IrregularPath(0));
  ts->ValueCount(static_cast<int32_t>(shape.values_per_series));
  ts->TsUnits("CFS");
  ts->TsType("INST-VAL");
  for (int32_t i = 0; i < ts->ValueCount(); ++i) {
    ts->DateTime(i, kClassStart.Add(varnock::DateUnit::Hour, i));
    ts->Value(i, 100.0f + std::sin(static_cast<float>(i) / 24.0f));
  }
  return ts;
}

void BM_IrregularClassStore(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = IrregularFolder() / "class_store.dss";
  auto ts = ClassSeries(shape);
  const auto spent = TimeClassStores(state, path, shape.series_count, *ts);
  Report(state, shape, spent);
}

void BM_IrregularClassRetrieve(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  auto db = std::make_shared<varnock::DSSDatabase>();
  db->Name(FilledFile(state.range(0)).string());
  db->Connect();
  auto ts = std::make_shared<varnock::IrregTimeSeries>();
  ts->Pathname()->Name(IrregularPath(0));
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    for (int64_t i = 0; i < shape.series_count; ++i) {
      ts->Pathname()->Bpart("LOC" + std::to_string(i));
      ts->Starting(kClassStart.Add(varnock::DateUnit::Hour, -1));
      ts->Ending(
          kClassStart.Add(varnock::DateUnit::Hour, static_cast<double>(shape.values_per_series)));
      ts->Retrieve(db);
      benchmark::DoNotOptimize(ts->ValueCount());
    }
    spent += std::chrono::steady_clock::now() - begin;
  }
  Report(state, shape, spent);
}

double Smallest(const std::vector<double>& v) {
  return v.empty() ? 0.0 : *std::min_element(v.begin(), v.end());
}

}  // namespace

BENCHMARK(BM_IrregularEngineStore)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->ComputeStatistics("min", Smallest);
BENCHMARK(BM_IrregularClassStore)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->ComputeStatistics("min", Smallest);
BENCHMARK(BM_IrregularEngineRetrieve)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Smallest);
BENCHMARK(BM_IrregularClassRetrieve)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Smallest);
