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

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_STATUS_MAP_H_
