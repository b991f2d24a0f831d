#include <map>
#include <memory>
#include <string>
#include <vector>

#include "doubles/companions.h"
#include "tovak/tovak.h"

// Tables laid out by hand, a row per case: the formatter leaves them alone.
// clang-format off

namespace tovak::testing {
namespace {

// Modules A, B, C. Channel rows: A one, B none (-2), C two, F status -5.
class SettingsTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    SetupDb().modules = [this](auto&&...) { return modules; };
    IndexDb().channelSettings = [this](const std::string& key1, auto&&...) { return channels.count(key1) ? channels[key1] : Table{-2, {}}; };
  }
  int Settings(int close) { return tovakGetDTSsettings("setup", "idx", "diag", 10, 1, &all, &count, close); }
  Table modules{0, {{"A", "a"}, {"B", "b"}, {"C", "c"}}};
  std::map<std::string, Table> channels{{"A", Table{0, {{"1", "12.5e-3", "2", "-3.5", "abc", " -7x", "4294967297", "8"}}}},
                                        {"C", Table{0, {std::vector<std::string>(8, "1"), std::vector<std::string>(8, "2")}}},
                                        {"F", Table{-5, {}}}};
  DTSsettings* all = nullptr;
  int count = 77;
};

TEST_F(SettingsTest, ChannelRowsByPositionAndQueryStatuses) {
  DTSchSettings* ch = nullptr;
  ASSERT_EQ(tovakGetDTSchSettings("idx", "A", "k", 10, 1, &ch, &count, 0), 0);
  const std::unique_ptr<DTSchSettings[]> owned(ch);
  EXPECT_EQ(std::vector<double>({1.0 * count, 1.0 * ch->column0, ch->column1, ch->column2, ch->column3, 1.0 * ch->column4,
            1.0 * ch->column5, 1.0 * ch->column6, 1.0 * ch->column7}), std::vector<double>({1, 1, 0.0125, 2, -3.5, 0, -7, 1, 8}));
  EXPECT_EQ(IndexDb().log, (CallLog{"open", "get_dmod_diag_shot(A,k,10,1)", "delete"}));
  std::tie(ch, count) = std::pair(owned.get(), 33);
  EXPECT_EQ(tovakGetDTSchSettings("idx", "F", "k", 10, 1, &ch, &count, 1), -5);
  EXPECT_TRUE(ch == owned.get() && count == 33 && IndexDb().closeCalls == 1);
  EXPECT_EQ(tovakGetDTSchSettings("idx", "B", "k", 10, 1, &ch, &count, 0) + (ch != nullptr) + count, 0);  // no rows (-2)
}

TEST_F(SettingsTest, CombinedSettingsOwnTheirChannels) {
  modules.rows.push_back({std::string(70, 'k'), ""});  // keys are cut to 63 characters
  ASSERT_EQ(Settings(0), 0);
  EXPECT_EQ(std::to_string(count) + all[1].module.key1 + all[1].module.key2 + all[3].module.key1, "4Bb" + std::string(63, 'k'));
  EXPECT_TRUE(all[0].chCount == 1 && all[2].chCount == 2 && all[2].chSettings[1].column0 == 2 && all[1].chCount == 0 &&
              all[1].chSettings == nullptr);  // B: no rows (-2)
  EXPECT_EQ(SetupDb().log, (CallLog{"open", "get_dmod_diag_shot(diag,10,1)", "delete"}));
  EXPECT_EQ(cleanup_DTSsettingsArray(all, count) + (all[2].chSettings != nullptr) + cleanup_DTSsettingsArray(nullptr, 5), 0);
  delete[] all;
}

TEST_F(SettingsTest, FailuresReleaseEverythingAndCloseOnRequest) {
  channels["B"] = Table{-1, {}};
  EXPECT_EQ(Settings(1), -1);
  EXPECT_EQ(SetupDb().log.back(), "Close");  // module C is never asked for once B failed
  EXPECT_EQ(IndexDb().log, (CallLog{"open", "get_dmod_diag_shot(A,a,10,1)", "delete", "get_dmod_diag_shot(B,b,10,1)", "delete", "Close"}));
  modules = Table{-4, {}};
  EXPECT_EQ(Settings(1), -4);
  EXPECT_EQ(SetupDb().closeCalls + IndexDb().closeCalls, 4);
  modules = Table{-2, {}};
  EXPECT_EQ(Settings(2), 0);
  EXPECT_TRUE(SetupDb().closeCalls + IndexDb().closeCalls == 4 && all == nullptr && count == 77);
  std::tie(SetupDb().connected, SetupDb().openResult) = std::pair(false, 1);
  EXPECT_EQ(Settings(0), TOVAK_E_SETUP_OPEN);
}

// The shot log's row is read strictly (a shot number or "", and t or f), else no log; no row keeps none.
TEST_F(CompanionTest, ShotRecordReadsTheLogRowStrictly) {
  const struct { Table row; int status; int64_t newest; int recorded; } cases[] = {
      {{0, {{"4294967295", "t"}}}, 0, 4294967295, 1}, {{0, {{"", "f"}}}, 0, -1, 0}, {{-2, {}}, 0, -1, 0}, {{-1, {}}, -150, 7, 7},
      {{0, {{"12x", "t"}}}, -150, 7, 7}, {{0, {{"4294967296", "f"}}}, -150, 7, 7}, {{0, {{"-1", "f"}}}, -150, 7, 7},
      {{0, {{"1", "true"}}}, -150, 7, 7}, {{0, {{"1", "t"}, {"2", "t"}}}, -150, 7, 7}};
  for (const auto& c : cases) {
    IndexDb().shotRecord = [&c](auto&&...) { return c.row; };
    std::pair<int64_t, int> seen{7, 7};
    EXPECT_EQ(tovakGetShotRecord("idx", 5, 4294967295u, &seen.first, &seen.second), c.status);
    EXPECT_EQ(seen, std::pair(c.newest, c.recorded)) << c.row.rows.size();
  }
  EXPECT_EQ(CallLog(IndexDb().log.end() - 4, IndexDb().log.end()), (CallLog{"open", "get_shot_record(5,4294967295)", "delete", "Close"}));
}

}  // namespace
}  // namespace tovak::testing
// clang-format on
