// Proof of identity: key loading, signatures, and the server's verdicts.
#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <vector>

#include "remote/call_auth.h"
#include "remote/test_files.h"
#include "server/authorizer.h"

namespace tovak {
namespace {

using remote::AuthPayload;
using remote::LoadPrivateKey;
using remote::LoadPublicKey;
using remote::PkeyPtr;
using remote::RandomNonce;
using remote::Sign;
using remote::Verify;
using server::Authorizer;
using server::CallProof;
using server::ServerConfig;
using server::Verdict;
using testing::MakeUserKey;
using testing::TempDir;
using testing::UserKey;

class CallAuthTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    alice_ = new UserKey(MakeUserKey(*dir_, "alice", "ed25519", "open sesame"));
    bob_ = new UserKey(MakeUserKey(*dir_, "bob", "rsa", "b0b's pass"));
    plain_ = new UserKey(MakeUserKey(*dir_, "plain", "ed25519", ""));
  }
  static void TearDownTestSuite() {
    delete plain_;
    delete bob_;
    delete alice_;
    delete dir_;
  }

  static PkeyPtr AliceKey() { return LoadPrivateKey(alice_->privateFile, "open sesame", nullptr); }

  // A proof that user signed with key for method and site at time.
  static CallProof Proof(const std::string& user, EVP_PKEY* key, const std::string& method,
                         const std::string& site, int64_t time) {
    CallProof proof;
    proof.user = user;
    proof.time = std::to_string(time);
    proof.nonce = RandomNonce();
    proof.signature = Sign(key, AuthPayload(user, method, site, time, proof.nonce));
    return proof;
  }

  static std::unique_ptr<Authorizer> Loaded(bool allowAnonymous) {
    ServerConfig config;
    config.allowAnonymous = allowAnonymous;
    config.userKeyFiles = {{"alice", alice_->publicFile}, {"bob", bob_->publicFile}};
    auto authorizer = std::make_unique<Authorizer>();
    std::string error;
    EXPECT_TRUE(authorizer->Load(config, &error)) << error;
    return authorizer;
  }

  std::vector<std::unique_ptr<Authorizer>> authorizers_;

  static inline TempDir* dir_ = nullptr;
  static inline UserKey* alice_ = nullptr;
  static inline UserKey* bob_ = nullptr;
  static inline UserKey* plain_ = nullptr;
};

TEST_F(CallAuthTest, PrivateKeysLoadOnlyWithTheirPassphrase) {
  std::string error;
  EXPECT_TRUE(AliceKey());
  EXPECT_TRUE(LoadPrivateKey(bob_->privateFile, "b0b's pass", nullptr));
  EXPECT_TRUE(LoadPrivateKey(plain_->privateFile, nullptr, nullptr));

  EXPECT_FALSE(LoadPrivateKey(alice_->privateFile, "open sesame!", &error));
  EXPECT_NE(error.find("wrong passphrase"), std::string::npos) << error;
  // No passphrase for an encrypted key: refused, without asking a terminal.
  EXPECT_FALSE(LoadPrivateKey(alice_->privateFile, nullptr, nullptr));
  EXPECT_FALSE(LoadPrivateKey(dir_->File("missing.key"), "x", &error));
  EXPECT_NE(error.find("cannot read"), std::string::npos) << error;
  EXPECT_FALSE(LoadPrivateKey(alice_->publicFile, nullptr, nullptr));
  EXPECT_FALSE(LoadPublicKey(alice_->privateFile, nullptr));
}

TEST_F(CallAuthTest, SignaturesVerifyOnlyWithTheMatchingKeyAndData) {
  const PkeyPtr alice = AliceKey();
  const PkeyPtr bob = LoadPrivateKey(bob_->privateFile, "b0b's pass", nullptr);
  const PkeyPtr alicePublic = LoadPublicKey(alice_->publicFile, nullptr);
  const PkeyPtr bobPublic = LoadPublicKey(bob_->publicFile, nullptr);
  ASSERT_TRUE(alice && bob && alicePublic && bobPublic);

  const std::string data = AuthPayload("alice", "GetDTSinfox", "ubo", 1700000000, "n");
  const std::string byAlice = Sign(alice.get(), data);
  const std::string byBob = Sign(bob.get(), data);
  EXPECT_TRUE(Verify(alicePublic.get(), data, byAlice));
  EXPECT_TRUE(Verify(bobPublic.get(), data, byBob));
  EXPECT_FALSE(Verify(alicePublic.get(), data, byBob));
  EXPECT_FALSE(Verify(bobPublic.get(), data, byAlice));
  EXPECT_FALSE(Verify(alicePublic.get(), data + "x", byAlice));
  EXPECT_FALSE(Verify(alicePublic.get(), data, ""));
}

