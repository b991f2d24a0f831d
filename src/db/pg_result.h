// A query result that owns its libpq result.
#ifndef TOVAK_DB_PG_RESULT_H_
#define TOVAK_DB_PG_RESULT_H_

#include <libpq-fe.h>

#include <memory>

#include "tovak/rdb.h"

namespace tovak::db {

struct PGresultDeleter {
  void operator()(PGresult* result) const { PQclear(result); }
};
using PGresultPtr = std::unique_ptr<PGresult, PGresultDeleter>;

// Status 0 with rows, -2 when the query matched no row, -1 when it failed
// (then it has no rows). Cells are the server's text; NULL reads as "".
class PgResult final : public CRDBres {
 public:
  static constexpr int kRows = 0;
  static constexpr int kFailed = -1;
  static constexpr int kNoRow = -2;

  // A result of rows; takes ownership.
  explicit PgResult(PGresultPtr rows);
  // A failed query.
  PgResult();

  int GetLines() const override;
  const char* GetValue(int row, int column) const override;

 private:
  PGresultPtr rows_;
};

}  // namespace tovak::db

#endif  // TOVAK_DB_PG_RESULT_H_
