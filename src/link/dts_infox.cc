// DTS link of a digitizer channel, decoded into numbers: the options'
// values are converted and the clock-supplying unit is resolved to its
// identifier.
#include <cstring>
#include <string_view>

#include "access/session.h"
#include "access/text.h"
#include "link/link_row.h"
#include "link/options_scan.h"
#include "link/remote_texts.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

// Option words are decoded from a working buffer of this many bytes.
constexpr size_t kWordBufferSize = 64;

// A word that fits the word buffer, NUL-terminated; the empty text for a
// missing word or one too long to hold.
class Word {
 public:
  explicit Word(std::string_view word) {
    if (word.empty() || word.size() >= kWordBufferSize) return;
    std::memcpy(text_, word.data(), word.size());
    text_[word.size()] = '\0';
  }
  bool empty() const { return text_[0] == '\0'; }
  const char* c_str() const { return text_; }

 private:
  char text_[kWordBufferSize] = "";
};

// Kinds a "ClkDTS" option may name; the long forms are not accepted here.
bool IsClockUnitKind(std::string_view kind) {
  return kind == "VME" || kind == "CAMAC" || kind == "FPGA";
}

class DecodingActions final : public OptionActions {
 public:
  DecodingActions(CIndexDBComm& db, int* preSample, int* sampInterval, int* clkHostId,
                  char* clkDtsWord3)
      : db_(db),
        preSample_(preSample),
        sampInterval_(sampInterval),
        clkHostId_(clkHostId),
        clkDtsWord3_(clkDtsWord3) {}

  void PreSample(std::string_view value) override {
    const Word word(value);
    if (!word.empty()) *preSample_ = ParseInt32(word.c_str());
  }

  void SampInterval(std::string_view value) override {
    const Word word(value);
    if (word.empty()) return;
    const int32_t interval = ParseInt32(word.c_str());
    *sampInterval_ = interval == 0 ? 1 : interval;
  }

  void ClkDTS(std::string_view kind, std::string_view name, std::string_view third) override {
    *clkHostId_ = HostId(kind, name);
    if (!third.empty()) CopyWord(clkDtsWord3_, third);
  }

 private:
  // 0 when the unit cannot be looked up: a kind other than the short forms,
  // or a name too long to hold.
  int HostId(std::string_view kind, std::string_view name) {
    const Word unit(name);
    if (!IsClockUnitKind(kind) || unit.empty()) return 0;
    return get_dmod_host_id(&db_, Word(kind).c_str(), unit.c_str());
  }

  CIndexDBComm& db_;
  int* preSample_;
  int* sampInterval_;
  int* clkHostId_;
  char* clkDtsWord3_;
};

}  // namespace
}  // namespace tovak

int tovakGetDTSinfox(const char* diag, unsigned int shot, short subShot, short chKey1, short chKey2,
                     const char* server, char* dtsKind, char* linkText1, char* linkText2,
                     short* linkNum3, short* linkNum4, int* clockSetting, int* linkNum8,
                     char* clockSource, int* preSample, int* sampInterval, int* clkHostId,
                     char* clkDtsWord3) {
  using namespace tovak;
  // What the options leave unset, on both paths.
  *preSample = 0;
  *sampInterval = 1;
  *clkHostId = 0;
  const auto remote = [&](CmonoMirvoDataClient& client) {
    RemoteTexts<5> texts({dtsKind, linkText1, linkText2, clockSource, clkDtsWord3},
                         {kKindNameLimit, kTextLimit, kTextLimit, kTextLimit, kOptionsTextLimit});
    return texts.Deliver(client.GetDTSinfox(
        diag, shot, subShot, chKey1, chKey2, texts[0], texts[1], texts[2], linkNum3, linkNum4,
        clockSetting, linkNum8, texts[3], preSample, sampInterval, clkHostId, texts[4]));
  };
  const auto direct = [&] {
    const LinkKey key{diag, shot, subShot, chKey1, chKey2};
    return QueryLinkRow(key, server, [&](CIndexDBComm& db, const CRDBres& link) {
      CopyLinkTexts(link, {dtsKind, linkText1, linkText2, clockSource});
      *linkNum3 = ParseInt16(link.GetValue(0, 3));
      *linkNum4 = ParseInt16(link.GetValue(0, 4));
      ReadClockNumbers(link, clockSetting, linkNum8);
      DecodingActions actions(db, preSample, sampInterval, clkHostId, clkDtsWord3);
      return ScanOptions(OptionsText(link), actions);
    });
  };
  return Dispatch(server, remote, direct);
}
