// One libpq connection: its parameters, the statements prepared on it, the
// time a query may take, and the single retry of a query whose connection
// was lost. Statements go out in pipeline mode, so that a query is one round
// trip even when its statement is prepared on first use, and a query can be
// sent together with the catalog version it is to be checked against.
#ifndef TOVAK_DB_PG_CONNECTION_H_
#define TOVAK_DB_PG_CONNECTION_H_

#include <libpq-fe.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "db/pg_result.h"
#include "tovak/rdb.h"

namespace tovak::db {

struct ConnectionParams {
  std::string host, port, database, user, password;

  bool operator==(const ConnectionParams&) const = default;
};

// Copies the five texts; a null text becomes the empty text.
ConnectionParams MakeParams(const char* host, const char* port, const char* database,
                            const char* user, const char* password);

// Seconds a connection attempt may take: TOVAK_DB_CONNECT_TIMEOUT when it
// holds a positive number, else 5.
int ConnectTimeoutSeconds();
// Seconds one query, its preparation included, may take:
// TOVAK_DB_QUERY_TIMEOUT when it holds a positive number, else 30.
int QueryTimeoutSeconds();

// Kinds of identifier the catalog queries answer.
enum class IdKind { kNone, kSite, kDiag, kUnit };

// A statement with parameters $1..$n, prepared under its name on first use
// on each connection. Parameter types come from the SQL's context.
// `answers`: the kind of identifier its one cell is; `params[n - 1]`: the
// kind of identifier parameter $n is, when a caller may have read it from
// the catalog.
struct Statement {
  const char* name;
  const char* sql;
  IdKind answers = IdKind::kNone;
  IdKind params[5] = {};
};

// A query parameter in text form; a null text is SQL NULL.
class Param {
 public:
  Param(const char* text) : isNull_(text == nullptr), text_(text ? text : "") {}
  Param(int32_t value) : text_(std::to_string(value)) {}
  Param(uint32_t value) : text_(std::to_string(value)) {}

  const char* value() const { return isNull_ ? nullptr : text_.c_str(); }
  bool is_null() const { return isNull_; }
  const std::string& text() const { return text_; }
  void set_text(std::string text) {
    isNull_ = false;
    text_ = std::move(text);
  }

 private:
  bool isNull_ = false;
  std::string text_;
};

struct PGconnDeleter {
  void operator()(PGconn* conn) const { PQfinish(conn); }
};
using PGconnPtr = std::unique_ptr<PGconn, PGconnDeleter>;

class PgConnection {
 public:
  static constexpr int kMaxParams = 5;  // the size of Statement::params

  // Records the parameters of the next Open(). Other parameters than the
  // connected ones end the connection, so that Open() reaches the new target.
  void Configure(ConnectionParams params);
  const ConnectionParams& params() const { return params_; }
  // Connects unless connected; 0 on success, -1 on failure.
  int Open();
  void Disconnect();
  // True while connected. Reads what the server sent since the last query,
  // without waiting, so that a connection the server ended in between (a
  // restart, a terminated backend) reads as closed.
  bool IsOpen() const;

  // Runs a read-only statement (at most kMaxParams parameters) within the
  // query timeout. On a lost connection the statement is sent once more on
  // a fresh one, within what is left of that time. A statement that runs out
  // of time fails at once and ends the connection. Never null; the caller
  // owns the result.
  std::unique_ptr<PgResult> Query(const Statement& statement, std::initializer_list<Param> params);
  // As Query, with the one-cell statement `probe` (no parameters) sent in the
  // same round trip, just before it; *probeValue receives its cell, "" when
  // it failed (then the statement fails too).
  std::unique_ptr<PgResult> Query(const Statement& statement, const Param* params, int count,
                                  const Statement* probe, std::string* probeValue);

  PGconn* raw() const { return conn_.get(); }
  // "host:port" of the server the open connection reached (one of a list).
  std::string Server() const;

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  // How a statement ended. kLost: the connection broke; kTimedOut: the
  // deadline passed while the server owed an answer.
  enum class Outcome { kDone, kFailed, kLost, kTimedOut };

  // Statements in one round trip, at most.
  static constexpr int kMaxCalls = 2;
  // One statement of a round trip: its rows land in *rows.
  struct Call {
    const Statement* statement;
    const char* const* values;
    int count;
    PGresultPtr* rows;
  };

  // Sends the calls in one pipeline (each statement prepared first when it is
  // new on this connection) and reads their results. kDone when every call
  // has its rows; otherwise how the round trip failed.
  Outcome Execute(const Call* calls, int callCount, Deadline deadline);
  // Queues the commands of one call, its prepare first when `prepare`;
  // false when libpq refused one.
  bool Send(const Call& call, bool prepare);
  // Reads the results of one command, keeping the first.
  Outcome Collect(Deadline deadline, PGresultPtr* first);
  // Waits until a result can be taken without blocking.
  Outcome AwaitResult(Deadline deadline);
  bool Broken() const;

  ConnectionParams params_;
  PGconnPtr conn_;
  std::set<std::string, std::less<>> prepared_;  // statement names prepared on conn_
};

}  // namespace tovak::db

#endif  // TOVAK_DB_PG_CONNECTION_H_
