// A long run of lookups over one kept-open connection: live heap and open descriptors stay flat
// between a warm-up and the end, and every lookup answers what the demo experiment holds.
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <string>

#include "tovak/tovak.h"

// The sanitizer's count of live heap bytes (GCC ships no header for it).
extern "C" size_t __sanitizer_get_current_allocated_bytes();

namespace tovak::testing {
namespace {

#if defined(__SANITIZE_ADDRESS__)
long LiveHeapBytes() { return static_cast<long>(__sanitizer_get_current_allocated_bytes()); }
#else
long LiveHeapBytes() { return static_cast<long>(mallinfo2().uordblks); }
#endif

long OpenDescriptors() {
  const std::filesystem::directory_iterator fds("/proc/self/fd");
  return std::distance(begin(fds), end(fds));
}

// Three lookups in turn: the decoded link, the raw link, a parameter export.
bool Lookup(int i) {
  char t[11][256];
  int n[6];
  short s[2];
  static char names[41][64], values[41][128];
  int tags[41];
  switch (i % 3) {
    case 0:
      return tovakGetDTSinfox("Magnetics", 120100, 1, 1, 3, nullptr, t[0], t[1], t[2], &s[0], &s[1],
                              &n[0], &n[1], t[3], &n[2], &n[3], &n[4], t[4]) == 0 &&
             n[2] == 1000;
    case 1:
      return tovakGetDTSinfoCLK("ECE", 120100, 1, 1, 5, nullptr, t[0], t[1], t[2], t[3], t[4],
                                &n[0], &n[1], t[5], t[6], t[7], t[8], t[9], t[10]) == 0 &&
             std::string(t[9]) == "cdts01";
    default:
      return tovakGetDTSParameters(nullptr, "fdts01", "DMODSS0", 120100, 1, 7, 41, names, values,
                                   tags, true) == 0 &&
             std::string(values[16]) == "fdts01-ctl.ubo.example";
  }
}

TEST(SoakTest, KeptConnectionStaysFlat) {
  setTovakProtocolV1();
  IndexNoClosing(1);
  int failed = 0;
  for (int i = 0; i < 1000; ++i) failed += !Lookup(i);
  const long heap = LiveHeapBytes(), fds = OpenDescriptors();
  for (int i = 0; i < 100000; ++i) failed += !Lookup(i);
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(OpenDescriptors(), fds);
  EXPECT_LT(LiveHeapBytes() - heap, 256 * 1024);
  IndexNoClosing(0);
}

}  // namespace
}  // namespace tovak::testing
