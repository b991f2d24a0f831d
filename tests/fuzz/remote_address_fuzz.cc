// Remote server addresses [scheme]host[:port][/site] (also host/site:port)
// and the settings read with them. Input lines: the address; the
// TOVAK_DEADLINE_MS setting (none without the line); what the client's
// Connect answers; what its SelectSite answers.
//
// Both scheme functions skip the same prefix and give the same TLS choice;
// a prefix skipped is what makes the name choose the remote protocol; the
// client connects, with that TLS choice, to a host, port and site the
// address names, and these written back as host:port/site read the same;
// the deadline read is always positive.
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#include "access/state.h"
#include "fuzz_support.h"
#include "remote/client_options.h"
#include "tovak/tovak.h"

namespace {

using tovak::testing::Client;
using tovak::testing::ResetCompanions;
using tovak::testing::SetConfig;

int Number(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

// The length of the scheme prefix, and the TLS choice it makes (-7: none).
std::pair<size_t, int> CheckScheme(const std::string& address) {
  int tls = -7, tls2 = -7;
  const char* rest = cCheckV2scheme(address.c_str(), &tls);
  std::string copy = address;
  FUZZ_CHECK(CheckV2scheme(copy.data(), &tls2) - copy.data() == rest - address.c_str());
  FUZZ_CHECK(tls == tls2 && cCheckV2scheme(nullptr, &tls) == nullptr);
  const size_t skipped = static_cast<size_t>(rest - address.c_str());
  FUZZ_CHECK((skipped == 0) == (tls == -7) && (tls == -7 || tls == 0 || tls == 1));
  ResetCompanions();
  FUZZ_CHECK(isTovakProtocolV2(address.c_str()) == (skipped > 0 ? 1 : 0));
  FUZZ_CHECK(isTovakProtocolV2("grpc://elsewhere") == (skipped > 0 ? 1 : 0));
  return {skipped, tls};
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
  client.tlsEnabled = -5;
  std::tie(client.connectResult, client.selectSiteResult) = std::pair(connectAnswer, selectAnswer);
  FUZZ_CHECK(isTovakProtocolV2("/ubo") == 1);
  CmonoMirvoDataClient* connected = tDataClientSetup("ignored:1/x");
  const std::vector<std::string>& log = client.log;  // "Connect(h,p)" ["SelectSite(s,0)"]
  FUZZ_CHECK(log.size() == (connectAnswer == 0 ? 2u : 1u) && log[0].starts_with("Connect("));
  FUZZ_CHECK(client.atConnect.user == std::optional<std::string>("alice"));
  const size_t comma = log[0].rfind(',');
  Target target{log[0].substr(8, comma - 8), std::atoi(log[0].c_str() + comma + 1)};
  if (connectAnswer == 0) target.site = log[1].substr(11, log[1].size() - 14);
  const bool kept = connectAnswer == 1 || (connectAnswer == 0 && selectAnswer == 0);
  FUZZ_CHECK(connected == (kept ? &client : nullptr));
  return target;
}

// A port of 1..65535 as written in the address (0 when there is none), the
// host at its start (an IPv6 literal in brackets), the site after a "/".
void CheckClientSetUp(const std::string& address, int connectAnswer, int selectAnswer) {
  const auto [skipped, tls] = CheckScheme(address);
  const Target target = SetUp(address, connectAnswer, selectAnswer);
  FUZZ_CHECK(Client().atConnect.tls == (tls == -7 ? -5 : tls));
  const std::string rest = address.substr(skipped);
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

void CheckDeadline(const tovak::fuzz::Fields& lines) {
  ResetCompanions();
  const std::string setting = lines[1].c_str();
  if (lines.size() > 1) SetConfig("TOVAK_DEADLINE_MS", setting);
  const long long deadline = tovak::remote::ReadClientOptions().deadline.count();
  FUZZ_CHECK(deadline > 0);
  const bool digits = setting.find_first_not_of("0123456789") == std::string::npos;
  if (digits && setting.size() < 10 && std::atoll(setting.c_str()) > 0) {
    FUZZ_CHECK(deadline == std::atoll(setting.c_str()));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tovak::fuzz::Fields lines(tovak::fuzz::Text(data, size), '\n');
  CheckClientSetUp(lines[0].c_str(), Number(lines[2]), Number(lines[3]));
  CheckDeadline(lines);
  tovak::fuzz::CheckCompanions();
  return 0;
}
