// A timing output channel's parameter list from DTS rows. Input lines: the
// query's status; module; channel; then rows of '|'-separated cells. The
// list's text loads back, and the count function promises its size.
#include "fuzz_support.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> in = tovak::fuzz::Lines(data, size);
  in.resize(std::max<size_t>(in.size(), 3));
  tovak::testing::Table table{tovak::fuzz::Number(in[0]), {}};
  for (size_t i = 3; i < std::min<size_t>(in.size(), 3 + 32); ++i) {  // a module has 32 channels
    table.rows.push_back(tovak::fuzz::Split(in[i], '|'));
    table.rows.back().resize(std::max<size_t>(table.rows.back().size(), 34));
  }
  tovak::testing::ResetCompanions();
  auto& db = tovak::testing::IndexDb();
  db.hostId = [](const std::string&) { return 3; };
  db.dtsTable = [&table](int, const std::string&, unsigned, unsigned) { return table; };
  db.hostTable = [&table](int, unsigned, unsigned) { return table; };
  db.hostName = [](int n) -> std::pair<int, std::optional<std::string>> {
    return {n < 0 ? -1 : 0, n < 0 ? std::nullopt : std::optional(std::string(n % 400, 'h'))};
  };
  CParamSet set, again;
  const auto channel = static_cast<unsigned short>(tovak::fuzz::Number(in[2]));
  const int status = getDTSParameters("/ubo", "dts1", in[1].c_str(), 120000, 0, channel, set);
  FUZZ_CHECK(status == 0 || (status == TOVAK_E_NO_MODULE_ROWS && set.GetParamCount() == 0));
  const std::string text = set.GetString();
  for (int i = 0; i < set.GetParamCount(); ++i) {  // the text's size bounds every field
    tovak::fuzz::Buffer name(text.size() + 1), value(text.size() + 1);
    int tag = -7;
    FUZZ_CHECK(set.GetParam(i, name.data(), int(name.size), value.data(), int(value.size), &tag) ==
               0);
    const std::string n = name.str(), v = value.str();
    FUZZ_CHECK(n != "HostName" || v.size() <= 255);
    FUZZ_CHECK(
        n != "TimeOfCollected" ||
        (tag == kTovakParamTime && v == std::to_string(std::strtol(v.c_str(), nullptr, 10))));
  }
  FUZZ_CHECK(status != 0 || (again.PutString(text.c_str()) == 0 && again.GetString() == text));
  short count = -7;
  int first = channel, last = channel;
  tovak::fuzz::Buffer module(64);  // room for the longest name, 63 characters
  const int counted = tovakGetDTSParametersCount("/ubo", "dts1", in[1].c_str(), 120000, 0, &count,
                                                 &first, &last, module.data());
  FUZZ_CHECK(counted == 0 || counted == TOVAK_E_NO_DTS_INFO || counted == TOVAK_E_CHANNEL_RANGE);
  FUZZ_CHECK(counted == TOVAK_E_NO_DTS_INFO || module.Terminated());
  FUZZ_CHECK(status != 0 || (counted == 0 && count == set.GetParamCount()));
  tovak::fuzz::CheckCompanions();
  return 0;
}
