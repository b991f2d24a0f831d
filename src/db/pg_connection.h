// One libpq connection: its parameters, the statements prepared on it, and
// the single retry of a query whose connection was lost.
#ifndef TOVAK_DB_PG_CONNECTION_H_
#define TOVAK_DB_PG_CONNECTION_H_

#include <libpq-fe.h>

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
  bool IsOpen() const;

  // Runs a read-only statement (at most kMaxParams parameters). On a lost
  // connection the statement is sent once more on a fresh one. Never null;
  // the caller owns the result.
  std::unique_ptr<PgResult> Query(const Statement& statement,
                                  std::initializer_list<Param> params);

  PGconn* raw() const { return conn_.get(); }

 private:
  // The rows, or null when the statement failed; *lost tells whether the
  // connection broke.
  PGresultPtr Execute(const Statement& statement, const char* const* values, int count,
                      bool* lost);
  bool Prepare(const Statement& statement, int count);
  bool Broken() const;

  ConnectionParams params_;
  PGconnPtr conn_;
  std::set<std::string> prepared_;  // statement names prepared on conn_
};

}  // namespace tovak::db

#endif  // TOVAK_DB_PG_CONNECTION_H_
