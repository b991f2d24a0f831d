// The sampling timing of a channel from texts: the clock source, the
// internal clock setting, the cycle multiplier, the clock and trigger
// output names, the modules, the pre-sample count, the unit kinds, and the
// rows of the DTS parameter table. Input lines, in this order: clock
// source; internal clock; cycle multiplier; clock output; trigger output;
// clock module; trigger module; pre-sample count; clock unit kind; trigger
// unit kind; status of the parameter query; time-axis length; last sample
// wanted; then one parameter row a line, cells separated by '|'.
//
// Each step answers a documented status and leaves its outputs alone when
// it fails, and the time base in one call agrees with the two steps. The same texts and numbers
// feed the first-sample correction too (card type: clock module line; acquisition mode: trigger
// module line; edges: the output lines), which answers 0 for any of them.
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using tovak::testing::IndexDb;

constexpr int64_t kUnknown = TOVAK_TIME_UNKNOWN;
constexpr unsigned kShot = 120000;
constexpr int kInitialInterval = 10;
constexpr int64_t kLongestAxis = 64;

struct Request {
  explicit Request(const tovak::fuzz::Fields& lines)
      : clockSource(lines[0].c_str()),
        internalClock(lines[1].c_str()),
        cycleMultiplier(lines[2].c_str()),
        clkOutput(lines[3].c_str()),
        trgOutput(lines[4].c_str()),
        clkModule(lines[5].c_str()),
        trgModule(lines[6].c_str()),
        preSample(lines[7].c_str()),
        clkDtsType(lines[8].c_str()),
        trgDtsType(lines[9].c_str()),
        queryStatus(static_cast<int>(std::strtol(lines[10].c_str(), nullptr, 10))),
        axisLength(
            std::clamp<int64_t>(std::strtoll(lines[11].c_str(), nullptr, 10), 0, kLongestAxis)),
        lastSample(std::strtoll(lines[12].c_str(), nullptr, 10)),
        rows(lines.From(13)) {}
  std::string clockSource, internalClock, cycleMultiplier, clkOutput, trgOutput, clkModule,
      trgModule, preSample, clkDtsType, trgDtsType;
  int queryStatus;
  int64_t axisLength, lastSample;
  std::vector<std::string> rows;
};

// Both units are named "dts1": the host-id query knows it, the CAMAC one
// does not.
void Script(const Request& r) {
  tovak::testing::ResetCompanions();
  auto& db = IndexDb();
  db.hostId = [](const std::string&) { return 3; };
  db.camacId = [](const std::string&) { return -1; };
  db.dtsParameters = [&r](unsigned, unsigned, int, const std::string&) {
    return tovak::fuzz::TableOf(r.queryStatus, r.rows, 8);
  };
}

struct Cycle {
  int status = 0;
  int interval = kInitialInterval;
  int64_t period = kUnknown, clockStart = kUnknown, triggerTime = kUnknown, clockCycle = kUnknown;
};

Cycle SamplingCycle(const Request& r) {
  Cycle c;
  c.status = tovakSamplingCycle(
      "/ubo", r.clkDtsType.c_str(), "dts1", r.clkModule.c_str(), r.clkOutput.c_str(),
      r.trgDtsType.c_str(), "dts1", r.trgModule.c_str(), r.trgOutput.c_str(), &c.interval, kShot, 0,
      r.clockSource.c_str(), r.internalClock.c_str(), r.cycleMultiplier.c_str(), &c.period,
      &c.clockStart, &c.triggerTime, &c.clockCycle);
  return c;
}

struct FirstSample {
  int status = 0;
  int64_t triggerTime = kUnknown, time = kUnknown;
};

FirstSample Sampling0(const Request& r, const Cycle& c, bool fromClockStart) {
  FirstSample f;
  f.triggerTime = c.triggerTime;
  f.status = tovakSampling0Timing("/ubo", fromClockStart, r.trgDtsType.c_str(), "dts1",
                                  r.trgModule.c_str(), r.trgOutput.c_str(), kShot, 0,
                                  r.clockSource.c_str(), r.preSample.c_str(), c.period,
                                  c.clockStart, &f.triggerTime, &f.time);
  return f;
}

