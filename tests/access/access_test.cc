#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "access/state.h"
#include "doubles/companions.h"
#include "tovak/tovak.h"

// Tables laid out by hand, a row per case or two: the formatter leaves them alone.
// clang-format off

namespace tovak::testing {
namespace {

using AccessTest = CompanionTest;

TEST_F(AccessTest, ProtocolIsDecidedOnceUnlessChosen) {
  // The first call's server name, the protocol it fixes, a later name that changes nothing.
  const std::tuple<const char*, int, const char*> cases[] = {
      {"dbhost/ubo::index", 0, "grpcs://srv:50051/ubo"}, {nullptr, 0, "grpc://srv"},
      {"HTTPS://srv", 0, "https://srv"}, {"grpc://srv:7/ubo", 1, "dbhost"}};
  for (const auto& [first, v2, later] : cases) {
    ResetCompanions();
    EXPECT_EQ((std::tuple{isTovakProtocolV2(first), isTovakProtocolV2(later), ServerV2Name, SetEnvCalls()}),
              std::tuple(v2, v2, v2 ? first : nullptr, 1));  // the caller's own text
  }
  setTovakProtocolV1();
  const int chosenV1 = isTovakProtocolV2("grpc://x");
  setTovakProtocolV2(nullptr);  // keeps the server
  EXPECT_EQ((std::tuple{chosenV1, isTovakProtocolV2(nullptr), std::string(ServerV2Name)}), std::tuple(0, 1, "grpc://srv:7/ubo"));
  setTovakProtocolV2("grpc://second");
  EXPECT_STREQ(ServerV2Name, "grpc://second");
  ResetCompanions();
  SetConfig("KOVD_GRPC", "grpc://configured:9/cfg");  // wins over every name
  EXPECT_EQ(isTovakProtocolV2("dbhost"), 1);
  EXPECT_EQ(tDataClientSetup("grpc://ignored:1/x"), &Client());
  EXPECT_EQ(Client().log, (CallLog{"Connect(configured,9)", "SelectSite(cfg,0)"}));
}

TEST_F(AccessTest, IndexNoClosingSwitchesTheSessionAndUnknownKindsHaveNoId) {
  setTovakProtocolV1(), IndexDb().setups.emplace_back();  // an index connection was set up
  const auto mode = [](int m) { IndexNoClosing(m); return std::pair(CIndexDBComm::swCloseEachTime, IndexDb().log.size()); };
  EXPECT_EQ((std::vector{mode(1), mode(2), mode(0), mode(2)}), (std::vector<std::pair<bool, size_t>>{{false, 0}, {false, 0}, {true, 1}, {true, 1}}));
  EXPECT_EQ(get_dmod_host_id(&IndexDb(), "FPGA-DTS2", "h"), -1);  // not 0, an id a unit may have
}

// The client's calls and its TLS flag at Connect (5 before) for one address.
std::string ClientSetUp(const char* address) {
  ResetCompanions();
  Client().tlsEnabled = 5;
  EXPECT_EQ(tDataClientSetup(address), &Client());
  std::string calls;
  for (const std::string& call : Client().log) calls += call;
  return calls + std::to_string(Client().tlsAtConnect);
}

TEST_F(AccessTest, ClientSetUpFromTheAddress) {
  const std::pair<const char*, const char*> cases[] = {
      {"grpcs://srv:50051/Site", "Connect(srv,50051)SelectSite(Site,0)1"}, {"grpc://srv", "Connect(srv,0)SelectSite(ubo,0)0"},
      {"https://srv:50051/", "Connect(srv,50051)SelectSite(ubo,0)1"}, {"[::1]/s:65535", "Connect(::1,65535)SelectSite(s,0)5"},
      // Ports that are not all digits in 1..65535 are 0, which Connect refuses.
      {"h: 12x/s", "Connect(h,0)SelectSite(s,0)5"}, {"h:4294967297", "Connect(h,0)SelectSite(ubo,0)5"},
      {"[::1]x:5", "Connect(,0)SelectSite(ubo,0)5"}, {nullptr, "Connect(<null>,0)SelectSite(<null>,0)5"}};
  for (const auto& [address, calls] : cases) EXPECT_EQ(ClientSetUp(address), calls) << address;
  setTovakProtocolV2("grpc://srv:1/a");
  std::tie(Client().log, Client().selectSiteResult) = std::pair(CallLog{}, 3);
  // Connect's 1 is "already connected": no site is selected.
  for (auto [connect, client] : {std::pair{1, &Client()}, {2, nullptr}, {0, nullptr}}) {
    Client().connectResult = connect;
    EXPECT_EQ(tDataClientSetup(nullptr), client);
  }
  EXPECT_EQ(Client().log, (CallLog{"Connect(srv,1)", "Connect(srv,1)", "Connect(srv,1)", "SelectSite(a,0)"}));
}

// "host|port|database|user|site handed back" of one configure call.
std::string Configured(void (*configure)(const char*, char*), const char* server) {
  char site[34] = "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx";
  configure(server, site);
  EXPECT_EQ(site[32], 'x');  // the site buffer holds 32 bytes
  const auto& s = configure == &IndexSetup ? IndexDb().setups.back() : SetupDb().setups.back();
  EXPECT_EQ(s.password, "19981107quorblex3");
  return s.host + "|" + s.port + "|" + s.database + "|" + s.user + "|" + site;
}

TEST_F(AccessTest, ServerNames) {
  for (const char* variable : {"INDEXSERVERNAME", "SETUPSERVERNAME"}) unsetenv(variable);
  const auto I = IndexSetup, S = SetupSetup;
  const std::tuple<void (*)(const char*, char*), std::string, std::string> cases[] = {
      {I, "dbhost/UBO::tsdb", "dbhost|5432|tsdb|ubo|ubo"}, {I, "dbhost::tsdb/ubo", "dbhost|5432|tsdb/ubo|ubo|ubo"},
      {I, "dbhost:5433", "dbhost:5433|5432|index|ubo|ubo"}, {I, "dbhost/", "dbhost|5432|index||"},
      {S, "dbhost", "dbhost|5432|setup|ubo|ubo"}, {S, "dbhost::sdb", "dbhost|5432|sdb|ubo|ubo"},
      {S, "dbhost:5433", "dbhost|5433|setup|ubo|ubo"}, {S, "dbhost/Site:5433:sdb", "dbhost|5433|sdb|site|site"},
      {I, " h1 ,\th2/ubo::index", "h1,h2|5432|index|ubo|ubo"}, {S, "h1, h2/tsu:5432,5433", "h1,h2|5432,5433|setup|tsu|tsu"}};
  for (const auto& [configure, server, parts] : cases) EXPECT_EQ(Configured(configure, server.c_str()), parts);
}

}  // namespace
}  // namespace tovak::testing
// clang-format on
