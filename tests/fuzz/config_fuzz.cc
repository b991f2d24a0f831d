// The library's and the remote server's configuration files; the first byte
// chooses which ('S': the server's), the rest is the text.
//
// The library's: every kept key is non-empty and free of the characters
// that delimit it, values are trimmed, skipped lines are reported in order,
// and the settings written back as KEY=VALUE lines read the same with
// nothing skipped. The server's: a text is refused with a message and the
// configuration left alone, or accepted as one the server can run with: a
// port and worker count in range, TLS files both or neither, every site
// with an index server under a lower-case name, and someone allowed to call.
#include <algorithm>
#include <string>

#include "config/config_file.h"
#include "fuzz_support.h"
#include "server/server_config.h"

namespace {

using tovak::server::ServerConfig;

bool Trimmed(const std::string& text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  return text.empty() || (!blank(text.front()) && !blank(text.back()));
}

void CheckClientConfig(const std::string& text) {
  const tovak::config::ParsedConfig parsed = tovak::config::ParseConfig(text);
  const size_t lines =
      std::count(text.begin(), text.end(), '\n') + (!text.empty() && text.back() != '\n');
  int previous = 0;
  for (int line : parsed.malformedLines) {
    FUZZ_CHECK(line > previous && static_cast<size_t>(line) <= lines);
    previous = line;
  }
  std::string written;
  for (const auto& [key, value] : parsed.values) {
    FUZZ_CHECK(!key.empty() && key[0] != '#' && Trimmed(key));
    FUZZ_CHECK(key.find_first_of("=\n") == std::string::npos);
    FUZZ_CHECK(Trimmed(value) && value.find('\n') == std::string::npos);
    written += key + "=" + value + "\n";
  }
  const tovak::config::ParsedConfig reread = tovak::config::ParseConfig(written);
  FUZZ_CHECK(reread.malformedLines.empty() && reread.values == parsed.values);
}

void CheckServerConfig(const std::string& text) {
  ServerConfig config;  // a configuration no accepted text produces: no site
  config.listenHost = "sentinel";
  config.listenPort = 1;
  std::string error;
  if (!tovak::server::ParseServerConfig(text, &config, &error)) {
    FUZZ_CHECK(!error.empty() && config.listenHost == "sentinel" && config.listenPort == 1 &&
               config.sites.empty());
    return;
  }
  FUZZ_CHECK(error.empty() && config.listenPort >= 0 && config.listenPort <= 65535);
  FUZZ_CHECK(config.workers >= 1 && config.workers <= tovak::server::kMaxWorkers);
  FUZZ_CHECK(config.tlsCertificateFile.empty() == config.tlsKeyFile.empty());
  FUZZ_CHECK(config.allowAnonymous || !config.userKeyFiles.empty());
  FUZZ_CHECK(!config.sites.empty());
  for (const auto& [name, site] : config.sites) {
    FUZZ_CHECK(std::none_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; }));
    FUZZ_CHECK(tovak::server::SiteKey(name) == name && !site.indexServer.empty());
  }
  for (const auto& [user, keyFile] : config.userKeyFiles) FUZZ_CHECK(!user.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string text = tovak::fuzz::Text(data + 1, size - 1);
  if (data[0] == 'S') {
    CheckServerConfig(text);
  } else {
    CheckClientConfig(text);
  }
  return 0;
}
