// The library against a real tovak-server backed by the private cluster: addresses and sites,
// TLS, users and their keys, bad configurations; and identity at the wire: captured calls replayed
// across workers and restarts, redirected or altered, one refusal for every fault, users known by
// the certificate of their TLS connection, keys reloaded on SIGHUP.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

#include "remote/call_auth.h"
#include "remote/harness.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

class RemoteTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TOVAK_CONFIG", "/dev/null", 1);
    for (const char* key : {"TOVAK_USER", "TOVAK_USER_KEY_FILE", "TOVAK_CA_FILE"}) unsetenv(key);
  }
  void TearDown() override { tovakRelease(); }

  // The outputs of fdts01 DMODSS0 in shot 120000 through the server at address: the status. A
  // lookup meant to be answered gets a generous deadline; one meant to fail waits out a short one.
  int LookUp(const std::string& address, bool answered = true) {
    setenv("TOVAK_DEADLINE_MS", answered ? "60000" : "500", 1);
    setTovakProtocolV2((address_ = address).c_str());
    int first = 1, last = 8;
    return tovakGetDTSParametersCount(nullptr, "fdts01", "DMODSS0", 120000, 0, nullptr, &first,
                                      &last, nullptr);
  }

  CmonoMirvoDataClient& client_ = *CmonoMirvoDataClient::getInstance();
  TempDir dir_;
  std::string address_;  // the library keeps a pointer to it
};

TEST_F(RemoteTest, PlainServerSelectsSitesWithoutRegardToCase) {
  for (int port : {0, 65536}) EXPECT_EQ(client_.Connect("h", port), TOVAK_E_REMOTE_ADDRESS);
  for (const char* host : {"", static_cast<const char*>(nullptr), "h:1", "[::1", "[h]", "a b"}) {
    EXPECT_EQ(client_.Connect(host, 1), TOVAK_E_REMOTE_ADDRESS);
  }
  ServerProcess first(dir_, "first", "anonymous = allow\n");
  ASSERT_TRUE(first.listening()) << first.Log();
  // A failed set-up says which step failed and why; a refused connection does not wait out the
  // deadline (60 s).
  const int closed = socket(AF_INET, SOCK_STREAM, 0);  // bound, never listening: refuses
  sockaddr_in bound{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t length = sizeof bound;
  ASSERT_EQ(bind(closed, reinterpret_cast<sockaddr*>(&bound), length), 0);
  ASSERT_EQ(getsockname(closed, reinterpret_cast<sockaddr*>(&bound), &length), 0);
  const std::pair<std::string, const char*> failures[] = {
      {"grpc://127.0.0.1/ubo", "port missing"},
      {"grpc://127.0.0.1:" + std::to_string(ntohs(bound.sin_port)) + "/ubo", "refused"},
      {first.Address("nosuchsite"), "site \"nosuchsite\" unknown to the server"}};
  for (const auto& [address, reason] : failures) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(LookUp(address), TOVAK_E_NO_REMOTE) << address;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << address;
    const std::string said = tovakLastFailure();
    EXPECT_NE(said.find(reason), std::string::npos) << said;
  }
  close(closed);
  EXPECT_EQ(client_.SelectSite("nosuchsite", 0), TOVAK_E_REMOTE_UNKNOWN_SITE);
  EXPECT_EQ(client_.SelectSite(nullptr, 0), TOVAK_E_REMOTE_UNKNOWN_SITE);
  tovakRelease();
  const std::string ubo = first.Address("UBO", "http");  // site names without regard to case
  EXPECT_EQ(LookUp(ubo), 0);
}

