#include "db/query_deadline.h"

#include <algorithm>

namespace tovak {
namespace {

thread_local std::optional<std::chrono::steady_clock::time_point> limit;

}  // namespace

service::QueryDeadline::QueryDeadline(std::chrono::steady_clock::time_point deadline)
    : outer_(limit) {
  limit = outer_ ? std::min(*outer_, deadline) : deadline;
}

service::QueryDeadline::~QueryDeadline() { limit = outer_; }

namespace db {

std::chrono::steady_clock::time_point QueryEnd(std::chrono::seconds timeout) {
  const auto end = std::chrono::steady_clock::now() + timeout;
  return limit ? std::min(*limit, end) : end;
}

}  // namespace db
}  // namespace tovak
