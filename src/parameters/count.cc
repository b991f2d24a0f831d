// How many parameter records a range of a module's channels needs: the
// largest list size over the range, found from the DTS table without
// building the lists.
#include <algorithm>
#include <string>

#include "access/session.h"
#include "access/state.h"
#include "access/text.h"
#include "parameters/dts_table.h"
#include "tovak/tovak.h"

namespace {

struct Range {
  int* first;
  int* last;
};

void CopyModuleName(char* moduleOut, const std::string& name) {
  if (moduleOut == nullptr) return;
  if (!tovak::CopyBounded(moduleOut, name.c_str(), tovak::kModuleNameSize)) {
    tovak::VerboseMessage("Module name cut to %d characters [%s]\n",
                          tovak::kModuleNameSize - 1, name.c_str());
  }
}

bool LegalRange(int first, int last, int rows) {
  return first >= 0 && last >= 0 && first <= last && rows >= last;
}

// Largest list size over channels first..last. Channel 0 names no row and
// adds nothing.
int LargestCount(const CRDBres& table, int first, int last) {
  int largest = 0;
  for (int channel = std::max(first, 1); channel <= last; ++channel) {
    const bool dmodss = tovak::IsDmodss(tovak::Cell(table, channel - 1, tovak::kColModule));
    largest = std::max(largest, tovak::ParameterCount(dmodss, channel));
  }
  return largest;
}

int V1Count(const char* server, const char* dtsName, const char* module, unsigned int shot,
            unsigned short subShot, short* count, Range range, char* moduleOut) {
  tovak::IndexSession session(server);
  if (session.status() != 0) return session.status();
  CIndexDBComm& db = session.db();

  tovak::DtsModule target;
  const int resolved = tovak::ResolveDtsModule(db, dtsName, module, shot, subShot,
                                               TOVAK_E_NO_DTS_INFO, target);
  if (resolved != 0) return resolved;
  CopyModuleName(moduleOut, target.name);

  tovak::ResultPtr table(db.get_DTSTBL(target.hostId, target.name.c_str(), shot, subShot));
  if (tovak::NothingFound(table.get())) {
    tovak::VerboseMessage("No DTS information.\n");
    return TOVAK_E_NO_DTS_INFO;
  }
  const int rows = tovak::RowCount(table.get());
  const int first = *range.first;
  const int last = *range.last == 0 ? rows : *range.last;
  if (!LegalRange(first, last, rows)) {
    tovak::VerboseMessage("Illeagal Channel Number start:%d end:%d max:%d\n", first, last,
                          rows);
    return TOVAK_E_CHANNEL_RANGE;
  }
  *count = static_cast<short>(LargestCount(*table, first, last));
  *range.last = last;
  return 0;
}

int V2Count(const char* server, const char* dtsName, const char* module, unsigned int shot,
            unsigned short subShot, short* count, Range range, char* moduleOut) {
  return tovak::WithRemoteClient(server, [&](CmonoMirvoDataClient& client) {
    int remoteCount = 0;
    std::string name;
    const int status =
        client.GetDTSParametersCount(dtsName, module, shot, subShot, *range.first,
                                     *range.last, &remoteCount, range.first, range.last, name);
    if (status == 0) {
      CopyModuleName(moduleOut, name);
      *count = static_cast<short>(remoteCount);
    }
    return status;
  });
}

}  // namespace

int tovakGetDTSParametersCount(const char* server, const char* dtsName, const char* module,
                               unsigned int shot, unsigned short subShot, short* count,
                               int* firstChannel, int* lastChannel, char* moduleOut) {
  short ignored = 0;
  if (count == nullptr) count = &ignored;
  *count = 0;
  if (firstChannel == nullptr || lastChannel == nullptr) return TOVAK_E_CHANNEL_RANGE;
  const Range range{firstChannel, lastChannel};
  if (isTovakProtocolV2(server) == tovak::kProtocolV2) {
    return V2Count(server, dtsName, module, shot, subShot, count, range, moduleOut);
  }
  return V1Count(server, dtsName, module, shot, subShot, count, range, moduleOut);
}
