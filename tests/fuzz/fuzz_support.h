// What the fuzz targets share: an input cut into texts, property checks
// that stop the run (the fuzzer then keeps the input as a finding), caller
// buffers of an exact size, so that a write past one is caught by
// AddressSanitizer, and query results scripted from the input for targets
// that run lookups against the scripted companions.
#ifndef TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_
#define TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "doubles/companions.h"
#include "tovak/param_set.h"

// The entry point every target defines.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace tovak::fuzz {

// Reports a broken property and aborts.
[[noreturn]] void Fail(const char* file, int line, const char* condition);

#define FUZZ_CHECK(condition) \
  ((condition) ? static_cast<void>(0) : ::tovak::fuzz::Fail(__FILE__, __LINE__, #condition))

// The input as text; as a C string it ends at the first NUL byte.
std::string Text(const uint8_t* data, size_t size);

// The input cut at every separator. A missing field reads as "".
class Fields {
 public:
  Fields(const std::string& text, char separator);
  size_t size() const { return fields_.size(); }
  const std::string& operator[](size_t i) const;
  // Fields from i on.
  std::vector<std::string> From(size_t i) const;

 private:
  std::vector<std::string> fields_;
};

std::vector<std::string> Split(const std::string& text, char separator);

// A caller's text buffer of exactly size bytes, filled with a marker byte
// so that a text left untouched can be told from one written.
class Buffer {
 public:
  static constexpr char kMarker = '\x7f';
  explicit Buffer(size_t size);
  char* data() { return bytes_.get(); }
  size_t size() const { return size_; }
  bool Untouched() const;
  // True when a NUL ends a text within the buffer.
  bool Terminated() const;
  std::string str() const;  // the text up to its NUL

 private:
  std::unique_ptr<char[]> bytes_;
  size_t size_;
};

// An entry of a parameter list.
struct Entry {
  std::string name, value;
  int tag;
  bool operator==(const Entry&) const = default;
};

// Every entry of a list, copied out through buffers of room bytes (more
// than any name or value); an entry past the list is refused.
inline std::vector<Entry> Entries(const CParamSet& set, size_t room) {
  std::vector<Entry> entries;
  Buffer name(room), value(room);
  for (int i = 0; i < set.GetParamCount(); ++i) {
    int tag = 0;
    FUZZ_CHECK(set.GetParam(i, name.data(), static_cast<int>(room), value.data(),
                            static_cast<int>(room), &tag) == 0);
    entries.push_back({name.str(), value.str(), tag});
  }
  FUZZ_CHECK(set.GetParam(set.GetParamCount(), name.data(), 1, value.data(), 1, nullptr) == -1);
  return entries;
}

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
  testing::Table table{status, {}};
  for (const std::string& line : lines) {
    table.rows.push_back(Split(line, '|'));
    if (table.rows.back().size() < columns) table.rows.back().resize(columns);
  }
  return table;
}

}  // namespace tovak::fuzz

#endif  // TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_
