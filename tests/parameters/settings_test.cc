#include <map>
#include <memory>
#include <string>
#include <vector>

#include "doubles/companions.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Row = std::vector<std::string>;

class SettingsTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    SetupDb().modules = [this](const std::string&, unsigned, unsigned) { return modules; };
    IndexDb().channelSettings = [this](const std::string& key1, const std::string&, unsigned,
                                       unsigned) {
      const auto it = channels.find(key1);
      return it == channels.end() ? Table{-2, {}} : it->second;
    };
  }
  Table modules{0, {{"A", "a"}, {"B", "b"}, {"C", "c"}}};
  std::map<std::string, Table> channels{
      {"A", Table{0, {{"1", "12.5e-3", "2", "-3.5", "abc", " -7x", "4294967297", "8"}}}},
      {"C", Table{0, {Row(8, "1"), Row(8, "2")}}}};
};

TEST_F(SettingsTest, ChannelRowsParsedByPosition) {
  DTSchSettings* out = nullptr;
  int count = -1;
  ASSERT_EQ(tovakGetDTSchSettings("idx", "A", "a", 10, 1, &out, &count, 0), 0);
  const std::unique_ptr<DTSchSettings[]> owned(out);
  ASSERT_EQ(count, 1);
  EXPECT_EQ(out[0].column0, 1);
  EXPECT_DOUBLE_EQ(out[0].column1, 0.0125);
  EXPECT_DOUBLE_EQ(out[0].column2, 2.0);
  EXPECT_DOUBLE_EQ(out[0].column3, -3.5);
  EXPECT_EQ(out[0].column4, 0);
  EXPECT_EQ(out[0].column5, -7);
  EXPECT_EQ(out[0].column6, 1);  // low 32 bits
  EXPECT_EQ(out[0].column7, 8);
  EXPECT_EQ(IndexDb().log, (CallLog{"open", "get_dmod_diag_shot(A,a,10,1)", "delete"}));
}

TEST_F(SettingsTest, QueryStatusesAndClosing) {
  DTSchSettings* out = reinterpret_cast<DTSchSettings*>(&modules);  // any non-null marker
  int count = -1;
  EXPECT_EQ(tovakGetDTSchSettings("idx", "none", "x", 10, 1, &out, &count, 1), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(IndexDb().log.back(), "Close");

  channels["F"] = Table{-5, {}};
  count = 33;
  EXPECT_EQ(tovakGetDTSchSettings("idx", "F", "x", 10, 1, &out, &count, 2), -5);
  EXPECT_EQ(count, 33);
  EXPECT_EQ(IndexDb().closeCalls, 1);

  channels["E"] = Table{0, {}};
  ASSERT_EQ(tovakGetDTSchSettings("idx", "E", "x", 10, 1, &out, &count, 0), 0);
  EXPECT_NE(out, nullptr);  // a valid array of no records
  EXPECT_EQ(count, 0);
  delete[] out;

  IndexDb().connected = false;
  IndexDb().openResult = 1;
  EXPECT_EQ(tovakGetDTSchSettings("idx", "A", "a", 10, 1, &out, &count, 0), TOVAK_E_INDEX_OPEN);
  EXPECT_EQ(IndexDb().log.back(), "Close");
}

TEST_F(SettingsTest, ModulesOfADiagnostic) {
  modules.rows.push_back({std::string(70, 'k'), ""});
  DTSmodule* out = nullptr;
  int count = 0;
  ASSERT_EQ(tovakGetDTSdiagShot("setup", "diag", 10, 1, &out, &count, 1), 0);
  const std::unique_ptr<DTSmodule[]> owned(out);
  ASSERT_EQ(count, 4);
  EXPECT_STREQ(out[1].key1, "B");
  EXPECT_STREQ(out[1].key2, "b");
  EXPECT_EQ(std::string(out[3].key1), std::string(63, 'k'));
  EXPECT_EQ(SetupDb().log,
            (CallLog{"open", "get_dmod_diag_shot(diag,10,1)", "delete", "Close"}));

  SetupDb().openResult = 1;
  SetupDb().connected = false;
  EXPECT_EQ(tovakGetDTSdiagShot("setup", "diag", 10, 1, &out, &count, 0), TOVAK_E_SETUP_OPEN);
  EXPECT_EQ(SetupDb().log.back(), "Close");
}

TEST_F(SettingsTest, CombinedSettingsOwnTheirChannels) {
  SetConfig("KOVD_GRPC", "grpc://srv:1");  // the databases are asked all the same
  DTSsettings* out = nullptr;
  int count = 0;
  ASSERT_EQ(tovakGetDTSsettings("setup", "idx", "diag", 10, 1, &out, &count, 0), 0);
  ASSERT_EQ(count, 3);
  EXPECT_STREQ(out[0].module.key1, "A");
  EXPECT_EQ(out[0].chCount, 1);
  EXPECT_EQ(out[1].chCount, 0);  // no rows for B
  EXPECT_EQ(out[1].chSettings, nullptr);
  EXPECT_EQ(out[2].chCount, 2);
  EXPECT_EQ(out[2].chSettings[1].column0, 2);
  EXPECT_EQ(IndexDb().closeCalls + SetupDb().closeCalls, 0);
  EXPECT_EQ(cleanup_DTSsettingsArray(out, count), 0);
  delete[] out;
}

TEST_F(SettingsTest, FailureHalfWayReleasesEverythingAndClosesOnRequest) {
  channels["B"] = Table{-1, {}};
  DTSsettings* out = nullptr;
  int count = 77;
  EXPECT_EQ(tovakGetDTSsettings("setup", "idx", "diag", 10, 1, &out, &count, 1), -1);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(count, 77);
  EXPECT_EQ(IndexDb().log.back(), "Close");
  EXPECT_EQ(SetupDb().log.back(), "Close");
  // Module C is never asked for once B failed.
  EXPECT_EQ(IndexDb().log, (CallLog{"open", "get_dmod_diag_shot(A,a,10,1)", "delete",
                                    "get_dmod_diag_shot(B,b,10,1)", "delete", "Close"}));

  modules = Table{-4, {}};
  EXPECT_EQ(tovakGetDTSsettings("setup", "idx", "diag", 10, 1, &out, &count, 1), -4);
  EXPECT_EQ(SetupDb().closeCalls, 2);
  EXPECT_EQ(IndexDb().closeCalls, 2);

  for (Table none : {Table{-2, {}}, Table{0, {}}}) {
    modules = none;
    EXPECT_EQ(tovakGetDTSsettings("setup", "idx", "diag", 10, 1, &out, &count, 2), 0);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(count, 77);
  }
  EXPECT_EQ(SetupDb().closeCalls, 2);
}

TEST_F(SettingsTest, CleanupSkipsWhatItMayNotTouch) {
  DTSsettings records[2] = {};
  records[1].chSettings = new DTSchSettings[3];
  EXPECT_EQ(cleanup_DTSsettingsArray(records, 0), 0);
  EXPECT_EQ(cleanup_DTSsettingsArray(records, -1), 0);
  EXPECT_NE(records[1].chSettings, nullptr);
  EXPECT_EQ(cleanup_DTSsettingsArray(records, 2), 0);  // record 0 has none
  EXPECT_EQ(cleanup_DTSsettingsArray(nullptr, 5), 0);
  EXPECT_EQ(cleanup_DTSmoduleArray(nullptr, 3), 0);
  EXPECT_EQ(cleanup_DTSchSettingsArray(nullptr, 3), 0);
}

}  // namespace
}  // namespace tovak::testing
