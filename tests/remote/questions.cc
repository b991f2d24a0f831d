#include "remote/questions.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstring>
#include <set>
#include <sstream>

#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

// A caller's text buffer, starting as a known pattern.
struct Text : std::string {
  Text() : std::string(4096, 0x5a) {}
  operator char*() { return data(); }
  std::string Str() const { return strnlen(data(), size()) < size() ? data() : ""; }
};

// A text as far as its first NUL, with a digest of the whole.
std::string Out(const std::string& text) {
  return std::string(text.c_str()).substr(0, 200) + "#" +
         std::to_string(std::hash<std::string>{}(text));
}
std::string Out(double value) { return std::to_string(std::bit_cast<uint64_t>(value)); }
std::string Out(std::integral auto value) { return std::to_string(value); }

template <class... A>
std::string Call(const char* op, const A&... args) {
  std::ostringstream text;
  ((text << op << '('), ..., (text << args << ','));
  return text.str();
}

template <class... Outputs>
Answer Make(std::string call, int status, const Outputs&... outputs) {
  return {std::move(call), status, {Out(outputs)...}};
}

// The timing calls' arguments: 0-3 the clock's kind, unit, module and output, 4-7 the trigger's,
// 8 clock source, 9 internal clock, 10 cycle multiplier, 11 pre-samples.
using Timing = std::array<std::string, 12>;

// The raw link; with timings, the timing request of a clock link.
Answer Info(bool clk, std::string diag, unsigned shot, short sub, short k1, short k2,
            const char* server, std::set<Timing>* timings = nullptr) {
  Text a, b, c, d, e, f, g, h, i, j, k;
  short n3 = 0x5a5a, n4 = n3;
  int set = 0x5a5a5a, n8 = set, pre = set, ivl = set, host = set;
  const std::string args = Call("", diag, shot, sub, k1, k2);
  const int status = clk ? tovakGetDTSinfoCLK(diag.c_str(), shot, sub, k1, k2, server, a, b, c, d,
                                              e, &set, &n8, f, g, h, i, j, k)
                         : tovakGetDTSinfox(diag.c_str(), shot, sub, k1, k2, server, a, b, c, &n3,
                                            &n4, &set, &n8, d, &pre, &ivl, &host, e);
  if (!clk)
    return Make("tovakGetDTSinfox" + args, status, a, b, c, n3, n4, set, n8, d, pre, ivl, host, e);
  const bool own = i.Str().empty(), external = f.Str() == "External";
  if (status == 0 && timings != nullptr)  // a clock of another unit: "ClkDTS kind unit module"
    timings->insert(Timing{(own ? a : i).Str(), (own ? b : j).Str(), (own ? c : k).Str(), d.Str(),
                           a.Str(), b.Str(), c.Str(), e.Str(), f.Str(), std::to_string(set),
                           external ? std::to_string(set) : "1", g.Str()});
  return Make("tovakGetDTSinfoCLK" + args, status, a, b, c, d, e, set, n8, f, g, h, i, j, k);
}

void AddTiming(const Timing& t, unsigned shot, unsigned short sub, std::vector<Question>& out) {
  const auto s = [t](int field) { return t[field].c_str(); };
  const std::string args =
      Call("", s(0), s(1), s(2), s(3), s(4), s(5), s(6), s(7), s(8), s(9), s(10), s(11), shot, sub);
  const auto cycle = [=](const char* server) {
    int interval = 1000;
    int64_t period = 0x5a5a5a5a, start = period, trigger = period, cycles = period;
    const int status =
        tovakSamplingCycle(server, s(0), s(1), s(2), s(3), s(4), s(5), s(6), s(7), &interval, shot,
                           sub, s(8), s(9), s(10), &period, &start, &trigger, &cycles);
    return Make("tovakSamplingCycle" + args, status, interval, period, start, trigger, cycles);
  };
  out.push_back(cycle);
  for (bool fromStart : {false, true})
    for (int64_t in : {int64_t{TOVAK_TIME_UNKNOWN}, int64_t{123456789}})
      out.push_back([=](const char* server) {
        const Answer base = cycle(server);
        int64_t trigger = in, first = 0x5a5a5a5a;
        const int status = tovakSampling0Timing(server, fromStart, s(4), s(5), s(6), s(7), shot,
                                                sub, s(8), s(11), std::stoll(base.outputs[1]),
                                                std::stoll(base.outputs[2]), &trigger, &first);
        return Make(Call("tovakSampling0Timing", args, fromStart, in), status, trigger, first);
      });
  for (int64_t last : {0, 10, 1000})  // the axis and the seconds are made locally
    out.push_back([=](const char* server) {
      int interval = 1000;
      double axis[4] = {-3, -3, -3, -3}, cycleOut = -7.5, delay = -7.5;
      const int status = tovakGetDTSdatax2_ex(server, s(4), s(5), s(6), s(7), s(0), s(1), s(2),
                                              s(3), &interval, 4, shot, sub, s(8), s(9), s(10),
                                              s(11), last, 1, 1, axis, &cycleOut, &delay);
      return Make(Call("tovakGetDTSdatax2_ex", args, last), status, status ? 0 : interval, cycleOut,
                  delay, axis[0], axis[1], axis[2], axis[3]);  // interval: on success
    });
}

}  // namespace

