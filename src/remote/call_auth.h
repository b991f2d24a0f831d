// Proof of identity for remote calls.
//
// A user holds a private key (PEM, usually protected by a passphrase); the
// server holds the matching public key under the user's name. Every call
// carries the user name, the current time, a random nonce and a signature
// over (user, method, site, time, nonce). The server accepts the call when
// the user is known, the time lies within kAuthWindowSeconds of its clock,
// the nonce was not seen before in that window, and the signature verifies
// with the user's public key.
#ifndef TOVAK_REMOTE_CALL_AUTH_H_
#define TOVAK_REMOTE_CALL_AUTH_H_

#include <cstdint>
#include <string>

#include "remote/openssl_ptr.h"

namespace tovak::remote {

// Metadata keys. Keys ending in "-bin" carry raw bytes.
inline constexpr char kSiteKey[] = "tovak-site-bin";
inline constexpr char kUserKey[] = "tovak-user-bin";
inline constexpr char kTimeKey[] = "tovak-time";
inline constexpr char kNonceKey[] = "tovak-nonce-bin";
inline constexpr char kSignatureKey[] = "tovak-signature-bin";

inline constexpr int64_t kAuthWindowSeconds = 300;
inline constexpr size_t kNonceBytes = 16;

// The bytes that are signed: each field preceded by its length (4 bytes,
// big-endian), so that no two field lists give the same bytes.
std::string AuthPayload(const std::string& user, const std::string& method,
                        const std::string& site, int64_t time, const std::string& nonce);

// Loads a PEM private key, decrypting it with passphrase (null: the key must
// not be encrypted). Never prompts. Null on any failure; error receives why.
PkeyPtr LoadPrivateKey(const std::string& path, const char* passphrase, std::string* error);

// Loads a PEM public key (SubjectPublicKeyInfo). Null on failure.
PkeyPtr LoadPublicKey(const std::string& path, std::string* error);

// Signs data: Ed25519 and Ed448 keys sign it directly, other keys sign its
// SHA-256 digest. Empty on failure.
std::string Sign(EVP_PKEY* key, const std::string& data);
bool Verify(EVP_PKEY* key, const std::string& data, const std::string& signature);

// kNonceBytes random bytes; empty when the random source fails.
std::string RandomNonce();

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_CALL_AUTH_H_
