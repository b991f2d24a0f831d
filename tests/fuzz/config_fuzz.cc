// The library's configuration file (first byte not 'S'): settings trimmed and
// read back the same. The server's ('S'): a text is refused with a message,
// the configuration untouched, or gives one it can run with.
#include "config/config_file.h"
#include "fuzz_support.h"
#include "server/server_config.h"

namespace {

bool Trimmed(const std::string& text) {
  return text.empty() || (text.find_first_not_of(" \t\r") == 0 &&
                          text.find_last_not_of(" \t\r") == text.size() - 1);
}

void CheckClientConfig(const std::string& text) {
  const tovak::config::ParsedConfig parsed = tovak::config::ParseConfig(text);
  std::string written;
  for (const auto& [key, value] : parsed.values) {
    FUZZ_CHECK(!key.empty() && key[0] != '#' && key.find_first_of("=\n") == std::string::npos);
    FUZZ_CHECK(Trimmed(key) && Trimmed(value) && value.find('\n') == std::string::npos);
    written += key + "=" + value + "\n";
  }
  const tovak::config::ParsedConfig reread = tovak::config::ParseConfig(written);
  FUZZ_CHECK(reread.malformedLines.empty() && reread.values == parsed.values);
}

void CheckServerConfig(const std::string& text) {
  tovak::server::ServerConfig config;  // no accepted text leaves it without a site
  config.listenHost = "sentinel";
  std::string error;
  if (!tovak::server::ParseServerConfig(text, &config, &error)) {
    return FUZZ_CHECK(!error.empty() && config.listenHost == "sentinel" && config.sites.empty());
  }
  FUZZ_CHECK(error.empty() && config.listenPort >= 0 && config.listenPort <= 65535);
  FUZZ_CHECK(config.workers >= 1 && config.workers <= tovak::server::kMaxWorkers);
  FUZZ_CHECK(config.tlsCertificateFile.empty() == config.tlsKeyFile.empty());
  FUZZ_CHECK(!config.sites.empty() && (config.allowAnonymous || !config.userKeyFiles.empty()));
  for (const auto& [name, site] : config.sites) {
    FUZZ_CHECK(tovak::server::SiteKey(name) == name && !site.indexServer.empty());
  }
  for (const auto& [user, keyFile] : config.userKeyFiles) FUZZ_CHECK(!user.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  data[0] == 'S' ? CheckServerConfig(text) : CheckClientConfig(text);
  return 0;
}
