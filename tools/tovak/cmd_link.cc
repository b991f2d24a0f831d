// link, clk: the DTS link of a digitizer channel.
#include <string>
#include <vector>

#include "command.h"
#include "link_row.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

void RunLink(const Args& args, const std::string& server, Report& report) {
  tooling::LinkNumbers link;
  const ChannelKey key = ReadChannelKey(args);
  Check("tovakGetDTSinfox", tooling::ReadLinkNumbers(key, server.c_str(), &link), Asked(key));
  report.Add("dts_kind", "DTS kind", link.dtsKind);
  report.Add("trigger_unit", "trigger unit", link.triggerUnit);
  report.Add("trigger_module", "trigger module", link.triggerModule);
  report.Add("clock_output", "clock output", int64_t{link.clockOutput});
  report.Add("trigger_output", "trigger output", int64_t{link.triggerOutput});
  report.Add("clock_source", "clock source", link.clockSource);
  report.Add("clock_setting", "clock setting", int64_t{link.clockSetting});
  report.Add("record_length", "record length", int64_t{link.recordLength});
  report.Add("pre_samples", "pre-samples", int64_t{link.preSample});
  AddSampInterval(report, link.clockSource == "External", link.sampInterval);
  report.Add("clock_unit_id", "clock unit id", int64_t{link.clockUnitId});
  report.Add("clock_module", "clock module", link.clockModule);
}

void RunClk(const Args& args, const std::string& server, Report& report) {
  const LinkTexts link = ReadLinkTexts(ReadChannelKey(args), server);
  report.Add("dts_kind", "DTS kind", link.dtsKind);
  report.Add("trigger_unit", "trigger unit", link.text1);
  report.Add("trigger_module", "trigger module", link.text2);
  report.Add("clock_output", "clock output", link.text3);
  report.Add("trigger_output", "trigger output", link.text4);
  report.Add("clock_source", "clock source", link.clockSource);
  report.Add("clock_setting", "clock setting", int64_t{link.clockSetting});
  report.Add("record_length", "record length", int64_t{link.num8});
  report.Add("pre_samples_text", "PreSample", link.preSample);
  report.Add("samp_interval_text", "SampInterval", link.sampInterval);
  report.Add("clock_unit_kind", "clock unit kind", link.clkDtsType);
  report.Add("clock_unit", "clock unit", link.clkDtsHost);
  report.Add("clock_module", "clock module", link.clkDtsWord3);
}

}  // namespace

void AddLinkCommands(std::vector<Command>& commands) {
  commands.push_back({"link",
                      "DTS link of a digitizer channel, decoded",
                      "link DIAG SHOT SUBSHOT CHKEY1 CHKEY2\n"
                      "  The timing unit, clock source and sampling set-up linked to the channel,\n"
                      "  with the options decoded into numbers and the clock unit's identifier.\n",
                      {},
                      &RunLink,
                      1});
  commands.push_back({"clk",
                      "DTS link of a digitizer channel, as raw texts",
                      "clk DIAG SHOT SUBSHOT CHKEY1 CHKEY2\n"
                      "  The channel's link fields and options as stored, including the kind and\n"
                      "  name of the timing unit that supplies the clock.\n",
                      {},
                      &RunClk,
                      1});
}

}  // namespace tovak::cli
