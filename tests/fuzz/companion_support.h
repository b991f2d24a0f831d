// Fuzzing the lookups against the scripted companions: the rows a query
// answers come from the input, the state is fresh for every input, and
// after each input the checks of the unit tests hold.
#ifndef TOVAK_TESTS_FUZZ_COMPANION_SUPPORT_H_
#define TOVAK_TESTS_FUZZ_COMPANION_SUPPORT_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "doubles/companions.h"
#include "fuzz_support.h"

namespace tovak::fuzz {

// Every query result deleted, no cell read outside one, and no call that
// the target did not script (the companions report those as failures).
inline void CheckCompanions() {
  FUZZ_CHECK(testing::ScriptedResult::live == 0);
  FUZZ_CHECK(testing::ScriptedResult::outOfRangeReads == 0);
  FUZZ_CHECK(!::testing::Test::HasFailure());
}

// Rows written one a line, cells separated by '|', each row padded with
// empty cells to at least columns cells.
inline testing::Table TableOf(int status, const std::vector<std::string>& lines, size_t columns) {
  testing::Table table;
  table.status = status;
  for (const std::string& line : lines) {
    std::vector<std::string> cells = Split(line, '|');
    if (cells.size() < columns) cells.resize(columns);
    table.rows.push_back(std::move(cells));
  }
  return table;
}

}  // namespace tovak::fuzz

#endif  // TOVAK_TESTS_FUZZ_COMPANION_SUPPORT_H_
