// Reading the DTS parameter table: the rows of an output's module, which row
// an output name selects, and the time at which an output starts.
//
// get_DTS_parameters answers one row per output of a DTS module, in output
// number order (row n - 1 is output n). Its columns, all decimal integers:
//   0  delay count of the output, in base-clock ticks
//   1  first factor of the output's clock period
//   2  second factor; columns 1 x 2 is the period in nanoseconds
//   5  base rate of the module, ticks per second
//   6  second delay count, always added
//   7  third delay count, added only on "DMODSS" modules
//
// Times are signed 64-bit picoseconds from the timing system's time zero,
// which lies 120 seconds after the origin of the DTS counts.
#ifndef TOVAK_TIMING_DTS_TIME_H_
#define TOVAK_TIMING_DTS_TIME_H_

#include <cstdint>
#include <functional>

#include "tovak/rdb.h"

namespace tovak {

struct DtsOutput;  // timing/sampling.h

constexpr int64_t kPicosecondsPerNanosecond = 1000;
constexpr int64_t kPicosecondsPerSecond = 1000000000000;
// The clock cycle of a clock output numbered 0 or named "CLK_OUT": 100 ns.
constexpr int64_t kDefaultClockCycle = 100000;
// Seconds from the origin of the DTS counts to the timing system's zero.
constexpr int64_t kDtsOriginSeconds = 120;
// "CLK_OUT" runs from the origin of the DTS counts.
constexpr int64_t kDtsOriginPicoseconds = -kDtsOriginSeconds * kPicosecondsPerSecond;

// The direct steps of both sampling back ends to an output's DTS rows:
// session, unit id, query. Returns use(hostId, rows), the open-failure
// status, or failed(output, hostId) for no unit id (hostId < 0) or no rows.
using RowsUse = std::function<int(int hostId, const CRDBres& rows)>;
using RowsFailed = int (*)(const DtsOutput& output, int hostId);
int QueryOutputRows(const char* server, const DtsOutput& output, unsigned int shot,
                    unsigned short subShot, RowsFailed failed, const RowsUse& use);

// The number of the DTS output a name selects. A name that begins with
// outputLetter ("D" for a clock output, "T" for a trigger output) carries
// its number from the fourth character on; one that begins with "C" carries
// it there too, counted from 7 on; any other name is read whole as a number.
// A prefixed name of fewer than three characters has no number: 0. A name
// with no digits where the number is read is 0 as well.
int32_t OutputNumber(const char* name, char outputLetter);

// The columns of one row of the DTS parameter table.
struct DtsRow {
  int32_t delay = 0;
  int32_t periodFactor1 = 0;
  int32_t periodFactor2 = 0;
  int32_t baseRate = 0;
  int32_t delay2 = 0;
  int32_t delay3 = 0;
};

// Row `row` (from 0) of a DTS parameter result; the caller checks the row
// exists.
DtsRow ReadDtsRow(const CRDBres& result, int row);

// The clock cycle of an output: columns 1 x 2 nanoseconds (their product
// kept to 32 bits), in picoseconds.
int64_t OutputClockCycle(const DtsRow& row);

// Start time of an output. The tick length is 10^12 / base rate picoseconds,
// truncated; the tick count is measured from the DTS origin, so the 120
// seconds are subtracted in ticks before scaling. The caller checks the base
// rate is not 0. dmodss: the module is of the "DMODSS" class (checkFPGA).
int64_t DtsTime(const DtsRow& row, bool dmodss);

}  // namespace tovak

#endif  // TOVAK_TIMING_DTS_TIME_H_
