// The outputs of a link lookup in argument order, then its status, each followed by "|".
// Texts start as "-" and numbers as -9: an output the call did not write shows so.
#ifndef TOVAK_TESTS_LINK_LINK_CALLS_H_
#define TOVAK_TESTS_LINK_LINK_CALLS_H_

#include <sstream>
#include <string>

#include "tovak/tovak.h"

namespace tovak::testing {

struct Channel {
  const char* diag;
  unsigned shot;
  short sub, key1, key2;
  const char* server = nullptr;  // null: the INDEXSERVERNAME environment variable
};

template <class... T>
std::string Join(const T&... values) {
  std::ostringstream out;
  ((out << values << '|'), ...);
  return out.str();
}

struct Outputs {
  char t[11][TOVAK_TEXT_BUFFER_SIZE] = {"-", "-", "-", "-", "-", "-", "-", "-", "-", "-", "-"};
  short n3 = -9, n4 = -9;
  int setting = -9, n8 = -9, pre = -9, interval = -9, host = -9;
};

// kind|text1|text2|num3|num4|setting|num8|source|pre|interval|hostId|word3|status|
inline std::string Infox(const Channel& c) {
  Outputs o;
  const int status = tovakGetDTSinfox(c.diag, c.shot, c.sub, c.key1, c.key2, c.server, o.t[0],
                                      o.t[1], o.t[2], &o.n3, &o.n4, &o.setting, &o.n8, o.t[3],
                                      &o.pre, &o.interval, &o.host, o.t[4]);
  return Join(o.t[0], o.t[1], o.t[2], o.n3, o.n4, o.setting, o.n8, o.t[3], o.pre, o.interval,
              o.host, o.t[4], status);
}

// kind|text1|text2|text3|text4|setting|num8|source|pre|interval|type|host|word3|status|
inline std::string InfoClk(const Channel& c) {
  Outputs o;
  const int status = tovakGetDTSinfoCLK(c.diag, c.shot, c.sub, c.key1, c.key2, c.server, o.t[0],
                                        o.t[1], o.t[2], o.t[3], o.t[4], &o.setting, &o.n8, o.t[5],
                                        o.t[6], o.t[7], o.t[8], o.t[9], o.t[10]);
  return Join(o.t[0], o.t[1], o.t[2], o.t[3], o.t[4], o.setting, o.n8, o.t[5], o.t[6], o.t[7],
              o.t[8], o.t[9], o.t[10], status);
}

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_LINK_LINK_CALLS_H_
