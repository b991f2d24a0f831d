// tovak_remote_probe SITE: runs every lookup that has a remote form over the
// demo experiment of one site, good and failing requests alike, and prints
// one line per call with the status and every output, untouched ones
// included (output buffers start with a known pattern and are reported by
// their text and a digest of all their bytes).
//
// The protocol is the process's: remote when KOVD_GRPC names a server,
// otherwise direct database access with the server name "/SITE". The
// differential test runs it both ways and compares the output.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace {

constexpr size_t kBufferSize = 4096;
constexpr char kPattern = '\x5a';

// Bytes outside printable ASCII, and '"', as \xNN.
std::string Escaped(const std::string& raw) {
  std::string text;
  for (unsigned char c : raw) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, (c < 32 || c > 126 || c == '"') ? "\\x%02x" : "%c", c);
    text += escaped;
  }
  return text;
}

// A caller's text buffer, starting as kPattern bytes.
struct Buffer {
  char bytes[kBufferSize];
  Buffer() { std::memset(bytes, kPattern, sizeof bytes); }
  char* data() { return bytes; }
  std::string Describe() const;
};

// Text up to the first NUL (escaped, at most 400 bytes) and an FNV-1a
// digest of every byte.
std::string DescribeBytes(const char* bytes, size_t size) {
  uint64_t digest = 1469598103934665603ull;
  for (size_t i = 0; i < size; ++i) {
    digest = (digest ^ static_cast<unsigned char>(bytes[i])) * 1099511628211ull;
  }
  const void* nul = std::memchr(bytes, 0, size);
  const size_t length = nul ? static_cast<const char*>(nul) - bytes : 0;
  std::string text = nul ? "\"" + Escaped(std::string(bytes, length < 400 ? length : 400)) + "\""
                         : "<unterminated";
  char tail[32];
  std::snprintf(tail, sizeof tail, "#%016" PRIx64, digest);
  return text + tail;
}

std::string Buffer::Describe() const { return DescribeBytes(bytes, sizeof bytes); }

std::string Quote(const char* text) { return text ? "'" + std::string(text) + "'" : "null"; }

// "CALL -> STATUS |" then a tab before each output (texts never hold a raw
// tab: it is escaped).
void Line(const std::string& call, int status, const std::string& outputs) {
  std::printf("%s -> %d |%s\n", call.c_str(), status, outputs.c_str());
  std::fflush(stdout);
}

template <class T>
std::string Num(const char* name, T value) {
  return "\t" + std::string(name) + "=" + std::to_string(value);
}

std::string Txt(const char* name, const Buffer& buffer) {
  return "\t" + std::string(name) + "=" + buffer.Describe();
}

struct ClkLink {
  std::string kind, unit, module, clockOutput, triggerOutput, clockSource, preSample,
      sampInterval, clkType, clkHost, clkModule;
  int clockSetting;
  bool operator<(const ClkLink& o) const {
    return std::tie(kind, unit, module, clockOutput, triggerOutput, clockSource, preSample,
                    sampInterval, clkType, clkHost, clkModule, clockSetting) <
           std::tie(o.kind, o.unit, o.module, o.clockOutput, o.triggerOutput, o.clockSource,
                    o.preSample, o.sampInterval, o.clkType, o.clkHost, o.clkModule,
                    o.clockSetting);
  }
};

// The buffer's text; an untouched buffer counts as empty, so that the
// requests derived from the answers do not depend on untouched buffers.
std::string Text(const Buffer& b) {
  const size_t length = strnlen(b.bytes, kBufferSize);
  return length == kBufferSize ? std::string() : std::string(b.bytes, length);
}

