#include "tovak/param_set.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

// Every entry as "name=value:tag;".
std::string Entries(const CParamSet& set) {
  std::string out;
  for (int i = 0; i < set.GetParamCount(); ++i) {
    char name[256], value[256];
    int tag = 0;
    EXPECT_EQ(set.GetParam(i, name, sizeof name, value, sizeof value, &tag), 0);
    out += std::string(name) + "=" + value + ":" + std::to_string(tag) + ";";
  }
  return out;
}

TEST(ParamSet, OverloadsTagAndRenderEntriesThatCopyOutBounded) {
  CParamSet set;
  set.AddParam("u", 4294967295u);
  set.AddParam("i", INT_MIN);
  set.AddParam("t", "text");
  set.AddParam("s", "1.5e-3", 6);
  set.AddParam("l", LONG_MIN);
  set.AddParamTime("time", 1700000000L);
  set.AddParam(nullptr, static_cast<const char*>(nullptr));
  EXPECT_EQ(Entries(set),
            "u=4294967295:3;i=-2147483648:2;t=text:1;s=1.5e-3:6;"
            "l=-9223372036854775808:4;time=1700000000:5;=:1;");
  char name[8] = "XXXXXXX", value[8] = "YYYYYYY";
  int tag = 0;
  ASSERT_EQ(set.GetParam(0, name, 0, nullptr, 8, nullptr), 0);  // nothing to write into
  ASSERT_EQ(set.GetParam(5, name, 3, value, 1, &tag), 0);
  EXPECT_EQ(std::string(name, 4) + std::string(value, 2) + std::to_string(tag),
            std::string("ti\0X\0Y5", 7));
  EXPECT_EQ(set.GetParam(7, name, 8, value, 8, &tag) + set.GetParam(-1, name, 8, value, 8, &tag),
            -2);  // no such entry: nothing written
  EXPECT_EQ(std::string(name, 4) + std::to_string(tag), std::string("ti\0X5", 5));
}

TEST(ParamSetText, RoundTripsAnyTextAndAppends) {
  CParamSet set;
  for (const char* text : {"  blanks  ", "quotes\"'", "%20 ; , = | %%", "\t\n\r\n",
                           "\xE6\x99\x82\xFF\x80\x01\x7F", "", "CParamSet 1 1\n1 a b"}) {
    set.AddParam(text, text, -42);
  }
  CParamSet back;
  ASSERT_EQ(back.PutString("CParamSet 1 1\n2 held %c3%a9%7e%5f\n"), 0);  // lower-case hex too
  EXPECT_EQ(back.GetString(), "CParamSet 1 1\n2 held %C3%A9~_\n");       // printable ASCII only
  ASSERT_EQ(back.PutString(set.GetString().c_str()), 0);
  EXPECT_EQ(Entries(back), "held=\xC3\xA9~_:2;" + Entries(set));
}

TEST(ParamSetText, MalformedTextLeavesListAsItWas) {
  // Wrong header, fewer or more entries than announced, bad numbers, fields or escapes.
  // clang-format off
  const char* bad[] = {nullptr, "", "CParamSet 2 0\n", "CParamSet 1 -1\n", "CParamSet 1 2\n1 a b\n",
      "CParamSet 1 0\n1 a b\n", "CParamSet 1 1\n1 a b", "CParamSet 1 1\nx a b\n", "CParamSet 1 1\n1 a\n",
      "CParamSet 1 1\n99999999999 a b\n", "CParamSet 1 1\n1 a b c\n", "CParamSet 1 1\n1 a\tb c\n",
      "CParamSet 1 1\n1 a %4\n", "CParamSet 1 1\n1 a %G0\n", "CParamSet 1 1\n1 a %00\n",
      "CParamSet 1 2\n1 a b\n1 a\n"};
  // clang-format on
  for (const char* text : bad) {
    CParamSet set;
    set.AddParam("kept", 5);
    EXPECT_EQ(set.PutString(text), -1) << (text ? text : "(null)");
    EXPECT_EQ(Entries(set), "kept=5:2;");
  }
}

}  // namespace
