// The series benchmark's store, retrieve and catalog cases on a DSS-6 file: the same shapes
// (N hourly series of M values), through the DSS-6 record writers and readers.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/dss6/dss6_file.h"
#include "engine/dss6/intervals.h"
#include "engine/dss6/records.h"
#include "engine/dss6/store.h"
#include "engine/rules/dates.h"

namespace {

namespace dss6 = varnock::engine::dss6;
namespace dss7 = varnock::engine::dss7;

struct Shape {
  int64_t series_count;
  int64_t values_per_series;
};
constexpr Shape kShapes[] = {{200, 8760}, {2000, 744}};
constexpr dss6::Minutes kStart = int64_t{44196} * 1440 + 60;  // 01JAN2021 0100

std::filesystem::path BenchFile(const char* name) {
  auto folder =
      std::filesystem::temp_directory_path() / ("varnock_bench6_" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  return folder / name;
}

std::string SeriesPath(int64_t i) {
  return "/BENCH/LOC" + std::to_string(i) + "/FLOW//1HOUR/RUN/";
}

std::unique_ptr<dss6::Dss6File> NewFile(const std::filesystem::path& path) {
  std::filesystem::remove(path);
  std::unique_ptr<dss6::Dss6File> file;
  dss6::Dss6File::Create(path.string(), 8, {}, &file);
  return file;
}

void StoreAll(dss6::Dss6File& file, const Shape& shape, const std::vector<double>& values) {
  dss6::RegularStore6 store;
  store.values = values;
  store.units = "CFS";
  store.type = "INST-VAL";
  store.start = kStart;
  for (int64_t i = 0; i < shape.series_count; ++i) {
    const std::string path = SeriesPath(i);
    store.path = path;
    dss6::StoreRegular(file, store);
  }
}

std::vector<double> Values(int64_t n) {
  std::vector<double> v(static_cast<size_t>(n));
  for (int64_t i = 0; i < n; ++i)
    v[static_cast<size_t>(i)] = 100.0 + std::sin(static_cast<double>(i) / 24.0);
  return v;
}

void Rate(benchmark::State& state, const Shape& shape) {
  state.counters["values/s"] =
      benchmark::Counter(static_cast<double>(shape.series_count * shape.values_per_series *
                                             static_cast<int64_t>(state.iterations())),
                         benchmark::Counter::kIsRate);
}

void BM_Dss6Store(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFile("store.dss");
  const auto values = Values(shape.values_per_series);
  for (auto _ : state) {
    state.PauseTiming();
    auto file = NewFile(path);
    state.ResumeTiming();
    StoreAll(*file, shape, values);
    file->Close();
  }
  Rate(state, shape);
}

// Every block record of every series, read and decoded.
void BM_Dss6Retrieve(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFile("read.dss");
  {
    auto file = NewFile(path);
    StoreAll(*file, shape, Values(shape.values_per_series));
  }
  std::unique_ptr<dss6::Dss6File> file;
  dss6::Dss6File::Open(path.string(), &file);
  const int months = shape.values_per_series > 744 ? 12 : 1;
  varnock::engine::container::RecordAreas record;
  varnock::engine::series::SeriesRead read;
  for (auto _ : state) {
    for (int64_t i = 0; i < shape.series_count; ++i) {
      for (int m = 0; m < months; ++m) {
        int32_t julian = 0;
        varnock::engine::YmdToJulian(2021, m + 1, 1, &julian);
        std::string p =
            "/BENCH/LOC" + std::to_string(i) + "/FLOW/" + dss6::BlockDate(julian) + "/1HOUR/RUN/";
        file->ReadRecord(p, &record);
        dss6::DecodeRegular(record, &read);
        benchmark::DoNotOptimize(read.values.data());
      }
    }
  }
  Rate(state, shape);
}

void BM_Dss6Catalog(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto path = BenchFile("catalog.dss");
  {
    auto file = NewFile(path);
    StoreAll(*file, shape, Values(shape.values_per_series));
  }
  std::unique_ptr<dss6::Dss6File> file;
  dss6::Dss6File::Open(path.string(), &file);
  std::vector<varnock::engine::container::CatalogItem> items;
  for (auto _ : state) {
    file->SortedCatalog(&items);
    benchmark::DoNotOptimize(items.data());
  }
  state.counters["records"] = static_cast<double>(items.size());
}

}  // namespace

BENCHMARK(BM_Dss6Store)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Dss6Retrieve)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Dss6Catalog)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