TEST_F(RemoteTest, TlsIsChosenByTheSchemeAndVerifiesTheServer) {
  const std::string cert = MakeServerCert(dir_, "server"), other = MakeServerCert(dir_, "other");
  ServerProcess server(
      dir_, "tls",
      "anonymous = allow\ntls_certificate = " + cert + ".crt\ntls_key = " + cert + ".key\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::tuple<const char*, std::string, int> cases[] = {
      {"grpcs", cert, 0},   {"https", cert, 0},     {"grpc", cert, -599},
      {"http", cert, -599}, {"grpcs", other, -599}, {"grpcs", "", -599}};  // "": system's roots
  for (const auto& [scheme, ca, status] : cases) {
    ca.empty() ? unsetenv("TOVAK_CA_FILE") : setenv("TOVAK_CA_FILE", (ca + ".crt").c_str(), 1);
    EXPECT_EQ(LookUp(server.Address("ubo", scheme), status == 0), status) << scheme << " " << ca;
    tovakRelease();
  }
  setenv("TOVAK_CA_FILE", dir_.File("missing.crt").c_str(), 1);
  EXPECT_EQ(client_.Connect("127.0.0.1", server.port()), TOVAK_E_REMOTE_CREDENTIALS);
}

TEST_F(RemoteTest, OnlyAuthorizedUsersProvingTheirKeyAreAnswered) {
  const std::string alice = MakeUserKey(dir_, "alice", "ED25519", "alice's secret") + ".key";
  const std::string mallory = MakeUserKey(dir_, "mallory", "ED25519", "m") + ".key";
  ServerProcess server(dir_, "auth", "user.alice = " + dir_.File("alice.pub\n"));
  ASSERT_TRUE(server.listening()) << server.Log();
  const struct {
    const char *user, *key, *passphrase;  // empty: none
    int status;                           // of the client's set-up
  } cases[] = {{"alice", alice.c_str(), "alice's secret", 0},
               {"alice", alice.c_str(), "wrong", TOVAK_E_REMOTE_CREDENTIALS},
               {"", alice.c_str(), "alice's secret", TOVAK_E_REMOTE_CREDENTIALS},
               {"alice", mallory.c_str(), "m", TOVAK_E_REMOTE_UNAUTHENTICATED},
               {"mal lory=", mallory.c_str(), "m", TOVAK_E_REMOTE_UNAUTHENTICATED},
               {"", "", "", TOVAK_E_REMOTE_UNAUTHENTICATED}};  // anonymous callers
  for (const auto& c : cases) {
    setenv("TOVAK_USER", c.user, 1);
    setenv("TOVAK_USER_KEY_FILE", c.key, 1);
    setenv("TOVAK_USER_KEY_PASSPHRASE", c.passphrase, 1);
    EXPECT_EQ(LookUp(server.Address("ubo")), c.status == 0 ? 0 : TOVAK_E_NO_REMOTE) << c.status;
    const int connected = client_.Connect("127.0.0.1", server.port());
    EXPECT_EQ(connected == 1 ? client_.SelectSite("ubo", 0) : connected, c.status);
    tovakRelease();
  }
  for (const char* line : {"user=alice site=ubo op=GetDTSParametersCount status=0 us=",
                           "user=mal?lory? site=ubo op=SelectSite status=refused:unknown-user"}) {
    EXPECT_NE(server.Log().find(line), std::string::npos) << server.Log();
  }
}

TEST_F(RemoteTest, BadConfigurationsStopTheServerWithAMessage) {
  const std::string cert = MakeServerCert(dir_, "exposed");
  chmod((cert + ".key").c_str(), 0644);
  const std::string cases[][2] = {
      {"", "nobody"},
      {"user.alice = /nonexistent.pub\n", "user.alice"},
      {"anonymous = allow\ntls_certificate = /no.crt\ntls_key = /k\n", "/no.crt"},
      {"anonymous = allow\ntls_certificate = " + cert + ".crt\ntls_key = " + cert + ".key\n",
       "tls_key: " + cert + ".key: group or others may access it (mode 0644"}};
  for (const auto& [extra, named] : cases) {
    ServerProcess server(dir_, "bad", extra);
    EXPECT_EQ(WEXITSTATUS(server.Stop()), 1) << extra;
    EXPECT_NE(server.Log().find("tovak-server: bad configuration: "), std::string::npos);
    EXPECT_NE(server.Log().find(named), std::string::npos) << server.Log();
  }
}

