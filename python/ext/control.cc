// Process-wide switches of the library: protocol, verbose messages, the kept
// index connection.
#include "call.h"
#include "tovak/tovak.h"

namespace tovak::python {

void AddControl(py::module_& m) {
  m.def(
      "use_direct", [] { Serialized([] { setTovakProtocolV1(); }); },
      "Direct database access (protocol V1) from now on.");
  m.def(
      "use_remote",
      [](const std::string& server) { Serialized([&] { setTovakProtocolV2(Interned(server)); }); },
      py::arg("server"), "A remote data server (protocol V2) from now on.");
  m.def(
      "is_remote",
      [](const std::string& server) {
        return Serialized([&] { return isTovakProtocolV2(Interned(server)) != 0; });
      },
      py::arg("server") = "", "Whether lookups with this server name use a remote server.");
  m.def(
      "set_verbose", [](bool on) { Serialized([&] { set_tovak_t_verbose(on); }); }, py::arg("on"),
      "The library's diagnostic messages on standard error.");
  m.def(
      "index_no_closing", [](int mode) { Serialized([&] { IndexNoClosing(mode); }); },
      py::arg("mode"), "1 keeps the index connection open, 0 closes it after every lookup.");
}

}  // namespace tovak::python
