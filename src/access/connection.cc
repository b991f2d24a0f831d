// Close-after-each-call switch and timing-unit identifiers.
#include <cstring>

#include "access/session.h"
#include "tovak/rdb.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

enum class IdQuery { kHostId, kCamacId };

struct KindRow {
  const char* kind;
  IdQuery query;
};

// Exact whole-text comparison, tested in this order.
constexpr KindRow kKinds[] = {
    {"FPGA-DTS", IdQuery::kHostId}, {"VME-DTS", IdQuery::kHostId}, {"CAMAC-DTS", IdQuery::kCamacId},
    {"VME", IdQuery::kHostId},      {"FPGA", IdQuery::kHostId},    {"CAMAC", IdQuery::kCamacId},
};

}  // namespace
}  // namespace tovak

int IndexNoClosing(int mode) {
  // Without a server name only the configuration can choose the remote
  // protocol; an undecided protocol is fixed here.
  if (tovak::UsesRemoteServer(nullptr)) {
    if (mode == 0) tovakRelease();
    return 0;
  }
  if (mode == 0) {
    if (CIndexDBComm* db = CIndexDBComm::getInstance()) db->ForceClose(1);
    CIndexDBComm::swCloseEachTime = true;
  } else if (mode == 1) {
    CIndexDBComm::swCloseEachTime = false;
  }
  return 0;
}

int get_dmod_host_id(CIndexDBComm* db, const char* kind, const char* name) {
  if (name == nullptr) return -1;
  for (const tovak::KindRow& row : tovak::kKinds) {
    if (std::strcmp(kind, row.kind) != 0) continue;
    return row.query == tovak::IdQuery::kHostId ? db->get_DTS_HostID(name)
                                                : db->get_DTS_CAMACID(name);
  }
  return -1;
}
