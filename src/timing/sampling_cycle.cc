#include <strings.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "access/session.h"
#include "access/state.h"
#include "access/text.h"
#include "timing/dts_time.h"
#include "timing/sampling.h"
#include "timing/wrapping.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

constexpr double kNanosecondsPerSecond = 1000000000.0;

// The digitizer's own clock. The setting is a frequency in hertz
// ("1000000") or a period in nanoseconds followed by a two-character unit
// ending in "s" ("100ns"); shorter than two characters, the caller's
// sampling interval stands. A frequency that reads as 0 gives no clock.
int InternalClockCycle(const char* setting, int* sampInterval, int64_t* cycle) {
  const std::string_view text = View(setting);
  if (text.size() < 2) {
    *cycle = int64_t{*sampInterval} * kPicosecondsPerNanosecond;
    return TOVAK_OK;
  }
  if (text.back() == 's') {
    *cycle = 0;
    if (text.size() == 2) return TOVAK_OK;  // a unit without a number
    const std::string number(text.substr(0, text.size() - 2));
    const int32_t nanoseconds = ParseInt32(number.c_str());
    *sampInterval = nanoseconds;
    *cycle = int64_t{nanoseconds} * kPicosecondsPerNanosecond;
    return TOVAK_OK;
  }
  const int64_t hertz = ParseInt64(setting);
  if (hertz == 0) return TOVAK_E_NOT_SUPPORTED;
  // |10^9 / hertz| <= 10^9 fits the interval.
  *sampInterval = static_cast<int32_t>(kNanosecondsPerSecond / static_cast<double>(hertz));
  *cycle = kPicosecondsPerSecond / hertz;
  return TOVAK_OK;
}

bool SameModule(const DtsOutput& a, const DtsOutput& b) {
  return View(a.dtsType) == View(b.dtsType) && View(a.dtsHost) == View(b.dtsHost) &&
         View(a.module) == View(b.module);
}

bool IsClkOut(const char* output) {
  return output != nullptr && strcasecmp(output, "CLK_OUT") == 0;
}

// The trigger time, when the trigger is an output of the clock's module
// whose row is there and has a base rate; otherwise it is left alone.
void TriggerOnClockModule(const CRDBres& rows, const DtsOutput& trigger, bool dmodss,
                          int64_t* triggerTime) {
  const int32_t number = OutputNumber(trigger.output, 'T');
  if (number <= 0 || number > RowCount(&rows)) return;
  const DtsRow row = ReadDtsRow(rows, number - 1);
  if (row.baseRate != 0) *triggerTime = DtsTime(row, dmodss);
}

int ClockRowsFailed(const DtsOutput& clock, int hostId) {
  if (hostId < 0) {
    VerboseMessage("CLK ID(%d) not found for %s:(%s)\n", hostId, Printable(clock.dtsType),
                   Printable(clock.dtsHost));
    return TOVAK_E_CLOCK_ID;
  }
  VerboseMessage("DTS Info not Found [CLK %s:%s]\n", Printable(clock.dtsHost),
                 Printable(clock.module));
  return TOVAK_E_CLOCK_PARAMS;
}

// A clock from an output of a DTS module.
int ExternalClockCycle(const char* server, const DtsOutput& clock, const DtsOutput& trigger,
                       unsigned int shot, unsigned short subShot, int64_t* clockStart,
                       int64_t* triggerTime, int64_t* cycle) {
  const int32_t number = OutputNumber(clock.output, 'D');
  if (number < 0) return TOVAK_E_CLOCK_OUTPUT;
  const bool dmodss = checkFPGA(clock.module);
  const auto use = [&](int, const CRDBres& rows) -> int {
    if (number > RowCount(&rows)) return TOVAK_E_CLOCK_OUTPUT;
    if (number == 0) {
      *cycle = kDefaultClockCycle;
    } else if (IsClkOut(clock.output)) {
      *clockStart = kDtsOriginPicoseconds;
      *cycle = kDefaultClockCycle;
    } else {
      const DtsRow row = ReadDtsRow(rows, number - 1);
      if (row.baseRate == 0) {
        VerboseMessage("DTS Info not Found for Baserate [CLK %s:%s]\n", Printable(clock.dtsHost),
                       Printable(clock.module));
        return TOVAK_E_CLOCK_PARAMS;
      }
      *cycle = OutputClockCycle(row);
      *clockStart = DtsTime(row, dmodss);
    }
    if (SameModule(trigger, clock)) TriggerOnClockModule(rows, trigger, dmodss, triggerTime);
    return TOVAK_OK;
  };
  return QueryOutputRows(server, clock, shot, subShot, ClockRowsFailed, use);
}

}  // namespace

int DirectSamplingCycle(const char* server, const DtsOutput& clock, const DtsOutput& trigger,
                        int* sampInterval, unsigned int shot, unsigned short subShot,
                        const char* clockSource, const char* internalClock,
                        const char* cycleMultiplier, int64_t* sampPeriod, int64_t* clockStart,
                        int64_t* triggerTime, int64_t* clockCycle) {
  const std::string_view source = View(clockSource);
  int64_t cycle = 0;
  int status;
  if (source == "Internal") {
    status = InternalClockCycle(internalClock, sampInterval, &cycle);
  } else if (source == "External") {
    status =
        ExternalClockCycle(server, clock, trigger, shot, subShot, clockStart, triggerTime, &cycle);
  } else {
    status = TOVAK_E_NOT_SUPPORTED;
  }
  if (status != TOVAK_OK) return status;

  const int32_t multiplier = ParseInt32(cycleMultiplier);
  *sampPeriod = multiplier != 0 ? WrapMul(int64_t{multiplier}, cycle) : cycle;
  *clockCycle = cycle;
  return TOVAK_OK;
}

}  // namespace tovak

int tovakSamplingCycle(const char* server, const char* clkDtsType, const char* clkDtsHost,
                       const char* clkModule, const char* clkOutput, const char* trgDtsType,
                       const char* trgDtsHost, const char* trgModule, const char* trgOutput,
                       int* sampInterval, unsigned int shot, unsigned short subShot,
                       const char* clockSource, const char* internalClock,
                       const char* cycleMultiplier, int64_t* sampPeriod, int64_t* clockStart,
                       int64_t* triggerTime, int64_t* clockCycle) {
  using namespace tovak;
  const auto remote = [&](CmonoMirvoDataClient& client) {
    return client.SamplingCycle(clkDtsType, clkDtsHost, clkModule, clkOutput, trgDtsType,
                                trgDtsHost, trgModule, trgOutput, *sampInterval, shot, subShot,
                                clockSource, internalClock, cycleMultiplier, sampInterval,
                                sampPeriod, clockStart, triggerTime, clockCycle);
  };
  const auto direct = [&] {
    const DtsOutput clock{clkDtsType, clkDtsHost, clkModule, clkOutput};
    const DtsOutput trigger{trgDtsType, trgDtsHost, trgModule, trgOutput};
    return DirectSamplingCycle(server, clock, trigger, sampInterval, shot, subShot, clockSource,
                               internalClock, cycleMultiplier, sampPeriod, clockStart, triggerTime,
                               clockCycle);
  };
  return Dispatch(server, remote, direct);
}
