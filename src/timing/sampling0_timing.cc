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

// The start time of the trigger output, from its row of the DTS parameter
// table. An output number beyond the module's rows is reported like a
// missing row.
int LookUpTriggerTime(const char* server, const DtsOutput& trigger, unsigned int shot,
                      unsigned short subShot, int64_t* triggerTime) {
  const int32_t number = OutputNumber(trigger.output, 'T');
  if (number <= 0) return TOVAK_E_TRIGGER_OUTPUT;

  IndexSession session(server);
  if (session.status() != TOVAK_OK) return session.status();
  const int hostId = get_dmod_host_id(&session.db(), trigger.dtsType, trigger.dtsHost);
  if (hostId < 0) {
    VerboseMessage("DTS ID not found for %s\n", Printable(trigger.dtsHost));
    return TOVAK_E_DTS_UNKNOWN;
  }
  const bool dmodss = checkFPGA(trigger.module);
  const ResultPtr rows(session.db().get_DTS_parameters(shot, subShot, hostId, trigger.module));
  if (NothingFound(rows.get()) || number > RowCount(rows.get())) {
    VerboseMessage("DTS Info not Found [DTSid=%d][module=%s]\n", hostId,
                   Printable(trigger.module));
    return TOVAK_E_NO_DTS_INFO;
  }
  const DtsRow row = ReadDtsRow(*rows, number - 1);
  if (row.baseRate == 0) {
    VerboseMessage("DTS Info not Found for Baserate [DTSid=%d][module=%s]\n", hostId,
                   Printable(trigger.module));
    return TOVAK_E_NO_DTS_INFO;
  }
  *triggerTime = DtsTime(row, dmodss);
  return TOVAK_OK;
}

int RemoteSampling0Timing(const char* server, bool fromClockStart, const char* trgDtsType,
                          const char* trgDtsHost, const char* trgModule, const char* trgOutput,
                          unsigned int shot, unsigned short subShot, const char* clockSource,
                          const char* preSample, int64_t sampPeriod, int64_t clockStart,
                          int64_t* triggerTime, int64_t* firstSampleTime) {
  return WithRemoteClient(server, [&](CmonoMirvoDataClient& client) {
    return client.Sampling0Timing(fromClockStart ? 1 : 0, trgDtsType, trgDtsHost, trgModule,
                                  trgOutput, shot, subShot, clockSource, preSample, sampPeriod,
                                  clockStart, *triggerTime, triggerTime, firstSampleTime);
  });
}

}  // namespace

int Sampling0TimingV1(const char* server, bool fromClockStart, const DtsOutput& trigger,
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
  if (isTovakProtocolV2(server)) {
    return tovak::RemoteSampling0Timing(server, fromClockStart, trgDtsType, trgDtsHost,
                                        trgModule, trgOutput, shot, subShot, clockSource,
                                        preSample, sampPeriod, clockStart, triggerTime,
                                        firstSampleTime);
  }
  const tovak::DtsOutput trigger{trgDtsType, trgDtsHost, trgModule, trgOutput};
  return tovak::Sampling0TimingV1(server, fromClockStart, trigger, shot, subShot, clockSource,
                                  preSample, sampPeriod, clockStart, triggerTime,
                                  firstSampleTime);
}

int V2tovakSampling0Timing(const char* server, bool fromClockStart, const char* trgDtsType,
                           const char* trgDtsHost, const char* trgModule,
                           const char* trgOutput, unsigned int shot, unsigned short subShot,
                           const char* clockSource, const char* preSample, int64_t sampPeriod,
                           int64_t clockStart, int64_t* triggerTime,
                           int64_t* firstSampleTime) {
  return tovak::RemoteSampling0Timing(server, fromClockStart, trgDtsType, trgDtsHost,
                                      trgModule, trgOutput, shot, subShot, clockSource,
                                      preSample, sampPeriod, clockStart, triggerTime,
                                      firstSampleTime);
}
