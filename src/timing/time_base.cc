#include "timing/time_base.h"

#include <cstdio>
#include <cstring>

#include "access/session.h"
#include "access/text.h"
#include "timing/time_axis.h"
#include "timing/wrapping.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

// Writes a value in seconds to a caller's variable: the double or the float.
void Store(void* out, double seconds, float narrowed, bool doublePrecision) {
  if (doublePrecision) {
    std::memcpy(out, &seconds, sizeof seconds);
  } else {
    std::memcpy(out, &narrowed, sizeof narrowed);
  }
}

void StoreSeconds(void* out, int64_t picoseconds, bool doublePrecision) {
  Store(out, SecondsDouble(picoseconds), SecondsFloat(picoseconds), doublePrecision);
}

// Both lines use the number of decimals that shows the period.
void PrintTimeBase(double cycle, double delay) {
  const char* format = cycle < 0.000000001 ? "%s = [%2.15f] sec\n"
                       : cycle < 0.000001  ? "%s = [%2.12f] sec\n"
                                           : "%s = [%2.8f] sec\n";
  std::printf(format, "Cycle", cycle);
  std::printf(format, "Delay", delay);
}

}  // namespace

int ComputeTimeBase(const TimeBaseRequest& request, int* sampInterval, int64_t* period,
                    int64_t* delay) {
  int64_t sampPeriod = TOVAK_TIME_UNKNOWN;
  int64_t clockStart = TOVAK_TIME_UNKNOWN;
  int64_t triggerTime = TOVAK_TIME_UNKNOWN;
  int64_t clockCycle = TOVAK_TIME_UNKNOWN;
  int status = DirectSamplingCycle(request.server, request.clock, request.trigger, sampInterval,
                                   request.shot, request.subShot, request.clockSource,
                                   request.internalClock, request.cycleMultiplier, &sampPeriod,
                                   &clockStart, &triggerTime, &clockCycle);
  if (status != TOVAK_OK) return status;

  int64_t firstSample = TOVAK_TIME_UNKNOWN;
  status = DirectSampling0Timing(request.server, false, request.trigger, request.shot,
                                 request.subShot, request.clockSource, request.preSample,
                                 sampPeriod, clockStart, &triggerTime, &firstSample);
  if (status != TOVAK_OK) return status;

  // An axis ending at sample lastSample skips the samples before it.
  if (request.lastSample > 0 && request.lastSample > request.sampleCount) {
    const int64_t skipped = WrapSub(request.lastSample, request.sampleCount);
    firstSample = WrapAdd(firstSample, WrapMul(skipped, sampPeriod));
  }
  *period = sampPeriod;
  *delay = firstSample;
  return TOVAK_OK;
}

void DeliverTimeBase(int64_t period, int64_t delay, const TimeBaseOutputs& outputs) {
  const bool doublePrecision = outputs.doublePrecision != 0;
  const double cycle = SecondsDouble(period);
  if (outputs.quiet == 0) PrintTimeBase(cycle, SecondsDouble(delay));

  if (outputs.cycleOut != nullptr) {
    Store(outputs.cycleOut, cycle, static_cast<float>(cycle), doublePrecision);
  }

  if (outputs.timeAxis == nullptr) {
    if (outputs.delayOut != nullptr) StoreSeconds(outputs.delayOut, delay, doublePrecision);
    return;
  }
  if (outputs.delayOut != nullptr) {
    const int64_t preSamples = ParseInt64(outputs.preSample);
    StoreSeconds(outputs.delayOut, WrapAdd(WrapMul(preSamples, period), delay), doublePrecision);
  }
  if (doublePrecision) {
    FillTimeAxis(static_cast<double*>(outputs.timeAxis), outputs.sampleCount, delay, period);
  } else {
    FillTimeAxis(static_cast<float*>(outputs.timeAxis), outputs.sampleCount, delay, period);
  }
}

}  // namespace tovak

int tovakGetDTSdatax2_ex(const char* server, const char* trgDtsType, const char* trgDtsHost,
                         const char* trgModule, const char* trgOutput, const char* clkDtsType,
                         const char* clkDtsHost, const char* clkModule, const char* clkOutput,
                         int* sampInterval, int64_t sampleCount, unsigned int shot,
                         unsigned short subShot, const char* clockSource, const char* internalClock,
                         const char* cycleMultiplier, const char* preSample, int64_t lastSample,
                         short quiet, int doublePrecision, void* timeAxis, void* cycleOut,
                         void* delayOut) {
  using namespace tovak;
  int64_t period = TOVAK_TIME_UNKNOWN;
  int64_t delay = TOVAK_TIME_UNKNOWN;
  const auto remote = [&](CmonoMirvoDataClient& client) {
    int interval = *sampInterval;
    const int status = client.GetDTSdatax2(
        trgDtsType, trgDtsHost, trgModule, trgOutput, clkDtsType, clkDtsHost, clkModule, clkOutput,
        *sampInterval, sampleCount, shot, subShot, clockSource, internalClock, cycleMultiplier,
        preSample, lastSample, &interval, &period, &delay);
    if (status == TOVAK_OK) *sampInterval = interval;
    return status;
  };
  const auto direct = [&] {
    const DtsOutput trigger{trgDtsType, trgDtsHost, trgModule, trgOutput};
    const DtsOutput clock{clkDtsType, clkDtsHost, clkModule, clkOutput};
    const TimeBaseRequest request{server,    trigger,     clock,         sampleCount,     shot,
                                  subShot,   clockSource, internalClock, cycleMultiplier, preSample,
                                  lastSample};
    return ComputeTimeBase(request, sampInterval, &period, &delay);
  };
  const int status = Dispatch(server, remote, direct);
  if (status != TOVAK_OK) return status;
  const TimeBaseOutputs outputs{quiet,    doublePrecision, sampleCount, preSample,
                                timeAxis, cycleOut,        delayOut};
  DeliverTimeBase(period, delay, outputs);
  return TOVAK_OK;
}
