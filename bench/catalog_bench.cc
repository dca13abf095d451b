// Catalogs of a file of 100,000 one-block records: the engine's unsorted and sorted listings,
// ZCAT's sorted catalog text file, and the object model's AsCollection and AsRecordset, which
// have ZCAT write that file and read it back. Run with --benchmark_repetitions=N: each case
// reports the min and median over the repetitions besides the mean.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/records/series/series.h"
#include "varnock/varnock.h"

namespace {

namespace dss7 = varnock::engine::dss7;
namespace series = varnock::engine::series;

constexpr int64_t kRecordCount = 100000;
constexpr int64_t kLocations = 2000;  // B parts; each gets kRecordCount / kLocations months

std::filesystem::path CatalogFolder() {
  // Inside the folder that series_bench.cc's main removes at the end.
  auto folder = std::filesystem::temp_directory_path() /
                ("varnock_bench_" + std::to_string(getpid())) / "catalog";
  std::filesystem::create_directories(folder);
  return folder;
}

// The file, written once per run: record i is location i % kLocations, month i / kLocations
// from January 2001, 24 hourly values. File order thus differs from catalog order, which
// sorts by B part first and then by date.
const std::filesystem::path& CatalogFile() {
  static const std::filesystem::path path = [] {
    auto p = CatalogFolder() / "many_records.dss";
    std::filesystem::remove(p);
    dss7::CreateOptions create;
    create.expected_paths = kRecordCount;
    std::unique_ptr<dss7::DssFile> file;
    if (!dss7::Ok(dss7::DssFile::Create(p.string(), create, dss7::FileOptions{}, &file))) {
      return p;
    }
    std::vector<double> values(24, 1.25);
    series::RegularStore store;
    store.values = values;
    store.units = "CFS";
    store.type = "INST-VAL";
    for (int64_t i = 0; i < kRecordCount; ++i) {
      const int64_t month = i / kLocations;
      const int64_t year = 2001 + month / 12;
      const int64_t first_day =
          static_cast<int64_t>(varnock::Date::Serial(static_cast<int32_t>(year),
                                                     static_cast<int32_t>(month % 12 + 1), 1)
                                   .Serial()) -
          1;  // serial 1 is 31 December 1899; the engine counts from that day as 0
      const std::string path = "/BENCH/LOC" + std::to_string(i % kLocations) + "/FLOW//1HOUR/RUN/";
      store.path = path;
      store.start = series::MakeInstant(static_cast<int32_t>(first_day), 3600);
      series::StoreRegular(*file, store);
    }
    file->Close();
    return p;
  }();
  return path;
}

std::unique_ptr<dss7::DssFile> OpenReadOnly() {
  std::unique_ptr<dss7::DssFile> file;
  dss7::FileOptions options;
  options.read_only = true;
  dss7::DssFile::Open(CatalogFile().string(), options, &file);
  return file;
}

void CountRecords(benchmark::State& state, size_t records) {
  state.counters["records"] = static_cast<double>(records);
  state.counters["records/s"] =
      benchmark::Counter(static_cast<double>(records) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
}

void BM_CatalogEngineUnsorted(benchmark::State& state) {
  auto file = OpenReadOnly();
  std::vector<dss7::CatalogEntry> entries;
  for (auto _ : state) {
    file->Catalog(&entries);
    benchmark::DoNotOptimize(entries.data());
  }
  CountRecords(state, entries.size());
}

void BM_CatalogEngineSorted(benchmark::State& state) {
  auto file = OpenReadOnly();
  std::vector<dss7::CatalogEntry> entries;
  for (auto _ : state) {
    file->SortedCatalog(&entries, false);
    benchmark::DoNotOptimize(entries.data());
  }
  CountRecords(state, entries.size());
}

// The same into a new vector each time, as most callers list: allocation and release included.
void BM_CatalogEngineSortedFresh(benchmark::State& state) {
  auto file = OpenReadOnly();
  size_t records = 0;
  for (auto _ : state) {
    std::vector<dss7::CatalogEntry> entries;
    file->SortedCatalog(&entries, false);
    records = entries.size();
    benchmark::DoNotOptimize(entries.data());
  }
  CountRecords(state, records);
}

std::shared_ptr<varnock::DSSDatabase> Connected() {
  auto db = std::make_shared<varnock::DSSDatabase>();
  db->Name(CatalogFile().string());
  db->Connect();
  return db;
}

// ZCAT's sorted catalog text file, through the object model's MakeNewCatalog.
void BM_CatalogZcatFile(benchmark::State& state) {
  auto db = Connected();
  const std::string listing = (CatalogFolder() / "zcat.dsc").string();
  for (auto _ : state)
    db->MakeNewCatalog(listing);
  CountRecords(state, static_cast<size_t>(kRecordCount));
}

void BM_CatalogAsCollection(benchmark::State& state) {
  auto db = Connected();
  const std::string listing = (CatalogFolder() / "collection.dsc").string();
  size_t records = 0;
  for (auto _ : state) {
    auto collection = db->AsCollection(true, listing);
    records = collection.size();
    benchmark::DoNotOptimize(collection.data());
  }
  CountRecords(state, records);
}

void BM_CatalogAsRecordset(benchmark::State& state) {
  auto db = Connected();
  const std::string listing = (CatalogFolder() / "recordset.dsc").string();
  size_t records = 0;
  for (auto _ : state) {
    auto recordset = db->AsRecordset(true, listing);
    records = static_cast<size_t>(recordset->RecordCount());
    benchmark::DoNotOptimize(recordset.get());
  }
  CountRecords(state, records);
}

double Smallest(const std::vector<double>& v) {
  return v.empty() ? 0.0 : *std::min_element(v.begin(), v.end());
}

}  // namespace

BENCHMARK(BM_CatalogEngineUnsorted)
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Smallest);
BENCHMARK(BM_CatalogEngineSortedFresh)
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Smallest);
BENCHMARK(BM_CatalogEngineSorted)
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Smallest);
BENCHMARK(BM_CatalogZcatFile)->Unit(benchmark::kMillisecond)->ComputeStatistics("min", Smallest);
BENCHMARK(BM_CatalogAsCollection)
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Smallest);
BENCHMARK(BM_CatalogAsRecordset)->Unit(benchmark::kMillisecond)->ComputeStatistics("min", Smallest);
