// Time bases of demo channels through the real library and cluster, worked out by hand from
// db/demo/index.sql (base clocks 10 MHz and 1 MHz, time zero 120 s after the DTS origin).
#include <gtest/gtest.h>

#include <tuple>

#include "tovak/tovak.h"

// clang-format off
namespace {

#define FDTS(output) {"FPGA-DTS", "fdts01", "DMODSS0", output}

TEST(TimingDemoDbTest, TimeBasesOfDemoChannels) {
  setTovakProtocolV1();
  // What the row shows; the link and the settings; the interval given; status, period and delay (s), interval.
  struct { const char *what, *server, *trg[4], *clk[4]; unsigned shot; unsigned short subShot;
           const char *source, *internalClock, *multiplier, *preSample; int interval, status; double period, delay;
           int intervalOut; } cases[] = {
      {"1 us CLK1, trigger -0.5 s before shot 120050", "/ubo", FDTS("1"), FDTS("7"), 120049, 1, "External", "", "1", "500", 0,
       0, 1e-6, -0.5005, 0},
      {"sub-shot 2 of an internal clock: 20 us, trigger at +1 s", "/ubo", FDTS("2"), FDTS("0"), 120100, 2, "Internal", "", "1", "100",
       20000, 0, 2e-5, 0.998, 20000},
      {"trigger -0.1 s, 4 us CLK2 starts at -0.05 s", "/ubo", FDTS("3"), FDTS("8"), 120100, 1, "External", "", "1",
       "0", 0, 0, 4e-6, -0.050004, 0},
      {"VME trigger at -0.01 s, 2 us CAMAC clock", "/ubo", {"VME-DTS", "vdts01", "DMOD0", "3"},
       {"CAMAC", "cdts01", "DMOD0", "1"}, 120100, 1, "External", "", "1", "2000", 0, 0, 2e-6, -0.014, 0},
      {"100 ns base clock every 10 cycles, TRG4 at +0.2 s", "/ubo", {"VME-DTS", "vdts01", "DMOD0", "4"},
       {"VME-DTS", "vdts01", "DMOD0", "CLK_OUT"}, 120100, 1, "External", "", "10", "100", 0, 0, 1e-6, 0.1999, 0},
      {"site tsu: CAMAC trigger at -0.2 s (1 MHz), internal 500 kHz", "/tsu", {"CAMAC", "cdts01", "DMOD0", "3"},
       {"CAMAC", "cdts01", "DMOD0", "0"}, 120100, 1, "Internal", "500000", "1", "50", 0, 0, 2e-6, -0.2001, 2000},
      {"a module the unit lacks: nothing written", "/ubo", {"FPGA-DTS", "fdts01", "DMOD7", "3"}, FDTS("0"), 120100,
       1, "Internal", "", "1", "0", 5, -54, 0, 0, 5}};
  for (auto& c : cases) {
    double period = 0, delay = 0;
    const int status = tovakGetDTSdatax2_ex(c.server, c.trg[0], c.trg[1], c.trg[2], c.trg[3], c.clk[0], c.clk[1],
        c.clk[2], c.clk[3], &c.interval, 0, c.shot, c.subShot, c.source, c.internalClock, c.multiplier,
        c.preSample, 0, 1, 1, nullptr, &period, &delay);
    EXPECT_EQ(std::make_tuple(status, period, delay, c.interval),
              std::make_tuple(c.status, c.period, c.delay, c.intervalOut)) << c.what;
  }
}

}  // namespace
// clang-format on
