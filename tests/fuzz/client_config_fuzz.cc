// The library's configuration file. Whatever the text, every kept key is
// non-empty and free of the characters that delimit it, values are trimmed,
// skipped lines are reported in order, and writing the settings back as
// KEY=VALUE lines reads to the same settings with nothing skipped.
#include <string>

#include "config/config_file.h"
#include "fuzz_support.h"

namespace {

bool Trimmed(const std::string& text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  return text.empty() || (!blank(text.front()) && !blank(text.back()));
}

size_t LineCount(const std::string& text) {
  size_t lines = 0;
  for (char c : text) lines += c == '\n';
  return lines + (!text.empty() && text.back() != '\n');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = tovak::fuzz::Text(data, size);
  const tovak::config::ParsedConfig parsed = tovak::config::ParseConfig(text);

  int previous = 0;
  for (int line : parsed.malformedLines) {
    FUZZ_CHECK(line > previous && static_cast<size_t>(line) <= LineCount(text));
    previous = line;
  }

  std::string written;
  for (const auto& [key, value] : parsed.values) {
    FUZZ_CHECK(!key.empty() && key[0] != '#' && Trimmed(key));
    FUZZ_CHECK(key.find_first_of("=\n") == std::string::npos);
    FUZZ_CHECK(Trimmed(value) && value.find('\n') == std::string::npos);
    written += key + "=" + value + "\n";
  }
  const tovak::config::ParsedConfig reread = tovak::config::ParseConfig(written);
  FUZZ_CHECK(reread.malformedLines.empty());
  FUZZ_CHECK(reread.values == parsed.values);
  return 0;
}
