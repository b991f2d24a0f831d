// A limit on when the queries of the current call must end, set by a caller
// that has a deadline of its own (the server: its caller's remaining time).
// A query ends at the earlier of this limit and its own time-out.
#ifndef TOVAK_DB_QUERY_DEADLINE_H_
#define TOVAK_DB_QUERY_DEADLINE_H_

#include <chrono>
#include <optional>

namespace tovak::db {

// While it lives, no query of this thread runs past `deadline`.
class QueryDeadline {
 public:
  explicit QueryDeadline(std::chrono::steady_clock::time_point deadline);
  ~QueryDeadline();
  QueryDeadline(const QueryDeadline&) = delete;
  QueryDeadline& operator=(const QueryDeadline&) = delete;

 private:
  std::optional<std::chrono::steady_clock::time_point> outer_;
};

// When a query started now must end: after `timeout`, or at the limit set on
// this thread when that comes first.
std::chrono::steady_clock::time_point QueryEnd(std::chrono::seconds timeout);

}  // namespace tovak::db

#endif  // TOVAK_DB_QUERY_DEADLINE_H_
