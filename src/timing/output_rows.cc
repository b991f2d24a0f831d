// The direct steps of the sampling back ends (timing/sampling.h).
#include "access/session.h"
#include "timing/sampling.h"
#include "tovak/tovak.h"

namespace tovak {

int QueryOutputRows(const char* server, const DtsOutput& output, unsigned int shot,
                    unsigned short subShot, RowsFailed failed, const RowsUse& use) {
  IndexSession session(server);
  if (session.status() != TOVAK_OK) return session.status();
  const int hostId = get_dmod_host_id(&session.db(), output.dtsType, output.dtsHost);
  if (hostId < 0) return failed(output, hostId);
  const ResultPtr rows(session.db().get_DTS_parameters(shot, subShot, hostId, output.module));
  if (NothingFound(rows.get())) return failed(output, hostId);
  return use(hostId, *rows);
}

}  // namespace tovak
