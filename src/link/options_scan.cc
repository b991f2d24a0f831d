#include "link/options_scan.h"

#include <cctype>
#include <cstring>

#include "access/state.h"
#include "tovak/tovak.h"

namespace tovak::link {
namespace {

bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

}  // namespace

std::string_view WordAt(std::string_view text, size_t pos) {
  while (pos < text.size() && IsSpace(text[pos])) ++pos;
  size_t end = pos;
  while (end < text.size() && !IsSpace(text[end])) ++end;
  return pos < end ? text.substr(pos, end - pos) : std::string_view();
}

void CopyWord(char* dst, std::string_view word) {
  if (!word.empty()) std::memcpy(dst, word.data(), word.size());
  dst[word.size()] = '\0';
}

size_t WholeWordsWithin(std::string_view text, size_t limit) {
  if (text.size() <= limit) return text.size();
  size_t end = limit;
  if (!IsSpace(text[end])) {
    while (end > 0 && !IsSpace(text[end - 1])) --end;
  }
  return end;
}

int ScanOptions(std::string_view text, OptionActions& actions) {
  int status = 0;
  size_t p = 0;
  while (p < text.size()) {
    const std::string_view word = WordAt(text, p);
    const size_t q = p + word.size();
    if (word == "PreSample") {
      const std::string_view value = WordAt(text, q + 1);
      actions.PreSample(value);
      p = q + value.size() + 2;
    } else if (word == "SampInterval") {
      const std::string_view value = WordAt(text, q + 1);
      actions.SampInterval(value);
      p = q + value.size() + 2;
    } else if (word == "ClkDTS") {
      const std::string_view kind = WordAt(text, q + 1);
      const size_t r = q + kind.size() + 2;
      const std::string_view name = WordAt(text, r);
      const size_t s = r + name.size() + 1;
      const std::string_view third = WordAt(text, s);
      actions.ClkDTS(kind, name, third);
      p = s + third.size() + 1;
    } else if (word == "notSupportedNow") {
      status = TOVAK_E_NOT_SUPPORTED;
      VerboseMessage("Not Supported DTS information.\n");
      p = q + 1;
    } else {
      p = q + 1;
    }
  }
  return status;
}

}  // namespace tovak::link