bool OneOf(int status, std::initializer_list<int> statuses) {
  return std::find(statuses.begin(), statuses.end(), status) != statuses.end();
}

// The whole time base in one call agrees with the steps: same status and
// interval, the period as the cycle, and with no axis and no sample to skip
// the first sample's time as the delay. A failure writes neither.
void CheckTimeBase(const Request& r, const Cycle& c, const FirstSample& f, int expectedStatus) {
  Script(r);
  const int64_t n = r.axisLength;
  std::unique_ptr<double[]> axis(n > 0 ? new double[static_cast<size_t>(n)] : nullptr);
  double cycleOut = -7, delayOut = -7;
  int interval = kInitialInterval;
  const int status = tovakGetDTSdatax2_ex(
      "/ubo", r.trgDtsType.c_str(), "dts1", r.trgModule.c_str(), r.trgOutput.c_str(),
      r.clkDtsType.c_str(), "dts1", r.clkModule.c_str(), r.clkOutput.c_str(), &interval, n, kShot,
      0, r.clockSource.c_str(), r.internalClock.c_str(), r.cycleMultiplier.c_str(),
      r.preSample.c_str(), r.lastSample, 1, 1, axis.get(), &cycleOut, &delayOut);
  FUZZ_CHECK(status == expectedStatus && interval == c.interval);
  if (status != 0) {
    FUZZ_CHECK(cycleOut == -7 && delayOut == -7);
    return;
  }
  FUZZ_CHECK(cycleOut == static_cast<double>(c.period) / 1e12);
  if (n == 0 && r.lastSample <= 0) FUZZ_CHECK(delayOut == static_cast<double>(f.time) / 1e12);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Request r(tovak::fuzz::Fields(tovak::fuzz::Text(data, size), '\n'));

  Script(r);
  const Cycle c = SamplingCycle(r);
  FUZZ_CHECK(OneOf(c.status, {0, TOVAK_E_NOT_SUPPORTED, TOVAK_E_CLOCK_PARAMS, TOVAK_E_CLOCK_ID,
                              TOVAK_E_CLOCK_OUTPUT}));
  if (c.status != 0) {
    FUZZ_CHECK(c.period == kUnknown && c.clockCycle == kUnknown);
    tovak::fuzz::CheckCompanions();
    CheckTimeBase(r, c, FirstSample{}, c.status);
    tovak::fuzz::CheckCompanions();
    return 0;
  }

  const FirstSample fromClock = Sampling0(r, c, true);
  FUZZ_CHECK(fromClock.status == (r.clockSource == "External" ? 0 : TOVAK_E_NOT_SUPPORTED));
  const FirstSample f = Sampling0(r, c, false);
  FUZZ_CHECK(OneOf(f.status, {0, TOVAK_E_NO_DTS_INFO, TOVAK_E_DTS_UNKNOWN, TOVAK_E_TRIGGER_OUTPUT,
                              TOVAK_E_ZERO_PERIOD}));
  if (f.status != 0) FUZZ_CHECK(f.time == kUnknown);
  tovak::fuzz::CheckCompanions();

  CheckTimeBase(r, c, f, f.status);
  int64_t adjust = kUnknown;
  FUZZ_CHECK(tovakFirstSampleAdjust(r.clkModule.c_str(), r.trgModule.c_str(), r.clockSource.c_str(),
                                    r.queryStatus, c.period, r.lastSample, r.clkOutput.c_str(),
                                    r.trgOutput.c_str(), static_cast<int>(r.axisLength),
                                    &adjust) == 0);
  FUZZ_CHECK(!IndexDb().is_open());
  tovak::fuzz::CheckCompanions();
  return 0;
}
