#include "channel_link.h"

#include <cstdlib>
#include <vector>

#include "tovak/tovak.h"

namespace tovak::tooling {
namespace {

// A text output of a link lookup.
struct Buffer {
  std::vector<char> bytes = std::vector<char>(TOVAK_TEXT_BUFFER_SIZE, '\0');
  char* data() { return bytes.data(); }
  std::string str() const { return bytes.data(); }
};

}  // namespace

int ReadLinkNumbers(const ChannelKey& key, const char* server, LinkNumbers* link) {
  Buffer kind, t1, t2, source, word3;
  const int status =
      tovakGetDTSinfox(key.diag.c_str(), key.shot, key.subShot, key.chKey1, key.chKey2, server,
                       kind.data(), t1.data(), t2.data(), &link->clockOutput, &link->triggerOutput,
                       &link->clockSetting, &link->recordLength, source.data(), &link->preSample,
                       &link->sampInterval, &link->clockUnitId, word3.data());
  if (status != 0) return status;
  link->dtsKind = kind.str();
  link->triggerUnit = t1.str();
  link->triggerModule = t2.str();
  link->clockSource = source.str();
  link->clockModule = word3.str();
  return 0;
}

int ReadLinkTexts(const ChannelKey& key, const char* server, LinkTexts* link) {
  Buffer kind, t1, t2, t3, t4, source, pre, interval, clkType, clkHost, word3;
  const int status = tovakGetDTSinfoCLK(
      key.diag.c_str(), key.shot, key.subShot, key.chKey1, key.chKey2, server, kind.data(),
      t1.data(), t2.data(), t3.data(), t4.data(), &link->clockSetting, &link->num8, source.data(),
      pre.data(), interval.data(), clkType.data(), clkHost.data(), word3.data());
  if (status != 0) return status;
  link->dtsKind = kind.str();
  link->text1 = t1.str();
  link->text2 = t2.str();
  link->text3 = t3.str();
  link->text4 = t4.str();
  link->clockSource = source.str();
  link->preSample = pre.str();
  link->sampInterval = interval.str();
  link->clkDtsType = clkType.str();
  link->clkDtsHost = clkHost.str();
  link->clkDtsWord3 = word3.str();
  return 0;
}

TimingArgs FromLink(const LinkTexts& link) {
  TimingArgs t;
  t.trigger = {link.dtsKind, link.text1, link.text2, link.text4};
  t.clock = link.clkDtsType.empty()
                ? UnitOutput{link.dtsKind, link.text1, link.text2, link.text3}
                : UnitOutput{link.clkDtsType, link.clkDtsHost, link.clkDtsWord3, link.text3};
  t.clockSource = link.clockSource;
  const bool external = link.clockSource == "External";
  const std::string setting = std::to_string(link.clockSetting);
  t.cycleMultiplier = external ? setting : "1";
  t.internalClock = external || link.clockSetting == 0 ? "" : setting;
  t.preSample = link.preSample.empty() ? "0" : link.preSample;
  t.sampInterval = static_cast<int>(std::strtol(link.sampInterval.c_str(), nullptr, 10));
  return t;
}

int RequestTimeBase(TimingArgs& t, const ChannelKey& key, const char* server, int64_t samples,
                    int64_t lastSample, bool single, bool withAxis, void* axis, void* cycle,
                    void* delay) {
  double empty = 0;  // the library tells an axis from none by its pointer
  if (withAxis && axis == nullptr) axis = &empty;
  if (!withAxis) axis = nullptr;
  return tovakGetDTSdatax2_ex(
      server, t.trigger.type.c_str(), t.trigger.host.c_str(), t.trigger.module.c_str(),
      t.trigger.output.c_str(), t.clock.type.c_str(), t.clock.host.c_str(), t.clock.module.c_str(),
      t.clock.output.c_str(), &t.sampInterval, samples, key.shot,
      static_cast<unsigned short>(key.subShot), t.clockSource.c_str(), t.internalClock.c_str(),
      t.cycleMultiplier.c_str(), t.preSample.c_str(), lastSample, 1, single ? 0 : 1, axis, cycle,
      delay);
}

int RequestSampling(TimingArgs& t, const ChannelKey& key, const char* server, SamplingTimes* out) {
  *out = {TOVAK_TIME_UNKNOWN, TOVAK_TIME_UNKNOWN, TOVAK_TIME_UNKNOWN, TOVAK_TIME_UNKNOWN,
          TOVAK_TIME_UNKNOWN};
  const auto subShot = static_cast<unsigned short>(key.subShot);
  const int status = tovakSamplingCycle(
      server, t.clock.type.c_str(), t.clock.host.c_str(), t.clock.module.c_str(),
      t.clock.output.c_str(), t.trigger.type.c_str(), t.trigger.host.c_str(),
      t.trigger.module.c_str(), t.trigger.output.c_str(), &t.sampInterval, key.shot, subShot,
      t.clockSource.c_str(), t.internalClock.c_str(), t.cycleMultiplier.c_str(), &out->period,
      &out->clockStart, &out->triggerTime, &out->clockCycle);
  if (status != 0) return status;
  return tovakSampling0Timing(server, false, t.trigger.type.c_str(), t.trigger.host.c_str(),
                              t.trigger.module.c_str(), t.trigger.output.c_str(), key.shot, subShot,
                              t.clockSource.c_str(), t.preSample.c_str(), out->period,
                              out->clockStart, &out->triggerTime, &out->firstSample);
}

}  // namespace tovak::tooling
