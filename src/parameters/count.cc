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

namespace tovak {
namespace {

void CopyModuleName(char* moduleOut, const std::string& name) {
  if (moduleOut == nullptr) return;
  if (!CopyBounded(moduleOut, name.c_str(), kModuleNameSize)) {
    VerboseMessage("Module name cut to %d characters [%s]\n", kModuleNameSize - 1, name.c_str());
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
    const bool dmodss = IsDmodss(Cell(table, channel - 1, kColModule));
    largest = std::max(largest, ParameterCount(dmodss, channel));
  }
  return largest;
}

int DirectCount(const char* server, const ModuleKey& key, short* count, int* first, int* last,
                char* moduleOut) {
  DtsModule target;
  const auto use = [&](CIndexDBComm&, const CRDBres& table) {
    const int rows = RowCount(&table);
    const int start = *first;
    const int end = *last == 0 ? rows : *last;
    if (!LegalRange(start, end, rows)) {
      VerboseMessage("Illeagal Channel Number start:%d end:%d max:%d\n", start, end, rows);
      return TOVAK_E_CHANNEL_RANGE;
    }
    *count = static_cast<short>(LargestCount(table, start, end));
    *last = end;
    return TOVAK_OK;
  };
  const int status =
      QueryModuleTable(server, key, TOVAK_E_NO_DTS_INFO, "No DTS information.\n", target, use);
  // The name goes out once the module is resolved, also when its table is empty.
  if (target.hostId >= 0) CopyModuleName(moduleOut, target.name);
  return status;
}

int RemoteCount(CmonoMirvoDataClient& client, const ModuleKey& key, short* count, int* first,
                int* last, char* moduleOut) {
  int remoteCount = 0;
  std::string name;
  const int status = client.GetDTSParametersCount(key.dtsName, key.module, key.shot, key.subShot,
                                                  *first, *last, &remoteCount, first, last, name);
  if (status == 0) {
    CopyModuleName(moduleOut, name);
    *count = static_cast<short>(remoteCount);
  }
  return status;
}

}  // namespace
}  // namespace tovak

int tovakGetDTSParametersCount(const char* server, const char* dtsName, const char* module,
                               unsigned int shot, unsigned short subShot, short* count,
                               int* firstChannel, int* lastChannel, char* moduleOut) {
  using namespace tovak;
  short ignored = 0;
  if (count == nullptr) count = &ignored;
  *count = 0;
  if (firstChannel == nullptr || lastChannel == nullptr) return TOVAK_E_CHANNEL_RANGE;
  const ModuleKey key{dtsName, module, shot, subShot};
  const auto remote = [&](CmonoMirvoDataClient& client) {
    return RemoteCount(client, key, count, firstChannel, lastChannel, moduleOut);
  };
  const auto direct = [&] {
    return DirectCount(server, key, count, firstChannel, lastChannel, moduleOut);
  };
  return Dispatch(server, remote, direct);
}
