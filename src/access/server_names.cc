// Server names of the index and setup databases:
//   index: host[/site][::database]
//   setup: host[/site][:port[:database]] or host[/site]::database
// The site name becomes the database user; the password is the library's.
// host may list several hosts, "h1,h2": libpq connects to the first that
// answers, with the one port (or a port for each host) and the connection
// time limit for each host.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "access/text.h"
#include "tovak/rdb.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

constexpr char kDefaultPort[] = "5432";
constexpr char kDefaultSite[] = "ubo";
constexpr char kPassword[] = "19981107quorblex3";

// The caller's server name, or the environment's when it is null or empty.
std::string SourceText(const char* server, const char* envName) {
  if (server != nullptr && server[0] != '\0') return server;
  const char* fromEnv = std::getenv(envName);
  return fromEnv != nullptr ? fromEnv : "";
}

// Cuts the site off the host part at its first "/" and lower-cases it in
// place; the default site when there is none.
const char* TakeSite(char* host) {
  char* slash = std::strchr(host, '/');
  if (slash == nullptr) return kDefaultSite;
  *slash = '\0';
  for (char* c = slash + 1; *c != '\0'; ++c) {
    *c = static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
  }
  return slash + 1;
}

// Host names hold no white space: what stands around the commas of a list
// (which libpq would take as part of a name) is dropped.
std::string HostList(const char* host) {
  std::string list;
  for (const char* c = host; *c != '\0'; ++c) {
    if (std::isspace(static_cast<unsigned char>(*c)) == 0) list += *c;
  }
  return list;
}

void HandBackSite(char* siteOut, const char* site) {
  if (siteOut != nullptr) CopyBounded(siteOut, site, kSiteBufferSize);
}

}  // namespace
}  // namespace tovak

void IndexSetup(const char* server, char* site) {
  using namespace tovak;
  std::string copy = SourceText(server, "INDEXSERVERNAME");
  char* host = copy.data();
  const char* database = "index";
  if (char* cut = std::strstr(host, "::"); cut != nullptr) {
    *cut = '\0';
    database = cut + 2;
  }
  const char* siteName = TakeSite(host);
  CIndexDBComm::setup(HostList(host).c_str(), kDefaultPort, database, siteName, kPassword);
  HandBackSite(site, siteName);
}

void SetupSetup(const char* server, char* site) {
  using namespace tovak;
  std::string copy = SourceText(server, "SETUPSERVERNAME");
  char* host = copy.data();
  const char* port = kDefaultPort;
  const char* database = "setup";
  if (char* colon = std::strchr(host, ':'); colon != nullptr) {
    *colon = '\0';
    if (colon[1] != ':') port = colon + 1;
    if (char* next = std::strchr(colon + 1, ':'); next != nullptr) {
      *next = '\0';
      database = next + 1;
    }
  }
  const char* siteName = TakeSite(host);
  CSetupDBComm::setupInstance(HostList(host).c_str(), port, database, siteName, kPassword);
  HandBackSite(site, siteName);
}
