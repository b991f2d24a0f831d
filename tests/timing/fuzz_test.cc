// Random inputs, within the functions' contracts, for the sampling timing:
// no undefined behaviour (the sanitizers abort), no read outside a query
// result (the fixture checks), only the statuses the functions define. The
// seed is fixed so that a failure repeats.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "doubles/companions.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

std::mt19937_64 rng(20241112);
size_t Pick(size_t n) { return static_cast<size_t>(rng() % n); }
int64_t Number() {
  static const int64_t kEdges[] = {0, 1, -1, 120, 10000000, INT_MAX, INT_MIN, INT64_MAX, INT64_MIN};
  return Pick(3) == 0 ? kEdges[Pick(std::size(kEdges))] : static_cast<int64_t>(rng()) >> Pick(64);
}
// An output name, clock setting or count: a prefix, a number, random characters, perhaps cut short.
std::string Text() {
  static const char* kPrefixes[] = {"", "D", "T", "C", "DCK", "TRG", "CLK", "CLK_OUT", "-"};
  std::string text = kPrefixes[Pick(std::size(kPrefixes))] + std::to_string(Number());
  for (size_t n = Pick(3) == 0 ? Pick(80) : 0; n > 0; --n) text += "0123456789 -+sDTCnx"[Pick(19)];
  if (Pick(4) == 0) text += "ns";
  return text.substr(0, Pick(4) == 0 ? Pick(text.size() + 1) : text.size());
}

using TimingFuzzTest = CompanionTest;  // checks that every result is released

TEST_F(TimingFuzzTest, CycleFirstSampleAndAdjust) {
  setTovakProtocolV1();
  const std::set<int> cycleStatuses{0, -53, -61, -62, -64}, firstStatuses{0, -53, -54, -56, -63, -70};
  std::map<int, int> seen;
  for (int round = 0; round < 3000; ++round) {
    Table table{0, std::vector<std::vector<std::string>>(Pick(10))};
    for (auto& row : table.rows) for (int c = 0; c < 8; ++c) row.push_back(std::to_string(Number()));
    IndexDb().hostId = [id = Pick(4) == 0 ? -1 : 3](const std::string&) { return id; };
    IndexDb().dtsParameters = [table](unsigned, unsigned, int, const std::string&) { return table; };
    const std::string clk = Text(), trg = Text(), internal = Text(), mult = Text();
    const char* source = Pick(2) ? "External" : "Internal";
    int interval = static_cast<int>(Number());
    int64_t period = Number(), start = Number(), trigger = Number(), cycle = 0, first = 0, adjust = 0;
    const int status = tovakSamplingCycle("db", "VME", "d", "DMODSS", clk.c_str(), "VME", "d", "DMODSS",
                                          trg.c_str(), &interval, 1, 0, source, internal.c_str(), mult.c_str(),
                                          &period, &start, &trigger, &cycle);
    EXPECT_TRUE(cycleStatuses.count(status)) << status;
    ++seen[status];
    if (Pick(2)) trigger = TOVAK_TIME_UNKNOWN;
    EXPECT_TRUE(firstStatuses.count(tovakSampling0Timing("db", Pick(8) == 0, "VME", "d", "DMOD", trg.c_str(), 1, 0,
                                                         source, mult.c_str(), Number(), start, &trigger, &first)));
    const char* cards[] = {"WE7275", "WE7271", "PXI6143", "PXI61", "PXIe6368", "X"};
    EXPECT_EQ(tovakFirstSampleAdjust(cards[Pick(6)], Pick(2) ? "Continuous" : "m", source, static_cast<int>(Number()),
                                     Number(), Number(), "Rising", "", static_cast<int>(Number()), &adjust), 0);
  }
  EXPECT_GT(seen[0], 300);  // the inputs reach the computations, not only refusals
  EXPECT_GT(seen[-64], 30);
}

}  // namespace
}  // namespace tovak::testing
