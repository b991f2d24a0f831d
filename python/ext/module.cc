// tovak._tovak: the library's lookups for the tovak Python package.
#include "call.h"

PYBIND11_MODULE(_tovak, m) {
  m.doc() = "Calls into libtovak; use the tovak package rather than this module.";
  tovak::python::AddErrors(m);
  tovak::python::AddControl(m);
  tovak::python::AddLookups(m);
  tovak::python::AddSettings(m);
}
