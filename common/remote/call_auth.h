// Proof of identity for remote calls.
//
// A user holds a private key (PEM, usually protected by a passphrase); the
// server holds the matching public key under the user's name. Every call
// carries the user name, the server name it is meant for (the audience), the
// current time, a random nonce and a signature over (user, method, site,
// audience, time, nonce, SHA-256 of the request message). The server accepts
// the call when the user is known, the audience is one of its names, the time
// lies within kAuthWindowSeconds of its clock, the nonce was not seen before
// in that window, and the signature verifies with the user's public key.
#ifndef TOVAK_REMOTE_CALL_AUTH_H_
#define TOVAK_REMOTE_CALL_AUTH_H_

#include <cstdint>
#include <string>

#include "remote/openssl_ptr.h"
#include "remote/secret_text.h"

namespace tovak::remote {

// Metadata keys. Keys ending in "-bin" carry raw bytes.
inline constexpr char kSiteKey[] = "tovak-site-bin";
inline constexpr char kUserKey[] = "tovak-user-bin";
inline constexpr char kAudienceKey[] = "tovak-audience-bin";
inline constexpr char kTimeKey[] = "tovak-time";
inline constexpr char kNonceKey[] = "tovak-nonce-bin";
inline constexpr char kSignatureKey[] = "tovak-signature-bin";

inline constexpr int64_t kAuthWindowSeconds = 300;
inline constexpr size_t kNonceBytes = 16;

// The bytes that are signed: each field preceded by its length (4 bytes,
// big-endian), so that no two field lists give the same bytes.
// requestDigest is the SHA-256 of the serialized request message (the
// messages have no maps, so their serialization is canonical: fields in
// number order).
struct ProofFields {
  std::string user, method, site, audience;
  int64_t time = 0;
  std::string nonce, requestDigest;
};
std::string AuthPayload(const ProofFields& fields);

std::string Sha256(const std::string& data);

// A server name as it is compared: ASCII letters lower-cased, the brackets
// of an IPv6 literal dropped.
std::string AudienceName(const std::string& host);

// Loads a PEM private key, decrypting it with passphrase (null: the key must
// not be encrypted), from a file private to its owner (ReadPrivateFile).
// Never prompts. Null on any failure; error receives why.
PkeyPtr LoadPrivateKey(const std::string& path, const char* passphrase, std::string* error);

// Loads a PEM public key (SubjectPublicKeyInfo). Null on failure.
PkeyPtr LoadPublicKey(const std::string& path, std::string* error);

// The public key of the first certificate in pem (PEM text); null when
// there is none.
PkeyPtr CertificateKey(const std::string& pem);

// The first certificate in the PEM file at path, as PEM text; empty when the
// file holds none (other blocks, such as a key, are passed over).
std::string CertificateIn(const std::string& path);

// key as unencrypted PKCS#8 PEM text, wiped when the holder ends.
SecretText PrivateKeyPem(EVP_PKEY* key);

// Signs data: Ed25519 and Ed448 keys sign it directly, other keys sign its
// SHA-256 digest. Empty on failure.
std::string Sign(EVP_PKEY* key, const std::string& data);
bool Verify(EVP_PKEY* key, const std::string& data, const std::string& signature);

// kNonceBytes random bytes; empty when the random source fails.
std::string RandomNonce();

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_CALL_AUTH_H_
