#include "timing/dts_time.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace tovak {
namespace {

TEST(DtsTimeTest, TicksFromTheOriginTimesTruncatedTickLength) {
  // 3 Hz: ticks of 333333333333 ps; the origin is taken off in ticks.
  EXPECT_EQ(DtsTime(DtsRow{361, 0, 0, 3, 0, 0}, false), 333333333333);
  EXPECT_EQ(DtsTime(DtsRow{0, 0, 0, 3, 0, 0}, false), -360 * int64_t{333333333333});
  // Sums and products that overflow wrap around.
  const int32_t max = std::numeric_limits<int32_t>::max();
  EXPECT_EQ(DtsTime(DtsRow{max, 0, 0, 1000000, 1, 0}, false),
            (int64_t{std::numeric_limits<int32_t>::min()} - 120000000) * 1000000);
  EXPECT_EQ(DtsTime(DtsRow{max, 0, 0, 1, 0, 0}, false),
            static_cast<int64_t>(static_cast<uint64_t>(max - 120) * 1000000000000u));
  EXPECT_EQ(OutputClockCycle(DtsRow{0, 65536, 65536, 1, 0, 0}), 0);
}

}  // namespace
}  // namespace tovak
