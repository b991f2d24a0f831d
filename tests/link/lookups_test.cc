#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "doubles/companions.h"
#include "tovak/tovak.h"

// Tables laid out by hand, a row per case: the formatter leaves them alone.
// clang-format off

namespace tovak::testing {
namespace {

struct Channel { const char* diag; unsigned shot; short sub, key1, key2; const char* server; };
const Channel kChannel{"diag", 100, 2, 3, -4, "dbhost/UBO::index"};

template <class... T>
std::string Join(const T&... values) {
  std::ostringstream out;
  ((out << values << '|'), ...);
  return out.str();
}

// The outputs of a lookup in argument order, then its status. Texts start as "-" and numbers
// as -9: an output the call did not write shows so.
struct Outputs {
  char t[11][TOVAK_TEXT_BUFFER_SIZE] = {"-", "-", "-", "-", "-", "-", "-", "-", "-", "-", "-"};
  short n3 = -9, n4 = -9;
  int setting = -9, n8 = -9, pre = -9, interval = -9, host = -9;
};
std::string Infox(const Channel& c) {  // kind|text1|text2|num3|num4|setting|num8|source|pre|interval|hostId|word3
  Outputs o;
  const int status = tovakGetDTSinfox(c.diag, c.shot, c.sub, c.key1, c.key2, c.server, o.t[0], o.t[1], o.t[2], &o.n3,
                                      &o.n4, &o.setting, &o.n8, o.t[3], &o.pre, &o.interval, &o.host, o.t[4]);
  return Join(o.t[0], o.t[1], o.t[2], o.n3, o.n4, o.setting, o.n8, o.t[3], o.pre, o.interval, o.host, o.t[4], status);
}
std::string InfoClk(const Channel& c) {  // kind|text1..4|setting|num8|source|pre|interval|type|host|word3
  Outputs o;
  const int status = tovakGetDTSinfoCLK(c.diag, c.shot, c.sub, c.key1, c.key2, c.server, o.t[0], o.t[1], o.t[2],
                                        o.t[3], o.t[4], &o.setting, &o.n8, o.t[5], o.t[6], o.t[7], o.t[8], o.t[9], o.t[10]);
  return Join(o.t[0], o.t[1], o.t[2], o.t[3], o.t[4], o.setting, o.n8, o.t[5], o.t[6], o.t[7], o.t[8], o.t[9], o.t[10],
              status);
}

// Site "ubo" has id siteId, diagnostic "diag" id diagId; the link query answers Answer's table.
class LinkTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    IndexDb().siteId = [this](const std::string&) { return siteId; };
    IndexDb().diagId = [this](const std::string&, int) { return diagId; };
  }
  void Answer(const Table& table) { IndexDb().dtsInformation = [table](auto...) { return table; }; }
  int siteId = 3, diagId = 0;
};

TEST_F(LinkTest, RowReadThenDeletedBeforeClosing) {
  Answer({-3, {{" VME-DTS ", "  a b ", "", "70000", " 12abc", "55", " External ", "77", "-8", "  PreSample 70000 "}}});
  EXPECT_EQ(Infox({"diag", 100, -1, 3, -4, kChannel.server}), "VME|a b||4464|12|55|-8|External|70000|1|0|-|0|");
  EXPECT_EQ(IndexDb().log, (CallLog{"open", "get_site_id(ubo)", "get_diag_id(diag,3)",
                                    "get_DTS_information(0,100,4294967295,3,4294967292)", "delete", "Close"}));
  EXPECT_EQ(InfoClk(kChannel), "VME|a b||70000|12abc|55|-8|External|70000|-|-|-|-|0|");  // any status but -1, -2 is read
}

TEST_F(LinkTest, OptionsText) {
  IndexDb().hostId = [](const std::string& name) { return name == "m1" ? 41 : -5; };
  IndexDb().camacId = [](const std::string&) { return 42; };
  const std::string kPlain = "FPGA-DTS|t1|t2|3|4|7|8|Internal|";
  // Options, then the ends of both lookups' outputs.
  const struct { std::string options, infox, clk; } cases[] = {
      {"", "0|1|0|-|0|", "-|-|-|-|-|0|"}, {"x PreSample 7 SampInterval 0 PreSample 3", "3|1|0|-|0|", "3|0|-|-|-|0|"},
      {"ClkDTS CAMAC c3 K PreSample 0100", "100|1|42|K|0|", "0100|-|CAMAC|c3|K|0|"},
      {"ClkDTS FPGA nobody W ClkDTS", "0|1|-5|W|0|", "-|-|FPGA|nobody|W|0|"},
      {"ClkDTS VME-DTS m1 Y SampInterval -6", "0|-6|0|Y|0|", "-|-6|VME-DTS|m1|Y|0|"},
      {"PreSample 4 SampInterval 4294967296 PreSample", "4|1|0|-|0|", "4|4294967296|-|-|-|0|"},
      {"ClkDTS VME m1 W ClkDTS CAMAC", "0|1|41|W|0|", "-|-|VME|m1|W|0|"},  // a ClkDTS without its name: the earlier stays
      {"notSupportedNow PreSample 5 ClkDTS VME m1 W", "5|1|41|W|-53|", "5|-|VME|m1|W|-53|"},
      // One separator counted per word: extra blanks set the reading position back.
      {"a   PreSample 5", "0|1|0|-|0|", "e|-|-|-|-|0|"}, {"a  ClkDTS VME m1 W PreSample 57", "57|1|41|W|0|", "57|-|VME|m1|W|0|"}};
  for (const auto& c : cases) {
    Answer({0, {{"FPGA-DTS", "t1", "t2", "3", "4", "5", "Internal", "7", "8", c.options}}});
    EXPECT_EQ(Infox(kChannel) + InfoClk(kChannel), kPlain + c.infox + kPlain + c.clk) << c.options;
  }
}

// Failures in the order they are checked: only the decoding lookup's defaults are written.
TEST_F(LinkTest, Failures) {
  const struct { int site, diag, link, open, status, calls; } cases[] = {{3, 0, -2, 0, -54, 6}, {3, 0, -1, 0, -54, 6},
      {3, 0, 0, 0, -54, 6} /* status 0, no row */, {3, -1, 0, 0, -103, 4}, {0, 0, 0, 0, -103, 3}, {3, 0, 0, 1, -102, 2}};
  for (const auto& c : cases) {
    std::tie(siteId, diagId, IndexDb().openResult, IndexDb().log) = std::tuple(c.site, c.diag, c.open, CallLog{});
    Answer({c.link, {}});
    const std::string status = std::to_string(c.status) + "|";
    const std::string seen = Infox(kChannel) + InfoClk(kChannel);
    EXPECT_EQ(seen + IndexDb().log.back() + std::to_string(IndexDb().log.size()), "-|-|-|-9|-9|-9|-9|-|0|1|0|-|" + status + "-|-|-|-|-|-9|-9|-|-|-|-|-|-|" + status + "Close" + std::to_string(c.calls * 2));
  }
}

}  // namespace
}  // namespace tovak::testing
// clang-format on
