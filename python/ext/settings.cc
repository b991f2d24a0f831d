// The modules a diagnostic used in a shot and their channel settings, as
// numpy structured arrays.
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <string>
#include <utility>
#include <vector>

#include "call.h"
#include "settings_arrays.h"
#include "tovak/tovak.h"

namespace tovak::python {
namespace {

using tooling::Owned;
using tooling::OwnedSettings;

py::array_t<DTSchSettings> Channels(const DTSchSettings* rows, int count) {
  return py::array_t<DTSchSettings>(count, rows);
}

std::vector<std::pair<std::string, std::string>> Modules(const std::string& diag, unsigned int shot,
                                                         unsigned short subShot,
                                                         const std::string& setupServer) {
  Owned<DTSmodule> modules;
  Check("tovakGetDTSdiagShot", Serialized([&] {
          return tovakGetDTSdiagShot(setupServer.c_str(), diag.c_str(), shot, subShot,
                                     &modules.data, &modules.count, 1);
        }));
  std::vector<std::pair<std::string, std::string>> keys;
  for (int i = 0; i < modules.count; ++i) {
    keys.emplace_back(modules.data[i].key1, modules.data[i].key2);
  }
  return keys;
}

py::array_t<DTSchSettings> ChannelSettings(const std::string& key1, const std::string& key2,
                                           unsigned int shot, unsigned short subShot,
                                           const std::string& server) {
  Owned<DTSchSettings> channels;
  Check("tovakGetDTSchSettings", Serialized([&] {
          return tovakGetDTSchSettings(server.c_str(), key1.c_str(), key2.c_str(), shot, subShot,
                                       &channels.data, &channels.count, 1);
        }));
  return Channels(channels.data, channels.count);
}

py::list Settings(const std::string& diag, unsigned int shot, unsigned short subShot,
                  const std::string& setupServer, const std::string& indexServer) {
  OwnedSettings settings;
  Check("tovakGetDTSsettings", Serialized([&] {
          return tovakGetDTSsettings(setupServer.c_str(), indexServer.c_str(), diag.c_str(), shot,
                                     subShot, &settings.data, &settings.count, 1);
        }));
  py::list modules;
  for (int i = 0; i < settings.count; ++i) {
    const DTSsettings& s = settings.data[i];
    modules.append(py::make_tuple(std::string(s.module.key1), std::string(s.module.key2),
                                  Channels(s.chSettings, s.chCount)));
  }
  return modules;
}

}  // namespace

void AddSettings(py::module_& m) {
  using py::arg;
  // The record's columns under the names the index database gives them.
  PYBIND11_NUMPY_DTYPE_EX(DTSchSettings, column0, "channel", column1, "range_V", column2,
                          "offset_V", column3, "clock_Hz", column4, "pre_samples", column5,
                          "samples", column6, "clock_count", column7, "mode_flag");
  m.def("modules", &Modules, arg("diag"), arg("shot"), arg("subshot"), arg("setup_server"),
        "tovakGetDTSdiagShot: the (key1, key2) of each module, in position order.");
  m.def("channel_settings", &ChannelSettings, arg("key1"), arg("key2"), arg("shot"), arg("subshot"),
        arg("server"), "tovakGetDTSchSettings as a structured array.");
  m.attr("channel_dtype") = py::dtype::of<DTSchSettings>();
  m.def("settings", &Settings, arg("diag"), arg("shot"), arg("subshot"), arg("setup_server"),
        arg("index_server"), "tovakGetDTSsettings: (key1, key2, channels) per module.");
}

}  // namespace tovak::python
