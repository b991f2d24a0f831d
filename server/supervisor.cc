#include "server/supervisor.h"

#include <netdb.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include "server/nonce_store.h"
#include "server/worker.h"

namespace tovak::server {
namespace {

constexpr int kStartTimeoutMs = 30000;
// A worker told to stop that has not ended after this is killed: the whole stop ends within 5 s.
constexpr auto kStopTimeout = std::chrono::seconds(4);
// A worker that dies sooner than this after its start is not restarted
// again at once.
constexpr auto kRestartPause = std::chrono::seconds(1);

// A worker ends with _exit (the supervisor's state must not be torn down
// twice), which skips the leak check a sanitized build runs at exit: it is
// run here instead, and a leak ends the worker with the sanitizer's status.
extern "C" __attribute__((weak)) void __lsan_do_leak_check();
void CheckLeaks() {
  if (__lsan_do_leak_check != nullptr) __lsan_do_leak_check();
}

// The signals the supervisor waits for: stop (SIGTERM, SIGINT), a child ended (SIGCHLD) and
// reload (SIGHUP).
sigset_t SupervisorSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGCHLD);
  sigaddset(&signals, SIGHUP);
  return signals;
}

// A file descriptor closed when it goes out of scope.
class Fd {
 public:
  explicit Fd(int fd = -1) : fd_(fd) {}
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  Fd(Fd&& other) noexcept : fd_(other.release()) {}
  Fd& operator=(Fd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~Fd() { reset(); }
  int get() const { return fd_; }
  int release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }
  void reset(int fd = -1) {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }

 private:
  int fd_;
};

std::string Address(const std::string& host, int port) {
  const bool ipv6 = host.find(':') != std::string::npos;
  return (ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

// Binds a socket to host:port (0: a free port the system picks) and keeps it while the workers
// start. With SO_REUSEADDR and without SO_REUSEPORT, the bind fails while any other socket listens
// on the port (another server's workers among them); the workers, which share the port among
// themselves, may join it because it does not listen. 0, or the errno of the failure.
int ReservePort(const std::string& host, int wanted, Fd* reservation, int* port) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(wanted).c_str(), &hints, &found) != 0) {
    return EADDRNOTAVAIL;
  }
  std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
  int failure = EADDRNOTAVAIL;
  for (addrinfo* ai = list.get(); ai != nullptr; ai = ai->ai_next) {
    Fd fd(socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC, ai->ai_protocol));
    const int on = 1;
    if (fd.get() < 0 || setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(fd.get(), ai->ai_addr, ai->ai_addrlen) != 0) {
      failure = errno;
      continue;
    }
    sockaddr_storage bound{};
    socklen_t length = sizeof bound;
    char service[16];
    if (getsockname(fd.get(), reinterpret_cast<sockaddr*>(&bound), &length) != 0 ||
        getnameinfo(reinterpret_cast<sockaddr*>(&bound), length, nullptr, 0, service,
                    sizeof service, NI_NUMERICSERV) != 0) {
      failure = errno;
      continue;
    }
    *port = std::atoi(service);
    *reservation = std::move(fd);
    return 0;
  }
  return failure;
}

struct Worker {
  pid_t pid = -1;
  std::chrono::steady_clock::time_point started;
};

class Supervisor {
 public:
  Supervisor(const ServerConfig& config, std::shared_ptr<const KeySet> keys, NonceStore& nonces,
             std::string address, Fd reservation)
      : config_(config),
        keys_(std::move(keys)),
        nonces_(nonces),
        address_(std::move(address)),
        reservation_(std::move(reservation)) {}

  // Starts every worker; false when one fails to start.
  bool StartAll() {
    workers_.resize(static_cast<size_t>(config_.workers));
    for (Worker& worker : workers_) {
      if (!Start(worker)) return false;
    }
    return true;
  }

