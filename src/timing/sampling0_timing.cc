#include <cstdint>

#include "access/session.h"
#include "access/state.h"
#include "access/text.h"
#include "timing/dts_time.h"
#include "timing/sampling.h"
#include "timing/wrapping.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

bool IsExternal(const char* clockSource) { return View(clockSource) == "External"; }

int TriggerRowsFailed(const DtsOutput& trigger, int hostId) {
  if (hostId < 0) {
    VerboseMessage("DTS ID not found for %s\n", Printable(trigger.dtsHost));
    return TOVAK_E_DTS_UNKNOWN;
  }
  VerboseMessage("DTS Info not Found [DTSid=%d][module=%s]\n", hostId, Printable(trigger.module));
  return TOVAK_E_NO_DTS_INFO;
}

// The start time of the trigger output, from its row of the DTS parameter
// table. An output number beyond the module's rows is reported like a
// missing row.
int LookUpTriggerTime(const char* server, const DtsOutput& trigger, unsigned int shot,
                      unsigned short subShot, int64_t* triggerTime) {
  const int32_t number = OutputNumber(trigger.output, 'T');
  if (number <= 0) return TOVAK_E_TRIGGER_OUTPUT;
  const auto use = [&](int hostId, const CRDBres& rows) -> int {
    if (number > RowCount(&rows)) return TriggerRowsFailed(trigger, hostId);
    const DtsRow row = ReadDtsRow(rows, number - 1);
    if (row.baseRate == 0) {
      VerboseMessage("DTS Info not Found for Baserate [DTSid=%d][module=%s]\n", hostId,
                     Printable(trigger.module));
      return TOVAK_E_NO_DTS_INFO;
    }
    *triggerTime = DtsTime(row, checkFPGA(trigger.module));
    return TOVAK_OK;
  };
  return QueryOutputRows(server, trigger, shot, subShot, TriggerRowsFailed, use);
}

// The remote call of both front ends, for the connected client.
auto RemoteSampling0Timing(bool fromClockStart, const char* trgDtsType, const char* trgDtsHost,
                           const char* trgModule, const char* trgOutput, unsigned int shot,
                           unsigned short subShot, const char* clockSource, const char* preSample,
                           int64_t sampPeriod, int64_t clockStart, int64_t* triggerTime,
                           int64_t* firstSampleTime) {
  return [=](CmonoMirvoDataClient& client) {
    return client.Sampling0Timing(fromClockStart ? 1 : 0, trgDtsType, trgDtsHost, trgModule,
                                  trgOutput, shot, subShot, clockSource, preSample, sampPeriod,
                                  clockStart, *triggerTime, triggerTime, firstSampleTime);
  };
}

}  // namespace

int DirectSampling0Timing(const char* server, bool fromClockStart, const DtsOutput& trigger,
                          unsigned int shot, unsigned short subShot, const char* clockSource,
                          const char* preSample, int64_t sampPeriod, int64_t clockStart,
                          int64_t* triggerTime, int64_t* firstSampleTime) {
  if (fromClockStart) {
    if (!IsExternal(clockSource)) return TOVAK_E_NOT_SUPPORTED;
    *firstSampleTime = WrapSub(clockStart, sampPeriod);
    return TOVAK_OK;
  }

  int64_t trigger0 = *triggerTime;
  if (trigger0 == TOVAK_TIME_UNKNOWN) {
    const int status = LookUpTriggerTime(server, trigger, shot, subShot, &trigger0);
    if (status != TOVAK_OK) return status;
  }
  if (IsExternal(clockSource)) {
    if (sampPeriod == 0) return TOVAK_E_ZERO_PERIOD;
    // Sample preSample + 1 falls on the start of a clock that starts late.
    if (clockStart > trigger0) trigger0 = WrapSub(clockStart, sampPeriod);
  }
  const int64_t preSamples = ParseInt64(preSample);
  *firstSampleTime = WrapSub(trigger0, WrapMul(preSamples, sampPeriod));
  *triggerTime = trigger0;
  return TOVAK_OK;
}

}  // namespace tovak

int tovakSampling0Timing(const char* server, bool fromClockStart, const char* trgDtsType,
                         const char* trgDtsHost, const char* trgModule, const char* trgOutput,
                         unsigned int shot, unsigned short subShot, const char* clockSource,
                         const char* preSample, int64_t sampPeriod, int64_t clockStart,
                         int64_t* triggerTime, int64_t* firstSampleTime) {
  using namespace tovak;
  const auto direct = [&] {
    const DtsOutput trigger{trgDtsType, trgDtsHost, trgModule, trgOutput};
    return DirectSampling0Timing(server, fromClockStart, trigger, shot, subShot, clockSource,
                                 preSample, sampPeriod, clockStart, triggerTime, firstSampleTime);
  };
  return Dispatch(server,
                  RemoteSampling0Timing(fromClockStart, trgDtsType, trgDtsHost, trgModule,
                                        trgOutput, shot, subShot, clockSource, preSample,
                                        sampPeriod, clockStart, triggerTime, firstSampleTime),
                  direct);
}

int V2tovakSampling0Timing(const char* server, bool fromClockStart, const char* trgDtsType,
                           const char* trgDtsHost, const char* trgModule, const char* trgOutput,
                           unsigned int shot, unsigned short subShot, const char* clockSource,
                           const char* preSample, int64_t sampPeriod, int64_t clockStart,
                           int64_t* triggerTime, int64_t* firstSampleTime) {
  return tovak::WithRemoteClient(
      server, tovak::RemoteSampling0Timing(fromClockStart, trgDtsType, trgDtsHost, trgModule,
                                           trgOutput, shot, subShot, clockSource, preSample,
                                           sampPeriod, clockStart, triggerTime, firstSampleTime));
}
