#include <gtest/gtest.h>

#include <string>

#include "link/link_fixture.h"

namespace tovak::testing {
namespace {

using LookupsTest = LinkTest;

TEST_F(LookupsTest, DecodeTheRowAndDeleteItBeforeClosing) {
  Answer({" VME-DTS ", "  a b ", "", "70000", " 12abc", "55", " External ", "77", "-8",
          "  PreSample 100 SampInterval 0  "});
  int status = 1;
  EXPECT_EQ(Infox({"diag", 100, -1, 3, -4, kServer}, &status),
            "VME|a b||4464|12|55|-8|External|100|1|0|-|");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(IndexDb().log,
            (Log{"open", "get_site_id(ubo)", "get_diag_id(diag,3,null)",
                 "get_DTS_information(7,100,4294967295,3,4294967292)", "delete", "Close"}));
  EXPECT_EQ(InfoClk(kChannel, &status), "VME|a b||70000|12abc|55|-8|External|100|0|-|-|-|");
}

TEST_F(LookupsTest, KindsClockSettingsAndOptions) {
  IndexDb().hostId = [](const std::string& name) { return name == "m1" ? 41 : -5; };
  IndexDb().camacId = [](const std::string&) { return 42; };
  const std::string longWord(64, '1');  // one more than the word buffer holds
  const struct {
    std::vector<std::string> row;
    std::string infox, clk;
  } cases[] = {
      {{"CAMAC-DTS", "", "", "", "", "5", "external", "7", "", ""},
       "CAMAC-DTS|||0|0|7|0|external|0|1|0|-|",
       "CAMAC-DTS|||||7|0|external|-|-|-|-|-|"},
      {{"fpga-dts", "", "", "CLK_OUT", "", "5", "External", "7", "", "ClkDTS CAMAC crate3 CLK2"},
       "UserDefined|||0|0|5|0|External|0|1|42|CLK2|",
       "UserDefined|||CLK_OUT||5|0|External|-|-|CAMAC|crate3|CLK2|"},
      {Row("ClkDTS VME m1 X SampInterval 250 ClkDTS VME-DTS m1 Y PreSample 0100"),
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|100|250|0|Y|",
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|0100|250|VME-DTS|m1|Y|"},
      {Row("ClkDTS FPGA nobody W ClkDTS"), "FPGA-DTS|t1|t2|3|4|7|8|Internal|0|1|-5|W|",
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|-|-|FPGA|nobody|W|"},
      {Row("ClkDTS VME m1 X ClkDTS FPGA"), "FPGA-DTS|t1|t2|3|4|7|8|Internal|0|1|0|X|",
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|-|-|FPGA|m1|X|"},
      {Row("PreSample 4 SampInterval 4294967296 PreSample"),  // 0 in 32 bits
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|4|1|0|-|",
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|4|4294967296|-|-|-|"},
      {Row("PreSample " + longWord + " SampInterval -6 ClkDTS VME " + longWord + " W"),
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|0|-6|0|W|",
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|" + longWord + "|-6|VME|" + longWord + "|W|"},
      // Longer than the 255-character text buffer: cut before "12345".
      {Row(std::string(240, 'x') + " PreSample 12345"), "FPGA-DTS|t1|t2|3|4|7|8|Internal|0|1|0|-|",
       "FPGA-DTS|t1|t2|3|4|7|8|Internal|-|-|-|-|-|"},
  };
  for (const auto& c : cases) {
    Answer(c.row);
    int status = 1;
    EXPECT_EQ(Infox(kChannel, &status), c.infox) << c.row[9];
    EXPECT_EQ(InfoClk(kChannel, &status), c.clk) << c.row[9];
    EXPECT_EQ(status, 0);
  }
}

TEST_F(LookupsTest, NotSupportedStillFillsEverything) {
  IndexDb().hostId = [](const std::string&) { return 9; };
  Answer(Row("notSupportedNow PreSample 5 ClkDTS FPGA f W3 notSupportedNow"));
  int status = 1;
  EXPECT_EQ(VerboseOutput([&] {
              EXPECT_EQ(Infox(kChannel, &status), "FPGA-DTS|t1|t2|3|4|7|8|Internal|5|1|9|W3|");
            }),
            "Not Supported DTS information.\nNot Supported DTS information.\n");
  EXPECT_EQ(status, TOVAK_E_NOT_SUPPORTED);
  EXPECT_EQ(InfoClk(kChannel, &status), "FPGA-DTS|t1|t2|3|4|7|8|Internal|5|-|FPGA|f|W3|");
  EXPECT_EQ(status, TOVAK_E_NOT_SUPPORTED);
}

// Each failure, in the order they are checked: the decoding lookup writes
// only its three option defaults, the raw-text lookup nothing.
TEST_F(LookupsTest, FailuresWriteOnlyTheDefaults) {
  const auto expectFailure = [](int expected, const Log& log, const std::string& message) {
    IndexDb().log.clear();
    int status = 1;
    EXPECT_EQ(
        VerboseOutput([&] { EXPECT_EQ(Infox(kChannel, &status), "-|-|-|-9|-9|-9|-9|-|0|1|0|-|"); }),
        message);
    EXPECT_EQ(status, expected);
    EXPECT_EQ(IndexDb().log, log);
    EXPECT_EQ(InfoClk(kChannel, &status), "-|-|-|-|-|-9|-9|-|-|-|-|-|-|");
    EXPECT_EQ(status, expected);
  };
  const Log queried{"open",
                    "get_site_id(ubo)",
                    "get_diag_id(diag,3,null)",
                    "get_DTS_information(7,100,2,3,4294967292)",
                    "delete",
                    "Close"};
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

}  // namespace
}  // namespace tovak::testing
