#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>

#include "dts_fixture.h"

namespace tovak::testing {
namespace {

using BuilderTest = DtsTest;

int Build(CParamSet& set, unsigned short channel, const char* module = "DMOD1",
          const char* dts = "DTS1") {
  return getDTSParameters("idx", dts, module, 1234, 2, channel, set);
}

// The value of the entry named name, or nullopt when it is absent.
std::optional<std::string> Value(const CParamSet& set, const std::string& name) {
  for (const Entry& e : Entries(set)) {
    if (e.name == name) return e.value;
  }
  return std::nullopt;
}

class LocalZone {
 public:
  explicit LocalZone(const char* zone) {
    if (const char* old = std::getenv("TZ")) saved_ = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~LocalZone() {
    if (saved_) setenv("TZ", saved_->c_str(), 1); else unsetenv("TZ");
    tzset();
  }

 private:
  std::optional<std::string> saved_;
};

TEST_F(BuilderTest, DmodDividerChannelListInFull) {
  LocalZone utc("UTC");
  CParamSet set;
  ASSERT_EQ(Build(set, 1), 0);
  const std::vector<Entry> want = {
      {"Shot", "1234", 3}, {"SubShot", "2", 2}, {"ChannelNumber", "1", 2},
      {"ModuleGroup", "CAMAC", 1}, {"ModuleType", "DTS", 1}, {"DataType", "RAW", 1},
      {"Resolution(bit)", "16", 2}, {"ImageType", "INT16", 1},
      {"ManagementVersion", "10.0.0", 1}, {"SampledFrame", "0", 2},
      {"FrameByteSize", "0", 2}, {"DataLength(byte)", "0", 2}, {"Status", "Up", 1},
      {"Comment", "", 1}, {"CardType", "DMOD", 1}, {"ChannelNumberInModule", "101", 2},
      {"HostName", "dtshost", 1}, {"TimeOfCollected", "1709634030", 5},
      {"CompressionMethod", "ZLIB", 1}, {"CompLength(byte)", "0", 2}, {"CRC32", "0", 2},
      {"BaseRate", "1000000", 2}, {"EventOutMode", "On", 1},
      {"ExternalTrigger", "Enable", 1}, {"VMEbusInterrupt", "Disable", 1},
      {"ClockSource", "External", 1}, {"MoveMode", "MODE3", 1},
      {"TimerTriggerChannel", "6", 2}, {"DelayLinePreset", "3", 2},
      {"InternalDelay", "4", 2}, {"DvdRange", "0.1usec", 1}, {"DvdMagnification", "5", 2},
      {"DelayTime_s", "1.5e-06", 6}, {"PulseWidth_s", "2e-06", 6},
      {"RepetitionTime_s", "0.001", 6}, {"DelayTime", "1500", 4}, {"PulseWidth", "2000", 4},
      {"RepetitionTime", "9000000000", 4}, {"RepetitionCount", "10", 2},
      {"TriggerSelect", "2", 2}};
  EXPECT_EQ(Entries(set), want);
  EXPECT_EQ(IndexDb().log,
            (CallLog{"open", "get_DTS_HostID(DTS1)", "get_DTSTBL(5,DMOD1,1234,2)",
                     "get_host_name(7)", "delete", "Close"}));
}

TEST_F(BuilderTest, EntryCountsByKindAndChannel) {
  const struct {
    const char* module;
    unsigned short channel;
    int entries;
  } cases[] = {{"DMOD", 1, 40},     {"DMOD", 2, 40},   {"DMOD", 3, 38},
               {"DMODSS12", 6, 39}, {"DMODSS", 7, 41}, {"dmodss", 7, 38},
               {"DMODS", 8, 38},    {"", 1, 40}};
  for (const auto& c : cases) {
    table = ModuleTable(c.module, 8);
    CParamSet set;
    ASSERT_EQ(Build(set, c.channel), 0);
    EXPECT_EQ(set.GetParamCount(), c.entries) << c.module << " channel " << c.channel;
  }
}

TEST_F(BuilderTest, DmodssOrderAroundFlags) {
  table = ModuleTable("DMODSS1", 8);
  CParamSet set;
  ASSERT_EQ(Build(set, 7), 0);
  const std::vector<std::string> names = Names(set);
  auto at = std::find(names.begin(), names.end(), "ExternalTrigger");
  ASSERT_NE(at, names.end());
  EXPECT_EQ(std::vector<std::string>(at, at + 5),
            (std::vector<std::string>{"ExternalTrigger", "ClockSource", "Inhibit", "BusIF",
                                      "MoveMode"}));
  EXPECT_EQ(Value(set, "CardType"), "DMODSS");
  EXPECT_EQ(Value(set, "Inhibit"), "Enable");
  EXPECT_EQ(Value(set, "BusIF"), "Output");
  EXPECT_EQ(Value(set, "VMEbusInterrupt"), std::nullopt);
}

TEST_F(BuilderTest, FlagWordsGoByFirstCharacterOnly) {
  const struct {
    const char* cell;
    bool known, value;
  } cases[] = {{"t", true, true},   {"true", true, true}, {"f", true, false},
               {"false", true, false}, {"T", false, false}, {"F", false, false},
               {"", false, false},  {" t", false, false}, {"1", false, false}};
  const struct {
    const char* name;
    int column;
    const char *on, *off;
  } flags[] = {{"EventOutMode", 25, "On", "Off"},      {"ExternalTrigger", 27, "Enable", "Disable"},
               {"VMEbusInterrupt", 26, "Enable", "Disable"}, {"ClockSource", 28, "Internal", "External"},
               {"Inhibit", 30, "Enable", "Disable"},   {"BusIF", 31, "Input", "Output"}};
  for (const auto& c : cases) {
    for (const char* module : {"DMOD", "DMODSS"}) {
      table = ModuleTable(module, 1);
      for (const auto& f : flags) table.rows[0][f.column] = c.cell;
      CParamSet set;
      ASSERT_EQ(Build(set, 1), 0);
      for (const auto& f : flags) {
        const auto value = Value(set, f.name);
        if (!value) continue;  // not carried by this module kind
        EXPECT_EQ(*value, !c.known ? "Undefined" : c.value ? f.on : f.off)
            << f.name << " [" << c.cell << "] " << module;
      }
    }
  }
}

TEST_F(BuilderTest, DividerRangeAndMoveModeWords) {
  const struct {
    const char* cell;
    const char* word;
  } cases[] = {{"1", "1nsec"},          {"10", "10nsec"},       {"100", "0.1usec"},
               {"1000", "1usec"},       {"10000", "10usec"},    {"100000", "100usec"},
               {"1000000", "1msec"},    {"10000000", "10msec"}, {"100000000", "100msec"},
               {"1000000000", "1sec"},  {"5", "Undefined"},     {"", "Undefined"},
               {"-1", "Undefined"},     {" 100x", "0.1usec"},  {"4294967396", "0.1usec"}};
  for (const auto& c : cases) {
    table.rows[1][12] = c.cell;
    CParamSet set;
    ASSERT_EQ(Build(set, 2), 0);
    EXPECT_EQ(Value(set, "DvdRange"), c.word) << c.cell;
  }
  table.rows[0][32] = "-1";
  CParamSet set;
  ASSERT_EQ(Build(set, 1), 0);
  EXPECT_EQ(Value(set, "MoveMode"), "MODE-1");
}

TEST_F(BuilderTest, CollectionTimeIsLocalWallClock) {
  const struct {
    const char* zone;
    const char* cell;
    const char* seconds;
  } cases[] = {
      {"JST-9", "2024-03-05 10:20:30+09", "1709601630"},
      // Daylight saving is decided by the zone's rules: 12:00 CEST is 10:00 UTC.
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2024-07-01 12:00:00+09", "1719828000"},
      {"UTC", "2024-03-05 10:20:30+00", "0"},  // not the stored format
      {"UTC", "", "0"},
  };
  for (const auto& c : cases) {
    LocalZone zone(c.zone);
    table.rows[0][2] = c.cell;
    CParamSet set;
    ASSERT_EQ(Build(set, 1), 0);
    EXPECT_EQ(Value(set, "TimeOfCollected"), c.seconds) << c.zone << " " << c.cell;
  }
}

TEST_F(BuilderTest, HostNameUnknownOrTooLong) {
  const struct {
    int status;
    std::optional<std::string> name;
    std::string entry;
  } cases[] = {{-1, "dtshost", "-"},  // a name handed out on failure is released too
               {0, std::string(300, 'h'), std::string(255, 'h')},
               {0, std::nullopt, "-"}};
  for (const auto& c : cases) {
    IndexDb().hostName = [&](int) { return std::pair{c.status, c.name}; };
    CParamSet set;
    ASSERT_EQ(Build(set, 1), 0);
    EXPECT_EQ(Value(set, "HostName"), c.entry);
  }
}

TEST_F(BuilderTest, NonameResolvesAfterHostsFirstRow) {
  const struct {
    Table host;
    const char* queried;
  } cases[] = {{ModuleTable("DMODSS3", 2), "DMODSS0"},
               {ModuleTable("DMODS", 2), "DMOD0"},
               {Table{-2, {}}, "NONAME"},
               {Table{-1, {}}, "NONAME"},
               {Table{0, {}}, "NONAME"}};
  for (const auto& c : cases) {
    IndexDb().log.clear();
    IndexDb().hostTable = [&](int, unsigned, unsigned) { return c.host; };
    CParamSet set;
    ASSERT_EQ(Build(set, 1, "NONAME", "CAMAC1"), 0);
    EXPECT_EQ(IndexDb().log,
              (CallLog{"open", "get_DTS_HostID(CAMAC1)", "get_DTS_CAMACID(CAMAC1)",
                       "get_DTSTBL(9,1234,2)", "delete",
                       std::string("get_DTSTBL(9,") + c.queried + ",1234,2)",
                       "get_host_name(7)", "delete", "Close"}));
  }
}

TEST_F(BuilderTest, FailuresLeaveTheListAsItWas) {
  CParamSet set;
  set.AddParam("mine", 1);
  IndexDb().openResult = 3;
  EXPECT_EQ(Build(set, 1), TOVAK_E_INDEX_OPEN);
  EXPECT_EQ(IndexDb().log, (CallLog{"open", "Close"}));

  IndexDb().openResult = 0;
  IndexDb().log.clear();
  EXPECT_EQ(Build(set, 1, "DMOD1", "nosuch"), TOVAK_E_DTS_UNKNOWN);
  EXPECT_EQ(IndexDb().log, (CallLog{"open", "get_DTS_HostID(nosuch)",
                                    "get_DTS_CAMACID(nosuch)", "Close"}));

  EXPECT_EQ(Build(set, 1, std::string(64, 'M').c_str()), TOVAK_E_NO_MODULE_ROWS);
  // Channel 0 and a channel past the last row name no row: nothing is read.
  EXPECT_EQ(Build(set, 0), TOVAK_E_NO_MODULE_ROWS);
  EXPECT_EQ(Build(set, 9), TOVAK_E_NO_MODULE_ROWS);
  for (int status : {-1, -2}) {
    table.status = status;
    IndexDb().log.clear();
    EXPECT_EQ(Build(set, 1), TOVAK_E_NO_MODULE_ROWS);
    EXPECT_EQ(IndexDb().log.back(), "Close");
  }
  EXPECT_EQ(Names(set), (std::vector<std::string>{"mine"}));

  table.status = 7;  // any other status counts as rows
  ASSERT_EQ(Build(set, 3), 0);
  EXPECT_EQ(set.GetParamCount(), 39);
  EXPECT_EQ(Names(set)[1], "Shot");
}

// A list that refuses its n-th text entry.
class ThrowingList : public CParamSet {
 public:
  explicit ThrowingList(int n) : left_(n) {}
  void AddParam(const char* name, const char* value) override {
    if (--left_ == 0) throw std::runtime_error("full");
    CParamSet::AddParam(name, value);
  }
  using CParamSet::AddParam;
  int PutString(const char*) override { throw std::runtime_error("unreadable"); }

