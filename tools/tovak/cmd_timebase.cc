// timebase: the time base of a digitizer record from its channel's link.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "axis_file.h"
#include "command.h"
#include "link_row.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

struct Unit {
  std::string type, host, module, output;
};

// The trigger and clock arguments of the time-base computation, as the
// channel's link row gives them (see docs/database.md).
struct TimingArgs {
  Unit trigger, clock;
  std::string clockSource, internalClock, cycleMultiplier, preSample;
  int sampInterval = 0;
};

TimingArgs FromLink(const LinkTexts& link) {
  TimingArgs t;
  t.trigger = {link.dtsKind, link.text1, link.text2, link.text4};
  t.clock = link.clkDtsType.empty()
                ? Unit{link.dtsKind, link.text1, link.text2, link.text3}
                : Unit{link.clkDtsType, link.clkDtsHost, link.clkDtsWord3, link.text3};
  t.clockSource = link.clockSource;
  const bool external = link.clockSource == "External";
  const std::string setting = std::to_string(link.clockSetting);
  t.cycleMultiplier = external ? setting : "1";
  t.internalClock = external || link.clockSetting == 0 ? "" : setting;
  t.preSample = link.preSample.empty() ? "0" : link.preSample;
  t.sampInterval = static_cast<int>(std::strtol(link.sampInterval.c_str(), nullptr, 10));
  return t;
}

void RunTimeBase(const Args& args, const std::string& server, Report& report) {
  const ChannelKey key = ReadChannelKey(args);
  const LinkTexts link = ReadLinkTexts(key, server);
  TimingArgs t = FromLink(link);

  const int64_t samples = args.Integer("samples", link.num8);
  if (samples < 0) throw UsageError("--samples must not be negative");
  const int64_t lastSample = args.Integer("last", 0);
  const bool single = args.Flag("single");
  const std::optional<std::string> axisPath = args.Value("axis");
  const AxisFormat format = axisPath ? AxisFormatOf(*axisPath) : AxisFormat::kNone;

  std::vector<double> axis64;
  std::vector<float> axis32;
  void* axis = nullptr;
  if (axisPath) {
    if (single) {
      axis32.resize(static_cast<size_t>(samples));
      axis = axis32.data();
    } else {
      axis64.resize(static_cast<size_t>(samples));
      axis = axis64.data();
    }
  }
  double cycle64 = 0, delay64 = 0;
  float cycle32 = 0, delay32 = 0;
  Check("tovakGetDTSdatax2_ex",
        tovakGetDTSdatax2_ex(server.c_str(), t.trigger.type.c_str(), t.trigger.host.c_str(),
                             t.trigger.module.c_str(), t.trigger.output.c_str(),
                             t.clock.type.c_str(), t.clock.host.c_str(), t.clock.module.c_str(),
                             t.clock.output.c_str(), &t.sampInterval, samples, key.shot,
                             static_cast<unsigned short>(key.subShot), t.clockSource.c_str(),
                             t.internalClock.c_str(), t.cycleMultiplier.c_str(),
                             t.preSample.c_str(), lastSample, 1, single ? 0 : 1, axis,
                             single ? static_cast<void*>(&cycle32) : &cycle64,
                             single ? static_cast<void*>(&delay32) : &delay64));
  report.Add("trigger", "trigger",
             t.trigger.type + " " + t.trigger.host + " " + t.trigger.module + " " +
                 t.trigger.output);
  report.Add("clock", "clock",
             t.clockSource == "External" ? t.clock.type + " " + t.clock.host + " " +
                                               t.clock.module + " " + t.clock.output
                                         : "internal " + t.internalClock);
  report.Add("samples", "samples", samples);
  report.Add("sampInterval", "sampling interval", int64_t{t.sampInterval}, "ns");
  report.Add("period", "sampling period", single ? double{cycle32} : cycle64, "s");
  report.Add("delay", axisPath ? "delay (trigger)" : "delay (sample 0)",
             single ? double{delay32} : delay64, "s");
  if (axisPath) {
    if (single) {
      WriteAxis(*axisPath, format, axis32);
    } else {
      WriteAxis(*axisPath, format, axis64);
    }
    report.Add("axis", "time axis", *axisPath);
  }
}

}  // namespace

void AddTimeBaseCommand(std::vector<Command>& commands) {
  commands.push_back(
      {"timebase", "time base of a digitizer record (period, delay, time axis)",
       "timebase DIAG SHOT SUBSHOT CHKEY1 CHKEY2 [--samples N] [--last N] [--single]\n"
       "            [--axis FILE.csv|FILE.bin]\n"
       "  Reads the channel's DTS link and computes its sampling period and delay in seconds.\n"
       "  --samples  number of samples in the record (default: the link's sample count)\n"
       "  --last     number of the last sample wanted (shifts the axis)\n"
       "  --single   single-precision results\n"
       "  --axis     write the time of every sample: .csv as text, .bin as raw little-endian\n"
       "             doubles (floats with --single)\n",
       {{"samples", "last", "axis"}, {"single"}},
       &RunTimeBase});
}

}  // namespace tovak::cli
