#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "doubles/companions.h"
#include "tovak/tovak.h"

// clang-format off

namespace tovak::testing {
namespace {

constexpr int64_t U = -777, K = TOVAK_TIME_UNKNOWN;  // U: a value no step writes

// The texts and numbers among a remote operation's arguments, each followed by ",".
template <class... A>
std::string Join(const A&... a) {
  std::ostringstream out;
  ([&] { if constexpr (!std::is_pointer_v<A> || std::is_same_v<A, const char*>) out << +a << ','; }(), ...);
  return out.str();
}

struct Cycle {  // one call of tovakSamplingCycle
  const char *source = "External", *internalClock = "", *multiplier = "", *clkModule = "DMOD01", *clkOutput = "DCK2";
  const char *trgType = "FPGA-DTS", *trgHost = "dts1", *trgModule = "DMOD01", *trgOutput = "TRG3";
  int interval = 7;
  int64_t period = U, start = U, trigger = U, cycle = U;
  int Run() { return tovakSamplingCycle("db", "FPGA-DTS", "dts1", clkModule, clkOutput, trgType, trgHost, trgModule,
      trgOutput, &interval, 1234, 2, source, internalClock, multiplier, &period, &start, &trigger, &cycle); }
};

struct FirstSample {  // one call of tovakSampling0Timing or its remote form
  bool fromClockStart = false;
  const char *source = "Internal", *module = "DMOD01", *output = "TRG3";
  int64_t period = 100000, clockStart = U, trigger = 0, first = U;
  int Run(decltype(&tovakSampling0Timing) fn = &tovakSampling0Timing) { return fn("db", fromClockStart, "VME-DTS",
      "dts1", module, output, 1234, 2, source, "10", period, clockStart, &trigger, &first); }
};

// One output's row: delay count, period factors, base rate, second and third delay.
std::vector<std::string> Row(int delay, int f1, int f2, int rate, int d2 = 0, int d3 = 0) {
  auto s = [](int v) { return std::to_string(v); };
  return {s(delay), s(f1), s(f2), "0", "0", s(rate), s(d2), s(d3)};
}

// The index database: eight outputs at 10 MHz (output n starts 10 n ticks after time zero, 10 n + 7 on "DMODSS"
// modules, 10 n ns period) of unit 0, or a fault. kOdd: a 6 Hz tick (truncated ps), a tick sum wrapping 32 bits.
enum Db { kGood, kFiveRows, kNoRate, kNotFound, kNoHost, kNoOpen, kOdd };
void ScriptModule(Db db) {
  Table table;
  const int outputs = db == kFiveRows ? 5 : 8;
  for (int n = 1; n <= outputs; ++n) table.rows.push_back(Row(1199999995 + 10 * n, 10, n, 10000000, 5, 7));
  if (db == kNoRate) table.rows[1][5] = table.rows[2][5] = "0";
  if (db == kNotFound) table = Table{-2, {}};
  if (db == kOdd) table.rows = {Row(721, 65536, 65536, 6), Row(INT_MAX, 1, 1, 1000000, 1)};
  IndexDb().hostId = [db](const std::string&) { return db == kNoHost ? -3 : 0; };
  IndexDb().dtsParameters = [table](unsigned, unsigned, int, const std::string&) { return table; };
  IndexDb().openResult = db == kNoOpen ? 1 : 0;
}

class SamplingTest : public CompanionTest {
 protected:
  void SetUp() override { CompanionTest::SetUp(); setTovakProtocolV1(); }
  void TearDown() override { EXPECT_EQ(IndexDb().openCalls, IndexDb().closeCalls), CompanionTest::TearDown(); }
};

TEST_F(SamplingTest, InternalClock) {
  const std::string longText = std::string(70, ' ') + "250ns";
  const struct { const char *source, *text, *mult; int status; int64_t cycle, period; int interval; } cases[] = {
      {"Internal", "1000000", "3", 0, 1000000, 3000000, 1000}, {"Internal", "ns", "3", 0, 0, 0, 7},
      {"Internal", "30", "0", 0, 33333333333, 33333333333, 33333333}, {"Internal", "x", "", 0, 7000, 7000, 7},
      {"Internal", "100ns", "", 0, 100000, 100000, 100}, {"Internal", "", "2", 0, 7000, 14000, 7},
      {"Internal", longText.c_str(), "1", 0, 250000, 250000, 250}, {"Internal", "0Hz", "1", -53, U, U, 7},
      {"internal", "100ns", "", -53, U, U, 7}, {"", "100ns", "", -53, U, U, 7}};
  for (const auto& c : cases) {
    Cycle call{.source = c.source, .internalClock = c.text, .multiplier = c.mult};
    EXPECT_EQ(call.Run(), c.status) << c.text;
    EXPECT_EQ(std::tie(call.cycle, call.period, call.interval, call.start, call.trigger),
              std::make_tuple(c.cycle, c.period, c.interval, U, U)) << c.source << c.text;
  }
}

TEST_F(SamplingTest, ExternalClockAndTriggerFromTheModuleRows) {
  // "C": from output 7; "CLK_OUT" is output 6.
  const struct { Db db; const char *module, *clk, *trg; int status; int64_t cycle, start, trigger; } cases[] = {
      {kGood, "dmodss", "DCK2", "TRG3", 0, 20000, 2700000, 3700000}, {kGood, "DMODS", "CK_2", "C__1", 0, 80000, 8000000, 7000000},
      {kGood, "DMOD01", "CLK_OUT", "TRG", 0, 100000, -120000000000000, U}, {kGood, "DMOD01", "DCK", "TRG9", 0, 100000, U, U},
      {kOdd, "DMOD01", "DCK1", "TRG2", 0, 0, 166666666666, (INT_MIN - 120000000LL) * 1000000},
      {kFiveRows, "DMOD01", "CLK_OUT", "TRG3", -64, U, U, U}, {kNoOpen, "DMOD01", "-1", "TRG3", -64, U, U, U},
      {kNoOpen, "DMOD01", "DCK2", "TRG3", -102, U, U, U}, {kNoHost, "DMOD01", "DCK2", "TRG3", -62, U, U, U},
      {kNotFound, "DMOD01", "DCK2", "TRG3", -61, U, U, U}, {kNoRate, "DMOD01", "DCK2", "TRG3", -61, U, U, U}};
  for (const auto& c : cases) {
    ScriptModule(c.db);
    Cycle call{.clkModule = c.module, .clkOutput = c.clk, .trgModule = c.module, .trgOutput = c.trg};
    EXPECT_EQ(call.Run(), c.status) << c.module << " " << c.clk;
    EXPECT_EQ(std::tie(call.cycle, call.period, call.start, call.trigger, call.interval),
              std::make_tuple(c.cycle, c.status ? U : c.cycle, c.start, c.trigger, 7)) << c.module << c.clk;
  }
  EXPECT_EQ(std::vector(IndexDb().log.begin(), IndexDb().log.begin() + 5),
            (std::vector<std::string>{"open", "get_DTS_HostID(dts1)", "get_DTS_parameters(1234,2,0,dmodss)",
                                      "delete", "Close"}));
  ScriptModule(kGood);  // a trigger from another unit or module is not read
  for (Cycle other : {Cycle{.trgType = "VME-DTS"}, Cycle{.trgHost = "dts2"}, Cycle{.trgModule = "DMOD02"}}) {
    EXPECT_EQ(other.Run(), TOVAK_OK);
    EXPECT_EQ(other.trigger, U);
  }
}

TEST_F(SamplingTest, FirstSampleFromTriggerClockStartOrLookup) {
  const struct { Db db; bool from, external; const char *module, *output; int64_t period, clockStart, triggerIn;
                 int status; int64_t trigger, first; } cases[] = {
      {kNoOpen, 0, 0, "DMOD01", "TRG3", 100000, 500000, 0, 0, 0, -1000000}, {kNoOpen, 0, 1, "DMOD01", "TRG3", 100000, 500000, 0, 0, 400000, -600000},
      {kNoOpen, 0, 1, "DMOD01", "TRG3", 100000, -500000, 0, 0, 0, -1000000}, {kNoOpen, 0, 1, "DMOD01", "TRG3", 100000, 0, 0, 0, 0, -1000000},
      {kNoOpen, 1, 1, "DMOD01", "TRG3", 100000, 500000, 0, 0, 0, 400000}, {kNoOpen, 1, 0, "DMOD01", "TRG3", 100000, 500000, 0, -53, 0, U},
      {kGood, 0, 0, "DMOD01", "CH_1", 100000, U, K, 0, 7000000, 6000000}, {kGood, 0, 1, "dmodss1", "TRG3", 100000, U, K, 0, 3700000, 2700000},
      {kGood, 0, 1, "DMOD01", "TRG3", 0, U, K, -70, K, U}, {kNoOpen, 0, 0, "DMOD01", "TRG", 100000, U, K, -63, K, U},
      {kNoOpen, 0, 0, "DMOD01", "T5", 100000, U, K, -63, K, U}, {kNoOpen, 0, 0, "DMOD01", "TRG3", 100000, U, K, -102, K, U},
      {kNoHost, 0, 0, "DMOD01", "TRG3", 100000, U, K, -56, K, U}, {kNotFound, 0, 0, "DMOD01", "TRG3", 100000, U, K, -54, K, U},
      {kGood, 0, 0, "DMOD01", "TRG9", 100000, U, K, -54, K, U}, {kNoRate, 0, 0, "DMOD01", "TRG3", 100000, U, K, -54, K, U}};
  for (const auto& c : cases) {
    ScriptModule(c.db);
    FirstSample call{c.from, c.external ? "External" : "Internal", c.module, c.output, c.period, c.clockStart, c.triggerIn};
    EXPECT_EQ(call.Run(), c.status) << c.output;
    EXPECT_EQ(std::tie(call.trigger, call.first), std::make_tuple(c.trigger, c.first)) << c.external << c.output;
  }
}

// The direct time base: the cycle and the first sample chained, lastSample moving the axis.
TEST_F(SamplingTest, TimeBaseChainsCycleAndFirstSample) {
  ScriptModule(kGood);  // 200 ns samples, trigger TRG1 at 1 us, sample 10 on it
  const struct { const char *source, *trg; int64_t count, lastSample; int status; int64_t delay; } cases[] = {
      {"Internal", "TRG1", 3, 0, 0, -1000000}, {"Internal", "TRG1", 3, 3, 0, -1000000},
      {"Internal", "TRG1", -5, 0, 0, -1000000}, {"Internal", "TRG1", 3, 1003, 0, 199000000},  // ends at sample 1003
      {"Internal", "TRG", 3, 0, -63, U}, {"internal", "TRG1", 3, 0, -53, U}};
  for (const auto& c : cases) {
    int interval = 7;
    double period = U, delay = U;
    const int status = tovakGetDTSdatax2_ex("db", "FPGA-DTS", "dts1", "DMOD01", c.trg, "FPGA-DTS", "dts1", "DMOD02",
        "DCK1", &interval, c.count, 1234, 2, c.source, "100ns", "2", "10", c.lastSample, 1, 1, nullptr, &period,
        &delay);
    EXPECT_EQ(std::tie(status, interval, period, delay), std::make_tuple(c.status, c.status == -53 ? 7 : 100,
              c.status ? U : 200000 / 1e12, c.status ? U : c.delay / 1e12)) << c.lastSample;
  }
}

// The time base from the period and delay in ps as the remote side answers; the steps' remote forms.
TEST_F(SamplingTest, RemoteFormsAndTheWholeTimeBase) {
  setTovakProtocolV2("grpc://srv:1");
  std::string seen;
  Client().sampling0Timing = [](auto...) { return -54; };
  int status = -61, interval = 7;
  int64_t delay = -1100000;
  Client().getDTSdatax2 = [&](auto... a) {
    seen = Join(a...);
    auto out = std::tie(a...);
    std::tie(*std::get<17>(out), *std::get<18>(out), *std::get<19>(out)) = std::make_tuple(55, 100000, delay);
    return status;
  };
  // The remote side moves the axis to lastSample itself.
  const auto timeBase = [&](int wide, int64_t count, const char* preSample, void* axis, void* cycleOut, void* delayOut) {
    interval = 7;
    return tovakGetDTSdatax2_ex("db", "FPGA-DTS", "dts1", "DMOD01", "TRG1", "FPGA-DTS", "dts1", "DMOD02", "DCK1", &interval,
                                count, 1234, 2, "Internal", "100ns", "2", preSample, 1000, 1, wide, axis, cycleOut, delayOut);
  };
  double axis[3] = {-7, -7, -7}, cycleOut = -7, seconds = -7;
  const auto outputs = [&] { return std::make_tuple(interval, cycleOut, seconds, axis[0]); };
  EXPECT_EQ(timeBase(1, 3, "10", axis, &cycleOut, &seconds), -61);
  EXPECT_EQ(outputs(), std::make_tuple(7, -7.0, -7.0, -7.0));  // a failure writes nothing
  status = 0;
  EXPECT_EQ(timeBase(1, 3, "10", axis, &cycleOut, &seconds), 0);
  EXPECT_EQ(outputs(), std::make_tuple(55, 1e-7, -0.1e-6, -1.0e-6));  // delayOut: sample preSample, with an axis
  EXPECT_EQ(seen, "FPGA-DTS,dts1,DMOD01,TRG1,FPGA-DTS,dts1,DMOD02,DCK1,7,3,1234,2,Internal,100ns,2,10,1000,");
  timeBase(1, 3, "10", nullptr, nullptr, &seconds);
  EXPECT_EQ(seconds, -1.1e-6);  // without an axis, delayOut is the time of sample 0
  // Single precision: the float of the ps divided in float (at -1099965 ps, not the double result narrowed).
  float single, singleCycle, singleDelay;
  delay = -1199965;
  timeBase(0, 1, "1", &single, &singleCycle, &singleDelay);
  EXPECT_EQ(std::tie(single, singleCycle, singleDelay),
            std::make_tuple(-1.09996506e-06f, static_cast<float>(1e-7), -1.09996506e-06f));
  setTovakProtocolV1();  // here the axis moves to lastSample: 997 periods of 200 ns on
  ScriptModule(kGood);
  EXPECT_EQ(timeBase(1, 3, "10", axis, &cycleOut, &seconds), 0);
  EXPECT_EQ(outputs(), std::make_tuple(100, 2e-7, 2.004e-4, 1.986e-4));
  EXPECT_EQ(FirstSample().Run(&V2tovakSampling0Timing), -54);  // the remote form ignores the protocol
  Client().connectResult = 2;
  EXPECT_EQ(FirstSample().Run(&V2tovakSampling0Timing), TOVAK_E_NO_REMOTE);
  setTovakProtocolV2(nullptr);
  EXPECT_EQ(Cycle().Run(), TOVAK_E_NO_REMOTE);
  EXPECT_EQ(timeBase(1, 3, "10", axis, &cycleOut, &seconds), TOVAK_E_NO_REMOTE);
}

}  // namespace
}  // namespace tovak::testing
// clang-format on
