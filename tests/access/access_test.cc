#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "access/session.h"
#include "access/state.h"
#include "doubles/companions.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Log = std::vector<std::string>;
using AccessTest = CompanionTest;

TEST_F(AccessTest, FirstServerNameDecidesForGood) {
  // The first call's server name, the protocol it fixes, a later name that changes nothing.
  const std::tuple<const char*, int, const char*> cases[] = {
      {"dbhost/ubo::index", 0, "grpcs://srv:50051/ubo"},
      {nullptr, 0, "grpc://srv"},
      {"HTTPS://srv", 0, "https://srv"},
      {"grpc://srv:7/ubo", 1, "dbhost"}};
  for (const auto& [first, v2, later] : cases) {
    ResetCompanions();
    EXPECT_EQ(isTovakProtocolV2(first), v2) << first;
    EXPECT_EQ(isTovakProtocolV2(later), v2) << first;
    EXPECT_EQ(ServerV2Name, v2 ? first : nullptr);  // the caller's own text
    EXPECT_EQ(SetEnvCalls(), 1);
  }
}

TEST_F(AccessTest, ConfiguredServerWinsOverEveryName) {
  SetConfig("KOVD_GRPC", "grpc://configured:9/cfg");
  EXPECT_EQ(isTovakProtocolV2("dbhost"), 1);
  EXPECT_EQ(tDataClientSetup("grpc://ignored:1/x"), &Client());
  EXPECT_EQ(Client().log, (Log{"Connect(configured,9)", "SelectSite(cfg,0)"}));
}

TEST_F(AccessTest, ExplicitChoiceKeepsTheServer) {
  EXPECT_EQ(isTovakProtocolV2("grpc://first"), 1);
  setTovakProtocolV1();
  EXPECT_EQ(isTovakProtocolV2("grpc://x"), 0);
  setTovakProtocolV2(nullptr);
  EXPECT_EQ(isTovakProtocolV2(nullptr), 1);
  EXPECT_STREQ(ServerV2Name, "grpc://first");
  setTovakProtocolV2("grpc://second");
  EXPECT_STREQ(ServerV2Name, "grpc://second");
}

TEST_F(AccessTest, ClientSetUpFromTheAddress) {
  // The address, the calls it makes on the client, the TLS flag at Connect (5 before).
  const std::tuple<const char*, Log, int> cases[] = {
      {"grpcs://srv:50051/Site", {"Connect(srv,50051)", "SelectSite(Site,0)"}, 1},
      {"grpc://srv", {"Connect(srv,0)", "SelectSite(ubo,0)"}, 0},
      {"https://srv:50051/", {"Connect(srv,50051)", "SelectSite(ubo,0)"}, 1},
      {"http://srv/ubo:50051", {"Connect(srv,50051)", "SelectSite(ubo,0)"}, 0},
      {"grpc://[::1]:50051/ubo", {"Connect(::1,50051)", "SelectSite(ubo,0)"}, 0},
      {"[::1]/s:65535", {"Connect(::1,65535)", "SelectSite(s,0)"}, 5},
      // Ports that are not all digits in 1..65535 are 0, which Connect refuses.
      {"h: 12x/s", {"Connect(h,0)", "SelectSite(s,0)"}, 5},
      {"h:4294967297", {"Connect(h,0)", "SelectSite(ubo,0)"}, 5},
      {"[::1]x:5", {"Connect(,0)", "SelectSite(ubo,0)"}, 5},
      {nullptr, {"Connect(<null>,0)", "SelectSite(<null>,0)"}, 5},
  };
  for (const auto& [address, calls, tls] : cases) {
    ResetCompanions();
    Client().tlsEnabled = 5;
    EXPECT_EQ(tDataClientSetup(address), &Client()) << address;
    EXPECT_EQ(Client().log, calls) << address;
    EXPECT_EQ(Client().atConnect.tls, tls) << address;
  }
  EXPECT_EQ(CheckV2scheme(nullptr, nullptr), nullptr);
  EXPECT_STREQ(cCheckV2scheme("https://x", nullptr), "x");
}

TEST_F(AccessTest, ConnectOutcomes) {
  setTovakProtocolV2("grpc://srv:1/a");
  Client().connectResults = {1, 2, 0};
  Client().selectSiteResult = 3;
  EXPECT_EQ(tDataClientSetup(nullptr), &Client());  // already connected: no site selected
  EXPECT_EQ(tDataClientSetup(nullptr), nullptr);
  EXPECT_EQ(tDataClientSetup(nullptr), nullptr);  // site refused
  EXPECT_EQ(Client().log,
            (Log{"Connect(srv,1)", "Connect(srv,1)", "Connect(srv,1)", "SelectSite(a,0)"}));
}

