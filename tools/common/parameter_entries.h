// The entries of a parameter list as texts: shared by the tovak tool and the
// Python package.
#ifndef TOVAK_TOOLS_COMMON_PARAMETER_ENTRIES_H_
#define TOVAK_TOOLS_COMMON_PARAMETER_ENTRIES_H_

#include <string>
#include <vector>

#include "tovak/param_set.h"

namespace tovak::tooling {

struct ParameterEntry {
  std::string name, value;
  int tag = 0;
};

// Every entry in order; names and values longer than 4095 characters are
// cut there (the lists' own entries are far shorter).
std::vector<ParameterEntry> EntriesOf(const CParamSet& params);

}  // namespace tovak::tooling

#endif  // TOVAK_TOOLS_COMMON_PARAMETER_ENTRIES_H_
