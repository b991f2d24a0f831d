// Faults of the database server while lookups run, on a cluster of the tests' own: each gives its
// status within the configured times; the call after recovery answers.
#include <gtest/gtest.h>
#include <libpq-fe.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>

#include "remote/harness.h"
#include "tovak/rdb.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Clock = std::chrono::steady_clock;
double Setting(const char* name) { return std::getenv(name) ? std::atof(std::getenv(name)) : 0; }
const double kQueryTimeout = Setting("TOVAK_DB_QUERY_TIMEOUT");
const double kConnectTimeout = Setting("TOVAK_DB_CONNECT_TIMEOUT");
constexpr double kSlack = 30;    // the bounds catch hangs under the sanitizers: no speed goals
constexpr double kEarly = 0.05;  // how much sooner than its time a deadline may end a wait

struct Lookup {
  int status, preSample;
  double seconds;
  bool ok() const { return status == 0 && preSample == 1000; }
};

// Magnetics module 1 channel 3 in shot 120100 (1000 pre-samples): site, diagnostic, link queries.
Lookup Link() {
  static thread_local char t[5][TOVAK_TEXT_BUFFER_SIZE];
  short n3, n4;
  int n[5] = {};
  const auto start = Clock::now();
  const int status = tovakGetDTSinfox("Magnetics", 120100, 1, 1, 3, nullptr, t[0], t[1], t[2], &n3,
                                      &n4, &n[0], &n[1], t[3], &n[2], &n[3], &n[4], t[4]);
  return {status, n[2], std::chrono::duration<double>(Clock::now() - start).count()};
}

// A lookup gives status (0: the answer) after at least least seconds, well within most.
void ExpectLookup(int status, double least, double most) {
  const Lookup lookup = Link();
  EXPECT_TRUE(status == 0 ? lookup.ok() : lookup.status == status) << lookup.status;
  EXPECT_GT(lookup.seconds, least - kEarly);
  EXPECT_LT(lookup.seconds, most + kSlack);
}

// "status count" of the modules of Magnetics (setup database).
std::string SetupLookup() {
  DTSmodule* modules = nullptr;
  int count = 0;
  const int status = tovakGetDTSdiagShot(nullptr, "Magnetics", 120100, 1, &modules, &count, 1);
  delete[] modules;
  return std::to_string(status) + " " + std::to_string(count);
}

const Cluster kDatabase(std::getenv("TOVAK_PG_DIR") ? std::getenv("TOVAK_PG_DIR") : "");

// The tests' superuser session on the index database.
class Admin {
  using Result = std::unique_ptr<PGresult, void (*)(PGresult*)>;

 public:
  Admin() : conn_(PQconnectdb("dbname=index user=tovak_faults password=tovak_faults"), PQfinish) {}
  // The first cell of the answer ("" without one); with await, once it is neither "" nor "f".
  std::string Run(const std::string& sql, bool await = false) {
    std::string cell;
    const auto ask = [&] {
      const Result result(PQexec(conn_.get(), sql.c_str()), PQclear);
      cell = PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
      return !await || (cell != "" && cell != "f");
    };
    return Eventually(ask) ? cell : "";
  }
  // The library's newest index session other than besides, waiting for a lock if asked; 0: none.
  int Session(bool lockWaiter = false, int besides = 0) {
    const std::string sql =
        "SELECT pid FROM pg_stat_activity WHERE application_name = 'tovak'"
        " AND datname = 'index' AND pid <> " +
        std::to_string(besides) + (lockWaiter ? " AND wait_event_type = 'Lock'" : "") +
        " ORDER BY backend_start DESC";
    return std::atoi(Run(sql, lockWaiter).c_str());
  }
  // Ends the session (if asked) and waits until it is gone.
  bool Ended(int pid, bool end = false) {
    const std::string id = std::to_string(pid);
    if (end) Run("SELECT pg_terminate_backend(" + id + ")");
    return Run("SELECT count(*) = 0 FROM pg_stat_activity WHERE pid=" + id, true) == "t";
  }
  // Holds the link table until Run("COMMIT"): the library's link query waits.
  void LockLinks() { Run("BEGIN; LOCK TABLE dts_link IN ACCESS EXCLUSIVE MODE"); }

 private:
  std::unique_ptr<PGconn, void (*)(PGconn*)> conn_;
};

class DbFaultTest : public ::testing::TestWithParam<int> {  // close after each call, keep open
 protected:
  void SetUp() override {
    setTovakProtocolV1();
    IndexNoClosing(GetParam());
    ASSERT_TRUE(Link().ok());
  }
  void TearDown() override { IndexNoClosing(0); }
};
const auto kName = [](const auto& info) { return info.param ? "KeptOpen" : "Closed"; };
INSTANTIATE_TEST_SUITE_P(Connection, DbFaultTest, ::testing::Values(0, 1), kName);
class DbFaultKeptTest : public DbFaultTest {};  // cases of a kept connection alone
INSTANTIATE_TEST_SUITE_P(Connection, DbFaultKeptTest, ::testing::Values(1), kName);