  // Waits for signals: stops on SIGTERM or SIGINT. Dead workers are replaced when a SIGCHLD
  // arrives, and every kRestartPause in any case: signals of several children may arrive as one,
  // and a worker that failed to start is tried again.
  void Run() {
    const sigset_t signals = SupervisorSignals();
    const timespec pause = {std::chrono::seconds(kRestartPause).count(), 0};
    for (;;) {
      const int signal = sigtimedwait(&signals, nullptr, &pause);
      if (signal == SIGTERM || signal == SIGINT) return;
      if (signal == SIGHUP) ReloadKeys();
      ReplaceMissingWorkers();
    }
  }

  // The listening port is held by the workers now.
  void ReleaseReservation() { reservation_.reset(); }

  // Stops every worker; false when one of them ended with a failure (killed ones included).
  bool StopAll() { return Stop(workers_); }

 private:
  bool Start(Worker& worker) {
    int fds[2];
    if (pipe(fds) != 0) return false;
    Fd readEnd(fds[0]), writeEnd(fds[1]);
    const pid_t supervisor = getpid();
    const pid_t pid = fork();
    if (pid < 0) return false;
    if (pid == 0) {
      // A worker outlives no supervisor, not even one that died before this line.
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      if (getppid() != supervisor) _exit(1);
      readEnd.reset();
      reservation_.reset();
      std::fflush(stderr);
      const int status = RunWorker(config_, *keys_, nonces_, address_, writeEnd.release());
      CheckLeaks();
      _exit(status);
    }
    writeEnd.reset();
    worker.pid = pid;
    worker.started = std::chrono::steady_clock::now();
    return AwaitReady(readEnd.get(), worker);
  }

  // The worker reports readiness with one byte; end of file or time-out
  // means it failed.
  static bool AwaitReady(int fd, Worker& worker) {
    pollfd wait{fd, POLLIN, 0};
    char ready = 0;
    if (poll(&wait, 1, kStartTimeoutMs) == 1 && read(fd, &ready, 1) == 1) return true;
    kill(worker.pid, SIGKILL);
    waitpid(worker.pid, nullptr, 0);
    worker.pid = -1;
    return false;
  }

  // Stops workers: SIGTERM, then SIGKILL for those not ended within kStopTimeout. False when
  // one of them ended with a failure (killed ones included).
  static bool Stop(std::span<Worker> workers) {
    for (Worker& worker : workers) {
      if (worker.pid > 0) kill(worker.pid, SIGTERM);
    }
    bool clean = true;
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    const auto end = std::chrono::steady_clock::now() + kStopTimeout;
    for (std::chrono::nanoseconds left = kStopTimeout;
         ReapStopped(workers, &clean) && left.count() > 0;
         left = end - std::chrono::steady_clock::now()) {
      const timespec wait = {static_cast<time_t>(left.count() / 1000000000),
                             static_cast<long>(left.count() % 1000000000)};
      sigtimedwait(&child, nullptr, &wait);
    }
    for (Worker& worker : workers) {
      if (worker.pid <= 0) continue;
      std::fprintf(stderr, "tovak-server: worker %d did not stop in time, killed\n",
                   static_cast<int>(worker.pid));
      kill(worker.pid, SIGKILL);
    }
    while (ReapStopped(workers, &clean)) sigtimedwait(&child, nullptr, nullptr);
    return clean;
  }

