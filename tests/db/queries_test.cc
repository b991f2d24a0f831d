// Every query of the index and setup databases against the demo experiment
// and the odd rows of odd_data.sql, through the library's own connection
// set-up (IndexSetup / SetupSetup with the environment's server names).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tovak/rdb.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Row = std::vector<std::string>;
using Rows = std::vector<Row>;
using ResultPtr = std::unique_ptr<CRDBres>;

Rows Cells(const CRDBres& result, int columns) {
  Rows rows;
  for (int r = 0; r < result.GetLines(); ++r) {
    Row row;
    for (int c = 0; c < columns; ++c) row.emplace_back(result.GetValue(r, c));
    rows.push_back(row);
  }
  return rows;
}

unsigned Unsigned(int value) { return static_cast<unsigned>(value); }

class QueryTest : public ::testing::Test {
 protected:
  void SetUp() override { Connect(nullptr); }
  void TearDown() override {
    if (CIndexDBComm* db = CIndexDBComm::getInstance()) db->ForceClose(1);
    if (CSetupDBComm* db = CSetupDBComm::getInstance()) db->ForceClose(1);
  }

  // The index connection for a server name (null: INDEXSERVERNAME).
  void Connect(const char* server) {
    IndexSetup(server, nullptr);
    db_ = CIndexDBComm::getInstance();
    ASSERT_NE(db_, nullptr);
    ASSERT_EQ(db_->open(), 0);
  }

  CSetupDBComm& Setup(const char* server) {
    SetupSetup(server, nullptr);
    CSetupDBComm* db = CSetupDBComm::getInstance();
    EXPECT_NE(db, nullptr);
    EXPECT_EQ(db->open(), 0);
    return *db;
  }

  CIndexDBComm* db_ = nullptr;
};

TEST_F(QueryTest, LinkRowFollowsTheShotAndSubShot) {
  ResultPtr now(db_->get_DTS_information(101, 120100, 1, 1, 3));
  EXPECT_EQ(now->status, 0);
  EXPECT_EQ(Cells(*now, 10),
            (Rows{{"FPGA-DTS", "fdts01", "DMODSS0", "7", "1", "1", "External", "0",
                   "2000000", "PreSample 1000"}}));
  EXPECT_STREQ(now->GetValue(0, 10), "");
  EXPECT_STREQ(now->GetValue(1, 0), "");
  EXPECT_STREQ(now->GetValue(-1, 0), "");

  // Before shot 120050 the first settings held; before 120000 nothing did.
  ResultPtr earlier(db_->get_DTS_information(101, 120049, 1, 2, 8));
  EXPECT_STREQ(earlier->GetValue(0, 8), "1500000");
  EXPECT_STREQ(earlier->GetValue(0, 9), "PreSample 500");
  ResultPtr before(db_->get_DTS_information(101, 119999, 1, 1, 3));
  EXPECT_EQ(before->status, -2);
  EXPECT_EQ(before->GetLines(), 0);
  EXPECT_STREQ(before->GetValue(0, 0), "");

  // A sub-shot of its own wins over the row for every sub-shot.
  ResultPtr sub1(db_->get_DTS_information(102, 120100, 1, 1, 1));
  ResultPtr sub2(db_->get_DTS_information(102, 120100, 2, 1, 1));
  EXPECT_STREQ(sub1->GetValue(0, 7), "100000");
  EXPECT_STREQ(sub2->GetValue(0, 7), "0");
  EXPECT_STREQ(sub2->GetValue(0, 9), "PreSample 100 SampInterval 20000");

  ResultPtr noChannel(db_->get_DTS_information(101, 120100, 1, 3, 1));
  EXPECT_EQ(noChannel->status, -2);
}

TEST_F(QueryTest, LinkRowOfNegativeKeysAndEmptyCells) {
  Connect("/odd");
  // Sign-extended 16-bit -1 keys and sub-shot, as the lookups pass them.
  ResultPtr keys(db_->get_DTS_information(901, 5, 1, Unsigned(-1), Unsigned(-1)));
  EXPECT_STREQ(keys->GetValue(0, 9), "PreSample 1");
  ResultPtr sub(db_->get_DTS_information(901, 5, Unsigned(-1), 1, 1));
  EXPECT_STREQ(sub->GetValue(0, 1), "sub-shot minus one");

  ResultPtr empty(db_->get_DTS_information(901, 5, 1, 1, 2));
  EXPECT_EQ(empty->status, 0);
  EXPECT_EQ(Cells(*empty, 10), (Rows{Row(10, "")}));

  ResultPtr blanks(db_->get_DTS_information(901, 5, 1, 1, 1));
  EXPECT_EQ(Cells(*blanks, 4), (Rows{{"  FPGA-DTS  ", "  unit A  ", "mod\\1", "12abc"}}));
  ResultPtr longCells(db_->get_DTS_information(901, 5, 1, 1, 5));
  EXPECT_EQ(std::string(longCells->GetValue(0, 0)), std::string(300, 'K'));
}

