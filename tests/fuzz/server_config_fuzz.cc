// The remote server's configuration file. A text is refused with a message
// and the configuration left alone, or accepted as a configuration the
// server can run with: a port and worker count in range, TLS files both or
// neither, every site with an index server under a lower-case name, and
// someone allowed to call.
#include <string>

#include "fuzz_support.h"
#include "server/server_config.h"

namespace {

using tovak::server::ServerConfig;

// A configuration that no accepted text produces (no site).
ServerConfig Sentinel() {
  ServerConfig config;
  config.listenHost = "sentinel";
  config.listenPort = 1;
  return config;
}

bool LowerCase(const std::string& text) {
  for (char c : text) {
    if (c >= 'A' && c <= 'Z') return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = tovak::fuzz::Text(data, size);
  ServerConfig config = Sentinel();
  std::string error;
  if (!tovak::server::ParseServerConfig(text, &config, &error)) {
    FUZZ_CHECK(!error.empty());
    FUZZ_CHECK(config.listenHost == "sentinel" && config.listenPort == 1 &&
               config.sites.empty());
    return 0;
  }
  FUZZ_CHECK(error.empty());
  FUZZ_CHECK(config.listenPort >= 0 && config.listenPort <= 65535);
  FUZZ_CHECK(config.workers >= 1 && config.workers <= tovak::server::kMaxWorkers);
  FUZZ_CHECK(config.tlsCertificateFile.empty() == config.tlsKeyFile.empty());
  FUZZ_CHECK(config.allowAnonymous || !config.userKeyFiles.empty());
  FUZZ_CHECK(!config.sites.empty());
  for (const auto& [name, site] : config.sites) {
    FUZZ_CHECK(LowerCase(name) && tovak::server::SiteKey(name) == name);
    FUZZ_CHECK(!site.indexServer.empty());
  }
  for (const auto& [user, keyFile] : config.userKeyFiles) FUZZ_CHECK(!user.empty());
  return 0;
}
