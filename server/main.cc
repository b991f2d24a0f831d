// tovak-server: answers the remote data service from the index databases.
//
//   tovak-server --config FILE [--port-file FILE] [--check]
//
// --check only reads and checks the configuration.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "server/key_set.h"
#include "server/server_config.h"
#include "server/supervisor.h"

namespace tovak::server {
namespace {

// The usage line: on standard output for --help (exit 0), else an error.
int Usage(bool asked = false) {
  std::fprintf(asked ? stdout : stderr,
               "usage: tovak-server --config FILE [--port-file FILE] [--check]\n");
  return asked ? 0 : 2;
}

}  // namespace
}  // namespace tovak::server

int main(int argc, char** argv) {
  std::string configFile, portFile;
  bool checkOnly = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--config" && i + 1 < argc) {
      configFile = argv[++i];
    } else if (argument == "--port-file" && i + 1 < argc) {
      portFile = argv[++i];
    } else if (argument == "--check") {
      checkOnly = true;
    } else if (argument == "--help") {
      return tovak::server::Usage(true);
    } else {
      return tovak::server::Usage();
    }
  }
  if (configFile.empty()) return tovak::server::Usage();

  tovak::server::ServerConfig config;
  std::string error;
  std::shared_ptr<const tovak::server::KeySet> keys;
  if (!tovak::server::LoadServerConfig(configFile, &config, &error) ||
      !(keys = tovak::server::LoadKeySet(config, &error))) {
    std::fprintf(stderr, "tovak-server: bad configuration: %s\n", error.c_str());
    return 1;
  }
  if (!config.tls() && !tovak::server::ListensOnLoopback(config)) {
    std::fprintf(stderr,
                 "tovak-server: warning: plain connections on %s: requests and answers "
                 "travel unprotected (see the threat model in docs/remote.md)\n",
                 config.listenHost.c_str());
  }
  if (checkOnly) {
    std::fprintf(stderr, "tovak-server: %s is valid\n", configFile.c_str());
    return 0;
  }
  return tovak::server::Supervise(config, std::move(keys), portFile);
}
