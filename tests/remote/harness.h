// The harness of the db and remote tests: temporary directories and keys, servers and clusters
// stopped by PID, paused processes, raw gRPC calls, and the one way to wait for another process.
#ifndef TOVAK_TESTS_REMOTE_HARNESS_H_
#define TOVAK_TESTS_REMOTE_HARNESS_H_

#include <grpcpp/channel.h>
#include <grpcpp/support/status.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tovak::testing {

void WriteFile(const std::string& path, const std::string& text);
std::string ReadFile(const std::string& path);
void Run(const std::string& command);  // a shell command; throws unless it succeeds

// Checks condition every 10 ms until it holds (true) or guard passes (false): a bound on a hang.
inline constexpr std::chrono::minutes kGuard{1};
template <class Condition>
bool Eventually(Condition condition, std::chrono::milliseconds guard = kGuard) {
  for (const auto end = std::chrono::steady_clock::now() + guard; !condition();) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

// What owns a process, a file or a directory, and so is never copied.
struct Unique {
  Unique& operator=(Unique&&) = delete;  // and so every copy and move
};

// A directory under /tmp, removed with its content.
class TempDir : Unique {
 public:
  TempDir() {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp " + path_);
  }
  ~TempDir() { std::filesystem::remove_all(path_, ignored_); }  // left behind at worst
  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_ = "/tmp/tovak-test-XXXXXX";
  std::error_code ignored_;
};

// DIR/NAME.key (PEM, encrypted unless the passphrase in NAME.pass is ""), NAME.pub: DIR/NAME.
std::string MakeUserKey(const TempDir& dir, const std::string& name, const char* algorithm,
                        const std::string& passphrase);
// DIR/NAME.crt, self-signed for localhost and 127.0.0.1, and NAME.key; returns DIR/NAME.
std::string MakeServerCert(const TempDir& dir, const std::string& name);

// Stops the processes with SIGSTOP until it goes out of scope (a negative pid: a process group).
class Stopped : Unique {
 public:
  explicit Stopped(std::vector<pid_t> pids) : pids_(std::move(pids)) {
    for (pid_t pid : pids_) ok_ = pid != 0 && pid != -1 && kill(pid, SIGSTOP) == 0 && ok_;
  }
  ~Stopped() {
    for (pid_t pid : pids_) kill(pid, SIGCONT);
  }
  bool ok() const { return ok_; }

 private:
  std::vector<pid_t> pids_;
  bool ok_ = true;
};

// A tovak-server of the demo sites ubo, tsu and odd of the cluster PGHOST names, on 127.0.0.1:port
// (0: any) with extra configuration lines; in a process group of its own, stopped by its PID.
class ServerProcess : Unique {
 public:
  ServerProcess(const TempDir& dir, const std::string& name, const std::string& extra,
                int port = 0);
  ~ServerProcess() { Stop(); }

  bool listening() const { return pid_ > 0 && port_ > 0; }
  int port() const { return port_; }
  pid_t group() const { return -pid_; }
  std::vector<pid_t> Workers() const;
  std::string Log() const { return ReadFile(log_); }
  std::string Address(const std::string& site, const char* scheme = "grpc") const;
  void Signal(int signal) {
    if (pid_ > 0) kill(pid_, signal);
  }
  // SIGTERM to the supervisor, or another signal to the whole group: the exit status (waitpid's).
  int Stop(int signal = SIGTERM);

 private:
  std::string log_;
  pid_t pid_ = -1;
  int port_ = 0, status_ = -1;
};

// A cluster of scripts/dbctl (TOVAK_DBCTL): the one in dir, or a fresh demo one, removed after.
class Cluster : Unique {
 public:
  explicit Cluster(std::string dir) : dir_(std::move(dir)) {}
  Cluster();
  ~Cluster() {
    if (own_) Dbctl("stop --remove");
  }

  bool Dbctl(const std::string& command) const;  // "start", "stop"...
  std::string socket() const { return dir_ + "/socket"; }
  pid_t Postmaster() const;
  std::vector<pid_t> Processes() const;  // the postmaster and the server processes it started

 private:
  std::unique_ptr<TempDir> own_;
  std::string dir_;
};

// Calls method with payload as its request and metadata (site "ubo" unless named): the status.
grpc::Status CallWithPayload(const std::shared_ptr<grpc::Channel>& channel,
                             const std::string& method, const std::string& payload,
                             std::map<std::string, std::string> metadata = {});
std::shared_ptr<grpc::Channel> PlainChannel(int port);

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_HARNESS_H_
