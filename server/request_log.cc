#include "server/request_log.h"

#include <unistd.h>

#include <cstdio>

namespace tovak::server {

std::string Printable(const std::string& text) {
  std::string out = text.empty() ? "-" : text;
  for (char& c : out) {
    if (c <= ' ' || c > '~' || c == '=') c = '?';
  }
  return out;
}

void LogRequest(const std::string& user, const std::string& site, const char* method,
                const std::string& status, int64_t microseconds) {
  char line[512];
  const int length = std::snprintf(line, sizeof line, "tovak-server: user=%s site=%s op=%s status=%s us=%lld\n",
                                   Printable(user).c_str(), Printable(site).c_str(), method,
                                   status.c_str(), static_cast<long long>(microseconds));
  if (length <= 0) return;
  // A line cut at the buffer's end still ends with a line feed.
  size_t size = static_cast<size_t>(length);
  if (size >= sizeof line) {
    size = sizeof line - 1;
    line[size - 1] = '\n';
  }
  // One write per line, so that lines of concurrent workers do not mix.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, size);
}

}  // namespace tovak::server
