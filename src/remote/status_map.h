// Failed calls as statuses of the library.
#ifndef TOVAK_REMOTE_STATUS_MAP_H_
#define TOVAK_REMOTE_STATUS_MAP_H_

#include <grpcpp/support/status.h>

namespace tovak::remote {

// The TOVAK_E_REMOTE_* status of a call that failed in transport or was
// refused by the server (not OK).
int StatusOfFailedCall(const grpc::Status& status);

// True for failures after which the connection is not worth keeping: the
// next set-up connects afresh.
bool BreaksConnection(grpc::StatusCode code);

// TOVAK_E_REMOTE_REPLY_RANGE for a reply of method refused as out of range;
// the reason (a printf format and its values) goes to the verbose messages.
int RefusedReply(const char* method, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_STATUS_MAP_H_
