// The link, time-base and parameter lookups of one channel.
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "call.h"
#include "channel_link.h"
#include "parameter_entries.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::python {
namespace {

using tooling::ChannelKey;

ChannelKey Key(const std::string& diag, unsigned int shot, short subShot, short key1, short key2) {
  return {diag, shot, subShot, key1, key2};
}

py::dict LinkNumbers(const std::string& diag, unsigned int shot, short subShot, short key1,
                     short key2, const std::string& server) {
  tooling::LinkNumbers link;
  Check("tovakGetDTSinfox", Serialized([&] {
          return tooling::ReadLinkNumbers(Key(diag, shot, subShot, key1, key2), Interned(server),
                                          &link);
        }));
  py::dict d;
  d["dts_kind"] = link.dtsKind;
  d["trigger_unit"] = link.triggerUnit;
  d["trigger_module"] = link.triggerModule;
  d["clock_output"] = link.clockOutput;
  d["trigger_output"] = link.triggerOutput;
  d["clock_setting"] = link.clockSetting;
  d["record_length"] = link.recordLength;
  d["clock_source"] = link.clockSource;
  d["pre_samples"] = link.preSample;
  d["sampling_interval_ns"] = link.sampInterval;
  d["clock_unit_id"] = link.clockUnitId;
  d["clock_module"] = link.clockModule;
  return d;
}

py::dict LinkTexts(const std::string& diag, unsigned int shot, short subShot, short key1,
                   short key2, const std::string& server) {
  tooling::LinkTexts link;
  Check("tovakGetDTSinfoCLK", Serialized([&] {
          return tooling::ReadLinkTexts(Key(diag, shot, subShot, key1, key2), Interned(server),
                                        &link);
        }));
  py::dict d;
  d["dts_kind"] = link.dtsKind;
  d["trigger_unit"] = link.text1;
  d["trigger_module"] = link.text2;
  d["clock_output"] = link.text3;
  d["trigger_output"] = link.text4;
  d["clock_source"] = link.clockSource;
  d["clock_setting"] = link.clockSetting;
  d["record_length"] = link.num8;
  d["pre_samples"] = link.preSample;
  d["sampling_interval"] = link.sampInterval;
  d["clock_unit_kind"] = link.clkDtsType;
  d["clock_unit"] = link.clkDtsHost;
  d["clock_module"] = link.clkDtsWord3;
  return d;
}

// Reads the link and turns it into time-base arguments; the record length
// is the default sample count.
struct Linked {
  tooling::TimingArgs args;
  int64_t recordLength;
};

Linked ReadLinked(const ChannelKey& key, const char* server) {
  tooling::LinkTexts link;
  Check("tovakGetDTSinfoCLK", tooling::ReadLinkTexts(key, server, &link));
  return {tooling::FromLink(link), link.num8};
}

// Period, delay (the trigger: sample p, p the pre-sample count) and the time
// axis, which the library fills in the array's own memory.
template <class Real>
py::tuple TimeBase(const ChannelKey& key, const std::string& server, std::optional<int64_t> samples,
                   int64_t last) {
  Linked linked = Serialized([&] { return ReadLinked(key, Interned(server)); });
  const int64_t count = samples.value_or(linked.recordLength);
  if (count < 0) throw py::value_error("samples must not be negative");
  py::array_t<Real> axis(static_cast<py::ssize_t>(count));
  Real* data = axis.mutable_data();
  Real period = 0, delay = 0;
  Check("tovakGetDTSdatax2_ex", Serialized([&] {
          return tooling::RequestTimeBase(linked.args, key, Interned(server), count, last,
                                          sizeof(Real) == sizeof(float), true, data, &period,
                                          &delay);
        }));
  return py::make_tuple(period, delay, axis);
}

py::object TimeBaseOf(const std::string& diag, unsigned int shot, short subShot, short key1,
                      short key2, std::optional<int64_t> samples, int64_t last, bool single,
                      const std::string& server) {
  const ChannelKey key = Key(diag, shot, subShot, key1, key2);
  if (single) return TimeBase<float>(key, server, samples, last);
  return TimeBase<double>(key, server, samples, last);
}

// Picoseconds, None for a time the library does not know.
py::object Picoseconds(int64_t value) {
  if (value == TOVAK_TIME_UNKNOWN) return py::none();
  return py::int_(value);
}

py::dict Sampling(const std::string& diag, unsigned int shot, short subShot, short key1, short key2,
                  const std::string& server) {
  const ChannelKey key = Key(diag, shot, subShot, key1, key2);
  tooling::SamplingTimes times{};
  Serialized([&] {
    Linked linked = ReadLinked(key, Interned(server));
    Check("tovakSamplingCycle/tovakSampling0Timing",
          tooling::RequestSampling(linked.args, key, Interned(server), &times));
  });
  py::dict d;
  d["period"] = Picoseconds(times.period);
  d["clock_cycle"] = Picoseconds(times.clockCycle);
  d["clock_start"] = Picoseconds(times.clockStart);
  d["trigger_time"] = Picoseconds(times.triggerTime);
  d["sample0_time"] = Picoseconds(times.firstSample);
  return d;
}

std::vector<std::tuple<std::string, std::string, int>> Parameters(
    const std::string& dts, const std::string& module, unsigned int shot, unsigned short subShot,
    unsigned short channel, const std::string& server) {
  CParamSet params;
  Check("getDTSParameters", Serialized([&] {
          return getDTSParameters(Interned(server), dts.c_str(), module.c_str(), shot, subShot,
                                  channel, params);
        }));
  std::vector<std::tuple<std::string, std::string, int>> entries;
  for (const tooling::ParameterEntry& entry : tooling::EntriesOf(params)) {
    entries.emplace_back(entry.name, entry.value, entry.tag);
  }
  return entries;
}

py::tuple ParameterCount(const std::string& dts, const std::string& module, unsigned int shot,
                         unsigned short subShot, int first, int last, const std::string& server) {
  short count = 0;
  char moduleUsed[64] = "";
  Check("tovakGetDTSParametersCount", Serialized([&] {
          return tovakGetDTSParametersCount(Interned(server), dts.c_str(), module.c_str(), shot,
                                            subShot, &count, &first, &last, moduleUsed);
        }));
  return py::make_tuple(count, first, last, std::string(moduleUsed));
}

}  // namespace

