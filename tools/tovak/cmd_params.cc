// params, count: the parameter list of a timing output channel.
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "command.h"
#include "parameter_entries.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

const char* TagName(int tag) {
  switch (tag) {
    case kTovakParamText: return "text";
    case kTovakParamInt: return "int";
    case kTovakParamUInt: return "unsigned";
    case kTovakParamLong: return "long";
    case kTovakParamTime: return "time";
    case kTovakParamSeconds: return "seconds";
    default: return "other";
  }
}

void RunParams(const Args& args, const std::string& server, Report& report) {
  const std::string& dts = args.Positional(0, "DTS");
  const std::string& module = args.Positional(1, "MODULE");
  const unsigned short channel = static_cast<unsigned short>(
      ParseInteger(args.Positional(4, "CHANNEL"), "CHANNEL", 0, USHRT_MAX));
  CParamSet params;
  Check("getDTSParameters",
        getDTSParameters(server.c_str(), dts.c_str(), module.c_str(), ShotArg(args, 2),
                         SubShotArg(args, 3), channel, params),
        "timing unit '" + dts + "' module '" + module + "'");
  Table table{"parameters", {"name", "value", "type"}, {}};
  for (const tooling::ParameterEntry& entry : tooling::EntriesOf(params)) {
    table.rows.push_back({entry.name, entry.value, TagName(entry.tag)});
  }
  report.AddTable(std::move(table));
}

void RunCount(const Args& args, const std::string& server, Report& report) {
  const std::string& dts = args.Positional(0, "DTS");
  const std::string& module = args.Positional(1, "MODULE");
  short count = 0;
  int first = static_cast<int>(args.Integer("first", 1, INT_MIN, INT_MAX));
  int last = static_cast<int>(args.Integer("last", 0, INT_MIN, INT_MAX));
  char moduleUsed[64] = "";
  Check("tovakGetDTSParametersCount",
        tovakGetDTSParametersCount(server.c_str(), dts.c_str(), module.c_str(), ShotArg(args, 2),
                                   SubShotArg(args, 3), &count, &first, &last, moduleUsed),
        "timing unit '" + dts + "' module '" + module + "'");
  report.Add("count", "parameters per channel", int64_t{count});
  report.Add("first_channel", "first channel", int64_t{first});
  report.Add("last_channel", "last channel", int64_t{last});
  report.Add("module", "module", std::string(moduleUsed));
}

}  // namespace

void AddParameterCommands(std::vector<Command>& commands) {
  commands.push_back({"params",
                      "settings of a timing output channel",
                      "params DTS MODULE SHOT SUBSHOT CHANNEL\n"
                      "  The channel's settings as an ordered list of named values. MODULE may be\n"
                      "  NONAME when unknown; channels count from 1.\n",
                      {},
                      &RunParams,
                      2});
  commands.push_back({"count",
                      "parameters needed over a range of channels",
                      "count DTS MODULE SHOT SUBSHOT [--first N] [--last N]\n"
                      "  The largest parameter count over channels first..last (last 0: up to the\n"
                      "  module's last channel), with the module name used.\n",
                      {{"first", "last"}, {}},
                      &RunCount,
                      2});
}

}  // namespace tovak::cli
