// Shared by the fuzz targets: property checks that abort (the fuzzer then
// keeps the input), the input cut into lines, and caller buffers of an exact
// size, so that AddressSanitizer catches a write past one.
#ifndef TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_
#define TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>

#include "doubles/companions.h"
#include "tovak/param_set.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

#define FUZZ_CHECK(condition)                                                                   \
  ((condition)                                                                                  \
       ? static_cast<void>(0)                                                                   \
       : (std::fprintf(stderr, "%s:%d: property broken: %s\n", __FILE__, __LINE__, #condition), \
          std::abort()))

namespace tovak::fuzz {

inline std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> fields;
  std::istringstream in(text);
  for (std::string field; std::getline(in, field, separator);) fields.push_back(field);
  return fields;
}

inline int Number(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

// The input's lines, each a C text (cut at its first NUL), padded with ""
// to at least `least` lines.
struct Lines {
  Lines(const uint8_t* data, size_t size, size_t least)
      : all(Split(std::string(reinterpret_cast<const char*>(data), size), '\n')),
        count(all.size()) {
    for (std::string& line : all) line = line.c_str();
    all.resize(std::max(count, least));
  }
  const std::string& operator[](size_t i) const { return all[i]; }
  int Number(size_t i) const { return fuzz::Number(all[i]); }
  std::vector<std::string> all;
  size_t count;  // lines in the input
};

// A caller's buffer of exactly n bytes, filled with a marker byte so that
// one left untouched can be told from one written.
struct Buffer {
  explicit Buffer(size_t n) : bytes(new char[n]), size(n) { std::fill_n(data(), n, '\x7f'); }
  char* data() const { return bytes.get(); }
  bool Untouched() const { return std::string(data(), size) == std::string(size, '\x7f'); }
  bool Terminated() const { return std::memchr(data(), '\0', size) != nullptr; }
  std::string str() const { return FUZZ_CHECK(Terminated()), std::string(data()); }
  std::unique_ptr<char[]> bytes;
  size_t size;
};

struct Entry {
  std::string name, value;
  int tag;
  bool operator==(const Entry&) const = default;
};

// Entry i of a list, copied out through buffers of nameRoom and valueRoom bytes.
inline Entry Copy(const CParamSet& set, int i, size_t nameRoom, size_t valueRoom) {
  Buffer name(nameRoom), value(valueRoom);
  int tag = -7;
  FUZZ_CHECK(set.GetParam(i, name.data(), static_cast<int>(nameRoom), value.data(),
                          static_cast<int>(valueRoom), &tag) == 0);
  return {name.str(), value.str(), tag};
}

// Every entry through buffers of room bytes; an entry past the list is refused.
inline std::vector<Entry> Entries(const CParamSet& set, size_t room) {
  std::vector<Entry> entries;
  for (int i = 0; i < set.GetParamCount(); ++i) entries.push_back(Copy(set, i, room, room));
  char byte = 0;
  FUZZ_CHECK(set.GetParam(set.GetParamCount(), &byte, 1, &byte, 1, nullptr) == -1);
  return entries;
}

// Every query result deleted, no cell read outside one, no unscripted call.
inline void CheckCompanions() {
  FUZZ_CHECK(testing::ScriptedResult::live == 0 && testing::ScriptedResult::outOfRangeReads == 0);
  FUZZ_CHECK(!::testing::Test::HasFailure());
}

}  // namespace tovak::fuzz

#endif  // TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_
