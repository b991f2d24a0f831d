#include "db/security.h"

#include <cctype>
#include <cstdlib>

namespace tovak::db {
namespace {

// NAME_SITE, else NAME; empty when neither is set.
std::string SiteSetting(const std::string& name, const std::string& site) {
  std::string perSite = name + "_";
  for (const char c : site)
    perSite += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (const char* value = std::getenv(perSite.c_str()); value != nullptr) return value;
  const char* value = std::getenv(name.c_str());
  return value != nullptr ? value : "";
}

}  // namespace

ConnectionSecurity SecurityFor(const std::string& site) {
  ConnectionSecurity security;
  security.sslmode = SiteSetting("TOVAK_DB_SSLMODE", site);
  if (security.sslmode.empty() && std::getenv("PGSSLMODE") == nullptr) {
    security.sslmode = "verify-full";
  }
  security.sslrootcert = SiteSetting("TOVAK_DB_SSLROOTCERT", site);
  security.libpqPassword = SiteSetting("TOVAK_DB_PASSWORD", site) == "libpq";
  return security;
}

}  // namespace tovak::db
