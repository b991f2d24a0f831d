// Scripting the DTS parameter table and the remote client for timing tests.
#ifndef TOVAK_TESTS_TIMING_SCRIPTING_H_
#define TOVAK_TESTS_TIMING_SCRIPTING_H_

#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "doubles/companions.h"

namespace tovak::testing {

constexpr int64_t kUntouched = -777;  // no step writes this value

// One output's row (eight columns).
inline std::vector<std::string> DtsRowOf(int delay, int factor1, int factor2, int baseRate,
                                         int delay2 = 0, int delay3 = 0) {
  auto s = [](int v) { return std::to_string(v); };
  return {s(delay), s(factor1), s(factor2), "0", "0", s(baseRate), s(delay2), s(delay3)};
}

// `count` outputs at 10 MHz (100 ns ticks): output n starts 10 x n ticks
// after time zero and has a period of 10 x n ns.
inline Table DtsModule(int count) {
  Table table;
  for (int n = 1; n <= count; ++n) table.rows.push_back(DtsRowOf(1200000000 + 10 * n, 10, n, 10000000));
  return table;
}

// Every host resolves to hostId, every module answers `table`.
inline void ScriptDts(const Table& table, int hostId = 41) {
  IndexDb().hostId = [hostId](const std::string&) { return hostId; };
  IndexDb().dtsParameters = [table](unsigned, unsigned, int, const std::string&) { return table; };
}

// The texts and numbers among a remote operation's arguments, in order,
// each followed by ","; output pointers are left out.
template <class... Args>
std::string Join(const Args&... args) {
  std::ostringstream out;
  auto put = [&](const auto& a) {
    using A = std::decay_t<decltype(a)>;
    if constexpr (std::is_same_v<A, const char*>) out << a << ',';
    else if constexpr (std::is_arithmetic_v<A>) out << +a << ',';
  };
  (put(args), ...);
  return out.str();
}

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_TIMING_SCRIPTING_H_
