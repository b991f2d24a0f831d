// The library against a real tovak-server on loopback, backed by the private
// cluster: TLS, authentication, recovery after a restart, deadlines, site
// selection, and the server's own behaviour (log, shutdown, configuration).
#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/wait.h>

#include <chrono>
#include <string>

#include "remote/server_process.h"
#include "remote/test_files.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

// Whatever a test sets in the environment is cleared before the next.
class RemoteTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TOVAK_CONFIG", "/dev/null", 1);
    setenv("TOVAK_DEADLINE_MS", "3000", 1);
    for (const char* key : {"KOVD_GRPC", "TOVAK_USER", "TOVAK_USER_KEY_FILE",
                            "TOVAK_USER_KEY_PASSPHRASE", "TOVAK_CA_FILE"}) {
      unsetenv(key);
    }
  }
  void TearDown() override { tovakRelease(); }

  // Points the library at address (kept alive by the fixture).
  void UseServer(const std::string& address) {
    address_ = address;
    setTovakProtocolV2(address_.c_str());
  }

  void UseCredentials(const std::string& user, const std::string& keyFile,
                      const std::string& passphrase) {
    setenv("TOVAK_USER", user.c_str(), 1);
    setenv("TOVAK_USER_KEY_FILE", keyFile.c_str(), 1);
    setenv("TOVAK_USER_KEY_PASSPHRASE", passphrase.c_str(), 1);
  }

  // The Magnetics link of shot 120000: the status, and the kind on success.
  static int LookUp(std::string* kind = nullptr) {
    char dtsKind[64] = "", text1[64], text2[64], source[64], word3[64];
    short n3 = 0, n4 = 0;
    int setting = 0, n8 = 0, pre = 0, interval = 0, host = 0;
    const int status =
        tovakGetDTSinfox("Magnetics", 120000, 0, 1, 1, nullptr, dtsKind, text1, text2, &n3, &n4,
                         &setting, &n8, source, &pre, &interval, &host, word3);
    if (kind != nullptr) *kind = dtsKind;
    return status;
  }

  TempDir dir_;
  std::string address_;
};

TEST_F(RemoteTest, AnswersOverPlainConnectionsAndLogsEachRequest) {
  ServerProcess server(dir_, "plain", ServerConfigText(0, 1, "anonymous = allow\n"));
  ASSERT_TRUE(server.Start()) << server.Log();
  UseServer(server.Address("ubo"));
  std::string kind;
  EXPECT_EQ(LookUp(&kind), 0);
  EXPECT_EQ(kind, "FPGA-DTS");
  EXPECT_EQ(server.Stop(), 0);  // graceful on SIGTERM
  const std::string log = server.Log();
  EXPECT_NE(log.find("user=- site=ubo op=SelectSite status=0 us="), std::string::npos) << log;
  EXPECT_NE(log.find("user=- site=ubo op=GetDTSinfox status=0 us="), std::string::npos) << log;
  EXPECT_NE(log.find("tovak-server: stopped"), std::string::npos) << log;
}

TEST_F(RemoteTest, TlsIsChosenByTheSchemeAndVerifiesTheServer) {
  const ServerCert cert = MakeServerCert(dir_, "server");
  const ServerCert stranger = MakeServerCert(dir_, "stranger");
  ServerProcess server(dir_, "tls",
                       ServerConfigText(0, 1,
                                        "anonymous = allow\ntls_certificate = " +
                                            cert.certificateFile + "\ntls_key = " +
                                            cert.keyFile + "\n"));
  ASSERT_TRUE(server.Start()) << server.Log();

  // Trusting the server's certificate: answers.
  setenv("TOVAK_CA_FILE", cert.certificateFile.c_str(), 1);
  UseServer(server.Address("ubo", true));
  EXPECT_EQ(LookUp(), 0);
  tovakRelease();
  // A plain connection to a TLS server gets nowhere.
  UseServer(server.Address("ubo", false));
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  tovakRelease();
  // A certificate signed by nobody the client trusts is refused.
  setenv("TOVAK_CA_FILE", stranger.certificateFile.c_str(), 1);
  UseServer(server.Address("ubo", true));
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  unsetenv("TOVAK_CA_FILE");  // the system's roots do not know it either
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  // An unreadable CA file is a credentials failure of the client.
  setenv("TOVAK_CA_FILE", dir_.File("missing.pem").c_str(), 1);
  EXPECT_EQ(CmonoMirvoDataClient::getInstance()->Connect("127.0.0.1", server.port()),
            TOVAK_E_REMOTE_CREDENTIALS);
}

