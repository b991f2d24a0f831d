#include "server/authorizer.h"

#include <cerrno>
#include <cstdlib>

#include "remote/call_auth.h"

namespace tovak::server {
namespace {

bool ParseTime(const std::string& text, int64_t* time) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0') return false;
  *time = value;
  return true;
}

}  // namespace

bool Authorizer::Load(const ServerConfig& config, std::string* error) {
  allowAnonymous_ = config.allowAnonymous;
  keys_.clear();
  for (const auto& [user, path] : config.userKeyFiles) {
    std::string why;
    remote::PkeyPtr key = remote::LoadPublicKey(path, &why);
    if (!key) {
      *error = "user." + user + ": " + why;
      return false;
    }
    keys_[user] = std::move(key);
  }
  return true;
}

Verdict Authorizer::Check(const CallProof& proof, const std::string& method,
                          const std::string& site, int64_t now) {
  if (!proof.user.has_value()) {
    return allowAnonymous_ ? Verdict::kAllowed : Verdict::kUnauthenticated;
  }
  const auto key = keys_.find(*proof.user);
  if (key == keys_.end()) return Verdict::kPermissionDenied;
  int64_t time = 0;
  if (!ParseTime(proof.time, &time) || proof.nonce.size() != remote::kNonceBytes ||
      proof.signature.empty()) {
    return Verdict::kUnauthenticated;
  }
  if (time < now - remote::kAuthWindowSeconds || time > now + remote::kAuthWindowSeconds) {
    return Verdict::kUnauthenticated;
  }
  const std::string payload = remote::AuthPayload(*proof.user, method, site, time, proof.nonce);
  if (!remote::Verify(key->second.get(), payload, proof.signature)) {
    return Verdict::kUnauthenticated;
  }
  return FreshNonce(proof.nonce, time, now) ? Verdict::kAllowed : Verdict::kUnauthenticated;
}

bool Authorizer::FreshNonce(const std::string& nonce, int64_t time, int64_t now) {
  std::lock_guard<std::mutex> lock(nonceMutex_);
  // Nonces older than the window cannot be replayed anyway: forget them.
  while (!noncesByTime_.empty() &&
         noncesByTime_.begin()->first < now - remote::kAuthWindowSeconds) {
    nonces_.erase(noncesByTime_.begin()->second);
    noncesByTime_.erase(noncesByTime_.begin());
  }
  if (!nonces_.emplace(nonce, time).second) return false;
  noncesByTime_.emplace(time, nonce);
  return true;
}

}  // namespace tovak::server
