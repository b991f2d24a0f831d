#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "doubles/companions.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Params = ScriptedIndexDb::SetupCall;

void ExpectSetup(const Params& got, const std::string& host, const std::string& port,
                 const std::string& database, const std::string& user) {
  EXPECT_EQ(got.host, host);
  EXPECT_EQ(got.port, port);
  EXPECT_EQ(got.database, database);
  EXPECT_EQ(got.user, user);
  EXPECT_EQ(got.password, "19981107quorblex3");
}

class ServerNameTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    unsetenv("INDEXSERVERNAME");
    unsetenv("SETUPSERVERNAME");
  }

  Params Index(const char* server, std::string* site = nullptr) {
    char buffer[32];
    std::memset(buffer, 'x', sizeof buffer);
    IndexSetup(server, site ? buffer : nullptr);
    if (site) *site = buffer;
    return IndexDb().setups.back();
  }

  Params SetupDbName(const char* server) {
    SetupSetup(server, nullptr);
    return SetupDb().setups.back();
  }
};

TEST_F(ServerNameTest, IndexNames) {
  std::string site;
  ExpectSetup(Index("dbhost/UBO::tsdb", &site), "dbhost", "5432", "tsdb", "ubo");
  EXPECT_EQ(site, "ubo");
  ExpectSetup(Index("dbhost::tsdb/ubo"), "dbhost", "5432", "tsdb/ubo", "ubo");
  ExpectSetup(Index("dbhost:5433"), "dbhost:5433", "5432", "index", "ubo");
  ExpectSetup(Index("dbhost/", &site), "dbhost", "5432", "index", "");
  EXPECT_EQ(site, "");
  ExpectSetup(Index("dbhost::"), "dbhost", "5432", "", "ubo");
  ExpectSetup(Index("dbhost/Lab2"), "dbhost", "5432", "index", "lab2");
}

TEST_F(ServerNameTest, IndexNameFromEnvironmentWhenNullOrEmpty) {
  ExpectSetup(Index(nullptr), "", "5432", "index", "ubo");
  ExpectSetup(Index(""), "", "5432", "index", "ubo");
  setenv("INDEXSERVERNAME", "envhost/Env::envdb", 1);
  ExpectSetup(Index(nullptr), "envhost", "5432", "envdb", "env");
  ExpectSetup(Index(""), "envhost", "5432", "envdb", "env");
  ExpectSetup(Index("given"), "given", "5432", "index", "ubo");
}

TEST_F(ServerNameTest, LongSiteIsCutInTheSiteBuffer) {
  const std::string longSite(40, 'S');
  char buffer[48];
  std::memset(buffer, 'x', sizeof buffer);
  IndexSetup(("h/" + longSite).c_str(), buffer);
  EXPECT_EQ(std::string(buffer), std::string(31, 's'));
  EXPECT_EQ(buffer[32], 'x');  // nothing written past the 32-byte site buffer
  EXPECT_EQ(IndexDb().setups.back().user, std::string(40, 's'));
}

TEST_F(ServerNameTest, SetupNames) {
  ExpectSetup(SetupDbName("dbhost"), "dbhost", "5432", "setup", "ubo");
  ExpectSetup(SetupDbName("dbhost::sdb"), "dbhost", "5432", "sdb", "ubo");
  ExpectSetup(SetupDbName("dbhost:5433"), "dbhost", "5433", "setup", "ubo");
  ExpectSetup(SetupDbName("dbhost:5433:sdb"), "dbhost", "5433", "sdb", "ubo");
  ExpectSetup(SetupDbName("dbhost/Site:5433:sdb"), "dbhost", "5433", "sdb", "site");
  ExpectSetup(SetupDbName("dbhost:"), "dbhost", "", "setup", "ubo");
  ExpectSetup(SetupDbName("dbhost:1:a:b"), "dbhost", "1", "a:b", "ubo");
  setenv("SETUPSERVERNAME", "senv::x", 1);
  ExpectSetup(SetupDbName(nullptr), "senv", "5432", "x", "ubo");
}

}  // namespace
}  // namespace tovak::testing
