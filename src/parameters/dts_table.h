// The DTS table of the index database: one row per output channel of a
// timing module. Shared by the parameter-list builder and the count.
#ifndef TOVAK_PARAMETERS_DTS_TABLE_H_
#define TOVAK_PARAMETERS_DTS_TABLE_H_

#include <functional>
#include <string>

#include "access/output_limits.h"
#include "tovak/rdb.h"

namespace tovak {

// The module name a caller gives when it does not know it.
constexpr char kUnknownModule[] = "NONAME";

// Columns of the DTS table read by the library.
enum DtsColumn {
  kColCollected = 2,
  kColHostNumber = 4,
  kColModule = 6,
  kColChannel = 7,
  kColChannelInModule = 8,
  kColBaseRate = 9,
  kColDelayLinePreset = 10,
  kColInternalDelay = 11,
  kColDividerRange = 12,
  kColDividerMagnification = 13,
  kColDelaySeconds = 16,
  kColPulseWidthSeconds = 17,
  kColRepetitionSeconds = 18,
  kColDelay = 19,
  kColPulseWidth = 20,
  kColRepetition = 21,
  kColRepetitionCount = 22,
  kColTriggerSelect = 23,
  kColEventOut = 25,
  kColVmeInterrupt = 26,
  kColExternalTrigger = 27,
  kColInternalClock = 28,
  kColInhibit = 30,
  kColBusInput = 31,
  kColMoveMode = 32,
  kColTimerTrigger = 33,
};

// A cell's text; a null cell reads as "".
const char* Cell(const CRDBres& result, int row, int column);

// A module text names a DMODSS module when its first six characters are
// exactly "DMODSS"; any other text is a DMOD module.
bool IsDmodss(const char* moduleText);

// DMOD channels 1 and 2 and DMODSS channels from 7 carry a divider.
bool IsDividerChannel(bool dmodss, int channel);

// Number of entries in the parameter list of one channel.
int ParameterCount(bool dmodss, int channel);

// The module a lookup addresses: the timing unit's host id and the module
// name within the DTS table.
struct DtsModule {
  int hostId = -1;
  std::string name;
};

// What a parameter lookup addresses.
struct ModuleKey {
  const char* dtsName;
  const char* module;
  unsigned int shot;
  unsigned short subShot;
};

// The direct steps of both parameter lookups: session, module resolved into
// target (host id by the host-id, else the CAMAC-id query; "NONAME" or null
// is "DMODSS0" or "DMOD0" after the host's first table row, or stays), query
// of its DTS table. Returns use(db, table), the open-failure status,
// TOVAK_E_DTS_UNKNOWN, or `missing` (and `message` when not null) for no
// table or a module name beyond 63 characters.
using TableUse = std::function<int(CIndexDBComm& db, const CRDBres& table)>;
int QueryModuleTable(const char* server, const ModuleKey& key, int missing, const char* message,
                     DtsModule& target, const TableUse& use);

}  // namespace tovak

#endif  // TOVAK_PARAMETERS_DTS_TABLE_H_
