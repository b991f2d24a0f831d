#include "remote/questions.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstring>
#include <set>
#include <sstream>
#include <string_view>

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

std::string Out(const Buffer& b) {
  const std::string_view all(b.bytes, sizeof b.bytes);
  return b.Text().substr(0, 200) + "#" + std::to_string(std::hash<std::string_view>{}(all));
}
std::string Out(const std::string& text) { return text; }
std::string Out(double value) { return std::to_string(std::bit_cast<uint64_t>(value)); }
std::string Out(std::integral auto value) { return std::to_string(value); }

template <class... A>
std::string Call(const char* op, const A&... args) {
  std::ostringstream text;
  text << op << '(';
  ((text << args << ','), ...);
  return text.str();
}

template <class... Outputs>
Answer Make(std::string call, int status, const Outputs&... outputs) {
  return {std::move(call), status, {Out(outputs)...}};
}

// Arguments of the timing calls: 0-3 the clock's kind, unit, module and output, 4-7 the
// trigger's, 8 clock source, 9 internal clock, 10 cycle multiplier, 11 pre-samples.
using Timing = std::array<std::string, 12>;

Answer Infox(std::string diag, unsigned shot, short sub, short k1, short k2, const char* server) {
  Buffer kind, t1, t2, source, word3;
  short n3 = 0x5a5a, n4 = n3;
  int set = 0x5a5a5a, n8 = set, pre = set, ivl = set, host = set;
  return Make(Call("tovakGetDTSinfox", diag, shot, sub, k1, k2),
              tovakGetDTSinfox(diag.c_str(), shot, sub, k1, k2, server, kind, t1, t2, &n3, &n4,
                               &set, &n8, source, &pre, &ivl, &host, word3),
              kind, t1, t2, n3, n4, set, n8, source, pre, ivl, host, word3);
}

// The raw link; with timing, the timing request a clock link found gives.
Answer InfoClk(std::string diag, unsigned shot, short sub, short k1, short k2, const char* server,
               std::set<Timing>* timings = nullptr) {
  Buffer ck, c1, c2, c3, c4, cs, cp, ci, ct, ch, cw;
  int cset = 0x5a5a5a, c8 = cset;
  const int status = tovakGetDTSinfoCLK(diag.c_str(), shot, sub, k1, k2, server, ck, c1, c2, c3, c4,
                                        &cset, &c8, cs, cp, ci, ct, ch, cw);
  if (status == 0 && timings != nullptr) {
    const bool own = ct.Text().empty();  // else "ClkDTS kind unit module"
    timings->insert(Timing{own ? ck.Text() : ct.Text(), own ? c1.Text() : ch.Text(),
                           own ? c2.Text() : cw.Text(), c3.Text(), ck.Text(), c1.Text(), c2.Text(),
                           c4.Text(), cs.Text(), std::to_string(cset),
                           cs.Text() == "External" ? std::to_string(cset) : "1", cp.Text()});
  }
  return Make(Call("tovakGetDTSinfoCLK", diag, shot, sub, k1, k2), status, ck, c1, c2, c3, c4, cset,
              c8, cs, cp, ci, ct, ch, cw);
}

void AddTimingQuestions(const Timing& t, unsigned shot, unsigned short sub,
                        std::vector<Question>& questions) {
  const auto s = [t](int field) { return t[field]; };
  const std::string args =
      Call("", s(0), s(1), s(2), s(3), s(4), s(5), s(6), s(7), s(8), s(9), s(10), s(11), shot, sub);
  const auto cycle = [=](const char* server, int64_t* periodOut, int64_t* startOut) {
    int interval = 1000;
    int64_t period = 0x5a5a5a5a, start = period, trigger = period, cycles = period;
    const int status = tovakSamplingCycle(
        server, s(0).c_str(), s(1).c_str(), s(2).c_str(), s(3).c_str(), s(4).c_str(), s(5).c_str(),
        s(6).c_str(), s(7).c_str(), &interval, shot, sub, s(8).c_str(), s(9).c_str(), s(10).c_str(),
        &period, &start, &trigger, &cycles);
    if (periodOut != nullptr) *periodOut = period, *startOut = start;
    return Make("tovakSamplingCycle" + args, status, interval, period, start, trigger, cycles);
  };
  questions.push_back([=](const char* server) { return cycle(server, nullptr, nullptr); });
  for (bool fromStart : {false, true})
    for (int64_t in : {int64_t{TOVAK_TIME_UNKNOWN}, int64_t{123456789}})
      questions.push_back([=](const char* server) {
        int64_t period = 0, start = 0, trigger = in, first = 0x5a5a5a5a;
        cycle(server, &period, &start);
        return Make(Call("tovakSampling0Timing", args, fromStart, in),
                    tovakSampling0Timing(server, fromStart, s(4).c_str(), s(5).c_str(),
                                         s(6).c_str(), s(7).c_str(), shot, sub, s(8).c_str(),
                                         s(11).c_str(), period, start, &trigger, &first),
                    trigger, first);
      });
  for (int64_t last : {0, 10, 1000})  // the axis and the seconds are made locally
    questions.push_back([=](const char* server) {
      int interval = 1000;
      double axis[4] = {-3, -3, -3, -3}, cycleOut = -7.5, delay = -7.5;
      return Make(
          Call("tovakGetDTSdatax2_ex", args, last),
          tovakGetDTSdatax2_ex(server, s(4).c_str(), s(5).c_str(), s(6).c_str(), s(7).c_str(),
                               s(0).c_str(), s(1).c_str(), s(2).c_str(), s(3).c_str(), &interval, 4,
                               shot, sub, s(8).c_str(), s(9).c_str(), s(10).c_str(), s(11).c_str(),
                               last, 1, 1, axis, &cycleOut, &delay),
          interval, cycleOut, delay, axis[0], axis[1], axis[2], axis[3]);
    });
}

