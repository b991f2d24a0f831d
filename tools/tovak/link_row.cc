#include "link_row.h"

#include <climits>

#include "command.h"

namespace tovak::cli {

ChannelKey ReadChannelKey(const Args& args) {
  ChannelKey key;
  key.diag = args.Positional(0, "DIAG");
  key.shot = ShotArg(args, 1);
  key.subShot = static_cast<short>(
      ParseInteger(args.Positional(2, "SUBSHOT"), "SUBSHOT", SHRT_MIN, SHRT_MAX));
  key.chKey1 =
      static_cast<short>(ParseInteger(args.Positional(3, "CHKEY1"), "CHKEY1", SHRT_MIN, SHRT_MAX));
  key.chKey2 =
      static_cast<short>(ParseInteger(args.Positional(4, "CHKEY2"), "CHKEY2", SHRT_MIN, SHRT_MAX));
  return key;
}

std::string Asked(const ChannelKey& key) {
  return "diagnostic '" + key.diag + "' shot " + std::to_string(key.shot) + "/" +
         std::to_string(key.subShot) + " channel " + std::to_string(key.chKey1) + "," +
         std::to_string(key.chKey2);
}

LinkTexts ReadLinkTexts(const ChannelKey& key, const std::string& server) {
  LinkTexts link;
  Check("tovakGetDTSinfoCLK", tooling::ReadLinkTexts(key, server.c_str(), &link), Asked(key));
  return link;
}

void AddSampInterval(Report& report, bool externalClock, int64_t interval) {
  if (externalClock && (interval == 0 || interval == 1)) {
    report.Add("samp_interval_ns", "sampling interval", Null{},
               "none: no SampInterval option (external clock)");
  } else {
    report.Add("samp_interval_ns", "sampling interval", interval, "ns");
  }
}

}  // namespace tovak::cli
