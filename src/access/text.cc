#include "access/text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "access/output_limits.h"
#include "tovak/tovak.h"

char* trimstrcpy(char* dst, char* src) {
  const size_t n = std::strlen(src);
  size_t begin = 0;
  while (begin < n && src[begin] == ' ') ++begin;
  size_t end = n;
  while (end > begin && src[end - 1] == ' ') --end;
  // memmove: dst and src may overlap (trimming in place).
  std::memmove(dst, src + begin, end - begin);
  dst[end - begin] = '\0';
  return dst;
}

char* bufferStringCopy(char* dst, const char* buffer, int width, int index) {
  if (width < 1) return dst;
  // The slot offset wraps like 32-bit signed arithmetic, without overflow.
  const uint32_t offset = (static_cast<uint32_t>(index) - 1u) * static_cast<uint32_t>(width);
  std::strncpy(dst, buffer + static_cast<int32_t>(offset), static_cast<size_t>(width));
  return dst;
}

bool checkFPGA(const char* name) {
  if (name == nullptr) return false;
  static const char kDmodss[] = "DMODSS";
  for (int i = 0; i < 6; ++i) {
    if (name[i] == '\0') return false;
    if (std::toupper(static_cast<unsigned char>(name[i])) != kDmodss[i]) return false;
  }
  return true;
}

namespace tovak {

long ParseLong(const char* text) { return text == nullptr ? 0 : std::strtol(text, nullptr, 10); }

int64_t ParseInt64(const char* text) {
  return text == nullptr ? 0 : std::strtoll(text, nullptr, 10);
}

int32_t ParseInt32(const char* text) { return static_cast<int32_t>(ParseLong(text)); }

int16_t ParseInt16(const char* text) { return static_cast<int16_t>(ParseLong(text)); }

void CopyOut(char* dst, const std::string& text) {
  const size_t kept = std::min(text.size(), kTextLimit);
  std::memcpy(dst, text.data(), kept);
  dst[kept] = '\0';
}

bool CopyBounded(char* dst, const char* src, int size) {
  if (size < 1) return false;
  const size_t limit = static_cast<size_t>(size) - 1;
  const size_t n = strnlen(src, limit + 1);
  const size_t kept = n > limit ? limit : n;
  std::memcpy(dst, src, kept);
  dst[kept] = '\0';
  return n <= limit;
}

}  // namespace tovak
