// A timing output channel's parameter list from DTS rows. Input lines: the
// query's status; module; channel; records to export; name and value
// widths; then rows of '|'-separated cells. Exports stay within widths.
#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using tovak::fuzz::Buffer;
using tovak::fuzz::Entry;

// Records past the list read as empty texts; a failed export writes none.
void CheckExport(const tovak::fuzz::Lines& in, int status, std::vector<Entry> entries, bool flat) {
  const auto n = static_cast<unsigned short>(std::clamp(in.Number(3), 0, 60));
  const int widths[2] = {std::clamp(in.Number(4), -1, 80), std::clamp(in.Number(5), -1, 160)};
  std::vector<Buffer> buffers[2];  // names, values: flat, one block of n records; else one each
  std::vector<char*> pointers[2];
  for (int k = 0; k < 2; ++k) {
    const size_t room = static_cast<size_t>(std::max(widths[k], 0));
    const size_t size = std::max<size_t>(1, flat ? n * room : room);
    for (size_t i = 0; i == 0 || i < n; ++i) {
      pointers[k].push_back(flat && i > 0 ? pointers[k][0] + i * room
                                          : buffers[k].emplace_back(size).data());
    }
  }
  std::vector<int> tags(n, -99);
  const auto arg = [&](int k) {
    return flat ? static_cast<void*>(pointers[k][0]) : pointers[k].data();
  };
  FUZZ_CHECK(tovakGetDTSParameters_s("/ubo", "dts1", in[1].c_str(), 120000, 0,
                                     static_cast<unsigned short>(in.Number(2)), n, arg(0),
                                     widths[0], arg(1), widths[1], tags.data(), flat) == status);
  entries.resize(std::max<size_t>(entries.size(), n), Entry{"", "", kTovakParamText});
  for (size_t i = 0; i < n; ++i) {
    FUZZ_CHECK(tags[i] == (status == 0 ? entries[i].tag : -99));
    // A record of width bytes: the text cut to width - 1, then NUL.
    for (const auto& [k, whole] : {std::pair(0, entries[i].name), std::pair(1, entries[i].value)}) {
      const auto width = static_cast<size_t>(widths[k]);
      FUZZ_CHECK(status != 0 || widths[k] < 1 ||
                 (std::memchr(pointers[k][i], '\0', width) &&
                  whole.compare(0, width - 1, pointers[k][i]) == 0));
    }
  }
  if (status != 0 || widths[0] < 1) {
    for (const Buffer& buffer : buffers[0]) FUZZ_CHECK(buffer.Untouched());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tovak::fuzz::Lines in(data, size, 6);
  tovak::testing::Table table{in.Number(0), {}};
  for (size_t i = 6; i < std::min<size_t>(in.count, 6 + 32); ++i) {  // a module has 32 channels
    table.rows.push_back(tovak::fuzz::Split(in[i], '|'));
    table.rows.back().resize(std::max<size_t>(table.rows.back().size(), 34));
  }
  const auto script = [&table] {
    tovak::testing::ResetCompanions();
    auto& db = tovak::testing::IndexDb();
    db.hostId = [](const std::string&) { return 3; };
    db.dtsTable = [&table](int, const std::string&, unsigned, unsigned) { return table; };
    db.hostTable = [&table](int, unsigned, unsigned) { return table; };
    db.hostName = [](int number) -> std::pair<int, std::optional<std::string>> {
      if (number < 0) return {-1, std::nullopt};
      return {0, std::string(static_cast<size_t>(number % 400), 'h')};
    };
  };
  script();
  CParamSet set, again;
  const auto channel = static_cast<unsigned short>(in.Number(2));
  const int status = getDTSParameters("/ubo", "dts1", in[1].c_str(), 120000, 0, channel, set);
  FUZZ_CHECK(status == 0 || (status == TOVAK_E_NO_MODULE_ROWS && set.GetParamCount() == 0));
  const std::string text = set.GetString();
  const std::vector<Entry> entries = tovak::fuzz::Entries(set, text.size() + 1);
  for (const Entry& e : entries) {
    const long time = std::strtol(e.value.c_str(), nullptr, 10);
    FUZZ_CHECK(e.name != "HostName" || e.value.size() <= 255);
    FUZZ_CHECK(e.name != "TimeOfCollected" ||
               (e.tag == kTovakParamTime && e.value == std::to_string(time)));
  }
  FUZZ_CHECK(status != 0 || (again.PutString(text.c_str()) == 0 && again.GetString() == text));
  tovak::fuzz::CheckCompanions();
  for (const bool flat : {true, false}) script(), CheckExport(in, status, entries, flat);
  script();
  short count = -7;
  int first = channel, last = channel;
  Buffer module(64);  // room for the longest name, 63 characters
  const int counted = tovakGetDTSParametersCount("/ubo", "dts1", in[1].c_str(), 120000, 0, &count,
                                                 &first, &last, module.data());
  FUZZ_CHECK(counted == 0 || counted == TOVAK_E_NO_DTS_INFO || counted == TOVAK_E_CHANNEL_RANGE);
  FUZZ_CHECK(counted == TOVAK_E_NO_DTS_INFO || module.Terminated());
  FUZZ_CHECK(status != 0 || (counted == 0 && count == static_cast<int>(entries.size())));
  FUZZ_CHECK(!tovak::testing::IndexDb().is_open());
  tovak::fuzz::CheckCompanions();
  return 0;
}
