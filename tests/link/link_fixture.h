// Scripted index database answering one link row for diagnostic "diag" at
// site "ubo" (site id 3, diagnostic id 7).
#ifndef TOVAK_TESTS_LINK_LINK_FIXTURE_H_
#define TOVAK_TESTS_LINK_LINK_FIXTURE_H_

#include <string>
#include <vector>

#include "access/state.h"
#include "doubles/companions.h"
#include "link/link_calls.h"

namespace tovak::testing {

constexpr char kServer[] = "dbhost/UBO::index";
using Log = std::vector<std::string>;

const Channel kChannel{"diag", 100, 2, 3, -4, kServer};

// Link row with the given options text; the other columns are plain values.
inline std::vector<std::string> Row(const std::string& options) {
  return {"FPGA-DTS", "t1", "t2", "3", "4", "5", "Internal", "7", "8", options};
}

// What fn writes to standard error with verbose messages on.
template <class Fn>
std::string VerboseOutput(Fn&& fn) {
  is_verbose_tovak_t = true;
  ::testing::internal::CaptureStderr();
  fn();
  is_verbose_tovak_t = false;
  return ::testing::internal::GetCapturedStderr();
}

class LinkTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    IndexDb().siteId = [](const std::string&) { return 3; };
    IndexDb().diagId = [](const std::string&, int) { return 7; };
  }

  // The link query answers status and, when given, one row.
  void Answer(std::vector<std::string> row, int status = 0) {
    Table table{status, {}};
    if (!row.empty()) table.rows.push_back(std::move(row));
    IndexDb().dtsInformation = [table](int, unsigned, unsigned, unsigned, unsigned) {
      return table;
    };
  }
};

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_LINK_LINK_FIXTURE_H_
