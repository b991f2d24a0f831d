// Faults of the database server while lookups run, on a cluster of the tests'
// own: stopped and restarted, paused, locked out, sessions ended. Each fault
// gives its status within the configured times, and the call after recovery
// succeeds, with the connection kept open and with close-after-each-call.
// With a hot standby listed after it, the standby answers once it stopped.
#include <gtest/gtest.h>
#include <libpq-fe.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "remote/harness.h"
#include "tovak/rdb.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Clock = std::chrono::steady_clock;

double Setting(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::atof(value) : 0;
}

// The timeouts of the test's environment. kSlack is room for a loaded machine
// under the sanitizers: the bounds catch hangs, they are no speed goals.
const double kQueryTimeout = Setting("TOVAK_DB_QUERY_TIMEOUT");
const double kConnectTimeout = Setting("TOVAK_DB_CONNECT_TIMEOUT");
constexpr double kSlack = 30;
constexpr double kEarly = 0.05;  // how much sooner than its time a deadline may end a wait

struct Lookup {
  int status;
  double seconds;
  int preSample;
};

// Magnetics module 1 channel 3 in shot 120100, 1000 pre-samples, through the
// public call: the site, diagnostic and link queries.
Lookup LinkLookup() {
  char kind[256], text1[256], text2[256], source[256], word3[256];
  short num3, num4;
  int clock, num8, interval, hostId, preSample = -1;
  const auto start = Clock::now();
  const int status =
      tovakGetDTSinfox("Magnetics", 120100, 1, 1, 3, nullptr, kind, text1, text2, &num3, &num4,
                       &clock, &num8, source, &preSample, &interval, &hostId, word3);
  return {status, std::chrono::duration<double>(Clock::now() - start).count(), preSample};
}

bool Answered(const Lookup& lookup) { return lookup.status == 0 && lookup.preSample == 1000; }

// The modules of Magnetics from the setup database: status and count.
std::string SetupLookup() {
  DTSmodule* modules = nullptr;
  int count = 0;
  const int status = tovakGetDTSdiagShot(nullptr, "Magnetics", 120100, 1, &modules, &count, 1);
  delete[] modules;
  return std::to_string(status) + " " + std::to_string(count);
}

// The fixture's cluster.
Cluster& Database() {
  static Cluster cluster(std::getenv("TOVAK_PG_DIR"));
  return cluster;
}
bool Dbctl(const std::string& command) { return Database().Dbctl(command); }

// The tests' superuser session on the index database (host "": PGHOST's first).
class Admin {
 public:
  explicit Admin(const std::string& host = "") {
    const char* const keywords[] = {"host", "dbname", "user", "password", nullptr};
    const char* const values[] = {host.c_str(), "index", "tovak_faults", "tovak_faults", nullptr};
    conn_.reset(PQconnectdbParams(keywords, values, 0));
  }
  bool ok() const { return PQstatus(conn_.get()) == CONNECTION_OK; }

  // The first cell of the statement's answer; "" without one.
  std::string Run(const std::string& sql) {
    const std::unique_ptr<PGresult, void (*)(PGresult*)> result(PQexec(conn_.get(), sql.c_str()),
                                                                PQclear);
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
  }

  // Asks until the statement answers a first cell other than "" and "f";
  // that cell, or "" when it never came.
  std::string Await(const std::string& sql) {
    std::string cell;
    return Eventually([&] { return (cell = Run(sql)) != "" && cell != "f"; }) ? cell : "";
  }

  // The library's newest index session (ended ones may linger); with `lockWaiter`,
  // one waiting for a lock other than `besides`. 0 when there is none (yet).
  int Session(bool lockWaiter = false, int besides = 0) {
    const std::string sql =
        "SELECT pid FROM pg_stat_activity WHERE application_name = 'tovak'"
        " AND datname = 'index' AND pid <> " +
        std::to_string(besides) + (lockWaiter ? " AND wait_event_type = 'Lock'" : "") +
        " ORDER BY backend_start DESC";
    return std::atoi((lockWaiter ? Await(sql) : Run(sql)).c_str());
  }

  // Holds the link table until Run("COMMIT"): the library's link query waits.
  void LockLinkTable() {
    Run("BEGIN");
    Run("LOCK TABLE dts_link IN ACCESS EXCLUSIVE MODE");
  }

  bool Ended(int pid) {
    return Await("SELECT NOT EXISTS (SELECT FROM pg_stat_activity WHERE pid = " +
                 std::to_string(pid) + ")") == "t";
  }

 private:
  std::unique_ptr<PGconn, void (*)(PGconn*)> conn_{nullptr, PQfinish};
};

void EndIdleSession(Admin& admin) {
  const int idle = admin.Session();
  ASSERT_GT(idle, 0);
  admin.Run("SELECT pg_terminate_backend(" + std::to_string(idle) + ")");
  EXPECT_TRUE(admin.Ended(idle));
}

