// The server's policy: proofs of identity and the configuration file.
#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "remote/call_auth.h"
#include "remote/helpers.h"
#include "server/authorizer.h"
#include "server/server_config.h"

namespace tovak::server {
namespace {

using namespace remote;

TEST(CallAuthTest, OnlyFreshProofsOfKnownUsersWithTheirKeysAreAccepted) {
  const testing::TempDir dir;
  const std::string alice = testing::MakeUserKey(dir, "alice", "ED25519", "open sesame");
  const std::string bob = testing::MakeUserKey(dir, "bob", "RSA", "");
  const PkeyPtr aliceKey = LoadPrivateKey(alice + ".key", "open sesame", nullptr);
  const PkeyPtr bobKey = LoadPrivateKey(bob + ".key", nullptr, nullptr);
  ASSERT_TRUE(aliceKey && bobKey);
  EXPECT_FALSE(LoadPrivateKey(alice + ".key", nullptr, nullptr));  // never asks a terminal
  EXPECT_NE(AuthPayload("ab", "c", "s", 1, "n"), AuthPayload("a", "bc", "s", 1, "n"));
  EXPECT_NE(AuthPayload("u", "m", "s1", 1, "n"), AuthPayload("u", "m", "s", 11, "n"));
  ServerConfig config;
  config.userKeyFiles = {{"alice", alice + ".pub"}, {"bob", bob + ".pub"}};
  Authorizer strict, open;
  std::string error;
  ASSERT_TRUE(strict.Load(config, &error)) << error;
  config.allowAnonymous = true;
  ASSERT_TRUE(open.Load(config, &error)) << error;

  const int64_t now = std::time(nullptr), w = kAuthWindowSeconds;
  EVP_PKEY *a = aliceKey.get(), *b = bobKey.get();
  const Verdict ok = Verdict::kAllowed, no = Verdict::kUnauthenticated;
  const struct {
    const char* user;
    EVP_PKEY* key;
    int64_t signedAt, presentedAt;  // the signature covers "m" about "ubo"
    const char *method, *site;
    Verdict verdict;
  } cases[] = {
      {"alice", a, now, now, "m", "ubo", ok},         {"bob", b, now, now, "m", "ubo", ok},
      {"alice", a, now - w, now - w, "m", "ubo", ok}, {"alice", a, now, now + 1, "m", "ubo", no},
      {"alice", a, now - w - 1, now - w - 1, "m", "ubo", no},
      {"alice", a, now + w + 1, now + w + 1, "m", "ubo", no},
      {"alice", a, now, now, "n", "ubo", no},         {"alice", a, now, now, "m", "tsu", no},
      {"alice", b, now, now, "m", "ubo", no},
      {"carol", b, now, now, "m", "ubo", Verdict::kPermissionDenied},
  };
  for (const auto& c : cases) {
    CallProof proof{c.user, std::to_string(c.presentedAt), RandomNonce(), ""};
    proof.signature = Sign(c.key, AuthPayload(c.user, "m", "ubo", c.signedAt, proof.nonce));
    EXPECT_EQ(strict.Check(proof, c.method, c.site, now), c.verdict) << c.user << c.presentedAt;
    EXPECT_EQ(c.verdict == ok ? strict.Check(proof, c.method, c.site, now) : no, no);  // replayed
  }
  EXPECT_EQ(strict.Check(CallProof{}, "m", "ubo", now), no);
  EXPECT_EQ(open.Check(CallProof{}, "m", "ubo", now), ok);
  EXPECT_EQ(open.Check(CallProof{"alice", "", "", ""}, "m", "ubo", now), no);  // a bare name
}

TEST(ServerConfigTest, ReadsEveryKeyAndRefusesUnusableConfigurationsWithAReason) {
  ServerConfig c;
  std::string error;
  ASSERT_TRUE(ParseServerConfig("listen = [::1]:5\nworkers = 8\nanonymous = allow\nsite.UBO.index"
                                " = i\nidle_timeout = 86400\nhandshake_timeout = 1", &c, &error));
  EXPECT_EQ(c.listenHost + " " + std::to_string(c.listenPort) + " " + std::to_string(c.workers) +
                " " + c.sites.at("ubo").indexServer + (c.tls() ? " TLS" : "") + " " +
                std::to_string(c.idleTimeoutSeconds) + " " +
                std::to_string(c.handshakeTimeoutSeconds),
            "::1 5 8 i 86400 1");  // site names without regard to case

  const std::string site = "anonymous = allow\nsite.ubo.index = /ubo\n";
  const std::string cases[][2] = {
      {site + "listen = 127.0.0.1\n", "listen"}, {site + "listen = 127.0.0.1:70000\n", "listen"},
      {site + "listen = 127.0.0.1:5x\n", "listen"}, {site + "workers = 0\n", "workers"},
      {site + "workers = 65\n", "workers"}, {site + "anonymous = maybe\n", "anonymous"},
      {site + "tls_certificate = /c\n", "tls_key"}, {site + "colour = blue\n", "colour"},
      {site + "site.ubo.database = x\n", "site.ubo.database"}, {site + "words\n", "line 3"},
      {"anonymous = allow\n", "no site"}, {"site.ubo.index = /ubo\n", "nobody"},
      {"anonymous = allow\nsite.ubo.setup = /ubo\n", "site.ubo.index"},
      {site + "idle_timeout = 0\n", "idle_timeout"},
      {site + "handshake_timeout = 86401\n", "handshake_timeout"},
  };
  for (const auto& [text, reason] : cases) {
    EXPECT_FALSE(ParseServerConfig(text, &c, &error)) << text;
    EXPECT_NE(error.find(reason), std::string::npos) << text << " -> " << error;
  }
}

}  // namespace
}  // namespace tovak::server