TEST_P(DbFaultTest, ServerStoppedAndRestarted) {
  ASSERT_TRUE(kDatabase.Dbctl("stop"));
  ExpectLookup(TOVAK_E_INDEX_OPEN, 0, kConnectTimeout);  // a kept session reads as closed
  EXPECT_EQ(SetupLookup(), "-140 0");
  ASSERT_TRUE(kDatabase.Dbctl("start"));
  EXPECT_TRUE(Link().ok());
  EXPECT_EQ(SetupLookup(), "0 2");
}

TEST_P(DbFaultTest, QueryBlockedByALockRunsOutOfTime) {
  Admin admin, locker;  // the locker's transaction would freeze the admin's view
  locker.LockLinks();
  ExpectLookup(TOVAK_E_NO_DTS_INFO, kQueryTimeout, kQueryTimeout);  // the ids come from the cache
  // The server gave up the statement too: no session is left waiting.
  EXPECT_EQ(admin.Run("SELECT NOT EXISTS (SELECT FROM pg_stat_activity WHERE"
                      " application_name = 'tovak' AND wait_event_type = 'Lock')",
                      true),
            "t");
  locker.Run("COMMIT");
  EXPECT_TRUE(Link().ok());
}

TEST_P(DbFaultTest, SessionEndedByTheServerIsReplaced) {
  setenv("TOVAK_DB_QUERY_TIMEOUT", "20", 1);  // room for the steps while the query waits
  Admin admin, locker;
  // Ended during the query: the one retry, on a fresh session, answers.
  locker.LockLinks();
  std::future<Lookup> lookup = std::async(std::launch::async, Link);
  const int first = admin.Session(true);
  admin.Run("SELECT pg_terminate_backend(" + std::to_string(first) + ")");
  const int retry = admin.Session(true, first);
  locker.Run("COMMIT");
  EXPECT_TRUE(first > 0 && retry > 0) << first << " " << retry;
  EXPECT_TRUE(lookup.get().ok());
  // Ended between calls: a query sent on it is retried; a call notices it before its first query.
  if (GetParam()) {
    EXPECT_TRUE(admin.Ended(admin.Session(), true));
    const std::unique_ptr<CRDBres> link(
        CIndexDBComm::getInstance()->get_DTS_information(101, 120100, 1, 1, 3));
    EXPECT_EQ(link->GetLines(), 1);
    EXPECT_TRUE(admin.Ended(admin.Session(), true));
  }
  EXPECT_TRUE(Link().ok());
  setenv("TOVAK_DB_QUERY_TIMEOUT", std::to_string(static_cast<int>(kQueryTimeout)).c_str(), 1);
}

TEST_P(DbFaultKeptTest, PausedProcessesRunOutOfTime) {
  Admin admin;
  const int backend = admin.Session();
  ASSERT_GT(backend, 0);
  {
    const Stopped paused({backend});
    ASSERT_TRUE(paused.ok());
    ExpectLookup(TOVAK_E_NO_DTS_INFO, kQueryTimeout, kQueryTimeout);
  }
  EXPECT_TRUE(admin.Ended(backend));  // the abandoned session ends once it runs again
  ASSERT_TRUE(Link().ok());           // on a fresh session
  {
    const Stopped paused({kDatabase.Postmaster()});
    ASSERT_TRUE(paused.ok());
    EXPECT_TRUE(Link().ok());  // the open session needs no postmaster
    IndexNoClosing(0);
    ExpectLookup(TOVAK_E_INDEX_OPEN, 0, kConnectTimeout);
  }
  EXPECT_TRUE(Link().ok());
}

// Kept ids never outlive a change of the catalog: a diagnostic's name moves to another id and back.
TEST_P(DbFaultKeptTest, KeptIdsFollowCatalogChanges) {
  Admin admin;
  admin.Run(
      "BEGIN; UPDATE diag SET name = 'Magnetics-old' WHERE diag_id = 101;"
      " INSERT INTO diag VALUES (901, 1, 'Magnetics');"
      " INSERT INTO dts_link SELECT 901, first_shot, last_shot, sub_shot, ch_key1, ch_key2,"
      " dts_kind, trigger_unit, trigger_module, clock_output, trigger_output, ext_clock,"
      " clock_source, int_clock, record_length, 'PreSample 7' FROM dts_link"
      " WHERE diag_id = 101; COMMIT");
  EXPECT_EQ(Link().preSample, 7);
  admin.Run(
      "BEGIN; DELETE FROM dts_link WHERE diag_id = 901; DELETE FROM diag WHERE diag_id = 901;"
      " UPDATE diag SET name = 'Magnetics' WHERE diag_id = 101; COMMIT");
  EXPECT_TRUE(Link().ok());
}

}  // namespace
}  // namespace tovak::testing
