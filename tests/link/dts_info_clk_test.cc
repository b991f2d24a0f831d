#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "link/link_fixture.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Texts = std::vector<std::string>;

// Outputs of tovakGetDTSinfoCLK; the eleven texts in argument order.
struct InfoClk {
  char t[11][32];
  int setting = -9, num8 = -9;

  InfoClk() {
    for (auto& text : t) std::strcpy(text, kUntouched);
  }
  int Call(const char* server = kServer) {
    return tovakGetDTSinfoCLK("diag", 100, 2, 3, 4, server, t[0], t[1], t[2], t[3], t[4],
                              &setting, &num8, t[5], t[6], t[7], t[8], t[9], t[10]);
  }
  Texts texts() const { return {std::begin(t), std::end(t)}; }
  bool Untouched() const { return texts() == Texts(11, kUntouched) && setting + num8 == -18; }
};

using InfoClkTest = LinkTest;

TEST_F(InfoClkTest, HandsBackTextsAsWrittenWithoutIdentifierQueries) {
  Answer({"VME-DTS", " a ", "b", " CLK_OUT ", "12abc", "5", "External", "7", "8",
          "PreSample 0100 SampInterval 0 ClkDTS VME-DTS m1 CLK2"});
  InfoClk out;
  EXPECT_EQ(out.Call(), 0);
  EXPECT_EQ(out.texts(), (Texts{"VME", "a", "b", "CLK_OUT", "12abc", "External", "0100", "0",
                                "VME-DTS", "m1", "CLK2"}));
  EXPECT_EQ(out.setting + out.num8, 13);
  EXPECT_EQ(IndexDb().log.size(), 6u);  // open, site, diag, link, delete, Close

  Answer(Row("notSupportedNow ClkDTS CAMAC c3 SampInterval PreSample"));
  InfoClk partial;
  EXPECT_EQ(partial.Call(), TOVAK_E_NOT_SUPPORTED);
  EXPECT_EQ(partial.texts(), (Texts{"FPGA-DTS", "t1", "t2", "3", "4", "Internal", kUntouched,
                                    kUntouched, "CAMAC", "c3", "SampInterval"}));
}

TEST_F(InfoClkTest, NothingIsPresetOnFailure) {
  const auto expectFailure = [](int status) {
    InfoClk out;
    EXPECT_EQ(out.Call(), status);
    EXPECT_TRUE(out.Untouched());
  };
  for (int status : {-1, -2}) {
    Answer({}, status);
    expectFailure(TOVAK_E_NO_DTS_INFO);
  }
  IndexDb().siteId = [](const std::string&) { return -1; };
  expectFailure(TOVAK_E_UNKNOWN_DIAG);
  IndexDb().openResult = 1;
  expectFailure(TOVAK_E_INDEX_OPEN);
  EXPECT_EQ(IndexDb().closeCalls, 4);
}

TEST_F(InfoClkTest, RemoteDeliversElevenTextsOnlyOnSuccess) {
  int answer = 0;
  Client().getDTSinfoCLK = [&](const char*, unsigned, int, int, int, std::string& kind,
                               std::string& t1, std::string& t2, std::string& t3,
                               std::string& t4, int* setting, int*, std::string& source,
                               std::string& pre, std::string& interval, std::string& type,
                               std::string& host, std::string& word3) {
    int i = 0;
    for (std::string* s : {&kind, &t1, &t2, &t3, &t4, &source, &pre, &interval, &type, &host,
                           &word3}) {
      EXPECT_TRUE(s->empty());
      *s = "r" + std::to_string(i++);
    }
    *setting = 11;
    if (answer == 1) throw std::runtime_error("lost");
    return answer;
  };
  InfoClk ok;
  EXPECT_EQ(ok.Call("grpc://srv:5/ubo"), 0);
  EXPECT_EQ(CurrentProtocol, 1);  // decided by this call
  EXPECT_EQ(ok.texts(),
            (Texts{"r0", "r1", "r2", "r3", "r4", "r5", "r6", "r7", "r8", "r9", "r10"}));
  for (int status : {-54, 1}) {
    answer = status;
    InfoClk failed;
    if (status == 1) {
      EXPECT_THROW(failed.Call(), std::runtime_error);
    } else {
      EXPECT_EQ(failed.Call(), -54);
    }
    EXPECT_EQ(failed.texts(), Texts(11, kUntouched));
  }
  Client().connectResult = 2;
  InfoClk none;
  EXPECT_EQ(none.Call(), TOVAK_E_NO_REMOTE);
  EXPECT_TRUE(none.Untouched());
}

}  // namespace
}  // namespace tovak::testing
