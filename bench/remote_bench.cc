// Remote lookups against a real tovak-server on loopback.
//
// Latency: the same lookup (the DTS link of a Magnetics channel) by direct
// database access (the floor) and through the server, back to back in each
// iteration, with both connections kept open. Counters ours_us (remote),
// floor_us (direct) and floor_ratio = remote / direct, anonymous.
//
// Cost of identity: blocks of the same remote lookup, anonymous and
// authenticated in turn, in the same run: over a plain connection with a
// signed proof on every call, and over TLS with a client certificate that
// names the user once per connection. Counters anonymous_us,
// authenticated_us and ratio = authenticated / anonymous.
//
// Throughput: 1, 4 and 16 client processes calling as fast as they can for
// a fixed time, against servers with 1 and with 4 worker processes; counter
// calls_per_s.
//
// The cluster: see bench_cluster.h.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_cluster.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

bool Shell(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A private directory with the keys and the servers' files, and the cluster.
class Workspace {
 public:
  Workspace() {
    std::string dir = (fs::temp_directory_path() / "tovak-rbench-XXXXXX").string();
    if (mkdtemp(dir.data()) == nullptr) std::abort();
    dir_ = dir;
    keys_ =
        Shell("openssl genpkey -algorithm ED25519 -out " + dir_ + "/alice.key") &&
        Shell("openssl pkey -in " + dir_ + "/alice.key -pubout -out " + dir_ + "/alice.pub") &&
        Shell("openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out " + dir_ +
              "/bob.key") &&
        Shell("openssl pkey -in " + dir_ + "/bob.key -pubout -out " + dir_ + "/bob.pub") &&
        Shell("(openssl req -x509 -days 2 -subj /CN=alice -key " + dir_ + "/alice.key -out " +
              dir_ + "/alice.crt && cat " + dir_ + "/alice.key " + dir_ + "/alice.crt > " + dir_ +
              "/alice.pem)") &&
        Shell(
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes"
            " -days 2 -subj /CN=localhost -addext subjectAltName=IP:127.0.0.1 -keyout " +
            dir_ + "/server.key -out " + dir_ + "/server.crt && chmod 600 " + dir_ + "/server.key");
  }
  ~Workspace() {
    std::error_code ignored;
    fs::remove_all(dir_, ignored);
  }
  std::string File(const std::string& name) const { return dir_ + "/" + name; }
  bool ready() const { return keys_; }

 private:
  BenchCluster cluster_;
  std::string dir_;
  bool keys_ = false;
};

Workspace& Space() {
  static Workspace workspace;
  return workspace;
}

// A tovak-server with the given number of workers, stopped by its PID.
class Server {
 public:
  explicit Server(int workers, bool tls = false) : scheme_(tls ? "grpcs" : "grpc") {
    const std::string name = "server" + std::to_string(workers) + scheme_;
    const std::string config = Space().File(name + ".conf");
    port_ = Space().File(name + ".port");
    std::ofstream(config) << "listen = 127.0.0.1:0\nworkers = " << workers
                          << "\nanonymous = allow\nuser.alice = " << Space().File("alice.pub")
                          << "\nuser.bob = " << Space().File("bob.pub")
                          << "\nsite.ubo.index = /ubo\nsite.tsu.index = /tsu\n";
    if (tls) {
      std::ofstream(config, std::ios::app) << "tls_certificate = " << Space().File("server.crt")
                                           << "\ntls_key = " << Space().File("server.key") << "\n";
    }
    std::remove(port_.c_str());
    pid_ = fork();
    if (pid_ == 0) {
      if (std::freopen("/dev/null", "w", stderr) == nullptr) _exit(127);
      execl(TOVAK_SERVER_BINARY, "tovak-server", "--config", config.c_str(), "--port-file",
            port_.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    for (int i = 0; i < 3000 && ReadAll(port_).empty(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    port_ = std::to_string(std::atoi(ReadAll(port_).c_str()));
  }
  // The server's address for callers of a site.
  std::string address(const char* site = "ubo") const {
    return scheme_ + "://127.0.0.1:" + port_ + "/" + site;
  }
  ~Server() {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }

 private:
  std::string scheme_;
  pid_t pid_ = -1;
  std::string port_;
};

int LookUp(const char* server) {
  char kind[64], text1[64], text2[64], source[64], word3[64];
  short n3, n4;
  int setting, n8, pre, interval, host;
  return tovakGetDTSinfox("Magnetics", 120000, 0, 1, 1, server, kind, text1, text2, &n3, &n4,
                          &setting, &n8, source, &pre, &interval, &host, word3);
}

void BM_RemoteLatency(benchmark::State& state) {
  if (!Space().ready()) return state.SkipWithError("openssl could not make a key");
  Server server(1);
  tovakRelease();
  IndexNoClosing(1);
  const std::string address = server.address();
  setTovakProtocolV2(address.c_str());
  if (LookUp(nullptr) != 0) return state.SkipWithError("remote lookup failed");
  setTovakProtocolV1();
  if (LookUp("/ubo") != 0) return state.SkipWithError("direct lookup failed");
  double direct = 0, remote = 0;
  for (auto _ : state) {
    setTovakProtocolV1();
    auto t0 = Clock::now();
    benchmark::DoNotOptimize(LookUp("/ubo"));
    auto t1 = Clock::now();
    setTovakProtocolV2(address.c_str());
    benchmark::DoNotOptimize(LookUp(nullptr));
    auto t2 = Clock::now();
    direct += std::chrono::duration<double>(t1 - t0).count();
    remote += std::chrono::duration<double>(t2 - t1).count();
  }
  setTovakProtocolV1();
  IndexNoClosing(0);
  tovakRelease();
  const double n = static_cast<double>(state.iterations());
  state.counters["ours_us"] = remote / n * 1e6;
  state.counters["floor_us"] = direct / n * 1e6;
  state.counters["floor_ratio"] = direct > 0 ? remote / direct : 0;
  state.SetLabel("anonymous calls");
}
BENCHMARK(BM_RemoteLatency)->Iterations(2000)->UseRealTime();

// Anonymous, or the user with the key file USER.KIND (a connection of its own).
void UseCredentials(const char* user, const char* kind) {
  if (user != nullptr) {
    setenv("TOVAK_USER", user, 1);
    setenv("TOVAK_USER_KEY_FILE", Space().File(std::string(user) + "." + kind).c_str(), 1);
  } else {
    unsetenv("TOVAK_USER");
    unsetenv("TOVAK_USER_KEY_FILE");
  }
  tovakRelease();
}

constexpr int kBlockCalls = 200;

// Arg: 0 plain with Ed25519 proofs, 1 plain with ECDSA P-256 proofs, 2 TLS with a client
// certificate.
void BM_IdentityCost(benchmark::State& state) {
  if (!Space().ready()) return state.SkipWithError("openssl could not make a key");
  const int64_t mode = state.range(0);
  const bool tls = mode == 2;
  const char* user = mode == 1 ? "bob" : "alice";
  Server server(1, tls);
  setenv("TOVAK_CA_FILE", Space().File("server.crt").c_str(), 1);
  const std::string address = server.address();
  setTovakProtocolV2(address.c_str());
  double seconds[2] = {0, 0};  // anonymous, authenticated
  for (auto _ : state) {
    for (int authenticated : {0, 1}) {
      UseCredentials(authenticated == 0 ? nullptr : user, tls ? "pem" : "key");
      if (LookUp(nullptr) != 0) return state.SkipWithError("remote lookup failed");
      const auto start = Clock::now();
      for (int i = 0; i < kBlockCalls; ++i) benchmark::DoNotOptimize(LookUp(nullptr));
      seconds[authenticated] += std::chrono::duration<double>(Clock::now() - start).count();
    }
  }
  UseCredentials(nullptr, nullptr);
  setTovakProtocolV1();
  const double calls = static_cast<double>(state.iterations()) * kBlockCalls;
  state.counters["anonymous_us"] = seconds[0] / calls * 1e6;
  state.counters["authenticated_us"] = seconds[1] / calls * 1e6;
  state.counters["ratio"] = seconds[0] > 0 ? seconds[1] / seconds[0] : 0;
  const char* labels[] = {"plain, Ed25519 proof per call", "plain, P-256 proof per call",
                          "TLS, client certificate"};
  state.SetLabel(labels[mode]);
}
BENCHMARK(BM_IdentityCost)->DenseRange(0, 2)->Iterations(10)->UseRealTime();

// Runs in a client process: calls for the given time, prints the count.
int ClientMain(const char* address, double seconds) {
  setTovakProtocolV2(address);
  long calls = 0;
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  while (Clock::now() < end) {
    if (LookUp(nullptr) != 0) return 1;
    ++calls;
  }
  std::printf("%ld\n", calls);
  return 0;
}

constexpr double kThroughputSeconds = 3.0;

// Clients of one site (ubo), or of two sites in turn (ubo, tsu: each worker
// then serves both).
void BM_ServerThroughput(benchmark::State& state) {
  Space();
  const int clients = static_cast<int>(state.range(0));
  const int workers = static_cast<int>(state.range(1));
  const bool mixed = state.range(2) != 0;
  Server server(workers);
  for (auto _ : state) {
    std::vector<std::pair<pid_t, std::string>> children;
    for (int i = 0; i < clients; ++i) {
      const std::string out = Space().File("client" + std::to_string(i) + ".out");
      const std::string address = server.address(mixed && i % 2 == 1 ? "tsu" : "ubo");
      const pid_t pid = fork();
      if (pid == 0) {
        if (std::freopen(out.c_str(), "w", stdout) == nullptr) _exit(127);
        execl("/proc/self/exe", "remote_bench", "--client", address.c_str(),
              std::to_string(kThroughputSeconds).c_str(), static_cast<char*>(nullptr));
        _exit(127);
      }
      children.emplace_back(pid, out);
    }
    long calls = 0;
    bool failed = false;
    for (const auto& [pid, out] : children) {
      int status = 0;
      waitpid(pid, &status, 0);
      failed |= !WIFEXITED(status) || WEXITSTATUS(status) != 0;
      calls += std::atol(ReadAll(out).c_str());
    }
    if (failed) return state.SkipWithError("a client failed");
    state.counters["calls_per_s"] = static_cast<double>(calls) / kThroughputSeconds;
  }
  state.counters["clients"] = clients;
  state.counters["workers"] = workers;
  state.SetLabel(mixed ? "two sites" : "one site");
}
BENCHMARK(BM_ServerThroughput)
    ->ArgsProduct({{1, 4, 16}, {1, 4}, {0}})
    ->Args({16, 2, 0})
    ->Args({16, 2, 1})
    ->Args({16, 4, 1})
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--client") == 0) {
    return ClientMain(argv[2], std::atof(argv[3]));
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