void ProbeLinks(const char* server, std::set<ClkLink>* links) {
  const char* diags[] = {"Magnetics", "Bolometer", "ECE", "Interferometer", "Langmuir",
                         "Spectroscopy", "O'Brien\"; DROP TABLE site; --\\", "plain",
                         "NoSuchDiag", ""};
  const unsigned shots[] = {1, 119999, 120049, 120050};
  const short subShots[] = {-1, 0, 1, 2};
  const short keys1[] = {-1, 1, 2, 3};
  const short keys2[] = {-1, 1, 4, 5, 8, 9};
  for (const char* diag : diags) {
    for (unsigned shot : shots) {
      for (short sub : subShots) {
        for (short k1 : keys1) {
          for (short k2 : keys2) {
            const std::string call = "(" + Quote(diag) + "," + std::to_string(shot) + "," +
                                     std::to_string(sub) + "," + std::to_string(k1) + "," +
                                     std::to_string(k2) + ")";
            Buffer kind, t1, t2, source, word3;
            short n3 = 0x5a5a, n4 = 0x5a5a;
            int setting = 0x5a5a5a, n8 = 0x5a5a5a, pre = 0x5a5a5a, interval = 0x5a5a5a,
                host = 0x5a5a5a;
            int status = tovakGetDTSinfox(diag, shot, sub, k1, k2, server, kind.data(),
                                          t1.data(), t2.data(), &n3, &n4, &setting, &n8,
                                          source.data(), &pre, &interval, &host, word3.data());
            Line("tovakGetDTSinfox" + call, status,
                 Txt("kind", kind) + Txt("text1", t1) + Txt("text2", t2) + Num("num3", n3) +
                     Num("num4", n4) + Num("setting", setting) + Num("num8", n8) +
                     Txt("source", source) + Num("pre", pre) + Num("interval", interval) +
                     Num("host", host) + Txt("word3", word3));

            Buffer ck, c1, c2, c3, c4, cs, cp, ci, ct, ch, cw;
            int csetting = 0x5a5a5a, cn8 = 0x5a5a5a;
            status = tovakGetDTSinfoCLK(diag, shot, sub, k1, k2, server, ck.data(), c1.data(),
                                        c2.data(), c3.data(), c4.data(), &csetting, &cn8,
                                        cs.data(), cp.data(), ci.data(), ct.data(), ch.data(),
                                        cw.data());
            Line("tovakGetDTSinfoCLK" + call, status,
                 Txt("kind", ck) + Txt("text1", c1) + Txt("text2", c2) + Txt("text3", c3) +
                     Txt("text4", c4) + Num("setting", csetting) + Num("num8", cn8) +
                     Txt("source", cs) + Txt("pre", cp) + Txt("interval", ci) +
                     Txt("clkType", ct) + Txt("clkHost", ch) + Txt("clkWord3", cw));
            if (status == 0) {
              links->insert({Text(ck), Text(c1), Text(c2), Text(c3), Text(c4), Text(cs),
                             Text(cp), Text(ci), Text(ct), Text(ch), Text(cw), csetting});
            }
          }
        }
      }
    }
  }
}

// The clock comes from the "ClkDTS" unit when the link names one, else from
// the trigger's own module.
struct Timing {
  std::string clkType, clkHost, clkModule, clkOutput, trgType, trgHost, trgModule, trgOutput,
      clockSource, internalClock, cycleMultiplier, preSample;
};

std::vector<Timing> TimingCases(const std::set<ClkLink>& links) {
  std::vector<Timing> cases;
  for (const ClkLink& l : links) {
    Timing t;
    const bool ownClock = l.clkType.empty();
    t.clkType = ownClock ? l.kind : l.clkType;
    t.clkHost = ownClock ? l.unit : l.clkHost;
    t.clkModule = ownClock ? l.module : l.clkModule;
    t.clkOutput = l.clockOutput;
    t.trgType = l.kind;
    t.trgHost = l.unit;
    t.trgModule = l.module;
    t.trgOutput = l.triggerOutput;
    t.clockSource = l.clockSource;
    t.internalClock = std::to_string(l.clockSetting);
    t.cycleMultiplier = l.clockSource == "External" ? std::to_string(l.clockSetting) : "1";
    t.preSample = l.preSample;
    cases.push_back(t);
  }
  // Requests that must fail in their own ways.
  const Timing base = cases.empty() ? Timing{"FPGA-DTS", "fdts01", "DMODSS0", "7", "FPGA-DTS",
                                             "fdts01", "DMODSS0", "1", "External", "0", "1",
                                             "500"}
                                    : cases.front();
  Timing t = base;
  t.clkHost = "nosuchunit";
  cases.push_back(t);
  t = base;
  t.clkOutput = "99";
  cases.push_back(t);
  t = base;
  t.clkOutput = "-1";
  cases.push_back(t);
  t = base;
  t.trgOutput = "0";
  cases.push_back(t);
  t = base;
  t.trgHost = "nosuchunit";
  cases.push_back(t);
  t = base;
  t.clockSource = "Sideways";
  cases.push_back(t);
  t = base;
  t.clkType = "PDP-11";
  cases.push_back(t);
  t = base;
  t.clockSource = "Internal";
  t.internalClock = "0";
  cases.push_back(t);
  t = base;
  t.cycleMultiplier = "0";
  cases.push_back(t);
  return cases;
}

