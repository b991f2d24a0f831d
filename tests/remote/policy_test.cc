// The server's policy: proofs of identity, the nonces the workers share, and the configuration
// file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <ctime>
#include <string>

#include "remote/call_auth.h"
#include "remote/harness.h"
#include "server/authorizer.h"
#include "server/server_config.h"

namespace tovak::server {
namespace {

using namespace remote;

TEST(CallAuthTest, OnlyFreshProofsOfKnownUsersMadeForThisServerAndRequestAreAccepted) {
  const testing::TempDir dir;
  const std::string alice = testing::MakeUserKey(dir, "alice", "ED25519", "open sesame");
  const std::string bob = testing::MakeUserKey(dir, "bob", "RSA", "");
  const PkeyPtr aliceKey = LoadPrivateKey(alice + ".key", "open sesame", nullptr);
  const PkeyPtr bobKey = LoadPrivateKey(bob + ".key", nullptr, nullptr);
  ASSERT_TRUE(aliceKey && bobKey);
  EXPECT_FALSE(LoadPrivateKey(alice + ".key", nullptr, nullptr));  // never asks a terminal
  chmod((bob + ".key").c_str(), 0644);  // a key others may read proves nothing
  EXPECT_FALSE(LoadPrivateKey(bob + ".key", nullptr, nullptr));
  EXPECT_NE(AuthPayload({"ab", "c", "s", "h", 1, "n", "d"}),
            AuthPayload({"a", "bc", "s", "h", 1, "n", "d"}));
  ServerConfig config;
  config.userKeyFiles = {{"alice", alice + ".pub"}, {"bob", bob + ".pub"}};
  std::string error;
  const auto keys = LoadKeySet(config, &error);
  ASSERT_TRUE(keys) << error;
  NonceStore nonces;  // shared by two workers' authorizers
  ASSERT_TRUE(nonces.Open("", &error)) << error;
  Authorizer strict(config, *keys, nonces), other(config, *keys, nonces);
  config.allowAnonymous = true;
  Authorizer open(config, *keys, nonces);

  const int64_t now = std::time(nullptr), w = kAuthWindowSeconds;
  EVP_PKEY *a = aliceKey.get(), *b = bobKey.get();
  const struct {
    const char* user;
    EVP_PKEY* key;
    int64_t signedAt, presentedAt;  // signed for "m" about "ubo" of request "r" to "localhost"
    const char *audience, *method, *site, *request;
    bool allowed;
  } cases[] = {
      {"alice", a, now, now, "localhost", "m", "ubo", "r", true},
      {"bob", b, now, now, "127.0.0.1", "m", "ubo", "r", true},
      {"alice", a, now - w, now - w, "::1", "m", "ubo", "r", true},
      {"alice", a, now, now + 1, "localhost", "m", "ubo", "r", false},
      {"alice", a, now - w - 1, now - w - 1, "localhost", "m", "ubo", "r", false},
      {"alice", a, now + w + 1, now + w + 1, "localhost", "m", "ubo", "r", false},
      {"alice", a, now, now, "localhost", "n", "ubo", "r", false},
      {"alice", a, now, now, "localhost", "m", "tsu", "r", false},
      {"alice", a, now, now, "localhost", "m", "ubo", "changed", false},
      {"alice", a, now, now, "elsewhere", "m", "ubo", "r", false},  // signed for another server
      {"alice", b, now, now, "localhost", "m", "ubo", "r", false},
      {"carol", b, now, now, "localhost", "m", "ubo", "r", false},
  };
  for (const auto& c : cases) {
    CallProof proof{c.user, c.audience, std::to_string(c.presentedAt), RandomNonce(), "", ""};
    proof.signature =
        Sign(c.key, AuthPayload({c.user, "m", "ubo", c.audience, c.signedAt, proof.nonce, "r"}));
    const CallFacts call{c.method, c.site, c.request};
    EXPECT_EQ(strict.Check(proof, call, now).allowed, c.allowed) << c.user << c.presentedAt;
    EXPECT_FALSE(other.Check(proof, call, now).allowed);  // replayed to another worker
  }
  EXPECT_FALSE(strict.Check(CallProof{}, {}, now).allowed);
  EXPECT_TRUE(open.Check(CallProof{}, {}, now).allowed);
  EXPECT_FALSE(open.Check(CallProof{"alice", "", "", "", "", ""}, {}, now).allowed);  // a bare name

  // The clock steps back: the server keeps its highest reading, so proofs of the old time stay out.
  CallProof late{"alice", "localhost", std::to_string(now - w - 10), RandomNonce(), "", ""};
  late.signature =
      Sign(a, AuthPayload({"alice", "m", "ubo", "localhost", now - w - 10, late.nonce, "r"}));
  EXPECT_FALSE(strict.Check(late, {"m", "ubo", "r"}, now - w).allowed);
}

TEST(NonceStoreTest, CapsEachUserAndKeepsItsFileAcrossRestartsForOneServerOnly) {
  const testing::TempDir dir;
  const std::string path = dir.File("nonces");
  const int64_t t = std::time(nullptr);
  std::string error;
  {
    NonceStore store, rival;
    ASSERT_TRUE(store.Open(path, &error)) << error;
    EXPECT_FALSE(rival.Open(path, &error));
    EXPECT_NE(error.find("another server"), std::string::npos) << error;
    for (uint32_t i = 0; i < kMaxNoncesPerUser; ++i) {
      std::string nonce(kNonceBytes, '\0');
      std::memcpy(nonce.data(), &i, sizeof i);
      ASSERT_EQ(store.Record("bob", nonce, t, t), NonceStore::Outcome::kFresh) << i;
    }
    EXPECT_EQ(store.Record("bob", RandomNonce(), t, t), NonceStore::Outcome::kUserFull);
    EXPECT_EQ(store.Record("carol", std::string(kNonceBytes, 'c'), t, t),
              NonceStore::Outcome::kFresh);
  }
  NonceStore restarted;
  ASSERT_TRUE(restarted.Open(path, &error)) << error;
  EXPECT_EQ(restarted.Record("carol", std::string(kNonceBytes, 'c'), t, t),
            NonceStore::Outcome::kReplayed);
  chmod(path.c_str(), 0640);
  NonceStore exposed;
  EXPECT_FALSE(exposed.Open(path, &error));
  EXPECT_NE(error.find("mode 0640"), std::string::npos) << error;
}

TEST(ServerConfigTest, ReadsEveryKeyAndRefusesUnusableConfigurationsWithAReason) {
  ServerConfig c;
  std::string error;
  ASSERT_TRUE(
      ParseServerConfig("listen = [::1]:5\nworkers = 8\nanonymous = allow\nsite.UBO.index"
                        " = i\nidle_timeout = 86400\nhandshake_timeout = 1",
                        &c, &error));
  EXPECT_EQ(c.listenHost + " " + std::to_string(c.listenPort) + " " + std::to_string(c.workers) +
                " " + c.sites.at("ubo").indexServer + (c.tls() ? " TLS" : "") + " " +
                std::to_string(c.idleTimeoutSeconds) + " " +
                std::to_string(c.handshakeTimeoutSeconds),
            "::1 5 8 i 86400 1");  // site names without regard to case
  EXPECT_EQ(ServerNames(c), (std::vector<std::string>{"::1", "localhost", "127.0.0.1"}));
  ASSERT_TRUE(
      ParseServerConfig("listen = 0.0.0.0:5\nname = Tim.example, [::2] \nuser.a = /a\n"
                        "site.ubo.index = i\n",
                        &c, &error))
      << error;
  EXPECT_EQ(ServerNames(c), (std::vector<std::string>{"tim.example", "::2"}));

  const std::string site = "anonymous = allow\nsite.ubo.index = /ubo\n";
  // Ranges, TLS pairs and sites are the fuzz target's properties; these are the messages.
  const std::string cases[][2] = {
      {site + "listen = 127.0.0.1\n", "listen"},
      {site + "listen = 127.0.0.1:5x\n", "listen"},
      {site + "anonymous = maybe\n", "anonymous"},
      {site + "colour = blue\n", "colour"},
      {site + "site.ubo.database = x\n", "site.ubo.database"},
      {site + "words\n", "line 3"},
      {"site.ubo.index = /ubo\n", "nobody"},
      {site + "idle_timeout = 0\n", "idle_timeout"},
      {site + "workers = 2\nworkers = 3\n", "line 4: 'workers' given twice"},
      {site + "name = ,\n", "name"},
      {site + "user.a = /a\nlisten = [::]:1\n", "name is required"},
  };
  for (const auto& [text, reason] : cases) {
    EXPECT_FALSE(ParseServerConfig(text, &c, &error)) << text;
    EXPECT_NE(error.find(reason), std::string::npos) << text << " -> " << error;
  }
}

}  // namespace
}  // namespace tovak::server
