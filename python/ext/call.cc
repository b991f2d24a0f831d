#include "call.h"

#include <exception>
#include <set>

#include "status_text.h"

namespace tovak::python {

void Check(const char* function, int status) {
  if (status != 0) throw LookupFailure{function, status};
}

std::mutex& LibraryMutex() {
  static std::mutex mutex;
  return mutex;
}

const char* Interned(const std::string& server) {
  static std::set<std::string> names;
  return names.insert(server).first->c_str();
}

void AddErrors(py::module_& m) {
  py::register_exception_translator([](std::exception_ptr failure) {
    try {
      if (failure) std::rethrow_exception(failure);
    } catch (const LookupFailure& f) {
      const py::object type = py::module_::import("tovak.errors").attr("Error");
      const py::object error = type(f.function, f.status, tooling::StatusText(f.status));
      PyErr_SetObject(type.ptr(), error.ptr());
    }
  });
  m.def("status_text", &tooling::StatusText, py::arg("status"),
        "One line saying what a lookup's status means.");
}

}  // namespace tovak::python