void ProbeTiming(const char* server, const std::vector<Timing>& cases) {
  const unsigned shots[] = {119999, 120000, 120050};
  const unsigned short subShots[] = {0, 2};
  for (const Timing& t : cases) {
    for (unsigned shot : shots) {
      for (unsigned short sub : subShots) {
        const std::string call =
            "(" + t.clkType + "," + t.clkHost + "," + t.clkModule + "," + t.clkOutput + "," +
            t.trgType + "," + t.trgHost + "," + t.trgModule + "," + t.trgOutput + "," +
            std::to_string(shot) + "," + std::to_string(sub) + "," + t.clockSource + "," +
            t.internalClock + "," + t.cycleMultiplier + "," + t.preSample + ")";
        int interval = 1000;
        int64_t period = 0x5a5a5a5a, start = 0x5a5a5a5a, trigger = 0x5a5a5a5a, cycle = 0x5a5a5a5a;
        const int cycleStatus = tovakSamplingCycle(
            server, t.clkType.c_str(), t.clkHost.c_str(), t.clkModule.c_str(),
            t.clkOutput.c_str(), t.trgType.c_str(), t.trgHost.c_str(), t.trgModule.c_str(),
            t.trgOutput.c_str(), &interval, shot, sub, t.clockSource.c_str(),
            t.internalClock.c_str(), t.cycleMultiplier.c_str(), &period, &start, &trigger,
            &cycle);
        Line("tovakSamplingCycle" + call, cycleStatus,
             Num("interval", interval) + Num("period", period) + Num("start", start) +
                 Num("trigger", trigger) + Num("cycle", cycle));

        for (bool fromClockStart : {false, true}) {
          for (int64_t triggerIn : {int64_t{TOVAK_TIME_UNKNOWN}, int64_t{123456789}}) {
            int64_t trg = triggerIn, first = 0x5a5a5a5a;
            const int status = tovakSampling0Timing(
                server, fromClockStart, t.trgType.c_str(), t.trgHost.c_str(),
                t.trgModule.c_str(), t.trgOutput.c_str(), shot, sub, t.clockSource.c_str(),
                t.preSample.c_str(), period, start, &trg, &first);
            Line("tovakSampling0Timing" + call + " fromClockStart=" +
                     std::to_string(fromClockStart) + " triggerIn=" + std::to_string(triggerIn),
                 status, Num("trigger", trg) + Num("first", first));
          }
        }

        for (int64_t lastSample : {int64_t{0}, int64_t{10}, int64_t{1000}}) {
          for (int precision : {1, 0}) {
            int interval2 = 1000;
            double axis[4], cycleOut = -7.5, delayOut = -7.5;
            float axisF[4], cycleF = -7.5f, delayF = -7.5f;
            const bool withAxis = lastSample == 10;
            for (int k = 0; k < 4; ++k) axis[k] = axisF[k] = -3.0f;
            const short quiet = lastSample == 1000 && precision == 1 ? 0 : 1;
            const int status = tovakGetDTSdatax2_ex(
                server, t.trgType.c_str(), t.trgHost.c_str(), t.trgModule.c_str(),
                t.trgOutput.c_str(), t.clkType.c_str(), t.clkHost.c_str(), t.clkModule.c_str(),
                t.clkOutput.c_str(), &interval2, 4, shot, sub, t.clockSource.c_str(),
                t.internalClock.c_str(), t.cycleMultiplier.c_str(), t.preSample.c_str(),
                lastSample, quiet, precision,
                withAxis ? (precision ? static_cast<void*>(axis) : static_cast<void*>(axisF))
                         : nullptr,
                precision ? static_cast<void*>(&cycleOut) : static_cast<void*>(&cycleF),
                precision ? static_cast<void*>(&delayOut) : static_cast<void*>(&delayF));
            char outputs[512];
            std::snprintf(outputs, sizeof outputs,
                          "\tinterval=%d\tcycle=%a\tdelay=%a\tcycleF=%a\tdelayF=%a"
                          "\taxis=%a,%a,%a,%a\taxisF=%a,%a,%a,%a",
                          interval2, cycleOut, delayOut, static_cast<double>(cycleF),
                          static_cast<double>(delayF), axis[0], axis[1], axis[2], axis[3],
                          static_cast<double>(axisF[0]), static_cast<double>(axisF[1]),
                          static_cast<double>(axisF[2]), static_cast<double>(axisF[3]));
            Line("tovakGetDTSdatax2_ex" + call + " last=" + std::to_string(lastSample) +
                     " double=" + std::to_string(precision),
                 status, outputs);
          }
        }
      }
    }
  }
}

