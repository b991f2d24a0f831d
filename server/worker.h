// One worker process: a gRPC server on the shared listening address, with
// its own library state and database connection.
#ifndef TOVAK_SERVER_WORKER_H_
#define TOVAK_SERVER_WORKER_H_

#include <string>

#include "server/key_set.h"
#include "server/nonce_store.h"
#include "server/server_config.h"

namespace tovak::server {

// Serves with keys, sharing nonces with the other workers, until SIGTERM or
// SIGINT (which the caller has blocked, so that this thread can wait for
// them), then shuts down gracefully. Writes one byte to readyFd once it
// listens, then closes it. Returns the process's exit code.
int RunWorker(const ServerConfig& config, const KeySet& keys, NonceStore& nonces,
              const std::string& address, int readyFd);

}  // namespace tovak::server

#endif  // TOVAK_SERVER_WORKER_H_
