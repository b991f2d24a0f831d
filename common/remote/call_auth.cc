#include "remote/call_auth.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/sha.h>
#include <openssl/x509.h>

#include <cstring>

#include "remote/file_text.h"
#include "remote/secret_text.h"

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

std::string AuthPayload(const ProofFields& fields) {
  std::string out = "tovak-call-auth-2";
  for (const std::string* field : {&fields.user, &fields.method, &fields.site, &fields.audience}) {
    AppendField(out, *field);
  }
  AppendField(out, std::to_string(fields.time));
  AppendField(out, fields.nonce);
  AppendField(out, fields.requestDigest);
  return out;
}

std::string Sha256(const std::string& data) {
  unsigned char digest[SHA256_DIGEST_LENGTH];
  SHA256(reinterpret_cast<const unsigned char*>(data.data()), data.size(), digest);
  return std::string(reinterpret_cast<const char*>(digest), sizeof digest);
}

std::string AudienceName(const std::string& host) {
  std::string name = host;
  if (name.size() >= 2 && name.front() == '[' && name.back() == ']') {
    name = name.substr(1, name.size() - 2);
  }
  for (char& c : name) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return name;
}

PkeyPtr LoadPrivateKey(const std::string& path, const char* passphrase, std::string* error) {
  SecretText pem;
  std::string why;
  if (!ReadPrivateFile(path, &pem, &why)) {
    if (error != nullptr) *error = why;
    return nullptr;
  }
  BioPtr bio(BIO_new_mem_buf(pem.value.data(), static_cast<int>(pem.value.size())));
  PkeyPtr key(bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, &PassphraseCallback,
                                            const_cast<char*>(passphrase))
                  : nullptr);
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

PkeyPtr CertificateKey(const std::string& pem) {
  BioPtr bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  X509Ptr certificate(bio ? PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr) : nullptr);
  PkeyPtr key(certificate ? X509_get_pubkey(certificate.get()) : nullptr);
  ERR_clear_error();
  return key;
}

std::string CertificateIn(const std::string& path) {
  BioPtr in(BIO_new_file(path.c_str(), "r"));
  X509Ptr certificate(in ? PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr) : nullptr);
  BioPtr out(BIO_new(BIO_s_mem()));
  std::string pem;
  if (certificate && out && PEM_write_bio_X509(out.get(), certificate.get()) == 1) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(out.get(), &data);
    if (length > 0) pem.assign(data, static_cast<size_t>(length));
  }
  ERR_clear_error();
  return pem;
}

SecretText PrivateKeyPem(EVP_PKEY* key) {
  SecretText text;
  BioPtr bio(BIO_new(BIO_s_secmem()));
  if (bio && PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &data);
    if (length > 0) text.value.assign(data, static_cast<size_t>(length));
  }
  ERR_clear_error();
  return text;
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
  if (EVP_DigestSign(ctx.get(), reinterpret_cast<unsigned char*>(signature.data()), &length, bytes,
                     data.size()) != 1) {
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
  if (RAND_bytes(reinterpret_cast<unsigned char*>(nonce.data()), static_cast<int>(nonce.size())) !=
      1) {
    ERR_clear_error();
    return {};
  }
  return nonce;
}

}  // namespace tovak::remote
