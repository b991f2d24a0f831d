// DTS link of a digitizer channel as raw texts: what the decoding lookup
// converts or resolves (link columns 3 and 4, the option values, the words
// naming the clock-supplying unit) reaches the caller as written.
#include <string_view>

#include "access/session.h"
#include "link/link_row.h"
#include "link/options_scan.h"
#include "link/remote_texts.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

// Every option word goes straight into the caller's buffer; a word that is
// not there leaves its buffer as it was.
class TextActions final : public OptionActions {
 public:
  TextActions(char* preSampleText, char* sampIntervalText, char* clkDtsType, char* clkDtsHost,
              char* clkDtsWord3)
      : preSampleText_(preSampleText),
        sampIntervalText_(sampIntervalText),
        clkDtsType_(clkDtsType),
        clkDtsHost_(clkDtsHost),
        clkDtsWord3_(clkDtsWord3) {}

  void PreSample(std::string_view value) override { Store(preSampleText_, value); }
  void SampInterval(std::string_view value) override { Store(sampIntervalText_, value); }
  void ClkDTS(std::string_view kind, std::string_view name, std::string_view third) override {
    Store(clkDtsType_, kind);
    Store(clkDtsHost_, name);
    Store(clkDtsWord3_, third);
  }

 private:
  static void Store(char* dst, std::string_view word) {
    if (!word.empty()) CopyWord(dst, word);
  }

  char* preSampleText_;
  char* sampIntervalText_;
  char* clkDtsType_;
  char* clkDtsHost_;
  char* clkDtsWord3_;
};

}  // namespace
}  // namespace tovak

int tovakGetDTSinfoCLK(const char* diag, unsigned int shot, short subShot, short chKey1,
                       short chKey2, const char* server, char* dtsKind, char* linkText1,
                       char* linkText2, char* linkText3, char* linkText4, int* clockSetting,
                       int* linkNum8, char* clockSource, char* preSampleText,
                       char* sampIntervalText, char* clkDtsType, char* clkDtsHost,
                       char* clkDtsWord3) {
  using namespace tovak;
  const auto remote = [&](CmonoMirvoDataClient& client) {
    constexpr size_t kText = kTextLimit, kWord = kOptionsTextLimit;
    RemoteTexts<11> texts(
        {dtsKind, linkText1, linkText2, linkText3, linkText4, clockSource, preSampleText,
         sampIntervalText, clkDtsType, clkDtsHost, clkDtsWord3},
        {kKindNameLimit, kText, kText, kText, kText, kText, kWord, kWord, kWord, kWord, kWord});
    return texts.Deliver(client.GetDTSinfoCLK(
        diag, shot, subShot, chKey1, chKey2, texts[0], texts[1], texts[2], texts[3], texts[4],
        clockSetting, linkNum8, texts[5], texts[6], texts[7], texts[8], texts[9], texts[10]));
  };
  const auto direct = [&] {
    const LinkKey key{diag, shot, subShot, chKey1, chKey2};
    return QueryLinkRow(key, server, [&](CIndexDBComm&, const CRDBres& link) {
      CopyLinkTexts(link, {dtsKind, linkText1, linkText2, clockSource});
      CopyTrimmedCell(link, 3, linkText3);
      CopyTrimmedCell(link, 4, linkText4);
      ReadClockNumbers(link, clockSetting, linkNum8);
      TextActions actions(preSampleText, sampIntervalText, clkDtsType, clkDtsHost, clkDtsWord3);
      return ScanOptions(OptionsText(link), actions);
    });
  };
  return Dispatch(server, remote, direct);
}
