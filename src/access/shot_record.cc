// The shot log: whether the site recorded the shot a caller asks about.
#include <charconv>
#include <cstdint>
#include <cstring>

#include "access/session.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

// The newest shot: "" when none was recorded, else a shot number.
bool ReadNewest(const char* text, int64_t* newest) {
  if (*text == '\0') {
    *newest = -1;
    return true;
  }
  uint32_t shot = 0;
  const char* end = text + std::strlen(text);
  const auto [at, error] = std::from_chars(text, end, shot);
  if (error != std::errc() || at != end) return false;
  *newest = shot;
  return true;
}

bool ReadFlag(const char* text, int* flag) {
  if (std::strcmp(text, "t") != 0 && std::strcmp(text, "f") != 0) return false;
  *flag = *text == 't' ? 1 : 0;
  return true;
}

}  // namespace
}  // namespace tovak

int tovakGetShotRecord(const char* server, unsigned int shot, unsigned int subShot,
                       int64_t* newestShot, int* recorded) {
  using namespace tovak;
  IndexSession session(server);
  if (session.status() != 0) return session.status();
  const ResultPtr row(session.db().get_shot_record(shot, subShot));
  int64_t newest = -1;
  int flag = 0;
  // No row: the connected role is no site, which keeps no log.
  if (ResultStatus(row.get()) != -2 &&
      !(RowCount(row.get()) == 1 && ReadNewest(row->GetValue(0, 0), &newest) &&
        ReadFlag(row->GetValue(0, 1), &flag))) {
    return TOVAK_E_NO_SHOT_LOG;
  }
  *newestShot = newest;
  *recorded = flag;
  return 0;
}
