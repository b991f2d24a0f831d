#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "link/link_fixture.h"

namespace tovak::testing {
namespace {

// The client fills every string it gets with "r0", "r1", ... and sets the
// first number; answer 1 makes it throw instead of returning.
class RemoteTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    using S = std::string;
    Client().getDTSinfox = [this](const char* diag, unsigned shot, int sub, int k1, int k2, S& a,
                                  S& b, S& c, short* n3, short*, int*, int*, S& d, int* pre,
                                  int* interval, int* host, S& e) {
      EXPECT_EQ(std::string(diag) + std::to_string(shot + sub + k1 + k2), "diag101");
      EXPECT_EQ(*pre + *interval + *host, 1);  // defaults set before the call
      *n3 = 33;
      return Fill({&a, &b, &c, &d, &e});
    };
    Client().getDTSinfoCLK = [this](const char*, unsigned, int, int, int, S& a, S& b, S& c, S& d,
                                    S& e, int* setting, int*, S& f, S& g, S& h, S& i, S& j, S& k) {
      *setting = 11;
      return Fill({&a, &b, &c, &d, &e, &f, &g, &h, &i, &j, &k});
    };
  }

  int Fill(std::initializer_list<std::string*> texts) {
    int n = 0;
    for (std::string* text : texts) {
      EXPECT_TRUE(text->empty());
      *text = "r" + std::to_string(n++);
    }
    if (answer == 1) throw std::runtime_error("connection lost");
    return answer;
  }

  int answer = 0;
};

TEST_F(RemoteTest, TextsAreCopiedOnlyOnSuccess) {
  const Channel remote{"diag", 100, 2, 3, -4, "grpc://srv:5/ubo"};
  int status = 1;
  EXPECT_EQ(InfoClk(remote, &status), "r0|r1|r2|r3|r4|11|-9|r5|r6|r7|r8|r9|r10|");
  EXPECT_EQ(CurrentProtocol, 1);  // decided by the raw-text lookup itself
  EXPECT_EQ(Infox(remote, &status), "r0|r1|r2|33|-9|-9|-9|r3|0|1|0|r4|");
  EXPECT_EQ(status, 0);

  answer = -54;
  EXPECT_EQ(Infox(remote, &status), "-|-|-|33|-9|-9|-9|-|0|1|0|-|");
  EXPECT_EQ(status, -54);
  EXPECT_EQ(InfoClk(remote, &status), "-|-|-|-|-|11|-9|-|-|-|-|-|-|");
  EXPECT_EQ(status, -54);

  answer = 1;  // passes through to the caller
  EXPECT_THROW(Infox(remote, &status), std::runtime_error);
  EXPECT_THROW(InfoClk(remote, &status), std::runtime_error);

  Client().connectResult = 2;  // no client: only the option defaults are written
  EXPECT_EQ(Infox(remote, &status), "-|-|-|-9|-9|-9|-9|-|0|1|0|-|");
  EXPECT_EQ(status, TOVAK_E_NO_REMOTE);
  EXPECT_EQ(InfoClk(remote, &status), "-|-|-|-|-|-9|-9|-|-|-|-|-|-|");
  EXPECT_EQ(status, TOVAK_E_NO_REMOTE);
}

}  // namespace
}  // namespace tovak::testing
