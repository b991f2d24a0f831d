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
  Check("tovakGetDTSinfox", tooling::ReadLinkNumbers(ReadChannelKey(args), server.c_str(), &link));
  report.Add("dtsKind", "DTS kind", link.dtsKind);
  report.Add("triggerUnit", "trigger unit", link.triggerUnit);
  report.Add("triggerModule", "trigger module", link.triggerModule);
  report.Add("clockOutput", "clock output", int64_t{link.clockOutput});
  report.Add("triggerOutput", "trigger output", int64_t{link.triggerOutput});
  report.Add("clockSource", "clock source", link.clockSource);
  report.Add("clockSetting", "clock setting", int64_t{link.clockSetting});
  report.Add("recordLength", "record length", int64_t{link.recordLength});
  report.Add("preSample", "pre-samples", int64_t{link.preSample});
  report.Add("sampInterval", "sampling interval", int64_t{link.sampInterval}, "ns");
  report.Add("clkHostId", "clock unit id", int64_t{link.clockUnitId});
  report.Add("clkModule", "clock module", link.clockModule);
}

void RunClk(const Args& args, const std::string& server, Report& report) {
  const LinkTexts link = ReadLinkTexts(ReadChannelKey(args), server);
  report.Add("dtsKind", "DTS kind", link.dtsKind);
  report.Add("triggerUnit", "trigger unit", link.text1);
  report.Add("triggerModule", "trigger module", link.text2);
  report.Add("clockOutput", "clock output", link.text3);
  report.Add("triggerOutput", "trigger output", link.text4);
  report.Add("clockSource", "clock source", link.clockSource);
  report.Add("clockSetting", "clock setting", int64_t{link.clockSetting});
  report.Add("recordLength", "record length", int64_t{link.num8});
  report.Add("preSample", "PreSample", link.preSample);
  report.Add("sampInterval", "SampInterval", link.sampInterval);
  report.Add("clkDtsType", "clock unit kind", link.clkDtsType);
  report.Add("clkDtsHost", "clock unit", link.clkDtsHost);
  report.Add("clkModule", "clock module", link.clkDtsWord3);
}

}  // namespace

void AddLinkCommands(std::vector<Command>& commands) {
  commands.push_back({"link", "DTS link of a digitizer channel, decoded",
                      "link DIAG SHOT SUBSHOT CHKEY1 CHKEY2\n"
                      "  The timing unit, clock source and sampling set-up linked to the channel,\n"
                      "  with the options decoded into numbers and the clock unit's identifier.\n",
                      {},
                      &RunLink});
  commands.push_back({"clk", "DTS link of a digitizer channel, as raw texts",
                      "clk DIAG SHOT SUBSHOT CHKEY1 CHKEY2\n"
                      "  The channel's link fields and options as stored, including the kind and\n"
                      "  name of the timing unit that supplies the clock.\n",
                      {},
                      &RunClk});
}

}  // namespace tovak::cli
