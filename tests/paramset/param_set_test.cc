#include "tovak/param_set.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Entry = std::tuple<std::string, std::string, int>;

std::vector<Entry> Entries(const CParamSet& set) {
  std::vector<Entry> out;
  for (int i = 0; i < set.GetParamCount(); ++i) {
    char name[256], value[256];
    int tag = 0;
    EXPECT_EQ(set.GetParam(i, name, sizeof name, value, sizeof value, &tag), 0);
    out.emplace_back(name, value, tag);
  }
  return out;
}

TEST(ParamSet, EachOverloadHasItsTagAndRendering) {
  CParamSet set;
  set.AddParam("u", 4294967295u);
  set.AddParam("i", INT_MIN);
  set.AddParam("t", "text");
  set.AddParam("s", "1.5e-3", 6);
  set.AddParam("l", LONG_MIN);
  set.AddParamTime("time", 1700000000L);
  set.AddParam(nullptr, static_cast<const char*>(nullptr));
  EXPECT_EQ(Entries(set), (std::vector<Entry>{{"u", "4294967295", 3},
                                              {"i", "-2147483648", 2},
                                              {"t", "text", 1},
                                              {"s", "1.5e-3", 6},
                                              {"l", "-9223372036854775808", 4},
                                              {"time", "1700000000", 5},
                                              {"", "", 1}}));
}

TEST(ParamSet, GetParamStaysWithinSizesAndEntries) {
  CParamSet set;
  set.AddParam("ChannelNumber", "0123456789");
  char name[8], value[8];
  std::memset(name, 'X', sizeof name);
  std::memset(value, 'Y', sizeof value);
  int tag = 0;
  ASSERT_EQ(set.GetParam(0, name, 5, value, 1, &tag), 0);
  EXPECT_EQ(std::string(name, 6), std::string("Chan\0X", 6));
  EXPECT_EQ(std::string(value, 2), std::string("\0Y", 2));
  ASSERT_EQ(set.GetParam(0, name, 0, nullptr, 8, nullptr), 0);  // nothing to write into
  EXPECT_EQ(name[0], 'C');

  EXPECT_EQ(set.GetParam(1, name, 8, value, 8, &tag), -1);
  EXPECT_EQ(set.GetParam(-1, name, 8, value, 8, &tag), -1);
  EXPECT_EQ(name[0], 'C');
  EXPECT_EQ(tag, 1);
}

TEST(ParamSetText, RoundTripsAnyTextAndAppends) {
  CParamSet set;
  set.AddParam("with blanks", "  lead and trail  ");
  set.AddParam("quotes\"'", "a\"b'c");
  set.AddParam("sep %20 ; , = |", "%%\t%0A");
  set.AddParam("multi\nline\r\n", "\n");
  set.AddParam("\xE6\x99\x82\xE5\x88\xBB", "\xFF\x80\x01\x7F");
  set.AddParam("", "", 1);
  set.AddParam("neg", "x", -42);
  set.AddParam("CParamSet 1 1", "1 a b");
  set.AddParamTime("t", -1L);

  CParamSet back;
  back.AddParam("held", 1);
  ASSERT_EQ(back.PutString(set.GetString().c_str()), 0);
  std::vector<Entry> want = Entries(set);
  want.insert(want.begin(), Entry{"held", "1", 2});
  EXPECT_EQ(Entries(back), want);
}

TEST(ParamSetText, FormIsPrintableAscii) {
  CParamSet set;
  set.AddParam("a b", "\xC3\xA9\n");
  EXPECT_EQ(set.GetString(), "CParamSet 1 1\n1 a%20b %C3%A9%0A\n");
  EXPECT_EQ(CParamSet().GetString(), "CParamSet 1 0\n");
}

TEST(ParamSetText, MalformedTextLeavesListAsItWas) {
  const char* bad[] = {
      nullptr,
      "",
      "CParamSet 2 0\n",                   // unknown version
      "CParamSet 1 2\n1 a b\n",            // fewer entries than announced
      "CParamSet 1 0\n1 a b\n",            // more entries than announced
      "CParamSet 1 1\n1 a b",              // last line cut
      "CParamSet 1 1\nx a b\n",            // tag not a number
      "CParamSet 1 1\n99999999999 a b\n",  // tag beyond int
      "CParamSet 1 1\n1 a\n",              // value missing
      "CParamSet 1 1\n1 a b c\n",          // raw blank inside a field
      "CParamSet 1 1\n1 a\tb c\n",         // raw control byte
      "CParamSet 1 1\n1 a %4\n",           // short escape
      "CParamSet 1 1\n1 a %G0\n",          // not hex
      "CParamSet 1 1\n1 a %00\n",          // NUL cannot be held
      "CParamSet 1 -1\n",
  };
  for (const char* text : bad) {
    CParamSet set;
    set.AddParam("kept", 5);
    EXPECT_EQ(set.PutString(text), -1) << (text ? text : "(null)");
    EXPECT_EQ(Entries(set), (std::vector<Entry>{{"kept", "5", 2}}));
  }
  CParamSet set;
  EXPECT_EQ(set.PutString("CParamSet 1 1\n3 %c3%a9 %7e\n"), 0);  // lower-case hex
  EXPECT_EQ(Entries(set), (std::vector<Entry>{{"\xC3\xA9", "~", 3}}));
}

}  // namespace