class DbFaultTest : public ::testing::Test {
 protected:
  void SetUp() override { setTovakProtocolV1(); }
  void TearDown() override { IndexNoClosing(0); }
};

constexpr int kModes[] = {0, 1};  // close after each call, keep open

const char* ModeName(int keep) { return keep ? "kept open" : "closed after each call"; }

TEST_F(DbFaultTest, ServerStoppedBetweenCallsAndRestarted) {
  for (const int keep : kModes) {
    SCOPED_TRACE(ModeName(keep));
    IndexNoClosing(keep);
    EXPECT_TRUE(Answered(LinkLookup()));
    ASSERT_TRUE(Dbctl("stop"));
    // A kept connection the server ended reads as closed: opening it again fails.
    const Lookup down = LinkLookup();
    EXPECT_EQ(down.status, TOVAK_E_INDEX_OPEN);
    EXPECT_LT(down.seconds, kConnectTimeout + kSlack);
    EXPECT_EQ(SetupLookup(), "-140 0");
    ASSERT_TRUE(Dbctl("start"));
    EXPECT_TRUE(Answered(LinkLookup()));
    EXPECT_EQ(SetupLookup(), "0 2");
    IndexNoClosing(0);
  }
}

TEST_F(DbFaultTest, ServerStoppedDuringARunOfCalls) {
  for (const int keep : kModes) {
    SCOPED_TRACE(ModeName(keep));
    IndexNoClosing(keep);
    std::atomic<bool> done = false;
    std::atomic<int> answered = 0, failed = 0;
    std::vector<Lookup> calls;
    std::thread run([&] {
      while (!done) {
        calls.push_back(LinkLookup());
        ++(Answered(calls.back()) ? answered : failed);
      }
    });
    // Stopped while calls are answered, started again once one failed.
    EXPECT_TRUE(Eventually([&] { return answered > 0; }));
    const bool stopped = Dbctl("stop");
    EXPECT_TRUE(Eventually([&] { return failed > 0; })) << "no call met the stopped server";
    const int answeredBefore = answered;
    const bool started = Dbctl("start");
    EXPECT_TRUE(Eventually([&] { return answered >= answeredBefore + 10; }));
    done = true;
    run.join();
    ASSERT_TRUE(stopped && started);
    // A call in flight when the server went fails with its query's status (the
    // site query's, the link query's); later ones cannot open the database.
    const std::set<int> expected = {0, TOVAK_E_INDEX_OPEN, TOVAK_E_UNKNOWN_DIAG,
                                    TOVAK_E_NO_DTS_INFO};
    for (const Lookup& call : calls) {
      EXPECT_TRUE(expected.contains(call.status)) << call.status;
      EXPECT_LT(call.seconds, kConnectTimeout + kQueryTimeout + kSlack);
    }
    IndexNoClosing(0);
  }
}

TEST_F(DbFaultTest, PausedBackendRunsOutOfTime) {
  IndexNoClosing(1);
  ASSERT_TRUE(Answered(LinkLookup()));
  Admin admin;
  ASSERT_TRUE(admin.ok());
  const int backend = admin.Session();
  ASSERT_GT(backend, 0);
  {
    const Stopped paused({backend});
    ASSERT_TRUE(paused.ok());
    const Lookup stuck = LinkLookup();
    // The ids come from the cache: the link query is the one that failed.
    EXPECT_EQ(stuck.status, TOVAK_E_NO_DTS_INFO);
    EXPECT_GT(stuck.seconds, kQueryTimeout - kEarly);
    EXPECT_LT(stuck.seconds, kQueryTimeout + kSlack);
  }
  // The abandoned session ends once it runs again; the next call connects afresh.
  EXPECT_TRUE(admin.Ended(backend));
  EXPECT_TRUE(Answered(LinkLookup()));
}

TEST_F(DbFaultTest, PausedPostmasterRefusesNewConnectionsOnly) {
  IndexNoClosing(1);
  ASSERT_TRUE(Answered(LinkLookup()));
  {
    const Stopped paused({Database().Postmaster()});
    ASSERT_TRUE(paused.ok());
    EXPECT_TRUE(Answered(LinkLookup()));  // the open session needs no postmaster
    IndexNoClosing(0);
    const Lookup refused = LinkLookup();
    EXPECT_EQ(refused.status, TOVAK_E_INDEX_OPEN);
    EXPECT_LT(refused.seconds, kConnectTimeout + kSlack);
  }
  EXPECT_TRUE(Answered(LinkLookup()));
}

