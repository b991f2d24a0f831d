// Modules a diagnostic used in a shot and their channel settings, from
// rows the input supplies. Input lines: status of the module query;
// module rows (cells separated by '|') up to an empty line; status of the
// channel query; channel rows.
//
// The arrays hold one record per row, module keys are cut to fit their 64
// bytes, a failed query's status comes back with nothing handed out, and
// every array is released.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using tovak::testing::IndexDb;
using tovak::testing::SetupDb;
using tovak::testing::Table;

constexpr size_t kMostRows = 16;

struct Request {
  Table modules, channels;
};

Request RequestOf(const tovak::fuzz::Fields& lines) {
  size_t blank = 1;
  while (blank < lines.size() && !lines[blank].empty()) ++blank;
  std::vector<std::string> moduleRows(lines.From(1));
  moduleRows.resize(std::min(blank - 1, kMostRows));
  std::vector<std::string> channelRows = lines.From(blank + 2);
  if (channelRows.size() > kMostRows) channelRows.resize(kMostRows);
  const auto status = [](const std::string& text) {
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
  };
  return {tovak::fuzz::TableOf(status(lines[0]), moduleRows, 2),
          tovak::fuzz::TableOf(status(lines[blank + 1]), channelRows, 8)};
}

void Script(const Request& r) {
  tovak::testing::ResetCompanions();
  IndexDb().channelSettings = [&r](const std::string&, const std::string&, unsigned, unsigned) {
    return r.channels;
  };
  SetupDb().modules = [&r](const std::string&, unsigned, unsigned) { return r.modules; };
}

// What a query with this status hands back: its rows, none (-2), or a
// failure (any other status).
bool Fails(const Table& table) { return table.status != 0 && table.status != -2; }
size_t Delivered(const Table& table) { return table.status == 0 ? table.rows.size() : 0; }

void CheckKey(const char (&key)[64], const std::string& cell) {
  FUZZ_CHECK(std::memchr(key, '\0', sizeof key) != nullptr);
  FUZZ_CHECK(std::string(cell.c_str()).substr(0, sizeof key - 1) == key);
}

void CheckSettings(const Request& r) {
  Script(r);
  DTSsettings* settings = nullptr;
  int count = -7;
  const int status = tovakGetDTSsettings("/ubo", "/ubo", "diag", 120000, 0, &settings, &count, 1);
  const size_t modules = Delivered(r.modules);
  int expected = Fails(r.modules) ? r.modules.status : 0;
  if (expected == 0 && modules > 0 && Fails(r.channels)) expected = r.channels.status;
  FUZZ_CHECK(status == expected);
  if (status != 0 || modules == 0) {
    FUZZ_CHECK(settings == nullptr && count == -7);
  } else {
    FUZZ_CHECK(settings != nullptr && count == static_cast<int>(modules));
    for (size_t i = 0; i < modules; ++i) {
      CheckKey(settings[i].module.key1, r.modules.rows[i][0]);
      CheckKey(settings[i].module.key2, r.modules.rows[i][1]);
      FUZZ_CHECK(settings[i].chCount == static_cast<int>(Delivered(r.channels)));
      FUZZ_CHECK((settings[i].chSettings == nullptr) == (r.channels.status == -2));
    }
    cleanup_DTSsettingsArray(settings, count);
    delete[] settings;
  }
  FUZZ_CHECK(!IndexDb().is_open() && !SetupDb().is_open());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Request r = RequestOf(tovak::fuzz::Fields(tovak::fuzz::Text(data, size), '\n'));
  CheckSettings(r);
  tovak::fuzz::CheckCompanions();
  return 0;
}
