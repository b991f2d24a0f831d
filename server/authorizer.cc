#include "server/authorizer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "remote/call_auth.h"

namespace tovak::server {
namespace {

// Certificates remembered per worker; beyond, the memory starts afresh.
constexpr size_t kMaxCertificates = 256;

bool ParseTime(const std::string& text, int64_t* time) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0') return false;
  *time = value;
  return true;
}

Verdict Refused(const char* reason, std::string user = "") {
  return {false, std::move(user), reason};
}

const char* RefusalOf(NonceStore::Outcome outcome) {
  switch (outcome) {
    case NonceStore::Outcome::kReplayed: return "replayed";
    case NonceStore::Outcome::kUserFull: return "nonce-cap";
    default: return "nonce-table";
  }
}

}  // namespace

Verdict Authorizer::Check(const CallProof& proof, const CallFacts& call, int64_t clock) {
  if (!proof.certificate.empty()) return CheckCertificate(proof.certificate);
  if (!proof.user.has_value()) {
    return allowAnonymous_ ? Verdict{true, "", ""} : Refused("anonymous");
  }
  return CheckProof(proof, call, clock);
}

// The TLS handshake proved that the caller holds the certificate's key: the
// user is whoever that public key belongs to.
Verdict Authorizer::CheckCertificate(const std::string& certificate) {
  std::lock_guard<std::mutex> lock(certificateMutex_);
  auto known = certificateUsers_.find(certificate);
  if (known == certificateUsers_.end()) {
    if (certificateUsers_.size() >= kMaxCertificates) certificateUsers_.clear();
    const remote::PkeyPtr key = remote::CertificateKey(certificate);
    std::string user;
    for (const auto& [name, userKey] : keys_.users) {
      if (key && EVP_PKEY_eq(key.get(), userKey.get()) == 1) user = name;
    }
    known = certificateUsers_.emplace(certificate, user).first;
  }
  if (known->second.empty()) return Refused("certificate");
  return {true, known->second, ""};
}

Verdict Authorizer::CheckProof(const CallProof& proof, const CallFacts& call, int64_t clock) {
  const std::string& user = *proof.user;
  int64_t time = 0;
  if (!ParseTime(proof.time, &time) || proof.nonce.size() != remote::kNonceBytes ||
      proof.signature.empty()) {
    return Refused("proof", user);
  }
  if (std::find(names_.begin(), names_.end(), proof.audience) == names_.end()) {
    return Refused("audience", user);
  }
  const int64_t now = nonces_.Now(clock);
  if (time < now - remote::kAuthWindowSeconds || time > now + remote::kAuthWindowSeconds) {
    return Refused("time", user);
  }
  const auto key = keys_.users.find(user);
  const bool known = key != keys_.users.end();
  const std::string payload = remote::AuthPayload(
      {user, call.method, call.site, proof.audience, time, proof.nonce, call.requestDigest});
  // Unknown users are checked too: a refusal takes as long whoever asks.
  const bool verified =
      remote::Verify(known ? key->second.get() : keys_.decoy.get(), payload, proof.signature);
  if (!known) return Refused("unknown-user", user);
  if (!verified) return Refused("proof", user);
  const NonceStore::Outcome outcome = nonces_.Record(user, proof.nonce, time, now);
  if (outcome != NonceStore::Outcome::kFresh) return Refused(RefusalOf(outcome), user);
  return {true, user, ""};
}

}  // namespace tovak::server
