#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "doubles/companions.h"
#include "link/link_calls.h"

namespace tovak::testing {
namespace {

const Channel kChannel{"diag", 100, 2, 3, -4, "dbhost/UBO::index"};
const Channel kRemote{"diag", 100, 2, 3, -4, "grpc://srv:5/ubo"};
// A link row with the given options, and its outputs before the options' ones.
std::vector<std::string> Row(const std::string& options) {
  return {"FPGA-DTS", "t1", "t2", "3", "4", "5", "Internal", "7", "8", options};
}
const std::string kPlain = "FPGA-DTS|t1|t2|3|4|7|8|Internal|";

// The outputs of a lookup of kChannel, then what it wrote to standard error.
template <class Lookup>
std::string WithStderr(Lookup lookup, bool verbose) {
  set_tovak_t_verbose(verbose);
  ::testing::internal::CaptureStderr();
  const std::string outputs = lookup(kChannel);
  set_tovak_t_verbose(false);
  return outputs + ::testing::internal::GetCapturedStderr();
}

// Site "ubo" has id 3, diagnostic "diag" id 0; the link query answers Answer's row.
class LinkTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    IndexDb().siteId = [this](const std::string&) { return siteId; };
    IndexDb().diagId = [this](const std::string&, int) { return diagId; };
  }
  void Answer(const Table& table) {
    IndexDb().dtsInformation = [table](int, unsigned, unsigned, unsigned, unsigned) {
      return table;
    };
  }
  int siteId = 3, diagId = 0;
};

TEST_F(LinkTest, RowReadThenDeletedBeforeClosing) {
  Answer({-3,  // any status but -1 and -2 is read
          {{" VME-DTS ", "  a b ", "", "70000", " 12abc", "55", " External ", "77", "-8",
            "  PreSample 70000 "}}});
  EXPECT_EQ(Infox({"diag", 100, -1, 3, -4, kChannel.server}),
            "VME|a b||4464|12|55|-8|External|70000|1|0|-|0|");
  EXPECT_EQ(IndexDb().log,
            (std::vector<std::string>{"open", "get_site_id(ubo)", "get_diag_id(diag,3,null)",
                                      "get_DTS_information(0,100,4294967295,3,4294967292)",
                                      "delete", "Close"}));
  EXPECT_EQ(InfoClk(kChannel), "VME|a b||70000|12abc|55|-8|External|70000|-|-|-|-|0|");
}

TEST_F(LinkTest, OptionsText) {
  IndexDb().hostId = [](const std::string& name) { return name == "m1" ? 41 : -5; };
  IndexDb().camacId = [](const std::string&) { return 42; };
  const std::string w64(64, '1');  // one character more than the word buffer holds
  // Options, then the ends of both lookups' outputs (see link_calls.h).
  const struct {
    std::string options, infox, clk;
  } cases[] = {
      {"", "0|1|0|-|0|", "-|-|-|-|-|0|"},
      {"x PreSample 7 SampInterval 0 PreSample 3", "3|1|0|-|0|", "3|0|-|-|-|0|"},
      {"ClkDTS CAMAC c3 K PreSample 0100", "100|1|42|K|0|", "0100|-|CAMAC|c3|K|0|"},
      {"ClkDTS FPGA nobody W ClkDTS", "0|1|-5|W|0|", "-|-|FPGA|nobody|W|0|"},
      {"ClkDTS VME-DTS m1 Y SampInterval -6", "0|-6|0|Y|0|", "-|-6|VME-DTS|m1|Y|0|"},
      {"PreSample 4 SampInterval 4294967296 PreSample", "4|1|0|-|0|", "4|4294967296|-|-|-|0|"},
      {"PreSample " + w64 + " ClkDTS VME " + w64 + " W", "0|1|0|W|0|",
       w64 + "|-|VME|" + w64 + "|W|0|"},
      // Cut at 255: a word ending there is read, a group the cut splits sets nothing.
      {std::string(240, 'x') + " PreSample 1234", "1234|1|0|-|0|", "1234|-|-|-|-|0|"},
      {std::string(240, 'x') + " PreSample 12345", "0|1|0|-|0|", "-|-|-|-|-|0|"},
      {std::string(240, 'x') + " ClkDTS VME m1 " + w64, "0|1|0|-|0|", "-|-|-|-|-|0|"},
      // A ClkDTS without its name leaves the earlier one whole.
      {"ClkDTS VME m1 W ClkDTS CAMAC", "0|1|41|W|0|", "-|-|VME|m1|W|0|"},
      {"notSupportedNow PreSample 5 ClkDTS VME m1 W", "5|1|41|W|-53|", "5|-|VME|m1|W|-53|"},
      // One separator counted per word: extra blanks set the reading position back.
      {"a   PreSample 5", "0|1|0|-|0|", "e|-|-|-|-|0|"},
      {"a  ClkDTS VME m1 W PreSample 57", "57|1|41|W|0|", "57|-|VME|m1|W|0|"},
      // White space to the end of a long cell is passed over once, not at every position.
      {"PreSample 5" + std::string(1 << 20, '\t'), "5|1|0|-|0|", "5|-|-|-|-|0|"},
      {"PreSample xy SampInterval a ClkDTS  5  xy ClkDTS", "0|1|0|y|0|", "xy|a|5|xy|y|0|"},
      {"PreSample\t\t5 SampInterval", "5|1|0|-|0|", "5|-|-|-|-|0|"},
  };
  for (const auto& c : cases) {
    Answer({0, {Row(c.options)}});
    EXPECT_EQ(Infox(kChannel), kPlain + c.infox) << c.options;
    EXPECT_EQ(InfoClk(kChannel), kPlain + c.clk) << c.options;
  }
  Answer({0, {Row("notSupportedNow x notSupportedNow")}});
  EXPECT_EQ(WithStderr(Infox, true), kPlain + "0|1|0|-|-53|Not Supported DTS information.\n" +
                                         "Not Supported DTS information.\n");
}

