// cycle, first-sample, adjust: the sampling-timing computations one by one.
#include <cstdint>
#include <string>
#include <vector>

#include "command.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

// A picosecond output; null ("unknown") when the library left the marker.
void AddPicoseconds(Report& report, const char* key, const char* label, int64_t value) {
  if (value == TOVAK_TIME_UNKNOWN) {
    report.Add(key, label, Null{}, "unknown");
  } else {
    report.Add(key, label, value, "ps");
  }
}

// --clock-source, whose absence the output states.
std::string ClockSource(const Args& args, Report& report) {
  const std::optional<std::string> given = args.Value("clock-source");
  report.Add("clock_source", "clock source",
             given ? *given : std::string("Internal (default: no --clock-source)"));
  return given.value_or("Internal");
}

struct Unit {
  std::string type, host, module, output;
};

Unit ReadUnit(const Args& args, const std::string& prefix) {
  return {args.Text(prefix + "-type", ""), args.Text(prefix + "-host", ""),
          args.Text(prefix + "-module", ""), args.Text(prefix + "-output", "")};
}

const std::set<std::string> kUnitOptions = {"clk-type", "clk-host", "clk-module", "clk-output",
                                            "trg-type", "trg-host", "trg-module", "trg-output"};

std::set<std::string> With(std::set<std::string> base, std::initializer_list<const char*> more) {
  for (const char* name : more) base.insert(name);
  return base;
}

// An int option, 0 when absent.
int Int(const Args& args, const char* name) {
  return static_cast<int>(args.Integer(name, 0, INT32_MIN, INT32_MAX));
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
  int interval = Int(args, "interval");
  const std::string source = ClockSource(args, report);
  int64_t period = TOVAK_TIME_UNKNOWN, clockStart = TOVAK_TIME_UNKNOWN,
          triggerTime = TOVAK_TIME_UNKNOWN, cycle = TOVAK_TIME_UNKNOWN;
  Check("tovakSamplingCycle",
        tovakSamplingCycle(server.c_str(), clk.type.c_str(), clk.host.c_str(), clk.module.c_str(),
                           clk.output.c_str(), trg.type.c_str(), trg.host.c_str(),
                           trg.module.c_str(), trg.output.c_str(), &interval, Shot(args),
                           SubShot(args), source.c_str(), args.Text("internal-clock", "").c_str(),
                           args.Text("multiplier", "").c_str(), &period, &clockStart, &triggerTime,
                           &cycle));
  AddPicoseconds(report, "clock_cycle_ps", "clock cycle", cycle);
  AddPicoseconds(report, "samp_period_ps", "sampling period", period);
  report.Add("samp_interval_ns", "sampling interval", int64_t{interval}, "ns");
  AddPicoseconds(report, "clock_start_ps", "clock start", clockStart);
  AddPicoseconds(report, "trigger_ps", "trigger time", triggerTime);
}

void RunFirstSample(const Args& args, const std::string& server, Report& report) {
  const Unit trg = ReadUnit(args, "trg");
  int64_t triggerTime = args.Integer("trigger-time", TOVAK_TIME_UNKNOWN);
  int64_t first = TOVAK_TIME_UNKNOWN;
  const std::string source = ClockSource(args, report);
  Check("tovakSampling0Timing",
        tovakSampling0Timing(
            server.c_str(), args.Flag("from-clock-start"), trg.type.c_str(), trg.host.c_str(),
            trg.module.c_str(), trg.output.c_str(), Shot(args), SubShot(args), source.c_str(),
            args.Text("pre-sample", "0").c_str(), args.Integer("period", 0),
            args.Integer("clock-start", TOVAK_TIME_UNKNOWN), &triggerTime, &first));
  AddPicoseconds(report, "trigger_ps", "trigger time", triggerTime);
  AddPicoseconds(report, "sample0_ps", "time of sample 0", first);
}

void RunAdjust(const Args& args, const std::string&, Report& report) {
  const std::optional<std::string> card = args.Value("card");
  const std::optional<std::string> mode = args.Value("mode");
  const std::optional<std::string> source = args.Value("clock-source");
  if (!card || !mode) throw UsageError("--card and --mode are both needed");
  int64_t adjust = 0;
  Check("tovakFirstSampleAdjust",
        tovakFirstSampleAdjust(
            card->c_str(), mode->c_str(), source ? source->c_str() : nullptr, Int(args, "flag"),
            args.Integer("period", 0), args.Integer("clock-period", 0),
            args.Text("edge-a", "Rising").c_str(), args.Text("edge-b", "Rising").c_str(),
            Int(args, "clock-count"), &adjust));
  report.Add("adjust_ps", "first-sample correction", adjust, "ps");
}

}  // namespace

void AddTimeBaseCommand(std::vector<Command>& commands);

void AddTimingCommands(std::vector<Command>& commands) {
  commands.push_back(
      {"cycle",
       "clock cycle, sampling period, clock start and trigger time",
       "cycle [--clk-type T --clk-host H --clk-module M --clk-output O]\n"
       "            [--trg-type T --trg-host H --trg-module M --trg-output O]\n"
       "            [--shot N] [--subshot N] [--clock-source Internal|External]\n"
       "            [--internal-clock HZ|NNns] [--multiplier N] [--interval NS]\n"
       "  Times are picoseconds from the timing system's time zero. The clock source is\n"
       "  Internal unless --clock-source says otherwise.\n",
       {With(kUnitOptions,
             {"shot", "subshot", "clock-source", "internal-clock", "multiplier", "interval"}),
        {}},
       &RunCycle});
  commands.push_back(
      {"first-sample",
       "time of sample 0 from the trigger time",
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
      {"adjust",
       "card-specific first-sample correction",
       "adjust --card TYPE --mode MODE [--clock-source S] [--flag N] [--period PS]\n"
       "            [--clock-period PS] [--edge-a E] [--edge-b E] [--clock-count N]\n",
       {{"card", "mode", "clock-source", "flag", "period", "clock-period", "edge-a", "edge-b",
         "clock-count"},
        {}},
       &RunAdjust});
  AddTimeBaseCommand(commands);
}

}  // namespace tovak::cli
