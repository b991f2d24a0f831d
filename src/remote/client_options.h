// Settings of the remote client, read from the library's configuration on
// every connection attempt.
#ifndef TOVAK_REMOTE_CLIENT_OPTIONS_H_
#define TOVAK_REMOTE_CLIENT_OPTIONS_H_

#include <chrono>
#include <string>

#include "remote/file_text.h"

namespace tovak::remote {

inline constexpr int kDefaultDeadlineMs = 10000;
// Used when TOVAK_CA_FILE is not set and TLS is on.
inline constexpr char kSystemRootsFile[] = "/etc/ssl/certs/ca-certificates.crt";

struct ClientOptions {
  // TOVAK_DEADLINE_MS: how long a call, and a connection attempt, may take.
  std::chrono::milliseconds deadline{kDefaultDeadlineMs};
  // TOVAK_CA_FILE: certificates that may sign the server's certificate;
  // empty: the system's roots.
  std::string caFile;
  // TOVAK_USER_KEY_PASSPHRASE_FILE: a file (private to its owner) whose first
  // line is the key's passphrase; used when TOVAK_USER_KEY_PASSPHRASE is unset.
  std::string passphraseFile;
};

// The current settings. A TOVAK_DEADLINE_MS that is not a positive decimal
// number gives the default.
ClientOptions ReadClientOptions();

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_CLIENT_OPTIONS_H_