TEST_F(DbFaultTest, QueryBlockedByALockRunsOutOfTime) {
  Admin admin, locker;  // the locker's transaction would freeze the admin's view
  ASSERT_TRUE(admin.ok() && locker.ok());
  for (const int keep : kModes) {
    SCOPED_TRACE(ModeName(keep));
    IndexNoClosing(keep);
    ASSERT_TRUE(Answered(LinkLookup()));
    locker.LockLinkTable();
    const Lookup blocked = LinkLookup();
    EXPECT_EQ(blocked.status, TOVAK_E_NO_DTS_INFO);  // the link query failed
    EXPECT_GT(blocked.seconds, kQueryTimeout - kEarly);
    EXPECT_LT(blocked.seconds, kQueryTimeout + kSlack);
    // The server gave up the statement too: no session is left waiting.
    EXPECT_EQ(admin.Await("SELECT NOT EXISTS (SELECT FROM pg_stat_activity WHERE"
                          " application_name = 'tovak' AND wait_event_type = 'Lock')"),
              "t");
    locker.Run("COMMIT");
    EXPECT_TRUE(Answered(LinkLookup()));
    IndexNoClosing(0);
  }
}

// Ids kept between lookups never outlive a change of the catalog: the
// diagnostic's name moves to another id and back.
TEST_F(DbFaultTest, KeptIdsFollowCatalogChanges) {
  IndexNoClosing(1);
  ASSERT_TRUE(Answered(LinkLookup()));
  Admin admin;
  ASSERT_TRUE(admin.ok());
  admin.Run(
      "BEGIN; UPDATE diag SET name = 'Magnetics-old' WHERE diag_id = 101;"
      " INSERT INTO diag VALUES (901, 1, 'Magnetics');"
      " INSERT INTO dts_link SELECT 901, first_shot, last_shot, sub_shot, ch_key1, ch_key2,"
      " dts_kind, trigger_unit, trigger_module, clock_output, trigger_output, ext_clock,"
      " clock_source, int_clock, record_length, 'PreSample 7' FROM dts_link"
      " WHERE diag_id = 101; COMMIT");
  EXPECT_EQ(LinkLookup().preSample, 7);
  admin.Run(
      "BEGIN; DELETE FROM dts_link WHERE diag_id = 901; DELETE FROM diag WHERE diag_id = 901;"
      " UPDATE diag SET name = 'Magnetics' WHERE diag_id = 101; COMMIT");
  EXPECT_TRUE(Answered(LinkLookup()));
}

TEST_F(DbFaultTest, SessionEndedByTheServerIsReplaced) {
  setenv("TOVAK_DB_QUERY_TIMEOUT", "20", 1);  // room for the steps while the query waits
  Admin admin, locker;  // the locker's transaction would freeze the admin's view
  ASSERT_TRUE(admin.ok() && locker.ok());
  for (const int keep : kModes) {
    SCOPED_TRACE(ModeName(keep));
    IndexNoClosing(keep);
    ASSERT_TRUE(Answered(LinkLookup()));
    // Ended during the query: the one retry, on a fresh session, answers.
    locker.LockLinkTable();
    std::future<Lookup> lookup = std::async(std::launch::async, LinkLookup);
    const int first = admin.Session(true);
    admin.Run("SELECT pg_terminate_backend(" + std::to_string(first) + ")");
    const int retry = admin.Session(true, first);
    locker.Run("COMMIT");
    EXPECT_GT(first, 0);
    EXPECT_GT(retry, 0);
    EXPECT_TRUE(Answered(lookup.get()));
    // Ended between calls: a query sent on it is retried; a call notices it
    // before its first query.
    if (keep) {
      EndIdleSession(admin);
      const std::unique_ptr<CRDBres> link(
          CIndexDBComm::getInstance()->get_DTS_information(101, 120100, 1, 1, 3));
      EXPECT_EQ(link->GetLines(), 1);
      EndIdleSession(admin);
    }
    EXPECT_TRUE(Answered(LinkLookup()));
    IndexNoClosing(0);
  }
  setenv("TOVAK_DB_QUERY_TIMEOUT", std::to_string(static_cast<int>(kQueryTimeout)).c_str(), 1);
}

TEST_F(DbFaultTest, StandbyListedAfterTheServerAnswersOnceItStopped) {
  const std::string primary = std::getenv("PGHOST");
  const std::string standby = std::string(std::getenv("TOVAK_PG_DIR")) + "-standby/socket";
  setenv("PGHOST", (primary + "," + standby).c_str(), 1);
  // The standby must hold all the server wrote before the server goes.
  const std::string written = Admin().Run("SELECT pg_current_wal_lsn()");
  EXPECT_EQ(Admin(standby).Await("SELECT pg_last_wal_replay_lsn() >= '" + written + "'"), "t");
  IndexNoClosing(1);
  ASSERT_TRUE(Answered(LinkLookup()));
  ASSERT_TRUE(Dbctl("stop"));
  for (const int keep : {1, 0}) {
    SCOPED_TRACE(ModeName(keep));
    IndexNoClosing(keep);
    const Lookup lookup = LinkLookup();
    EXPECT_TRUE(Answered(lookup));
    EXPECT_LT(lookup.seconds, kConnectTimeout + kSlack);
    EXPECT_EQ(SetupLookup(), "0 2");
  }
  EXPECT_TRUE(Dbctl("start"));
  setenv("PGHOST", primary.c_str(), 1);
}

}  // namespace
}  // namespace tovak::testing
