// The connection classes against real servers: opening and closing under
// the close switch, a change of target, credentials, servers that are gone
// or silent, failed queries, and connections the server dropped.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>

#include "access/session.h"
#include "pg_helpers.h"
#include "tovak/rdb.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using ResultPtr = std::unique_ptr<CRDBres>;
constexpr char kPassword[] = "19981107quorblex3";

class ConnectionTest : public ::testing::Test {
 protected:
  void SetUp() override { CIndexDBComm::swCloseEachTime = true; }
  void TearDown() override {
    CIndexDBComm::swCloseEachTime = true;
    if (CIndexDBComm* db = CIndexDBComm::getInstance()) db->ForceClose(1);
    if (CSetupDBComm* db = CSetupDBComm::getInstance()) db->ForceClose(1);
  }

  static CIndexDBComm& Index(const char* server = nullptr) {
    IndexSetup(server, nullptr);
    return *CIndexDBComm::getInstance();
  }
};

// A TCP listener on loopback that never answers: connections are accepted
// by the kernel and then nothing is ever said.
class SilentServer {
 public:
  SilentServer() : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(fd_, generic, length) == 0 && listen(fd_, 8) == 0 &&
        getsockname(fd_, generic, &length) == 0) {
      port_ = ntohs(address.sin_port);
    }
  }
  ~SilentServer() { close(fd_); }
  std::string port() const { return std::to_string(port_); }

 private:
  int fd_;
  int port_ = 0;
};

TEST_F(ConnectionTest, CloseSwitchDecidesWhetherCloseEnds) {
  CIndexDBComm& db = Index();
  EXPECT_FALSE(db.is_open());
  db.Close();  // harmless before any open
  ASSERT_EQ(db.open(), 0);
  EXPECT_TRUE(db.is_open());
  db.Close();
  EXPECT_FALSE(db.is_open());
  db.Close();  // and twice in a row

  Observer observer;
  ASSERT_TRUE(observer.connected());
  EXPECT_EQ(IndexNoClosing(1), 0);
  ASSERT_EQ(db.open(), 0);
  const std::vector<int> first = observer.LibraryBackends();
  ASSERT_EQ(first.size(), 1u);
  db.Close();
  EXPECT_TRUE(db.is_open());
  Index();  // the next call's set-up with the same target keeps it
  EXPECT_TRUE(db.is_open());
  EXPECT_EQ(db.get_site_id("ubo"), 1);
  EXPECT_EQ(observer.LibraryBackends(), first);

  EXPECT_EQ(IndexNoClosing(0), 0);  // ForceClose(1)
  EXPECT_FALSE(db.is_open());
  EXPECT_TRUE(observer.LibraryBackends().empty());
}

TEST_F(ConnectionTest, NewTargetIsReachedByTheNextOpen) {
  CIndexDBComm::swCloseEachTime = false;
  CIndexDBComm& db = Index();
  ASSERT_EQ(db.open(), 0);
  Index("/ubo::no_such_database");
  EXPECT_FALSE(db.is_open());
  EXPECT_NE(db.open(), 0);
  Index();
  EXPECT_EQ(db.open(), 0);

  // The setup connection serves the site it connects as.
  SetupSetup("/ubo", nullptr);
  CSetupDBComm& setup = *CSetupDBComm::getInstance();
  ASSERT_EQ(setup.open(), 0);
  SetupSetup("/tsu", nullptr);
  EXPECT_FALSE(setup.is_open());
  ASSERT_EQ(setup.open(), 0);
  ResultPtr modules(setup.get_dmod_diag_shot("Magnetics", 120100, 1));
  EXPECT_STREQ(modules->GetValue(0, 0), "tsu-we1");
  setup.Close();
  EXPECT_FALSE(setup.is_open());
  setup.Close();
}

TEST_F(ConnectionTest, OnlyKnownSitesWithThePasswordGetIn) {
  CIndexDBComm::setup("", "5432", "index", "ubo", "19981107quorblex4");
  EXPECT_NE(CIndexDBComm::getInstance()->open(), 0);
  EXPECT_FALSE(CIndexDBComm::getInstance()->is_open());
  CIndexDBComm::setup("", "5432", "index", "nosite", kPassword);
  EXPECT_NE(CIndexDBComm::getInstance()->open(), 0);
  CIndexDBComm::setup("", "5432", "index", "tovak_reader", kPassword);
  EXPECT_NE(CIndexDBComm::getInstance()->open(), 0);

  // The module's convention turns these into its status codes.
  EXPECT_EQ(IndexSession("/nosite").status(), TOVAK_E_INDEX_OPEN);
  EXPECT_EQ(SetupSession("/nosite").status(), TOVAK_E_SETUP_OPEN);
  EXPECT_EQ(IndexSession("/tsu").status(), 0);
}

