#include "link/options_scan.h"

#include <gtest/gtest.h>

#include <string>

#include "tovak/tovak.h"

namespace tovak::link {
namespace {

// Writes each keyword occurrence as "P[v]", "S[v]" or "C[k|n|t]".
struct Recorder final : OptionActions {
  std::string seen;
  void PreSample(std::string_view v) override { ((seen += "P[") += v) += "]"; }
  void SampInterval(std::string_view v) override { ((seen += "S[") += v) += "]"; }
  void ClkDTS(std::string_view k, std::string_view n, std::string_view t) override {
    ((((((seen += "C[") += k) += "|") += n) += "|") += t) += "]";
  }
};

TEST(OptionsScanTest, KeywordsTheirWordsAndPositions) {
  const struct {
    const char* options;
    const char* seen;
    int status;
  } cases[] = {
      {"", "", 0},
      {"foo PreSample 7 SampInterval 0 PreSample 3", "P[7]S[0]P[3]", 0},
      {"ClkDTS CAMAC crate3 CLK2 PreSample 4", "C[CAMAC|crate3|CLK2]P[4]", 0},
      {"notSupportedNow PreSample 5 notSupportedNow", "P[5]", TOVAK_E_NOT_SUPPORTED},
      {"presample 5 NotSupportedNow", "", 0},
      {"PreSample SampInterval 3", "P[SampInterval]", 0},
      // A keyword ending the text gets no words; reading stays inside it.
      {"PreSample 2 SampInterval", "P[2]S[]", 0},
      {"ClkDTS VME", "C[VME||]", 0},
      {"PreSample\t\t5", "P[5]", 0},
      // Positions count one separator per word: extra blanks set the next
      // read back ("e" is the tail of "PreSample"), and a different count
      // after any keyword or ClkDTS word changes what this last one reads.
      {"a   PreSample 5", "P[e]", 0},
      {"PreSample xy SampInterval a ClkDTS  5  xy ClkDTS", "P[xy]S[a]C[5|xy|y]C[||]", 0},
  };
  for (const auto& c : cases) {
    Recorder recorder;
    EXPECT_EQ(ScanOptions(c.options, recorder), c.status) << c.options;
    EXPECT_EQ(recorder.seen, c.seen) << c.options;
  }
}

}  // namespace
}  // namespace tovak::link
