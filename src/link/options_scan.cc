#include "link/options_scan.h"

#include <cctype>
#include <cstring>

#include "access/state.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

// Reads the words of an options text of which only the first
// kOptionsTextLimit characters are held. A word that reaches past them
// marks the text as cut there.
class HeldWords {
 public:
  explicit HeldWords(std::string_view text) : text_(text) {}

  std::string_view At(size_t pos) {
    const std::string_view word = WordAt(text_, pos);
    if (!word.empty() && EndOf(word) > kOptionsTextLimit) cut_ = true;
    return word;
  }
  bool cut() const { return cut_; }

 private:
  size_t EndOf(std::string_view word) const {
    return static_cast<size_t>(word.data() - text_.data()) + word.size();
  }

  std::string_view text_;
  bool cut_ = false;
};

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

int ScanOptions(std::string_view text, OptionActions& actions) {
  HeldWords words(text);
  int status = 0;
  size_t p = 0;
  while (p < text.size()) {
    const std::string_view word = words.At(p);
    if (word.empty()) break;  // white space to the end
    const size_t q = p + word.size();
    if (word == "PreSample" || word == "SampInterval") {
      const std::string_view value = words.At(q + 1);
      if (words.cut()) break;
      if (word == "PreSample") {
        actions.PreSample(value);
      } else {
        actions.SampInterval(value);
      }
      p = q + value.size() + 2;
    } else if (word == "ClkDTS") {
      const std::string_view kind = words.At(q + 1);
      const size_t r = q + kind.size() + 2;
      const std::string_view name = words.At(r);
      const size_t s = r + name.size() + 1;
      const std::string_view third = words.At(s);
      if (words.cut()) break;
      if (!name.empty()) actions.ClkDTS(kind, name, third);
      p = s + third.size() + 1;
    } else if (words.cut()) {
      break;
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

}  // namespace tovak
