#include "remote/test_files.h"

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tovak::testing {

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") +
                        "/tovak-remote-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

bool Run(const std::string& command) { return std::system(command.c_str()) == 0; }

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
  if (!out) throw std::runtime_error("cannot write " + path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

UserKey MakeUserKey(const TempDir& dir, const std::string& name, const std::string& algorithm,
                    const std::string& passphrase) {
  UserKey key{dir.File(name + ".key"), dir.File(name + ".pub")};
  const std::string options =
      algorithm == "rsa" ? "-algorithm RSA -pkeyopt rsa_keygen_bits:2048" : "-algorithm ED25519";
  // The passphrase goes through a file: it may hold any character.
  const std::string passFile = dir.File(name + ".pass");
  WriteFile(passFile, passphrase + "\n");
  const std::string encryption =
      passphrase.empty() ? "" : " -aes-256-cbc -pass 'file:" + passFile + "'";
  const std::string input = passphrase.empty() ? "" : " -passin 'file:" + passFile + "'";
  if (!Run("openssl genpkey " + options + encryption + " -out '" + key.privateFile +
           "' 2>/dev/null") ||
      !Run("openssl pkey -in '" + key.privateFile + "'" + input + " -pubout -out '" +
           key.publicFile + "' 2>/dev/null")) {
    throw std::runtime_error("openssl could not make the key " + name);
  }
  return key;
}

ServerCert MakeServerCert(const TempDir& dir, const std::string& name) {
  ServerCert cert{dir.File(name + ".crt"), dir.File(name + ".crt.key")};
  if (!Run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes"
           " -days 2 -subj /CN=localhost"
           " -addext subjectAltName=DNS:localhost,IP:127.0.0.1"
           " -keyout '" + cert.keyFile + "' -out '" + cert.certificateFile + "' 2>/dev/null")) {
    throw std::runtime_error("openssl could not make the certificate " + name);
  }
  return cert;
}

}  // namespace tovak::testing
