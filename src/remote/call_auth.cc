#include "remote/call_auth.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>

#include <cstring>

namespace tovak::remote {
namespace {

void AppendField(std::string& out, const std::string& field) {
  const uint32_t n = static_cast<uint32_t>(field.size());
  const char length[4] = {static_cast<char>(n >> 24), static_cast<char>(n >> 16),
                          static_cast<char>(n >> 8), static_cast<char>(n)};
  out.append(length, sizeof length);
  out.append(field);
}

// Hands OpenSSL the passphrase instead of letting it prompt on a terminal.
int PassphraseCallback(char* buffer, int size, int /*rwflag*/, void* userdata) {
  const char* passphrase = static_cast<const char*>(userdata);
  if (passphrase == nullptr || size <= 0) return 0;
  const size_t length = std::strlen(passphrase);
  if (length > static_cast<size_t>(size)) return 0;  // refuse rather than cut
  std::memcpy(buffer, passphrase, length);
  return static_cast<int>(length);
}

std::string LastOpenSslError() {
  const unsigned long code = ERR_get_error();
  ERR_clear_error();
  if (code == 0) return "unknown error";
  char text[256];
  ERR_error_string_n(code, text, sizeof text);
  return text;
}

BioPtr OpenFile(const std::string& path, std::string* error) {
  BioPtr bio(BIO_new_file(path.c_str(), "r"));
  if (!bio && error != nullptr) *error = "cannot read " + path;
  ERR_clear_error();
  return bio;
}

// Ed25519 and Ed448 sign the message itself; other kinds a SHA-256 digest.
const EVP_MD* DigestFor(EVP_PKEY* key) {
  const int id = EVP_PKEY_get_id(key);
  return (id == EVP_PKEY_ED25519 || id == EVP_PKEY_ED448) ? nullptr : EVP_sha256();
}

}  // namespace

std::string AuthPayload(const std::string& user, const std::string& method,
                        const std::string& site, int64_t time, const std::string& nonce) {
  std::string out = "tovak-call-auth-1";
  AppendField(out, user);
  AppendField(out, method);
  AppendField(out, site);
  AppendField(out, std::to_string(time));
  AppendField(out, nonce);
  return out;
}

PkeyPtr LoadPrivateKey(const std::string& path, const char* passphrase, std::string* error) {
  BioPtr bio = OpenFile(path, error);
  if (!bio) return nullptr;
  PkeyPtr key(PEM_read_bio_PrivateKey(bio.get(), nullptr, &PassphraseCallback,
                                      const_cast<char*>(passphrase)));
  if (!key && error != nullptr) {
    *error = path + ": not a private key, or wrong passphrase (" + LastOpenSslError() + ")";
  }
  ERR_clear_error();
  return key;
}

PkeyPtr LoadPublicKey(const std::string& path, std::string* error) {
  BioPtr bio = OpenFile(path, error);
  if (!bio) return nullptr;
  PkeyPtr key(PEM_read_bio_PUBKEY(bio.get(), nullptr, &PassphraseCallback, nullptr));
  if (!key && error != nullptr) {
    *error = path + ": not a PEM public key (" + LastOpenSslError() + ")";
  }
  ERR_clear_error();
  return key;
}

std::string Sign(EVP_PKEY* key, const std::string& data) {
  MdCtxPtr ctx(EVP_MD_CTX_new());
  if (!ctx || EVP_DigestSignInit(ctx.get(), nullptr, DigestFor(key), nullptr, key) != 1) {
    ERR_clear_error();
    return {};
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
  size_t length = 0;
  if (EVP_DigestSign(ctx.get(), nullptr, &length, bytes, data.size()) != 1) {
    ERR_clear_error();
    return {};
  }
  std::string signature(length, '\0');
  if (EVP_DigestSign(ctx.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                     bytes, data.size()) != 1) {
    ERR_clear_error();
    return {};
  }
  signature.resize(length);
  return signature;
}

bool Verify(EVP_PKEY* key, const std::string& data, const std::string& signature) {
  MdCtxPtr ctx(EVP_MD_CTX_new());
  const bool ok =
      ctx && EVP_DigestVerifyInit(ctx.get(), nullptr, DigestFor(key), nullptr, key) == 1 &&
      EVP_DigestVerify(ctx.get(), reinterpret_cast<const unsigned char*>(signature.data()),
                       signature.size(), reinterpret_cast<const unsigned char*>(data.data()),
                       data.size()) == 1;
  ERR_clear_error();
  return ok;
}

std::string RandomNonce() {
  std::string nonce(kNonceBytes, '\0');
  if (RAND_bytes(reinterpret_cast<unsigned char*>(nonce.data()),
                 static_cast<int>(nonce.size())) != 1) {
    ERR_clear_error();
    return {};
  }
  return nonce;
}

}  // namespace tovak::remote
