#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <tuple>
#include <vector>

#include "doubles/companions.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

// Tables laid out by hand, a row per case: the formatter leaves them alone.
// clang-format off

namespace tovak::testing {
namespace {

// A row in which every column the library reads holds a value of its own.
Table ModuleTable(const std::string& module, int channels) {
  Table table;
  for (int c = 1; c <= channels; ++c) {
    table.rows.push_back({"", "", "2024-03-05 10:20:30+09", "", "7", "", module, std::to_string(c), std::to_string(c + 100),
                          "1000000", "3", "4", "100", "5", "", "", "1.5e-06", "2e-06", "0.001", "-4000000000", "2000",
                          "9000000000", "10", "2", "", "t", "f", "t", "f", "", "t", "f", "3", "6"});
  }
  return table;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// V1 in central Europe (summer time from March to October). "DTS1" has host id 0,
// "CAMAC1" CAMAC id 9; module queries answer `table` (nothing for an unresolved
// "NONAME"), host queries `table` too; host 7 is "dtshost".
class DtsTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    setTovakProtocolV1();
    ScriptedIndexDb& db = IndexDb();
    db.hostId = [](const std::string& name) { return name == "DTS1" ? 0 : -1; };
    db.camacId = [](const std::string& name) { return name == "CAMAC1" ? 9 : -1; };
    db.dtsTable = [this](int, const std::string& module, auto...) { return module == "NONAME" ? Table{-2, {}} : table; };
    db.hostTable = [this](auto&&...) { return table; };
    db.hostName = [](int n) { return std::pair{n == 7 ? 0 : -1, std::optional("dtshost")}; };
  }
  static int Build(CParamSet& set, unsigned short channel, const char* module = "DMOD1", const char* dts = "DTS1") {
    return getDTSParameters("idx", dts, module, 1234, 2, channel, set);
  }
  static std::string List(unsigned short channel) {  // text form, after a failure's status
    CParamSet set;
    const int status = Build(set, channel);
    return (status == 0 ? "" : std::to_string(status)) + set.GetString();
  }
  Table table = ModuleTable("DMOD1", 8);
};

using BuilderTest = DtsTest;

TEST_F(BuilderTest, ListsInFull) {
  table = ModuleTable("DMODSS1", 8);
  EXPECT_EQ(List(7),
            "CParamSet 1 41\n3 Shot 1234\n2 SubShot 2\n2 ChannelNumber 7\n1 ModuleGroup CAMAC\n1 ModuleType DTS\n"
            "1 DataType RAW\n2 Resolution(bit) 16\n1 ImageType INT16\n1 ManagementVersion 10.0.0\n2 SampledFrame 0\n"
            "2 FrameByteSize 0\n2 DataLength(byte) 0\n1 Status Up\n1 Comment \n1 CardType DMODSS\n"
            "2 ChannelNumberInModule 107\n1 HostName dtshost\n5 TimeOfCollected 1709630430\n1 CompressionMethod ZLIB\n"
            "2 CompLength(byte) 0\n2 CRC32 0\n2 BaseRate 1000000\n1 EventOutMode On\n1 ExternalTrigger Enable\n"
            "1 ClockSource External\n1 Inhibit Enable\n1 BusIF Output\n1 MoveMode MODE3\n2 TimerTriggerChannel 6\n"
            "2 DelayLinePreset 3\n2 InternalDelay 4\n1 DvdRange 0.1usec\n2 DvdMagnification 5\n6 DelayTime_s 1.5e-06\n"
            "6 PulseWidth_s 2e-06\n6 RepetitionTime_s 0.001\n4 DelayTime -4000000000\n4 PulseWidth 2000\n"
            "4 RepetitionTime 9000000000\n2 RepetitionCount 10\n2 TriggerSelect 2\n");
}

// One cell of channel 1 changed (ModuleTable's flags read t, f, t, f, t, f) and the entry it gives.
TEST_F(BuilderTest, CellsBecomeWords) {
  const struct { int column; const char *cell, *entry; } cases[] = {
      {25, "false", "EventOutMode Off"}, {25, "x", "EventOutMode Undefined"}, {27, "f", "ExternalTrigger Disable"},
      {26, "true", "VMEbusInterrupt Enable"}, {28, "t", "ClockSource Internal"}, {30, "f", "Inhibit Disable"},
      {31, "t", "BusIF Input"}, {12, "1", "DvdRange 1nsec"},
      {12, "1000000000", "DvdRange 1sec"}, {12, "5", "DvdRange Undefined"}, {32, "-1", "MoveMode MODE-1"},
      {12, "4294967396", "DvdRange 0.1usec"} /* low 32 bits */, {2, "2024-03-05 10:20:30+00", "TimeOfCollected 0"},
      {2, "2024-07-01 12:00:00+09", "TimeOfCollected 1719828000"}};  // summer time
  for (const auto& c : cases) {
    table = ModuleTable(c.column == 30 || c.column == 31 ? "DMODSS" : "DMOD", 1);
    table.rows[0][c.column] = c.cell;
    EXPECT_TRUE(Has(List(1), std::string(" ") + c.entry + "\n")) << c.cell << ":\n" << List(1);
  }
}

TEST_F(BuilderTest, EntriesAreAppendedOnlyOnSuccess) {
  const std::string tooLong(64, 'M');
  const struct { const char *dts, *module; unsigned short channel; int open, rows, status; } cases[] = {
      {"DTS1", "DMOD1", 1, 3, 0, -102}, {"nosuch", "DMOD1", 1, 0, 0, -56}, {"DTS1", tooLong.c_str(), 1, 0, 0, -60},
      {"DTS1", "DMOD1", 0, 0, 0, -60}, {"DTS1", "DMOD1", 9, 0, 0, -60}, {"DTS1", "DMOD1", 1, 0, -1, -60},
      {"DTS1", "DMOD1", 1, 0, -2, -60}, {"DTS1", "DMOD1", 3, 0, 7, 0} /* 7 is rows */, {"CAMAC1", "NONAME", 3, 0, 0, 0}};
  for (const auto& c : cases) {
    std::tie(IndexDb().openResult, table.status) = std::pair(c.open, c.rows);
    CParamSet set;
    set.AddParam("mine", 1);
    EXPECT_EQ(Build(set, c.channel, c.module, c.dts), c.status);
    EXPECT_TRUE(Has(set.GetString(), c.status ? "CParamSet 1 1\n2 mine 1\n" : "CParamSet 1 39\n2 mine 1\n3 Shot 1234\n"));
    EXPECT_EQ(IndexDb().log.back(), "Close");
  }
}

// The fixed-width forms: records of 64 and 128 bytes, filled past the list, cut at the count asked for.
TEST_F(DtsTest, FixedWidthExportRecords) {
  std::string names(41 * 64, '#'), values(41 * 128, '#');
  std::vector<int> tags(41, -7);
  const auto record = [&](int i) { return names.substr(i * 64, 64) + values.substr(i * 128, 128) + std::to_string(tags[i]); };
  const auto padded = [](const std::string& name, const std::string& value, int tag) {
    return name + std::string(64 - name.size(), '\0') + value + std::string(128 - value.size(), '\0') + std::to_string(tag);
  };
  table = ModuleTable("DMODSS1", 8);  // 41 entries, 38 asked for
  ASSERT_EQ(tovakGetDTSParameters("idx", "DTS1", "DMOD1", 1234, 2, 7, 38, names.data(), values.data(), tags.data(), true), 0);
  EXPECT_EQ(record(37) + record(38), padded("PulseWidth", "2000", 4) + std::string(192, '#') + "-7");
  table = ModuleTable("DMOD1", 8);
  ASSERT_EQ(tovakGetDTSParameters2("idx", "DTS1", "DMOD1", 1234, 2, 3, 41, names.data(), values.data(), tags.data()), 0);
  EXPECT_EQ(record(2) + record(40), padded("ChannelNumber", "3", 2) + padded("", "", 1));
}

using CountTest = DtsTest;
using Answer = std::tuple<int, short, int, int, std::string>;  // status, count, first, last, module
const std::string kUnwritten(63, '#');  // the module name buffer before the call

Answer Count(int first, int last, const char* module = "DMOD1", const char* dts = "DTS1") {
  short count = 99;
  char moduleOut[64];
  std::strcpy(moduleOut, kUnwritten.c_str());
  const int status = tovakGetDTSParametersCount("idx", dts, module, 1234, 2, &count, &first, &last, moduleOut);
  return {status, count, first, last, moduleOut};
}

// The largest list over the range; over one channel, that channel's list.
TEST_F(CountTest, LargestListOverTheRange) {
  const struct { const char* module; int first, last; short count; int resolvedLast; } cases[] = {
      {"DMOD", 2, 2, 40, 2}, {"DMOD", 3, 3, 38, 3}, {"DMODSS12", 6, 6, 39, 6}, {"DMODSS", 7, 7, 41, 7}, {"dmodss", 7, 7, 38, 7},
      {"DMODS", 8, 8, 38, 8}, {"DMOD", 1, 8, 40, 8}, {"DMOD", 3, 8, 38, 8}, {"DMODSS", 1, 6, 39, 6}, {"DMODSS", 1, 8, 41, 8},
      {"DMOD", 1, 0, 40, 8}, {"DMODSS", 0, 2, 39, 2}};
  for (const auto& c : cases) {
    table = ModuleTable(c.module, 8);
    EXPECT_EQ(Count(c.first, c.last), Answer(0, c.count, c.first, c.resolvedLast, "DMOD1"));
    EXPECT_TRUE(c.first != c.last || Has(List(c.first), "CParamSet 1 " + std::to_string(c.count) + "\n")) << c.module;
  }
  table = ModuleTable("DMOD", 8);
  table.rows[6][6] = "DMODSS9";  // the kind is judged row by row: channel 7 only
  EXPECT_EQ(std::pair(std::get<1>(Count(3, 8)), std::get<1>(Count(3, 6))), (std::pair<short, short>(41, 38)));
}

TEST_F(CountTest, FailuresLeaveCountZero) {
  EXPECT_EQ(Count(1, 0, std::string(64, 'M').c_str()), Answer(-54, 0, 1, 0, kUnwritten));
  IndexDb().hostTable = [](auto&&...) { return ModuleTable("DMODSS2", 1); };
  const struct { const char *module, *dts; int rows, first, last, status; std::string used; } cases[] = {
      {"DMOD1", "DTS1", 0, 1, 9, -13, "DMOD1"}, {"DMOD1", "DTS1", 0, -1, 2, -13, "DMOD1"}, {"NONAME", "DTS1", 0, 9, 0, -13, "DMODSS0"},
      {"NONAME", "DTS1", -2, 1, 0, -54, "DMODSS0"}, {"DMOD1", "DTS1", -1, 1, 0, -54, "DMOD1"}, {"M", "nosuch", 0, 1, 0, -56, kUnwritten}};
  for (const auto& c : cases) {
    table.status = c.rows;
    EXPECT_EQ(Count(c.first, c.last, c.module, c.dts), Answer(c.status, 0, c.first, c.last, c.used));
  }
  IndexDb().openResult = 1;
  EXPECT_EQ(Count(1, 0), Answer(-102, 0, 1, 0, kUnwritten));
  EXPECT_EQ(tovakGetDTSParametersCount("idx", "D", "M", 1, 0, nullptr, nullptr, nullptr, nullptr), -13);
}

}  // namespace
}  // namespace tovak::testing
// clang-format on
