// The warning for an answer about a shot the database never recorded.
#include <climits>
#include <cstdint>
#include <cstdio>

#include "command.h"
#include "tovak/tovak.h"

namespace tovak::cli {

void WarnOfUnrecordedShot(const Command& command, const Args& args, const std::string& server) {
  if (command.shotAt < 0 || isTovakProtocolV2(server.c_str())) return;
  const size_t at = static_cast<size_t>(command.shotAt);
  const unsigned int shot = ShotArg(args, at);
  // The sub-shot as the command's lookup took it: signed for the link
  // lookups, unsigned for the others; the log takes the 32-bit value.
  const auto subShot = static_cast<int32_t>(
      ParseInteger(args.Positional(at + 1, "SUBSHOT"), "SUBSHOT", SHRT_MIN, USHRT_MAX));
  int64_t newest = -1;
  int recorded = 0;
  if (tovakGetShotRecord(server.c_str(), shot, static_cast<unsigned>(subShot), &newest,
                         &recorded) != 0 ||
      newest < 0) {
    return;
  }
  std::fflush(stdout);  // the answer first
  if (shot > newest) {
    std::fprintf(stderr,
                 "tovak %s: warning: shot %u is newer than the newest shot recorded (%lld): the "
                 "answer is the settings as they stand, not a record of that shot\n",
                 command.name, shot, static_cast<long long>(newest));
  } else if (recorded == 0) {
    std::fprintf(stderr,
                 "tovak %s: warning: shot %u sub-shot %d was never recorded: the answer is the "
                 "settings that would apply to it\n",
                 command.name, shot, static_cast<int>(subShot));
  }
}

}  // namespace tovak::cli