TEST_F(CallAuthTest, PayloadKeepsFieldBoundaries) {
  EXPECT_NE(AuthPayload("ab", "c", "s", 1, "n"), AuthPayload("a", "bc", "s", 1, "n"));
  EXPECT_NE(AuthPayload("u", "m", "s1", 1, "n"), AuthPayload("u", "m", "s", 11, "n"));
  EXPECT_NE(AuthPayload("u", "m", "s", 1, "n"), AuthPayload("u", "m", "s", 1, "N"));
  EXPECT_EQ(RandomNonce().size(), remote::kNonceBytes);
  EXPECT_NE(RandomNonce(), RandomNonce());
}

TEST_F(CallAuthTest, AuthorizerAcceptsAValidProofOnce) {
  Authorizer& authorizer = *authorizers_.emplace_back(Loaded(false));
  const PkeyPtr alice = AliceKey();
  const int64_t now = std::time(nullptr);
  const CallProof proof = Proof("alice", alice.get(), "GetDTSinfox", "ubo", now);
  EXPECT_EQ(authorizer.Check(proof, "GetDTSinfox", "ubo", now), Verdict::kAllowed);
  // The same proof again is a replay.
  EXPECT_EQ(authorizer.Check(proof, "GetDTSinfox", "ubo", now), Verdict::kUnauthenticated);
  // A fresh proof from the RSA user.
  const PkeyPtr bob = LoadPrivateKey(bob_->privateFile, "b0b's pass", nullptr);
  EXPECT_EQ(authorizer.Check(Proof("bob", bob.get(), "SelectSite", "tsu", now), "SelectSite",
                             "tsu", now),
            Verdict::kAllowed);
}

TEST_F(CallAuthTest, AuthorizerRefusesProofsThatDoNotFit) {
  Authorizer& authorizer = *authorizers_.emplace_back(Loaded(false));
  const PkeyPtr alice = AliceKey();
  const PkeyPtr plain = LoadPrivateKey(plain_->privateFile, nullptr, nullptr);
  const int64_t now = std::time(nullptr);
  const int64_t window = remote::kAuthWindowSeconds;

  // Signed for another call, site or time than the one presented.
  EXPECT_EQ(authorizer.Check(Proof("alice", alice.get(), "GetDTSinfox", "ubo", now),
                             "GetDTSinfoCLK", "ubo", now),
            Verdict::kUnauthenticated);
  EXPECT_EQ(authorizer.Check(Proof("alice", alice.get(), "GetDTSinfox", "ubo", now),
                             "GetDTSinfox", "tsu", now),
            Verdict::kUnauthenticated);
  CallProof shifted = Proof("alice", alice.get(), "GetDTSinfox", "ubo", now);
  shifted.time = std::to_string(now + 1);
  EXPECT_EQ(authorizer.Check(shifted, "GetDTSinfox", "ubo", now), Verdict::kUnauthenticated);
  // Too old or too far ahead, correctly signed.
  EXPECT_EQ(authorizer.Check(Proof("alice", alice.get(), "m", "ubo", now - window - 1), "m",
                             "ubo", now),
            Verdict::kUnauthenticated);
  EXPECT_EQ(authorizer.Check(Proof("alice", alice.get(), "m", "ubo", now + window + 1), "m",
                             "ubo", now),
            Verdict::kUnauthenticated);
  EXPECT_EQ(authorizer.Check(Proof("alice", alice.get(), "m", "ubo", now - window), "m", "ubo",
                             now),
            Verdict::kAllowed);
  // Another key under alice's name; a user without proof; an unknown user.
  EXPECT_EQ(authorizer.Check(Proof("alice", plain.get(), "m", "ubo", now), "m", "ubo", now),
            Verdict::kUnauthenticated);
  CallProof bare;
  bare.user = "alice";
  EXPECT_EQ(authorizer.Check(bare, "m", "ubo", now), Verdict::kUnauthenticated);
  EXPECT_EQ(authorizer.Check(Proof("carol", plain.get(), "m", "ubo", now), "m", "ubo", now),
            Verdict::kPermissionDenied);
}

TEST_F(CallAuthTest, AnonymousCallersFollowThePolicy) {
  Authorizer& strict = *authorizers_.emplace_back(Loaded(false));
  Authorizer& open = *authorizers_.emplace_back(Loaded(true));
  const int64_t now = std::time(nullptr);
  EXPECT_EQ(strict.Check(CallProof{}, "m", "ubo", now), Verdict::kUnauthenticated);
  EXPECT_EQ(open.Check(CallProof{}, "m", "ubo", now), Verdict::kAllowed);
  // Presenting a name still requires the proof, whatever the policy.
  CallProof bare;
  bare.user = "alice";
  EXPECT_EQ(open.Check(bare, "m", "ubo", now), Verdict::kUnauthenticated);
}

}  // namespace
}  // namespace tovak
