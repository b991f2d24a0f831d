// The server's configuration file.
#include <gtest/gtest.h>

#include "server/request_log.h"
#include "server/server_config.h"

namespace tovak::server {
namespace {

constexpr char kFull[] = R"(# a full configuration
listen = 0.0.0.0:50443
workers = 8
tls_certificate = /etc/tovak/server.crt
tls_key = /etc/tovak/server.key
anonymous = allow
user.alice = /etc/tovak/users/alice.pub
site.UBO.index = dbhost/ubo::index
site.ubo.setup = dbhost/ubo
site.tsu.index = /tsu
)";

TEST(ServerConfigTest, ReadsEveryKey) {
  ServerConfig config;
  std::string error;
  ASSERT_TRUE(ParseServerConfig(kFull, &config, &error)) << error;
  EXPECT_EQ(config.listenHost, "0.0.0.0");
  EXPECT_EQ(config.listenPort, 50443);
  EXPECT_EQ(config.workers, 8);
  EXPECT_TRUE(config.tls());
  EXPECT_EQ(config.tlsKeyFile, "/etc/tovak/server.key");
  EXPECT_TRUE(config.allowAnonymous);
  EXPECT_EQ(config.userKeyFiles.at("alice"), "/etc/tovak/users/alice.pub");
  // Site names are matched without regard to case.
  ASSERT_EQ(config.sites.size(), 2u);
  EXPECT_EQ(config.sites.at("ubo").indexServer, "dbhost/ubo::index");
  EXPECT_EQ(config.sites.at("ubo").setupServer, "dbhost/ubo");
  EXPECT_EQ(config.sites.at("tsu").indexServer, "/tsu");
}

TEST(ServerConfigTest, DefaultsAndBracketedAddresses) {
  ServerConfig config;
  std::string error;
  ASSERT_TRUE(ParseServerConfig("listen = [::1]:0\nanonymous = allow\nsite.ubo.index = /ubo\n",
                                &config, &error))
      << error;
  EXPECT_EQ(config.listenHost, "::1");
  EXPECT_EQ(config.listenPort, 0);
  EXPECT_EQ(config.workers, 1);
  EXPECT_FALSE(config.tls());
}

TEST(ServerConfigTest, RefusesUnusableConfigurationsWithAReason) {
  const std::string site = "anonymous = allow\nsite.ubo.index = /ubo\n";
  const struct {
    std::string text;
    std::string reason;
  } cases[] = {
      {site + "listen = 127.0.0.1\n", "listen"},
      {site + "listen = 127.0.0.1:70000\n", "listen"},
      {site + "listen = 127.0.0.1:50x\n", "listen"},
      {site + "workers = 0\n", "workers"},
      {site + "workers = 65\n", "workers"},
      {site + "anonymous = maybe\n", "anonymous"},
      {site + "tls_certificate = /c.pem\n", "tls_key"},
      {site + "colour = blue\n", "colour"},
      {site + "site.ubo.database = x\n", "site.ubo.database"},
      {site + "just words\n", "line 3"},
      {"anonymous = allow\n", "no site"},
      {"anonymous = allow\nsite.ubo.setup = /ubo\n", "site.ubo.index"},
      {"site.ubo.index = /ubo\n", "nobody"},
  };
  for (const auto& c : cases) {
    ServerConfig config;
    std::string error;
    EXPECT_FALSE(ParseServerConfig(c.text, &config, &error)) << c.text;
    EXPECT_NE(error.find(c.reason), std::string::npos) << c.text << " -> " << error;
  }
}

TEST(RequestLogTest, CallerTextsCannotBreakTheLineIntoOtherFields) {
  EXPECT_EQ(Printable("alice"), "alice");
  EXPECT_EQ(Printable(""), "-");
  EXPECT_EQ(Printable("a b=c\n\xff"), "a?b?c??");
}

}  // namespace
}  // namespace tovak::server
