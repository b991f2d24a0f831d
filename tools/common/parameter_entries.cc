#include "parameter_entries.h"

namespace tovak::tooling {

std::vector<ParameterEntry> EntriesOf(const CParamSet& params) {
  constexpr int kTextSize = 4096;
  std::vector<char> name(kTextSize), value(kTextSize);
  std::vector<ParameterEntry> entries;
  for (int i = 0; i < params.GetParamCount(); ++i) {
    int tag = 0;
    if (params.GetParam(i, name.data(), kTextSize, value.data(), kTextSize, &tag) != 0) break;
    entries.push_back({name.data(), value.data(), tag});
  }
  return entries;
}

}  // namespace tovak::tooling
