#include "tovak/param_set.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

struct Got {
  int status;
  std::string name, value;
  int tag;
};

Got Read(const CParamSet& set, int index) {
  char name[256], value[256];
  int tag = -999;
  const int status = set.GetParam(index, name, sizeof name, value, sizeof value, &tag);
  if (status != 0) return {status, "", "", tag};
  return {status, name, value, tag};
}

void ExpectSame(const CParamSet& a, const CParamSet& b) {
  ASSERT_EQ(a.GetParamCount(), b.GetParamCount());
  for (int i = 0; i < a.GetParamCount(); ++i) {
    const Got x = Read(a, i), y = Read(b, i);
    EXPECT_EQ(x.name, y.name) << i;
    EXPECT_EQ(x.value, y.value) << i;
    EXPECT_EQ(x.tag, y.tag) << i;
  }
}

TEST(ParamSet, EachOverloadKeepsOrderTagAndRendering) {
  CParamSet set;
  set.AddParam("u", 4294967295u);
  set.AddParam("i", -2147483647 - 1);
  set.AddParam("t", "text");
  set.AddParam("s", "1.5e-3", 6);
  set.AddParam("l", LONG_MIN);
  set.AddParamTime("time", 1700000000L);
  set.AddParam(nullptr, static_cast<const char*>(nullptr));

  ASSERT_EQ(set.GetParamCount(), 7);
  const struct {
    const char* name;
    const char* value;
    int tag;
  } want[] = {{"u", "4294967295", kTovakParamUInt},
              {"i", "-2147483648", kTovakParamInt},
              {"t", "text", kTovakParamText},
              {"s", "1.5e-3", 6},
              {"l", "-9223372036854775808", kTovakParamLong},
              {"time", "1700000000", kTovakParamTime},
              {"", "", kTovakParamText}};
  for (int i = 0; i < 7; ++i) {
    const Got got = Read(set, i);
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.name, want[i].name) << i;
    EXPECT_EQ(got.value, want[i].value) << i;
    EXPECT_EQ(got.tag, want[i].tag) << i;
  }
}

TEST(ParamSet, GetParamCutsWithinSizesAndNeverWritesPast) {
  CParamSet set;
  set.AddParam("ChannelNumberInModule", "0123456789");
  char name[12], value[8];
  std::memset(name, 'X', sizeof name);
  std::memset(value, 'Y', sizeof value);
  int tag = 0;
  ASSERT_EQ(set.GetParam(0, name, 5, value, 3, &tag), 0);
  EXPECT_STREQ(name, "Chan");
  EXPECT_STREQ(value, "01");
  EXPECT_EQ(name[5], 'X');
  EXPECT_EQ(value[3], 'Y');
  EXPECT_EQ(tag, kTovakParamText);

  // A size of 1 holds the NUL alone; 0 or below writes nothing.
  ASSERT_EQ(set.GetParam(0, name, 1, value, 0, &tag), 0);
  EXPECT_EQ(name[0], '\0');
  EXPECT_EQ(name[1], 'h');
  EXPECT_EQ(value[0], '0');
  // Null buffers and tag are skipped.
  EXPECT_EQ(set.GetParam(0, nullptr, 10, nullptr, 10, nullptr), 0);
}

TEST(ParamSet, GetParamRefusesIndexOutsideTheList) {
  CParamSet set;
  set.AddParam("a", 1);
  char name[8] = "keep", value[8] = "keep";
  int tag = 77;
  EXPECT_EQ(set.GetParam(1, name, 8, value, 8, &tag), -1);
  EXPECT_EQ(set.GetParam(-1, name, 8, value, 8, &tag), -1);
  EXPECT_STREQ(name, "keep");
  EXPECT_STREQ(value, "keep");
  EXPECT_EQ(tag, 77);
}

