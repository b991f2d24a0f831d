// Decides whether a call may be answered, from the proof of identity it
// carries (see remote/call_auth.h).
#ifndef TOVAK_SERVER_AUTHORIZER_H_
#define TOVAK_SERVER_AUTHORIZER_H_

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "remote/openssl_ptr.h"
#include "server/server_config.h"

namespace tovak::server {

// What a call presented; a field the call did not carry is empty.
struct CallProof {
  std::optional<std::string> user;
  std::string time, nonce, signature;
};

enum class Verdict {
  kAllowed,
  kUnauthenticated,   // no credentials where they are required, or a bad proof
  kPermissionDenied,  // a user the server does not know
};

class Authorizer {
 public:
  // Loads the public key of every configured user; false with a message
  // when one cannot be loaded.
  bool Load(const ServerConfig& config, std::string* error);

  // The verdict on a call of method about site, at time now (POSIX
  // seconds). Thread-safe. A nonce is accepted once within the window.
  Verdict Check(const CallProof& proof, const std::string& method, const std::string& site,
                int64_t now);

 private:
  bool FreshNonce(const std::string& nonce, int64_t time, int64_t now);

  bool allowAnonymous_ = false;
  std::map<std::string, remote::PkeyPtr> keys_;
  std::mutex nonceMutex_;
  std::multimap<int64_t, std::string> noncesByTime_;
  std::map<std::string, int64_t> nonces_;
};

}  // namespace tovak::server

#endif  // TOVAK_SERVER_AUTHORIZER_H_
