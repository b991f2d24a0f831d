// Query latency of the index and setup connections, as ratios against a
// floor measured in the same run (bench_pairs.h):
//   queries on a kept-open connection   vs  a raw libpq "SELECT 1" on a
//                                           connection to the same socket;
//   open + Close of a fresh connection   vs  a raw PQconnectdbParams + PQfinish.
//
// The cluster: see bench_cluster.h.
#include <benchmark/benchmark.h>
#include <libpq-fe.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "bench_cluster.h"
#include "bench_pairs.h"
#include "db/index_db.h"
#include "db/pg_connection.h"
#include "db/setup_db.h"
#include "tovak/rdb.h"

namespace {

constexpr char kPassword[] = "19981107quorblex3";
using ResultPtr = std::unique_ptr<CRDBres>;

// One query on the kept-open index connection; the floor runs on a raw
// connection to the same socket.
void KeptOpen(benchmark::State& state, const std::function<void(CIndexDBComm&)>& query) {
  CIndexDBComm::swCloseEachTime = false;
  CIndexDBComm::setup("", "5432", "index", "ubo", kPassword);
  CIndexDBComm& db = *CIndexDBComm::getInstance();
  if (db.open() != 0) {
    state.SkipWithError("cannot open the index database");
    return;
  }
  const RawConnection raw("index");
  query(db);  // prepares the statement
  Pairs pairs;
  for (auto _ : state) {
    pairs.Run(
        state, [&] { raw.SelectOne(); }, [&] { query(db); });
  }
  pairs.Report(state);
  db.ForceClose(1);
}

void BM_SiteId(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) { Check(db.get_site_id("ubo") == 1); });
}
void BM_HostId(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) { Check(db.get_DTS_HostID("fdts01") == 11); });
}
void BM_DiagId(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) { Check(db.get_diag_id("Magnetics", 1, nullptr) == 101); });
}
void BM_HostName(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) {
    char* name = nullptr;
    Check(db.get_host_name(11, &name) == 0);
    std::free(name);
  });
}
void BM_LinkRow(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) {
    ResultPtr row(db.get_DTS_information(101, 120100, 1, 1, 3));
    Check(row->GetLines() == 1);
  });
}
void BM_ParameterRows(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) {
    ResultPtr rows(db.get_DTS_parameters(120100, 1, 11, "DMODSS0"));
    Check(rows->GetLines() == 8);
  });
}
void BM_ModuleTable(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) {
    ResultPtr rows(db.get_DTSTBL(11, "DMODSS0", 120100, 1));
    Check(rows->GetLines() == 8);
  });
}
void BM_UnitTable(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) {
    ResultPtr rows(db.get_DTSTBL(21, 120100, 1));
    Check(rows->GetLines() == 16);
  });
}
void BM_ChannelSettings(benchmark::State& state) {
  KeptOpen(state, [](CIndexDBComm& db) {
    ResultPtr rows(db.get_dmod_diag_shot("mag-pxi1", "PXI6143", 120100, 1));
    Check(rows->GetLines() == 8);
  });
}

// A call that connects afresh: open() and Close() with the close switch on,
// against a raw connect and finish with the same parameters.
void BM_ConnectPerCall(benchmark::State& state) {
  CIndexDBComm::swCloseEachTime = true;
  CIndexDBComm::setup("", "5432", "index", "ubo", kPassword);
  CIndexDBComm& db = *CIndexDBComm::getInstance();
  Pairs pairs;
  for (auto _ : state) {
    pairs.Run(
        state,
        [&] {
          PGconn* conn = RawConnection::Connect("index");
          Check(PQstatus(conn) == CONNECTION_OK);
          PQfinish(conn);
        },
        [&] {
          Check(db.open() == 0);
          db.Close();
        });
  }
  pairs.Report(state);
}

// The setup database's module list on a kept-open connection.
void BM_SetupModules(benchmark::State& state) {
  CSetupDBComm::setupInstance("", "5432", "setup", "ubo", kPassword);
  CSetupDBComm& db = *CSetupDBComm::getInstance();
  if (db.open() != 0) {
    state.SkipWithError("cannot open the setup database");
    return;
  }
  const RawConnection raw("setup");
  Pairs pairs;
  for (auto _ : state) {
    pairs.Run(
        state, [&] { raw.SelectOne(); },
        [&] {
          ResultPtr rows(db.get_dmod_diag_shot("Magnetics", 120100, 1));
          Check(rows->GetLines() == 2);
        });
  }
  pairs.Report(state);
  db.Close();
}

BENCHMARK(BM_SiteId)->UseManualTime();
BENCHMARK(BM_HostId)->UseManualTime();
BENCHMARK(BM_DiagId)->UseManualTime();
BENCHMARK(BM_HostName)->UseManualTime();
BENCHMARK(BM_LinkRow)->UseManualTime();
BENCHMARK(BM_ParameterRows)->UseManualTime();
BENCHMARK(BM_ModuleTable)->UseManualTime();
BENCHMARK(BM_UnitTable)->UseManualTime();
BENCHMARK(BM_ChannelSettings)->UseManualTime();
BENCHMARK(BM_SetupModules)->UseManualTime();
BENCHMARK(BM_ConnectPerCall)->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  BenchCluster cluster;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
