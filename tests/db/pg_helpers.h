// Helpers of the database tests: a plain libpq connection that looks at the
// server from the outside, environment settings undone at scope exit, and a
// cluster of the test's own that it may stop and start.
#ifndef TOVAK_TESTS_DB_PG_HELPERS_H_
#define TOVAK_TESTS_DB_PG_HELPERS_H_

#include <libpq-fe.h>

#include <optional>
#include <string>
#include <vector>

namespace tovak::testing {

// A connection of its own to the index database as a site, by the socket in
// PGHOST, that is not the library's.
class Observer {
 public:
  explicit Observer(const char* site = "ubo");
  ~Observer();
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;

  bool connected() const;
  // Backend process ids of the library's connections (application "tovak").
  std::vector<int> LibraryBackends();
  // Ends a backend as an idle timeout or an administrator would.
  bool Terminate(int pid);
  // Runs a statement; the server's error message, or nullopt on success.
  std::optional<std::string> Run(const char* sql);

 private:
  PGconn* conn_;
};

// Sets an environment variable until the end of the scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

// A cluster in a fresh temporary directory, created with scripts/dbctl
// (TOVAK_DBCTL), stopped and removed at the end.
class OwnCluster {
 public:
  OwnCluster();
  ~OwnCluster();
  OwnCluster(const OwnCluster&) = delete;
  OwnCluster& operator=(const OwnCluster&) = delete;

  bool Start();
  bool Stop();
  const std::string& socket() const { return socket_; }

 private:
  bool Dbctl(const char* command);

  std::string dir_;
  std::string socket_;
};

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_DB_PG_HELPERS_H_
