#include "timing/time_axis.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace tovak {
namespace {

constexpr int64_t k2p53 = int64_t{1} << 53, kMax = std::numeric_limits<int64_t>::max();

// Entry k against delay + (k + 1) x period ps (modulo 2^64) in seconds, with a guard each side.
template <class T>
void CheckAxis(VectorIsa isa, int64_t delay, int64_t period, int64_t count) {
  std::vector<T> axis(static_cast<size_t>(count) + 2, T{-7}), want(axis);
  FillTimeAxis(isa, axis.data() + 1, count, delay, period);
  for (int64_t k = 0; k < count; ++k) {
    const auto ps =
        static_cast<int64_t>(static_cast<uint64_t>(delay) +
                             static_cast<uint64_t>(k + 1) * static_cast<uint64_t>(period));
    if constexpr (sizeof(T) == sizeof(float))
      want[k + 1] = static_cast<float>(ps) / 999999995904.0f;
    else
      want[k + 1] = static_cast<double>(ps) / 1e12;
  }
  ASSERT_EQ(std::memcmp(axis.data(), want.data(), axis.size() * sizeof(T)), 0)
      << delay << " " << period;
}

TEST(TimeAxisTest, BitIdenticalToThePerEntryFormulaOnEveryKernel) {
  // Long and odd-length axes, axes crossing the edges of the double range or wrapping 64 bits.
  // clang-format off
  std::vector<std::vector<int64_t>> axes = {
      {30'000'000'000'000 - 1'100'000, 10000, 1'000'003}, {5'000'000, -333, 100'001},
      {-120'000'000'000'000, 333'333'333, 50'000}, {k2p53 - 200'000'000, 10'000, 20'000},
      {k2p53 - 35'000, 7, 10'000}, {-k2p53 + 15'000, -3, 10'000}, {k2p53 + 1, 1, 9'000},
      {123, 456, 1}, {-1, k2p53 / 4095 + 1, 8'200}, {kMax - 50'000, 1000, 9'000}, {0, kMax / 3, 20},
      {0, (int64_t{1} << 46) + 1, 4096}, {-k2p53 - 100'001, 33, 4096}};
  // clang-format on
  std::mt19937_64 rng(20241112);
  auto random = [&] { return static_cast<int64_t>(rng()) >> (rng() % 64); };
  for (int i = 0; i < 300; ++i)
    axes.push_back({random(), random(), static_cast<int64_t>(rng() % 5000)});
  for (VectorIsa isa : {VectorIsa::kBase, VectorIsa::kAvx2, VectorIsa::kAvx512}) {
    if (!IsaSupported(isa)) continue;
    SCOPED_TRACE(static_cast<int>(isa));
    for (const auto& a : axes)
      CheckAxis<double>(isa, a[0], a[1], a[2]), CheckAxis<float>(isa, a[0], a[1], a[2]);
  }
  double guard = -7;
  FillTimeAxis(&guard, 0, 0, 1);
  FillTimeAxis(&guard, -5, 0, 1);
  EXPECT_EQ(guard, -7);
}

}  // namespace
}  // namespace tovak
