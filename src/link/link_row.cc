#include "link/link_row.h"

#include <cstring>
#include <string>

#include "access/output_limits.h"
#include "access/session.h"
#include "access/state.h"
#include "access/text.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

struct KindName {
  const char* stored;
  const char* normalised;
};

// Exact, case-sensitive comparison; every other kind is "UserDefined".
constexpr KindName kKindNames[] = {
    {"VME-DTS", "VME"},
    {"CAMAC-DTS", "CAMAC-DTS"},
    {"CAMAC", "CAMAC"},
    {"FPGA-DTS", "FPGA-DTS"},
};
constexpr char kUserDefined[] = "UserDefined";

constexpr bool KindNamesFitTheirLimit() {
  for (const KindName& name : kKindNames) {
    if (std::char_traits<char>::length(name.normalised) > kKindNameLimit) return false;
  }
  return sizeof kUserDefined - 1 <= kKindNameLimit;
}
static_assert(KindNamesFitTheirLimit(), "a kind name the remote client would refuse");

// The subshot and channel keys are sign-extended, then passed unsigned.
unsigned int Widen(short value) { return static_cast<unsigned int>(static_cast<int>(value)); }

void CopyNormalisedKind(const CRDBres& link, char* dtsKind) {
  const std::string kind = TrimmedCell(link, 0);
  const char* normalised = kUserDefined;
  for (const KindName& name : kKindNames) {
    if (kind == name.stored) {
      normalised = name.normalised;
      break;
    }
  }
  std::strcpy(dtsKind, normalised);
}

}  // namespace

int QueryLinkRow(const LinkKey& key, const char* server, const RowDecoder& decode) {
  char site[kSiteBufferSize] = "";
  IndexSession session(server, site);
  if (session.status() != 0) return session.status();
  CIndexDBComm& db = session.db();

  const int siteId = db.get_site_id(site);
  const int diagId = siteId > 0 ? db.get_diag_id(key.diag, siteId, nullptr) : -1;
  if (siteId <= 0 || diagId < 0) {
    VerboseMessage("No diag name in database [%s] site[%s]\n", key.diag != nullptr ? key.diag : "",
                   site);
    return TOVAK_E_UNKNOWN_DIAG;
  }

  ResultPtr link(db.get_DTS_information(diagId, key.shot, Widen(key.subShot), Widen(key.chKey1),
                                        Widen(key.chKey2)));
  // A result without a row is treated like one that reports no match.
  if (NothingFound(link.get()) || RowCount(link.get()) == 0) {
    VerboseMessage("No DTS link information.\n");
    return TOVAK_E_NO_DTS_INFO;
  }
  return decode(db, *link);
}

std::string TrimmedCell(const CRDBres& link, int column) {
  std::string text = link.GetValue(0, column);
  trimstrcpy(text.data(), text.data());
  text.resize(std::strlen(text.c_str()));
  return text;
}

void CopyTrimmedCell(const CRDBres& link, int column, char* dst) {
  CopyOut(dst, TrimmedCell(link, column));
}

void CopyLinkTexts(const CRDBres& link, const LinkTexts& out) {
  CopyNormalisedKind(link, out.dtsKind);
  CopyTrimmedCell(link, 1, out.linkText1);
  CopyTrimmedCell(link, 2, out.linkText2);
  CopyTrimmedCell(link, 6, out.clockSource);
}

void ReadClockNumbers(const CRDBres& link, int* clockSetting, int* linkNum8) {
  const bool external = TrimmedCell(link, 6) == "External";
  *clockSetting = ParseInt32(link.GetValue(0, external ? 5 : 7));
  *linkNum8 = ParseInt32(link.GetValue(0, 8));
}

std::string OptionsText(const CRDBres& link) { return TrimmedCell(link, 9); }

}  // namespace tovak
