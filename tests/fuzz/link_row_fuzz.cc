// The DTS link row of a digitizer channel, read by both link lookups from
// cells the input supplies (line 1: the status of the link query; lines 2
// to 11: cells 0 to 9 of its row; a single line: a result without rows).
//
// Both lookups answer the same documented status and agree on what they
// share, every text lands within a buffer sized for the longest cell (the
// options words within one sized for the longest decoded options text), and
// a failed lookup writes only its defaults.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using tovak::fuzz::Buffer;
using tovak::testing::IndexDb;
using tovak::testing::Table;

constexpr size_t kOptionsRoom = 256;  // longest decoded options text, and its NUL

struct Row {
  int status = 0;
  std::vector<std::string> cells;  // empty: no row
  size_t longest = 0;              // longest cell
};

Row RowOf(const tovak::fuzz::Fields& lines) {
  Row row;
  row.status = static_cast<int>(std::strtol(lines[0].c_str(), nullptr, 10));
  if (lines.size() < 2) return row;
  for (size_t c = 0; c < 10; ++c) {
    row.cells.push_back(lines[c + 1].c_str());  // a cell is a C text
    row.longest = std::max(row.longest, row.cells.back().size());
  }
  return row;
}

void Script(const Row& row) {
  tovak::testing::ResetCompanions();
  auto& db = IndexDb();
  db.siteId = [](const std::string&) { return 1; };
  db.diagId = [](const std::string&, int) { return 5; };
  db.dtsInformation = [&row](int, unsigned, unsigned, unsigned, unsigned) {
    Table table{row.status, {}};
    if (!row.cells.empty()) table.rows.push_back(row.cells);
    return table;
  };
  db.hostId = [](const std::string& name) { return 1000 + static_cast<int>(name.size()); };
  db.camacId = [](const std::string& name) { return 2000 + static_cast<int>(name.size()); };
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Row row = RowOf(tovak::fuzz::Fields(tovak::fuzz::Text(data, size), '\n'));
  Script(row);
  const size_t room = row.longest + 1;

  Buffer kind(12), text1(room), text2(room), source(room), word3(kOptionsRoom);
  short num3 = -7, num4 = -7;
  int setting = -7, num8 = -7, pre = -7, interval = -7, hostId = -7;
  const int status = tovakGetDTSinfox("diag", 120000, -1, 1, 2, "/ubo", kind.data(), text1.data(),
                                      text2.data(), &num3, &num4, &setting, &num8, source.data(),
                                      &pre, &interval, &hostId, word3.data());

  Buffer cKind(12), c1(room), c2(room), c3(room), c4(room), cSource(room);
  Buffer cPre(kOptionsRoom), cInterval(kOptionsRoom), cType(kOptionsRoom), cHost(kOptionsRoom),
      cWord3(kOptionsRoom);
  for (Buffer* word : {&cPre, &cInterval, &cType, &cHost, &cWord3}) word->data()[0] = '\0';
  int cSetting = -7, cNum8 = -7;
  const int clkStatus =
      tovakGetDTSinfoCLK("diag", 120000, -1, 1, 2, "/ubo", cKind.data(), c1.data(), c2.data(),
                         c3.data(), c4.data(), &cSetting, &cNum8, cSource.data(), cPre.data(),
                         cInterval.data(), cType.data(), cHost.data(), cWord3.data());

  FUZZ_CHECK(status == clkStatus);
  FUZZ_CHECK(status == 0 || status == TOVAK_E_NOT_SUPPORTED || status == TOVAK_E_NO_DTS_INFO);
  if (status == TOVAK_E_NO_DTS_INFO) {
    FUZZ_CHECK(row.cells.empty() || row.status == -1 || row.status == -2);
    FUZZ_CHECK(pre == 0 && interval == 1 && hostId == 0);
    FUZZ_CHECK(num3 == -7 && setting == -7 && kind.Untouched() && text1.Untouched() &&
               word3.Untouched());
    FUZZ_CHECK(cSetting == -7 && cKind.Untouched() && c3.Untouched() && cPre.str().empty() &&
               cHost.str().empty());
  } else {
    FUZZ_CHECK(!row.cells.empty() && interval != 0);
    FUZZ_CHECK(!kind.str().empty() && kind.str() == cKind.str());
    FUZZ_CHECK(text1.str() == c1.str() && text2.str() == c2.str() && source.str() == cSource.str());
    FUZZ_CHECK(num3 == static_cast<int16_t>(std::strtol(c3.str().c_str(), nullptr, 10)));
    FUZZ_CHECK(num4 == static_cast<int16_t>(std::strtol(c4.str().c_str(), nullptr, 10)));
    FUZZ_CHECK(setting == cSetting && num8 == cNum8);
    FUZZ_CHECK(cWord3.str().empty() ? word3.Untouched() : word3.str() == cWord3.str());
    // An option's value is the number in the word the other lookup read.
    for (const auto& [word, value, absent] :
         {std::tuple(cPre.str(), pre, 0), std::tuple(cInterval.str(), interval, 1)}) {
      const auto number = static_cast<int32_t>(std::strtol(word.c_str(), nullptr, 10));
      if (word.empty()) FUZZ_CHECK(value == absent);
      if (!word.empty() && word.size() <= 63) {
        FUZZ_CHECK(value == number || (number == 0 && value == absent));
      }
    }
    // A ClkDTS group is taken whole: the identifier is that of the kind and
    // name the other lookup read (a name over 63 characters is not looked up).
    const std::string type = cType.str(), host = cHost.str();
    FUZZ_CHECK(type.empty() == host.empty());
    int expected = 0;
    if (!host.empty() && host.size() <= 63) {
      if (type == "VME" || type == "FPGA") expected = 1000 + static_cast<int>(host.size());
      if (type == "CAMAC") expected = 2000 + static_cast<int>(host.size());
    }
    FUZZ_CHECK(hostId == expected);
  }
  FUZZ_CHECK(!IndexDb().is_open());
  tovak::fuzz::CheckCompanions();
  return 0;
}