  // Reaps the workers that ended, each reported when it failed; true while some still run.
  static bool ReapStopped(std::span<Worker> workers, bool* clean) {
    bool running = false;
    for (Worker& worker : workers) {
      int status = 0;
      if (worker.pid <= 0) continue;
      if (waitpid(worker.pid, &status, WNOHANG) != worker.pid) {
        running = true;
        continue;
      }
      if (!(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
        std::fprintf(stderr, "tovak-server: worker %d failed when stopped (%s %d)\n",
                     static_cast<int>(worker.pid), WIFSIGNALED(status) ? "signal" : "exit",
                     WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
        *clean = false;
      }
      worker.pid = -1;
    }
    return running;
  }

  void ReplaceMissingWorkers() {
    for (Worker& worker : workers_) {
      int status = 0;
      if (worker.pid > 0) {
        if (waitpid(worker.pid, &status, WNOHANG) != worker.pid) continue;
        std::fprintf(stderr, "tovak-server: worker %d ended (%s %d), starting another\n",
                     static_cast<int>(worker.pid), WIFSIGNALED(status) ? "signal" : "exit",
                     WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
        worker.pid = -1;
      }
      const auto lived = std::chrono::steady_clock::now() - worker.started;
      if (lived < kRestartPause) std::this_thread::sleep_for(kRestartPause - lived);
      if (!Start(worker)) {
        std::fprintf(stderr, "tovak-server: a worker failed to start, trying again\n");
      }
    }
  }

  // Loads the keys again; when they load, replaces the workers one at a time,
  // each new one listening before the old one stops. A failed load keeps
  // the old keys.
  void ReloadKeys() {
    std::string error;
    std::shared_ptr<const KeySet> keys = LoadKeySet(config_, &error);
    if (!keys) {
      std::fprintf(stderr, "tovak-server: keys not reloaded, the old ones stay: %s\n",
                   error.c_str());
      return;
    }
    keys_ = std::move(keys);
    int replaced = 0;
    for (Worker& worker : workers_) {
      Worker fresh;
      if (!Start(fresh)) continue;
      Worker old = std::exchange(worker, fresh);
      Stop(std::span<Worker>(&old, 1));
      ++replaced;
    }
    std::fprintf(stderr, "tovak-server: keys reloaded, %d of %zu worker(s) replaced\n", replaced,
                 workers_.size());
  }

  const ServerConfig& config_;
  std::shared_ptr<const KeySet> keys_;
  NonceStore& nonces_;
  std::string address_;
  Fd reservation_;  // keeps the port from other servers until the workers listen on it
  std::vector<Worker> workers_;
};

bool WritePortFile(const std::string& path, int port) {
  const std::string temporary = path + ".tmp";
  {
    std::ofstream out(temporary, std::ios::trunc);
    out << port << "\n";
    if (!out) return false;
  }
  return std::rename(temporary.c_str(), path.c_str()) == 0;
}

void BlockStopSignals() {
  const sigset_t signals = SupervisorSignals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

int Supervise(const ServerConfig& config, std::shared_ptr<const KeySet> keys,
              const std::string& portFile) {
  // Blocked here, inherited by the workers: each process waits for them
  // with sigwait.
  BlockStopSignals();
  NonceStore nonces;
  std::string error;
  if (!nonces.Open(config.nonceFile, &error)) {
    std::fprintf(stderr, "tovak-server: %s\n", error.c_str());
    return 1;
  }
  Fd reservation;
  int port = config.listenPort;
  const std::string wanted = Address(config.listenHost, port);
  if (const int failure = ReservePort(config.listenHost, port, &reservation, &port); failure != 0) {
    std::fprintf(stderr, "tovak-server: cannot listen on %s: %s\n", wanted.c_str(),
                 failure == EADDRINUSE ? "another process (another server?) listens there"
                                       : std::strerror(failure));
    return 1;
  }
  const std::string address = Address(config.listenHost, port);
  Supervisor supervisor(config, std::move(keys), nonces, address, std::move(reservation));
  if (!supervisor.StartAll()) {
    std::fprintf(stderr, "tovak-server: workers failed to start on %s\n", address.c_str());
    supervisor.StopAll();
    return 1;
  }
  supervisor.ReleaseReservation();
  std::fprintf(stderr, "tovak-server: listening on %s, %d worker(s), TLS %s\n", address.c_str(),
               config.workers, config.tls() ? "on" : "off");
  if (!portFile.empty() && !WritePortFile(portFile, port)) {
    std::fprintf(stderr, "tovak-server: cannot write %s\n", portFile.c_str());
    supervisor.StopAll();
    return 1;
  }
  supervisor.Run();
  const bool clean = supervisor.StopAll();
  std::fprintf(stderr, "tovak-server: stopped\n");
  return clean ? 0 : 1;
}

}  // namespace tovak::server
