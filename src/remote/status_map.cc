#include "remote/status_map.h"

#include <cstdarg>
#include <cstdio>

#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::remote {

namespace {

// RESOURCE_EXHAUSTED also means a request or answer larger than the receiver's limit (4 MiB); these
// are the server's refusals for want of room: its own, and gRPC's when every thread is taken.
bool ServerBusy(const grpc::Status& status) {
  return status.error_message() == "server busy" ||
         status.error_message() == "Server Threadpool Exhausted";
}

}  // namespace

int StatusOfFailedCall(const grpc::Status& status) {
  if (status.error_code() == grpc::StatusCode::RESOURCE_EXHAUSTED && ServerBusy(status)) {
    return TOVAK_E_REMOTE_BUSY;
  }
  switch (status.error_code()) {
    case grpc::StatusCode::UNAVAILABLE:
    case grpc::StatusCode::CANCELLED:
    case grpc::StatusCode::ABORTED: return TOVAK_E_REMOTE_UNAVAILABLE;
    case grpc::StatusCode::DEADLINE_EXCEEDED: return TOVAK_E_REMOTE_DEADLINE;
    case grpc::StatusCode::UNAUTHENTICATED: return TOVAK_E_REMOTE_UNAUTHENTICATED;
    case grpc::StatusCode::PERMISSION_DENIED: return TOVAK_E_REMOTE_PERMISSION;
    case grpc::StatusCode::NOT_FOUND:
    case grpc::StatusCode::FAILED_PRECONDITION: return TOVAK_E_REMOTE_UNKNOWN_SITE;
    case grpc::StatusCode::INTERNAL:
    case grpc::StatusCode::DATA_LOSS:
    case grpc::StatusCode::UNKNOWN: return TOVAK_E_REMOTE_SERVER;
    // RESOURCE_EXHAUSTED: a request or answer larger than the receiver's limit (4 MiB): the
    // server is there, it refused what it was sent.
    default:  // UNIMPLEMENTED, INVALID_ARGUMENT, OUT_OF_RANGE, ALREADY_EXISTS, RESOURCE_EXHAUSTED
      return TOVAK_E_REMOTE_PROTOCOL;
  }
}

bool BreaksConnection(grpc::StatusCode code) {
  return code == grpc::StatusCode::UNAVAILABLE || code == grpc::StatusCode::DEADLINE_EXCEEDED;
}

int RefusedReply(const char* method, const char* format, ...) {
  if (is_verbose()) {
    std::fprintf(stderr, "Reply of %s refused: ", method);
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
  }
  return TOVAK_E_REMOTE_REPLY_RANGE;
}

}  // namespace tovak::remote
