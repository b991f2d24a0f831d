#include "link_row.h"

#include <climits>
#include <vector>

#include "command.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

// The library copies texts whole without a size: buffers far larger than
// any value the databases hold.
constexpr size_t kTextBuffer = 4096;

struct Buffer {
  std::vector<char> bytes = std::vector<char>(kTextBuffer, '\0');
  char* data() { return bytes.data(); }
  std::string str() const { return bytes.data(); }
};

}  // namespace

ChannelKey ReadChannelKey(const Args& args) {
  ChannelKey key;
  key.diag = args.Positional(0, "DIAG");
  key.shot = static_cast<unsigned>(ParseInteger(args.Positional(1, "SHOT"), "SHOT", 0, UINT_MAX));
  key.subShot = static_cast<short>(
      ParseInteger(args.Positional(2, "SUBSHOT"), "SUBSHOT", SHRT_MIN, SHRT_MAX));
  key.chKey1 = static_cast<short>(
      ParseInteger(args.Positional(3, "CHKEY1"), "CHKEY1", SHRT_MIN, SHRT_MAX));
  key.chKey2 = static_cast<short>(
      ParseInteger(args.Positional(4, "CHKEY2"), "CHKEY2", SHRT_MIN, SHRT_MAX));
  return key;
}

LinkTexts ReadLinkTexts(const ChannelKey& key, const std::string& server) {
  Buffer kind, t1, t2, t3, t4, source, pre, interval, clkType, clkHost, word3;
  LinkTexts link;
  Check("tovakGetDTSinfoCLK",
        tovakGetDTSinfoCLK(key.diag.c_str(), key.shot, key.subShot, key.chKey1, key.chKey2,
                           server.c_str(), kind.data(), t1.data(), t2.data(), t3.data(),
                           t4.data(), &link.clockSetting, &link.num8, source.data(), pre.data(),
                           interval.data(), clkType.data(), clkHost.data(), word3.data()));
  link.dtsKind = kind.str();
  link.text1 = t1.str();
  link.text2 = t2.str();
  link.text3 = t3.str();
  link.text4 = t4.str();
  link.clockSource = source.str();
  link.preSample = pre.str();
  link.sampInterval = interval.str();
  link.clkDtsType = clkType.str();
  link.clkDtsHost = clkHost.str();
  link.clkDtsWord3 = word3.str();
  return link;
}

}  // namespace tovak::cli
