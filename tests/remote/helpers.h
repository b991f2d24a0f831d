// Throwaway files and servers of the remote tests: a private directory, user keys and a server
// certificate made with the openssl command, and a tovak-server on loopback, stopped by its PID.
// Also the tests' one way to wait for something another process or thread does.
#ifndef TOVAK_TESTS_REMOTE_HELPERS_H_
#define TOVAK_TESTS_REMOTE_HELPERS_H_

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tovak::testing {

inline void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

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

inline void Run(const std::string& command) {
  if (std::system((command + " 2>/dev/null").c_str()) != 0) throw std::runtime_error(command);
}

// A directory under /tmp, removed with its content.
class TempDir {
 public:
  TempDir() {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp " + path_);
  }
  ~TempDir() { std::filesystem::remove_all(path_, ignored_); }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_ = "/tmp/tovak-remote-XXXXXX";
  std::error_code ignored_;
};

// DIR/NAME: a key pair NAME.key (PEM, encrypted unless the passphrase is empty) and NAME.pub.
inline std::string MakeUserKey(const TempDir& dir, const std::string& name, const char* algorithm,
                               const std::string& passphrase) {
  const std::string key = dir.File(name), pass = "'file:" + key + ".pass'";  // any characters
  WriteFile(key + ".pass", passphrase + "\n");
  const bool plain = passphrase.empty();
  Run("openssl genpkey -algorithm " + std::string(algorithm) +
      (plain ? "" : " -aes-256-cbc -pass " + pass) + " -out '" + key + ".key'");
  Run("openssl pkey -in '" + key + ".key'" + (plain ? "" : " -passin " + pass) + " -pubout -out '" +
      key + ".pub'");
  return key;
}

// DIR/NAME: NAME.crt, self-signed for localhost and 127.0.0.1 (the client's CA file too), NAME.key.
inline std::string MakeServerCert(const TempDir& dir, const std::string& name) {
  const std::string cert = dir.File(name);
  Run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
      " -subj /CN=localhost -addext subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout '" +
      cert + ".key' -out '" + cert + ".crt'");
  return cert;
}

#ifdef TOVAK_SERVER_BINARY
// A tovak-server serving the demo sites of the private cluster on 127.0.0.1:port (0: any), with
// extra configuration lines; started at once, stopped by its PID at the end.
class ServerProcess {
 public:
  ServerProcess(const TempDir& dir, const std::string& name, const std::string& extra, int port = 0)
      : log_(dir.File(name + ".log")) {
    const std::string configFile = dir.File(name + ".conf"), portFile = dir.File(name + ".port");
    WriteFile(configFile, "listen = 127.0.0.1:" + std::to_string(port) + "\nsite.ubo.index = " +
                              "/ubo\nsite.tsu.index = /tsu\nsite.odd.index = /odd\n" + extra);
    if ((pid_ = fork()) == 0) {
      setpgid(0, 0);  // a group of its own, so that Pause reaches the workers too
      dup2(open(log_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
      execl(TOVAK_SERVER_BINARY, "tovak-server", "--config", configFile.c_str(), "--port-file",
            portFile.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    setpgid(pid_, pid_);
    Eventually([&] {  // the file appears once every worker listens
      if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) pid_ = -1;
      port_ = std::atoi(ReadFile(portFile).c_str());
      return port_ > 0 || pid_ < 0;
    });
  }
  ~ServerProcess() { Stop(); }

  bool listening() const { return pid_ > 0 && port_ > 0; }
  // SIGTERM unless it ended already; its exit status as waitpid gives it.
  int Stop() {
    Pause(false);
    if (pid_ > 0 && kill(pid_, SIGTERM) == 0) waitpid(pid_, &status_, 0);
    pid_ = -1;
    return status_;
  }
  void Pause(bool stop) {
    if (pid_ > 0) kill(-pid_, stop ? SIGSTOP : SIGCONT);
  }
  void Signal(int signal) {
    if (pid_ > 0) kill(pid_, signal);
  }
  // Sends signal to the supervisor and every worker, then reaps the supervisor.
  void KillAll(int signal) {
    if (pid_ > 0 && kill(-pid_, signal) == 0) waitpid(pid_, &status_, 0);
    pid_ = -1;
  }
  // The worker processes the supervisor runs now.
  std::vector<pid_t> Workers() const {
    std::vector<pid_t> workers;
    std::ifstream children("/proc/" + std::to_string(pid_) + "/task/" + std::to_string(pid_) +
                           "/children");
    for (pid_t pid = 0; children >> pid;) workers.push_back(pid);
    return workers;
  }
  int port() const { return port_; }
  std::string Log() const { return ReadFile(log_); }
  std::string Address(const std::string& site, const char* scheme = "grpc") const {
    return std::string(scheme) + "://127.0.0.1:" + std::to_string(port_) + "/" + site;
  }

 private:
  std::string log_;
  pid_t pid_ = -1;
  int port_ = 0, status_ = -1;
};
#endif  // TOVAK_SERVER_BINARY

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_HELPERS_H_
