#include "server/server_config.h"

#include <cerrno>
#include <cstdlib>

#include "config/config_file.h"
#include "remote/call_auth.h"
#include "remote/file_text.h"

namespace tovak::server {
namespace {

bool ParseInt(const std::string& text, long low, long high, long* value) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long parsed = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || parsed < low || parsed > high) return false;
  *value = parsed;
  return true;
}

// host:port, [v6-address]:port.
bool ParseListen(const std::string& text, ServerConfig* config) {
  const size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) return false;
  std::string host = text.substr(0, colon);
  if (host.front() == '[') {
    if (host.back() != ']' || host.size() < 3) return false;
    host = host.substr(1, host.size() - 2);
  }
  long port = 0;
  if (!ParseInt(text.substr(colon + 1), 0, 65535, &port)) return false;
  config->listenHost = host;
  config->listenPort = static_cast<int>(port);
  return true;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// site.NAME.index / site.NAME.setup
bool ParseSiteKey(const std::string& key, const std::string& value, ServerConfig* config) {
  const size_t dot = key.rfind('.');
  if (dot <= 5) return false;
  const std::string name = SiteKey(key.substr(5, dot - 5));
  const std::string field = key.substr(dot + 1);
  if (field == "index") {
    config->sites[name].indexServer = value;
  } else if (field == "setup") {
    config->sites[name].setupServer = value;
  } else {
    return false;
  }
  return true;
}

bool Fail(std::string* error, const std::string& message) {
  *error = message;
  return false;
}

bool ParseSeconds(const std::string& key, const std::string& value, int* seconds,
                  std::string* error) {
  long number = 0;
  if (!ParseInt(value, 1, kMaxTimeoutSeconds, &number)) {
    return Fail(error, key + ": expected seconds from 1 to " + std::to_string(kMaxTimeoutSeconds));
  }
  *seconds = static_cast<int>(number);
  return true;
}

bool ParseCount(const std::string& key, const std::string& value, long low, long high, int* count,
                std::string* error) {
  long number = 0;
  if (!ParseInt(value, low, high, &number)) {
    return Fail(error, key + ": expected a number from " + std::to_string(low) + " to " +
                           std::to_string(high));
  }
  *count = static_cast<int>(number);
  return true;
}

// The field a key of whole seconds sets; null for other keys.
int* SecondsField(const std::string& key, ServerConfig* config) {
  const std::pair<const char*, int*> fields[] = {
      {"handshake_timeout", &config->handshakeTimeoutSeconds},
      {"idle_timeout", &config->idleTimeoutSeconds},
      {"max_connection_age", &config->maxConnectionAgeSeconds},
      {"connection_age_grace", &config->connectionAgeGraceSeconds},
      {"keepalive_time", &config->keepaliveTimeSeconds},
      {"keepalive_timeout", &config->keepaliveTimeoutSeconds}};
  for (const auto& [name, field] : fields) {
    if (key == name) return field;
  }
  return nullptr;
}

// "a, B ,c" -> a, b, c (as proofs name them).
std::vector<std::string> NameList(const std::string& text) {
  std::vector<std::string> names;
  size_t begin = 0;
  for (size_t end = 0; end != std::string::npos; begin = end + 1) {
    end = text.find(',', begin);
    const std::string item = text.substr(begin, end == std::string::npos ? end : end - begin);
    const size_t first = item.find_first_not_of(" \t"), last = item.find_last_not_of(" \t");
    if (first != std::string::npos) {
      names.push_back(remote::AudienceName(item.substr(first, last - first + 1)));
    }
  }
  return names;
}

bool IsWildcard(const std::string& host) { return host == "0.0.0.0" || host == "::"; }

bool IsLoopback(const std::string& host) {
  return host == "localhost" || host == "::1" || StartsWith(host, "127.");
}

