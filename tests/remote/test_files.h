// Throwaway files for the remote tests: a private directory, user keys and
// a server certificate made at test time with the openssl command.
#ifndef TOVAK_TESTS_REMOTE_TEST_FILES_H_
#define TOVAK_TESTS_REMOTE_TEST_FILES_H_

#include <string>

namespace tovak::testing {

// A directory under $TMPDIR (or /tmp), removed with its content.
class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();
  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Runs a shell command; true when it exits with 0.
bool Run(const std::string& command);

void WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);

// A user key pair: NAME.key (PEM, encrypted with passphrase unless it is
// empty) and NAME.pub in dir. algorithm: "ed25519" or "rsa".
struct UserKey {
  std::string privateFile, publicFile;
};
UserKey MakeUserKey(const TempDir& dir, const std::string& name, const std::string& algorithm,
                    const std::string& passphrase);

// A self-signed certificate for localhost and 127.0.0.1 with its key; the
// certificate also serves the client as the CA file.
struct ServerCert {
  std::string certificateFile, keyFile;
};
ServerCert MakeServerCert(const TempDir& dir, const std::string& name);

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_TEST_FILES_H_
