// The parameter lists, counts and settings arrays of the demo experiment, read
// from the private PostgreSQL cluster through the real library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace {

using Entry = std::tuple<std::string, std::string, int>;

class DemoDbTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // Collection times are written in Japan time; read them as such.
    setenv("TZ", "JST-9", 1);  // Japan time, without needing the zone database
    tzset();
    setTovakProtocolV1();
  }

  static std::vector<Entry> Build(const char* dts, const char* module, unsigned shot,
                                  unsigned short sub, unsigned short channel, int* status) {
    CParamSet set;
    *status = getDTSParameters(nullptr, dts, module, shot, sub, channel, set);
    std::vector<Entry> out;
    for (int i = 0; i < set.GetParamCount(); ++i) {
      char name[64], value[128];
      int tag = 0;
      set.GetParam(i, name, sizeof name, value, sizeof value, &tag);
      out.emplace_back(name, value, tag);
    }
    return out;
  }
};

// The fixed descriptor entries 4 to 14 of every list.
const std::vector<Entry> kDescriptor = {
    {"ModuleGroup", "CAMAC", 1},     {"ModuleType", "DTS", 1},
    {"DataType", "RAW", 1},          {"Resolution(bit)", "16", 2},
    {"ImageType", "INT16", 1},       {"ManagementVersion", "10.0.0", 1},
    {"SampledFrame", "0", 2},        {"FrameByteSize", "0", 2},
    {"DataLength(byte)", "0", 2},    {"Status", "Up", 1},
    {"Comment", "", 1}};

