#include "access/remote_address.h"

namespace tovak {
namespace {

constexpr int kMaxPort = 65535;

int PortOf(std::string_view text) {
  if (text.empty() || text.size() > 5) return 0;
  int port = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return 0;
    port = port * 10 + (c - '0');
  }
  return port <= kMaxPort ? port : 0;
}

// The text up to the first of the characters in ends (all of it when none),
// removed from text.
std::string_view TakeUntil(std::string_view& text, const char* ends) {
  const std::string_view taken = text.substr(0, text.find_first_of(ends));
  text.remove_prefix(taken.size());
  return taken;
}

}  // namespace

RemoteAddress ParseRemoteAddress(std::string_view rest) {
  RemoteAddress address;
  if (rest.starts_with('[')) {
    const size_t close = rest.find(']');
    if (close == std::string_view::npos) return address;
    const std::string_view literal = rest.substr(1, close - 1);
    rest.remove_prefix(close + 1);
    if (!rest.empty() && rest[0] != ':' && rest[0] != '/') return address;
    address.host = literal;
  } else {
    address.host = TakeUntil(rest, ":/");
  }
  std::string_view port, site;
  if (rest.starts_with(':')) {
    rest.remove_prefix(1);
    port = TakeUntil(rest, "/");
    if (!rest.empty()) site = rest.substr(1);
  } else if (rest.starts_with('/')) {
    rest.remove_prefix(1);
    site = TakeUntil(rest, ":");
    if (!rest.empty()) port = rest.substr(1);
  }
  address.port = PortOf(port);
  if (!site.empty()) address.site = site;
  return address;
}

}  // namespace tovak
