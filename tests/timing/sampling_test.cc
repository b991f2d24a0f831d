#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "doubles/companions.h"
#include "timing/scripting.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Log = std::vector<std::string>;

struct Cycle {  // one call of tovakSamplingCycle
  const char *source = "External", *internalClock = "", *multiplier = "";
  const char *clkModule = "DMOD01", *clkOutput = "DCK2";
  const char *trgHost = "dts1", *trgModule = "DMOD01", *trgOutput = "TRG3";
  int interval = 7;
  int64_t period = kUntouched, start = kUntouched, trigger = kUntouched, cycle = kUntouched;
  int Run() {
    return tovakSamplingCycle("db", "FPGA-DTS", "dts1", clkModule, clkOutput, "FPGA-DTS",
                              trgHost, trgModule, trgOutput, &interval, 1234, 2, source,
                              internalClock, multiplier, &period, &start, &trigger, &cycle);
  }
};

struct FirstSample {  // one call of tovakSampling0Timing or its remote form
  bool fromClockStart = false;
  const char *module = "DMOD01", *output = "TRG3", *source = "Internal";
  int64_t period = 100000, clockStart = kUntouched, trigger = 0, first = kUntouched;
  int Run(decltype(&tovakSampling0Timing) fn = &tovakSampling0Timing) {
    return fn("db", fromClockStart, "VME-DTS", "dts1", module, output, 1234, 2, source, "10",
              period, clockStart, &trigger, &first);
  }
};

class SamplingTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    setTovakProtocolV1();
  }
};

TEST_F(SamplingTest, InternalClock) {
  const std::string longPeriod = std::string(70, ' ') + "250ns";
  const struct { const char* text; int64_t cycle; int interval; } cases[] = {
      {"1000000", 1000000, 1000}, {"30", 33333333333, 33333333}, {"100ns", 100000, 100},
      {"ns", 0, 7}, {"", 7000, 7}, {"x", 7000, 7}, {longPeriod.c_str(), 250000, 250}};
  for (const auto& c : cases) {
    Cycle call{.source = "Internal", .internalClock = c.text, .multiplier = "3"};
    EXPECT_EQ(call.Run(), TOVAK_OK);
    EXPECT_EQ(call.cycle, c.cycle) << c.text;
    EXPECT_EQ(call.period, 3 * c.cycle) << c.text;
    EXPECT_EQ(call.interval, c.interval) << c.text;
    EXPECT_EQ(call.start + call.trigger, 2 * kUntouched);
  }
  for (const char* multiplier : {"0", ""}) {
    Cycle call{.source = "Internal", .internalClock = "100ns", .multiplier = multiplier};
    call.Run();
    EXPECT_EQ(call.period, 100000);
  }
  // Unusable settings write nothing.
  for (Cycle call : {Cycle{.source = "Internal", .internalClock = "0Hz"},
                     Cycle{.source = "internal"}, Cycle{.source = ""}}) {
    EXPECT_EQ(call.Run(), TOVAK_E_NOT_SUPPORTED);
    EXPECT_EQ(call.cycle + call.period, 2 * kUntouched);
  }
  EXPECT_TRUE(IndexDb().setups.empty());
}

TEST_F(SamplingTest, ExternalClockFromItsRow) {
  ScriptDts(DtsModule(8));
  Cycle call{.multiplier = "3"};
  ASSERT_EQ(call.Run(), TOVAK_OK);
  EXPECT_EQ(call.cycle, 20 * 1000);  // 10 x 2 ns
  EXPECT_EQ(call.period, 60000);
  EXPECT_EQ(call.start, 20 * 100000);
  EXPECT_EQ(call.trigger, 30 * 100000);  // same module: output 3
  EXPECT_EQ(call.interval, 7);
  EXPECT_EQ(IndexDb().log, (Log{"open", "get_DTS_HostID(dts1)",
                                "get_DTS_parameters(1234,2,41,DMOD01)", "delete", "Close"}));

  Cycle c7{.clkOutput = "CK_1"};  // "C" outputs count from 7
  ASSERT_EQ(c7.Run(), TOVAK_OK);
  EXPECT_EQ(c7.cycle, 70 * 1000);
  Cycle clkOut{.clkOutput = "CLK_OUT"};
  ASSERT_EQ(clkOut.Run(), TOVAK_OK);
  EXPECT_EQ(clkOut.start, -120000000000000);
  EXPECT_EQ(clkOut.cycle, 100000);
  Cycle zero{.clkOutput = "DCK"};
  ASSERT_EQ(zero.Run(), TOVAK_OK);
  EXPECT_EQ(zero.cycle, 100000);
  EXPECT_EQ(zero.start, kUntouched);

  // The trigger time only comes from an existing row of the same module.
  for (Cycle other : {Cycle{.trgHost = "dts2"}, Cycle{.trgModule = "DMOD02"},
                      Cycle{.trgOutput = "TRG9"}, Cycle{.trgOutput = "TRG"}}) {
    EXPECT_EQ(other.Run(), TOVAK_OK);
    EXPECT_EQ(other.trigger, kUntouched);
  }
}

