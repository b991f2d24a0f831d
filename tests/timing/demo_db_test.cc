// Time bases of demo channels, read from the private PostgreSQL cluster
// through the real library. The expected values are worked out by hand from
// the planned firing times of db/demo/index.sql (base clocks 10 MHz and
// 1 MHz, time zero 120 s after the DTS origin).
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tovak/tovak.h"

namespace {

struct Channel {
  const char* what;
  const char *server = "/ubo", *trgType, *trgHost, *trgModule, *trgOutput;
  const char *clkType, *clkHost, *clkModule, *clkOutput;
  unsigned shot = 120100;
  unsigned short subShot = 1;
  const char *source, *internalClock, *multiplier, *preSample;
  int interval = 0;
};

// A channel's period and delay in seconds, and its sampling interval.
struct Expected {
  double period, delay;
  int interval;
};

int TimeBase(Channel& c, int64_t count, int64_t lastSample, void* axis, double* period,
             double* delay, short quiet = 1) {
  return tovakGetDTSdatax2_ex(c.server, c.trgType, c.trgHost, c.trgModule, c.trgOutput,
                              c.clkType, c.clkHost, c.clkModule, c.clkOutput, &c.interval, count,
                              c.shot, c.subShot, c.source, c.internalClock, c.multiplier,
                              c.preSample, lastSample, quiet, 1, axis, period, delay);
}

const Channel kMagnetics{"Magnetics", "/ubo", "FPGA-DTS", "fdts01", "DMODSS0", "1", "FPGA-DTS",
                         "fdts01", "DMODSS0", "7", 120100, 1, "External", "", "1", "1000"};

TEST(TimingDemoDbTest, TimeBasesOfDemoChannels) {
  setTovakProtocolV1();
  Channel before = kMagnetics;  // shots before 120050: trigger at -0.5 s
  before.shot = 120049;
  before.preSample = "500";
  const std::pair<Channel, Expected> cases[] = {
      // 1 us clock CLK1 from -1.000005 s, trigger -1 s, 1000 samples before it.
      {kMagnetics, {1e-6, -1.001, 0}},
      {before, {1e-6, -0.5005, 0}},
      // Internal 100 kHz, trigger TRG2 at 0 s; sub-shot 2: 20 us, trigger at +1 s.
      {{"Bolometer", "/ubo", "FPGA-DTS", "fdts01", "DMODSS0", "2", "FPGA-DTS", "fdts01",
        "DMODSS0", "0", 120100, 1, "Internal", "100000", "1", "100"}, {1e-5, -0.001, 10000}},
      {{"Bolometer", "/ubo", "FPGA-DTS", "fdts01", "DMODSS0", "2", "FPGA-DTS", "fdts01",
        "DMODSS0", "0", 120100, 2, "Internal", "", "1", "100", 20000}, {2e-5, 0.998, 20000}},
      // Trigger from the VME unit at -0.01 s, 2 us clock from the CAMAC unit.
      {{"ECE", "/ubo", "VME-DTS", "vdts01", "DMOD0", "3", "CAMAC", "cdts01", "DMOD0", "1",
        120100, 1, "External", "", "1", "2000"}, {2e-6, -0.014, 0}},
      // Trigger at -0.1 s, but the 4 us clock CLK2 starts only at -0.05 s.
      {{"Interferometer", "/ubo", "FPGA-DTS", "fdts01", "DMODSS0", "3", "FPGA-DTS", "fdts01",
        "DMODSS0", "8", 120100, 1, "External", "", "1", "0"}, {4e-6, -0.050004, 0}},
      // Base clock (100 ns) every 10 cycles, trigger TRG4 at +0.2 s.
      {{"Langmuir", "/ubo", "VME-DTS", "vdts01", "DMOD0", "4", "VME-DTS", "vdts01", "DMOD0",
        "CLK_OUT", 120100, 1, "External", "", "10", "100"}, {1e-6, 0.1999, 0}},
      // Site tsu: CAMAC trigger at -0.2 s (1 MHz unit), internal 500 kHz.
      {{"tsu Magnetics", "/tsu", "CAMAC", "cdts01", "DMOD0", "3", "CAMAC", "cdts01", "DMOD0",
        "0", 120100, 1, "Internal", "500000", "1", "50"}, {2e-6, -0.2001, 2000}},
  };
  for (const auto& [channel, expected] : cases) {
    double period = 0, delay = 0;
    Channel c = channel;
    ASSERT_EQ(TimeBase(c, 0, 0, nullptr, &period, &delay), TOVAK_OK) << c.what;
    EXPECT_EQ(period, expected.period) << c.what;
    EXPECT_EQ(delay, expected.delay) << c.what;
    EXPECT_EQ(c.interval, expected.interval) << c.what;
  }
}

TEST(TimingDemoDbTest, AxisOfTheLastSamplesOfARecord) {
  setTovakProtocolV1();
  // The last 3 of 2000000 samples: sample j lies at -1.001 s + j us.
  std::vector<double> axis(3);
  double period = 0, trigger = 0;
  testing::internal::CaptureStdout();
  Channel magnetics = kMagnetics;
  ASSERT_EQ(TimeBase(magnetics, 3, 2000000, axis.data(), &period, &trigger, 0), TOVAK_OK);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Cycle = [0.00000100] sec\nDelay = [0.99899700] sec\n");
  EXPECT_EQ(axis, (std::vector<double>{0.998998, 0.998999, 0.999}));
  EXPECT_EQ(trigger, 0.999997);
}

TEST(TimingDemoDbTest, PicosecondsOfClockAndTrigger) {
  setTovakProtocolV1();
  const Channel& m = kMagnetics;
  int interval = 0;
  int64_t period = 0, start = 0, trigger = 0, cycle = 0;
  ASSERT_EQ(tovakSamplingCycle("/ubo", m.clkType, m.clkHost, m.clkModule, m.clkOutput,
                               m.trgType, m.trgHost, m.trgModule, m.trgOutput, &interval,
                               m.shot, m.subShot, m.source, "", "1", &period, &start, &trigger,
                               &cycle),
            TOVAK_OK);
  EXPECT_EQ(cycle, 1000000);
  EXPECT_EQ(start, -1000005000000);  // tick 1189999950 = 1189999900 + 20 + 30
  EXPECT_EQ(trigger, -1000000000000);
  // A module the unit does not have: no rows.
  trigger = TOVAK_TIME_UNKNOWN;
  EXPECT_EQ(tovakSampling0Timing("/ubo", false, "FPGA-DTS", "fdts01", "DMOD7", "3", 120100, 1,
                                 "Internal", "0", 1, 0, &trigger, &period),
            TOVAK_E_NO_DTS_INFO);
}

}  // namespace
