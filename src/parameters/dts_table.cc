#include "parameters/dts_table.h"

#include <cstring>

#include "access/session.h"
#include "access/state.h"
#include "tovak/tovak.h"

namespace tovak {

const char* Cell(const CRDBres& result, int row, int column) {
  const char* text = result.GetValue(row, column);
  return text == nullptr ? "" : text;
}

bool IsDmodss(const char* moduleText) {
  return moduleText != nullptr && std::strncmp(moduleText, "DMODSS", 6) == 0;
}

bool IsDividerChannel(bool dmodss, int channel) { return dmodss ? channel >= 7 : channel <= 2; }

int ParameterCount(bool dmodss, int channel) {
  constexpr int kAlwaysPresent = 37;
  const int kindEntries = dmodss ? 2 : 1;  // Inhibit and BusIF, or VMEbusInterrupt
  const int dividerEntries = IsDividerChannel(dmodss, channel) ? 2 : 0;
  static_assert(kAlwaysPresent + 2 + 2 == kMaxParameterCount, "the longest list");
  return kAlwaysPresent + kindEntries + dividerEntries;
}

namespace {

int HostId(CIndexDBComm& db, const char* dtsName) {
  const int id = db.get_DTS_HostID(dtsName);
  return id >= 0 ? id : db.get_DTS_CAMACID(dtsName);
}

// The name standing in for "NONAME": the first module of the host's table.
std::string FirstModuleName(CIndexDBComm& db, int hostId, unsigned int shot,
                            unsigned short subShot) {
  ResultPtr rows(db.get_DTSTBL(hostId, shot, subShot));
  if (NothingFound(rows.get())) return kUnknownModule;
  // Any other status counts as rows to read; a result without rows has no
  // first module to go by.
  if (RowCount(rows.get()) < 1) return kUnknownModule;
  return IsDmodss(Cell(*rows, 0, kColModule)) ? "DMODSS0" : "DMOD0";
}

// Finds the unit's host id and the module name (QueryModuleTable).
int ResolveDtsModule(CIndexDBComm& db, const ModuleKey& key, int tooLongStatus, DtsModule& out) {
  const char* dtsName = key.dtsName;
  const char* module = key.module;
  if (dtsName == nullptr) dtsName = "";
  const int hostId = HostId(db, dtsName);
  if (hostId < 0) {
    VerboseMessage("No host name in database [%s]\n", dtsName);
    return TOVAK_E_DTS_UNKNOWN;
  }
  if (module == nullptr) module = kUnknownModule;
  if (std::strlen(module) >= static_cast<size_t>(kModuleNameSize)) {
    VerboseMessage("Module name longer than %d characters [%s]\n", kModuleNameSize - 1, module);
    return tooLongStatus;
  }
  out.hostId = hostId;
  out.name = std::strcmp(module, kUnknownModule) == 0
                 ? FirstModuleName(db, hostId, key.shot, key.subShot)
                 : module;
  return 0;
}

}  // namespace

int QueryModuleTable(const char* server, const ModuleKey& key, int missing, const char* message,
                     DtsModule& target, const TableUse& use) {
  IndexSession session(server);
  if (session.status() != 0) return session.status();
  CIndexDBComm& db = session.db();
  const int resolved = ResolveDtsModule(db, key, missing, target);
  if (resolved != 0) return resolved;
  const ResultPtr table(db.get_DTSTBL(target.hostId, target.name.c_str(), key.shot, key.subShot));
  if (NothingFound(table.get())) {
    if (message != nullptr) VerboseMessage("%s", message);
    return missing;
  }
  return use(db, *table);
}

}  // namespace tovak
