#include "db/pg_connection.h"

#include <cstdlib>
#include <string>
#include <utility>

namespace tovak::db {
namespace {

constexpr int kDefaultConnectTimeout = 5;

// Server notices are not the library's messages: they are dropped.
void IgnoreNotice(void*, const char*) {}

bool HasStatus(const PGresult* result, ExecStatusType wanted) {
  return result != nullptr && PQresultStatus(result) == wanted;
}

}  // namespace

ConnectionParams MakeParams(const char* host, const char* port, const char* database,
                            const char* user, const char* password) {
  auto text = [](const char* s) { return std::string(s ? s : ""); };
  return {text(host), text(port), text(database), text(user), text(password)};
}

int ConnectTimeoutSeconds() {
  const char* setting = std::getenv("TOVAK_DB_CONNECT_TIMEOUT");
  if (setting == nullptr) return kDefaultConnectTimeout;
  char* end = nullptr;
  const long seconds = std::strtol(setting, &end, 10);
  if (end == setting || *end != '\0' || seconds <= 0 || seconds > 3600) {
    return kDefaultConnectTimeout;
  }
  return static_cast<int>(seconds);
}

void PgConnection::Configure(ConnectionParams params) {
  if (params == params_) return;
  Disconnect();
  params_ = std::move(params);
}

int PgConnection::Open() {
  if (IsOpen()) return 0;
  Disconnect();
  const std::string timeout = std::to_string(ConnectTimeoutSeconds());
  // Keyword/value pairs, never a connection string built from the caller's
  // texts; expand_dbname stays off so a database name is only a name. Empty
  // values fall back to libpq's defaults (an empty host: PGHOST). Over TCP,
  // keepalives and the user timeout end a wait on a peer that went away.
  const char* const keywords[] = {"host",             "port",
                                  "dbname",           "user",
                                  "password",         "connect_timeout",
                                  "application_name", "keepalives_idle",
                                  "keepalives_interval", "keepalives_count",
                                  "tcp_user_timeout", nullptr};
  const char* const values[] = {params_.host.c_str(),     params_.port.c_str(),
                                params_.database.c_str(), params_.user.c_str(),
                                params_.password.c_str(), timeout.c_str(),
                                "tovak",                  "30",
                                "10",                     "3",
                                "60000",                  nullptr};
  conn_.reset(PQconnectdbParams(keywords, values, 0));
  if (conn_ == nullptr || PQstatus(conn_.get()) != CONNECTION_OK) {
    Disconnect();
    return -1;
  }
  PQsetNoticeProcessor(conn_.get(), IgnoreNotice, nullptr);
  return 0;
}

void PgConnection::Disconnect() {
  conn_.reset();
  prepared_.clear();
}

bool PgConnection::IsOpen() const {
  return conn_ != nullptr && PQstatus(conn_.get()) == CONNECTION_OK;
}

bool PgConnection::Broken() const {
  return conn_ == nullptr || PQstatus(conn_.get()) == CONNECTION_BAD;
}

std::unique_ptr<PgResult> PgConnection::Query(const Statement& statement,
                                              std::initializer_list<Param> params) {
  const char* values[kMaxParams] = {};
  int count = 0;
  for (const Param& param : params) {
    if (count == kMaxParams) return std::make_unique<PgResult>();
    values[count++] = param.value();
  }
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (Open() != 0) break;
    bool lost = false;
    PGresultPtr rows = Execute(statement, values, count, &lost);
    if (rows != nullptr) return std::make_unique<PgResult>(std::move(rows));
    if (!lost) break;
    Disconnect();
  }
  return std::make_unique<PgResult>();
}

bool PgConnection::Prepare(const Statement& statement, int count) {
  if (prepared_.contains(statement.name)) return true;
  PGresultPtr done(PQprepare(conn_.get(), statement.name, statement.sql, count, nullptr));
  if (!HasStatus(done.get(), PGRES_COMMAND_OK)) return false;
  prepared_.insert(statement.name);
  return true;
}

PGresultPtr PgConnection::Execute(const Statement& statement, const char* const* values,
                                  int count, bool* lost) {
  if (!Prepare(statement, count)) {
    *lost = Broken();
    return nullptr;
  }
  PGresultPtr rows(
      PQexecPrepared(conn_.get(), statement.name, count, values, nullptr, nullptr, 0));
  if (HasStatus(rows.get(), PGRES_TUPLES_OK)) return rows;
  *lost = Broken();
  return nullptr;
}

}  // namespace tovak::db