// Failures in the order they are checked: only the decoding lookup's defaults are written.
TEST_F(LinkTest, Failures) {
  const std::string noLink = "No DTS link information.\n";
  const std::string unknown = "No diag name in database [diag] site[ubo]\n";
  const struct {
    int site, diag, link, open, status, calls;
    std::string message;
  } cases[] = {{3, 0, -2, 0, -54, 6, noLink},   {3, 0, -1, 0, -54, 6, noLink},
               {3, 0, 0, 0, -54, 6, noLink},  // status 0 without a row
               {3, -1, 0, 0, -103, 4, unknown}, {0, 0, 0, 0, -103, 3, unknown},
               {3, 0, 0, 1, -102, 2, ""}};
  for (const auto& c : cases) {
    siteId = c.site;
    diagId = c.diag;
    IndexDb().openResult = c.open;
    IndexDb().log.clear();
    Answer({c.link, {}});
    const std::string status = std::to_string(c.status) + "|";
    EXPECT_EQ(WithStderr(Infox, true), "-|-|-|-9|-9|-9|-9|-|0|1|0|-|" + status + c.message);
    EXPECT_EQ(IndexDb().log.size(), static_cast<size_t>(c.calls));
    EXPECT_EQ(IndexDb().log.back(), "Close");
    EXPECT_EQ(WithStderr(InfoClk, false), "-|-|-|-|-|-9|-9|-|-|-|-|-|-|" + status);
  }
}

void Fill(std::string& text, int& n) { text = "r" + std::to_string(n++); }
void Fill(const void*, int&) {}  // numbers are left as they are

TEST_F(LinkTest, RemoteTextsCopiedOnlyOnSuccess) {
  int answer = 0;  // the client's status; 1: it throws
  const auto client = [&answer](const char* diag, unsigned shot, int sub, int k1, int k2,
                                auto&&... outputs) {
    EXPECT_EQ(Join(diag, shot, sub, k1, k2), "diag|100|2|3|-4|");
    int n = 0;
    (Fill(outputs, n), ...);
    if (answer == 1) throw std::runtime_error("connection lost");
    return answer;
  };
  Client().getDTSinfox = client;
  Client().getDTSinfoCLK = client;
  EXPECT_EQ(InfoClk(kRemote), "r0|r1|r2|r3|r4|-9|-9|r5|r6|r7|r8|r9|r10|0|");
  EXPECT_EQ(Infox(kRemote), "r0|r1|r2|-9|-9|-9|-9|r3|0|1|0|r4|0|");
  answer = -54;
  EXPECT_EQ(Infox(kRemote), "-|-|-|-9|-9|-9|-9|-|0|1|0|-|-54|");
  EXPECT_EQ(InfoClk(kRemote), "-|-|-|-|-|-9|-9|-|-|-|-|-|-|-54|");
  answer = 1;
  EXPECT_THROW(Infox(kRemote), std::runtime_error);
  EXPECT_THROW(InfoClk(kRemote), std::runtime_error);
  Client().connectResult = 2;
  EXPECT_EQ(Infox(kRemote), "-|-|-|-9|-9|-9|-9|-|0|1|0|-|-599|");
  EXPECT_EQ(InfoClk(kRemote), "-|-|-|-|-|-9|-9|-|-|-|-|-|-|-599|");
}

}  // namespace
}  // namespace tovak::testing
