// 100,000 lookups over one kept-open connection: each answers as the first did, and live heap and
// open descriptors stay flat between a warm-up and the end.
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <string>

#include "link/link_calls.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

#if defined(__SANITIZE_ADDRESS__)
extern "C" size_t __sanitizer_get_current_allocated_bytes();  // GCC ships no header for it
long LiveHeapBytes() { return static_cast<long>(__sanitizer_get_current_allocated_bytes()); }
#else
long LiveHeapBytes() { return static_cast<long>(mallinfo2().uordblks); }
#endif

long OpenDescriptors() {
  const std::filesystem::directory_iterator fds("/proc/self/fd");
  return std::distance(begin(fds), end(fds));
}

// In turn: the decoded link, the raw link, a parameter export (its host name).
std::string Lookup(int i) {
  static char names[41][64], values[41][128];
  int tags[41];
  if (i % 3 == 0) return Infox({"Magnetics", 120100, 1, 1, 3});
  if (i % 3 == 1) return InfoClk({"ECE", 120100, 1, 1, 5});
  return std::to_string(tovakGetDTSParameters(nullptr, "fdts01", "DMODSS0", 120100, 1, 7, 41, names,
                                              values, tags, true)) +
         values[16];
}

TEST(SoakTest, KeptConnectionStaysFlat) {
  setTovakProtocolV1();
  IndexNoClosing(1);
  const std::string first[] = {Lookup(0), Lookup(1), Lookup(2)};
  EXPECT_EQ(first[0] + first[1] + first[2],
            "FPGA-DTS|fdts01|DMODSS0|7|1|1|2000000|External|1000|1|0|-|0|VME|vdts01|DMOD0|1|3|1|"
            "100000|External|2000|-|CAMAC|cdts01|DMOD0|0|0fdts01-ctl.ubo.example");
  int differs = 0;
  for (int i = 0; i < 1000; ++i) differs += Lookup(i) != first[i % 3];
  const long heap = LiveHeapBytes(), fds = OpenDescriptors();
  for (int i = 0; i < 100000; ++i) differs += Lookup(i) != first[i % 3];
  EXPECT_EQ(differs, 0);
  EXPECT_EQ(OpenDescriptors(), fds);
  EXPECT_LT(LiveHeapBytes() - heap, 256 * 1024);
  IndexNoClosing(0);
}

}  // namespace
}  // namespace tovak::testing
