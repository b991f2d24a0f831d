// timebase: the time base of a digitizer record from its channel's link.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "axis_file.h"
#include "command.h"
#include "link_row.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

void RunTimeBase(const Args& args, const std::string& server, Report& report) {
  const ChannelKey key = ReadChannelKey(args);
  const LinkTexts link = ReadLinkTexts(key, server);
  tooling::TimingArgs t = tooling::FromLink(link);

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
        tooling::RequestTimeBase(t, key, server.c_str(), samples, lastSample, single,
                                 axisPath.has_value(), axis,
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
