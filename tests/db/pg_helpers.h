// Helpers of the database tests: a plain libpq connection that looks at the
// server from the outside, an environment variable set for a scope, and a
// cluster of the test's own that it may stop and start.
#ifndef TOVAK_TESTS_DB_PG_HELPERS_H_
#define TOVAK_TESTS_DB_PG_HELPERS_H_

#include <libpq-fe.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tovak::testing {

// A connection of its own to the index database as a site (socket: PGHOST).
class Observer {
 public:
  explicit Observer(const char* site = "ubo") {
    const char* const keywords[] = {"dbname", "user", "password", "application_name",
                                    nullptr};
    const char* const values[] = {"index", site, "19981107quorblex3", "observer", nullptr};
    conn_.reset(PQconnectdbParams(keywords, values, 0));
  }

  bool connected() const { return PQstatus(conn_.get()) == CONNECTION_OK; }

  // Backend process ids of the library's connections (application "tovak").
  std::vector<int> LibraryBackends() {
    Result rows = Exec("SELECT pid FROM pg_stat_activity WHERE application_name = 'tovak'"
                       " AND usename = current_user ORDER BY pid");
    std::vector<int> pids;
    for (int i = 0; i < PQntuples(rows.get()); ++i) {
      pids.push_back(std::atoi(PQgetvalue(rows.get(), i, 0)));
    }
    return pids;
  }

  // Ends a backend as an idle timeout or an administrator would.
  bool Terminate(int pid) {
    const std::string text = std::to_string(pid);
    Result done = Exec("SELECT pg_terminate_backend($1::integer, 10000)", text.c_str());
    return PQntuples(done.get()) == 1 && std::string(PQgetvalue(done.get(), 0, 0)) == "t";
  }

  // The server's error message, or nullopt when the statement succeeded.
  std::optional<std::string> Run(const char* sql) {
    Result done = Exec(sql);
    const ExecStatusType status = PQresultStatus(done.get());
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) return std::nullopt;
    return std::string(PQresultErrorMessage(done.get()));
  }

 private:
  using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;
  Result Exec(const char* sql, const char* param = nullptr) {
    return Result(PQexecParams(conn_.get(), sql, param ? 1 : 0, nullptr, &param, nullptr,
                               nullptr, 0),
                  &PQclear);
  }

  std::unique_ptr<PGconn, decltype(&PQfinish)> conn_{nullptr, &PQfinish};
};

class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    setenv(name, value.c_str(), 1);
  }
  ~ScopedEnv() { old_ ? setenv(name_.c_str(), old_->c_str(), 1) : unsetenv(name_.c_str()); }

 private:
  std::string name_;
  std::optional<std::string> old_;
};

// A cluster in a fresh temporary directory made with scripts/dbctl
// (TOVAK_DBCTL); stopped and removed at the end.
class OwnCluster {
 public:
  OwnCluster() {
    std::string dir = (std::filesystem::temp_directory_path() / "tovak-db-XXXXXX").string();
    if (mkdtemp(dir.data()) != nullptr) dir_ = dir;
  }
  ~OwnCluster() {
    if (dir_.empty()) return;
    Stop();
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }

  bool Start() { return Dbctl("start"); }
  bool Stop() { return Dbctl("stop"); }
  std::string socket() const { return dir_ + "/socket"; }

 private:
  bool Dbctl(const char* command) {
    const char* dbctl = std::getenv("TOVAK_DBCTL");
    if (dbctl == nullptr || dir_.empty()) return false;
    const std::string line = std::string("'") + dbctl + "' " + command + " '" + dir_ +
                             "' >/dev/null 2>&1";
    return std::system(line.c_str()) == 0;
  }

  std::string dir_;
};

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_DB_PG_HELPERS_H_
