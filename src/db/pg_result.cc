#include "db/pg_result.h"

#include <utility>

namespace tovak::db {

PgResult::PgResult(PGresultPtr rows) : rows_(std::move(rows)) {
  status = GetLines() > 0 ? kRows : kNoRow;
}

PgResult::PgResult() { status = kFailed; }

int PgResult::GetLines() const { return rows_ ? PQntuples(rows_.get()) : 0; }

const char* PgResult::GetValue(int row, int column) const {
  if (!rows_ || row < 0 || column < 0 || row >= PQntuples(rows_.get()) ||
      column >= PQnfields(rows_.get())) {
    return "";
  }
  return PQgetvalue(rows_.get(), row, column);
}

}  // namespace tovak::db