// The buffer exports of one channel: flat with sizes, pointer arrays, and
// the fixed layout. All buffers and tags are reported by their digest.
void ProbeExports(const char* server, const std::string& where, const char* unit,
                  const char* module, unsigned shot, unsigned short sub, unsigned short channel) {
  struct Records {
    char names[24][64];
    char values[24][128];
    int tags[24];
    Records() { std::memset(this, kPattern, sizeof *this); }
    std::string Describe() const {
      return "\tbuffers=" + DescribeBytes(reinterpret_cast<const char*>(this), sizeof *this);
    }
  };
  const std::string call = where + "," + std::to_string(channel) + ")";
  Records flat;
  int status = tovakGetDTSParameters_s(server, unit, module, shot, sub, channel, 24, flat.names,
                                       64, flat.values, 128, flat.tags, true);
  Line("tovakGetDTSParameters_s" + call, status, flat.Describe());
  Records pointed;
  char* names[24];
  char* values[24];
  for (int i = 0; i < 24; ++i) {
    names[i] = pointed.names[i];
    values[i] = pointed.values[i];
  }
  status = tovakGetDTSParameters(server, unit, module, shot, sub, channel, 24, names, values,
                                 pointed.tags, false);
  Line("tovakGetDTSParameters" + call, status, pointed.Describe());
  Records fixed;
  status = tovakGetDTSParameters2(server, unit, module, shot, sub, channel, 24, fixed.names,
                                  fixed.values, fixed.tags);
  Line("tovakGetDTSParameters2" + call, status, fixed.Describe());
}

void ProbeParameters(const char* server) {
  const char* units[] = {"fdts01", "vdts01", "cdts01", "odd'unit;\\", "lower", "nosuchunit"};
  const char* modules[] = {"DMODSS0", "DMOD0", "DMOD1", "DMODSS12", "dmodss", "DMOD9"};
  const unsigned shots[] = {1, 119999, 120000, 120050};
  const unsigned short subShots[] = {0, 2};
  for (const char* unit : units) {
    for (const char* module : modules) {
      for (unsigned shot : shots) {
        for (unsigned short sub : subShots) {
          const std::string where = "(" + Quote(unit) + "," + Quote(module) + "," +
                                    std::to_string(shot) + "," + std::to_string(sub);
          for (unsigned short channel : {0, 1, 2, 3, 7, 8, 9}) {
            CParamSet params;
            params.AddParam("before", "kept");
            const int status =
                getDTSParameters(server, unit, module, shot, sub, channel, params);
            Line("getDTSParameters" + where + "," + std::to_string(channel) + ")", status,
                 "\tlist=" + Escaped(params.GetString()));
            if (channel == 1 || channel == 9) ProbeExports(server, where, unit, module, shot, sub, channel);
          }
          const int ranges[][2] = {{1, 8}, {0, 0}, {8, 1}, {-1, 3}, {1, 99}, {3, 3}};
          for (const auto& range : ranges) {
            short count = 0x5a5a;
            int first = range[0], last = range[1];
            Buffer used;
            const int status = tovakGetDTSParametersCount(server, unit, module, shot, sub,
                                                          &count, &first, &last, used.data());
            Line("tovakGetDTSParametersCount" + where + "," + std::to_string(range[0]) + "," +
                     std::to_string(range[1]) + ")",
                 status,
                 Num("count", count) + Num("first", first) + Num("last", last) +
                     Txt("module", used));
          }
        }
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: tovak_remote_probe SITE\n");
    return 2;
  }
  const std::string server = "/" + std::string(argv[1]);
  // How an untouched buffer and one holding the empty text are shown.
  Buffer untouched, emptied;
  emptied.bytes[0] = '\0';
  std::printf("# untouched=%s emptied=%s\n", untouched.Describe().c_str(),
              emptied.Describe().c_str());
  IndexNoClosing(1);
  std::set<ClkLink> links;
  ProbeLinks(server.c_str(), &links);
  ProbeTiming(server.c_str(), TimingCases(links));
  ProbeParameters(server.c_str());
  IndexNoClosing(0);
  return 0;
}
