// A long run of lookups over one kept-open connection: live heap, resident
// size and open descriptors after a warm-up and at the end. Memory and
// descriptors stay flat; the figures are printed and recorded.
#include <dirent.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

#include "tovak/tovak.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TOVAK_SOAK_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define TOVAK_SOAK_ASAN 1
#endif
#ifdef TOVAK_SOAK_ASAN
// The sanitizer's count of live heap bytes (GCC ships no header for it).
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace tovak::testing {
namespace {

constexpr int kWarmUp = 1000;
constexpr int kLookups = 100000;
constexpr long kHeapGrowthLimit = 256 * 1024;
// Resident size is checked only without the address sanitizer, whose
// quarantine of freed blocks (256 MiB by default) fills during the run.
constexpr long kResidentGrowthLimit = 8 * 1024 * 1024;

struct Usage {
  long heapBytes;
  long residentBytes;
  int descriptors;
};

long LiveHeapBytes() {
#ifdef TOVAK_SOAK_ASAN
  return static_cast<long>(__sanitizer_get_current_allocated_bytes());
#else
  return static_cast<long>(mallinfo2().uordblks);
#endif
}

long ResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  long size = 0, resident = 0;
  statm >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

int OpenDescriptors() {
  DIR* dir = opendir("/proc/self/fd");
  if (dir == nullptr) return -1;
  int count = 0;
  while (const dirent* entry = readdir(dir)) count += entry->d_name[0] != '.';
  closedir(dir);
  return count - 1;  // the directory being read
}

Usage Measure() { return {LiveHeapBytes(), ResidentBytes(), OpenDescriptors()}; }

// Three lookups in turn: the decoded link, the raw link, a parameter export.
// Each must answer what the demo experiment holds.
bool Lookup(int i) {
  char t[11][256];
  int n[6];
  short s[2];
  switch (i % 3) {
    case 0:
      return tovakGetDTSinfox("Magnetics", 120100, 1, 1, 3, nullptr, t[0], t[1], t[2], &s[0],
                              &s[1], &n[0], &n[1], t[3], &n[2], &n[3], &n[4], t[4]) == 0 &&
             n[2] == 1000;
    case 1:
      return tovakGetDTSinfoCLK("ECE", 120100, 1, 1, 5, nullptr, t[0], t[1], t[2], t[3], t[4],
                                &n[0], &n[1], t[5], t[6], t[7], t[8], t[9], t[10]) == 0 &&
             std::string(t[9]) == "cdts01";
    default: {
      static char names[41][64], values[41][128];
      int tags[41];
      return tovakGetDTSParameters(nullptr, "fdts01", "DMODSS0", 120100, 1, 7, 41, names,
                                   values, tags, true) == 0 &&
             std::string(values[16]) == "fdts01-ctl.ubo.example";
    }
  }
}

void Report(const char* key, long value) {
  ::testing::Test::RecordProperty(key, std::to_string(value));
  std::printf("soak %-20s %ld\n", key, value);
}

TEST(SoakTest, KeptConnectionStaysFlat) {
  setTovakProtocolV1();
  IndexNoClosing(1);
  int failed = 0;
  for (int i = 0; i < kWarmUp; ++i) failed += !Lookup(i);
  const Usage before = Measure();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kLookups; ++i) failed += !Lookup(i);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const Usage after = Measure();
  IndexNoClosing(0);

  Report("lookups", kLookups);
  Report("failed", failed);
  Report("lookups_per_s", static_cast<long>(kLookups / seconds));
  Report("heap_bytes_before", before.heapBytes);
  Report("heap_bytes_after", after.heapBytes);
  Report("rss_bytes_before", before.residentBytes);
  Report("rss_bytes_after", after.residentBytes);
  Report("fds_before", before.descriptors);
  Report("fds_after", after.descriptors);
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_LT(after.heapBytes - before.heapBytes, kHeapGrowthLimit);
#ifndef TOVAK_SOAK_ASAN
  EXPECT_LT(after.residentBytes - before.residentBytes, kResidentGrowthLimit);
#endif
}

}  // namespace
}  // namespace tovak::testing
