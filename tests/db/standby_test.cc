// A primary and a hot standby of it (scripts/dbctl standby), with PGHOST
// listing the primary, then the standby. Each answers the lookups alone; with
// both listed, calls go on answering from the standby once the primary has
// stopped, within the connection time limit, whether the connection is kept
// open or closed after each call.
#include <gtest/gtest.h>
#include <libpq-fe.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "remote/helpers.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Clock = std::chrono::steady_clock;

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

const std::string kPrimary = Env("TOVAK_PG_PRIMARY"), kStandby = Env("TOVAK_PG_STANDBY");
const double kConnectTimeout = std::atof(Env("TOVAK_DB_CONNECT_TIMEOUT").c_str());
constexpr double kSlack = 30;  // room for a loaded machine under the sanitizers

// The demo answers of shot 120100, one lookup of each kind (link, time base,
// parameter list, the setup database's modules). Returns how long the slowest
// call took, or -1 when one answered wrong.
double Lookups() {
  double slowest = 0;
  auto timed = [&slowest](auto call) {
    const auto start = Clock::now();
    const bool right = call();
    slowest = std::max(slowest, std::chrono::duration<double>(Clock::now() - start).count());
    return right;
  };
  char t[5][256];
  short s[2];
  int n[5], preSample = -1, interval = 0;
  double period = 0, delay = 0;
  const bool right =
      timed([&] {
        return tovakGetDTSinfox("Magnetics", 120100, 1, 1, 3, nullptr, t[0], t[1], t[2], &s[0],
                                &s[1], &n[0], &n[1], t[3], &preSample, &n[2], &n[3], t[4]) == 0 &&
               preSample == 1000;
      }) &&
      timed([&] {
        return tovakGetDTSdatax2_ex("/ubo", "FPGA-DTS", "fdts01", "DMODSS0", "1", "FPGA-DTS",
                                    "fdts01", "DMODSS0", "7", &interval, 0, 120100, 1, "External",
                                    "", "1", "1000", 0, 1, 1, nullptr, &period, &delay) == 0 &&
               period == 1e-6 && delay == -1.001;
      }) &&
      timed([] {
        CParamSet set;
        return getDTSParameters(nullptr, "fdts01", "NONAME", 120100, 1, 7, set) == 0 &&
               set.GetString().find("HostName fdts01-ctl.ubo.example") != std::string::npos;
      }) &&
      timed([] {
        DTSmodule* modules = nullptr;
        int count = 0;
        const int status = tovakGetDTSdiagShot(nullptr, "Magnetics", 120100, 1, &modules, &count, 1);
        delete[] modules;
        return status == 0 && count == 2;
      });
  return right ? slowest : -1;
}

bool Dbctl(const std::string& command, const std::string& dir) {
  return std::system(("'" + Env("TOVAK_DBCTL") + "' " + command + " '" + dir + "' >/dev/null 2>&1")
                         .c_str()) == 0;
}

// The first cell of a statement's answer on the cluster in dir, as the
// tests' superuser; "" when there is none.
std::string Ask(const std::string& dir, const char* sql) {
  const std::string host = dir + "/socket";
  const char* const keywords[] = {"host", "dbname", "user", "password", nullptr};
  const char* const values[] = {host.c_str(), "index", "tovak_faults", "tovak_faults", nullptr};
  const std::unique_ptr<PGconn, void (*)(PGconn*)> conn(PQconnectdbParams(keywords, values, 0),
                                                        PQfinish);
  const std::unique_ptr<PGresult, void (*)(PGresult*)> result(PQexec(conn.get(), sql), PQclear);
  return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

class StandbyTest : public ::testing::Test {
 protected:
  void SetUp() override { setTovakProtocolV1(); }
  void TearDown() override { IndexNoClosing(0); }
};

TEST_F(StandbyTest, EachServerAnswersAlone) {
  const std::string both = Env("PGHOST");
  for (const std::string& dir : {kPrimary, kStandby}) {
    setenv("PGHOST", (dir + "/socket").c_str(), 1);
    for (const int keep : {0, 1}) {
      SCOPED_TRACE(dir + (keep ? " kept open" : " closed after each call"));
      IndexNoClosing(keep);
      EXPECT_GE(Lookups(), 0);
      IndexNoClosing(0);  // ends the connection: the next PGHOST is read afresh
    }
  }
  setenv("PGHOST", both.c_str(), 1);
}

TEST_F(StandbyTest, StandbyAnswersOnceThePrimaryStopped) {
  // The standby must hold what the primary holds before the primary goes.
  const std::string written = Ask(kPrimary, "SELECT pg_current_wal_lsn()");
  ASSERT_NE(written, "");
  ASSERT_TRUE(Eventually([&] {
    return Ask(kStandby, ("SELECT pg_last_wal_replay_lsn() >= '" + written + "'").c_str()) == "t";
  }));
  IndexNoClosing(1);
  ASSERT_GE(Lookups(), 0);  // from the primary, over a kept connection
  ASSERT_TRUE(Dbctl("stop", kPrimary));
  for (const int keep : {1, 0}) {
    SCOPED_TRACE(keep ? "kept open" : "closed after each call");
    IndexNoClosing(keep);
    const double seconds = Lookups();
    std::printf("failover %s: slowest call %.3f s\n", keep ? "kept open" : "close each call",
                seconds);
    EXPECT_GE(seconds, 0);
    EXPECT_LT(seconds, kConnectTimeout + kSlack);
  }
  EXPECT_TRUE(Dbctl("start", kPrimary));
}

}  // namespace
}  // namespace tovak::testing
