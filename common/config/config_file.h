// The library's configuration file: KEY=VALUE lines.
#ifndef TOVAK_CONFIG_CONFIG_FILE_H_
#define TOVAK_CONFIG_CONFIG_FILE_H_

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tovak::config {

struct ParsedConfig {
  std::map<std::string, std::string> values;
  std::vector<int> malformedLines;  // 1-based numbers of skipped lines
  // 1-based number and key of each line whose key an earlier line gave.
  std::vector<std::pair<int, std::string>> repeatedKeys;
};

// Parses KEY=VALUE lines. Blank lines and lines whose first non-blank
// character is '#' are ignored; blanks and tabs around keys and values are
// dropped; a later line overrides an earlier one. A line without '=' or with
// an empty key is skipped and reported.
ParsedConfig ParseConfig(const std::string& text);

// The configuration file to read: $TOVAK_CONFIG when set, else the first of
// $XDG_CONFIG_HOME/tovak/tovak.conf (or ~/.config/tovak/tovak.conf) and
// /etc/tovak/tovak.conf that exists; empty when there is none.
std::string FindConfigFile();

}  // namespace tovak::config

#endif  // TOVAK_CONFIG_CONFIG_FILE_H_
