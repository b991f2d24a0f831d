// The library against a real tovak-server: addresses, sites, TLS, users and their keys, captured
// calls replayed, users known by their TLS certificate, keys reloaded.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <string>
#include <tuple>

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

  // The outputs of fdts01 DMODSS0 in shot 120000 through the server at address, over a new
  // connection: the status. A generous deadline if meant to be answered, else a short one.
  int LookUp(const std::string& address, bool answered = true) {
    tovakRelease();
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

TEST_F(RemoteTest, TheSchemeChoosesTlsWhichVerifiesTheServerAndAFailedSetUpEndsAtOnce) {
  for (int port : {0, 65536}) EXPECT_EQ(client_.Connect("h", port), TOVAK_E_REMOTE_ADDRESS);
  for (const char* host : {"", static_cast<const char*>(nullptr), "h:1", "[::1", "[h]", "a b"})
    EXPECT_EQ(client_.Connect(host, 1), TOVAK_E_REMOTE_ADDRESS) << (host ? host : "null");
  const std::string cert = MakeServerCert(dir_, "server"), other = MakeServerCert(dir_, "other");
  const std::string tls = "tls_certificate = " + cert + ".crt\ntls_key = " + cert + ".key\n";
  ServerProcess server(dir_, "tls", "anonymous = allow\n" + tls);  // site names of any case
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::tuple<const char*, std::string, int> cases[] = {
      {"grpcs", cert, 0},   {"https", cert, 0},     {"grpc", cert, -599},
      {"http", cert, -599}, {"grpcs", other, -599}, {"grpcs", "", -599}};  // "": system's roots
  for (const auto& [scheme, ca, status] : cases) {
    ca.empty() ? unsetenv("TOVAK_CA_FILE") : setenv("TOVAK_CA_FILE", (ca + ".crt").c_str(), 1);
    EXPECT_EQ(LookUp(server.Address("UBO", scheme), status == 0), status) << scheme << " " << ca;
  }
  setenv("TOVAK_CA_FILE", (cert + ".crt").c_str(), 1);
  const int closed = socket(AF_INET, SOCK_STREAM, 0);  // bound, never listening: refuses
  sockaddr_in bound{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t length = sizeof bound;
  ASSERT_EQ(bind(closed, reinterpret_cast<sockaddr*>(&bound), length), 0);
  ASSERT_EQ(getsockname(closed, reinterpret_cast<sockaddr*>(&bound), &length), 0);
  const std::string failures[] = {
      "grpc://127.0.0.1/ubo",  // no port, refused, site unknown
      "grpc://127.0.0.1:" + std::to_string(ntohs(bound.sin_port)) + "/ubo",
      server.Address("nosuchsite", "grpcs")};
  for (const std::string& address : failures) {
    const auto start = std::chrono::steady_clock::now();  // not the deadline (60 s)
    EXPECT_EQ(LookUp(address), TOVAK_E_NO_REMOTE) << address;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << address;
  }
  close(closed);
  EXPECT_EQ(client_.SelectSite("nosuchsite", 0), TOVAK_E_REMOTE_UNKNOWN_SITE);
  EXPECT_EQ(client_.SelectSite(nullptr, 0), TOVAK_E_REMOTE_UNKNOWN_SITE);
  setenv("TOVAK_CA_FILE", dir_.File("missing.crt").c_str(), 1);
  EXPECT_EQ(client_.Connect("127.0.0.1", server.port()), TOVAK_E_REMOTE_CREDENTIALS);
}

// The metadata of a SelectSite call of site "ubo" signed by key for user and the server localhost.
std::map<std::string, std::string> Signed(EVP_PKEY* key, const std::string& user) {
  const remote::ProofFields f{user,
                              "SelectSite",
                              "ubo",
                              "localhost",
                              std::time(nullptr),
                              remote::RandomNonce(),
                              remote::Sha256("\x0a\x03ubo")};
  return {{remote::kUserKey, user},
          {remote::kAudienceKey, f.audience},
          {remote::kTimeKey, std::to_string(f.time)},
          {remote::kNonceKey, f.nonce},
          {remote::kSignatureKey, remote::Sign(key, remote::AuthPayload(f))}};
}

TEST_F(RemoteTest, OnlyKnownUsersProvingTheirKeyAreAnsweredAndACallOnceByTheWholeServer) {
  const std::string alice = MakeUserKey(dir_, "alice", "ED25519", "alice's secret") + ".key";
  const std::string mallory = MakeUserKey(dir_, "mallory", "ED25519", "m") + ".key";
  const std::string config = "workers = 2\nnonce_file = " + dir_.File("nonces") +
                             "\nuser.alice = " + dir_.File("alice.pub\n");
  auto server = std::make_unique<ServerProcess>(dir_, "first", config);
  ASSERT_TRUE(server->listening()) << server->Log();
  const int port = server->port();
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
    EXPECT_EQ(LookUp(server->Address("ubo")), c.status == 0 ? 0 : TOVAK_E_NO_REMOTE) << c.status;
    const int connected = client_.Connect("127.0.0.1", port);
    EXPECT_EQ(connected == 1 ? client_.SelectSite("ubo", 0) : connected, c.status);
  }
  // A captured call sent again over new connections (to any worker), after its workers were
  // killed, and after a restart.
  const remote::PkeyPtr aliceKey = remote::LoadPrivateKey(alice, "alice's secret", nullptr);
  const auto send = [&](const std::map<std::string, std::string>& metadata) {
    return CallWithPayload(PlainChannel(port), "SelectSite", "\x0a\x03ubo", metadata);
  };
  const remote::PkeyPtr malloryKey = remote::LoadPrivateKey(mallory, "m", nullptr);
  const grpc::Status forged = send(Signed(malloryKey.get(), "alice")),
                     unknown = send(Signed(malloryKey.get(), "eve"));  // tell no user names apart
  EXPECT_EQ(std::pair(forged.error_code(), forged.error_message()),
            std::pair(unknown.error_code(), unknown.error_message()));
  const auto captured = Signed(aliceKey.get(), "alice");
  ASSERT_TRUE(send(captured).ok());
  const auto refused = [&] { return send(captured).error_code() == grpc::UNAUTHENTICATED; };
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(refused());
  const std::vector<pid_t> old = server->Workers();
  for (const pid_t worker : old) kill(worker, SIGKILL);
  ASSERT_TRUE(Eventually([&] {  // new workers answer new calls, and still refuse the old one
    return server->Workers() != old && send(Signed(aliceKey.get(), "alice")).ok();
  }));
  EXPECT_TRUE(refused());
  server->Stop();
  server = std::make_unique<ServerProcess>(dir_, "restarted", config, port);
  ASSERT_TRUE(server->listening()) << server->Log();
  EXPECT_TRUE(refused());
}

TEST_F(RemoteTest, TheCertificateOfATlsConnectionNamesItsUserUntilTheKeysAreReloaded) {
  const std::string cert = MakeServerCert(dir_, "server");
  for (const char* user : {"alice", "mallory"}) {  // key and certificate in one file
    const std::string key = MakeUserKey(dir_, user, "ED25519", "secret");
    testing::Run("openssl req -x509 -days 2 -subj /CN=x -passin 'file:" + key + ".pass' -key '" +
                 key + ".key' -out '" + key + ".crt' && cat '" + key + ".crt' >> '" + key +
                 ".key'");
    chmod((key + ".pass").c_str(), 0600);
  }
  ServerProcess server(dir_, "tls",
                       "tls_certificate = " + cert + ".crt\ntls_key = " + cert +
                           ".key\nuser.alice = " + dir_.File("alice.pub\n"));
  ASSERT_TRUE(server.listening()) << server.Log();
  setenv("TOVAK_CA_FILE", (cert + ".crt").c_str(), 1);
  setenv("TOVAK_USER", "anyone", 1);  // the certificate names the user
  unsetenv("TOVAK_USER_KEY_PASSPHRASE");
  const auto lookUpAs = [&](const std::string& user) {
    setenv("TOVAK_USER_KEY_FILE", dir_.File(user + ".key").c_str(), 1);
    setenv("TOVAK_USER_KEY_PASSPHRASE_FILE", dir_.File(user + ".pass").c_str(), 1);
    return LookUp(server.Address("ubo", "grpcs"));
  };
  const auto reload = [&](const std::string& logged) {
    server.Signal(SIGHUP);
    return Eventually([&] { return server.Log().find(logged) != std::string::npos; });
  };
  EXPECT_EQ(lookUpAs("mallory"), TOVAK_E_NO_REMOTE);
  WriteFile(dir_.File("alice.pub"), "not a key");  // a failed reload keeps every old key
  ASSERT_TRUE(reload("keys not reloaded, the old ones stay: user.alice"));
  EXPECT_EQ(lookUpAs("alice"), 0);
  testing::Run("cp '" + dir_.File("mallory.pub") + "' '" + dir_.File("alice.pub") + "'");
  ASSERT_TRUE(reload("keys reloaded"));  // rotated
  EXPECT_EQ(lookUpAs("alice"), TOVAK_E_NO_REMOTE);
  EXPECT_EQ(lookUpAs("mallory"), 0);
}

}  // namespace
}  // namespace tovak::testing
