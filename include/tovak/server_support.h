// The remote data server's interface to the library: what tovak-server needs
// beyond the public lookups. Not for client programs; it changes with the
// server.
#ifndef TOVAK_SERVER_SUPPORT_H_
#define TOVAK_SERVER_SUPPORT_H_

#include <chrono>
#include <optional>

#include "tovak/export.h"

namespace tovak::remote::v1 {
class DTSdatax2Request;
class DTSdatax2Reply;
}  // namespace tovak::remote::v1

namespace tovak::service {

// While it lives, no database query of this thread runs past `deadline`: a
// query ends at the earlier of this limit and its own time-out.
class TOVAK_EXPORT QueryDeadline {
 public:
  explicit QueryDeadline(std::chrono::steady_clock::time_point deadline);
  ~QueryDeadline();
  QueryDeadline(const QueryDeadline&) = delete;
  QueryDeadline& operator=(const QueryDeadline&) = delete;

 private:
  std::optional<std::chrono::steady_clock::time_point> outer_;
};

// Answers GetDTSdatax2 from the index database server indexServer: the time
// base in picoseconds (sampling interval, period and delay), without the time
// axis. On failure only the reply's status is set.
TOVAK_EXPORT void AnswerTimeBase(const char* indexServer,
                                 const remote::v1::DTSdatax2Request& request,
                                 remote::v1::DTSdatax2Reply* reply);

}  // namespace tovak::service

#endif  // TOVAK_SERVER_SUPPORT_H_
