// Store and retrieve N hourly series of M values through the engine's C++ API and through
// RegularTimeSeries, catalogue the file, and compare each with a raw baseline that writes and
// reads the same number of value bytes with plain file calls. Each case reports values per
// second and `x_raw`, its time per iteration divided by the raw baseline's (the fastest of
// several raw runs).
//
// `varnock_bench --ratios[=N]` instead runs every engine case and its raw baseline N times
// (default 7) and prints min and median wall and CPU times and their ratios to raw: the figures
// to quote, since a shared machine makes single runs noisy. Besides the two series shapes it
// has 100,000 one-block records (a day of hourly values each), stored one by one and in
// batches, read back, and a mixed workload that rewrites part of a week in half of the series
// of a filled file and reads the other half.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
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
double RawOnce(const Shape& shape, bool write) {
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

// The fastest of several raw runs: one run on a busy machine says little.
double RawSeconds(const Shape& shape, bool write) {
  double best = RawOnce(shape, write);
  for (int i = 0; i < 4; ++i)
    best = std::min(best, RawOnce(shape, write));
  return best;
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
  // The folder again: a long run may outlive a clean-up of the temporary folder.
  std::filesystem::create_directories(path.parent_path());
  std::filesystem::remove(path);
  dss7::CreateOptions create;
  create.expected_paths = shape.series_count * 13;
  std::unique_ptr<dss7::DssFile> file;
  dss7::FileOptions options;
  const dss7::Status status = dss7::DssFile::Create(path.string(), create, options, &file);
  if (!dss7::Ok(status)) {
    std::fprintf(stderr, "cannot create %s: status %d\n", path.c_str(), static_cast<int>(status));
    std::exit(1);
  }
  return file;
}

// Stores every series of the shape; with `batch` > 0, that many series per write batch.
void StoreAll(dss7::DssFile& file, const Shape& shape, const std::vector<double>& values,
              int64_t batch = 0, const std::function<std::string(int64_t)>& path_of = SeriesPath,
              series::Instant start = kStart) {
  series::RegularStore store;
  store.values = values;
  store.units = "CFS";
  store.type = "INST-VAL";
  store.start = start;
  std::string path;
  for (int64_t i = 0; i < shape.series_count; ++i) {
    if (batch > 0 && i % batch == 0) file.BeginBatch();
    path = path_of(i);
    store.path = path;
    series::StoreRegular(file, store);
    if (batch > 0 && (i + 1 == shape.series_count || (i + 1) % batch == 0)) file.EndBatch();
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
  const dss7::Status status = dss7::DssFile::Open(path.string(), options, &file);
  if (!dss7::Ok(status)) {
    std::fprintf(stderr, "cannot open %s: status %d\n", path.c_str(), static_cast<int>(status));
    std::exit(1);
  }
  return file;
}

// Second argument: records per write batch (0: plain stores).
void BM_EngineStore(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  const auto batch = static_cast<int>(state.range(1));
  const auto path = BenchFolder() / "engine_store.dss";
  const auto values = Values(shape.values_per_series);
  const double raw = RawSeconds(shape, true);
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    state.PauseTiming();
    auto file = NewFile(path, shape);
    state.ResumeTiming();
    const auto begin = std::chrono::steady_clock::now();
    StoreAll(*file, shape, values, batch);
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
  const auto spent = TimeClassStores(state, path, shape.series_count, *ts);
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
    total += RawOnce(shape, true);
  state.counters["values/s"] = benchmark::Counter(
      static_cast<double>(shape.series_count * shape.values_per_series * state.iterations()),
      benchmark::Counter::kIsRate);
  benchmark::DoNotOptimize(total);
}

void BM_RawRead(benchmark::State& state) {
  const Shape shape = kShapes[state.range(0)];
  double total = 0;
  for (auto _ : state)
    total += RawOnce(shape, false);
  state.counters["values/s"] = benchmark::Counter(
      static_cast<double>(shape.series_count * shape.values_per_series * state.iterations()),
      benchmark::Counter::kIsRate);
  benchmark::DoNotOptimize(total);
}

// ---- The ratio table ----

struct Times {
  double wall = 0;
  double cpu = 0;
};

double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// Times `run` (after `setup`, untimed) `reps` times.
std::vector<Times> Repeat(int reps, const std::function<void()>& setup,
                          const std::function<void()>& run) {
  std::vector<Times> out;
  for (int i = 0; i < reps; ++i) {
    if (setup) setup();
    const double cpu = CpuSeconds();
    const auto begin = std::chrono::steady_clock::now();
    run();
    out.push_back({std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(),
                   CpuSeconds() - cpu});
  }
  return out;
}

double Min(std::vector<double> v) {
  return *std::min_element(v.begin(), v.end());
}
double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}
std::vector<double> Wall(const std::vector<Times>& t) {
  std::vector<double> v;
  for (const auto& x : t)
    v.push_back(x.wall);
  return v;
}
std::vector<double> Cpu(const std::vector<Times>& t) {
  std::vector<double> v;
  for (const auto& x : t)
    v.push_back(x.cpu);
  return v;
}

void PrintRow(const std::string& name, const std::vector<Times>& t, const std::vector<Times>& raw) {
  const double wall_min = Min(Wall(t)), wall_med = Median(Wall(t));
  const double cpu_min = Min(Cpu(t)), cpu_med = Median(Cpu(t));
  std::printf("%-34s %9.2f %9.2f %9.2f %9.2f   %6.2f %6.2f %6.2f %6.2f\n", name.c_str(),
              1e3 * wall_min, 1e3 * wall_med, 1e3 * cpu_min, 1e3 * cpu_med,
              wall_min / Min(Wall(raw)), wall_med / Median(Wall(raw)), cpu_min / Min(Cpu(raw)),
              cpu_med / Median(Cpu(raw)));
  std::fflush(stdout);
}

// N chunks of `values` floats written or read with one call each, at consecutive offsets.
void RawChunks(const std::filesystem::path& path, int64_t chunks, int64_t values, bool write) {
  std::vector<float> chunk(static_cast<size_t>(values), 1.5f);
  const size_t bytes = chunk.size() * sizeof(float);
  std::filesystem::create_directories(path.parent_path());
  const int fd = ::open(path.c_str(), write ? (O_WRONLY | O_CREAT | O_TRUNC) : O_RDONLY, 0644);
  for (int64_t i = 0; i < chunks; ++i) {
    const auto at = static_cast<off_t>(i * static_cast<int64_t>(bytes));
    if (write)
      benchmark::DoNotOptimize(::pwrite(fd, chunk.data(), bytes, at));
    else
      benchmark::DoNotOptimize(::pread(fd, chunk.data(), bytes, at));
  }
  ::close(fd);
}

void RatioTable(int reps, const std::string& only) {
  const auto folder = BenchFolder();
  const auto raw_path = folder / "raw.bin";
  const auto dss_path = folder / "ratios.dss";
  std::printf("%-34s %9s %9s %9s %9s   %6s %6s %6s %6s\n", "case (ms; ratios to raw)", "wall min",
              "wall med", "cpu min", "cpu med", "xwall", "xwmed", "xcpu", "xcmed");
  std::unique_ptr<dss7::DssFile> file;
  auto fresh = [&](const Shape& shape) {
    file.reset();
    file = NewFile(dss_path, shape);
  };
  auto close = [&] { file->Close(); };
  for (int k = 0; k < 2 && (only.empty() || only == "shapes"); ++k) {
    const Shape shape = kShapes[k];
    const std::string tag =
        std::to_string(shape.series_count) + "x" + std::to_string(shape.values_per_series) + " ";
    const auto values = Values(shape.values_per_series);
    const auto raw_write = Repeat(reps, nullptr, [&] {
      RawChunks(raw_path, shape.series_count, shape.values_per_series, true);
    });
    const auto raw_read = Repeat(reps, nullptr, [&] {
      RawChunks(raw_path, shape.series_count, shape.values_per_series, false);
    });
    PrintRow(tag + "raw write", raw_write, raw_write);
    PrintRow(tag + "raw read", raw_read, raw_read);
    PrintRow(tag + "engine store",
             Repeat(
                 reps, [&] { fresh(shape); },
                 [&] {
                   StoreAll(*file, shape, values);
                   close();
                 }),
             raw_write);
    PrintRow(tag + "engine store, batches of 100",
             Repeat(
                 reps, [&] { fresh(shape); },
                 [&] {
                   StoreAll(*file, shape, values, 100);
                   close();
                 }),
             raw_write);
    file = OpenReadOnly(dss_path);
    series::SeriesRead read;
    series::ReadOptions floats;
    floats.floats = true;
    PrintRow(tag + "engine retrieve",
             Repeat(reps, nullptr,
                    [&] {
                      for (int64_t i = 0; i < shape.series_count; ++i)
                        series::ReadRegular(*file, SeriesPath(i), kStart, shape.values_per_series,
                                            &read, floats);
                    }),
             raw_read);
  }

  if (!only.empty() && only != "day" && only != "mixed") return;
  series::SeriesRead read;
  if (only.empty() || only == "day") {
    // 100,000 records of one block each: a day of hourly values.
    const Shape day{100000, 24};
    const auto day_values = Values(day.values_per_series);
    constexpr series::Instant kDayStart = series::MakeInstant(44197, 3600);  // 2 Jan 2021 01:00
    auto day_path = [](int64_t i) { return "/BENCH/L" + std::to_string(i) + "/FLOW//1HOUR/RUN/"; };
    const auto raw_write = Repeat(
        reps, nullptr, [&] { RawChunks(raw_path, day.series_count, day.values_per_series, true); });
    const auto raw_read = Repeat(reps, nullptr, [&] {
      RawChunks(raw_path, day.series_count, day.values_per_series, false);
    });
    const int few = std::max(1, reps / 2);
    PrintRow("100000x24 raw write", raw_write, raw_write);
    PrintRow("100000x24 raw read", raw_read, raw_read);
    PrintRow("100000x24 engine store",
             Repeat(
                 few, [&] { fresh(day); },
                 [&] {
                   StoreAll(*file, day, day_values, 0, day_path, kDayStart);
                   close();
                 }),
             raw_write);
    PrintRow("100000x24 engine store, batches",
             Repeat(
                 few, [&] { fresh(day); },
                 [&] {
                   StoreAll(*file, day, day_values, 1000, day_path, kDayStart);
                   close();
                 }),
             raw_write);
    file = OpenReadOnly(dss_path);
    PrintRow("100000x24 engine retrieve",
             Repeat(few, nullptr,
                    [&] {
                      for (int64_t i = 0; i < day.series_count; ++i)
                        series::ReadRegular(*file, day_path(i), kDayStart, day.values_per_series,
                                            &read);
                    }),
             raw_read);
  }
  if (!only.empty() && only != "mixed") return;

  // Mixed: a filled 2000 x 744 file; even series get a week rewritten, odd ones are read.
  const Shape month = kShapes[1];
  const auto week = Values(168);
  const auto raw_mixed = Repeat(reps, nullptr, [&] {
    RawChunks(raw_path, month.series_count / 2, 168, true);
    RawChunks(raw_path, month.series_count / 2, month.values_per_series, false);
  });
  PrintRow("mixed raw", raw_mixed, raw_mixed);
  WriteFilledFile(dss_path, month);
  std::unique_ptr<dss7::DssFile> rw;
  dss7::DssFile::Open(dss_path.string(), {}, &rw);
  PrintRow("mixed engine update+retrieve",
           Repeat(reps, nullptr,
                  [&] {
                    series::RegularStore store;
                    store.values = week;
                    store.units = "CFS";
                    store.type = "INST-VAL";
                    store.start = series::MakeInstant(44206, 3600);  // 11 Jan 2021 01:00
                    std::string path;
                    for (int64_t i = 0; i < month.series_count; ++i) {
                      path = SeriesPath(i);
                      if (i % 2 == 0) {
                        store.path = path;
                        series::StoreRegular(*rw, store);
                      } else {
                        series::ReadRegular(*rw, path, kStart, month.values_per_series, &read);
                      }
                    }
                  }),
           raw_mixed);
  rw.reset();
  file.reset();
}

}  // namespace

// Argument 0: 200 x 8760 values; argument 1: 2000 x 744 values.
BENCHMARK(BM_RawWrite)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineStore)
    ->ArgsProduct({{0, 1}, {0, 100}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK(BM_EngineRetrieve)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineCatalog)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ClassStore)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_ClassRetrieve)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--ratios", 8) == 0) {
      // --ratios[=N[,shapes|day|mixed]]
      const std::string arg = argv[i] + 8;
      const size_t comma = arg.find(',');
      const int reps = arg.size() > 1 ? std::max(1, std::atoi(arg.c_str() + 1)) : 7;
      RatioTable(reps, comma == std::string::npos ? std::string() : arg.substr(comma + 1));
      std::filesystem::remove_all(BenchFolder());
      return 0;
    }
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::filesystem::remove_all(BenchFolder());
  return 0;
}
