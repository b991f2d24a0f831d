// Parameter lists, counts and settings arrays of the demo experiment, read from
// the private PostgreSQL cluster through the real library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace {

class DemoDbTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("TZ", "JST-9", 1);  // collection times are Japan time
    tzset();
    setTovakProtocolV1();
  }
};

// Each row: the text form of a channel's list (after the status of a failure) holds `has`.
TEST_F(DemoDbTest, ParameterLists) {
  const struct { const char *dts, *module; unsigned shot, sub, channel; const char* has; } cases[] = {
      // CLK1 of the FPGA unit: -0.500005 s on a 10 MHz base, divider 100 ns x 10.
      {"fdts01", "NONAME", 120000, 1, 7, "CParamSet 1 41\n3 Shot 120000\n2 SubShot 1\n"},
      {"fdts01", "NONAME", 120000, 1, 7,
       "\n1 Comment \n1 CardType DMODSS\n2 ChannelNumberInModule 7\n"
       "1 HostName fdts01-ctl.ubo.example\n5 TimeOfCollected 1731371400\n"
       "1 CompressionMethod ZLIB\n2 CompLength(byte) 0\n2 CRC32 0\n2 BaseRate 10000000\n"
       "1 EventOutMode Off\n1 ExternalTrigger Disable\n1 ClockSource Internal\n"
       "1 Inhibit Disable\n1 BusIF Output\n1 MoveMode MODE0\n2 TimerTriggerChannel 0\n"
       "2 DelayLinePreset 20\n2 InternalDelay 30\n1 DvdRange 0.1usec\n2 DvdMagnification 10\n"
       "6 DelayTime_s -0.500005\n6 PulseWidth_s 0.0000005\n6 RepetitionTime_s 0.000001\n"
       "4 DelayTime 1194999900\n4 PulseWidth 5\n4 RepetitionTime 10\n2 RepetitionCount 0\n"
       "2 TriggerSelect 1\n"},
      {"vdts01", "DMOD0", 120000, 0, 3, "1 VMEbusInterrupt Disable\n1 ClockSource Internal\n"},
      {"cdts01", "NONAME", 120000, 0, 1, "1 HostName -\n"},  // no host name known
      {"cdts01", "NONAME", 120000, 0, 1, "1 DvdRange 1usec\n2 DvdMagnification 2\n"},
      {"fdts01", "DMODSS0", 120050, 0, 1, "5 TimeOfCollected 1731474131\n"},  // re-programmed
      {"nosuch", "DMOD0", 120000, 0, 1, "-56CParamSet 1 0\n"},
      {"vdts01", "DMOD7", 120000, 0, 1, "-60CParamSet 1 0\n"}};
  for (const auto& c : cases) {
    CParamSet set;
    const int status = getDTSParameters(nullptr, c.dts, c.module, c.shot, c.sub, c.channel, set);
    const std::string text = (status == 0 ? "" : std::to_string(status)) + set.GetString();
    EXPECT_NE(text.find(c.has), std::string::npos) << c.dts << " " << c.channel << ":\n" << text;
  }
}

TEST_F(DemoDbTest, CountsOverChannelRanges) {
  const struct { const char *dts, *module; int first, last; const char* want; } cases[] = {
      {"fdts01", "NONAME", 1, 0, "0 41 8 DMODSS0"}, {"vdts01", "DMOD1", 3, 8, "0 38 8 DMOD1"},
      {"vdts01", "NONAME", 1, 9, "-13 0 9 DMOD0"}};  // status, count, last channel, module
  for (const auto& c : cases) {
    short count = -1;
    int first = c.first, last = c.last;
    char used[64] = "";
    const int status = tovakGetDTSParametersCount(nullptr, c.dts, c.module, 120000, 0, &count,
                                                  &first, &last, used);
    EXPECT_EQ(std::to_string(status) + " " + std::to_string(count) + " " + std::to_string(last) +
                  " " + used, c.want);
  }
}

TEST_F(DemoDbTest, SettingsOfADiagnostic) {
  DTSsettings* all = nullptr;
  int n = 0;
  ASSERT_EQ(tovakGetDTSsettings(nullptr, nullptr, "Magnetics", 120050, 0, &all, &n, 1), 0);
  ASSERT_TRUE(n == 2 && all[1].chCount == 8);
  const DTSchSettings& ch = all[1].chSettings[7];
  EXPECT_EQ(std::string(all[0].module.key1) + " " + all[1].module.key2, "mag-pxi1 PXI6133");
  EXPECT_EQ(std::vector<double>({1.0 * ch.column0, ch.column1, ch.column3, 1.0 * ch.column5}),
            std::vector<double>({8, 5.0, 1000000.0, 2000000}));
  cleanup_DTSsettingsArray(all, n);
  delete[] all;
  std::tie(all, n) = std::pair(nullptr, -1);
  EXPECT_EQ(tovakGetDTSsettings(nullptr, nullptr, "NoSuchDiag", 120000, 0, &all, &n, 1), 0);
  EXPECT_TRUE(all == nullptr && n == -1);
}

}  // namespace
