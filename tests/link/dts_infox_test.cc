#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "link/link_fixture.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

// Outputs of tovakGetDTSinfox, all starting as recognisable garbage.
struct Infox {
  char kind[32], text1[32], text2[32], source[32], word3[32];
  short num3 = -9, num4 = -9;
  int setting = -9, num8 = -9, pre = -9, interval = -9, host = -9;

  Infox() {
    for (char* text : {kind, text1, text2, source, word3}) std::strcpy(text, kUntouched);
  }
  int Call(const char* server = kServer, short subShot = 2) {
    return tovakGetDTSinfox("diag", 100, subShot, 3, -4, server, kind, text1, text2, &num3,
                            &num4, &setting, &num8, source, &pre, &interval, &host, word3);
  }
  // Only the three option defaults were written.
  void ExpectDefaultsOnly() const {
    for (const char* text : {kind, text1, text2, source, word3}) EXPECT_STREQ(text, kUntouched);
    EXPECT_EQ(num3 + num4 + setting + num8, -36);
    EXPECT_EQ(pre, 0);
    EXPECT_EQ(interval, 1);
    EXPECT_EQ(host, 0);
  }
};

using InfoxTest = LinkTest;

TEST_F(InfoxTest, DecodesTheRowAndDeletesItBeforeClosing) {
  Answer({" VME-DTS ", "  a b ", "", "70000", "12abc", "55", " External ", "77", "-8",
          "  PreSample 100 SampInterval 0  "});
  Infox out;
  EXPECT_EQ(out.Call(kServer, -1), 0);
  EXPECT_STREQ(out.kind, "VME");
  EXPECT_STREQ(out.text1, "a b");
  EXPECT_STREQ(out.text2, "");
  EXPECT_STREQ(out.source, "External");
  EXPECT_EQ(out.num3, 4464);  // low 16 bits of 70000
  EXPECT_EQ(out.num4, 12);
  EXPECT_EQ(out.setting, 55);
  EXPECT_EQ(out.num8, -8);
  EXPECT_EQ(out.pre, 100);
  EXPECT_EQ(out.interval, 1);
  EXPECT_STREQ(out.word3, kUntouched);
  EXPECT_EQ(IndexDb().log, (Log{"open", "get_site_id(ubo)", "get_diag_id(diag,3,null)",
                                "get_DTS_information(7,100,4294967295,3,4294967292)",
                                "delete", "Close"}));
}

TEST_F(InfoxTest, KindNormalisationAndClockSettingColumn) {
  const struct {
    const char *kind, *source, *expectedKind;
    int setting;
  } cases[] = {
      {"CAMAC-DTS", "external", "CAMAC-DTS", 7}, {"CAMAC", "Internal", "CAMAC", 7},
      {"  FPGA-DTS ", "", "FPGA-DTS", 7},        {"fpga-dts", "External", "UserDefined", 5},
      {"", "External ", "UserDefined", 5},       {"VME", "Ext", "UserDefined", 7},
  };
  for (const auto& c : cases) {
    Answer({c.kind, "", "", "", "", "5", c.source, "7", "", ""});
    Infox out;
    EXPECT_EQ(out.Call(), 0);
    EXPECT_STREQ(out.kind, c.expectedKind) << c.kind;
    EXPECT_EQ(out.setting, c.setting) << c.source;
  }
}

TEST_F(InfoxTest, OptionValuesAndClockUnit) {
  IndexDb().hostId = [](const std::string& name) { return name == "m1" ? 41 : -5; };
  IndexDb().camacId = [](const std::string&) { return 42; };
  const std::string longWord(64, '1');  // one more than the word buffer holds
  const struct {
    std::string options;
    int pre, interval, host;
    const char* word3;
  } cases[] = {
      {"ClkDTS CAMAC crate3 CLK2", 0, 1, 42, "CLK2"},
      {"ClkDTS VME m1 W SampInterval 250 PreSample 0", 0, 250, 41, "W"},
      {"ClkDTS FPGA nobody W", 0, 1, -5, "W"},
      {"ClkDTS VME m1 X ClkDTS VME-DTS m1 Y", 0, 1, 0, "Y"},
      {"PreSample 4 PreSample", 4, 1, 0, kUntouched},
      {"ClkDTS VME m1 X ClkDTS FPGA", 0, 1, 0, "X"},
      {"ClkDTS VME m1 X ClkDTS", 0, 1, 41, "X"},
      {"SampInterval 4294967296", 0, 1, 0, kUntouched},  // 0 in 32 bits
      {"PreSample " + longWord + " SampInterval -6", 0, -6, 0, kUntouched},
      {"ClkDTS VME " + longWord + " W", 0, 1, 0, "W"},
      // Longer than the 255-character text buffer: cut before "12345".
      {std::string(240, 'x') + " PreSample 12345", 0, 1, 0, kUntouched},
  };
  for (const auto& c : cases) {
    Answer(Row(c.options));
    Infox out;
    EXPECT_EQ(out.Call(), 0);
    EXPECT_EQ(out.pre, c.pre) << c.options;
    EXPECT_EQ(out.interval, c.interval) << c.options;
    EXPECT_EQ(out.host, c.host) << c.options;
    EXPECT_STREQ(out.word3, c.word3) << c.options;
  }
}

