// The DTS link row of a digitizer channel, read by both link lookups from
// cells the input supplies (line 1: the status of the link query; lines 2
// to 11: cells 0 to 9 of its row; a single line: a result without rows).
//
// Both lookups must agree: the texts the clock-output lookup hands back are
// what the decoding lookup converts or resolves. Every text lands within a
// buffer sized for the longest value the row holds, the statuses stay
// within the documented ones, and a failed lookup writes only its defaults.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using tovak::fuzz::Buffer;
using tovak::testing::IndexDb;
using tovak::testing::Table;

constexpr int kSiteId = 1;
constexpr int kDiagId = 5;
constexpr size_t kOptionsLimit = 255;  // longest options text the lookups decode
constexpr size_t kWordLimit = 63;      // longest option word the decoding lookup converts
constexpr int kHostIdBase = 1000;      // scripted identifiers: base + length of the name
constexpr int kCamacIdBase = 2000;

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
  db.siteId = [](const std::string&) { return kSiteId; };
  db.diagId = [](const std::string&, int) { return kDiagId; };
  db.dtsInformation = [&row](int, unsigned, unsigned, unsigned, unsigned) {
    Table table{row.status, {}};
    if (!row.cells.empty()) table.rows.push_back(row.cells);
    return table;
  };
  db.hostId = [](const std::string& name) { return kHostIdBase + static_cast<int>(name.size()); };
  db.camacId = [](const std::string& name) {
    return kCamacIdBase + static_cast<int>(name.size());
  };
}

// Outputs of the decoding lookup.
struct Decoded {
  explicit Decoded(size_t cellRoom)
      : dtsKind(12), linkText1(cellRoom), linkText2(cellRoom), clockSource(cellRoom),
        clkDtsWord3(kOptionsLimit + 1) {}
  Buffer dtsKind, linkText1, linkText2, clockSource, clkDtsWord3;
  short linkNum3 = -7, linkNum4 = -7;
  int clockSetting = -7, linkNum8 = -7, preSample = -7, sampInterval = -7, clkHostId = -7;
  int status = 0;
};

// Outputs of the clock-output lookup. The option texts start empty: a word
// it stores is never empty.
struct Texts {
  explicit Texts(size_t cellRoom)
      : dtsKind(12), linkText1(cellRoom), linkText2(cellRoom), linkText3(cellRoom),
        linkText4(cellRoom), clockSource(cellRoom), preSample(kOptionsLimit + 1),
        sampInterval(kOptionsLimit + 1), clkDtsType(kOptionsLimit + 1),
        clkDtsHost(kOptionsLimit + 1), clkDtsWord3(kOptionsLimit + 1) {
    for (Buffer* word : {&preSample, &sampInterval, &clkDtsType, &clkDtsHost, &clkDtsWord3}) {
      word->data()[0] = '\0';
    }
  }
  Buffer dtsKind, linkText1, linkText2, linkText3, linkText4, clockSource;
  Buffer preSample, sampInterval, clkDtsType, clkDtsHost, clkDtsWord3;
  int clockSetting = -7, linkNum8 = -7;
  int status = 0;
};

int32_t Long32(const char* text) {
  return static_cast<int32_t>(std::strtol(text, nullptr, 10));
}

// A cell's text as a lookup hands it back: within the cell, without blanks at its ends.
bool TrimmedFrom(const std::string& text, const std::string& cell) {
  return cell.find(text) != std::string::npos &&
         (text.empty() || (text.front() != ' ' && text.back() != ' '));
}

// An option word: within the part of the options text the lookups decode,
// not empty, no white space.
bool IsOptionWord(const std::string& word, const std::string& options) {
  if (word.empty() || options.substr(0, kOptionsLimit).find(word) == std::string::npos) {
    return false;
  }
  return std::none_of(word.begin(), word.end(),
                      [](char c) { return std::isspace(static_cast<unsigned char>(c)); });
}

// The value the decoding lookup gives an option whose text the other
// lookup read, when the last occurrence decides both.
void CheckOptionValue(const std::string& text, int value, int absent) {
  if (text.empty()) {
    FUZZ_CHECK(value == absent);
  } else if (text.size() <= kWordLimit) {
    const int32_t number = Long32(text.c_str());
    FUZZ_CHECK(value == number || (number == 0 && value == absent));
  }
}

void CheckFailed(const Decoded& d, const Texts& t) {
  FUZZ_CHECK(d.preSample == 0 && d.sampInterval == 1 && d.clkHostId == 0);
  FUZZ_CHECK(d.linkNum3 == -7 && d.clockSetting == -7 && d.dtsKind.Untouched() &&
             d.linkText1.Untouched() && d.clkDtsWord3.Untouched());
  FUZZ_CHECK(t.clockSetting == -7 && t.dtsKind.Untouched() && t.linkText3.Untouched() &&
             t.preSample.str().empty() && t.clkDtsHost.str().empty());
}

