// The supervising process: reserves the listening port, starts the worker
// processes, replaces a worker that dies or fails to start, and stops them all on SIGTERM or
// SIGINT.
#ifndef TOVAK_SERVER_SUPERVISOR_H_
#define TOVAK_SERVER_SUPERVISOR_H_

#include <string>

#include "server/server_config.h"

namespace tovak::server {

// Runs the server until it is told to stop. portFile, when not empty,
// receives the port number once every worker listens. Returns the exit code.
int Supervise(const ServerConfig& config, const std::string& portFile);

}  // namespace tovak::server

#endif  // TOVAK_SERVER_SUPERVISOR_H_
