#include "server/key_set.h"

#include <openssl/err.h>

#include "remote/call_auth.h"
#include "remote/file_text.h"

namespace tovak::server {

std::shared_ptr<const KeySet> LoadKeySet(const ServerConfig& config, std::string* error) {
  auto keys = std::make_shared<KeySet>();
  for (const auto& [user, path] : config.userKeyFiles) {
    std::string why;
    remote::PkeyPtr key = remote::LoadPublicKey(path, &why);
    if (!key) {
      *error = "user." + user + ": " + why;
      return nullptr;
    }
    keys->users[user] = std::move(key);
  }
  keys->decoy.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
  ERR_clear_error();
  if (!keys->decoy) {
    *error = "cannot make a key";
    return nullptr;
  }
  if (!config.tls()) return keys;
  if (!remote::ReadWholeFile(config.tlsCertificateFile, &keys->tlsCertificate)) {
    *error = "tls_certificate: cannot read " + config.tlsCertificateFile;
    return nullptr;
  }
  std::string why;
  if (!remote::ReadPrivateFile(config.tlsKeyFile, &keys->tlsKey, &why)) {
    *error = "tls_key: " + why;
    return nullptr;
  }
  return keys;
}

}  // namespace tovak::server
