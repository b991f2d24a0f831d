#include "timing/dts_time.h"

#include <cstring>

#include "access/session.h"
#include "access/text.h"
#include "timing/sampling.h"
#include "timing/wrapping.h"

namespace tovak {
namespace {

// Outputs named "C..." follow the six outputs numbered from 1.
constexpr int32_t kCOutputOffset = 6;
// A prefixed name carries its number from the fourth character on.
constexpr size_t kPrefixLength = 3;

}  // namespace

int32_t OutputNumber(const char* name, char outputLetter) {
  if (name == nullptr) return 0;
  const char first = name[0];
  if (first != outputLetter && first != 'C') return ParseInt32(name);
  if (strnlen(name, kPrefixLength) < kPrefixLength) return 0;
  const int32_t number = ParseInt32(name + kPrefixLength);
  return first == 'C' ? WrapAdd(number, kCOutputOffset) : number;
}

DtsRow ReadDtsRow(const CRDBres& result, int row) {
  auto column = [&](int c) { return ParseInt32(result.GetValue(row, c)); };
  return DtsRow{column(0), column(1), column(2), column(5), column(6), column(7)};
}

int64_t OutputClockCycle(const DtsRow& row) {
  const int32_t nanoseconds = WrapMul(row.periodFactor1, row.periodFactor2);
  return int64_t{nanoseconds} * kPicosecondsPerNanosecond;
}

int64_t DtsTime(const DtsRow& row, bool dmodss) {
  const int64_t tickLength = kPicosecondsPerSecond / row.baseRate;
  int32_t ticks = WrapAdd(row.delay, row.delay2);
  if (dmodss) ticks = WrapAdd(ticks, row.delay3);
  const int64_t fromZero = int64_t{ticks} - kDtsOriginSeconds * int64_t{row.baseRate};
  return WrapMul(fromZero, tickLength);
}

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
