#include "config/config_file.h"

#include <sys/stat.h>

#include <cstdlib>
#include <sstream>

namespace tovak::config {
namespace {

std::string Trim(const std::string& text) {
  const char* blanks = " \t\r";
  const size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string::npos) return "";
  const size_t end = text.find_last_not_of(blanks);
  return text.substr(begin, end - begin + 1);
}

bool IsFile(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::string UserConfigFile() {
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && xdg[0] != '\0') {
    return std::string(xdg) + "/tovak/tovak.conf";
  }
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0') {
    return std::string(home) + "/.config/tovak/tovak.conf";
  }
  return "";
}

}  // namespace

ParsedConfig ParseConfig(const std::string& text) {
  ParsedConfig parsed;
  std::istringstream lines(text);
  std::string line;
  int number = 0;
  while (std::getline(lines, line)) {
    ++number;
    const std::string content = Trim(line);
    if (content.empty() || content[0] == '#') continue;
    const size_t equals = content.find('=');
    const std::string key = equals == std::string::npos ? "" : Trim(content.substr(0, equals));
    if (key.empty()) {
      parsed.malformedLines.push_back(number);
      continue;
    }
    if (parsed.values.count(key) != 0) parsed.repeatedKeys.emplace_back(number, key);
    parsed.values[key] = Trim(content.substr(equals + 1));
  }
  return parsed;
}

std::string FindConfigFile() {
  if (const char* explicitPath = std::getenv("TOVAK_CONFIG");
      explicitPath != nullptr && explicitPath[0] != '\0') {
    return explicitPath;
  }
  const std::string user = UserConfigFile();
  if (!user.empty() && IsFile(user)) return user;
  const std::string system = "/etc/tovak/tovak.conf";
  if (IsFile(system)) return system;
  return "";
}

}  // namespace tovak::config