TEST_F(AccessTest, CredentialsHandedOverBeforeEveryConnect) {
  SetConfig("TOVAK_USER", "alice");
  SetConfig("TOVAK_USER_KEY_FILE", "/keys/alice.pem");
  ASSERT_NE(tDataClientSetup("grpc://srv:1"), nullptr);
  EXPECT_EQ(Client().atConnect.user, "alice");
  UnsetConfig("TOVAK_USER");
  SetConfig("TOVAK_USER_KEY_PASSPHRASE", "secret");
  ASSERT_NE(tDataClientSetup("grpc://srv:1"), nullptr);
  EXPECT_EQ(Client().atConnect.user, std::nullopt);  // a missing key clears it
  EXPECT_EQ(Client().atConnect.keyFile, "/keys/alice.pem");
  EXPECT_EQ(Client().atConnect.passPhrase, "secret");
}

// "host|port|database|user|site handed back" of one configure call.
std::string Configured(void (*configure)(const char*, char*), const char* server) {
  char site[33];
  std::memset(site, 'x', sizeof site);
  configure(server, site);
  EXPECT_EQ(site[32], 'x');  // the site buffer holds 32 bytes
  const auto& s = configure == &IndexSetup ? IndexDb().setups.back() : SetupDb().setups.back();
  EXPECT_EQ(s.password, "19981107quorblex3");
  return s.host + "|" + s.port + "|" + s.database + "|" + s.user + "|" + site;
}

TEST_F(AccessTest, ServerNames) {
  unsetenv("INDEXSERVERNAME");
  unsetenv("SETUPSERVERNAME");
  const std::string s40(40, 's');
  const std::tuple<void (*)(const char*, char*), std::string, std::string> cases[] = {
      {IndexSetup, "dbhost/UBO::tsdb", "dbhost|5432|tsdb|ubo|ubo"},
      {IndexSetup, "dbhost::tsdb/ubo", "dbhost|5432|tsdb/ubo|ubo|ubo"},
      {IndexSetup, "dbhost:5433", "dbhost:5433|5432|index|ubo|ubo"},
      {IndexSetup, "dbhost/", "dbhost|5432|index||"},
      {IndexSetup, "dbhost::", "dbhost|5432||ubo|ubo"},
      {IndexSetup, "", "|5432|index|ubo|ubo"},
      {IndexSetup, "h/" + std::string(40, 'S'), "h|5432|index|" + s40 + "|" + s40.substr(9)},
      {SetupSetup, "dbhost", "dbhost|5432|setup|ubo|ubo"},
      {SetupSetup, "dbhost::sdb", "dbhost|5432|sdb|ubo|ubo"},
      {SetupSetup, "dbhost:5433", "dbhost|5433|setup|ubo|ubo"},
      {SetupSetup, "dbhost/Site:5433:sdb", "dbhost|5433|sdb|site|site"},
      {SetupSetup, "dbhost:", "dbhost||setup|ubo|ubo"},
      {SetupSetup, "dbhost:1:a:b", "dbhost|1|a:b|ubo|ubo"},
      {IndexSetup, " h1 ,\th2/ubo::index", "h1,h2|5432|index|ubo|ubo"},
      {SetupSetup, "h1, h2/tsu:5432,5433", "h1,h2|5432,5433|setup|tsu|tsu"},
  };
  for (const auto& [configure, server, parts] : cases) {
    EXPECT_EQ(Configured(configure, server.c_str()), parts);
  }
  setenv("INDEXSERVERNAME", "envhost/Env::envdb", 1);
  setenv("SETUPSERVERNAME", "senv::x", 1);
  EXPECT_EQ(Configured(IndexSetup, nullptr), "envhost|5432|envdb|env|env");
  EXPECT_EQ(Configured(SetupSetup, ""), "senv|5432|x|ubo|ubo");
  EXPECT_EQ(Configured(IndexSetup, "given"), "given|5432|index|ubo|ubo");
}

