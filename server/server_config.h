// The server's configuration file: KEY = VALUE lines.
//
//   listen = 127.0.0.1:50051          address and port; port 0 picks a free one
//   workers = 4                       worker processes (1..64)
//   tls_certificate = /path/cert.pem  both or neither: TLS on when given
//   tls_key = /path/key.pem
//   anonymous = deny                  deny (default) or allow callers without credentials
//   handshake_timeout = 10            seconds a new connection has to set up TLS and HTTP/2
//   idle_timeout = 300                seconds a connection without calls is kept open
//   queue_length = 64                 calls a worker lets wait while it runs one (0..4096); more
//                                     are refused at once as "server busy"
//   max_streams = 16                  calls one connection may have open at once (1..1024)
//   max_connection_age = 600          seconds after which a connection is asked to go (a call
//   connection_age_grace = 30         still open then has the grace to end, then is cut off)
//   keepalive_time = 60               seconds of silence after which the server pings a peer,
//   keepalive_timeout = 20            and drops it when no answer comes within this time
//   name = host.example.org, host2    names clients reach the server by (the audience of proofs)
//   nonce_file = /var/lib/tovak/nonces  keeps recent proofs' nonces across restarts
//   user.NAME = /path/NAME.pub.pem    public key of an authorized user
//   site.NAME.index = host/site::db   index database server name of a site
//   site.NAME.setup = host/site       setup database server name of a site
//
// Every site needs an index server name. Site names are compared without
// regard to case. A key given twice is refused. Without name, the server's
// names are the listen host and, when it is a loopback address, "localhost",
// "127.0.0.1" and "::1"; a wildcard listen host (0.0.0.0, ::) with users
// needs name.
#ifndef TOVAK_SERVER_SERVER_CONFIG_H_
#define TOVAK_SERVER_SERVER_CONFIG_H_

#include <map>
#include <string>
#include <vector>

namespace tovak::server {

struct SiteConfig {
  std::string indexServer;
  std::string setupServer;
};

struct ServerConfig {
  std::string listenHost = "127.0.0.1";
  int listenPort = 50051;
  int workers = 1;
  std::string tlsCertificateFile;  // empty: plain connections
  std::string tlsKeyFile;
  bool allowAnonymous = false;
  int handshakeTimeoutSeconds = 10;
  int idleTimeoutSeconds = 300;
  int queueLength = 64;
  int maxStreams = 16;
  int maxConnectionAgeSeconds = 600;
  int connectionAgeGraceSeconds = 30;
  int keepaliveTimeSeconds = 60;
  int keepaliveTimeoutSeconds = 20;
  std::vector<std::string> names;                   // lower case; see ServerNames
  std::string nonceFile;                            // empty: nonces kept in memory only
  std::map<std::string, std::string> userKeyFiles;  // user name -> public key file
  std::map<std::string, SiteConfig> sites;          // lower-case site name

  bool tls() const { return !tlsCertificateFile.empty(); }
};

inline constexpr int kMaxWorkers = 64;
inline constexpr int kMaxTimeoutSeconds = 86400;
inline constexpr int kMaxQueueLength = 4096;
inline constexpr int kMaxStreams = 1024;

// Parses and checks the text of a configuration file. Returns false with a
// message naming the offending line or key when the configuration is not
// usable.
bool ParseServerConfig(const std::string& text, ServerConfig* config, std::string* error);

// Reads and parses the file at path.
bool LoadServerConfig(const std::string& path, ServerConfig* config, std::string* error);

// The names proofs of identity may be meant for (AudienceName form).
std::vector<std::string> ServerNames(const ServerConfig& config);

// True when the listen host is a loopback address or "localhost".
bool ListensOnLoopback(const ServerConfig& config);

// Lower-cases ASCII letters; site names are matched this way.
std::string SiteKey(const std::string& site);

}  // namespace tovak::server

#endif  // TOVAK_SERVER_SERVER_CONFIG_H_