TEST_F(QueryTest, ParameterRowsInOutputOrder) {
  ResultPtr rows(db_->get_DTS_parameters(120100, 1, 11, "DMODSS0"));
  ASSERT_EQ(rows->status, 0);
  const Rows cells = Cells(*rows, 8);
  ASSERT_EQ(cells.size(), 8u);
  EXPECT_EQ(cells[0], (Row{"1189999950", "0", "0", "100", "1", "10000000", "20", "30"}));
  EXPECT_EQ(cells[6], (Row{"1189999900", "100", "10", "5", "0", "10000000", "20", "30"}));
  EXPECT_EQ(cells[7][1], "1000");
  EXPECT_EQ(cells[7][2], "4");

  ResultPtr earlier(db_->get_DTS_parameters(120000, 1, 11, "DMODSS0"));
  EXPECT_STREQ(earlier->GetValue(0, 0), "1194999950");
  EXPECT_STREQ(earlier->GetValue(1, 0), "1199999950");
  ResultPtr bolometerRepeat(db_->get_DTS_parameters(120100, 2, 11, "DMODSS0"));
  EXPECT_STREQ(bolometerRepeat->GetValue(1, 0), "1209999950");
  EXPECT_STREQ(bolometerRepeat->GetValue(0, 0), "1189999950");

  ResultPtr camac(db_->get_DTS_parameters(120100, 1, 31, "DMOD0"));
  EXPECT_EQ(Cells(*camac, 8)[0], (Row{"119979997", "1000", "2", "1", "0", "1000000", "3", "0"}));

  EXPECT_EQ(ResultPtr(db_->get_DTS_parameters(120100, 1, 11, "DMOD0"))->status, -2);
  EXPECT_EQ(ResultPtr(db_->get_DTS_parameters(120100, 1, 11, nullptr))->status, -2);
}

TEST_F(QueryTest, DtsTableOfModuleAndOfUnit) {
  ResultPtr module(db_->get_DTSTBL(11, "DMODSS0", 120100, 1));
  ASSERT_EQ(module->GetLines(), 8);
  const Rows cells = Cells(*module, 35);
  const Row trigger = cells[0];
  EXPECT_EQ(Row(trigger.begin(), trigger.begin() + 12),
            (Row{"11", "120050", "2024-11-13 14:02:11+09", "", "11", "fdts01", "DMODSS0",
                 "1", "1", "10000000", "20", "30"}));
  EXPECT_EQ(Row(trigger.begin() + 12, trigger.end()),
            (Row{"", "", "TRG1", "Magnetics trigger", "-1", "0.00001", "0", "1189999950",
                 "100", "0", "1", "1", "t", "t", "", "f", "t", "t", "f", "f", "3", "0",
                 ""}));
  const Row clock = cells[6];
  EXPECT_EQ(Row(clock.begin() + 12, clock.begin() + 22),
            (Row{"100", "10", "CLK1", "Magnetics sampling clock", "-1.000005", "0.0000005",
                 "0.000001", "1189999900", "5", "10"}));
  EXPECT_EQ(clock[25], "f");  // a clock is no event output
  EXPECT_EQ(clock[32], "0");

  ResultPtr dmod(db_->get_DTSTBL(21, "DMOD0", 120100, 1));
  EXPECT_EQ(Cells(*dmod, 35)[2][26], "f");
  EXPECT_EQ(Cells(*dmod, 35)[2][30], "");

  ResultPtr unit(db_->get_DTSTBL(21, 120100, 1));
  ASSERT_EQ(unit->GetLines(), 16);
  EXPECT_STREQ(unit->GetValue(0, 6), "DMOD0");
  EXPECT_STREQ(unit->GetValue(8, 6), "DMOD1");
  EXPECT_STREQ(unit->GetValue(8, 7), "9");

  EXPECT_EQ(ResultPtr(db_->get_DTSTBL(11, "DMODSS0", 119999, 1))->status, -2);
  EXPECT_EQ(ResultPtr(db_->get_DTSTBL(99, 120100, 1))->status, -2);
}

