// Reading a single number out of a query result.
#ifndef TOVAK_DB_FIRST_CELL_H_
#define TOVAK_DB_FIRST_CELL_H_

#include <cstdlib>

#include "db/pg_result.h"

namespace tovak::db {

// The first cell of the first row as an int (the cells are integer columns),
// noRow when the query matched nothing, failed when it failed.
inline int FirstInt(const PgResult& result, int noRow, int failed) {
  if (result.status == PgResult::kFailed) return failed;
  if (result.status == PgResult::kNoRow) return noRow;
  return static_cast<int>(std::strtol(result.GetValue(0, 0), nullptr, 10));
}

}  // namespace tovak::db

#endif  // TOVAK_DB_FIRST_CELL_H_