TEST_F(SamplingTest, DmodssClassAddsTheThirdDelay) {
  ScriptDts(Table{0, {DtsRowOf(1200000000, 1, 1, 10000000, 500, 7)}});
  for (const char* module : {"DMODSS01", "dmodss", "DMOD01", "DMODS"}) {
    Cycle call{.clkModule = module, .clkOutput = "DCK1", .trgModule = module, .trgOutput = "1"};
    FirstSample first{.module = module, .output = "TRG1", .trigger = TOVAK_TIME_UNKNOWN};
    ASSERT_EQ(call.Run(), TOVAK_OK);
    ASSERT_EQ(first.Run(), TOVAK_OK);
    const int64_t expected = (checkFPGA(module) ? 507 : 500) * 100000;
    EXPECT_EQ(call.start, expected) << module;
    EXPECT_EQ(call.trigger, expected) << module;
    EXPECT_EQ(first.trigger, expected) << module;
  }
}

TEST_F(SamplingTest, ExternalClockFailures) {
  EXPECT_EQ(Cycle{.clkOutput = "-1"}.Run(), TOVAK_E_CLOCK_OUTPUT);
  EXPECT_TRUE(IndexDb().log.empty());  // refused before the database
  IndexDb().openResult = 1;
  EXPECT_EQ(Cycle().Run(), TOVAK_E_INDEX_OPEN);
  IndexDb().openResult = 0;
  ScriptDts(DtsModule(5), -3);
  set_tovak_t_verbose(true);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Cycle().Run(), TOVAK_E_CLOCK_ID);
  ScriptDts(Table{-2, {}});
  EXPECT_EQ(Cycle().Run(), TOVAK_E_CLOCK_PARAMS);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "CLK ID(-3) not found for FPGA-DTS:(dts1)\nDTS Info not Found [CLK dts1:DMOD01]\n");
  Table noRate = DtsModule(5);
  noRate.rows[1][5] = "0";
  ScriptDts(noRate);
  Cycle call;
  EXPECT_EQ(call.Run(), TOVAK_E_CLOCK_PARAMS);
  EXPECT_EQ(call.cycle + call.start, 2 * kUntouched);
  ScriptDts(DtsModule(5));  // "CLK_OUT" is output 6
  EXPECT_EQ(Cycle{.clkOutput = "CLK_OUT"}.Run(), TOVAK_E_CLOCK_OUTPUT);
  EXPECT_EQ(IndexDb().openCalls, IndexDb().closeCalls);
}

TEST_F(SamplingTest, FirstSampleFromTriggerOrClockStart) {
  FirstSample internal{.clockStart = 500000};
  ASSERT_EQ(internal.Run(), TOVAK_OK);
  EXPECT_EQ(internal.first, -1000000);
  EXPECT_EQ(internal.trigger, 0);
  FirstSample late{.source = "External", .clockStart = 500000};
  ASSERT_EQ(late.Run(), TOVAK_OK);
  EXPECT_EQ(late.trigger, 400000);  // one period before the clock start
  EXPECT_EQ(late.first, -600000);
  for (int64_t notLater : {-500000, 0}) {
    FirstSample early{.source = "External", .clockStart = notLater};
    ASSERT_EQ(early.Run(), TOVAK_OK);
    EXPECT_EQ(early.first, -1000000);
  }

  FirstSample fromStart{.fromClockStart = true, .source = "External", .clockStart = 500000};
  ASSERT_EQ(fromStart.Run(), TOVAK_OK);
  EXPECT_EQ(fromStart.first, 400000);
  FirstSample notExternal{.fromClockStart = true, .clockStart = 500000};
  EXPECT_EQ(notExternal.Run(), TOVAK_E_NOT_SUPPORTED);
  EXPECT_EQ(notExternal.first, kUntouched);
  EXPECT_TRUE(IndexDb().setups.empty());
}

