#include "pg_helpers.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

namespace tovak::testing {
namespace {

using ResultPtr = std::unique_ptr<PGresult, decltype(&PQclear)>;

ResultPtr Exec(PGconn* conn, const char* sql, int count = 0,
               const char* const* values = nullptr) {
  return ResultPtr(PQexecParams(conn, sql, count, nullptr, values, nullptr, nullptr, 0),
                   &PQclear);
}

}  // namespace

Observer::Observer(const char* site) {
  const char* const keywords[] = {"dbname", "user", "password", "application_name", nullptr};
  const char* const values[] = {"index", site, "19981107quorblex3", "observer", nullptr};
  conn_ = PQconnectdbParams(keywords, values, 0);
}

Observer::~Observer() { PQfinish(conn_); }

bool Observer::connected() const { return PQstatus(conn_) == CONNECTION_OK; }

std::vector<int> Observer::LibraryBackends() {
  ResultPtr rows = Exec(conn_,
                        "SELECT pid FROM pg_stat_activity WHERE application_name = 'tovak'"
                        " AND usename = current_user ORDER BY pid");
  std::vector<int> pids;
  if (PQresultStatus(rows.get()) != PGRES_TUPLES_OK) return pids;
  for (int i = 0; i < PQntuples(rows.get()); ++i) {
    pids.push_back(std::atoi(PQgetvalue(rows.get(), i, 0)));
  }
  return pids;
}

bool Observer::Terminate(int pid) {
  const std::string text = std::to_string(pid);
  const char* const values[] = {text.c_str()};
  ResultPtr done = Exec(conn_, "SELECT pg_terminate_backend($1::integer, 10000)", 1, values);
  return PQresultStatus(done.get()) == PGRES_TUPLES_OK &&
         std::string(PQgetvalue(done.get(), 0, 0)) == "t";
}

std::optional<std::string> Observer::Run(const char* sql) {
  ResultPtr done = Exec(conn_, sql);
  const ExecStatusType status = PQresultStatus(done.get());
  if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) return std::nullopt;
  return std::string(PQresultErrorMessage(done.get()));
}

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : name_(name) {
  if (const char* old = std::getenv(name)) old_ = old;
  setenv(name, value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
  if (old_) {
    setenv(name_.c_str(), old_->c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}

OwnCluster::OwnCluster() {
  std::string pattern = (std::filesystem::temp_directory_path() / "tovak-db-XXXXXX").string();
  if (mkdtemp(pattern.data()) != nullptr) dir_ = pattern;
  socket_ = dir_ + "/socket";
}

OwnCluster::~OwnCluster() {
  if (dir_.empty()) return;
  Stop();
  std::error_code ignored;
  std::filesystem::remove_all(dir_, ignored);
}

bool OwnCluster::Dbctl(const char* command) {
  const char* dbctl = std::getenv("TOVAK_DBCTL");
  if (dbctl == nullptr || dir_.empty()) return false;
  const std::string line =
      std::string("'") + dbctl + "' " + command + " '" + dir_ + "' >/dev/null 2>&1";
  return std::system(line.c_str()) == 0;
}

bool OwnCluster::Start() { return Dbctl("start"); }
bool OwnCluster::Stop() { return Dbctl("stop"); }

}  // namespace tovak::testing
