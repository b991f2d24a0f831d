#include "db/pg_connection.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <utility>

namespace tovak::db {
namespace {

constexpr int kDefaultConnectTimeout = 5;
constexpr int kDefaultQueryTimeout = 30;
constexpr long kLongestTimeout = 3600;

// Server notices are not the library's messages: they are dropped.
void IgnoreNotice(void*, const char*) {}

bool HasStatus(const PGresult* result, ExecStatusType wanted) {
  return result != nullptr && PQresultStatus(result) == wanted;
}

// Whole seconds from the environment variable `name`, or `fallback` when it
// is unset or not a number from 1 to kLongestTimeout.
int SecondsSetting(const char* name, int fallback) {
  const char* setting = std::getenv(name);
  if (setting == nullptr) return fallback;
  char* end = nullptr;
  const long seconds = std::strtol(setting, &end, 10);
  if (end == setting || *end != '\0' || seconds <= 0 || seconds > kLongestTimeout) {
    return fallback;
  }
  return static_cast<int>(seconds);
}

// Milliseconds left until the deadline, at most INT_MAX; 0 once it passed.
int MillisecondsLeft(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(
      deadline - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp<long long>(left.count(), 0, INT_MAX));
}

}  // namespace

ConnectionParams MakeParams(const char* host, const char* port, const char* database,
                            const char* user, const char* password) {
  auto text = [](const char* s) { return std::string(s ? s : ""); };
  return {text(host), text(port), text(database), text(user), text(password)};
}

int ConnectTimeoutSeconds() {
  return SecondsSetting("TOVAK_DB_CONNECT_TIMEOUT", kDefaultConnectTimeout);
}

int QueryTimeoutSeconds() {
  return SecondsSetting("TOVAK_DB_QUERY_TIMEOUT", kDefaultQueryTimeout);
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
  // The server ends a statement after the query timeout too, so that one the
  // library gave up on does not go on running (or waiting for a lock) and
  // holding a connection slot.
  const std::string options =
      "-c statement_timeout=" + std::to_string(QueryTimeoutSeconds() * 1000);
  // Keyword/value pairs, never a connection string built from the caller's
  // texts; expand_dbname stays off so a database name is only a name. Empty
  // values fall back to libpq's defaults (an empty host: PGHOST). A list of
  // hosts is tried in order, each with the whole connect_timeout. Over TCP,
  // keepalives and the user timeout end a wait on a peer that went away.
  const char* const keywords[] = {"host",             "port",
                                  "dbname",           "user",
                                  "password",         "connect_timeout",
                                  "application_name", "options",
                                  "keepalives_idle",  "keepalives_interval",
                                  "keepalives_count", "tcp_user_timeout",
                                  nullptr};
  const char* const values[] = {params_.host.c_str(),     params_.port.c_str(),
                                params_.database.c_str(), params_.user.c_str(),
                                params_.password.c_str(), timeout.c_str(),
                                "tovak",                  options.c_str(),
                                "30",                     "10",
                                "3",                      "60000",
                                nullptr};
  conn_.reset(PQconnectdbParams(keywords, values, 0));
  // Queries are sent and read without blocking, so that a wait for the
  // server is always one that the deadline bounds.
  if (conn_ == nullptr || PQstatus(conn_.get()) != CONNECTION_OK ||
      PQsetnonblocking(conn_.get(), 1) != 0) {
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
  PGconn* conn = conn_.get();
  if (conn == nullptr || PQstatus(conn) != CONNECTION_OK) return false;
  // Between queries the server speaks only to end the connection or to pass
  // a notice. The end shows as readable end of file, which libpq notices on
  // the read after the one that took the last message.
  pollfd socket{PQsocket(conn), POLLIN, 0};
  for (int reads = 0; reads < 4 && poll(&socket, 1, 0) > 0; ++reads) {
    if (PQconsumeInput(conn) == 0) return false;
  }
  return PQstatus(conn) == CONNECTION_OK;
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
  const Deadline deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(QueryTimeoutSeconds());
  for (int attempt = 0; attempt < 2; ++attempt) {
    // The callers asked is_open() before their first query; a connection
    // that ended since is noticed by the query and retried.
    if (Broken() && Open() != 0) break;
    Outcome outcome = Outcome::kFailed;
    PGresultPtr rows = Execute(statement, values, count, deadline, &outcome);
    if (rows != nullptr) return std::make_unique<PgResult>(std::move(rows));
    // A connection that broke or still owes an answer is of no further use.
    if (outcome == Outcome::kLost || outcome == Outcome::kTimedOut) Disconnect();
    if (outcome != Outcome::kLost || MillisecondsLeft(deadline) == 0) break;
  }
  return std::make_unique<PgResult>();
}

PGresultPtr PgConnection::Execute(const Statement& statement, const char* const* values,
                                  int count, Deadline deadline, Outcome* outcome) {
  PGconn* conn = conn_.get();
  if (!prepared_.contains(statement.name)) {
    const bool sent = PQsendPrepare(conn, statement.name, statement.sql, count, nullptr) == 1;
    PGresultPtr done;
    if (!Complete(sent, PGRES_COMMAND_OK, deadline, &done, outcome)) return nullptr;
    prepared_.insert(statement.name);
  }
  const bool sent =
      PQsendQueryPrepared(conn, statement.name, count, values, nullptr, nullptr, 0) == 1;
  PGresultPtr rows;
  if (!Complete(sent, PGRES_TUPLES_OK, deadline, &rows, outcome)) return nullptr;
  return rows;
}

bool PgConnection::Complete(bool sent, ExecStatusType wanted, Deadline deadline,
                            PGresultPtr* first, Outcome* outcome) {
  *outcome = sent ? Collect(deadline, first) : Outcome::kFailed;
  if (*outcome == Outcome::kDone && HasStatus(first->get(), wanted)) return true;
  if (*outcome != Outcome::kTimedOut && Broken()) *outcome = Outcome::kLost;
  if (*outcome == Outcome::kDone) *outcome = Outcome::kFailed;
  return false;
}

PgConnection::Outcome PgConnection::Collect(Deadline deadline, PGresultPtr* first) {
  for (;;) {
    const Outcome waited = AwaitResult(deadline);
    if (waited != Outcome::kDone) return waited;
    PGresultPtr next(PQgetResult(conn_.get()));
    if (next == nullptr) return Outcome::kDone;
    if (*first == nullptr) *first = std::move(next);
  }
}

PgConnection::Outcome PgConnection::AwaitResult(Deadline deadline) {
  PGconn* conn = conn_.get();
  for (;;) {
    if (PQstatus(conn) == CONNECTION_BAD) return Outcome::kLost;
    const int unsent = PQflush(conn);
    if (unsent < 0) return Outcome::kLost;
    if (unsent == 0 && PQisBusy(conn) == 0) return Outcome::kDone;
    const int left = MillisecondsLeft(deadline);
    if (left == 0) return Outcome::kTimedOut;
    const short events = static_cast<short>(unsent > 0 ? POLLIN | POLLOUT : POLLIN);
    pollfd socket{PQsocket(conn), events, 0};
    const int ready = poll(&socket, 1, left);
    if (ready < 0 && errno != EINTR) return Outcome::kLost;
    if (ready <= 0) continue;
    if ((socket.revents & POLLNVAL) != 0) return Outcome::kLost;
    if ((socket.revents & (POLLIN | POLLERR | POLLHUP)) != 0 && PQconsumeInput(conn) == 0) {
      return Outcome::kLost;
    }
  }
}

}  // namespace tovak::db
