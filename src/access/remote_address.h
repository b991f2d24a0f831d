// The parts of a remote server address after its scheme:
//   host[:port][/site]   or   host/site:port
// where host is a name, an IPv4 address or an IPv6 literal in brackets.
#ifndef TOVAK_ACCESS_REMOTE_ADDRESS_H_
#define TOVAK_ACCESS_REMOTE_ADDRESS_H_

#include <string>
#include <string_view>

namespace tovak {

struct RemoteAddress {
  // Without the brackets of an IPv6 literal; empty when an opening bracket
  // is not closed, or is closed before anything but a port or a site.
  std::string host;
  // 1..65535, or 0 when the port is missing or is not all digits in that
  // range: the client refuses to connect to port 0.
  int port = 0;
  std::string site = "ubo";  // when none or an empty one is named
};

RemoteAddress ParseRemoteAddress(std::string_view address);

}  // namespace tovak

#endif  // TOVAK_ACCESS_REMOTE_ADDRESS_H_
