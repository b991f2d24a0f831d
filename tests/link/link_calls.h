// Calls of the two link lookups with every output joined into one text:
// outputs in argument order, each followed by "|". Text buffers start as "-"
// and numbers as -9, so an output the call did not write shows as such.
#ifndef TOVAK_TESTS_LINK_LINK_CALLS_H_
#define TOVAK_TESTS_LINK_LINK_CALLS_H_

#include <cstring>
#include <string>

#include "tovak/tovak.h"

namespace tovak::testing {

struct Channel {
  const char* diag;
  unsigned shot;
  short sub, key1, key2;
  const char* server = nullptr;  // null: the INDEXSERVERNAME environment variable
};

struct Outputs {
  char t[11][512];
  short n3 = -9, n4 = -9;
  int setting = -9, n8 = -9, pre = -9, interval = -9, host = -9;
  std::string joined;

  Outputs() {
    for (auto& text : t) std::strcpy(text, "-");
  }
  Outputs& Add(const std::string& value) {
    (joined += value) += "|";
    return *this;
  }
  Outputs& Add(int value) { return Add(std::to_string(value)); }
};

// kind|text1|text2|num3|num4|setting|num8|source|pre|interval|hostId|word3|
inline std::string Infox(const Channel& c, int* status) {
  Outputs o;
  *status = tovakGetDTSinfox(c.diag, c.shot, c.sub, c.key1, c.key2, c.server, o.t[0], o.t[1],
                             o.t[2], &o.n3, &o.n4, &o.setting, &o.n8, o.t[3], &o.pre, &o.interval,
                             &o.host, o.t[4]);
  return o.Add(o.t[0])
      .Add(o.t[1])
      .Add(o.t[2])
      .Add(o.n3)
      .Add(o.n4)
      .Add(o.setting)
      .Add(o.n8)
      .Add(o.t[3])
      .Add(o.pre)
      .Add(o.interval)
      .Add(o.host)
      .Add(o.t[4])
      .joined;
}

// kind|text1|text2|text3|text4|setting|num8|source|pre|interval|type|host|word3|
inline std::string InfoClk(const Channel& c, int* status) {
  Outputs o;
  *status = tovakGetDTSinfoCLK(c.diag, c.shot, c.sub, c.key1, c.key2, c.server, o.t[0], o.t[1],
                               o.t[2], o.t[3], o.t[4], &o.setting, &o.n8, o.t[5], o.t[6], o.t[7],
                               o.t[8], o.t[9], o.t[10]);
  for (int i = 0; i < 5; ++i) o.Add(o.t[i]);
  o.Add(o.setting).Add(o.n8);
  for (int i = 5; i < 11; ++i) o.Add(o.t[i]);
  return o.joined;
}

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_LINK_LINK_CALLS_H_
