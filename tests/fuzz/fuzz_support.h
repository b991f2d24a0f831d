// What the fuzz targets share: an input cut into texts, property checks
// that stop the run (the fuzzer then keeps the input as a finding), and
// caller buffers of an exact size, so that a write past one is caught by
// AddressSanitizer.
#ifndef TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_
#define TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

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

// Leading and trailing blanks (the space character only) removed.
std::string TrimBlanks(const std::string& text);

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

}  // namespace tovak::fuzz

#endif  // TOVAK_TESTS_FUZZ_FUZZ_SUPPORT_H_