 private:
  int left_;
};

TEST_F(BuilderTest, ListExceptionsPassAfterEverythingIsReleased) {
  ThrowingList list(3);
  EXPECT_THROW(Build(list, 1), std::runtime_error);
  EXPECT_EQ(IndexDb().log.back(), "Close");
  EXPECT_EQ(*(IndexDb().log.end() - 2), "delete");

  ResetCompanions();
  SetConfig("KOVD_GRPC", "grpc://srv:1");
  Client().getDTSParameters = [](const char*, const char*, unsigned, unsigned short,
                                 unsigned short, std::string&) { return 0; };
  EXPECT_THROW(Build(list, 1), std::runtime_error);
}

class RemoteBuilderTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    SetConfig("KOVD_GRPC", "grpc://srv:1");
  }
  void Answer(int status, std::string text) {
    Client().getDTSParameters = [=](const char*, const char*, unsigned, unsigned short,
                                    unsigned short, std::string& out) {
      out = text;
      return status;
    };
  }
};

TEST_F(RemoteBuilderTest, LoadsTheServersList) {
  CParamSet sent;
  sent.AddParam("Shot", 5u);
  sent.AddParam("Comment", "two words\n", 1);
  Client().getDTSParameters = [&](const char* dts, const char* module, unsigned shot,
                                  unsigned short sub, unsigned short ch, std::string& text) {
    EXPECT_STREQ(dts, "DTS1");
    EXPECT_STREQ(module, "NONAME");
    EXPECT_EQ(shot, 1234u);
    EXPECT_EQ(sub, 2);
    EXPECT_EQ(ch, 3);
    EXPECT_TRUE(text.empty());
    text = sent.GetString();
    return 0;
  };
  CParamSet set;
  set.AddParam("mine", 1);
  ASSERT_EQ(Build(set, 3, "NONAME"), 0);
  EXPECT_EQ(Entries(set), (std::vector<Entry>{{"mine", "1", 2},
                                              {"Shot", "5", 3},
                                              {"Comment", "two words\n", 1}}));
  EXPECT_TRUE(IndexDb().log.empty());
}

TEST_F(RemoteBuilderTest, StatusPassesThroughAndListStaysUntouched) {
  Answer(5, "CParamSet 1 1\n1 a b\n");
  CParamSet set;
  EXPECT_EQ(Build(set, 1), 5);
  EXPECT_EQ(set.GetParamCount(), 0);
  Answer(0, "garbage");
  EXPECT_EQ(Build(set, 1), 0);
  EXPECT_EQ(set.GetParamCount(), 0);

  Client().connectResult = -1;
  EXPECT_EQ(Build(set, 1), TOVAK_E_NO_REMOTE);
}

}  // namespace
}  // namespace tovak::testing
