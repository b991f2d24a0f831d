#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "doubles/companions.h"
#include "timing/scripting.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

// One call of tovakGetDTSdatax2_ex in double or single precision.
template <class T>
struct TimeBase {
  const char *source = "Internal", *trgOutput = "TRG1", *preSample = "10";
  int64_t count = 3, lastSample = 0;
  short quiet = 1;
  bool withAxis = true;
  int interval = 7;
  std::vector<T> axis = std::vector<T>(3, T{-7});
  T cycle = -7, delay = -7;
  int Run() {
    return tovakGetDTSdatax2_ex("db", "FPGA-DTS", "dts1", "DMOD01", trgOutput, "FPGA-DTS",
                                "dts1", "DMOD02", "DCK1", &interval, count, 1234, 2, source,
                                "100ns", "2", preSample, lastSample, quiet,
                                sizeof(T) == sizeof(double), withAxis ? axis.data() : nullptr,
                                &cycle, &delay);
  }
};

class TimeBaseTest : public CompanionTest {
 protected:
  // The remote server answers this period and delay (picoseconds) and sees
  // the request.
  void Answer(int64_t period, int64_t delay, int status = TOVAK_OK) {
    setTovakProtocolV2("grpc://srv:1");
    Client().getDTSdatax2 = [=, this](auto... a) {
      seen = Join(a...);
      auto outputs = std::tie(a...);
      *std::get<17>(outputs) = 55;
      *std::get<18>(outputs) = period;
      *std::get<19>(outputs) = delay;
      return status;
    };
  }
  std::string seen;
};

TEST_F(TimeBaseTest, PrintFormatsFollowThePeriod) {
  const struct { int64_t period, delay; const char* printed; } cases[] = {
      {100000, -1100000, "Cycle = [0.000000100000] sec\nDelay = [-0.000001100000] sec\n"},
      {1000000, 2500000000, "Cycle = [0.00000100] sec\nDelay = [0.00250000] sec\n"},
      {500, -1100000, "Cycle = [0.000000000500000] sec\nDelay = [-0.000001100000000] sec\n"},
      {100000, 0, ""}};
  for (const auto& c : cases) {
    Answer(c.period, c.delay);
    TimeBase<double> call{.quiet = static_cast<short>(c.printed[0] == '\0' ? -1 : 0)};
    CaptureStdout();
    ASSERT_EQ(call.Run(), TOVAK_OK);
    EXPECT_EQ(GetCapturedStdout(), c.printed);
  }
}

TEST_F(TimeBaseTest, RemoteAnswerInSeconds) {
  Answer(100000, -1100000);
  TimeBase<double> call{.lastSample = 1000};
  ASSERT_EQ(call.Run(), TOVAK_OK);
  EXPECT_EQ(seen, "FPGA-DTS,dts1,DMOD01,TRG1,FPGA-DTS,dts1,DMOD02,DCK1,7,3,1234,2,Internal,100ns,2,10,1000,");
  EXPECT_EQ(call.interval, 55);
  EXPECT_EQ(call.cycle, 1e-7);
  EXPECT_EQ(call.axis, (std::vector<double>{-1.0e-6, -0.9e-6, -0.8e-6}));  // not moved
  EXPECT_EQ(call.delay, -0.1e-6);  // sample preSample: the trigger
  TimeBase<double> noAxis{.withAxis = false};
  ASSERT_EQ(noAxis.Run(), TOVAK_OK);
  EXPECT_EQ(noAxis.delay, -1.1e-6);

  // Single precision: the float of the picoseconds, divided in float. At
  // -1099965 ps that differs from the double result narrowed.
  Answer(100000, -1199965);
  TimeBase<float> single{.preSample = "1"};
  ASSERT_EQ(single.Run(), TOVAK_OK);
  EXPECT_EQ(single.cycle, static_cast<float>(1e-7));
  EXPECT_EQ(single.axis[0], -1.09996506e-06f);
  EXPECT_NE(single.axis[0], static_cast<float>(-1099965 / 1e12));
  EXPECT_EQ(single.delay, -1.09996506e-06f);

  Answer(100000, -1100000, -61);  // a failure writes and prints nothing
  TimeBase<double> failed{.quiet = 0};
  CaptureStdout();
  EXPECT_EQ(failed.Run(), -61);
  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_EQ(failed.interval + failed.cycle + failed.delay + failed.axis[0], 7 - 21);
  Client().connectResult = 2;
  EXPECT_EQ(failed.Run(), TOVAK_E_NO_REMOTE);
}

class LocalTimeBaseTest : public TimeBaseTest {
 protected:
  void SetUp() override {
    TimeBaseTest::SetUp();
    setTovakProtocolV1();
    ScriptDts(Table{0, {DtsRowOf(1200000100, 1, 1, 10000000)}});  // trigger at 10 us
  }
};

TEST_F(LocalTimeBaseTest, CycleThenFirstSampleThenLastSampleShift) {
  // 200 ns samples (100 ns x 2); sample 10 falls on the trigger.
  TimeBase<double> call;
  ASSERT_EQ(call.Run(), TOVAK_OK);
  EXPECT_EQ(call.interval, 100);
  EXPECT_EQ(call.cycle, 2e-7);
  EXPECT_EQ(call.delay, 1e-5);
  EXPECT_EQ(call.axis, (std::vector<double>{8.2e-6, 8.4e-6, 8.6e-6}));

  TimeBase<double> last{.lastSample = 1003};  // ends at sample 1003: 1000 on
  ASSERT_EQ(last.Run(), TOVAK_OK);
  EXPECT_EQ(last.axis, (std::vector<double>{208.2e-6, 208.4e-6, 208.6e-6}));
  EXPECT_EQ(last.delay, 210e-6);
  for (int64_t unmoved : {3, 2, 0, -5}) {
    TimeBase<double> call{.lastSample = unmoved};
    ASSERT_EQ(call.Run(), TOVAK_OK);
    EXPECT_EQ(call.axis[0], 8.2e-6) << unmoved;
  }

  TimeBase<double> failed{.trgOutput = "TRG", .quiet = 0};
  CaptureStdout();
  EXPECT_EQ(failed.Run(), TOVAK_E_TRIGGER_OUTPUT);
  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_EQ(failed.interval, 100);  // the cycle step had run
  EXPECT_EQ(failed.cycle + failed.delay, -14);
  EXPECT_EQ(TimeBase<double>{.source = "internal"}.Run(), TOVAK_E_NOT_SUPPORTED);
}

}  // namespace
}  // namespace tovak::testing
