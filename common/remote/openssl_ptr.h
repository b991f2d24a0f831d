// Owning pointers for the OpenSSL objects the remote code uses.
#ifndef TOVAK_REMOTE_OPENSSL_PTR_H_
#define TOVAK_REMOTE_OPENSSL_PTR_H_

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

namespace tovak::remote {

struct PkeyFree {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct BioFree {
  void operator()(BIO* bio) const { BIO_free(bio); }
};
struct X509Free {
  void operator()(X509* certificate) const { X509_free(certificate); }
};
struct MdCtxFree {
  void operator()(EVP_MD_CTX* ctx) const { EVP_MD_CTX_free(ctx); }
};

using PkeyPtr = std::unique_ptr<EVP_PKEY, PkeyFree>;
using BioPtr = std::unique_ptr<BIO, BioFree>;
using X509Ptr = std::unique_ptr<X509, X509Free>;
using MdCtxPtr = std::unique_ptr<EVP_MD_CTX, MdCtxFree>;

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_OPENSSL_PTR_H_
