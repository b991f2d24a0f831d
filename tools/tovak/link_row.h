// A digitizer channel's DTS link, read as texts.
#ifndef TOVAK_TOOLS_LINK_ROW_H_
#define TOVAK_TOOLS_LINK_ROW_H_

#include <string>

#include "args.h"
#include "channel_link.h"

namespace tovak::cli {

using tooling::ChannelKey;
using tooling::LinkTexts;

// Diagnostic, shot, sub-shot and channel keys from positionals 0 to 4.
ChannelKey ReadChannelKey(const Args& args);

// Throws LookupFailure when the lookup fails.
LinkTexts ReadLinkTexts(const ChannelKey& key, const std::string& server);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_LINK_ROW_H_
