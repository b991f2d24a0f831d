// One libpq connection: its parameters, the statements prepared on it, the
// time a query may take, and the single retry of a query whose connection
// was lost.
#ifndef TOVAK_DB_PG_CONNECTION_H_
#define TOVAK_DB_PG_CONNECTION_H_

#include <libpq-fe.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>

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

// A statement with parameters $1..$n, prepared under its name on first use
// on each connection. Parameter types come from the SQL's context.
struct Statement {
  const char* name;
  const char* sql;
};

// A query parameter in text form; a null text is SQL NULL.
class Param {
 public:
  Param(const char* text) : isNull_(text == nullptr), text_(text ? text : "") {}
  Param(int32_t value) : text_(std::to_string(value)) {}
  Param(uint32_t value) : text_(std::to_string(value)) {}

  const char* value() const { return isNull_ ? nullptr : text_.c_str(); }

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
  static constexpr int kMaxParams = 5;

  // Records the parameters of the next Open(). Other parameters than the
  // connected ones end the connection, so that Open() reaches the new target.
  void Configure(ConnectionParams params);
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
  std::unique_ptr<PgResult> Query(const Statement& statement,
                                  std::initializer_list<Param> params);

  PGconn* raw() const { return conn_.get(); }

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  // How a statement ended. kLost: the connection broke; kTimedOut: the
  // deadline passed while the server owed an answer.
  enum class Outcome { kDone, kFailed, kLost, kTimedOut };

  // The rows, or null with *outcome telling how the statement failed.
  PGresultPtr Execute(const Statement& statement, const char* const* values, int count,
                      Deadline deadline, Outcome* outcome);
  // Reads the answer to the command just sent (sent is false when libpq
  // refused to send it): true when its first result has the wanted status.
  bool Complete(bool sent, ExecStatusType wanted, Deadline deadline, PGresultPtr* first,
                Outcome* outcome);
  // Reads every result of the command just sent, keeping the first.
  Outcome Collect(Deadline deadline, PGresultPtr* first);
  // Waits until a result can be taken without blocking.
  Outcome AwaitResult(Deadline deadline);
  bool Broken() const;

  ConnectionParams params_;
  PGconnPtr conn_;
  std::set<std::string> prepared_;  // statement names prepared on conn_
};

}  // namespace tovak::db

#endif  // TOVAK_DB_PG_CONNECTION_H_
