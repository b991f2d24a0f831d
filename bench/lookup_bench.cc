// Whole public lookups under the direct protocol, as a caller waits for
// them, against a floor measured in the same run (bench_pairs.h):
//   kept open (IndexNoClosing(1))  vs  a raw libpq "SELECT 1" on a connection
//                                      to the same socket;
//   closed after each call         vs  a raw connect, "SELECT 1" and finish.
// The lookups: a channel's link (tovakGetDTSinfox), its time base with an
// external clock and no axis (tovakGetDTSdatax2_ex), and 41 parameter
// records of an output (tovakGetDTSParameters2).
//
// In three phases on one cluster (bench_cluster.h):
//   fresh    the demo experiment (Magnetics module 1 channel 3, shot 120100);
//   short    a generated history of 10 shots (`dbctl history`), lookups of
//            the per-shot diagnostic and unit at shot 5;
//   long     the same generated history over 100,000 shots, lookups at shot
//            50,000, and the demo lookups again.
// The summary compares ratios across phases: long/fresh for the demo
// lookups (a large history beside them), long/short for the generated ones
// (the length of their own history). Each ratio is against its own floor, so
// load on the machine cancels out.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench_cluster.h"
#include "bench_pairs.h"
#include "tovak/tovak.h"

namespace {

// What the three lookups ask: a channel's link, a time base on one unit,
// the parameters of an output.
struct Subject {
  const char* server;  // index server name
  const char* diag;
  short key1, key2;
  unsigned shot;
  const char* unit;  // of the time base (FPGA unit, outputs 1 and 7)
  const char* module;
  const char* paramsUnit;  // of the parameters (channel 3)
  const char* paramsModule;
};

constexpr Subject kDemo = {"/ubo",   "Magnetics", 1,        3,      120100,
                           "fdts01", "DMODSS0",   "vdts01", "DMOD0"};
constexpr Subject Generated(unsigned shot) {
  return {"/gen", "PerShot", 1, 1, shot, "gshot", "DMODSS0", "gshot", "DMODSS0"};
}

void Link(const Subject& s) {
  char kind[64], text1[64], text2[64], source[64], word3[64];
  short num3, num4;
  int clock, num8, preSample, interval, hostId;
  Check(tovakGetDTSinfox(s.diag, s.shot, 1, s.key1, s.key2, s.server, kind, text1, text2, &num3,
                         &num4, &clock, &num8, source, &preSample, &interval, &hostId,
                         word3) == TOVAK_OK);
}

void TimeBase(const Subject& s) {
  int interval = 0;
  double cycle = 0, delay = 0;
  Check(tovakGetDTSdatax2_ex(s.server, "FPGA-DTS", s.unit, s.module, "1", "FPGA-DTS", s.unit,
                             s.module, "7", &interval, 1000, s.shot, 1, "External", "", "1", "0", 0,
                             1, 1, nullptr, &cycle, &delay) == TOVAK_OK &&
        cycle > 0);
}

void Parameters(const Subject& s) {
  constexpr int kRecords = 41;
  static std::vector<char> names(kRecords * 64), values(kRecords * 128);
  static std::vector<int> tags(kRecords);
  Check(tovakGetDTSParameters2(s.server, s.paramsUnit, s.paramsModule, s.shot, 1, 3, kRecords,
                               names.data(), values.data(), tags.data()) == TOVAK_OK);
}

using Lookup = void (*)(const Subject&);

void KeptOpen(benchmark::State& state, Lookup lookup, Subject subject) {
  IndexNoClosing(1);
  const RawConnection raw("index");
  lookup(subject);  // connects and prepares
  Pairs pairs;
  for (auto _ : state)
    pairs.Run(
        state, [&] { raw.SelectOne(); }, [&] { lookup(subject); });
  pairs.Report(state);
  IndexNoClosing(0);
}

void ClosedEachCall(benchmark::State& state, Lookup lookup, Subject subject) {
  IndexNoClosing(0);
  Pairs pairs;
  for (auto _ : state) {
    pairs.Run(
        state,
        [] {
          const RawConnection raw("index");
          raw.SelectOne();
        },
        [&] { lookup(subject); });
  }
  pairs.Report(state);
}

void Register(const std::string& phase, const Subject& subject, bool perCall) {
  const std::pair<const char*, Lookup> lookups[] = {
      {"link", Link}, {"time_base", TimeBase}, {"parameters", Parameters}};
  for (const auto& [name, lookup] : lookups) {
    benchmark::RegisterBenchmark((phase + "/" + name).c_str(), KeptOpen, lookup, subject)
        ->UseManualTime();
  }
  if (perCall) {
    benchmark::RegisterBenchmark((phase + "/link_per_call").c_str(), ClosedEachCall, Link, subject)
        ->UseManualTime();
  }
}

// Keeps every run's floor_ratio for the summary.
class Reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const auto ratio = run.counters.find("floor_ratio");
      if (ratio != run.counters.end()) ratios[run.benchmark_name()] = ratio->second.value;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> ratios;
};

// One line of the summary: the measure, its value, the goal.
void Goal(const Reporter& r, const std::string& name, const std::string& of,
          const std::string& against, double goal) {
  const auto a = r.ratios.find(of + "/manual_time");
  const auto b = against.empty() ? r.ratios.end() : r.ratios.find(against + "/manual_time");
  if (a == r.ratios.end() || (!against.empty() && b == r.ratios.end())) return;
  const double value = against.empty() ? a->second : a->second / b->second;
  std::printf("%-40s %6.2f  goal <= %.1f  %s\n", name.c_str(), value, goal,
              value <= goal ? "met" : "MISSED");
}

void Summary(const Reporter& r) {
  std::printf("\nSummary\n");
  Goal(r, "link kept open / SELECT 1", "demo_fresh/link", "", 1.5);
  Goal(r, "time base kept open / SELECT 1", "demo_fresh/time_base", "", 2.0);
  Goal(r, "parameters kept open / SELECT 1", "demo_fresh/parameters", "", 2.5);
  Goal(r, "link per call / connect + SELECT 1", "demo_fresh/link_per_call", "", 1.1);
  for (const char* lookup : {"link", "time_base", "parameters"}) {
    Goal(r, std::string(lookup) + ": 1e5-shot history beside / fresh",
         std::string("demo_long/") + lookup, std::string("demo_fresh/") + lookup, 1.3);
    Goal(r, std::string(lookup) + ": middle of 1e5 shots / of 10",
         std::string("gen_long/") + lookup, std::string("gen_short/") + lookup, 1.3);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const BenchCluster cluster;
  setTovakProtocolV1();
  Reporter reporter;
  Register("demo_fresh", kDemo, true);
  benchmark::RunSpecifiedBenchmarks(&reporter, "^demo_fresh/");
  if (cluster.owned() && cluster.Dbctl("history", "--shots 10")) {
    Register("gen_short", Generated(5), false);
    benchmark::RunSpecifiedBenchmarks(&reporter, "^gen_short/");
  }
  if (cluster.owned() && cluster.Dbctl("history", "--shots 100000")) {
    Register("gen_long", Generated(50000), false);
    Register("demo_long", kDemo, false);
    benchmark::RunSpecifiedBenchmarks(&reporter, "^(gen|demo)_long/");
  }
  Summary(reporter);
  benchmark::Shutdown();
  return 0;
}
