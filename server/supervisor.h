// The supervising process: reserves the listening port, maps the nonce table
// the workers share, starts the worker processes with the keys, replaces a
// worker that dies or fails to start, reloads the keys on SIGHUP, and stops
// them all on SIGTERM or SIGINT.
#ifndef TOVAK_SERVER_SUPERVISOR_H_
#define TOVAK_SERVER_SUPERVISOR_H_

#include <memory>
#include <string>

#include "server/key_set.h"
#include "server/server_config.h"

namespace tovak::server {

// Runs the server with keys until it is told to stop. portFile, when not
// empty, receives the port number once every worker listens. Returns the exit
// code.
int Supervise(const ServerConfig& config, std::shared_ptr<const KeySet> keys,
              const std::string& portFile);

}  // namespace tovak::server

#endif  // TOVAK_SERVER_SUPERVISOR_H_