std::vector<Question> Questions(const std::string& server) {
  std::vector<Question> out;
  std::set<Timing> timings;
  for (std::string diag : {"Magnetics", "Bolometer", "ECE", "Interferometer", "Langmuir",
                           "Spectroscopy", "O'Brien\"; DROP TABLE site; --\\", "plain", "X", ""})
    for (unsigned shot : {1u, 119999u, 120049u, 120050u})
      for (short sub : {-1, 0, 1, 2})
        for (short k1 : {-1, 1, 2, 3})
          for (short k2 : {-1, 1, 4, 5, 8, 9}) {
            for (bool clk : {false, true})
              out.push_back([=](const char* at) { return Info(clk, diag, shot, sub, k1, k2, at); });
            Info(true, diag, shot, sub, k1, k2, server.c_str(), &timings);
          }
  for (const Timing& timing : timings)  // those of shot 119999 fail
    for (unsigned shot : {119999u, 120000u, 120050u})
      for (unsigned short sub : {0, 2}) AddTiming(timing, shot, sub, out);

  for (std::string unit : {"fdts01", "vdts01", "cdts01", "odd'unit;\\", "lower", "X"})
    for (std::string module : {"DMODSS0", "DMOD0", "DMOD1", "DMODSS12", "dmodss", "DMOD9"})
      for (unsigned shot : {1u, 119999u, 120000u, 120050u})
        for (unsigned short sub : {0, 2}) {
          for (unsigned short channel : {0, 1, 2, 3, 7, 8, 9})
            out.push_back([=](const char* at) {
              CParamSet list;
              list.AddParam("before", "kept");
              return Make(
                  Call("getDTSParameters", unit, module, shot, sub, channel),
                  getDTSParameters(at, unit.c_str(), module.c_str(), shot, sub, channel, list),
                  list.GetString());
            });
          for (auto [first, last] : {std::pair{1, 8}, {0, 0}, {8, 1}, {-1, 3}, {1, 99}, {3, 3}})
            out.push_back([=](const char* at) {
              short count = 0x5a5a;
              int firstOut = first, lastOut = last;
              Text used;
              return Make(Call("tovakGetDTSParametersCount", unit, module, shot, sub, first, last),
                          tovakGetDTSParametersCount(at, unit.c_str(), module.c_str(), shot, sub,
                                                     &count, &firstOut, &lastOut, used),
                          count, firstOut, lastOut, used);
            });
        }
  return out;
}

std::string Mismatch(const Answer& direct, const Answer& remote) {
  static const std::string untouched = Out(Text()),
                           emptied = Out(std::string(4096, 0x5a).replace(0, 1, 1, '\0'));
  const std::string call = direct.call + ") -> " + std::to_string(direct.status) + " / ";
  if (remote.call != direct.call || remote.status != direct.status ||
      remote.outputs.size() != direct.outputs.size())
    return call + std::to_string(remote.status);
  for (size_t k = 0; k < direct.outputs.size(); ++k) {
    const std::string &a = direct.outputs[k], &b = remote.outputs[k];
    if (a != b && (a.find('#') == std::string::npos ||
                   (direct.status != 0 ? b != untouched : a != untouched || b != emptied)))
      return call + "output " + std::to_string(k) + ": " + a + " / " + b;
  }
  return "";
}

}  // namespace tovak::testing