TEST_F(SamplingTest, TriggerLookup) {
  Table table = DtsModule(8);
  ScriptDts(table);
  FirstSample call{.output = "CH_1", .trigger = TOVAK_TIME_UNKNOWN};
  ASSERT_EQ(call.Run(), TOVAK_OK);
  EXPECT_EQ(call.trigger, 70 * 100000);
  EXPECT_EQ(call.first, 70 * 100000 - 10 * 100000);

  // Failures keep the unknown marker and write no first sample.
  auto failure = [](FirstSample call) {
    call.trigger = TOVAK_TIME_UNKNOWN;
    const int status = call.Run();
    EXPECT_EQ(call.trigger, TOVAK_TIME_UNKNOWN);
    EXPECT_EQ(call.first, kUntouched);
    return status;
  };
  EXPECT_EQ(failure({.source = "External", .period = 0}), TOVAK_E_ZERO_PERIOD);
  EXPECT_EQ(failure({.output = "0"}), TOVAK_E_TRIGGER_OUTPUT);
  EXPECT_EQ(failure({.output = "TRG"}), TOVAK_E_TRIGGER_OUTPUT);
  EXPECT_EQ(failure({.output = "T5"}), TOVAK_E_TRIGGER_OUTPUT);  // too short for a number
  EXPECT_EQ(failure({.output = "TRG9"}), TOVAK_E_NO_DTS_INFO);  // beyond the rows
  table.rows[2][5] = "0";
  ScriptDts(table);
  EXPECT_EQ(failure({}), TOVAK_E_NO_DTS_INFO);
  ScriptDts(Table{-1, {}});
  EXPECT_EQ(failure({}), TOVAK_E_NO_DTS_INFO);
  ScriptDts(table, -2);
  EXPECT_EQ(failure({}), TOVAK_E_DTS_UNKNOWN);
  IndexDb().openResult = 1;
  EXPECT_EQ(failure({}), TOVAK_E_INDEX_OPEN);
  EXPECT_EQ(IndexDb().openCalls, IndexDb().closeCalls);
}

TEST_F(SamplingTest, RemoteProtocolForwardsInOrder) {
  setTovakProtocolV2("grpc://srv:1");
  std::string seen;
  Client().samplingCycle = [&](auto... a) {
    seen = Join(a...);
    *std::get<14>(std::tie(a...)) = 11;  // sampInterval
    *std::get<15>(std::tie(a...)) = 5;   // sampPeriod
    return -61;
  };
  Cycle cycle{.multiplier = "2"};
  EXPECT_EQ(cycle.Run(), -61);
  EXPECT_EQ(seen, "FPGA-DTS,dts1,DMOD01,DCK2,FPGA-DTS,dts1,DMOD01,TRG3,7,1234,2,External,,2,");
  EXPECT_EQ(cycle.interval + cycle.period, 16);

  Client().sampling0Timing = [&](auto... a) {
    seen = Join(a...);
    *std::get<12>(std::tie(a...)) = 5;  // triggerTime
    return -54;
  };
  FirstSample first{.fromClockStart = true, .clockStart = 3};
  EXPECT_EQ(first.Run(), -54);
  EXPECT_EQ(seen, "1,VME-DTS,dts1,DMOD01,TRG3,1234,2,Internal,10,100000,3,0,");
  EXPECT_EQ(first.trigger, 5);
  setTovakProtocolV1();  // the remote form ignores the protocol
  EXPECT_EQ(FirstSample().Run(&V2tovakSampling0Timing), -54);
  Client().connectResult = 2;
  EXPECT_EQ(FirstSample().Run(&V2tovakSampling0Timing), TOVAK_E_NO_REMOTE);
  setTovakProtocolV2(nullptr);
  EXPECT_EQ(Cycle().Run(), TOVAK_E_NO_REMOTE);
  EXPECT_TRUE(IndexDb().setups.empty());
}

}  // namespace
}  // namespace tovak::testing
