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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

#define FUZZ_CHECK(condition) \
  ((condition) ? void() : tovak::fuzz::Broken(__FILE__, __LINE__, #condition))

namespace tovak::fuzz {

[[noreturn]] inline void Broken(const char* file, int line, const char* condition) {
  std::fprintf(stderr, "%s:%d: property broken: %s\n", file, line, condition), std::abort();
}

inline std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> fields;
  std::istringstream in(text);
  for (std::string field; std::getline(in, field, separator);) fields.push_back(field);
  return fields;
}

inline int Number(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

// The input's lines, each cut at its first NUL.
inline std::vector<std::string> Lines(const uint8_t* data, size_t size) {
  std::vector<std::string> lines =
      Split(std::string(reinterpret_cast<const char*>(data), size), '\n');
  for (std::string& line : lines) line = line.c_str();
  return lines;
}

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

// Every query result deleted, no cell read outside one, no unscripted call, no connection open.
inline void CheckCompanions() {
  FUZZ_CHECK(testing::ScriptedResult::live == 0 && testing::ScriptedResult::outOfRangeReads == 0);
  FUZZ_CHECK(!::testing::Test::HasFailure() && !testing::IndexDb().is_open());
}

}  // namespace tovak::fuzz

#endif  // TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_