TEST_F(RemoteTest, OnlyAuthorizedUsersProvingTheirKeyAreAnswered) {
  const UserKey alice = MakeUserKey(dir_, "alice", "ed25519", "alice's secret");
  const UserKey bob = MakeUserKey(dir_, "bob", "rsa", "bob's secret");
  const UserKey mallory = MakeUserKey(dir_, "mallory", "ed25519", "m");
  ServerProcess server(dir_, "auth",
                       ServerConfigText(0, 1,
                                        "anonymous = deny\nuser.alice = " + alice.publicFile +
                                            "\nuser.bob = " + bob.publicFile + "\n"));
  ASSERT_TRUE(server.Start()) << server.Log();
  UseServer(server.Address("ubo"));
  CmonoMirvoDataClient* client = CmonoMirvoDataClient::getInstance();

  UseCredentials("alice", alice.privateFile, "alice's secret");
  EXPECT_EQ(LookUp(), 0);
  tovakRelease();
  UseCredentials("bob", bob.privateFile, "bob's secret");
  EXPECT_EQ(LookUp(), 0);
  tovakRelease();

  // Refusals reach the caller as statuses: -599 from the set-up, and the
  // client's own status when asked directly.
  UseCredentials("alice", alice.privateFile, "wrong");
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  EXPECT_EQ(client->Connect("127.0.0.1", server.port()), TOVAK_E_REMOTE_CREDENTIALS);

  UseCredentials("alice", mallory.privateFile, "m");  // another key under alice's name
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  ASSERT_EQ(client->Connect("127.0.0.1", server.port()), 1);
  EXPECT_EQ(client->SelectSite("ubo", 0), TOVAK_E_REMOTE_UNAUTHENTICATED);
  tovakRelease();

  UseCredentials("mallory", mallory.privateFile, "m");  // unknown to the server
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  ASSERT_EQ(client->Connect("127.0.0.1", server.port()), 1);
  EXPECT_EQ(client->SelectSite("ubo", 0), TOVAK_E_REMOTE_PERMISSION);
  tovakRelease();

  for (const char* key : {"TOVAK_USER", "TOVAK_USER_KEY_FILE", "TOVAK_USER_KEY_PASSPHRASE"}) {
    unsetenv(key);
  }
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);  // anonymous callers are denied here
  ASSERT_EQ(client->Connect("127.0.0.1", server.port()), 1);
  EXPECT_EQ(client->SelectSite("ubo", 0), TOVAK_E_REMOTE_UNAUTHENTICATED);

  const std::string log = server.Log();
  EXPECT_NE(log.find("user=alice site=ubo op=GetDTSinfox status=0"), std::string::npos) << log;
  EXPECT_NE(log.find("user=mallory site=ubo op=SelectSite status=refused:permission"),
            std::string::npos)
      << log;
}

TEST_F(RemoteTest, SitesAreSelectedByTheServer) {
  ServerProcess server(dir_, "sites", ServerConfigText(0, 1, "anonymous = allow\n"));
  ASSERT_TRUE(server.Start()) << server.Log();
  UseServer(server.Address("nosuchsite"));
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  CmonoMirvoDataClient* client = CmonoMirvoDataClient::getInstance();
  EXPECT_EQ(client->SelectSite("nosuchsite", 0), TOVAK_E_REMOTE_UNKNOWN_SITE);
  EXPECT_EQ(client->SelectSite(nullptr, 0), TOVAK_E_REMOTE_UNKNOWN_SITE);
  tovakRelease();
  // Site names are not case-sensitive; tsu has no Magnetics channel 1/1 in
  // this shot range but knows the diagnostic.
  UseServer(server.Address("UBO"));
  EXPECT_EQ(LookUp(), 0);
}

