// The database cluster a benchmark runs against: the one PGHOST names when
// TOVAK_BENCH_USE_PGHOST is set, otherwise a private one that scripts/dbctl
// starts for the run in a directory of its own (dbctl hands it to the
// database's own user when run as root) and stops at the end.
#ifndef TOVAK_BENCH_BENCH_CLUSTER_H_
#define TOVAK_BENCH_BENCH_CLUSTER_H_

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

class BenchCluster {
 public:
  BenchCluster() {
    if (std::getenv("TOVAK_BENCH_USE_PGHOST") != nullptr) return;
    std::string dir = (std::filesystem::temp_directory_path() / "tovak-bench-XXXXXX").string();
    if (mkdtemp(dir.data()) == nullptr) return;
    dir_ = dir;
    if (Dbctl("start")) setenv("PGHOST", (dir_ + "/socket").c_str(), 1);
  }
  ~BenchCluster() {
    if (dir_.empty()) return;
    Dbctl("stop");
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }
  BenchCluster(const BenchCluster&) = delete;
  BenchCluster& operator=(const BenchCluster&) = delete;

  // True for a cluster of this run (not one PGHOST names).
  bool owned() const { return !dir_.empty(); }
  // Runs `dbctl COMMAND DIR ARGS`; true when it succeeded.
  bool Dbctl(const std::string& command, const std::string& args = "") const {
    const std::string line = std::string("'") + TOVAK_DBCTL + "' " + command + " '" + dir_ + "' " +
                             args + " >/dev/null 2>&1";
    return std::system(line.c_str()) == 0;
  }

 private:
  std::string dir_;
};

#endif  // TOVAK_BENCH_BENCH_CLUSTER_H_
