// Remote server addresses [scheme]host[:port][/site] and the settings read
// with them. Input lines: the address; the TOVAK_DEADLINE_MS setting (none
// without the line); what the client's Connect answers; what its
// SelectSite answers.
//
// The scheme is recognised the same way by every function that looks at
// it, a scheme decides the protocol, the client connects to the host and
// port the address names with the TLS choice of its scheme and selects the
// named site, and the deadline read is always positive.
#include <cstdlib>
#include <cstring>
#include <string>

#include "access/state.h"
#include "companion_support.h"
#include "remote/client_options.h"
#include "tovak/tovak.h"

namespace {

using tovak::testing::Client;
using tovak::testing::ResetCompanions;
using tovak::testing::SetConfig;

struct Scheme {
  const char* prefix;
  int tls;
};
constexpr Scheme kSchemes[] = {{"https://", 1}, {"grpcs://", 1}, {"http://", 0}, {"grpc://", 0}};

const Scheme* SchemeOf(const std::string& address) {
  for (const Scheme& scheme : kSchemes) {
    if (address.rfind(scheme.prefix, 0) == 0) return &scheme;
  }
  return nullptr;
}

int Number(const std::string& text, int fallback) {
  return text.empty() ? fallback : static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

void CheckSchemeFunctions(const std::string& address, const Scheme* scheme) {
  int tls = -7;
  const char* rest = cCheckV2scheme(address.c_str(), &tls);
  const size_t skipped = scheme != nullptr ? std::strlen(scheme->prefix) : 0;
  FUZZ_CHECK(rest == address.c_str() + skipped);
  FUZZ_CHECK(tls == (scheme != nullptr ? scheme->tls : -7));

  std::string copy = address;
  int tls2 = -7;
  FUZZ_CHECK(CheckV2scheme(copy.data(), &tls2) == copy.data() + skipped && tls2 == tls);
  FUZZ_CHECK(cCheckV2scheme(nullptr, &tls) == nullptr);

  ResetCompanions();
  FUZZ_CHECK(isTovakProtocolV2(address.c_str()) == (scheme != nullptr ? 1 : 0));
  FUZZ_CHECK(isTovakProtocolV2("grpc://elsewhere") == (scheme != nullptr ? 1 : 0));
}

// What the address names, read with std::string rather than cut in place.
struct Target {
  std::string host;
  int port = 0;
  std::string site = "ubo";
};

Target TargetOf(const std::string& address, const Scheme* scheme) {
  const std::string rest = address.substr(scheme != nullptr ? std::strlen(scheme->prefix) : 0);
  const size_t colon = rest.find(':'), slash = rest.find('/');
  Target target;
  target.host = rest.substr(0, std::min(colon, slash));
  if (colon != std::string::npos) {
    target.port = static_cast<int>(std::strtol(rest.c_str() + colon + 1, nullptr, 10));
  }
  if (slash != std::string::npos) {
    const size_t end = colon != std::string::npos && colon > slash ? colon : rest.size();
    const std::string site = rest.substr(slash + 1, end - slash - 1);
    if (!site.empty()) target.site = site;
  }
  return target;
}

// The configured address picks the protocol and the client's target.
void CheckClientSetup(const std::string& address, const Scheme* scheme, int connectAnswer,
                      int selectAnswer) {
  ResetCompanions();
  SetConfig("KOVD_GRPC", address);
  SetConfig("TOVAK_USER", "alice");
  auto& client = Client();
  client.connectResult = connectAnswer;
  client.selectSiteResult = selectAnswer;
  const int tlsBefore = client.tlsEnabled;
  FUZZ_CHECK(isTovakProtocolV2("/ubo") == 1);

  CmonoMirvoDataClient* connected = tDataClientSetup("ignored:1/x");
  const Target target = TargetOf(address, scheme);
  FUZZ_CHECK(!client.log.empty());
  FUZZ_CHECK(client.log[0] ==
             "Connect(" + target.host + "," + std::to_string(target.port) + ")");
  FUZZ_CHECK(client.atConnect.tls == (scheme != nullptr ? scheme->tls : tlsBefore));
  FUZZ_CHECK(client.atConnect.user == std::optional<std::string>("alice"));
  if (connectAnswer == 0) {
    FUZZ_CHECK(client.log.size() == 2 && client.log[1] == "SelectSite(" + target.site + ",0)");
    FUZZ_CHECK(connected == (selectAnswer == 0 ? &client : nullptr));
  } else {
    FUZZ_CHECK(client.log.size() == 1);
    FUZZ_CHECK(connected == (connectAnswer == 1 ? &client : nullptr));
  }
}

bool AllDigits(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

void CheckDeadline(const tovak::fuzz::Fields& lines) {
  ResetCompanions();
  const std::string setting = lines[1].c_str();
  if (lines.size() > 1) SetConfig("TOVAK_DEADLINE_MS", setting);
  const long long deadline = tovak::remote::ReadClientOptions().deadline.count();
  FUZZ_CHECK(deadline > 0);
  if (AllDigits(setting) && setting.size() < 10 && std::atoll(setting.c_str()) > 0) {
    FUZZ_CHECK(deadline == std::atoll(setting.c_str()));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tovak::fuzz::Fields lines(tovak::fuzz::Text(data, size), '\n');
  const std::string address = lines[0].c_str();
  const Scheme* scheme = SchemeOf(address);
  CheckSchemeFunctions(address, scheme);
  CheckClientSetup(address, scheme, Number(lines[2], 0), Number(lines[3], 0));
  CheckDeadline(lines);
  tovak::fuzz::CheckCompanions();
  return 0;
}
