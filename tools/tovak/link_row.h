// A digitizer channel's DTS link, read as texts.
#ifndef TOVAK_TOOLS_LINK_ROW_H_
#define TOVAK_TOOLS_LINK_ROW_H_

#include <string>

#include "args.h"
#include "channel_link.h"
#include "report.h"

namespace tovak::cli {

using tooling::ChannelKey;
using tooling::LinkTexts;

// Diagnostic, shot, sub-shot and channel keys from positionals 0 to 4.
ChannelKey ReadChannelKey(const Args& args);

// The channel as error messages name it.
std::string Asked(const ChannelKey& key);

// Throws LookupFailure when the lookup fails.
LinkTexts ReadLinkTexts(const ChannelKey& key, const std::string& server);

// samp_interval_ns: null with an external clock and 0 or 1, the values that
// stand for "no SampInterval option"; the interval in ns otherwise.
void AddSampInterval(Report& report, bool externalClock, int64_t interval);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_LINK_ROW_H_