void AddLookups(py::module_& m) {
  using py::arg;
  m.def("link_numbers", &LinkNumbers, arg("diag"), arg("shot"), arg("subshot"), arg("key1"),
        arg("key2"), arg("server"), "tovakGetDTSinfox: the link decoded into numbers.");
  m.def("link_texts", &LinkTexts, arg("diag"), arg("shot"), arg("subshot"), arg("key1"),
        arg("key2"), arg("server"), "tovakGetDTSinfoCLK: the link as raw texts.");
  m.def("timebase", &TimeBaseOf, arg("diag"), arg("shot"), arg("subshot"), arg("key1"), arg("key2"),
        arg("samples"), arg("last"), arg("single"), arg("server"),
        "tovakGetDTSdatax2_ex from the link: (period, delay, axis) in seconds.");
  m.def("sampling", &Sampling, arg("diag"), arg("shot"), arg("subshot"), arg("key1"), arg("key2"),
        arg("server"), "The time-base steps from the link, in picoseconds.");
  m.def("parameters", &Parameters, arg("dts"), arg("module"), arg("shot"), arg("subshot"),
        arg("channel"), arg("server"), "getDTSParameters: (name, value, tag) entries.");
  m.def("parameter_count", &ParameterCount, arg("dts"), arg("module"), arg("shot"), arg("subshot"),
        arg("first"), arg("last"), arg("server"),
        "tovakGetDTSParametersCount: (count, first, last, module).");
}

}  // namespace tovak::python
