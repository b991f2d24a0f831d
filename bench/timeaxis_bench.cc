// Cost of filling a time axis, against the cost of merely writing the same
// array. Each case fills an array that has already been written once (its
// pages are mapped), then, in every iteration, times three fills of it in a
// row: the time axis, std::fill with a constant and memset. The counters are
// ratios of the best time of each over the iterations of the same run:
//
//   floor_ratio  = time axis / std::fill
//   memset_ratio = time axis / memset
//
// A ratio near 1 means the axis costs no more than the stores it must make.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "timing/time_axis.h"

namespace {

// A realistic record: 10 ns samples starting 1.1 microseconds before the
// trigger, 30 seconds after the timing system's time zero.
constexpr int64_t kPeriod = 10000;
constexpr int64_t kDelay = 30'000'000'000'000 - 1'100'000;

template <class Fn>
double SecondsOf(Fn&& fn) {
  const auto begin = std::chrono::steady_clock::now();
  fn();
  const auto end = std::chrono::steady_clock::now();
  return std::chrono::duration<double>(end - begin).count();
}

template <class T>
void BM_TimeAxis(benchmark::State& state) {
  const auto count = static_cast<int64_t>(state.range(0));
  std::vector<T> axis(static_cast<size_t>(count), T{1});
  double best = std::numeric_limits<double>::infinity();
  double bestFill = best;
  double bestMemset = best;
  for (auto _ : state) {
    const double own = SecondsOf([&] { tovak::FillTimeAxis(axis.data(), count, kDelay, kPeriod); });
    benchmark::DoNotOptimize(axis.data());
    benchmark::ClobberMemory();
    const double fill = SecondsOf([&] { std::fill(axis.begin(), axis.end(), T{2}); });
    benchmark::DoNotOptimize(axis.data());
    benchmark::ClobberMemory();
    const double set = SecondsOf([&] { std::memset(axis.data(), 3, axis.size() * sizeof(T)); });
    benchmark::DoNotOptimize(axis.data());
    benchmark::ClobberMemory();
    state.SetIterationTime(own);
    best = std::min(best, own);
    bestFill = std::min(bestFill, fill);
    bestMemset = std::min(bestMemset, set);
  }
  state.counters["floor_ratio"] = best / bestFill;
  state.counters["memset_ratio"] = best / bestMemset;
  state.SetItemsProcessed(state.iterations() * count);
}

// Few iterations of the long axes: each writes 400 or 800 MB three times.
void Register(const char* name, void (*fn)(benchmark::State&), int64_t count, int iterations) {
  benchmark::RegisterBenchmark(name, fn)
      ->Arg(count)
      ->Iterations(iterations)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

[[maybe_unused]] const bool registered = [] {
  Register("TimeAxis/double", BM_TimeAxis<double>, 1'000'000, 300);
  Register("TimeAxis/double", BM_TimeAxis<double>, 100'000'000, 6);
  Register("TimeAxis/float", BM_TimeAxis<float>, 1'000'000, 300);
  Register("TimeAxis/float", BM_TimeAxis<float>, 100'000'000, 6);
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
