// The DTS link row read by both link lookups. Input lines: the query's
// status, then cells 0 to 9 (one line: no row). They agree, texts fit
// buffers sized for the longest cell, and a failure writes only defaults.
#include <tuple>

#include "fuzz_support.h"
#include "tovak/tovak.h"

using tovak::fuzz::Buffer;
using tovak::fuzz::Number;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> lines = tovak::fuzz::Lines(data, size);
  const bool row = lines.size() > 1;
  lines.resize(11);
  const int queryStatus = Number(lines[0]);
  const std::vector<std::string> cells(lines.begin() + 1, lines.end());
  tovak::testing::ResetCompanions();
  auto& db = tovak::testing::IndexDb();
  db.siteId = [](const std::string&) { return 1; };
  db.diagId = [](const std::string&, int) { return 5; };
  db.dtsInformation = [&](int, unsigned, unsigned, unsigned, unsigned) {
    return tovak::testing::Table{queryStatus, std::vector(row ? 1 : 0, cells)};
  };
  db.hostId = [](const std::string& name) { return 1000 + static_cast<int>(name.size()); };
  db.camacId = [](const std::string& name) { return 2000 + static_cast<int>(name.size()); };
  size_t room = 1, words = 256;  // words: the longest decoded options text, and its NUL
  for (const std::string& cell : cells) room = std::max(room, cell.size() + 1);

  Buffer kind(12), text1(room), text2(room), source(room), word3(words);
  short num3 = -7, num4 = -7;
  int setting = -7, num8 = -7, pre = -7, interval = -7, hostId = -7;
  const int status = tovakGetDTSinfox("diag", 120000, -1, 1, 2, "/ubo", kind.data(), text1.data(),
                                      text2.data(), &num3, &num4, &setting, &num8, source.data(),
                                      &pre, &interval, &hostId, word3.data());
  Buffer cKind(12), c1(room), c2(room), c3(room), c4(room), cSource(room);
  Buffer cPre(words), cInterval(words), cType(words), cHost(words), cWord3(words);
  for (Buffer* word : {&cPre, &cInterval, &cType, &cHost, &cWord3}) word->data()[0] = '\0';
  int cSetting = -7, cNum8 = -7;
  FUZZ_CHECK(status == tovakGetDTSinfoCLK("diag", 120000, -1, 1, 2, "/ubo", cKind.data(), c1.data(),
                                          c2.data(), c3.data(), c4.data(), &cSetting, &cNum8,
                                          cSource.data(), cPre.data(), cInterval.data(),
                                          cType.data(), cHost.data(), cWord3.data()));
  FUZZ_CHECK(status == 0 || status == TOVAK_E_NOT_SUPPORTED || status == TOVAK_E_NO_DTS_INFO);
  if (status == TOVAK_E_NO_DTS_INFO) {
    FUZZ_CHECK(!row || queryStatus == -1 || queryStatus == -2);
    FUZZ_CHECK(pre == 0 && interval == 1 && hostId == 0 && num3 == -7 && setting == -7);
    FUZZ_CHECK(kind.Untouched() && text1.Untouched() && word3.Untouched() && cKind.Untouched());
    FUZZ_CHECK(cSetting == -7 && c3.Untouched() && cPre.str().empty() && cHost.str().empty());
    return tovak::fuzz::CheckCompanions(), 0;
  }
  FUZZ_CHECK(row && interval != 0 && !kind.str().empty());
  FUZZ_CHECK(std::tuple(kind.str(), text1.str(), text2.str(), source.str(), setting, num8) ==
             std::tuple(cKind.str(), c1.str(), c2.str(), cSource.str(), cSetting, cNum8));
  FUZZ_CHECK(num3 == static_cast<int16_t>(Number(c3.str())) &&
             num4 == static_cast<int16_t>(Number(c4.str())));
  FUZZ_CHECK(cWord3.str().empty() ? word3.Untouched() : word3.str() == cWord3.str());
  // An option's value is the number in the word the other lookup read.
  for (const auto& [word, value, absent] :
       {std::tuple(cPre.str(), pre, 0), std::tuple(cInterval.str(), interval, 1)}) {
    FUZZ_CHECK(word.size() > 63 || (value == Number(word) && !word.empty()) ||
               (Number(word) == 0 && value == absent));
  }
  // A ClkDTS group is taken whole: the identifier is that of the kind and
  // name the other lookup read (a name over 63 characters is not looked up).
  const std::string type = cType.str(), host = cHost.str();
  const int base = type == "CAMAC" ? 2000 : (type == "VME" || type == "FPGA" ? 1000 : -1);
  FUZZ_CHECK(type.empty() == host.empty() &&
             hostId ==
                 (base < 0 || host.empty() || host.size() > 63 ? 0 : base + int(host.size())));
  tovak::fuzz::CheckCompanions();
  return 0;
}