std::vector<Entry> Join(std::vector<Entry> head, const std::vector<Entry>& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

TEST_F(DemoDbTest, DmodssClockChannelOfTheFpgaUnit) {
  int status = -1;
  const auto list = Build("fdts01", "NONAME", 120000, 1, 7, &status);
  ASSERT_EQ(status, 0);
  // CLK1: fires at -0.500005 s on a 10 MHz base, preset 20 + internal 30
  // ticks, divider 100 ns x 10 (period 10 ticks, high for 5).
  const auto want = Join(
      Join({{"Shot", "120000", 3}, {"SubShot", "1", 2}, {"ChannelNumber", "7", 2}},
           kDescriptor),
      {{"CardType", "DMODSS", 1},           {"ChannelNumberInModule", "7", 2},
       {"HostName", "fdts01-ctl.ubo.example", 1},
       {"TimeOfCollected", "1731371400", 5}, {"CompressionMethod", "ZLIB", 1},
       {"CompLength(byte)", "0", 2},         {"CRC32", "0", 2},
       {"BaseRate", "10000000", 2},          {"EventOutMode", "Off", 1},
       {"ExternalTrigger", "Disable", 1},    {"ClockSource", "Internal", 1},
       {"Inhibit", "Disable", 1},            {"BusIF", "Output", 1},
       {"MoveMode", "MODE0", 1},             {"TimerTriggerChannel", "0", 2},
       {"DelayLinePreset", "20", 2},         {"InternalDelay", "30", 2},
       {"DvdRange", "0.1usec", 1},           {"DvdMagnification", "10", 2},
       {"DelayTime_s", "-0.500005", 6},      {"PulseWidth_s", "0.0000005", 6},
       {"RepetitionTime_s", "0.000001", 6},  {"DelayTime", "1194999900", 4},
       {"PulseWidth", "5", 4},               {"RepetitionTime", "10", 4},
       {"RepetitionCount", "0", 2},          {"TriggerSelect", "1", 2}});
  EXPECT_EQ(list, want);
}

TEST_F(DemoDbTest, DmodTriggerChannelOfTheVmeUnit) {
  int status = -1;
  const auto list = Build("vdts01", "DMOD0", 120000, 0, 3, &status);
  ASSERT_EQ(status, 0);
  ASSERT_EQ(list.size(), 38u);
  // ECE trigger: -0.01 s, 10 us wide, preset 25 ticks, single shot.
  EXPECT_EQ(list[16], Entry("HostName", "vdts01-ctl.ubo.example", 1));
  EXPECT_EQ(std::vector<Entry>(list.begin() + 22, list.end()),
            (std::vector<Entry>{{"EventOutMode", "On", 1},
                                {"ExternalTrigger", "Disable", 1},
                                {"VMEbusInterrupt", "Disable", 1},
                                {"ClockSource", "Internal", 1},
                                {"MoveMode", "MODE3", 1},
                                {"TimerTriggerChannel", "0", 2},
                                {"DelayLinePreset", "25", 2},
                                {"InternalDelay", "0", 2},
                                {"DelayTime_s", "-0.01", 6},
                                {"PulseWidth_s", "0.00001", 6},
                                {"RepetitionTime_s", "0", 6},
                                {"DelayTime", "1199899975", 4},
                                {"PulseWidth", "100", 4},
                                {"RepetitionTime", "0", 4},
                                {"RepetitionCount", "1", 2},
                                {"TriggerSelect", "1", 2}}));
}

TEST_F(DemoDbTest, CamacUnitWithoutHostNameAndLaterSettings) {
  int status = -1;
  auto list = Build("cdts01", "NONAME", 120000, 0, 1, &status);
  ASSERT_EQ(status, 0);
  ASSERT_EQ(list.size(), 40u);
  EXPECT_EQ(list[16], Entry("HostName", "-", 1));
  EXPECT_EQ(list[30], Entry("DvdRange", "1usec", 1));
  EXPECT_EQ(list[31], Entry("DvdMagnification", "2", 2));

  // From shot 120050 the Magnetics trigger was re-programmed and read out again.
  list = Build("fdts01", "DMODSS0", 120050, 0, 1, &status);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(list[17], Entry("TimeOfCollected", "1731474131", 5));
  EXPECT_EQ(list[31], Entry("DelayTime_s", "-1", 6));

  EXPECT_EQ(Build("nosuch", "DMOD0", 120000, 0, 1, &status).size(), 0u);
  EXPECT_EQ(status, TOVAK_E_DTS_UNKNOWN);
  EXPECT_EQ(Build("vdts01", "DMOD7", 120000, 0, 1, &status).size(), 0u);
  EXPECT_EQ(status, TOVAK_E_NO_MODULE_ROWS);
  EXPECT_EQ(Build("vdts01", "DMOD0", 119999, 0, 1, &status).size(), 0u);
  EXPECT_EQ(status, TOVAK_E_NO_MODULE_ROWS);
}

TEST_F(DemoDbTest, FlatExportOfARealList) {
  constexpr int kRecords = 40;
  std::vector<char> names(kRecords * 64, '#'), values(kRecords * 128, '#');
  std::vector<int> tags(kRecords, -1);
  ASSERT_EQ(tovakGetDTSParameters2(nullptr, "vdts01", "DMOD1", 120000, 0, 3, kRecords,
                                   names.data(), values.data(), tags.data()),
            0);
  char record[128];
  // Records counted from 1: a DMOD channel 3 list has DelayTime_s as its 31st.
  EXPECT_STREQ(bufferStringCopy(record, names.data(), 64, 31), "DelayTime_s");
  EXPECT_STREQ(bufferStringCopy(record, values.data(), 128, 31), "0.3");
  EXPECT_STREQ(bufferStringCopy(record, values.data(), 128, 32), "0.001");
  EXPECT_STREQ(bufferStringCopy(record, names.data(), 64, 39), "");
  EXPECT_EQ(tags[38], 1);
}

TEST_F(DemoDbTest, CountsOverChannelRanges) {
  const struct {
    const char* dts;
    const char* module;
    int first, last;
    short count;
    int resolvedLast;
    const char* used;
  } cases[] = {{"fdts01", "NONAME", 1, 0, 41, 8, "DMODSS0"},
               {"fdts01", "DMODSS0", 1, 6, 39, 6, "DMODSS0"},
               {"vdts01", "NONAME", 1, 0, 40, 8, "DMOD0"},
               {"vdts01", "DMOD1", 3, 8, 38, 8, "DMOD1"},
               {"cdts01", "DMOD0", 2, 2, 40, 2, "DMOD0"}};
  for (const auto& c : cases) {
    short count = -1;
    int first = c.first, last = c.last;
    char used[64] = "";
    EXPECT_EQ(tovakGetDTSParametersCount(nullptr, c.dts, c.module, 120000, 0, &count, &first,
                                         &last, used),
              0)
        << c.dts << " " << c.module;
    EXPECT_EQ(count, c.count) << c.dts << " " << c.module;
    EXPECT_EQ(last, c.resolvedLast);
    EXPECT_STREQ(used, c.used);
  }
  short count = -1;
  int first = 1, last = 9;
  EXPECT_EQ(tovakGetDTSParametersCount(nullptr, "vdts01", "DMOD0", 120000, 0, &count, &first,
                                       &last, nullptr),
            TOVAK_E_CHANNEL_RANGE);
  EXPECT_EQ(count, 0);
}

TEST_F(DemoDbTest, ModulesAndChannelSettingsOfDiagnostics) {
  DTSmodule* modules = nullptr;
  int n = 0;
  ASSERT_EQ(tovakGetDTSdiagShot(nullptr, "Magnetics", 120000, 0, &modules, &n, 0), 0);
  const std::unique_ptr<DTSmodule[]> ownedModules(modules);
  ASSERT_EQ(n, 2);
  EXPECT_STREQ(modules[0].key1, "mag-pxi1");
  EXPECT_STREQ(modules[0].key2, "PXI6143");
  EXPECT_STREQ(modules[1].key1, "mag-pxi2");

  DTSchSettings* channels = nullptr;
  ASSERT_EQ(tovakGetDTSchSettings(nullptr, "bolo-we1", "WE7275", 120000, 2, &channels, &n, 0),
            0);
  const std::unique_ptr<DTSchSettings[]> ownedChannels(channels);
  ASSERT_EQ(n, 4);
  EXPECT_EQ(channels[3].column0, 4);
  EXPECT_DOUBLE_EQ(channels[3].column1, 1.0);
  EXPECT_DOUBLE_EQ(channels[3].column2, -0.5);
  EXPECT_DOUBLE_EQ(channels[3].column3, 50000.0);  // sub-shot 2 samples at 50 kHz
  EXPECT_EQ(channels[3].column4, 100);
  EXPECT_EQ(channels[3].column5, 25000);

  DTSsettings* settings = nullptr;
  ASSERT_EQ(tovakGetDTSsettings(nullptr, nullptr, "Magnetics", 120050, 0, &settings, &n, 1), 0);
  ASSERT_EQ(n, 2);
  EXPECT_STREQ(settings[1].module.key2, "PXI6133");
  ASSERT_EQ(settings[1].chCount, 8);
  EXPECT_EQ(settings[1].chSettings[7].column0, 8);
  EXPECT_EQ(settings[1].chSettings[7].column4, 1000);
  EXPECT_EQ(settings[1].chSettings[7].column5, 2000000);
  cleanup_DTSsettingsArray(settings, n);
  delete[] settings;

  settings = nullptr;
  n = -1;
  EXPECT_EQ(tovakGetDTSsettings(nullptr, nullptr, "NoSuchDiag", 120000, 0, &settings, &n, 1),
            0);
  EXPECT_EQ(settings, nullptr);
  EXPECT_EQ(n, -1);
}

}  // namespace
