// The direct steps both sampling lookups take to reach the DTS parameter
// rows of an output's module: the index session, the unit's id, the query.
#ifndef TOVAK_TIMING_OUTPUT_ROWS_H_
#define TOVAK_TIMING_OUTPUT_ROWS_H_

#include <functional>

#include "timing/sampling.h"
#include "tovak/rdb.h"

namespace tovak {

// What a lookup reports when a step fails: each writes the lookup's verbose
// message and returns its status.
struct RowsFailures {
  int (*unknownUnit)(const DtsOutput& output, int hostId);   // the unit has no id
  int (*nothingFound)(const DtsOutput& output, int hostId);  // the query found nothing
};

// Runs use(hostId, rows) on the rows of output's module at the shot, from
// the index database named by server. Returns the open-failure status, a
// failure's status, or what use returns.
using RowsUse = std::function<int(int hostId, const CRDBres& rows)>;
int QueryOutputRows(const char* server, const DtsOutput& output, unsigned int shot,
                    unsigned short subShot, const RowsFailures& failures, const RowsUse& use);

}  // namespace tovak

#endif  // TOVAK_TIMING_OUTPUT_ROWS_H_
