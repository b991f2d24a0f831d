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

// Writes one value in seconds, double or float, to a caller's variable.
void StoreSeconds(void* out, int64_t picoseconds, bool doublePrecision) {
  if (doublePrecision) {
    const double seconds = SecondsDouble(picoseconds);
    std::memcpy(out, &seconds, sizeof seconds);
  } else {
    const float seconds = SecondsFloat(picoseconds);
    std::memcpy(out, &seconds, sizeof seconds);
  }
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
    if (doublePrecision) {
      std::memcpy(outputs.cycleOut, &cycle, sizeof cycle);
    } else {
      const float narrowed = static_cast<float>(cycle);
      std::memcpy(outputs.cycleOut, &narrowed, sizeof narrowed);
    }
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
                         unsigned short subShot, const char* clockSource,
                         const char* internalClock, const char* cycleMultiplier,
                         const char* preSample, int64_t lastSample, short quiet,
                         int doublePrecision, void* timeAxis, void* cycleOut, void* delayOut) {
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
    const TimeBaseRequest request{.server = server,
                                  .trigger = {trgDtsType, trgDtsHost, trgModule, trgOutput},
                                  .clock = {clkDtsType, clkDtsHost, clkModule, clkOutput},
                                  .sampleCount = sampleCount,
                                  .shot = shot,
                                  .subShot = subShot,
                                  .clockSource = clockSource,
                                  .internalClock = internalClock,
                                  .cycleMultiplier = cycleMultiplier,
                                  .preSample = preSample,
                                  .lastSample = lastSample};
    return ComputeTimeBase(request, sampInterval, &period, &delay);
  };
  const int status = Dispatch(server, remote, direct);
  if (status != TOVAK_OK) return status;
  const TimeBaseOutputs outputs{.quiet = quiet,
                                .doublePrecision = doublePrecision,
                                .sampleCount = sampleCount,
                                .preSample = preSample,
                                .timeAxis = timeAxis,
                                .cycleOut = cycleOut,
                                .delayOut = delayOut};
  DeliverTimeBase(period, delay, outputs);
  return TOVAK_OK;
}
