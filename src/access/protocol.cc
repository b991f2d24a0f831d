// Protocol choice (direct database access or remote server) and set-up of
// the remote data client from an address [scheme]host[:port][/site]
// (access/remote_address.h).
#include <cstring>
#include <string>

#include "access/remote_address.h"
#include "access/state.h"
#include "tovak/client_env.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

struct Scheme {
  const char* prefix;
  size_t length;
  int tls;
};

// Tested in this order, as case-sensitive prefixes.
constexpr Scheme kSchemes[] = {
    {"https://", 8, 1},
    {"grpcs://", 8, 1},
    {"http://", 7, 0},
    {"grpc://", 7, 0},
};

const Scheme* MatchScheme(const char* url) {
  for (const Scheme& scheme : kSchemes) {
    if (std::strncmp(url, scheme.prefix, scheme.length) == 0) return &scheme;
  }
  return nullptr;
}

// Asks the server to accept site; false, with the reason kept, when it does not.
bool SelectSite(CmonoMirvoDataClient& client, const char* site) {
  const int status = client.SelectSite(site, 0);
  if (status == 0) return true;
  RecordFailure("remote server: site \"" + std::string(site ? site : "") + "\" " +
                (status == TOVAK_E_REMOTE_UNKNOWN_SITE
                     ? std::string("unknown to the server")
                     : "not selected: status " + std::to_string(status)));
  return false;
}

}  // namespace
}  // namespace tovak

void setTovakProtocolV1() { CurrentProtocol = tovak::kProtocolV1; }

void setTovakProtocolV2(const char* server) {
  CurrentProtocol = tovak::kProtocolV2;
  if (server != nullptr) ServerV2Name = server;
}

int isTovakProtocolV2(const char* server) {
  if (CurrentProtocol != tovak::kProtocolUndecided) return CurrentProtocol;
  CtovakDescriptor::SetEnv();
  if (const char* configured = CClientEnvironment::getEnv("KOVD_GRPC")) {
    ServerV2Name = configured;
    return CurrentProtocol = tovak::kProtocolV2;
  }
  if (server != nullptr && tovak::MatchScheme(server) != nullptr) {
    ServerV2Name = server;
    return CurrentProtocol = tovak::kProtocolV2;
  }
  if (server != nullptr && std::strstr(server, "://") != nullptr) {
    tovak::VerboseMessage("tovak: %s: unknown scheme, taken as a database server name\n", server);
  }
  return CurrentProtocol = tovak::kProtocolV1;
}

const char* cCheckV2scheme(const char* url, int* tls) {
  if (url == nullptr) return nullptr;
  const tovak::Scheme* scheme = tovak::MatchScheme(url);
  if (scheme == nullptr) return url;
  if (tls != nullptr) *tls = scheme->tls;
  return url + scheme->length;
}

char* CheckV2scheme(char* url, int* tls) {
  const char* rest = cCheckV2scheme(url, tls);
  return rest == nullptr ? nullptr : url + (rest - url);
}

CmonoMirvoDataClient* tDataClientSetup(const char* server) {
  const char* address = ServerV2Name != nullptr ? ServerV2Name : server;
  int tls = -1;  // -1: no scheme, the client's setting stays as it is
  tovak::RemoteAddress parts;
  if (address != nullptr) parts = tovak::ParseRemoteAddress(cCheckV2scheme(address, &tls));
  const char* host = address != nullptr ? parts.host.c_str() : nullptr;
  const char* site = address != nullptr ? parts.site.c_str() : nullptr;

  CmonoMirvoDataClient* client = CmonoMirvoDataClient::getInstance();
  if (tls != -1) client->tlsEnabled = tls;
  client->setExtraUserName(CClientEnvironment::getEnv("TOVAK_USER"));
  client->setExtraKeyFile(CClientEnvironment::getEnv("TOVAK_USER_KEY_FILE"));
  client->setExtraPassPhrase(CClientEnvironment::getEnv("TOVAK_USER_KEY_PASSPHRASE"));

  switch (client->Connect(host, parts.port)) {
    case 0: return tovak::SelectSite(*client, site) ? client : nullptr;
    case 1: return client;
    default: return nullptr;
  }
}
