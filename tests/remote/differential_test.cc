// Every lookup with a remote form over each demo site's data, by direct access and through a real
// tovak-server: all agrees byte for byte but where the remote front ends differ by design: texts
// arrive only on success, then all (untouched ones empty); a failed time base writes nothing.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "remote/helpers.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

// A caller's text buffer, starting as a known pattern.
struct Buffer {
  char bytes[4096];
  explicit Buffer(char first = 0x5a) {
    std::memset(bytes, 0x5a, sizeof bytes);
    bytes[0] = first;
  }
  operator char*() { return bytes; }
  std::string Text() const { return strnlen(bytes, sizeof bytes) < sizeof bytes ? bytes : ""; }
};

// Buffers as their text and a digest of every byte; floating point numbers by their bits.
std::string Out(const Buffer& b) {
  const std::string_view all(b.bytes, sizeof b.bytes);
  return b.Text().substr(0, 200) + "#" + std::to_string(std::hash<std::string_view>{}(all));
}
std::string Out(const std::string& text) { return text; }
std::string Out(double value) { return std::to_string(std::bit_cast<uint64_t>(value)); }
template <class T>
  requires std::is_integral_v<T>
std::string Out(T value) { return std::to_string(value); }

template <class... A>
std::string Args(const A&... args) {
  std::ostringstream text;
  ((text << args << ','), ...);
  return text.str();
}

struct Call {
  std::string op, args;
  int status;
  std::vector<std::string> outputs;
};

struct Probe {
  const char* server;
  std::vector<Call> calls;
  template <class... Outputs>
  void Add(const char* op, const std::string& args, int status, const Outputs&... outputs) {
    calls.push_back({op, args, status, {Out(outputs)...}});
  }
};

// Arguments of the timing calls: 0-3 the clock's kind, unit, module and output, 4-7 the
// trigger's, 8 clock source, 9 internal clock, 10 cycle multiplier, 11 pre-samples.
using Timing = std::array<std::string, 12>;

// The links of every diagnostic; the clock links found give the timing requests.
std::set<Timing> ProbeLinks(Probe& p) {
  std::set<Timing> timings;
  for (const char* diag : {"Magnetics", "Bolometer", "ECE", "Interferometer", "Langmuir",
                           "Spectroscopy", "O'Brien\"; DROP TABLE site; --\\", "plain", "X", ""})
    for (unsigned shot : {1u, 119999u, 120049u, 120050u})
      for (short sub : {-1, 0, 1, 2})
        for (short k1 : {-1, 1, 2, 3})
          for (short k2 : {-1, 1, 4, 5, 8, 9}) {
            const std::string args = Args(diag, shot, sub, k1, k2);
            Buffer kind, t1, t2, source, word3, ck, c1, c2, c3, c4, cs, cp, ci, ct, ch, cw;
            short n3 = 0x5a5a, n4 = n3;
            int set = 0x5a5a5a, n8 = set, pre = set, ivl = set, host = set, cset = set, c8 = set;
            p.Add("tovakGetDTSinfox", args,
                  tovakGetDTSinfox(diag, shot, sub, k1, k2, p.server, kind, t1, t2, &n3, &n4, &set,
                                   &n8, source, &pre, &ivl, &host, word3),
                  kind, t1, t2, n3, n4, set, n8, source, pre, ivl, host, word3);
            const int status = tovakGetDTSinfoCLK(diag, shot, sub, k1, k2, p.server, ck, c1, c2,
                                                  c3, c4, &cset, &c8, cs, cp, ci, ct, ch, cw);
            p.Add("tovakGetDTSinfoCLK", args, status, ck, c1, c2, c3, c4, cset, c8, cs, cp, ci, ct,
                  ch, cw);
            if (status != 0) continue;
            const bool own = ct.Text().empty();  // else "ClkDTS kind unit module"
            timings.insert(Timing{own ? ck.Text() : ct.Text(), own ? c1.Text() : ch.Text(),
                                  own ? c2.Text() : cw.Text(), c3.Text(), ck.Text(), c1.Text(),
                                  c2.Text(), c4.Text(), cs.Text(), std::to_string(cset),
                                  cs.Text() == "External" ? std::to_string(cset) : "1", cp.Text()});
          }
  return timings;
}

