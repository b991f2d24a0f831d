// The keys and certificates a server runs with: users' public keys and its
// TLS certificate and key. The supervisor loads them once, before it starts
// its workers, and loads them again, all together, on SIGHUP.
#ifndef TOVAK_SERVER_KEY_SET_H_
#define TOVAK_SERVER_KEY_SET_H_

#include <map>
#include <memory>
#include <string>

#include "remote/openssl_ptr.h"
#include "remote/secret_text.h"
#include "server/server_config.h"

namespace tovak::server {

struct KeySet {
  std::map<std::string, remote::PkeyPtr> users;  // user name -> public key
  // A key of nobody: proofs of unknown users are checked against it, so that
  // they take as long as those of known users.
  remote::PkeyPtr decoy;
  std::string tlsCertificate;  // PEM; empty: plain connections
  remote::SecretText tlsKey;   // PEM
};

// Loads every key the configuration names. The TLS key must be private to
// the server's user. Null with a message naming the key on failure.
std::shared_ptr<const KeySet> LoadKeySet(const ServerConfig& config, std::string* error);

}  // namespace tovak::server

#endif  // TOVAK_SERVER_KEY_SET_H_
