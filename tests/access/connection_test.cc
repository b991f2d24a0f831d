#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "access/session.h"
#include "access/state.h"
#include "doubles/companions.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Log = std::vector<std::string>;
using ConnectionTest = CompanionTest;

TEST_F(ConnectionTest, KeepOpenThenCloseUnderV1) {
  IndexSetup("h", nullptr);
  EXPECT_EQ(IndexNoClosing(1), 0);
  EXPECT_FALSE(CIndexDBComm::swCloseEachTime);
  EXPECT_EQ(CurrentProtocol, 0);  // decided here, from the configuration alone
  EXPECT_EQ(IndexNoClosing(2), 0);
  EXPECT_FALSE(CIndexDBComm::swCloseEachTime);
  EXPECT_EQ(IndexNoClosing(0), 0);
  EXPECT_TRUE(CIndexDBComm::swCloseEachTime);
  EXPECT_EQ(IndexDb().forceCloseCalls, 1);
  EXPECT_EQ(IndexDb().log, (Log{"ForceClose(1)"}));
}

TEST_F(ConnectionTest, CloseModeWithoutConnectionObject) {
  setTovakProtocolV1();
  CIndexDBComm::swCloseEachTime = false;
  EXPECT_EQ(IndexNoClosing(0), 0);
  EXPECT_TRUE(CIndexDBComm::swCloseEachTime);
}

TEST_F(ConnectionTest, RemoteProtocolReleasesOnModeZeroOnly) {
  SetConfig("KOVD_GRPC", "grpc://srv:1");
  EXPECT_EQ(IndexNoClosing(1), 0);
  EXPECT_EQ(ReleaseCalls(), 0);
  EXPECT_STREQ(ServerV2Name, "grpc://srv:1");
  EXPECT_EQ(IndexNoClosing(0), 0);
  EXPECT_EQ(ReleaseCalls(), 1);
  EXPECT_TRUE(CIndexDBComm::swCloseEachTime);  // the database switch is not touched
}

TEST_F(ConnectionTest, HostIdByKind) {
  IndexSetup("h", nullptr);
  ScriptedIndexDb& db = IndexDb();
  db.hostId = [](const std::string&) { return 11; };
  db.camacId = [](const std::string&) { return 22; };
  CIndexDBComm* conn = CIndexDBComm::getInstance();
  EXPECT_EQ(get_dmod_host_id(conn, "FPGA-DTS", "a"), 11);
  EXPECT_EQ(get_dmod_host_id(conn, "VME-DTS", "b"), 11);
  EXPECT_EQ(get_dmod_host_id(conn, "CAMAC-DTS", "c"), 22);
  EXPECT_EQ(get_dmod_host_id(conn, "VME", "d"), 11);
  EXPECT_EQ(get_dmod_host_id(conn, "FPGA", "e"), 11);
  EXPECT_EQ(get_dmod_host_id(conn, "CAMAC", "f"), 22);
  EXPECT_EQ(get_dmod_host_id(conn, "VME-DTS ", "g"), -1);
  EXPECT_EQ(get_dmod_host_id(conn, "fpga", "h"), -1);
  EXPECT_EQ(get_dmod_host_id(conn, "FPGA-DTS2", "i"), -1);
  EXPECT_EQ(get_dmod_host_id(conn, "FPGA", nullptr), -1);
  EXPECT_EQ(db.log, (Log{"get_DTS_HostID(a)", "get_DTS_HostID(b)", "get_DTS_CAMACID(c)",
                         "get_DTS_HostID(d)", "get_DTS_HostID(e)", "get_DTS_CAMACID(f)"}));
  db.hostId = [](const std::string&) { return -4; };
  EXPECT_EQ(get_dmod_host_id(conn, "VME", "x"), -4);  // negative answers pass through
}

TEST_F(ConnectionTest, SessionOpensOnlyWhenClosedAndClosesOnExit) {
  {
    IndexSession session("h");
    EXPECT_EQ(session.status(), 0);
  }
  IndexDb().connected = true;
  CIndexDBComm::swCloseEachTime = false;
  { IndexSession session("h"); }
  EXPECT_EQ(IndexDb().log, (Log{"open", "Close", "Close"}));
}

TEST_F(ConnectionTest, SessionOpenFailureClosesOnce) {
  IndexDb().openResult = 1;
  {
    IndexSession session("h");
    EXPECT_EQ(session.status(), TOVAK_E_INDEX_OPEN);
  }
  SetupDb().openResult = 1;
  {
    SetupSession session("h", CloseMode::kNever);
    EXPECT_EQ(session.status(), TOVAK_E_SETUP_OPEN);
  }
  EXPECT_EQ(IndexDb().log, (Log{"open", "Close"}));
  EXPECT_EQ(SetupDb().log, (Log{"open", "Close"}));
}

TEST_F(ConnectionTest, SessionThatKeepsTheConnection) {
  { SetupSession session("h", CloseMode::kNever); }
  EXPECT_EQ(SetupDb().log, (Log{"open"}));
}

}  // namespace
}  // namespace tovak::testing