void ProbeTiming(Probe& p, const std::set<Timing>& timings) {
  ASSERT_FALSE(timings.empty());  // those of shot 119999 fail
  for (const Timing& t : timings)
    for (unsigned shot : {119999u, 120000u, 120050u})
      for (unsigned short sub : {0, 2}) {
        const auto s = [&t](int field) { return t[field].c_str(); };
        const std::string args = Args(s(0), s(1), s(2), s(3), s(4), s(5), s(6), s(7), s(8), s(9),
                                      s(10), s(11), shot, sub);
        int interval = 1000;
        int64_t period = 0x5a5a5a5a, start = period, trigger = period, cycle = period;
        p.Add("tovakSamplingCycle", args,
              tovakSamplingCycle(p.server, s(0), s(1), s(2), s(3), s(4), s(5), s(6), s(7),
                                 &interval, shot, sub, s(8), s(9), s(10), &period, &start,
                                 &trigger, &cycle),
              interval, period, start, trigger, cycle);
        for (bool fromStart : {false, true})
          for (int64_t in : {int64_t{TOVAK_TIME_UNKNOWN}, int64_t{123456789}}) {
            int64_t triggerOut = in, first = 0x5a5a5a5a;
            p.Add("tovakSampling0Timing", Args(args, fromStart, in),
                  tovakSampling0Timing(p.server, fromStart, s(4), s(5), s(6), s(7), shot, sub,
                                       s(8), s(11), period, start, &triggerOut, &first),
                  triggerOut, first);
          }
        for (int64_t last : {0, 10, 1000}) {  // the axis and the seconds are made locally
          int interval2 = 1000;
          double axis[4] = {-3, -3, -3, -3}, cycleOut = -7.5, delayOut = -7.5;
          p.Add("tovakGetDTSdatax2_ex", Args(args, last),
                tovakGetDTSdatax2_ex(p.server, s(4), s(5), s(6), s(7), s(0), s(1), s(2), s(3),
                                     &interval2, 4, shot, sub, s(8), s(9), s(10), s(11), last, 1, 1,
                                     axis, &cycleOut, &delayOut),
                interval2, cycleOut, delayOut, axis[0], axis[1], axis[2], axis[3]);
        }
      }
}

void ProbeParameters(Probe& p) {
  const int ranges[][2] = {{1, 8}, {0, 0}, {8, 1}, {-1, 3}, {1, 99}, {3, 3}};
  for (const char* unit : {"fdts01", "vdts01", "cdts01", "odd'unit;\\", "lower", "X"})
    for (const char* module : {"DMODSS0", "DMOD0", "DMOD1", "DMODSS12", "dmodss", "DMOD9"})
      for (unsigned shot : {1u, 119999u, 120000u, 120050u})
        for (unsigned short sub : {0, 2}) {
          for (unsigned short channel : {0, 1, 2, 3, 7, 8, 9}) {
            CParamSet list;
            list.AddParam("before", "kept");
            p.Add("getDTSParameters", Args(unit, module, shot, sub, channel),
                  getDTSParameters(p.server, unit, module, shot, sub, channel, list),
                  list.GetString());
          }
          for (const auto& range : ranges) {
            short count = 0x5a5a;
            int first = range[0], last = range[1];
            Buffer used;
            p.Add("tovakGetDTSParametersCount", Args(unit, module, shot, sub, first, last),
                  tovakGetDTSParametersCount(p.server, unit, module, shot, sub, &count, &first,
                                             &last, used),
                  count, first, last, used);
          }
        }
}

std::vector<Call> RunProbe(const std::string& server) {
  Probe probe{server.c_str(), {}};
  IndexNoClosing(1);
  ProbeTiming(probe, ProbeLinks(probe));
  ProbeParameters(probe);
  return probe.calls;
}

// Whether the k-th output of a remote call may stand for that of the direct one.
bool Agree(const Call& direct, const Call& remote, size_t k) {
  static const std::string untouched = Out(Buffer()), emptied = Out(Buffer('\0'));
  const std::string &a = direct.outputs[k], &b = remote.outputs[k];
  if (a == b) return true;
  if (a.find('#') != std::string::npos) {  // a text
    return direct.status != 0 ? b == untouched : a == untouched && b == emptied;
  }
  return direct.op == "tovakGetDTSdatax2_ex" && direct.status != 0 && k == 0;
}

class DifferentialTest : public ::testing::TestWithParam<const char*> {};

TEST_P(DifferentialTest, RemoteAnswersAsDirectAccess) {
  setenv("TOVAK_CONFIG", "/dev/null", 1);
  setenv("TOVAK_DEADLINE_MS", "60000", 1);  // only a paused or gone server may end a call
  TempDir dir;
  ServerProcess server(dir, "server", "anonymous = allow\nworkers = 2\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string site = GetParam(), address = server.Address(site);
  setTovakProtocolV1();
  const std::vector<Call> direct = RunProbe("/" + site);
  setTovakProtocolV2(address.c_str());
  const std::vector<Call> remote = RunProbe("/" + site);
  ASSERT_EQ(direct.size(), remote.size());
  std::map<std::string, int> successes;
  for (size_t i = 0, mismatches = 0; i < direct.size() && mismatches < 10; ++i) {
    const Call &a = direct[i], &b = remote[i];
    bool agree = a.op + a.args == b.op + b.args && a.status == b.status;
    for (size_t k = 0; agree && k < a.outputs.size(); ++k) agree = Agree(a, b, k);
    EXPECT_TRUE(agree) << a.op << "(" << a.args << ") -> " << a.status << " / " << b.status
                       << "\ndirect: " << ::testing::PrintToString(a.outputs)
                       << "\nremote: " << ::testing::PrintToString(b.outputs);
    mismatches += !agree;
    successes[a.op] += a.status == 0;
  }
  EXPECT_EQ(successes.size(), 7u);  // every lookup, each succeeding sometimes
  for (const auto& [op, count] : successes) EXPECT_GT(count, 0) << op << " never succeeded";
}

INSTANTIATE_TEST_SUITE_P(DemoSites, DifferentialTest, ::testing::Values("ubo", "tsu", "odd"));

}  // namespace
}  // namespace tovak::testing
