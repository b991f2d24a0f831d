#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "tovak/tovak.h"

// clang-format off
namespace {

// A row per case of the card table: card, mode, clock source (null: "Internal"), flag, T, P, edges, n, correction.
TEST(FirstSampleAdjustTest, CardTable) {
  const struct { const char *card, *mode, *clock; int flag; int64_t T, P; const char *edgeA, *edgeB; int n;
                 int64_t adjust; } cases[] = {
      {"we7271", "m", nullptr, 0, 10, 0, "", "", 0, -20}, {"WE7272", "m", "External", 0, 10, 0, "", "", 0, -30},
      {"WE7273", "m", "Internal", 0, 10, 0, "", "", 0, -20}, {"WE7275", "m", "External", 0, 10, 0, "", "", 0, -20},
      {"we7275", "m", "Internal", 1, 1000000, 0, "", "", 0, -1000000}, {"we7275", "m", "Internal", 0, 1000000, 0, "", "", 0, -2000000},
      {"we7275", "m", "Internal", 0, 3000000, 0, "", "", 0, -3000000},
      {"WE7275", "NumberOfSamples", "INTERNAL", 1, 1000000, 0, "", "", 0, -2000000},
      {"WE7275", "Continuous", "Internal", 1, 1000000, 0, "", "", 0, -1000000},
      {"WE72720", "m", "Internal", 1, 10, 0, "", "", 0, 0}, {"PXI61XX", "m", "Internal", 1, 1000, 200, "", "", 3, -1000},
      {"PXI61XX", "m", "Internal", 0, 1000, 200, "Falling", "", 3, 400 - 1000 + 100},
      {"pxi61", "continuous(real-time)", "Internal", 1, 1000, 200, "rising", "", 3, 400 - 1000},
      {"PXI6143", "m", "External", 1, 1000, 1000, "Falling", "", 0, -500}, {"PXI6143", "m", "External", 0, 1000, 1000, "Rising", "", 0, 0},
      {"PXI61XX", "m", "External", 1, 1000, 1000, "Falling", "", 0, -500},
      {"PXI61XX", "m", "External", 1, 1000, 1000, "Rising", "", 0, -1000},
      {"PXI61XX", "m", "External", 1, 1000, 300, "Falling", "Rising", 3, -1000 + 150},
      {"PXI61XX", "m", "External", 0, 1000, 300, "Rising", "Falling", 3, 600 - 1000},
      {"PXI61XX", "m", "External", 0, 1000, 300, "Falling", "Rising", 3, 600 - 1000 + 300},
      {"pxie63", "m", "Internal", 1, 1000, 300, "", "", 3, -1000},
      {"pxie63", "m", "Internal", 0, 1000, 300, "", "", 3, 900 - 1000 + 100000},
      {"PXIe6368", "m", "External", 1, 1000, 1000, "Rising", "", 0, 70000 - 1000},
      {"PXIe6368", "m", "External", 1, 1000, 1000, "Falling", "", 0, 70000 - 1000 - 500},
      {"PXIe6368", "m", "External", 0, 1000, 1000, "Rising", "", 0, 1000 - 1000 + 70000},
      {"PXIe6368", "m", "External", 0, 1000, 1000, "Falling", "", 0, 500 - 1000 + 70000},
      {"PXIe6368", "m", "External", 1, 1000, 300, "", "", 3, -1000},
      {"PXIe6368", "Continuous", "External", 1, 1000, 300, "", "", 3, 900 - 1000 + 70000},
      {"PXI62XX", "m", "Internal", 0, 1000, 300, "", "", 3, 0}, {"ABC", "m", "Internal", 0, 1000, 300, "", "", 3, 0}};
  for (const auto& c : cases) {
    int64_t adjust = -1;
    const int status = tovakFirstSampleAdjust(c.card, c.mode, c.clock, c.flag, c.T, c.P, c.edgeA, c.edgeB, c.n, &adjust);
    EXPECT_EQ(std::make_pair(status, adjust), std::make_pair(0, c.adjust))
        << c.card << " " << c.mode << " f=" << c.flag << " P=" << c.P << " " << c.edgeA << "/" << c.edgeB;
  }
  int64_t adjust = -1;  // card type or mode missing
  const int status = tovakFirstSampleAdjust("WE7272", nullptr, "", 0, 1, 1, "", "", 0, &adjust);
  EXPECT_EQ(std::make_pair(status, adjust), std::make_pair(-1, int64_t{0}));
  EXPECT_EQ(tovakFirstSampleAdjust(nullptr, "m", "", 0, 1, 1, "", "", 0, nullptr), -1);
}

}  // namespace
// clang-format on
