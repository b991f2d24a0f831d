// Text that holds a secret (a passphrase, a private key's PEM): wiped with
// OPENSSL_cleanse when its holder ends, so that no copy outlives its use.
#ifndef TOVAK_REMOTE_SECRET_TEXT_H_
#define TOVAK_REMOTE_SECRET_TEXT_H_

#include <openssl/crypto.h>

#include <string>

namespace tovak::remote {

struct SecretText {
  SecretText() = default;
  explicit SecretText(std::string text) : value(std::move(text)) {}
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;
  SecretText(SecretText&& other) noexcept : value(std::move(other.value)) { other.Wipe(); }
  SecretText& operator=(SecretText&& other) noexcept {
    Wipe();
    value = std::move(other.value);
    other.Wipe();
    return *this;
  }
  ~SecretText() { Wipe(); }

  // Overwrites every byte the text holds, then empties it.
  void Wipe() {
    value.resize(value.capacity());  // within the buffer the text holds
    OPENSSL_cleanse(value.data(), value.size());
    value.clear();
  }

  std::string value;
};

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_SECRET_TEXT_H_
