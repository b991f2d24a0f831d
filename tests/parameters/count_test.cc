#include <cstring>
#include <string>

#include "dts_fixture.h"

namespace tovak::testing {
namespace {

using CountTest = DtsTest;

struct CountCall {
  int status;
  short count;
  int first, last;
  std::string module;
};

CountCall Count(int first, int last, const char* module = "DMOD1", const char* dts = "DTS1") {
  CountCall call{0, 99, first, last, ""};
  char moduleOut[64];
  std::memset(moduleOut, '#', sizeof moduleOut);
  moduleOut[63] = '\0';
  call.status = tovakGetDTSParametersCount("idx", dts, module, 1234, 2, &call.count,
                                           &call.first, &call.last, moduleOut);
  call.module = moduleOut;
  return call;
}

TEST_F(CountTest, LargestListOverTheRange) {
  const struct {
    const char* module;
    int first, last;
    short count;
    int resolvedLast;
  } cases[] = {{"DMOD", 1, 8, 40, 8},   {"DMOD", 3, 8, 38, 8},   {"DMODSS", 1, 6, 39, 6},
               {"DMODSS", 1, 8, 41, 8}, {"DMOD", 1, 0, 40, 8},   {"DMOD", 0, 0, 40, 8},
               {"DMODSS", 0, 2, 39, 2}, {"DMOD", 8, 8, 38, 8},   {"DMOD", 0, 8, 40, 8},
               {"DMOD", 2, 8, 40, 8}};
  for (const auto& c : cases) {
    table = ModuleTable(c.module, 8);
    const CountCall call = Count(c.first, c.last);
    EXPECT_EQ(call.status, 0) << c.module << " " << c.first << ".." << c.last;
    EXPECT_EQ(call.count, c.count) << c.module << " " << c.first << ".." << c.last;
    EXPECT_EQ(call.first, c.first);
    EXPECT_EQ(call.last, c.resolvedLast);
    EXPECT_EQ(call.module, "DMOD1");
  }
}

TEST_F(CountTest, KindIsJudgedRowByRow) {
  table.rows[6][6] = "DMODSS9";  // channel 7 only
  EXPECT_EQ(Count(3, 8).count, 41);
  EXPECT_EQ(Count(3, 6).count, 38);
}

TEST_F(CountTest, IllegalRangesReportAndLeaveCountZero) {
  set_tovak_t_verbose(true);
  const struct {
    int first, last;
    const char* message;
  } cases[] = {{5, 3, "start:5 end:3 max:8"},
               {1, 9, "start:1 end:9 max:8"},
               {-1, 2, "start:-1 end:2 max:8"},
               {2, -1, "start:2 end:-1 max:8"}};
  for (const auto& c : cases) {
    ::testing::internal::CaptureStderr();
    const CountCall call = Count(c.first, c.last);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              std::string("Illeagal Channel Number ") + c.message + "\n");
    EXPECT_EQ(call.status, TOVAK_E_CHANNEL_RANGE);
    EXPECT_EQ(call.count, 0);
    EXPECT_EQ(call.first, c.first);
    EXPECT_EQ(call.last, c.last);
  }
  table.rows.clear();
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Count(1, 0).status, TOVAK_E_CHANNEL_RANGE);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Illeagal Channel Number start:1 end:0 max:0\n");
}

TEST_F(CountTest, ModuleNameIsWrittenBeforeTheTableQuery) {
  table.status = -2;
  IndexDb().hostTable = [](int, unsigned, unsigned) { return ModuleTable("DMODSS2", 1); };
  set_tovak_t_verbose(true);
  ::testing::internal::CaptureStderr();
  const CountCall call = Count(1, 0, "NONAME");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "No DTS information.\n");
  EXPECT_EQ(call.status, TOVAK_E_NO_DTS_INFO);
  EXPECT_EQ(call.module, "DMODSS0");
  EXPECT_EQ(call.count, 0);
  EXPECT_EQ(call.last, 0);

  table.status = 0;
  EXPECT_EQ(Count(5, 3, "NONAME").module, "DMODSS0");
  IndexDb().hostTable = [](int, unsigned, unsigned) { return Table{-2, {}}; };
  EXPECT_EQ(Count(1, 0, "NONAME").module, "NONAME");
  EXPECT_EQ(Count(1, 0, nullptr, "CAMAC1").module, "NONAME");
}

TEST_F(CountTest, EarlyFailuresWriteNoModuleName) {
  set_tovak_t_verbose(true);
  ::testing::internal::CaptureStderr();
  CountCall call = Count(1, 0, "DMOD1", "nosuch");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "No host name in database [nosuch]\n");
  EXPECT_EQ(call.status, TOVAK_E_DTS_UNKNOWN);
  EXPECT_EQ(call.module, std::string(63, '#'));
  EXPECT_EQ(call.count, 0);

  set_tovak_t_verbose(false);
  call = Count(1, 0, std::string(64, 'M').c_str());
  EXPECT_EQ(call.status, TOVAK_E_NO_DTS_INFO);
  EXPECT_EQ(call.module, std::string(63, '#'));

  IndexDb().openResult = 1;
  call = Count(1, 0);
  EXPECT_EQ(call.status, TOVAK_E_INDEX_OPEN);
  EXPECT_EQ(call.count, 0);
  EXPECT_EQ(tovakGetDTSParametersCount("idx", "DTS1", "M", 1, 0, nullptr, nullptr, nullptr,
                                       nullptr),
            TOVAK_E_CHANNEL_RANGE);
}

class RemoteCountTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    SetConfig("KOVD_GRPC", "grpc://srv:1");
  }
  void Answer(int status, int count, std::string name) {
    Client().getDTSParametersCount = [=](const char*, const char*, unsigned, unsigned short,
                                         int, int, int* countOut, int*, int*,
                                         std::string& nameOut) {
      *countOut = count;
      nameOut = name;
      return status;
    };
  }
};

TEST_F(RemoteCountTest, PassesTheServersAnswers) {
  Client().getDTSParametersCount = [](const char* dts, const char* module, unsigned shot,
                                      unsigned short sub, int first, int last, int* count,
                                      int* firstOut, int* lastOut, std::string& name) {
    EXPECT_STREQ(dts, "DTS1");
    EXPECT_STREQ(module, "NONAME");
    EXPECT_EQ(shot, 1234u);
    EXPECT_EQ(sub, 2);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(last, 0);
    *count = 70000;  // only the low 16 bits reach the caller
    *firstOut = 3;
    *lastOut = 16;
    name = "DMODSS0";
    return 0;
  };
  const CountCall call = Count(2, 0, "NONAME");
  EXPECT_EQ(call.status, 0);
  EXPECT_EQ(call.count, static_cast<short>(70000 & 0xFFFF));
  EXPECT_EQ(call.first, 3);
  EXPECT_EQ(call.last, 16);
  EXPECT_EQ(call.module, "DMODSS0");
}

TEST_F(RemoteCountTest, FailuresAndOverlongNames) {
  Answer(4, 40, "X");
  CountCall call = Count(1, 0);
  EXPECT_EQ(call.status, 4);
  EXPECT_EQ(call.count, 0);
  EXPECT_EQ(call.module, std::string(63, '#'));

  Answer(0, 40, std::string(100, 'N'));
  call = Count(1, 0);
  EXPECT_EQ(call.status, 0);
  EXPECT_EQ(call.module, std::string(63, 'N'));

  Client().connectResult = 9;
  call = Count(1, 0);
  EXPECT_EQ(call.status, TOVAK_E_NO_REMOTE);
  EXPECT_EQ(call.count, 0);
}

}  // namespace
}  // namespace tovak::testing
