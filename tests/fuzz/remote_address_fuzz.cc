// Remote server addresses [scheme]host[:port][/site] (also host/site:port)
// and the settings read with them. Input lines: the address; the TOVAK_DEADLINE_MS setting (none
// without the line); what the client's Connect answers; what its
// SelectSite answers.
//
// The scheme is recognised the same way by every function that looks at
// it, a scheme decides the protocol, the client is asked to connect to a
// host and port the address names (port 0, which it refuses, when the
// address names none in 1..65535) with the TLS choice of its scheme and to
// select the named site, and the deadline read is always positive.
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

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

// The host, port and site one set-up asked the client for, read back from its log.
struct Target {
  std::string host;
  int port = 0;
  std::string site = "ubo";
};

Target SetUp(const std::string& address, int connectAnswer, int selectAnswer) {
  ResetCompanions();
  SetConfig("KOVD_GRPC", address);
  SetConfig("TOVAK_USER", "alice");
  auto& client = Client();
  client.connectResult = connectAnswer;
  client.selectSiteResult = selectAnswer;
  FUZZ_CHECK(isTovakProtocolV2("/ubo") == 1);
  CmonoMirvoDataClient* connected = tDataClientSetup("ignored:1/x");
  const std::vector<std::string>& log = client.log;  // "Connect(h,p)" ["SelectSite(s,0)"]
  FUZZ_CHECK(log.size() == (connectAnswer == 0 ? 2u : 1u) && log[0].rfind("Connect(", 0) == 0);
  const size_t comma = log[0].rfind(',');
  Target target{log[0].substr(8, comma - 8), std::atoi(log[0].c_str() + comma + 1)};
  if (connectAnswer == 0) target.site = log[1].substr(11, log[1].size() - 14);
  const bool kept = connectAnswer == 1 || (connectAnswer == 0 && selectAnswer == 0);
  FUZZ_CHECK(connected == (kept ? &client : nullptr));
  return target;
}

// The client is asked for what the address names: a port of 1..65535 as written there (0 when
// there is none), the host at its start (an IPv6 literal in brackets), the site after a "/".
// Written back in the form host:port/site, the parts read the same.
void CheckClientSetup(const std::string& address, const Scheme* scheme, int connectAnswer,
                      int selectAnswer) {
  const int tlsBefore = Client().tlsEnabled;
  const Target target = SetUp(address, connectAnswer, selectAnswer);
  FUZZ_CHECK(Client().atConnect.tls == (scheme != nullptr ? scheme->tls : tlsBefore));
  FUZZ_CHECK(Client().atConnect.user == std::optional<std::string>("alice"));
  const std::string rest = address.substr(scheme != nullptr ? std::strlen(scheme->prefix) : 0);
  const std::regex port(":0*" + std::to_string(target.port) + "(/|$)");
  FUZZ_CHECK(target.port == 0 || (target.port <= 65535 && std::regex_search(rest, port)));
  const std::string& host = target.host;
  const bool bracketed = host.find_first_of(":/") != std::string::npos || host.starts_with('[');
  const std::string written = bracketed ? "[" + host + "]" : host;
  FUZZ_CHECK(rest.starts_with(written) || rest.starts_with("[" + host + "]"));
  FUZZ_CHECK(target.site == "ubo" || rest.find("/" + target.site) != std::string::npos);
  if (connectAnswer != 0 || host.empty() || target.port == 0) return;
  const Target again = SetUp(written + ":" + std::to_string(target.port) + "/" + target.site, 0, 0);
  FUZZ_CHECK(again.host == host && again.port == target.port && again.site == target.site);
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