TEST_F(ConnectionTest, SiteRolesCannotWrite) {
  Observer observer;
  ASSERT_TRUE(observer.connected());
  EXPECT_TRUE(observer.Run("INSERT INTO site VALUES (50, 'x')").has_value());
  // Read-only transactions are only the default; the grants are the guard.
  ASSERT_FALSE(observer.Run("SET default_transaction_read_only = off").has_value());
  EXPECT_TRUE(observer.Run("DELETE FROM host").has_value());
  EXPECT_TRUE(observer.Run("UPDATE dts_unit SET name = 'x'").has_value());
  EXPECT_TRUE(observer.Run("CREATE TABLE scratch (i integer)").has_value());
  EXPECT_FALSE(observer.Run("SELECT count(*) FROM dts_output").has_value());
}

TEST_F(ConnectionTest, ServersThatAreGoneOrSilentFailInBoundedTime) {
  CIndexDBComm::setup("/nonexistent-socket-dir", "5432", "index", "ubo", kPassword);
  EXPECT_NE(CIndexDBComm::getInstance()->open(), 0);

  ScopedEnv timeout("TOVAK_DB_CONNECT_TIMEOUT", "2");
  SilentServer silent;
  SetupSetup(("127.0.0.1:" + silent.port()).c_str(), nullptr);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_NE(CSetupDBComm::getInstance()->open(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_FALSE(CSetupDBComm::getInstance()->is_open());
}

TEST_F(ConnectionTest, FailedQueryHasStatusMinusOneAndNoRows) {
  // The index queries against the setup database: no such relations.
  CIndexDBComm& db = Index("/ubo::setup");
  ASSERT_EQ(db.open(), 0);
  ResultPtr link(db.get_DTS_information(101, 120100, 1, 1, 1));
  EXPECT_EQ(link->status, -1);
  EXPECT_EQ(link->GetLines(), 0);
  EXPECT_STREQ(link->GetValue(0, 0), "");
  EXPECT_EQ(db.get_site_id("ubo"), -1);
  EXPECT_EQ(db.get_DTS_HostID("fdts01"), -1);
  char* name = nullptr;
  EXPECT_EQ(db.get_host_name(11, &name), -2);
  EXPECT_EQ(name, nullptr);
  EXPECT_TRUE(db.is_open());  // a refused statement does not end the connection
}

TEST_F(ConnectionTest, DroppedConnectionIsReplacedOnTheNextQuery) {
  Observer observer;
  ASSERT_TRUE(observer.connected());
  IndexNoClosing(1);
  CIndexDBComm& db = Index();
  ASSERT_EQ(db.open(), 0);
  EXPECT_EQ(db.get_DTS_HostID("fdts01"), 11);  // prepared on this connection
  const std::vector<int> before = observer.LibraryBackends();
  ASSERT_EQ(before.size(), 1u);
  ASSERT_TRUE(observer.Terminate(before[0]));

  EXPECT_EQ(db.get_DTS_HostID("fdts01"), 11);
  ResultPtr rows(db.get_DTS_parameters(120100, 1, 11, "DMODSS0"));
  EXPECT_EQ(rows->GetLines(), 8);
  const std::vector<int> after = observer.LibraryBackends();
  ASSERT_EQ(after.size(), 1u);
  EXPECT_NE(after[0], before[0]);
  IndexNoClosing(0);
}

TEST_F(ConnectionTest, ServerRestartBetweenCallsOnAKeptConnection) {
  OwnCluster cluster;
  ASSERT_TRUE(cluster.Start());
  ScopedEnv host("PGHOST", cluster.socket());
  IndexNoClosing(1);
  CIndexDBComm& db = Index();
  ASSERT_EQ(db.open(), 0);
  EXPECT_EQ(db.get_site_id("ubo"), 1);

  ASSERT_TRUE(cluster.Stop());
  ASSERT_TRUE(cluster.Start());
  EXPECT_TRUE(db.is_open());  // not noticed before the next query
  EXPECT_EQ(db.get_site_id("tsu"), 2);

  ASSERT_TRUE(cluster.Stop());
  ResultPtr gone(db.get_DTS_information(101, 120100, 1, 1, 1));
  EXPECT_EQ(gone->status, -1);
  EXPECT_FALSE(db.is_open());
  EXPECT_NE(db.open(), 0);
  IndexNoClosing(0);
}

}  // namespace
}  // namespace tovak::testing
