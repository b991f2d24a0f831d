#include "tovak/param_set.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace tovak::paramset {
namespace {

std::string TextOrEmpty(const char* text) { return text == nullptr ? std::string() : text; }

// Copies text into dst, NUL-terminated within size bytes (cut when longer).
// A buffer that is null or has no room for the NUL is left alone.
void CopyCut(char* dst, int size, const std::string& text) {
  if (dst == nullptr || size < 1) return;
  const size_t room = static_cast<size_t>(size) - 1;
  const size_t kept = text.size() < room ? text.size() : room;
  std::memcpy(dst, text.data(), kept);
  dst[kept] = '\0';
}

template <class T>
std::string Decimal(const char* format, T value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

}  // namespace
}  // namespace tovak::paramset

using tovak::paramset::CopyCut;
using tovak::paramset::Decimal;
using tovak::paramset::TextOrEmpty;

CParamSet::CParamSet() = default;
CParamSet::CParamSet(const CParamSet&) = default;
CParamSet& CParamSet::operator=(const CParamSet&) = default;
CParamSet::~CParamSet() = default;

void CParamSet::AddParam(const char* name, unsigned int value) {
  entries_.push_back({TextOrEmpty(name), Decimal("%u", value), kTovakParamUInt});
}

void CParamSet::AddParam(const char* name, int value) {
  entries_.push_back({TextOrEmpty(name), Decimal("%d", value), kTovakParamInt});
}

void CParamSet::AddParam(const char* name, const char* value) {
  entries_.push_back({TextOrEmpty(name), TextOrEmpty(value), kTovakParamText});
}

void CParamSet::AddParam(const char* name, const char* value, int tag) {
  entries_.push_back({TextOrEmpty(name), TextOrEmpty(value), tag});
}

void CParamSet::AddParam(const char* name, long value) {
  entries_.push_back({TextOrEmpty(name), Decimal("%ld", value), kTovakParamLong});
}

void CParamSet::AddParamTime(const char* name, long value) {
  entries_.push_back({TextOrEmpty(name), Decimal("%ld", value), kTovakParamTime});
}

int CParamSet::GetParamCount() const { return static_cast<int>(entries_.size()); }

int CParamSet::GetParam(int index, char* name, int nameSize, char* value, int valueSize,
                        int* tag) const {
  if (index < 0 || static_cast<size_t>(index) >= entries_.size()) return -1;
  const Entry& entry = entries_[static_cast<size_t>(index)];
  CopyCut(name, nameSize, entry.name);
  CopyCut(value, valueSize, entry.value);
  if (tag != nullptr) *tag = entry.tag;
  return 0;
}
