// timebase: the time base of a digitizer record from its channel's link.
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "axis_file.h"
#include "command.h"
#include "link_row.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

// Most samples --samples may ask for: a double axis of 2 GiB.
constexpr int64_t kMaxSamples = int64_t{1} << 28;

// The axis buffer: T values, or a usage error when memory does not allow it.
template <class T>
void* Allocate(std::vector<T>& axis, int64_t samples) {
  try {
    axis.resize(static_cast<size_t>(samples));
  } catch (const std::bad_alloc&) {
    throw UsageError("--samples " + std::to_string(samples) +
                     ": not enough memory for a time axis of that many samples");
  }
  return axis.data();
}

template <class T>
void WriteAxisOf(const std::string& path, AxisFormat format, int64_t firstSample,
                 const std::vector<T>& axis, Report& report) {
  WriteAxis(path, format, firstSample, axis);
  report.Add("axis_file", "time axis", path);
  report.Add("axis_first_sample", "first sample in axis", firstSample);
}

void RunTimeBase(const Args& args, const std::string& server, Report& report) {
  const ChannelKey key = ReadChannelKey(args);
  const int64_t samples = args.Integer("samples", -1, 0, kMaxSamples);
  const int64_t lastSample = args.Integer("last", 0, 0, INT64_MAX);
  const bool single = args.Flag("single");
  const std::optional<std::string> axisPath = args.Value("axis");
  const AxisFormat format = axisPath ? AxisFormatOf(*axisPath) : AxisFormat::kNone;

  const LinkTexts link = ReadLinkTexts(key, server);
  tooling::TimingArgs t = tooling::FromLink(link);
  const int64_t count = samples >= 0 ? samples : link.num8;
  if (count < 0 || count > kMaxSamples) {  // the link's record length, from the database
    throw RunError("the link's record length " + std::to_string(count) + " is outside 0.." +
                   std::to_string(kMaxSamples) + ": give --samples");
  }
  std::vector<double> axis64;
  std::vector<float> axis32;
  void* axis = nullptr;
  if (axisPath) axis = single ? Allocate(axis32, count) : Allocate(axis64, count);
  double cycle64 = 0, delay64 = 0;
  float cycle32 = 0, delay32 = 0;
  Check("tovakGetDTSdatax2_ex",
        tooling::RequestTimeBase(t, key, server.c_str(), count, lastSample, single,
                                 axisPath.has_value(), axis,
                                 single ? static_cast<void*>(&cycle32) : &cycle64,
                                 single ? static_cast<void*>(&delay32) : &delay64));
  // The library's delay is the time of sample 0, or of the trigger (sample
  // PreSample) with an axis; --last beyond the count moves both on.
  const int64_t shift = lastSample > count ? lastSample - count : 0;
  const int64_t preSample = std::strtoll(t.preSample.c_str(), nullptr, 10);
  const int64_t delaySample = shift + (axisPath ? preSample : 0);
  std::string delayLabel = "time of sample " + std::to_string(delaySample);
  if (axisPath && shift == 0) delayLabel += " (trigger)";

  report.Add(
      "trigger", "trigger",
      t.trigger.type + " " + t.trigger.host + " " + t.trigger.module + " " + t.trigger.output);
  const bool external = t.clockSource == "External";
  report.Add("clock", "clock",
             external
                 ? t.clock.type + " " + t.clock.host + " " + t.clock.module + " " + t.clock.output
                 : "internal " + t.internalClock);
  report.Add("samples", "samples", count);
  AddSampInterval(report, external, t.sampInterval);
  report.Add("period_s", "sampling period", single ? double{cycle32} : cycle64, "s");
  report.Add("delay_sample", "delay is the time of sample", delaySample);
  report.Add("delay_s", delayLabel, single ? double{delay32} : delay64, "s");
  if (!axisPath) return;
  if (single) {
    WriteAxisOf(*axisPath, format, shift + 1, axis32, report);
  } else {
    WriteAxisOf(*axisPath, format, shift + 1, axis64, report);
  }
}

}  // namespace

void AddTimeBaseCommand(std::vector<Command>& commands) {
  commands.push_back(
      {"timebase",
       "time base of a digitizer record (period, delay, time axis)",
       "timebase DIAG SHOT SUBSHOT CHKEY1 CHKEY2 [--samples N] [--last N] [--single]\n"
       "            [--axis FILE.csv|FILE.bin]\n"
       "  Reads the channel's DTS link and computes its sampling period and delay in seconds.\n"
       "  The delay is the time of sample 0, or with --axis of the trigger (sample PreSample);\n"
       "  the output names the sample.\n"
       "  --samples  number of samples in the record, at most 268435456 (default: the link's\n"
       "             sample count)\n"
       "  --last     number of the last sample wanted (shifts the axis and the delay)\n"
       "  --single   single-precision results\n"
       "  --axis     write the time of every sample: .csv as text (sample,time_s), .bin as raw\n"
       "             little-endian doubles (floats with --single), no header\n",
       {{"samples", "last", "axis"}, {"single"}},
       &RunTimeBase,
       1});
}

}  // namespace tovak::cli