TEST_F(RemoteTest, TheNextSetUpRecoversFromARestartedServer) {
  ServerProcess first(dir_, "first", ServerConfigText(0, 2, "anonymous = allow\n"));
  ASSERT_TRUE(first.Start()) << first.Log();
  const int port = first.port();
  UseServer(first.Address("ubo"));
  ASSERT_EQ(LookUp(), 0);
  ASSERT_EQ(first.Stop(), 0);

  // The connection is gone: the call fails with a transport status (or, when
  // the client already noticed, the set-up finds no server).
  const int down = LookUp();
  EXPECT_TRUE(down == TOVAK_E_REMOTE_UNAVAILABLE || down == TOVAK_E_NO_REMOTE) << down;
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);

  ServerProcess second(dir_, "second", ServerConfigText(port, 2, "anonymous = allow\n"));
  ASSERT_TRUE(second.Start()) << second.Log();
  EXPECT_EQ(LookUp(), 0);
  EXPECT_EQ(LookUp(), 0);
}

TEST_F(RemoteTest, AServerThatDoesNotAnswerRunsIntoTheDeadline) {
  setenv("TOVAK_DEADLINE_MS", "500", 1);
  ServerProcess server(dir_, "silent", ServerConfigText(0, 1, "anonymous = allow\n"));
  ASSERT_TRUE(server.Start()) << server.Log();
  UseServer(server.Address("ubo"));
  ASSERT_EQ(LookUp(), 0);
  server.Pause();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(LookUp(), TOVAK_E_REMOTE_DEADLINE);
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_LT(waited, std::chrono::seconds(5));
  // A new set-up does not hang either.
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
  server.Resume();
}

TEST_F(RemoteTest, ClientRefusesAddressesItCannotUse) {
  CmonoMirvoDataClient* client = CmonoMirvoDataClient::getInstance();
  EXPECT_EQ(client->Connect(nullptr, 50051), TOVAK_E_REMOTE_ADDRESS);
  EXPECT_EQ(client->Connect("", 50051), TOVAK_E_REMOTE_ADDRESS);
  EXPECT_EQ(client->Connect("127.0.0.1", 0), TOVAK_E_REMOTE_ADDRESS);
  EXPECT_EQ(client->Connect("127.0.0.1", 65536), TOVAK_E_REMOTE_ADDRESS);
  std::string text;
  EXPECT_EQ(client->GetDTSParameters("fdts01", "DMODSS0", 120000, 0, 1, text),
            TOVAK_E_REMOTE_NOT_CONNECTED);
  // No server at all: without a port in the address there is nothing to try.
  UseServer("grpc://127.0.0.1/ubo");
  EXPECT_EQ(LookUp(), TOVAK_E_NO_REMOTE);
}

TEST_F(RemoteTest, BadConfigurationsStopTheServerWithAMessage) {
  const struct {
    std::string config, named;
  } cases[] = {
      {"listen = 127.0.0.1:0\nsite.ubo.index = /ubo\n", "nobody"},
      {ServerConfigText(0, 1, "user.alice = /nonexistent.pub\n"), "user.alice"},
      {ServerConfigText(0, 1, "anonymous = allow\ntls_certificate = /no.crt\ntls_key = /no.key\n"),
       "/no.crt"},
  };
  for (const auto& c : cases) {
    WriteFile(dir_.File("bad.conf"), c.config);
    const int status = std::system((std::string(TOVAK_SERVER_BINARY) + " --config " +
                                    dir_.File("bad.conf") + " 2> " + dir_.File("bad.err"))
                                       .c_str());
    const std::string message = ReadFile(dir_.File("bad.err"));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << c.config;
    EXPECT_NE(message.find("bad configuration"), std::string::npos) << message;
    EXPECT_NE(message.find(c.named), std::string::npos) << message;
  }
}

}  // namespace
}  // namespace tovak::testing
