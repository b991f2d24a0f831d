// A limit on when the queries of the current call must end, set by a caller
// that has a deadline of its own (the server, through service::QueryDeadline:
// its caller's remaining time).
#ifndef TOVAK_DB_QUERY_DEADLINE_H_
#define TOVAK_DB_QUERY_DEADLINE_H_

#include <chrono>

#include "tovak/server_support.h"  // QueryDeadline, which sets the limit

namespace tovak::db {

// When a query started now must end: after `timeout`, or at the limit set on
// this thread when that comes first.
std::chrono::steady_clock::time_point QueryEnd(std::chrono::seconds timeout);

}  // namespace tovak::db

#endif  // TOVAK_DB_QUERY_DEADLINE_H_
