// 100,000 lookups over one kept-open connection: each answers as the first did, and live heap and
// open descriptors stay flat between a warm-up and the end.
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <string>

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

// In turn: the decoded link, the raw link, a parameter export: the status and every output.
std::string Lookup(int i) {
  static char names[41][64], values[41][128];
  char t[11][TOVAK_TEXT_BUFFER_SIZE] = {};
  short n3 = 0, n4 = 0;
  int n[5] = {}, tags[41];
  const int status =
      i % 3 == 0   ? tovakGetDTSinfox("Magnetics", 120100, 1, 1, 3, nullptr, t[0], t[1], t[2], &n3,
                                      &n4, &n[0], &n[1], t[3], &n[2], &n[3], &n[4], t[4])
      : i % 3 == 1 ? tovakGetDTSinfoCLK("ECE", 120100, 1, 1, 5, nullptr, t[0], t[1], t[2], t[3],
                                        t[4], &n[0], &n[1], t[5], t[6], t[7], t[8], t[9], t[10])
                   : tovakGetDTSParameters(nullptr, "fdts01", "DMODSS0", 120100, 1, 7, 41, names,
                                           values, tags, true);
  std::string text = std::to_string(status) + "|" + (i % 3 == 2 ? values[16] : "");
  for (int k : std::initializer_list<int>{n3, n4, n[0], n[1], n[2], n[3], n[4]})
    text += "|" + std::to_string(k);
  for (const char* s : t) text += std::string("|") + s;
  return text;
}

TEST(SoakTest, KeptConnectionStaysFlat) {
  setTovakProtocolV1();
  IndexNoClosing(1);
  const std::string first[] = {Lookup(0), Lookup(1), Lookup(2)};
  EXPECT_EQ(first[0].substr(0, 49) + first[1].substr(0, 2) + first[2].substr(0, 25),
            "0||7|1|1|2000000|1000|1|0|FPGA-DTS|fdts01|DMODSS00|0|fdts01-ctl.ubo.example|");
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
