#include "remote/client_options.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "tovak/client_env.h"

namespace tovak::remote {
namespace {

long PositiveNumber(const char* text, long fallback) {
  if (text == nullptr || *text == '\0') return fallback;
  errno = 0;
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (errno != 0 || *end != '\0' || value <= 0) return fallback;
  return value;
}

}  // namespace

ClientOptions ReadClientOptions() {
  CtovakDescriptor::SetEnv();
  ClientOptions options;
  options.deadline = std::chrono::milliseconds(
      PositiveNumber(CClientEnvironment::getEnv("TOVAK_DEADLINE_MS"), kDefaultDeadlineMs));
  if (const char* ca = CClientEnvironment::getEnv("TOVAK_CA_FILE")) options.caFile = ca;
  if (const char* file = CClientEnvironment::getEnv("TOVAK_USER_KEY_PASSPHRASE_FILE")) {
    options.passphraseFile = file;
  }
  return options;
}

}  // namespace tovak::remote
