// The server's policy: proofs of identity, the nonces its workers share, its configuration file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <string>
#include <tuple>

#include "remote/call_auth.h"
#include "remote/harness.h"
#include "server/authorizer.h"
#include "server/server_config.h"

namespace tovak::server {
namespace {

using namespace remote;
constexpr size_t npos = std::string::npos;

TEST(CallAuthTest, OnlyFreshProofsOfKnownUsersForThisServerAndRequestAreAcceptedOnce) {
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
  NonceStore nonces, rival, exposed;  // nonces: shared by two workers' authorizers
  ASSERT_TRUE(nonces.Open(dir.File("nonces"), &error)) << error;
  EXPECT_TRUE(!rival.Open(dir.File("nonces"), &error) && error.find("another server") != npos);
  Authorizer strict(config, *keys, nonces), other(config, *keys, nonces);
  config.allowAnonymous = true;
  Authorizer open(config, *keys, nonces);
  const int64_t now = std::time(nullptr), w = kAuthWindowSeconds;
  EXPECT_FALSE(open.Check(CallProof{"alice", "", "", "", "", ""}, {}, now).allowed);  // a bare name

  // Signed by key for "m" about "ubo" of request "r" to audience; times in seconds from now.
  EVP_PKEY *a = aliceKey.get(), *b = bobKey.get();
  const std::tuple<EVP_PKEY*, int64_t, int64_t, int64_t, const char*, CallFacts, bool> cases[] = {
      {a, 0, 0, 0, "localhost", {"m", "ubo", "r"}, true},
      {b, 0, 0, 0, "127.0.0.1", {"m", "ubo", "r"}, true},
      {a, -w, -w, 0, "::1", {"m", "ubo", "r"}, true},
      {a, 0, 1, 0, "localhost", {"m", "ubo", "r"}, false},  // presented with another time
      {a, -w - 1, -w - 1, 0, "localhost", {"m", "ubo", "r"}, false},
      {a, w + 1, w + 1, 0, "localhost", {"m", "ubo", "r"}, false},
      {a, 0, 0, 0, "localhost", {"n", "ubo", "r"}, false},
      {a, 0, 0, 0, "localhost", {"m", "tsu", "r"}, false},
      {a, -w - 10, -w - 10, -w, "localhost", {"m", "ubo", "r"}, false},  // the clock went back
  };
  for (const auto& [key, signedAt, presentedAt, clock, audience, call, allowed] : cases) {
    const char* user = key == a ? "alice" : "bob";
    CallProof proof{user, audience, std::to_string(now + presentedAt), RandomNonce(), "", ""};
    proof.signature =
        Sign(key, AuthPayload({user, "m", "ubo", audience, now + signedAt, proof.nonce, "r"}));
    EXPECT_EQ(strict.Check(proof, call, now + clock).allowed, allowed) << audience << signedAt;
    EXPECT_FALSE(other.Check(proof, call, now + clock).allowed);  // replayed to another worker
  }
  chmod(dir.File("nonces").c_str(), 0640);
  EXPECT_TRUE(!exposed.Open(dir.File("nonces"), &error) && error.find("mode 0640") != npos);
}

// The configuration text reads, or why not.
std::string Parsed(const std::string& text) {
  ServerConfig c;
  std::string out;
  if (!ParseServerConfig(text, &c, &out)) return out;
  for (const std::string& name : ServerNames(c)) out += name + ",";
  return out + std::to_string(c.listenPort) + " " + std::to_string(c.workers) + " " +
         c.sites.at("ubo").indexServer + (c.tls() ? " TLS " : " ") +
         std::to_string(c.idleTimeoutSeconds) + " " + std::to_string(c.handshakeTimeoutSeconds);
}

TEST(ServerConfigTest, ReadsEveryKeyAndRefusesUnusableConfigurationsWithAReason) {
  const std::string site = "anonymous = allow\nsite.ubo.index = /ubo\n";
  const std::string cases[][2] = {
      {"listen = [::1]:5\nworkers = 8\nanonymous = allow\nsite.UBO.index = i\nidle_timeout = "
       "86400\nhandshake_timeout = 1",
       "::1,localhost,127.0.0.1,5 8 i 86400 1"},
      {"listen = 0.0.0.0:5\nname = Tim.example, [::2] \nuser.a = /a\nsite.ubo.index = i\n",
       "tim.example,::2,5 1 i 300 10"},
      {site + "anonymous = maybe\n", "anonymous"},
      {site + "colour = blue\n", "colour"},
      {site + "site.ubo.database = x\n", "site.ubo.database"},
      {site + "words\n", "line 3"},
      {site + "workers = 2\nworkers = 3\n", "line 4: 'workers' given twice"},
      {site + "user.a = /a\nlisten = [::]:1\n", "name is required"},
  };
  for (const auto& [text, expected] : cases)  // ranges, TLS pairs and sites: the fuzz target's
    EXPECT_NE(Parsed(text).find(expected), npos) << text << " -> " << Parsed(text);
}

}  // namespace
}  // namespace tovak::server
