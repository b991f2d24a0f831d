// The parameter list of a timing output channel, built from DTS table rows
// the input supplies, its collection-time text among them. Input lines:
// status of the table query; module name asked for; channel; number of
// records to export; width of an exported name; width of an exported
// value; then one table row a line, cells separated by '|' (32 rows at
// most).
//
// The list holds as many entries as the count function promises, the
// collection time is a number, the list's text form loads back to the same
// list, and the exported records stay within their widths, flat or through
// pointers.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace {

using tovak::fuzz::Buffer;
using tovak::fuzz::Entries;
using tovak::fuzz::Entry;
using tovak::testing::IndexDb;

constexpr unsigned kShot = 120000;
constexpr size_t kColumns = 34;
constexpr size_t kHostNameLimit = 255;
// More rows add nothing a module of 32 channels does not show, only time.
constexpr size_t kMostRows = 32;

long Number(const std::string& text) { return std::strtol(text.c_str(), nullptr, 10); }

struct Request {
  explicit Request(const tovak::fuzz::Fields& lines)
      : status(static_cast<int>(Number(lines[0]))),
        module(lines[1].c_str()),
        channel(static_cast<unsigned short>(Number(lines[2]))),
        records(static_cast<unsigned short>(std::clamp(Number(lines[3]), 0L, 60L))),
        nameWidth(static_cast<int>(std::clamp(Number(lines[4]), -1L, 80L))),
        valueWidth(static_cast<int>(std::clamp(Number(lines[5]), -1L, 160L))),
        rows(lines.From(6)) {
    if (rows.size() > kMostRows) rows.resize(kMostRows);
    table = tovak::fuzz::TableOf(status, rows, kColumns);
  }
  int status;
  std::string module;
  unsigned short channel, records;
  int nameWidth, valueWidth;
  std::vector<std::string> rows;
  tovak::testing::Table table;
};

void Script(const Request& r) {
  tovak::testing::ResetCompanions();
  auto& db = IndexDb();
  db.hostId = [](const std::string&) { return 3; };
  db.dtsTable = [&r](int, const std::string&, unsigned, unsigned) { return r.table; };
  db.hostTable = [&r](int, unsigned, unsigned) { return r.table; };
  db.hostName = [](int number) -> std::pair<int, std::optional<std::string>> {
    if (number < 0) return {-1, std::nullopt};
    return {0, std::string(static_cast<size_t>(number % 400), 'h')};
  };
}

// The collection time is a whole number, the host name within its limit,
// and the text form loads back to the same list.
void CheckList(const std::string& text, const std::vector<Entry>& entries) {
  for (const Entry& entry : entries) {
    if (entry.name == "TimeOfCollected") {
      FUZZ_CHECK(entry.tag == kTovakParamTime &&
                 entry.value == std::to_string(std::strtol(entry.value.c_str(), nullptr, 10)));
    }
    if (entry.name == "HostName") FUZZ_CHECK(entry.value.size() <= kHostNameLimit);
  }
  CParamSet again;
  FUZZ_CHECK(again.PutString(text.c_str()) == 0 && again.GetString() == text);
}

// A record of width bytes: a text cut to width - 1, then NUL.
void CheckRecord(const char* record, int width, const std::string& whole) {
  if (width < 1) return;
  FUZZ_CHECK(std::memchr(record, '\0', static_cast<size_t>(width)) != nullptr);
  FUZZ_CHECK(whole.compare(0, static_cast<size_t>(width) - 1, record) == 0);
}

// Records past the list are empty texts.
Entry RecordEntry(const std::vector<Entry>& entries, size_t i) {
  return i < entries.size() ? entries[i] : Entry{"", "", kTovakParamText};
}

void CheckExport(const Request& r, int status, const std::vector<Entry>& entries, bool flat) {
  Script(r);
  const size_t n = r.records;
  const size_t nameWidth = static_cast<size_t>(std::max(r.nameWidth, 0));
  const size_t valueWidth = static_cast<size_t>(std::max(r.valueWidth, 0));
  // Flat: one block of n records. Pointers: one buffer per record.
  std::vector<Buffer> names, values;
  std::vector<char*> namePointers, valuePointers;
  for (size_t i = 0; i < (flat ? 1 : n); ++i) {
    names.emplace_back(std::max<size_t>(1, flat ? n * nameWidth : nameWidth));
    values.emplace_back(std::max<size_t>(1, flat ? n * valueWidth : valueWidth));
    namePointers.push_back(names.back().data());
    valuePointers.push_back(values.back().data());
  }
  std::vector<int> tags(n, -99);
  void* nameArg = flat ? static_cast<void*>(names[0].data()) : namePointers.data();
  void* valueArg = flat ? static_cast<void*>(values[0].data()) : valuePointers.data();
  FUZZ_CHECK(tovakGetDTSParameters_s("/ubo", "dts1", r.module.c_str(), kShot, 0, r.channel,
                                     r.records, nameArg, r.nameWidth, valueArg, r.valueWidth,
                                     tags.data(), flat) == status);
  for (size_t i = 0; i < n; ++i) {
    const char* name = flat ? names[0].data() + i * nameWidth : namePointers[i];
    const char* value = flat ? values[0].data() + i * valueWidth : valuePointers[i];
    if (status != 0) {
      FUZZ_CHECK(tags[i] == -99);
      continue;
    }
    const Entry entry = RecordEntry(entries, i);
    CheckRecord(name, r.nameWidth, entry.name);
    CheckRecord(value, r.valueWidth, entry.value);
    FUZZ_CHECK(tags[i] == entry.tag);
  }
  if (status != 0 || r.nameWidth < 1) {
    for (const Buffer& buffer : names) FUZZ_CHECK(buffer.Untouched());
  }
}

void CheckCount(const Request& r, int status, int entries) {
  Script(r);
  short count = -7;
  int first = r.channel, last = r.channel;
  Buffer module(64);  // room for the longest name, 63 characters
  const int countStatus = tovakGetDTSParametersCount("/ubo", "dts1", r.module.c_str(), kShot, 0,
                                                     &count, &first, &last, module.data());
  FUZZ_CHECK(countStatus == 0 || countStatus == TOVAK_E_NO_DTS_INFO ||
             countStatus == TOVAK_E_CHANNEL_RANGE);
  if (countStatus != TOVAK_E_NO_DTS_INFO) FUZZ_CHECK(module.Terminated());
  if (status == 0) FUZZ_CHECK(countStatus == 0 && count == entries);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Request r(tovak::fuzz::Fields(tovak::fuzz::Text(data, size), '\n'));
  Script(r);
  CParamSet set;
  const int status = getDTSParameters("/ubo", "dts1", r.module.c_str(), kShot, 0, r.channel, set);
  FUZZ_CHECK(status == 0 || status == TOVAK_E_NO_MODULE_ROWS);
  std::vector<Entry> entries;
  if (status == 0) {
    const std::string text = set.GetString();
    entries = Entries(set, text.size() + 1);
    CheckList(text, entries);
  } else {
    FUZZ_CHECK(set.GetParamCount() == 0);
  }
  tovak::fuzz::CheckCompanions();

  CheckExport(r, status, entries, true);
  CheckExport(r, status, entries, false);
  CheckCount(r, status, static_cast<int>(entries.size()));
  FUZZ_CHECK(!IndexDb().is_open());
  tovak::fuzz::CheckCompanions();
  return 0;
}
