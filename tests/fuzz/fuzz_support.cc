#include "fuzz_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tovak::fuzz {

void Fail(const char* file, int line, const char* condition) {
  std::fprintf(stderr, "%s:%d: property broken: %s\n", file, line, condition);
  std::abort();
}

std::string Text(const uint8_t* data, size_t size) {
  return std::string(reinterpret_cast<const char*>(data), size);
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> fields;
  size_t begin = 0;
  while (true) {
    const size_t end = text.find(separator, begin);
    if (end == std::string::npos) break;
    fields.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  if (begin < text.size()) fields.push_back(text.substr(begin));
  return fields;
}

Fields::Fields(const std::string& text, char separator) : fields_(Split(text, separator)) {}

const std::string& Fields::operator[](size_t i) const {
  static const std::string kMissing;
  return i < fields_.size() ? fields_[i] : kMissing;
}

std::vector<std::string> Fields::From(size_t i) const {
  if (i >= fields_.size()) return {};
  return std::vector<std::string>(fields_.begin() + static_cast<std::ptrdiff_t>(i), fields_.end());
}

Buffer::Buffer(size_t size) : bytes_(new char[size]), size_(size) {
  std::fill_n(bytes_.get(), size_, kMarker);
}

bool Buffer::Untouched() const {
  return std::all_of(bytes_.get(), bytes_.get() + size_, [](char c) { return c == kMarker; });
}

bool Buffer::Terminated() const { return std::memchr(bytes_.get(), '\0', size_) != nullptr; }

std::string Buffer::str() const {
  FUZZ_CHECK(Terminated());
  return std::string(bytes_.get());
}

}  // namespace tovak::fuzz
