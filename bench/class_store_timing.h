// What the class benchmarks share: a file made anew for each iteration, and the time of
// storing one series object under `series_count` B parts and closing the file.
#ifndef VARNOCK_BENCH_CLASS_STORE_TIMING_H_
#define VARNOCK_BENCH_CLASS_STORE_TIMING_H_

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "varnock/varnock.h"

template <typename Series>
std::chrono::steady_clock::duration TimeClassStores(benchmark::State& state,
                                                    const std::filesystem::path& path,
                                                    int64_t series_count, Series& ts) {
  std::chrono::steady_clock::duration spent{};
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(path);
    auto db = std::make_shared<varnock::DSSDatabase>();
    db->Name(path.string());
    db->Connect(true);
    state.ResumeTiming();
    const auto begin = std::chrono::steady_clock::now();
    for (int64_t i = 0; i < series_count; ++i) {
      ts.Pathname()->Bpart("LOC" + std::to_string(i));
      ts.Store(db);
    }
    db->Disconnect();
    spent += std::chrono::steady_clock::now() - begin;
  }
  return spent;
}

#endif  // VARNOCK_BENCH_CLASS_STORE_TIMING_H_