void AddParameterQuestions(std::vector<Question>& questions) {
  const int ranges[][2] = {{1, 8}, {0, 0}, {8, 1}, {-1, 3}, {1, 99}, {3, 3}};
  for (std::string unit : {"fdts01", "vdts01", "cdts01", "odd'unit;\\", "lower", "X"})
    for (std::string module : {"DMODSS0", "DMOD0", "DMOD1", "DMODSS12", "dmodss", "DMOD9"})
      for (unsigned shot : {1u, 119999u, 120000u, 120050u})
        for (unsigned short sub : {0, 2}) {
          for (unsigned short channel : {0, 1, 2, 3, 7, 8, 9})
            questions.push_back([=](const char* server) {
              CParamSet list;
              list.AddParam("before", "kept");
              const int status =
                  getDTSParameters(server, unit.c_str(), module.c_str(), shot, sub, channel, list);
              return Make(Call("getDTSParameters", unit, module, shot, sub, channel), status,
                          list.GetString());
            });
          for (const auto& range : ranges)
            questions.push_back([=, first = range[0], last = range[1]](const char* server) {
              short count = 0x5a5a;
              int firstOut = first, lastOut = last;
              Buffer used;
              return Make(Call("tovakGetDTSParametersCount", unit, module, shot, sub, first, last),
                          tovakGetDTSParametersCount(server, unit.c_str(), module.c_str(), shot,
                                                     sub, &count, &firstOut, &lastOut, used),
                          count, firstOut, lastOut, used);
            });
        }
}

}  // namespace

std::vector<Question> Questions(const std::string& server) {
  std::vector<Question> questions;
  std::set<Timing> timings;
  for (std::string diag : {"Magnetics", "Bolometer", "ECE", "Interferometer", "Langmuir",
                           "Spectroscopy", "O'Brien\"; DROP TABLE site; --\\", "plain", "X", ""})
    for (unsigned shot : {1u, 119999u, 120049u, 120050u})
      for (short sub : {-1, 0, 1, 2})
        for (short k1 : {-1, 1, 2, 3})
          for (short k2 : {-1, 1, 4, 5, 8, 9}) {
            questions.push_back([=](const char* s) { return Infox(diag, shot, sub, k1, k2, s); });
            questions.push_back([=](const char* s) { return InfoClk(diag, shot, sub, k1, k2, s); });
            InfoClk(diag, shot, sub, k1, k2, server.c_str(), &timings);
          }
  for (const Timing& timing : timings)  // those of shot 119999 fail
    for (unsigned shot : {119999u, 120000u, 120050u})
      for (unsigned short sub : {0, 2}) AddTimingQuestions(timing, shot, sub, questions);
  AddParameterQuestions(questions);
  return questions;
}

std::string Mismatch(const Answer& direct, const Answer& remote) {
  static const std::string untouched = Out(Buffer()), emptied = Out(Buffer('\0'));
  bool agree = direct.call == remote.call && direct.status == remote.status &&
               direct.outputs.size() == remote.outputs.size();
  for (size_t k = 0; agree && k < direct.outputs.size(); ++k) {
    const std::string &a = direct.outputs[k], &b = remote.outputs[k];
    if (a == b) continue;
    if (a.find('#') != std::string::npos) {  // a text
      agree = direct.status != 0 ? b == untouched : a == untouched && b == emptied;
    } else {
      agree = direct.call.starts_with("tovakGetDTSdatax2_ex") && direct.status != 0 && k == 0;
    }
  }
  if (agree) return "";
  std::ostringstream text;
  text << direct.call << ") -> " << direct.status << " / " << remote.status << "\ndirect:";
  for (const std::string& out : direct.outputs) text << ' ' << out;
  text << "\nremote:";
  for (const std::string& out : remote.outputs) text << ' ' << out;
  return text.str();
}

}  // namespace tovak::testing