TEST_F(InfoxTest, NotSupportedStillFillsEverything) {
  IndexDb().hostId = [](const std::string&) { return 9; };
  Answer(Row("notSupportedNow PreSample 5 ClkDTS FPGA f W3 notSupportedNow"));
  Infox out;
  EXPECT_EQ(VerboseOutput([&] { EXPECT_EQ(out.Call(), TOVAK_E_NOT_SUPPORTED); }),
            "Not Supported DTS information.\nNot Supported DTS information.\n");
  EXPECT_STREQ(out.kind, "FPGA-DTS");
  EXPECT_EQ(out.num8, 8);
  EXPECT_EQ(out.pre, 5);
  EXPECT_EQ(out.host, 9);
  EXPECT_STREQ(out.word3, "W3");
}

TEST_F(InfoxTest, FailuresInOrderWriteOnlyTheDefaults) {
  const auto expectFailure = [](int status, const Log& log, const std::string& message) {
    Infox out;
    IndexDb().log.clear();
    EXPECT_EQ(VerboseOutput([&] { EXPECT_EQ(out.Call(), status); }), message);
    EXPECT_EQ(IndexDb().log, log);
    out.ExpectDefaultsOnly();
  };
  const Log queried{"open", "get_site_id(ubo)", "get_diag_id(diag,3,null)",
                    "get_DTS_information(7,100,2,3,4294967292)", "delete", "Close"};
  for (int status : {-2, -1, 0}) {  // status 0 without a row is not read either
    Answer({}, status);
    expectFailure(TOVAK_E_NO_DTS_INFO, queried, "No DTS link information.\n");
  }
  const std::string unknown = "No diag name in database [diag] site[ubo]\n";
  IndexDb().diagId = [](const std::string&, int) { return -1; };
  expectFailure(TOVAK_E_UNKNOWN_DIAG,
                {"open", "get_site_id(ubo)", "get_diag_id(diag,3,null)", "Close"}, unknown);
  IndexDb().siteId = [](const std::string&) { return 0; };
  expectFailure(TOVAK_E_UNKNOWN_DIAG, {"open", "get_site_id(ubo)", "Close"}, unknown);
  IndexDb().openResult = 1;
  expectFailure(TOVAK_E_INDEX_OPEN, {"open", "Close"}, "");
}

TEST_F(InfoxTest, RemoteCopiesTextsOnlyOnSuccess) {
  int answer = 0;
  Client().getDTSinfox = [&](const char* diag, unsigned shot, int sub, int k1, int k2,
                             std::string& kind, std::string& t1, std::string& t2, short* n3,
                             short*, int*, int*, std::string& source, int* pre, int* interval,
                             int* host, std::string& word3) {
    EXPECT_EQ(std::string(diag) + std::to_string(shot + sub + k1 + k2), "diag101");
    EXPECT_TRUE(kind.empty() && word3.empty());
    EXPECT_EQ(*pre + *interval + *host, 1);  // defaults set before the call
    kind = "CAMAC", t1 = "one", t2 = "two", source = "External", word3 = "CLK9";
    *n3 = 33;
    if (answer == 1) throw std::runtime_error("lost");
    return answer;
  };
  Infox ok;
  EXPECT_EQ(ok.Call("grpc://srv:5/ubo"), 0);
  EXPECT_EQ(std::string(ok.kind) + ok.text1 + ok.text2 + ok.source + ok.word3,
            "CAMAConetwoExternalCLK9");
  EXPECT_EQ(ok.num3, 33);
  for (int status : {-54, 1}) {
    answer = status;
    Infox failed;
    if (status == 1) {
      EXPECT_THROW(failed.Call(), std::runtime_error);
    } else {
      EXPECT_EQ(failed.Call(), -54);
    }
    EXPECT_EQ(std::exchange(failed.num3, -9), 33);  // numbers as the client left them
    failed.ExpectDefaultsOnly();
  }
  Client().connectResult = 2;
  Infox none;
  EXPECT_EQ(none.Call(), TOVAK_E_NO_REMOTE);
  none.ExpectDefaultsOnly();
}

}  // namespace
}  // namespace tovak::testing
