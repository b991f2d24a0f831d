// cycle, first-sample, adjust: the sampling-timing computations one by one.
#include <cstdint>
#include <string>
#include <vector>

#include "command.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

// A picosecond output, or "unknown" when the library left the marker.
Value Picoseconds(int64_t value) {
  if (value == TOVAK_TIME_UNKNOWN) return std::string("unknown");
  return value;
}

struct Unit {
  std::string type, host, module, output;
};

Unit ReadUnit(const Args& args, const std::string& prefix) {
  return {args.Text(prefix + "-type", ""), args.Text(prefix + "-host", ""),
          args.Text(prefix + "-module", ""), args.Text(prefix + "-output", "")};
}

const std::set<std::string> kUnitOptions = {
    "clk-type", "clk-host", "clk-module", "clk-output",
    "trg-type", "trg-host", "trg-module", "trg-output"};

std::set<std::string> With(std::set<std::string> base, std::initializer_list<const char*> more) {
  for (const char* name : more) base.insert(name);
  return base;
}

unsigned int Shot(const Args& args) {
  return static_cast<unsigned>(ParseInteger(args.Text("shot", "0"), "--shot", 0, UINT32_MAX));
}
unsigned short SubShot(const Args& args) {
  return static_cast<unsigned short>(
      ParseInteger(args.Text("subshot", "0"), "--subshot", 0, UINT16_MAX));
}

void RunCycle(const Args& args, const std::string& server, Report& report) {
  const Unit clk = ReadUnit(args, "clk");
  const Unit trg = ReadUnit(args, "trg");
  int interval = static_cast<int>(args.Integer("interval", 0));
  int64_t period = TOVAK_TIME_UNKNOWN, clockStart = TOVAK_TIME_UNKNOWN,
          triggerTime = TOVAK_TIME_UNKNOWN, cycle = TOVAK_TIME_UNKNOWN;
  Check("tovakSamplingCycle",
        tovakSamplingCycle(server.c_str(), clk.type.c_str(), clk.host.c_str(), clk.module.c_str(),
                           clk.output.c_str(), trg.type.c_str(), trg.host.c_str(),
                           trg.module.c_str(), trg.output.c_str(), &interval, Shot(args),
                           SubShot(args), args.Text("clock-source", "Internal").c_str(),
                           args.Text("internal-clock", "").c_str(),
                           args.Text("multiplier", "").c_str(), &period, &clockStart,
                           &triggerTime, &cycle));
  report.Add("clockCycle", "clock cycle", Picoseconds(cycle), "ps");
  report.Add("sampPeriod", "sampling period", Picoseconds(period), "ps");
  report.Add("sampInterval", "sampling interval", int64_t{interval}, "ns");
  report.Add("clockStart", "clock start", Picoseconds(clockStart), "ps");
  report.Add("triggerTime", "trigger time", Picoseconds(triggerTime), "ps");
}

void RunFirstSample(const Args& args, const std::string& server, Report& report) {
  const Unit trg = ReadUnit(args, "trg");
  int64_t triggerTime = args.Integer("trigger-time", TOVAK_TIME_UNKNOWN);
  int64_t first = TOVAK_TIME_UNKNOWN;
  Check("tovakSampling0Timing",
        tovakSampling0Timing(server.c_str(), args.Flag("from-clock-start"), trg.type.c_str(),
                             trg.host.c_str(), trg.module.c_str(), trg.output.c_str(), Shot(args),
                             SubShot(args), args.Text("clock-source", "Internal").c_str(),
                             args.Text("pre-sample", "0").c_str(), args.Integer("period", 0),
                             args.Integer("clock-start", TOVAK_TIME_UNKNOWN), &triggerTime,
                             &first));
  report.Add("triggerTime", "trigger time", Picoseconds(triggerTime), "ps");
  report.Add("firstSampleTime", "sample 0 time", Picoseconds(first), "ps");
}

void RunAdjust(const Args& args, const std::string&, Report& report) {
  const std::optional<std::string> card = args.Value("card");
  const std::optional<std::string> mode = args.Value("mode");
  const std::optional<std::string> source = args.Value("clock-source");
  int64_t adjust = 0;
  Check("tovakFirstSampleAdjust",
        tovakFirstSampleAdjust(card ? card->c_str() : nullptr, mode ? mode->c_str() : nullptr,
                               source ? source->c_str() : nullptr,
                               static_cast<int>(args.Integer("flag", 0)), args.Integer("period", 0),
                               args.Integer("clock-period", 0),
                               args.Text("edge-a", "Rising").c_str(),
                               args.Text("edge-b", "Rising").c_str(),
                               static_cast<int>(args.Integer("clock-count", 0)), &adjust));
  report.Add("adjust", "first-sample correction", adjust, "ps");
}

}  // namespace

void AddTimeBaseCommand(std::vector<Command>& commands);

void AddTimingCommands(std::vector<Command>& commands) {
  commands.push_back(
      {"cycle", "clock cycle, sampling period, clock start and trigger time",
       "cycle [--clk-type T --clk-host H --clk-module M --clk-output O]\n"
       "            [--trg-type T --trg-host H --trg-module M --trg-output O]\n"
       "            [--shot N] [--subshot N] [--clock-source Internal|External]\n"
       "            [--internal-clock HZ|NNns] [--multiplier N] [--interval NS]\n"
       "  Times are picoseconds from the timing system's time zero.\n",
       {With(kUnitOptions, {"shot", "subshot", "clock-source", "internal-clock", "multiplier",
                            "interval"}),
        {}},
       &RunCycle});
  commands.push_back(
      {"first-sample", "time of sample 0 from the trigger time",
       "first-sample [--trg-type T --trg-host H --trg-module M --trg-output O]\n"
       "            [--shot N] [--subshot N] [--clock-source Internal|External]\n"
       "            [--pre-sample N] [--period PS] [--clock-start PS] [--trigger-time PS]\n"
       "            [--from-clock-start]\n"
       "  Without --trigger-time the trigger time is looked up in the DTS parameters.\n",
       {With(kUnitOptions, {"shot", "subshot", "clock-source", "pre-sample", "period",
                            "clock-start", "trigger-time"}),
        {"from-clock-start"}},
       &RunFirstSample});
  commands.push_back(
      {"adjust", "card-specific first-sample correction",
       "adjust --card TYPE --mode MODE [--clock-source S] [--flag N] [--period PS]\n"
       "            [--clock-period PS] [--edge-a E] [--edge-b E] [--clock-count N]\n",
       {{"card", "mode", "clock-source", "flag", "period", "clock-period", "edge-a", "edge-b",
         "clock-count"},
        {}},
       &RunAdjust});
  AddTimeBaseCommand(commands);
}

}  // namespace tovak::cli
