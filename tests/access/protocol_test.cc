#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "access/state.h"
#include "doubles/companions.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using ProtocolTest = CompanionTest;

TEST_F(ProtocolTest, FirstServerNameDecidesOnce) {
  EXPECT_EQ(isTovakProtocolV2("dbhost/ubo::index"), 0);
  EXPECT_EQ(isTovakProtocolV2("grpcs://srv:50051/ubo"), 0);
  EXPECT_EQ(SetEnvCalls(), 1);  // the configuration is consulted only to decide
}

TEST_F(ProtocolTest, NullServerFixesV1) {
  EXPECT_EQ(isTovakProtocolV2(nullptr), 0);
  EXPECT_EQ(isTovakProtocolV2("grpc://srv"), 0);
}

TEST_F(ProtocolTest, SchemesAreCaseSensitive) {
  EXPECT_EQ(isTovakProtocolV2("HTTPS://srv"), 0);
}

TEST_F(ProtocolTest, SchemeDecidesV2AndNamesTheServer) {
  const char* address = "grpc://srv:7/ubo";
  EXPECT_EQ(isTovakProtocolV2(address), 1);
  EXPECT_EQ(ServerV2Name, address);  // a reference to the caller's text
  EXPECT_EQ(isTovakProtocolV2("dbhost"), 1);
}

TEST_F(ProtocolTest, ConfigurationWinsOverServerName) {
  SetConfig("KOVD_GRPC", "grpc://configured:9/cfg");
  EXPECT_EQ(isTovakProtocolV2("dbhost"), 1);
  Client().connectResult = 0;
  EXPECT_EQ(tDataClientSetup("grpc://ignored:1/x"), &Client());
  EXPECT_EQ(Client().log, (std::vector<std::string>{"Connect(configured,9)", "SelectSite(cfg,0)"}));
}

TEST_F(ProtocolTest, ExplicitChoiceOverridesAndKeepsServer) {
  EXPECT_EQ(isTovakProtocolV2("grpc://first"), 1);
  setTovakProtocolV1();
  EXPECT_EQ(isTovakProtocolV2("grpc://x"), 0);
  EXPECT_STREQ(ServerV2Name, "grpc://first");
  setTovakProtocolV2(nullptr);
  EXPECT_EQ(isTovakProtocolV2(nullptr), 1);
  EXPECT_STREQ(ServerV2Name, "grpc://first");
  setTovakProtocolV2("grpc://second");
  EXPECT_STREQ(ServerV2Name, "grpc://second");
}

TEST_F(ProtocolTest, CheckSchemeReturnsTheRest) {
  int tls = 7;
  char plain[] = "grpc://x";
  EXPECT_STREQ(CheckV2scheme(plain, &tls), "x");
  EXPECT_EQ(tls, 0);
  tls = 7;
  char other[] = "ftp://x";
  EXPECT_EQ(CheckV2scheme(other, &tls), other);
  EXPECT_EQ(tls, 7);
  EXPECT_EQ(CheckV2scheme(nullptr, &tls), nullptr);
  EXPECT_STREQ(cCheckV2scheme("https://x", nullptr), "x");
  EXPECT_STREQ(cCheckV2scheme("grpcs://x", &tls), "x");
  EXPECT_EQ(tls, 1);
  EXPECT_STREQ(cCheckV2scheme("http://x", &tls), "x");
  EXPECT_EQ(tls, 0);
}

struct Address {
  const char* text;
  std::string connect;  // expected Connect call
  std::string site;     // expected SelectSite site
  int tls;              // expected flag, the client starting at 5
};

void PrintTo(const Address& address, std::ostream* out) { *out << '"' << address.text << '"'; }

class ClientAddressTest : public CompanionTest,
                          public ::testing::WithParamInterface<Address> {};

TEST_P(ClientAddressTest, ParsesHostPortSiteAndTls) {
  const Address& a = GetParam();
  setTovakProtocolV2(nullptr);
  Client().tlsEnabled = 5;
  ASSERT_EQ(tDataClientSetup(a.text), &Client());
  EXPECT_EQ(Client().log,
            (std::vector<std::string>{a.connect, "SelectSite(" + a.site + ",0)"}));
  EXPECT_EQ(Client().tlsEnabled, a.tls);
  EXPECT_EQ(Client().atConnect.tls, a.tls);  // set before connecting
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, ClientAddressTest,
    ::testing::Values(Address{"grpcs://srv:50051/Site", "Connect(srv,50051)", "Site", 1},
                      Address{"grpc://srv", "Connect(srv,0)", "ubo", 0},
                      Address{"srv:50051", "Connect(srv,50051)", "ubo", 5},
                      Address{"grpcs://srv:50051/", "Connect(srv,50051)", "ubo", 1},
                      Address{"grpcs://srv/ubo:50051", "Connect(srv,50051)", "ubo", 1},
                      Address{"https://h: 12x/s", "Connect(h,12)", "s", 1},
                      Address{"http://h:abc", "Connect(h,0)", "ubo", 0},
                      Address{"", "Connect(,0)", "ubo", 5}),
    [](const ::testing::TestParamInfo<Address>& info) { return std::to_string(info.index); });

TEST_F(ProtocolTest, NoAddressAtAllConnectsWithNulls) {
  setTovakProtocolV2(nullptr);
  Client().connectResult = 1;
  EXPECT_EQ(tDataClientSetup(nullptr), &Client());
  EXPECT_EQ(Client().log, (std::vector<std::string>{"Connect(<null>,0)"}));
}

TEST_F(ProtocolTest, ConnectOutcomes) {
  setTovakProtocolV2("grpc://srv:1/a");
  Client().connectResults = {1, 2, 0, 0};
  EXPECT_EQ(tDataClientSetup(nullptr), &Client());  // already connected: no SelectSite
  EXPECT_EQ(tDataClientSetup(nullptr), nullptr);    // failure
  EXPECT_EQ(tDataClientSetup(nullptr), &Client());  // fresh connection selects the site
  Client().selectSiteResult = 3;
  EXPECT_EQ(tDataClientSetup(nullptr), nullptr);    // site refused
  EXPECT_EQ(Client().log,
            (std::vector<std::string>{"Connect(srv,1)", "Connect(srv,1)", "Connect(srv,1)",
                                      "SelectSite(a,0)", "Connect(srv,1)", "SelectSite(a,0)"}));
}

TEST_F(ProtocolTest, CredentialsHandedOverBeforeEveryConnect) {
  setTovakProtocolV2("grpc://srv:1");
  SetConfig("TOVAK_USER", "alice");
  SetConfig("TOVAK_USER_KEY_FILE", "/keys/alice.pem");
  ASSERT_NE(tDataClientSetup(nullptr), nullptr);
  EXPECT_EQ(Client().atConnect.user, "alice");
  EXPECT_EQ(Client().atConnect.keyFile, "/keys/alice.pem");
  EXPECT_EQ(Client().atConnect.passPhrase, std::nullopt);

  UnsetConfig("TOVAK_USER");
  SetConfig("TOVAK_USER_KEY_PASSPHRASE", "secret");
  Client().connectResult = 1;
  ASSERT_NE(tDataClientSetup(nullptr), nullptr);
  EXPECT_EQ(Client().atConnect.user, std::nullopt);  // a missing key clears it
  EXPECT_EQ(Client().atConnect.passPhrase, "secret");
}

}  // namespace
}  // namespace tovak::testing