using remote::PkeyPtr;

// A SelectSite call of site "ubo" signed by key for user and server audience, with body as its
// request (the signed one unless given).
struct SignedCall {
  SignedCall(EVP_PKEY* key, const std::string& user, const std::string& audience,
             std::string altered = "")
      : body("\x0a\x03ubo") {
    const remote::ProofFields f{user,
                                "SelectSite",
                                "ubo",
                                audience,
                                std::time(nullptr),
                                remote::RandomNonce(),
                                remote::Sha256(body)};
    metadata = {{remote::kUserKey, user},
                {remote::kAudienceKey, audience},
                {remote::kTimeKey, std::to_string(f.time)},
                {remote::kNonceKey, f.nonce},
                {remote::kSignatureKey, remote::Sign(key, remote::AuthPayload(f))}};
    if (!altered.empty()) body = altered;
  }
  // Sent over a new connection: a call of a captured connection's bytes.
  grpc::Status SendTo(int port) const {
    return CallWithPayload(PlainChannel(port), "SelectSite", body, metadata);
  }
  std::string body;
  std::map<std::string, std::string> metadata;
};

TEST_F(RemoteTest, ACallIsAnsweredOnceByTheWholeServerAndOnlyForItsRequestAndServer) {
  const TempDir& dir = dir_;
  const PkeyPtr alice(
      remote::LoadPrivateKey(MakeUserKey(dir, "alice", "ED25519", "") + ".key", nullptr, nullptr));
  const PkeyPtr mallory(
      remote::LoadPrivateKey(MakeUserKey(dir, "m", "ED25519", "") + ".key", nullptr, nullptr));
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
    return server->Workers() != old &&
           SignedCall(alice.get(), "alice", "127.0.0.1").SendTo(port).ok();
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

TEST_F(RemoteTest, TheCertificateOfATlsConnectionNamesItsUserUntilTheKeysAreReloaded) {
  const TempDir& dir = dir_;
  const std::string cert = MakeServerCert(dir, "server");
  for (const char* user : {"alice", "mallory"}) {  // key and certificate in one file
    const std::string key = MakeUserKey(dir, user, "ED25519", "secret");
    tovak::testing::Run("openssl req -x509 -days 2 -subj /CN=x -passin 'file:" + key +
                        ".pass' -key '" + key + ".key' -out '" + key + ".crt' && cat '" + key +
                        ".crt' >> '" + key + ".key'");
    chmod((key + ".pass").c_str(), 0600);
  }
  ServerProcess server(dir, "tls",
                       "tls_certificate = " + cert + ".crt\ntls_key = " + cert +
                           ".key\nuser.alice = " + dir.File("alice.pub\n"));
  ASSERT_TRUE(server.listening()) << server.Log();
  setenv("TOVAK_CA_FILE", (cert + ".crt").c_str(), 1);
  setenv("TOVAK_USER", "anyone", 1);  // the certificate names the user
  unsetenv("TOVAK_USER_KEY_PASSPHRASE");
  auto lookUpAs = [&](const std::string& user) {
    setenv("TOVAK_USER_KEY_FILE", dir.File(user + ".key").c_str(), 1);
    setenv("TOVAK_USER_KEY_PASSPHRASE_FILE", dir.File(user + ".pass").c_str(), 1);
    const int status = LookUp(server.Address("ubo", "grpcs"));
    tovakRelease();
    return status;
  };
  EXPECT_EQ(lookUpAs("alice"), 0);
  EXPECT_EQ(lookUpAs("mallory"), TOVAK_E_NO_REMOTE);
  EXPECT_NE(server.Log().find("user=alice site=ubo op=GetDTSParametersCount status=0"),
            std::string::npos)
      << server.Log();

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
