// Decides whether a call may be answered, and for whom: from the client
// certificate of its TLS connection, or from the proof of identity it
// carries (see remote/call_auth.h).
#ifndef TOVAK_SERVER_AUTHORIZER_H_
#define TOVAK_SERVER_AUTHORIZER_H_

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "server/key_set.h"
#include "server/nonce_store.h"
#include "server/server_config.h"

namespace tovak::server {

// What a call presented; a field the call did not carry is empty.
struct CallProof {
  std::optional<std::string> user;
  std::string audience, time, nonce, signature;
  std::string certificate;  // PEM of the connection's client certificate
};

// What the call is: method about site, with the SHA-256 of its request.
struct CallFacts {
  std::string method, site, requestDigest;
};

struct Verdict {
  bool allowed = false;
  std::string user;         // who the call runs for; empty: anonymous
  const char* reason = "";  // of a refusal, for the log only: callers see one refusal
};

class Authorizer {
 public:
  Authorizer(const ServerConfig& config, const KeySet& keys, NonceStore& nonces)
      : allowAnonymous_(config.allowAnonymous),
        names_(ServerNames(config)),
        keys_(keys),
        nonces_(nonces) {}

  // The verdict on a call at clock (POSIX seconds). Thread-safe. A nonce is
  // accepted once within the window by every worker sharing nonces.
  Verdict Check(const CallProof& proof, const CallFacts& call, int64_t clock);

 private:
  Verdict CheckCertificate(const std::string& certificate);
  Verdict CheckProof(const CallProof& proof, const CallFacts& call, int64_t clock);

  bool allowAnonymous_;
  std::vector<std::string> names_;
  const KeySet& keys_;
  NonceStore& nonces_;
  std::mutex certificateMutex_;
  std::map<std::string, std::string> certificateUsers_;  // PEM -> user ("" unknown); bounded
};

}  // namespace tovak::server

#endif  // TOVAK_SERVER_AUTHORIZER_H_