bool ApplyKey(const std::string& key, const std::string& value, ServerConfig* config,
              std::string* error) {
  if (int* seconds = SecondsField(key, config)) return ParseSeconds(key, value, seconds, error);
  if (key == "listen") {
    if (!ParseListen(value, config))
      return Fail(error, "listen: expected HOST:PORT, got '" + value + "'");
  } else if (key == "workers") {
    return ParseCount(key, value, 1, kMaxWorkers, &config->workers, error);
  } else if (key == "tls_certificate") {
    config->tlsCertificateFile = value;
  } else if (key == "tls_key") {
    config->tlsKeyFile = value;
  } else if (key == "name") {
    config->names = NameList(value);
    if (config->names.empty()) return Fail(error, "name: expected host names separated by commas");
  } else if (key == "nonce_file") {
    config->nonceFile = value;
  } else if (key == "anonymous") {
    if (value != "allow" && value != "deny")
      return Fail(error, "anonymous: expected allow or deny");
    config->allowAnonymous = value == "allow";
  } else if (key == "queue_length") {
    return ParseCount(key, value, 0, kMaxQueueLength, &config->queueLength, error);
  } else if (key == "max_streams") {
    return ParseCount(key, value, 1, kMaxStreams, &config->maxStreams, error);
  } else if (StartsWith(key, "user.") && key.size() > 5) {
    config->userKeyFiles[key.substr(5)] = value;
  } else if (StartsWith(key, "site.")) {
    if (!ParseSiteKey(key, value, config)) {
      return Fail(error, "unknown key '" + key + "' (expected site.NAME.index or site.NAME.setup)");
    }
  } else {
    return Fail(error, "unknown key '" + key + "'");
  }
  return true;
}

bool CheckComplete(const ServerConfig& config, std::string* error) {
  if (config.tlsCertificateFile.empty() != config.tlsKeyFile.empty()) {
    return Fail(error, "tls_certificate and tls_key go together");
  }
  if (config.sites.empty()) return Fail(error, "no site configured (site.NAME.index = ...)");
  for (const auto& [name, site] : config.sites) {
    if (site.indexServer.empty()) return Fail(error, "site." + name + ".index is missing");
  }
  if (config.names.empty() && IsWildcard(config.listenHost) && !config.userKeyFiles.empty()) {
    return Fail(error, "name is required when listening on every address (" + config.listenHost +
                           ") with users: the names clients use");
  }
  if (!config.allowAnonymous && config.userKeyFiles.empty()) {
    return Fail(error, "anonymous = deny and no user.NAME configured: nobody could call");
  }
  return true;
}

}  // namespace

std::vector<std::string> ServerNames(const ServerConfig& config) {
  if (!config.names.empty()) return config.names;
  std::vector<std::string> names = {remote::AudienceName(config.listenHost)};
  if (ListensOnLoopback(config)) {
    for (const char* name : {"localhost", "127.0.0.1", "::1"}) {
      if (names.front() != name) names.push_back(name);
    }
  }
  return names;
}

bool ListensOnLoopback(const ServerConfig& config) { return IsLoopback(config.listenHost); }

std::string SiteKey(const std::string& site) {
  std::string key = site;
  for (char& c : key) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return key;
}

bool ParseServerConfig(const std::string& text, ServerConfig* config, std::string* error) {
  const config::ParsedConfig parsed = config::ParseConfig(text);
  if (!parsed.malformedLines.empty()) {
    return Fail(error,
                "line " + std::to_string(parsed.malformedLines.front()) + ": not KEY = VALUE");
  }
  if (!parsed.repeatedKeys.empty()) {
    const auto& [line, key] = parsed.repeatedKeys.front();
    return Fail(error, "line " + std::to_string(line) + ": '" + key + "' given twice");
  }
  ServerConfig result;
  for (const auto& [key, value] : parsed.values) {
    if (!ApplyKey(key, value, &result, error)) return false;
  }
  if (!CheckComplete(result, error)) return false;
  *config = std::move(result);
  return true;
}

bool LoadServerConfig(const std::string& path, ServerConfig* config, std::string* error) {
  std::string text;
  if (!remote::ReadWholeFile(path, &text)) return Fail(error, "cannot read " + path);
  if (!ParseServerConfig(text, config, error)) {
    *error = path + ": " + *error;
    return false;
  }
  return true;
}

}  // namespace tovak::server
