// CtovakDescriptor loads the configuration file; CClientEnvironment answers
// from the process environment first and from the file second.
#include "tovak/client_env.h"

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "config/config_file.h"
#include "tovak/tovak.h"

namespace tovak::config {
namespace {

struct Configuration {
  std::string loadedPath;  // file behind fileValues; empty: none read yet
  bool loaded = false;
  std::map<std::string, std::string> fileValues;
  // Every text handed out, never freed: callers may keep the pointers for
  // the life of the process.
  std::deque<std::string> handedOut;
  std::map<std::string, const char*> lastHandedOut;
};

Configuration& State() {
  static Configuration* state = new Configuration;  // lives as long as the process
  return *state;
}

// A stable copy of value for key: the same pointer while the value stays the
// same, a new one when it changes.
const char* HandOut(const std::string& key, const std::string& value) {
  Configuration& state = State();
  auto it = state.lastHandedOut.find(key);
  if (it != state.lastHandedOut.end() && value == it->second) return it->second;
  state.handedOut.push_back(value);
  const char* text = state.handedOut.back().c_str();
  state.lastHandedOut[key] = text;
  return text;
}

void LoadFile(const std::string& path) {
  Configuration& state = State();
  state.loaded = true;
  state.loadedPath = path;
  state.fileValues.clear();
  if (path.empty()) return;
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    if (is_verbose()) std::fprintf(stderr, "tovak: cannot read configuration %s\n", path.c_str());
    return;
  }
  std::ostringstream text;
  text << in.rdbuf();
  tovak::config::ParsedConfig parsed = tovak::config::ParseConfig(text.str());
  if (is_verbose()) {
    for (int line : parsed.malformedLines) {
      std::fprintf(stderr, "tovak: %s:%d: not KEY=VALUE, skipped\n", path.c_str(), line);
    }
  }
  state.fileValues = std::move(parsed.values);
}

}  // namespace
}  // namespace tovak::config

using tovak::config::Configuration;
using tovak::config::HandOut;
using tovak::config::LoadFile;
using tovak::config::State;

void CtovakDescriptor::SetEnv() {
  const std::string path = tovak::config::FindConfigFile();
  Configuration& state = State();
  if (!state.loaded || path != state.loadedPath) LoadFile(path);
}

const char* CClientEnvironment::getEnv(const char* key) {
  if (key == nullptr || key[0] == '\0') return nullptr;
  if (const char* fromEnvironment = std::getenv(key)) return HandOut(key, fromEnvironment);
  const Configuration& state = State();
  auto it = state.fileValues.find(key);
  if (it == state.fileValues.end()) return nullptr;
  return HandOut(key, it->second);
}
