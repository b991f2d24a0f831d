// How a database connection is secured, read from the process environment
// when the connection is opened. A setting for one site, NAME_SITE (the site
// upper-cased), comes before the setting for all sites, NAME:
//   TOVAK_DB_SSLMODE      libpq's sslmode; unset: PGSSLMODE when that is
//                         set, else verify-full (libpq uses no TLS on unix
//                         sockets, whatever the mode)
//   TOVAK_DB_SSLROOTCERT  certificates the server's must verify against;
//                         unset: libpq's (PGSSLROOTCERT, ~/.postgresql/root.crt)
//   TOVAK_DB_PASSWORD     "libpq": the password comes from libpq's own
//                         sources (PGPASSWORD, the password file, the service
//                         file); anything else: the library's
#ifndef TOVAK_DB_SECURITY_H_
#define TOVAK_DB_SECURITY_H_

#include <string>

namespace tovak::db {

struct ConnectionSecurity {
  std::string sslmode;      // empty: libpq's own default source
  std::string sslrootcert;  // empty: libpq's own default source
  bool libpqPassword = false;
};

ConnectionSecurity SecurityFor(const std::string& site);

}  // namespace tovak::db

#endif  // TOVAK_DB_SECURITY_H_
