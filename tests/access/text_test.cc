#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tovak/tovak.h"

namespace {

std::string Trim(const char* text) {
  std::string in = text;
  char out[64];
  std::memset(out, 'x', sizeof out);
  trimstrcpy(out, in.data());
  return out;
}

TEST(TrimTest, DropsOnlyOuterBlanks) {
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(Trim("    "), "");
  EXPECT_EQ(Trim(""), "");
  EXPECT_EQ(Trim("\tx "), "\tx");  // only the blank 0x20 is trimmed
  EXPECT_EQ(Trim("x\n"), "x\n");
}

TEST(TrimTest, TrimsInPlace) {
  char text[] = "   in place  ";
  trimstrcpy(text, text);
  EXPECT_STREQ(text, "in place");
}

TEST(BufferStringCopyTest, CopiesOneSlotAndPadsWithNul) {
  char buffer[64];
  std::memset(buffer, 0, sizeof buffer);
  std::memcpy(buffer + 16, "second-slot-full", 16);  // fills its slot, no NUL
  std::strcpy(buffer + 32, "third");
  char out[17];
  std::memset(out, 'x', sizeof out);
  bufferStringCopy(out, buffer, 16, 3);
  EXPECT_STREQ(out, "third");
  for (int i = 5; i < 16; ++i) EXPECT_EQ(out[i], '\0') << i;
  EXPECT_EQ(out[16], 'x');  // nothing beyond the width is written

  std::memset(out, 'x', sizeof out);
  bufferStringCopy(out, buffer, 16, 2);
  EXPECT_EQ(std::string(out, 16), "second-slot-full");
  EXPECT_EQ(out[16], 'x');  // a full slot leaves dst unterminated
}

TEST(BufferStringCopyTest, WidthBelowOneWritesNothing) {
  char out[4] = "abc";
  EXPECT_EQ(bufferStringCopy(out, "zzz", 0, 1), out);
  EXPECT_STREQ(out, "abc");
}

TEST(CheckFpgaTest, FirstSixCharactersWithoutCase) {
  EXPECT_TRUE(checkFPGA("dmodss12"));
  EXPECT_TRUE(checkFPGA("DMODSS"));
  EXPECT_TRUE(checkFPGA("DmodSS0"));
  EXPECT_FALSE(checkFPGA("DMODS"));
  EXPECT_FALSE(checkFPGA("DMOD0"));
  EXPECT_FALSE(checkFPGA(""));
  EXPECT_FALSE(checkFPGA(nullptr));
}

TEST(VerboseTest, SwitchIsReadBack) {
  set_tovak_t_verbose(true);
  EXPECT_TRUE(is_verbose());
  set_tovak_t_verbose(false);
  EXPECT_FALSE(is_verbose());
}

}  // namespace
