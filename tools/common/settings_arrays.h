// The settings arrays the library allocates with new[], released whatever
// happens: shared by the tovak tool and the Python package.
#ifndef TOVAK_TOOLS_COMMON_SETTINGS_ARRAYS_H_
#define TOVAK_TOOLS_COMMON_SETTINGS_ARRAYS_H_

#include "tovak/tovak.h"

namespace tovak::tooling {

template <class T>
struct Owned {
  T* data = nullptr;
  int count = 0;
  Owned() = default;
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { delete[] data; }
};

// DTSsettings records own their channel arrays as well.
struct OwnedSettings : Owned<DTSsettings> {
  ~OwnedSettings() { cleanup_DTSsettingsArray(data, count); }
};

}  // namespace tovak::tooling

#endif  // TOVAK_TOOLS_COMMON_SETTINGS_ARRAYS_H_
