// Identity against a real tovak-server: captured calls replayed, redirected or altered; one refusal
// for every fault; users known by the certificate of their TLS connection; keys reloaded on SIGHUP.
#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <string>

#include "remote/call_auth.h"
#include "remote/raw_call.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using remote::PkeyPtr;

// A SelectSite call of site "ubo" signed by key for user and server audience, with body as its
// request (the signed one unless given).
struct SignedCall {
  SignedCall(EVP_PKEY* key, const std::string& user, const std::string& audience,
             std::string altered = "")
      : body("\x0a\x03ubo") {
    const remote::ProofFields f{user,         "SelectSite", "ubo", audience, std::time(nullptr),
                                remote::RandomNonce(), remote::Sha256(body)};
    metadata = {{remote::kUserKey, user},          {remote::kAudienceKey, audience},
                {remote::kTimeKey, std::to_string(f.time)}, {remote::kNonceKey, f.nonce},
                {remote::kSignatureKey, remote::Sign(key, remote::AuthPayload(f))}};
    if (!altered.empty()) body = altered;
  }
  // Sent over a new connection: a call of a captured connection's bytes.
  grpc::Status SendTo(int port) const {
    const auto channel = grpc::CreateChannel("127.0.0.1:" + std::to_string(port),
                                             grpc::InsecureChannelCredentials());
    return CallWithPayload(channel, "SelectSite", body, metadata);
  }
  std::string body;
  std::map<std::string, std::string> metadata;
};

TEST(RemoteAuthTest, ACallIsAnsweredOnceByTheWholeServerAndOnlyForItsRequestAndServer) {
  const TempDir dir;
  const PkeyPtr alice(remote::LoadPrivateKey(MakeUserKey(dir, "alice", "ED25519", "") + ".key",
                                             nullptr, nullptr));
  const PkeyPtr mallory(remote::LoadPrivateKey(MakeUserKey(dir, "m", "ED25519", "") + ".key",
                                               nullptr, nullptr));
  const std::string config = "workers = 2\nnonce_file = " + dir.File("nonces") +
                             "\nuser.alice = " + dir.File("alice.pub\n");
  auto server = std::make_unique<ServerProcess>(dir, "first", config);
  ASSERT_TRUE(server->listening()) << server->Log();
  const int port = server->port();
  const SignedCall captured(alice.get(), "alice", "localhost");
  ASSERT_TRUE(captured.SendTo(port).ok());
  auto refused = [&](const SignedCall& call) {
    return call.SendTo(port).error_code() == grpc::StatusCode::UNAUTHENTICATED;
  };
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(refused(captured));  // each connection: any worker
  const std::vector<pid_t> old = server->Workers();
  for (const pid_t worker : old) kill(worker, SIGKILL);
  ASSERT_TRUE(Eventually([&] {  // new workers answer new calls, and still refuse the old one
    return server->Workers() != old && SignedCall(alice.get(), "alice", "127.0.0.1").SendTo(port).ok();
  }));
  EXPECT_TRUE(refused(captured));
  server->Stop();
  server = std::make_unique<ServerProcess>(dir, "restarted", config, port);
  ASSERT_TRUE(server->listening()) << server->Log();
  EXPECT_TRUE(refused(captured));

  EXPECT_TRUE(refused(SignedCall(alice.get(), "alice", "elsewhere")));  // meant for another server
  EXPECT_TRUE(refused(SignedCall(alice.get(), "alice", "localhost", "\x0a\x03tsu")));
  const grpc::Status unknown = SignedCall(mallory.get(), "mallory", "localhost").SendTo(port);
  const grpc::Status forged = SignedCall(mallory.get(), "alice", "localhost").SendTo(port);
  EXPECT_EQ(unknown.error_code(), forged.error_code());
  EXPECT_EQ(unknown.error_message(), forged.error_message());
  for (const char* reason : {"replayed", "audience", "proof", "unknown-user"}) {
    EXPECT_NE(server->Log().find(std::string("status=refused:") + reason), std::string::npos);
  }
}

// The lookup of fdts01 DMODSS0 in shot 120000 through address: the status.
int LookUp(const std::string& address) {
  static std::string kept;  // the library keeps a pointer to it
  setTovakProtocolV2((kept = address).c_str());
  int first = 1, last = 8;
  const int status = tovakGetDTSParametersCount(nullptr, "fdts01", "DMODSS0", 120000, 0, nullptr,
                                                &first, &last, nullptr);
  tovakRelease();
  return status;
}

TEST(RemoteAuthTest, TheCertificateOfATlsConnectionNamesItsUserUntilTheKeysAreReloaded) {
  const TempDir dir;
  const std::string cert = MakeServerCert(dir, "server");
  for (const char* user : {"alice", "mallory"}) {  // key and certificate in one file
    const std::string key = MakeUserKey(dir, user, "ED25519", "secret");
    tovak::testing::Run("openssl req -x509 -days 2 -subj /CN=x -passin 'file:" + key + ".pass' -key '" + key +
        ".key' -out '" + key + ".crt' && cat '" + key + ".crt' >> '" + key + ".key'");
    chmod((key + ".pass").c_str(), 0600);
  }
  ServerProcess server(dir, "tls", "tls_certificate = " + cert + ".crt\ntls_key = " + cert +
                                       ".key\nuser.alice = " + dir.File("alice.pub\n"));
  ASSERT_TRUE(server.listening()) << server.Log();
  setenv("TOVAK_CONFIG", "/dev/null", 1);
  setenv("TOVAK_CA_FILE", (cert + ".crt").c_str(), 1);
  setenv("TOVAK_USER", "anyone", 1);  // the certificate names the user
  unsetenv("TOVAK_USER_KEY_PASSPHRASE");
  auto lookUpAs = [&](const std::string& user) {
    setenv("TOVAK_USER_KEY_FILE", dir.File(user + ".key").c_str(), 1);
    setenv("TOVAK_USER_KEY_PASSPHRASE_FILE", dir.File(user + ".pass").c_str(), 1);
    return LookUp(server.Address("ubo", "grpcs"));
  };
  EXPECT_EQ(lookUpAs("alice"), 0);
  EXPECT_EQ(lookUpAs("mallory"), TOVAK_E_NO_REMOTE);
  EXPECT_NE(server.Log().find("user=alice site=ubo op=GetDTSParametersCount status=0"),
            std::string::npos) << server.Log();

  auto reload = [&](const std::string& logged) {
    server.Signal(SIGHUP);
    return Eventually([&] { return server.Log().find(logged) != std::string::npos; });
  };
  WriteFile(dir.File("alice.pub"), "not a key");  // a failed reload keeps every old key
  ASSERT_TRUE(reload("keys not reloaded, the old ones stay: user.alice"));
  EXPECT_EQ(lookUpAs("alice"), 0);
  tovak::testing::Run("cp '" + dir.File("mallory.pub") + "' '" + dir.File("alice.pub") + "'");
  ASSERT_TRUE(reload("keys reloaded"));  // rotated
  EXPECT_EQ(lookUpAs("alice"), TOVAK_E_NO_REMOTE);
  EXPECT_EQ(lookUpAs("mallory"), 0);
}

}  // namespace
}  // namespace tovak::testing