void CheckRead(const Row& row, const Decoded& d, const Texts& t) {
  const std::vector<std::string>& cells = row.cells;
  FUZZ_CHECK(!d.dtsKind.str().empty() && d.dtsKind.str() == t.dtsKind.str());
  FUZZ_CHECK(t.linkText1.str() == d.linkText1.str() && t.linkText2.str() == d.linkText2.str() &&
             t.clockSource.str() == d.clockSource.str());
  const Buffer* texts[] = {&t.linkText1, &t.linkText2, &t.linkText3, &t.linkText4, &t.clockSource};
  const int columns[] = {1, 2, 3, 4, 6};
  for (int i = 0; i < 5; ++i) FUZZ_CHECK(TrimmedFrom(texts[i]->str(), cells[columns[i]]));
  FUZZ_CHECK(d.linkNum3 == static_cast<int16_t>(Long32(t.linkText3.str().c_str())));
  FUZZ_CHECK(d.linkNum4 == static_cast<int16_t>(Long32(t.linkText4.str().c_str())));
  FUZZ_CHECK(d.clockSetting == t.clockSetting && d.linkNum8 == t.linkNum8);

  const size_t start = cells[9].find_first_not_of(' ');  // the cell held without leading blanks
  const std::string options = start == std::string::npos ? "" : cells[9].substr(start);
  if (d.status == TOVAK_E_NOT_SUPPORTED) FUZZ_CHECK(options.find("notSupportedNow") != std::string::npos);
  const std::string word3 = t.clkDtsWord3.str();
  FUZZ_CHECK(word3.empty() ? d.clkDtsWord3.Untouched() : d.clkDtsWord3.str() == word3);
  for (const Buffer* word : {&t.preSample, &t.sampInterval, &t.clkDtsType, &t.clkDtsHost,
                             &t.clkDtsWord3}) {
    FUZZ_CHECK(word->str().empty() || IsOptionWord(word->str(), options));
  }

  FUZZ_CHECK(d.sampInterval != 0);
  CheckOptionValue(t.preSample.str(), d.preSample, 0);
  CheckOptionValue(t.sampInterval.str(), d.sampInterval, 1);
  // A ClkDTS group is taken with its kind and name or not at all, so the
  // identifier and the two texts come from the same occurrence.
  const std::string kind = t.clkDtsType.str(), host = t.clkDtsHost.str();
  FUZZ_CHECK(kind.empty() == host.empty());
  int expected = 0;
  if (!host.empty() && host.size() <= kWordLimit) {
    if (kind == "VME" || kind == "FPGA") expected = kHostIdBase + static_cast<int>(host.size());
    if (kind == "CAMAC") expected = kCamacIdBase + static_cast<int>(host.size());
  }
  FUZZ_CHECK(d.clkHostId == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Row row = RowOf(tovak::fuzz::Fields(tovak::fuzz::Text(data, size), '\n'));
  Script(row);

  Decoded d(row.longest + 1);
  d.status = tovakGetDTSinfox("diag", 120000, -1, 1, 2, "/ubo", d.dtsKind.data(),
                              d.linkText1.data(), d.linkText2.data(), &d.linkNum3, &d.linkNum4,
                              &d.clockSetting, &d.linkNum8, d.clockSource.data(), &d.preSample,
                              &d.sampInterval, &d.clkHostId, d.clkDtsWord3.data());
  Texts t(row.longest + 1);
  t.status = tovakGetDTSinfoCLK("diag", 120000, -1, 1, 2, "/ubo", t.dtsKind.data(),
                                t.linkText1.data(), t.linkText2.data(), t.linkText3.data(),
                                t.linkText4.data(), &t.clockSetting, &t.linkNum8,
                                t.clockSource.data(), t.preSample.data(), t.sampInterval.data(),
                                t.clkDtsType.data(), t.clkDtsHost.data(), t.clkDtsWord3.data());

  FUZZ_CHECK(d.status == t.status);
  FUZZ_CHECK(d.status == 0 || d.status == TOVAK_E_NOT_SUPPORTED || d.status == TOVAK_E_NO_DTS_INFO);
  if (d.status == TOVAK_E_NO_DTS_INFO) {
    FUZZ_CHECK(row.cells.empty() || row.status == -1 || row.status == -2);
    CheckFailed(d, t);
  } else {
    FUZZ_CHECK(!row.cells.empty());
    CheckRead(row, d, t);
  }
  FUZZ_CHECK(!IndexDb().is_open());
  tovak::fuzz::CheckCompanions();
  return 0;
}
