// A digitizer channel's DTS link as texts, and the time-base arguments the
// link gives: shared by the tovak tool and the Python package.
#ifndef TOVAK_TOOLS_COMMON_CHANNEL_LINK_H_
#define TOVAK_TOOLS_COMMON_CHANNEL_LINK_H_

#include <cstdint>
#include <string>

namespace tovak::tooling {

// Diagnostic, shot, sub-shot and channel keys of a record.
struct ChannelKey {
  std::string diag;
  unsigned int shot = 0;
  short subShot = 0, chKey1 = 0, chKey2 = 0;
};

// What tovakGetDTSinfox answers: the link decoded.
struct LinkNumbers {
  std::string dtsKind, triggerUnit, triggerModule, clockSource, clockModule;
  short clockOutput = 0, triggerOutput = 0;
  int clockSetting = 0, recordLength = 0, preSample = 0, sampInterval = 0, clockUnitId = 0;
};

// tovakGetDTSinfox into *link; its status.
int ReadLinkNumbers(const ChannelKey& key, const char* server, LinkNumbers* link);

// What tovakGetDTSinfoCLK answers; options that are absent stay empty.
struct LinkTexts {
  std::string dtsKind, text1, text2, text3, text4, clockSource;
  int clockSetting = 0, num8 = 0;
  std::string preSample, sampInterval, clkDtsType, clkDtsHost, clkDtsWord3;
};

// tovakGetDTSinfoCLK into *link; its status.
int ReadLinkTexts(const ChannelKey& key, const char* server, LinkTexts* link);

// A timing unit output: kind, unit name, module, output name or number.
struct UnitOutput {
  std::string type, host, module, output;
};

// The trigger and clock arguments of the time-base computation, as the
// channel's link row gives them (see docs/database.md).
struct TimingArgs {
  UnitOutput trigger, clock;
  std::string clockSource, internalClock, cycleMultiplier, preSample;
  int sampInterval = 0;
};

TimingArgs FromLink(const LinkTexts& link);

// tovakGetDTSdatax2_ex for the record of key, quietly. With an axis the
// delay is the trigger's (sample p), also for an axis of no samples, whose
// storage may be null; without one it is sample 0's. sampInterval may be
// updated, as the library does.
int RequestTimeBase(TimingArgs& t, const ChannelKey& key, const char* server, int64_t samples,
                    int64_t lastSample, bool single, bool withAxis, void* axis, void* cycle,
                    void* delay);

// The steps of the time base one by one, in picoseconds: tovakSamplingCycle,
// then tovakSampling0Timing (which looks the trigger time up unless the
// clock module gave it), as tovakGetDTSdatax2_ex does. Times a step does not
// know stay TOVAK_TIME_UNKNOWN.
struct SamplingTimes {
  int64_t period, clockCycle, clockStart, triggerTime, firstSample;
};
int RequestSampling(TimingArgs& t, const ChannelKey& key, const char* server, SamplingTimes* out);

}  // namespace tovak::tooling

#endif  // TOVAK_TOOLS_COMMON_CHANNEL_LINK_H_
