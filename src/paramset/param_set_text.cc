// The text form of a parameter list, as the remote server sends it:
//
//   CParamSet 1 <entry count>\n
//   <tag> <name> <value>\n          (one line per entry, in list order)
//
// Names and values are percent-encoded: every byte outside the printable
// ASCII range 0x21..0x7E, and '%' itself, is written as '%' and two upper-case
// hex digits. The form is therefore plain ASCII without blanks inside a
// field, and any name or value round-trips exactly.
#include <charconv>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tovak/param_set.h"

namespace tovak::paramset {
namespace {

constexpr std::string_view kHeader = "CParamSet 1 ";
constexpr char kHex[] = "0123456789ABCDEF";

bool NeedsEscape(unsigned char c) { return c < 0x21 || c > 0x7E || c == '%'; }

void AppendEncoded(std::string& out, const std::string& text) {
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (NeedsEscape(c)) {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 0x0F];
    } else {
      out += ch;
    }
  }
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Decodes one field; false when it holds a raw byte that the writer escapes
// (other than '%' starting an escape), a short escape, or an escaped NUL.
bool Decode(std::string_view field, std::string& out) {
  out.clear();
  for (size_t i = 0; i < field.size(); ++i) {
    const auto c = static_cast<unsigned char>(field[i]);
    if (c != '%') {
      if (NeedsEscape(c)) return false;
      out += field[i];
      continue;
    }
    if (field.size() - i < 3) return false;
    const int high = HexValue(field[i + 1]);
    const int low = HexValue(field[i + 2]);
    if (high < 0 || low < 0 || (high == 0 && low == 0)) return false;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return true;
}

template <class Int>
bool ParseDecimal(std::string_view text, Int& value) {
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, value);
  return ec == std::errc() && ptr == end;
}

// Splits off the text up to the next separator; false when there is none.
bool TakeUntil(std::string_view& rest, char separator, std::string_view& field) {
  const size_t at = rest.find(separator);
  if (at == std::string_view::npos) return false;
  field = rest.substr(0, at);
  rest.remove_prefix(at + 1);
  return true;
}

}  // namespace
}  // namespace tovak::paramset

using tovak::paramset::AppendEncoded;
using tovak::paramset::Decode;
using tovak::paramset::kHeader;
using tovak::paramset::ParseDecimal;
using tovak::paramset::TakeUntil;

std::string CParamSet::GetString() const {
  std::string out(kHeader);
  out += std::to_string(entries_.size());
  out += '\n';
  for (const Entry& entry : entries_) {
    out += std::to_string(entry.tag);
    out += ' ';
    AppendEncoded(out, entry.name);
    out += ' ';
    AppendEncoded(out, entry.value);
    out += '\n';
  }
  return out;
}

int CParamSet::PutString(const char* text) {
  if (text == nullptr) return -1;
  std::string_view rest(text);
  if (rest.substr(0, kHeader.size()) != kHeader) return -1;
  rest.remove_prefix(kHeader.size());

  std::string_view field;
  size_t count = 0;
  if (!TakeUntil(rest, '\n', field) || !ParseDecimal(field, count)) return -1;

  std::vector<Entry> loaded;
  while (!rest.empty()) {
    std::string_view tag, name, value;
    Entry entry;
    if (!TakeUntil(rest, ' ', tag) || !TakeUntil(rest, ' ', name) ||
        !TakeUntil(rest, '\n', value) || !ParseDecimal(tag, entry.tag) ||
        !Decode(name, entry.name) || !Decode(value, entry.value)) {
      return -1;
    }
    loaded.push_back(std::move(entry));
  }
  if (loaded.size() != count) return -1;

  entries_.insert(entries_.end(), std::make_move_iterator(loaded.begin()),
                  std::make_move_iterator(loaded.end()));
  return 0;
}
