// The time base of one digitizer record: read the channel's DTS link, then
// ask for the sampling period, the delay and the first sample times.
//
//   timebase DIAG SHOT SUBSHOT CHKEY1 CHKEY2
//
// The database server names come from INDEXSERVERNAME / SETUPSERVERNAME.
#include <tovak/tovak.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "usage: timebase DIAG SHOT SUBSHOT CHKEY1 CHKEY2\n");
    return 2;
  }
  const char* diag = argv[1];
  const unsigned shot = std::strtoul(argv[2], nullptr, 10);
  const short subShot = static_cast<short>(std::atoi(argv[3]));
  const short key1 = static_cast<short>(std::atoi(argv[4]));
  const short key2 = static_cast<short>(std::atoi(argv[5]));

  // The link's texts (option words are at most 255 characters); options
  // that are absent leave their buffers empty.
  static char unit[TOVAK_TEXT_BUFFER_SIZE], module[TOVAK_TEXT_BUFFER_SIZE],
      clkOutput[TOVAK_TEXT_BUFFER_SIZE], trgOutput[TOVAK_TEXT_BUFFER_SIZE],
      source[TOVAK_TEXT_BUFFER_SIZE];
  char kind[16] = "", preSample[256] = "0", interval[256] = "", clkType[256] = "",
       clkUnit[256] = "", clkModule[256] = "";
  int clockSetting = 0, recordLength = 0;
  int status = tovakGetDTSinfoCLK(diag, shot, subShot, key1, key2, "", kind, unit, module,
                                  clkOutput, trgOutput, &clockSetting, &recordLength, source,
                                  preSample, interval, clkType, clkUnit, clkModule);
  if (status != TOVAK_OK) {
    std::fprintf(stderr, "link lookup failed: %d\n", status);
    return 1;
  }

  // Without a ClkDTS option the clock comes from the trigger's own module.
  const bool otherClockUnit = clkType[0] != '\0';
  const bool external = std::string(source) == "External";
  const std::string setting = std::to_string(clockSetting);
  const std::string internalClock = external || clockSetting == 0 ? "" : setting;
  const std::string multiplier = external ? setting : "1";
  int sampInterval = std::atoi(interval);

  std::vector<double> axis(5);
  double period = 0, delay = 0;
  status = tovakGetDTSdatax2_ex(
      "", kind, unit, module, trgOutput, otherClockUnit ? clkType : kind,
      otherClockUnit ? clkUnit : unit, otherClockUnit ? clkModule : module, clkOutput,
      &sampInterval, static_cast<int64_t>(axis.size()), shot, static_cast<unsigned short>(subShot),
      source, internalClock.c_str(), multiplier.c_str(), preSample, 0, /*quiet=*/1,
      /*doublePrecision=*/1, axis.data(), &period, &delay);
  if (status != TOVAK_OK) {
    std::fprintf(stderr, "time base failed: %d\n", status);
    return 1;
  }
  std::printf("trigger at %.9f s, one sample every %.9f s\n", delay, period);
  for (size_t k = 0; k < axis.size(); ++k) std::printf("sample %zu at %.9f s\n", k + 1, axis[k]);
  return 0;
}
