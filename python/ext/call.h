// How the extension calls the library: one thread at a time, without the
// GIL, with failures raised as tovak.Error.
#ifndef TOVAK_PYTHON_CALL_H_
#define TOVAK_PYTHON_CALL_H_

#include <pybind11/pybind11.h>

#include <mutex>
#include <string>

namespace tovak::python {

namespace py = pybind11;

// A lookup that answered a non-zero status; raised as tovak.Error.
struct LookupFailure {
  const char* function;
  int status;
};

// Throws LookupFailure for a non-zero status.
void Check(const char* function, int status);

// The lock every library call holds: the library keeps process-wide state
// without locks of its own.
std::mutex& LibraryMutex();

// Runs call with the GIL released and the library lock held. The GIL goes
// first, so a thread waiting for the lock never blocks Python.
template <class Call>
auto Serialized(Call&& call) {
  py::gil_scoped_release unlocked;
  std::lock_guard<std::mutex> lock(LibraryMutex());
  return call();
}

// A server name that lives as long as the process: the library keeps the
// pointer of a remote address it is given. Call with the library lock held.
const char* Interned(const std::string& server);

// Each registers its part of the module.
void AddErrors(py::module_& m);
void AddControl(py::module_& m);
void AddLookups(py::module_& m);
void AddSettings(py::module_& m);

}  // namespace tovak::python

#endif  // TOVAK_PYTHON_CALL_H_
