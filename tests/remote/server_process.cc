#include "remote/server_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace tovak::testing {

ServerProcess::ServerProcess(const TempDir& dir, const std::string& name,
                             const std::string& config)
    : configFile_(dir.File(name + ".conf")),
      logFile_(dir.File(name + ".log")),
      portFile_(dir.File(name + ".port")) {
  WriteFile(configFile_, config);
}

ServerProcess::~ServerProcess() { Stop(); }

bool ServerProcess::Start() {
  std::remove(portFile_.c_str());
  pid_ = fork();
  if (pid_ < 0) return false;
  if (pid_ == 0) {
    setpgid(0, 0);  // its own group, so Pause reaches the workers too
    const int log = open(logFile_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (log >= 0) dup2(log, STDERR_FILENO);
    execl(TOVAK_SERVER_BINARY, "tovak-server", "--config", configFile_.c_str(), "--port-file",
          portFile_.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  setpgid(pid_, pid_);
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (std::chrono::steady_clock::now() < giveUp) {
    const std::string port = ReadFile(portFile_);
    if (!port.empty()) {
      port_ = std::atoi(port.c_str());
      return true;
    }
    if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
      pid_ = -1;
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  Stop();
  return false;
}

int ServerProcess::Stop() {
  if (pid_ <= 0) return -1;
  Resume();
  kill(pid_, SIGTERM);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return status;
}

void ServerProcess::Pause() {
  if (pid_ > 0 && !paused_) kill(-pid_, SIGSTOP);
  paused_ = true;
}

void ServerProcess::Resume() {
  if (pid_ > 0 && paused_) kill(-pid_, SIGCONT);
  paused_ = false;
}

std::string ServerProcess::Address(const std::string& site, bool tls) const {
  return std::string(tls ? "grpcs" : "grpc") + "://127.0.0.1:" + std::to_string(port_) + "/" +
         site;
}

std::string ServerConfigText(int port, int workers, const std::string& extra) {
  return "listen = 127.0.0.1:" + std::to_string(port) + "\nworkers = " +
         std::to_string(workers) +
         "\nsite.ubo.index = /ubo\nsite.tsu.index = /tsu\nsite.odd.index = /odd\n" + extra;
}

}  // namespace tovak::testing