TEST_F(AccessTest, SessionsOpenWhenClosedAndCloseAsTold) {
  IndexSetup("h", nullptr);
  IndexDb().connected = true;
  { IndexSession session("h"); }
  { EXPECT_EQ(SetupSession("h", CloseMode::kNever).status(), 0); }
  IndexDb().openResult = SetupDb().openResult = 1;
  SetupDb().connected = false;
  { EXPECT_EQ(IndexSession("h").status(), TOVAK_E_INDEX_OPEN); }
  { EXPECT_EQ(SetupSession("h", CloseMode::kNever).status(), TOVAK_E_SETUP_OPEN); }
  EXPECT_EQ(IndexDb().log, (Log{"Close", "open", "Close"}));
  EXPECT_EQ(SetupDb().log, (Log{"open", "open", "Close"}));
}

TEST_F(AccessTest, CloseSwitchUnderV1) {
  CIndexDBComm::swCloseEachTime = false;
  EXPECT_EQ(IndexNoClosing(0), 0);  // no connection object yet
  EXPECT_TRUE(CIndexDBComm::swCloseEachTime);
  IndexSetup("h", nullptr);
  EXPECT_EQ(IndexNoClosing(2), 0);
  EXPECT_TRUE(CIndexDBComm::swCloseEachTime);
  EXPECT_EQ(IndexNoClosing(1), 0);
  EXPECT_FALSE(CIndexDBComm::swCloseEachTime);
  EXPECT_EQ(IndexNoClosing(0), 0);
  EXPECT_TRUE(CIndexDBComm::swCloseEachTime);
  EXPECT_EQ(IndexDb().log, (Log{"ForceClose(1)"}));
}

TEST_F(AccessTest, CloseSwitchUnderV2ReleasesOnModeZero) {
  SetConfig("KOVD_GRPC", "grpc://srv:1");
  CIndexDBComm::swCloseEachTime = false;
  EXPECT_EQ(IndexNoClosing(1), 0);
  EXPECT_EQ(ReleaseCalls(), 0);
  EXPECT_EQ(IndexNoClosing(0), 0);
  EXPECT_EQ(ReleaseCalls(), 1);
  EXPECT_FALSE(CIndexDBComm::swCloseEachTime);  // the database switch is left alone
}

TEST_F(AccessTest, HostIdByKind) {
  IndexSetup("h", nullptr);
  IndexDb().hostId = [](const std::string& name) { return name == "gone" ? -4 : 11; };
  IndexDb().camacId = [](const std::string&) { return 22; };
  const std::tuple<const char*, const char*, int> cases[] = {
      {"FPGA-DTS", "a", 11},  {"VME-DTS", "a", 11},  {"CAMAC-DTS", "a", 22}, {"VME", "a", 11},
      {"FPGA", "a", 11},      {"CAMAC", "a", 22},    {"VME-DTS ", "a", -1},  {"fpga", "a", -1},
      {"FPGA-DTS2", "a", -1}, {"FPGA", nullptr, -1}, {"VME", "gone", -4}};
  CIndexDBComm* db = CIndexDBComm::getInstance();
  for (const auto& [kind, name, id] : cases) {
    EXPECT_EQ(get_dmod_host_id(db, kind, name), id) << kind;
  }
}

TEST(TextTest, TrimSlotCopyAndDmodssNames) {
  for (const auto& [in, out] :
       {std::pair{"  a b  ", "a b"}, {"    ", ""}, {"", ""}, {"\tx \n", "\tx \n"}}) {
    std::string text = in;
    EXPECT_STREQ(trimstrcpy(text.data(), text.data()), out);  // in place
  }
  char slots[48] = "";
  std::memcpy(slots + 16, "second-slot-full", 16);
  std::strcpy(slots + 32, "third");
  char out[17];
  std::memset(out, 'x', sizeof out);
  EXPECT_EQ(bufferStringCopy(out, slots, 16, 3), out);
  EXPECT_EQ(std::string(out, 17), "third" + std::string(11, '\0') + "x");
  bufferStringCopy(out, slots, 16, 2);
  EXPECT_EQ(std::string(out, 17), "second-slot-fullx");  // a full slot stays unterminated
  bufferStringCopy(out, slots, -1, 1);
  EXPECT_EQ(out[0], 's');
  for (const char* name : {"dmodss12", "DMODSS"}) EXPECT_TRUE(checkFPGA(name)) << name;
  for (const char* name : {"DMODS", "DMOD0", "XMODSS", ""}) EXPECT_FALSE(checkFPGA(name)) << name;
}

}  // namespace
}  // namespace tovak::testing
