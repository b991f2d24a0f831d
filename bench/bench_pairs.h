// Timing a measured piece of work against a floor, back to back in each
// iteration: first one then the other first in alternate iterations
// (whichever goes first wakes the server), so that load on the machine
// affects both alike. Counters: ours_us, floor_us and floor_ratio = ours /
// floor.
#ifndef TOVAK_BENCH_BENCH_PAIRS_H_
#define TOVAK_BENCH_BENCH_PAIRS_H_

#include <benchmark/benchmark.h>
#include <libpq-fe.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>

class Pairs {
 public:
  void Run(benchmark::State& state, const std::function<void()>& floorWork,
           const std::function<void()>& ourWork) {
    const bool floorFirst = (count_++ % 2) == 0;
    const double first = Timed(floorFirst ? floorWork : ourWork);
    const double second = Timed(floorFirst ? ourWork : floorWork);
    const double ours = floorFirst ? second : first;
    floor_ += floorFirst ? first : second;
    ours_ += ours;
    state.SetIterationTime(ours);
  }
  void Report(benchmark::State& state) const {
    const double n = static_cast<double>(state.iterations());
    state.counters["ours_us"] = ours_ / n * 1e6;
    state.counters["floor_us"] = floor_ / n * 1e6;
    state.counters["floor_ratio"] = floor_ > 0 ? ours_ / floor_ : 0;
  }

 private:
  static double Timed(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

  long count_ = 0;
  double ours_ = 0, floor_ = 0;
};

inline void Check(bool ok) {
  if (!ok) std::abort();
}

// A raw libpq connection as the site "ubo" to the database on PGHOST's
// socket: the floor's own.
class RawConnection {
 public:
  explicit RawConnection(const char* database) : conn_(Connect(database)) {
    Check(PQstatus(conn_) == CONNECTION_OK);
  }
  ~RawConnection() { PQfinish(conn_); }
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  static PGconn* Connect(const char* database) {
    const char* const keywords[] = {"dbname", "user", "password", nullptr};
    const char* const values[] = {database, "ubo", "19981107quorblex3", nullptr};
    return PQconnectdbParams(keywords, values, 0);
  }
  void SelectOne() const {
    PGresult* result = PQexec(conn_, "SELECT 1");
    Check(PQresultStatus(result) == PGRES_TUPLES_OK);
    PQclear(result);
  }

 private:
  PGconn* conn_;
};

#endif  // TOVAK_BENCH_BENCH_PAIRS_H_
