#include "db/pg_connection.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <utility>

#include "access/state.h"
#include "db/query_deadline.h"
#include "db/security.h"

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
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp<long long>(left.count(), 0, INT_MAX));
}

// `message` on one line: each run of line breaks, tabs and spaces becomes one
// space; none leads or trails.
std::string OneLine(const char* message) {
  std::string line;
  for (const char* c = message ? message : ""; *c != '\0'; ++c) {
    const bool space = *c == '\n' || *c == '\r' || *c == '\t' || *c == ' ';
    if (space && (line.empty() || line.back() == ' ')) continue;
    line += space ? ' ' : *c;
  }
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
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

int QueryTimeoutSeconds() { return SecondsSetting("TOVAK_DB_QUERY_TIMEOUT", kDefaultQueryTimeout); }

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
  // Every statement is a keyed probe whose best plan does not depend on the
  // values, so it is planned once per connection, not at every execution;
  // compiling it (JIT, which a generic plan's estimate can set off) would
  // cost more than running it ever does.
  const std::string options =
      "-c statement_timeout=" + std::to_string(QueryTimeoutSeconds() * 1000) +
      " -c plan_cache_mode=force_generic_plan -c jit=off";
  // Keyword/value pairs, never a connection string built from the caller's
  // texts; expand_dbname stays off so a database name is only a name. Empty
  // values fall back to libpq's defaults (an empty host: PGHOST). A list of
  // hosts is tried in order, each with the whole connect_timeout. Over TCP,
  // keepalives and the user timeout end a wait on a peer that went away.
  // TLS and the password source follow the site's settings (db/security.h).
  const ConnectionSecurity security = SecurityFor(params_.user);
  const std::string password = security.libpqPassword ? std::string() : params_.password;
  const char* const keywords[] = {"host",
                                  "port",
                                  "dbname",
                                  "user",
                                  "password",
                                  "connect_timeout",
                                  "application_name",
                                  "options",
                                  "keepalives_idle",
                                  "keepalives_interval",
                                  "keepalives_count",
                                  "tcp_user_timeout",
                                  "sslmode",
                                  "sslrootcert",
                                  nullptr};
  const char* const values[] = {params_.host.c_str(),
                                params_.port.c_str(),
                                params_.database.c_str(),
                                params_.user.c_str(),
                                password.c_str(),
                                timeout.c_str(),
                                "tovak",
                                options.c_str(),
                                "30",
                                "10",
                                "3",
                                "60000",
                                security.sslmode.c_str(),
                                security.sslrootcert.c_str(),
                                nullptr};
  conn_.reset(PQconnectdbParams(keywords, values, 0));
  // Queries are sent and read without blocking, so that a wait for the
  // server is always one that the deadline bounds, and pipelined.
  if (conn_ == nullptr || PQstatus(conn_.get()) != CONNECTION_OK ||
      PQsetnonblocking(conn_.get(), 1) != 0 || PQenterPipelineMode(conn_.get()) != 1) {
    const std::string reason = conn_ ? PQerrorMessage(conn_.get()) : "out of memory";
    RecordFailure(OneLine(
        ("database \"" + params_.database + "\" as \"" + params_.user + "\": " + reason).c_str()));
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

std::string PgConnection::Server() const {
  PGconn* conn = conn_.get();
  if (conn == nullptr) return "";
  const char* host = PQhost(conn);
  const char* port = PQport(conn);
  return std::string(host ? host : "") + ":" + (port ? port : "");
}

bool PgConnection::Broken() const {
  return conn_ == nullptr || PQstatus(conn_.get()) == CONNECTION_BAD;
}

std::unique_ptr<PgResult> PgConnection::Query(const Statement& statement,
                                              std::initializer_list<Param> params) {
  return Query(statement, params.begin(), static_cast<int>(params.size()), nullptr, nullptr);
}

std::unique_ptr<PgResult> PgConnection::Query(const Statement& statement, const Param* params,
                                              int count, const Statement* probe,
                                              std::string* probeValue) {
  if (probeValue != nullptr) probeValue->clear();
  if (count > kMaxParams) return std::make_unique<PgResult>();
  const char* values[kMaxParams] = {};
  for (int i = 0; i < count; ++i) values[i] = params[i].value();
  const Deadline deadline = QueryEnd(std::chrono::seconds(QueryTimeoutSeconds()));
  for (int attempt = 0; attempt < 2; ++attempt) {
    // The callers asked is_open() before their first query; a connection
    // that ended since is noticed by the query and retried.
    if (Broken() && Open() != 0) break;
    PGresultPtr probed, rows;
    const Call calls[] = {{probe, nullptr, 0, &probed}, {&statement, values, count, &rows}};
    const Outcome outcome =
        probe != nullptr ? Execute(calls, 2, deadline) : Execute(calls + 1, 1, deadline);
    if (outcome == Outcome::kDone) {
      if (probeValue != nullptr && PQntuples(probed.get()) > 0) {
        *probeValue = PQgetvalue(probed.get(), 0, 0);
      }
      return std::make_unique<PgResult>(std::move(rows));
    }
    // A connection that broke or still owes an answer is of no further use.
    if (outcome == Outcome::kLost || outcome == Outcome::kTimedOut) Disconnect();
    if (outcome != Outcome::kLost || MillisecondsLeft(deadline) == 0) break;
  }
  return std::make_unique<PgResult>();
}

bool PgConnection::Send(const Call& call, bool prepare) {
  PGconn* conn = conn_.get();
  const char* name = call.statement->name;
  if (prepare && PQsendPrepare(conn, name, call.statement->sql, call.count, nullptr) != 1) {
    return false;
  }
  return PQsendQueryPrepared(conn, name, call.count, call.values, nullptr, nullptr, 0) == 1;
}

PgConnection::Outcome PgConnection::Execute(const Call* calls, int callCount, Deadline deadline) {
  // Commands in the pipeline, in order: a prepare (when new), then its
  // execution, for each call. Results come back in the same order.
  struct Expected {
    const char* prepares;  // the statement a prepare creates, else null
    PGresultPtr* rows;
  };
  Expected expected[2 * kMaxCalls];
  if (callCount > kMaxCalls) return Outcome::kFailed;
  int commands = 0;
  for (int i = 0; i < callCount; ++i) {
    const char* name = calls[i].statement->name;
    const bool prepare =
        !prepared_.contains(name) && (i == 0 || calls[i].statement != calls[0].statement);
    // A pipeline cut short would leave the connection out of step.
    if (!Send(calls[i], prepare)) return Outcome::kLost;
    if (prepare) expected[commands++] = {name, nullptr};
    expected[commands++] = {nullptr, calls[i].rows};
  }
  if (PQpipelineSync(conn_.get()) != 1) return Outcome::kLost;

  bool done = true;
  for (int i = 0; i < commands; ++i) {
    PGresultPtr first;
    const Outcome read = Collect(deadline, &first);
    if (read != Outcome::kDone) return read;
    const ExecStatusType wanted = expected[i].prepares ? PGRES_COMMAND_OK : PGRES_TUPLES_OK;
    const bool ok = HasStatus(first.get(), wanted);
    // A statement whose prepare failed is prepared again on its next use.
    if (ok && expected[i].prepares != nullptr) prepared_.insert(expected[i].prepares);
    done = done && ok;
    if (expected[i].rows != nullptr) *expected[i].rows = std::move(first);
  }
  PGresultPtr sync;
  const Outcome synced = Collect(deadline, &sync);
  if (synced != Outcome::kDone) return synced;
  if (!HasStatus(sync.get(), PGRES_PIPELINE_SYNC)) return Outcome::kLost;
  return done ? Outcome::kDone : Outcome::kFailed;
}

PgConnection::Outcome PgConnection::Collect(Deadline deadline, PGresultPtr* first) {
  for (;;) {
    const Outcome waited = AwaitResult(deadline);
    if (waited != Outcome::kDone) return waited;
    PGresultPtr next(PQgetResult(conn_.get()));
    // The sync's result stands alone: no end marker follows it.
    if (next != nullptr && PQresultStatus(next.get()) == PGRES_PIPELINE_SYNC) {
      *first = std::move(next);
      return Outcome::kDone;
    }
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
