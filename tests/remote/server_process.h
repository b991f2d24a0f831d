// A tovak-server started by a test on a loopback port, stopped by its PID.
#ifndef TOVAK_TESTS_REMOTE_SERVER_PROCESS_H_
#define TOVAK_TESTS_REMOTE_SERVER_PROCESS_H_

#include <sys/types.h>

#include <string>

#include "remote/test_files.h"

namespace tovak::testing {

class ServerProcess {
 public:
  // Writes config to DIR/NAME.conf; the server's standard error goes to
  // DIR/NAME.log.
  ServerProcess(const TempDir& dir, const std::string& name, const std::string& config);
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;
  ~ServerProcess();

  // Starts the server and waits until it listens; false when it exits or
  // does not listen within a minute.
  bool Start();
  // SIGTERM, then waits; the exit status as waitpid reports it, -1 when
  // not running.
  int Stop();
  // Stops and resumes the whole server (supervisor and workers).
  void Pause();
  void Resume();

  int port() const { return port_; }
  std::string Log() const { return ReadFile(logFile_); }
  // "grpc://127.0.0.1:PORT/site" (scheme "grpcs" when tls).
  std::string Address(const std::string& site, bool tls = false) const;

 private:
  std::string configFile_, logFile_, portFile_;
  pid_t pid_ = -1;
  int port_ = 0;
  bool paused_ = false;
};

// A configuration: listen on 127.0.0.1:port, the demo sites served from the
// private cluster, plus extra lines.
std::string ServerConfigText(int port, int workers, const std::string& extra);

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_SERVER_PROCESS_H_
