// Whole public lookups under the direct protocol, as a caller waits for
// them, against a floor measured in the same run (bench_pairs.h):
//   kept open (IndexNoClosing(1))  vs  a raw libpq "SELECT 1" on a connection
//                                      to the same socket;
//   closed after each call         vs  a raw connect, "SELECT 1" and finish.
// The lookups: the link of Magnetics module 1 channel 3 in shot 120100/1
// (tovakGetDTSinfox), its time base with the external clock and no axis
// (tovakGetDTSdatax2_ex), and the 41 parameter records of an output
// (tovakGetDTSParameters2).
//
// The cluster: see bench_cluster.h.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_cluster.h"
#include "bench_pairs.h"
#include "tovak/tovak.h"

namespace {

void Link() {
  char kind[64], text1[64], text2[64], source[64], word3[64];
  short num3, num4;
  int clock, num8, preSample, interval, hostId;
  Check(tovakGetDTSinfox("Magnetics", 120100, 1, 1, 3, "", kind, text1, text2, &num3, &num4,
                         &clock, &num8, source, &preSample, &interval, &hostId,
                         word3) == TOVAK_OK &&
        preSample == 1000);
}

void TimeBase() {
  int interval = 0;
  double cycle = 0, delay = 0;
  Check(tovakGetDTSdatax2_ex("", "FPGA-DTS", "fdts01", "DMODSS0", "1", "FPGA-DTS", "fdts01",
                             "DMODSS0", "7", &interval, 2000000, 120100, 1, "External", "", "1",
                             "1000", 0, 1, 1, nullptr, &cycle, &delay) == TOVAK_OK &&
        cycle == 1e-6);
}

void Parameters() {
  constexpr int kRecords = 41;
  static std::vector<char> names(kRecords * 64), values(kRecords * 128);
  static std::vector<int> tags(kRecords);
  Check(tovakGetDTSParameters2("", "vdts01", "DMOD0", 120100, 1, 3, kRecords, names.data(),
                               values.data(), tags.data()) == TOVAK_OK);
}

void KeptOpen(benchmark::State& state, void (*lookup)()) {
  IndexNoClosing(1);
  const RawConnection raw("index");
  lookup();  // connects and prepares
  Pairs pairs;
  for (auto _ : state) pairs.Run(state, [&] { raw.SelectOne(); }, lookup);
  pairs.Report(state);
  IndexNoClosing(0);
}

void ClosedEachCall(benchmark::State& state, void (*lookup)()) {
  IndexNoClosing(0);
  Pairs pairs;
  for (auto _ : state) {
    pairs.Run(
        state,
        [] {
          const RawConnection raw("index");
          raw.SelectOne();
        },
        lookup);
  }
  pairs.Report(state);
}

BENCHMARK_CAPTURE(KeptOpen, link, Link)->UseManualTime();
BENCHMARK_CAPTURE(KeptOpen, time_base, TimeBase)->UseManualTime();
BENCHMARK_CAPTURE(KeptOpen, parameters, Parameters)->UseManualTime();
BENCHMARK_CAPTURE(ClosedEachCall, link, Link)->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  BenchCluster cluster;
  setenv("INDEXSERVERNAME", "/ubo", 1);
  setTovakProtocolV1();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