TEST_F(QueryTest, UnitIdentifiersAndHostNames) {
  EXPECT_EQ(db_->get_DTS_HostID("fdts01"), 11);
  EXPECT_EQ(db_->get_DTS_HostID("vdts01"), 21);
  EXPECT_EQ(db_->get_DTS_HostID("cdts01"), -1);  // a CAMAC unit
  EXPECT_EQ(db_->get_DTS_CAMACID("cdts01"), 31);
  EXPECT_EQ(db_->get_DTS_CAMACID("fdts01"), -1);
  EXPECT_EQ(db_->get_DTS_HostID("FDTS01"), -1);
  EXPECT_EQ(db_->get_DTS_HostID(nullptr), -1);

  char* name = nullptr;
  EXPECT_EQ(db_->get_host_name(11, &name), 0);
  ASSERT_NE(name, nullptr);
  EXPECT_STREQ(name, "fdts01-ctl.ubo.example");
  std::free(name);
  name = nullptr;
  EXPECT_EQ(db_->get_host_name(77, &name), -1);  // cdts01's host has no name
  EXPECT_EQ(name, nullptr);
  EXPECT_EQ(db_->get_host_name(91, &name), 0);
  EXPECT_EQ(std::string(name), std::string(300, 'h'));
  std::free(name);

  EXPECT_EQ(db_->get_site_id("ubo"), 1);
  EXPECT_EQ(db_->get_site_id("tsu"), 2);
  EXPECT_EQ(db_->get_site_id("UBO"), 0);
  EXPECT_EQ(db_->get_diag_id("Magnetics", 1, nullptr), 101);
  EXPECT_EQ(db_->get_diag_id("Magnetics", 2, nullptr), 201);
  EXPECT_EQ(db_->get_diag_id("Bolometer", 2, nullptr), -1);
  EXPECT_EQ(db_->get_diag_id(nullptr, 1, nullptr), -1);
}

TEST_F(QueryTest, ChannelSettingsAndModuleLists) {
  ResultPtr channels(db_->get_dmod_diag_shot("mag-pxi1", "PXI6143", 120100, 1));
  const Rows cells = Cells(*channels, 8);
  ASSERT_EQ(cells.size(), 8u);
  EXPECT_EQ(cells[0], (Row{"1", "10", "0", "1000000", "1000", "2000000", "1", "0"}));
  EXPECT_EQ(cells[7][0], "8");
  ResultPtr earlier(db_->get_dmod_diag_shot("mag-pxi1", "PXI6143", 120049, 1));
  EXPECT_STREQ(earlier->GetValue(0, 4), "500");
  EXPECT_EQ(ResultPtr(db_->get_dmod_diag_shot("mag-pxi1", "WE7275", 120100, 1))->status, -2);

  CSetupDBComm& setup = Setup(nullptr);
  ResultPtr modules(setup.get_dmod_diag_shot("Magnetics", 120100, 1));
  EXPECT_EQ(Cells(*modules, 2), (Rows{{"mag-pxi1", "PXI6143"}, {"mag-pxi2", "PXI6133"}}));
  EXPECT_EQ(ResultPtr(setup.get_dmod_diag_shot("Magnetics", 119999, 1))->status, -2);
  EXPECT_EQ(ResultPtr(setup.get_dmod_diag_shot("Thomson", 120100, 1))->status, -2);

  // Each site sees its own modules only.
  CSetupDBComm& tsu = Setup("/tsu:5432:setup");
  ResultPtr theirs(tsu.get_dmod_diag_shot("Magnetics", 120100, 1));
  EXPECT_EQ(Cells(*theirs, 2), (Rows{{"tsu-we1", "WE7273"}}));
}

// Quotes, semicolons and backslashes reach the database as data.
TEST_F(QueryTest, CallerTextIsNeverSql) {
  const char* odd = "O'Brien\"; DROP TABLE site; --\\";
  Connect("/odd");
  EXPECT_EQ(db_->get_site_id("odd"), 9);
  EXPECT_EQ(db_->get_diag_id(odd, 9, nullptr), 901);
  EXPECT_EQ(db_->get_diag_id("plain' OR '1'='1", 9, nullptr), -1);
  EXPECT_EQ(db_->get_diag_id("plain; SELECT 1", 9, nullptr), -1);
  EXPECT_EQ(db_->get_DTS_CAMACID("odd'unit;\\"), 91);
  EXPECT_EQ(db_->get_DTS_HostID("x' OR kind <> '"), -1);
  EXPECT_EQ(db_->get_site_id("ubo' --"), 0);

  ResultPtr channels(db_->get_dmod_diag_shot("key'1;", "key\\2", 5, 1));
  EXPECT_EQ(Cells(*channels, 8),
            (Rows{{"1", "0.0125", "-1e+300", "0", "-7", "2147483647", "0", "-1"}}));
  ResultPtr table(db_->get_DTSTBL(91, "DMODSS12", 5, 1));
  EXPECT_EQ(table->GetLines(), 8);

  CSetupDBComm& setup = Setup("/odd");
  ResultPtr modules(setup.get_dmod_diag_shot(odd, 5, 1));
  EXPECT_EQ(Cells(*modules, 2),
            (Rows{{"key'1;", "key\\2"}, {std::string(100, 'k'), "PXI6143"}}));
  EXPECT_EQ(db_->get_site_id("ubo"), 1);  // and the tables are all still there
}

}  // namespace
}  // namespace tovak::testing