TEST(ParamSetText, RoundTripsAwkwardNamesAndValues) {
  CParamSet set;
  set.AddParam("with blanks", "  lead and trail  ");
  set.AddParam("quotes\"'", "a\"b'c");
  set.AddParam("sep %20 ; , = |", "%%\t%0A");
  set.AddParam("multi\nline\r\n", "\n");
  set.AddParam("\xE6\x99\x82\xE5\x88\xBB", "\xFF\x80\x01\x7F");
  set.AddParam("", "", 1);
  set.AddParam("neg", "x", -42);
  set.AddParam("CParamSet 1 1", "1 a b");
  set.AddParam("n", 7);
  set.AddParamTime("t", -1L);

  CParamSet back;
  ASSERT_EQ(back.PutString(set.GetString().c_str()), 0);
  ExpectSame(set, back);
  EXPECT_EQ(back.GetString(), set.GetString());
}

TEST(ParamSetText, FormIsPrintableAsciiOneLinePerEntry) {
  CParamSet set;
  set.AddParam("a b", "\xC3\xA9\n");
  const std::string text = set.GetString();
  EXPECT_EQ(text, "CParamSet 1 1\n1 a%20b %C3%A9%0A\n");

  CParamSet empty;
  CParamSet back;
  ASSERT_EQ(back.PutString(empty.GetString().c_str()), 0);
  EXPECT_EQ(back.GetParamCount(), 0);
}

TEST(ParamSetText, PutStringAppendsAfterHeldEntries) {
  CParamSet source;
  source.AddParam("b", 2);
  CParamSet set;
  set.AddParam("a", 1);
  ASSERT_EQ(set.PutString(source.GetString().c_str()), 0);
  ASSERT_EQ(set.GetParamCount(), 2);
  EXPECT_EQ(Read(set, 0).name, "a");
  EXPECT_EQ(Read(set, 1).name, "b");
  EXPECT_EQ(Read(set, 1).tag, kTovakParamInt);
}

TEST(ParamSetText, MalformedTextLeavesListAsItWas) {
  const char* bad[] = {
      nullptr,
      "",
      "CParamSet 2 0\n",                       // unknown version
      "CParamSet 1 2\n1 a b\n",                // fewer entries than announced
      "CParamSet 1 0\n1 a b\n",                // more entries than announced
      "CParamSet 1 1\n1 a b",                  // last line cut
      "CParamSet 1 1\nx a b\n",                // tag not a number
      "CParamSet 1 1\n1 a\n",                  // value missing
      "CParamSet 1 1\n1 a b c\n",              // raw blank inside a field
      "CParamSet 1 1\n1 a %4\n",               // short escape
      "CParamSet 1 1\n1 a %G0\n",              // not hex
      "CParamSet 1 1\n1 a %00\n",              // NUL cannot be held
      "CParamSet 1 1\n1 a\tb c\n",             // raw control byte
      "CParamSet 1 1\n99999999999 a b\n",      // tag beyond int
      "CParamSet 1 -1\n",
  };
  for (const char* text : bad) {
    CParamSet set;
    set.AddParam("kept", 5);
    EXPECT_EQ(set.PutString(text), -1) << (text ? text : "(null)");
    ASSERT_EQ(set.GetParamCount(), 1);
    EXPECT_EQ(Read(set, 0).name, "kept");
  }
}

TEST(ParamSetText, AcceptsLowerCaseHex) {
  CParamSet set;
  ASSERT_EQ(set.PutString("CParamSet 1 1\n3 %c3%a9 %7e\n"), 0);
  EXPECT_EQ(Read(set, 0).name, "\xC3\xA9");
  EXPECT_EQ(Read(set, 0).value, "~");
  EXPECT_EQ(Read(set, 0).tag, 3);
}

TEST(ParamSet, CopiesAreIndependent) {
  CParamSet a;
  a.AddParam("x", 1);
  CParamSet b(a);
  b.AddParam("y", 2);
  CParamSet c;
  c = b;
  a.AddParam("z", 3);
  EXPECT_EQ(a.GetParamCount(), 2);
  EXPECT_EQ(b.GetParamCount(), 2);
  EXPECT_EQ(Read(c, 1).name, "y");
  EXPECT_EQ(Read(a, 1).name, "z");
}

}  // namespace
