#include "server/request_log.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <mutex>

namespace tovak::server {
namespace {

// One write per line, so that lines of concurrent workers do not mix.
void WriteLine(const char* line, size_t size) {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, size);
}

// Lines of one refusal reason within the current second.
struct Budget {
  int64_t second = -1;
  int lines = 0;
  long long unlogged = 0;
};

}  // namespace

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
  const int length =
      std::snprintf(line, sizeof line, "tovak-server: user=%s site=%s op=%s status=%s us=%lld\n",
                    Printable(user).c_str(), Printable(site).c_str(), method, status.c_str(),
                    static_cast<long long>(microseconds));
  if (length <= 0) return;
  // A line cut at the buffer's end still ends with a line feed.
  size_t size = static_cast<size_t>(length);
  if (size >= sizeof line) {
    size = sizeof line - 1;
    line[size - 1] = '\n';
  }
  WriteLine(line, size);
}

void LogRefusal(const std::string& user, const std::string& site, const char* method,
                const char* reason, int64_t microseconds) {
  static std::mutex mutex;
  static std::map<std::string, Budget> budgets;
  const int64_t second = std::chrono::duration_cast<std::chrono::seconds>(
                             std::chrono::steady_clock::now().time_since_epoch())
                             .count();
  long long unlogged = 0;
  {
    std::lock_guard<std::mutex> lock(mutex);
    Budget& budget = budgets[reason];
    if (budget.second != second) {
      budget.second = second;
      budget.lines = 0;
    }
    if (budget.lines == kRefusalLinesPerSecond) {
      ++budget.unlogged;
      return;
    }
    ++budget.lines;
    unlogged = budget.unlogged;
    budget.unlogged = 0;
  }
  if (unlogged > 0) {
    char line[128];
    const int length = std::snprintf(
        line, sizeof line, "tovak-server: %lld refusals (%s) not logged\n", unlogged, reason);
    if (length > 0 && static_cast<size_t>(length) < sizeof line) {
      WriteLine(line, static_cast<size_t>(length));
    }
  }
  LogRequest(user, site, method, std::string("refused:") + reason, microseconds);
}

}  // namespace tovak::server
