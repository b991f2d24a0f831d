// Random inputs, within the functions' contracts, for the sampling timing:
// no undefined behaviour (the sanitizers abort), no read outside a query
// result, only the statuses the functions define, and a time axis equal to
// its per-entry formula. The seed is fixed so that a failure repeats.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "doubles/companions.h"
#include "timing/scripting.h"
#include "timing/time_axis.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

class Fuzz {
 public:
  int64_t Number() {
    static const int64_t kEdges[] = {0, 1, -1, 2, 120, 10000000, INT32_MAX, INT32_MIN,
                                     INT64_MAX, INT64_MIN, int64_t{1} << 53};
    if (Pick(3) == 0) return kEdges[Pick(std::size(kEdges))];
    return static_cast<int64_t>(rng_()) >> Pick(64);
  }
  std::string Text() {
    static const char kChars[] = "0123456789 -+sDTC_LKOUnx";
    std::string text(Pick(3) == 0 ? Pick(80) : Pick(8), ' ');
    for (char& c : text) c = kChars[Pick(sizeof kChars - 1)];
    return Pick(4) == 0 ? std::to_string(Number()) + text : text;
  }
  // An output name: mostly a prefix and a small number, else any text.
  std::string Name() {
    static const char* kPrefixes[] = {"", "D", "T", "C", "DCK", "TRG", "CLK", "CLK_OUT"};
    if (Pick(3) == 0) return Text();
    return kPrefixes[Pick(std::size(kPrefixes))] + std::to_string(Pick(12));
  }
  size_t Pick(size_t n) { return static_cast<size_t>(rng_() % n); }

 private:
  std::mt19937_64 rng_{20241112};
};

using TimingFuzzTest = CompanionTest;

TEST_F(TimingFuzzTest, CycleFirstSampleAndAdjust) {
  setTovakProtocolV1();
  Fuzz f;
  const std::set<int> cycleStatuses{0, -53, -61, -62, -64};
  const std::set<int> firstStatuses{0, -53, -54, -56, -63, -70};
  std::map<int, int> seen;
  for (int round = 0; round < 3000; ++round) {
    Table table;
    for (size_t n = f.Pick(10); n > 0; --n) {
      table.rows.push_back({});
      for (int c = 0; c < 8; ++c) table.rows.back().push_back(std::to_string(f.Number()));
    }
    ScriptDts(table, f.Pick(4) == 0 ? -1 : 3);
    const std::string clk = f.Name(), trg = f.Name(), internal = f.Text(), mult = f.Text();
    const char* source = f.Pick(2) ? "External" : "Internal";
    int interval = static_cast<int>(f.Number());
    int64_t period = f.Number(), start = f.Number(), trigger = f.Number(), cycle = 0, first = 0;
    const int status = tovakSamplingCycle("db", "VME", "d", "DMODSS", clk.c_str(), "VME", "d",
                                          "DMODSS", trg.c_str(), &interval, 1, 0, source,
                                          internal.c_str(), mult.c_str(), &period, &start,
                                          &trigger, &cycle);
    EXPECT_TRUE(cycleStatuses.count(status)) << status;
    ++seen[status];
    if (f.Pick(2)) trigger = TOVAK_TIME_UNKNOWN;
    EXPECT_TRUE(firstStatuses.count(tovakSampling0Timing(
        "db", f.Pick(8) == 0, "VME", "d", "DMOD", trg.c_str(), 1, 0, source, mult.c_str(),
        f.Number(), start, &trigger, &first)));
    int64_t adjust = 0;
    const char* cards[] = {"WE7275", "WE7271", "PXI6143", "PXI61", "PXIe6368", "X"};
    EXPECT_EQ(tovakFirstSampleAdjust(cards[f.Pick(6)], f.Pick(2) ? "Continuous" : "m", source,
                                     static_cast<int>(f.Number()), f.Number(), f.Number(),
                                     "Rising", "", static_cast<int>(f.Number()), &adjust),
              0);
  }
  EXPECT_GT(seen[0], 300);  // the inputs reach the computations, not only refusals
  EXPECT_GT(seen[-64], 30);
}

TEST_F(TimingFuzzTest, TimeAxisMatchesItsFormula) {
  Fuzz f;
  std::vector<double> axis;
  std::vector<float> single;
  for (int round = 0; round < 2000; ++round) {
    const int64_t count = static_cast<int64_t>(f.Pick(f.Pick(10) == 0 ? 20000 : 300));
    const int64_t delay = f.Number(), period = f.Number() >> f.Pick(40);
    axis.assign(count, 0);
    single.assign(count, 0);
    FillTimeAxis(axis.data(), count, delay, period);
    FillTimeAxis(single.data(), count, delay, period);
    for (int64_t k = 0; k < count; ++k) {
      const int64_t ps = AxisEntryPicoseconds(delay, period, k);
      const double d = static_cast<double>(ps) / 1e12;
      const float s = static_cast<float>(ps) / 1e12f;
      ASSERT_EQ(std::memcmp(&axis[k], &d, sizeof d), 0) << delay << " " << period << " " << k;
      ASSERT_EQ(std::memcmp(&single[k], &s, sizeof s), 0) << delay << " " << period << " " << k;
    }
  }
}

}  // namespace
}  // namespace tovak::testing
