// A digitizer channel's DTS link, read as texts.
#ifndef TOVAK_TOOLS_LINK_ROW_H_
#define TOVAK_TOOLS_LINK_ROW_H_

#include <string>

#include "args.h"

namespace tovak::cli {

// Diagnostic, shot, sub-shot and channel keys from positionals 0 to 4.
struct ChannelKey {
  std::string diag;
  unsigned int shot;
  short subShot, chKey1, chKey2;
};
ChannelKey ReadChannelKey(const Args& args);

// What tovakGetDTSinfoCLK answers; options that are absent stay empty.
struct LinkTexts {
  std::string dtsKind, text1, text2, text3, text4, clockSource;
  int clockSetting = 0, num8 = 0;
  std::string preSample, sampInterval, clkDtsType, clkDtsHost, clkDtsWord3;
};

// Throws LookupFailure when the lookup fails.
LinkTexts ReadLinkTexts(const ChannelKey& key, const std::string& server);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_LINK_ROW_H_
