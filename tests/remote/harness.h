// The harness of the db and remote tests: throwaway directories and keys, a tovak-server on
// loopback and a PostgreSQL cluster of scripts/dbctl, both stopped by PID; processes held with
// SIGSTOP; raw gRPC calls; and the one way to wait for what another process or thread does.
#ifndef TOVAK_TESTS_REMOTE_HARNESS_H_
#define TOVAK_TESTS_REMOTE_HARNESS_H_

#include <grpcpp/channel.h>
#include <grpcpp/support/status.h>
#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tovak::testing {

void WriteFile(const std::string& path, const std::string& text);
std::string ReadFile(const std::string& path);
// Runs a shell command; throws unless it succeeds.
void Run(const std::string& command);

// Checks condition every 10 ms until it holds (true) or guard passes (false). The guard only bounds
// a hang: a test waits for what it needs, never for a time it hopes is long enough.
inline constexpr std::chrono::minutes kGuard{1};
template <class Condition>
bool Eventually(Condition condition, std::chrono::milliseconds guard = kGuard) {
  for (const auto end = std::chrono::steady_clock::now() + guard; !condition();) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

// A directory under /tmp, removed with its content.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_ = "/tmp/tovak-test-XXXXXX";
};

// DIR/NAME.key (PEM, encrypted unless the passphrase is empty; the passphrase in NAME.pass) and
// NAME.pub; returns DIR/NAME.
std::string MakeUserKey(const TempDir& dir, const std::string& name, const char* algorithm,
                        const std::string& passphrase);
// DIR/NAME.crt, self-signed for localhost and 127.0.0.1, and NAME.key; returns DIR/NAME.
std::string MakeServerCert(const TempDir& dir, const std::string& name);

// Stops the processes with SIGSTOP until it goes out of scope (a negative pid: a process group).
class Stopped {
 public:
  explicit Stopped(std::vector<pid_t> pids);
  ~Stopped();
  Stopped(const Stopped&) = delete;
  Stopped& operator=(const Stopped&) = delete;
  bool ok() const { return ok_; }

 private:
  std::vector<pid_t> pids_;
  bool ok_ = true;
};

// The child processes of pid.
std::vector<pid_t> Children(pid_t pid);

// A tovak-server serving the demo sites ubo, tsu and odd of the cluster PGHOST names on
// 127.0.0.1:port (0: any), with extra configuration lines; started at once in a process group of
// its own, stopped by its PID at the end.
class ServerProcess {
 public:
  ServerProcess(const TempDir& dir, const std::string& name, const std::string& extra,
                int port = 0);
  ~ServerProcess() { Stop(); }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  bool listening() const { return pid_ > 0 && port_ > 0; }
  int port() const { return port_; }
  pid_t group() const { return -pid_; }
  std::vector<pid_t> Workers() const { return Children(pid_); }
  std::string Log() const { return ReadFile(log_); }
  std::string Address(const std::string& site, const char* scheme = "grpc") const;
  void Signal(int signal);
  // SIGTERM to the supervisor, or signal to the whole group; its exit status as waitpid gives it.
  int Stop();
  void KillAll(int signal);

 private:
  std::string log_;
  pid_t pid_ = -1;
  int port_ = 0, status_ = -1;
};

// A cluster of scripts/dbctl (TOVAK_DBCTL): the one in dir, or a fresh one of its own with the demo
// experiment, made now and removed at the end.
class Cluster {
 public:
  explicit Cluster(std::string dir) : dir_(std::move(dir)) {}
  Cluster();
  ~Cluster();
  Cluster(const Cluster&) = delete;
  Cluster& operator=(const Cluster&) = delete;

  bool Dbctl(const std::string& command) const;  // "start", "stop"...
  std::string socket() const { return dir_ + "/socket"; }
  pid_t Postmaster() const;
  std::vector<pid_t> Processes() const;  // the postmaster and the server processes it started

 private:
  std::unique_ptr<TempDir> own_;
  std::string dir_;
};

// Calls method of the remote data service with payload as its request and the metadata (site
// "ubo" unless it names another): the gRPC status.
grpc::Status CallWithPayload(const std::shared_ptr<grpc::Channel>& channel,
                             const std::string& method, const std::string& payload,
                             std::map<std::string, std::string> metadata = {});
std::shared_ptr<grpc::Channel> PlainChannel(int port);

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_HARNESS_H_
