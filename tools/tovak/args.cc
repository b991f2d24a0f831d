#include "args.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace tovak::cli {

Args Args::Parse(const std::vector<std::string>& argv, const OptionSpec& spec) {
  Args args;
  bool onlyPositionals = false;
  for (size_t i = 0; i < argv.size(); ++i) {
    const std::string& word = argv[i];
    if (onlyPositionals || word.size() < 2 || word.compare(0, 2, "--") != 0) {
      args.positionals_.push_back(word);
      continue;
    }
    if (word == "--") {
      onlyPositionals = true;
      continue;
    }
    std::string name = word.substr(2);
    std::optional<std::string> value;
    if (const size_t equals = name.find('='); equals != std::string::npos) {
      value = name.substr(equals + 1);
      name.resize(equals);
    }
    if (spec.flags.count(name) != 0) {
      if (value) throw UsageError("option --" + name + " takes no value");
      args.flags_.insert(name);
    } else if (spec.valued.count(name) != 0) {
      if (!value) {
        if (i + 1 >= argv.size()) throw UsageError("option --" + name + " needs a value");
        value = argv[++i];
      }
      args.values_[name] = *value;
    } else {
      throw UsageError("unknown option --" + name);
    }
  }
  return args;
}

std::optional<std::string> Args::Value(const std::string& name) const {
  auto it = values_.find(name);
  if (it == values_.end()) return std::nullopt;
  return it->second;
}

std::string Args::Text(const std::string& name, const std::string& fallback) const {
  return Value(name).value_or(fallback);
}

int64_t Args::Integer(const std::string& name, int64_t fallback, int64_t min, int64_t max) const {
  const std::optional<std::string> value = Value(name);
  if (!value) return fallback;
  return ParseInteger(*value, ("--" + name).c_str(), min, max);
}

const std::string& Args::Positional(size_t i, const char* what) const {
  if (i >= positionals_.size()) throw UsageError(std::string("missing ") + what);
  return positionals_[i];
}

int64_t ParseInteger(const std::string& text, const char* what, int64_t min, int64_t max) {
  errno = 0;
  char* end = nullptr;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno == ERANGE || value < min || value > max) {
    throw UsageError(std::string(what) + ": not an integer in [" + std::to_string(min) + ", " +
                     std::to_string(max) + "]: '" + text + "'");
  }
  return value;
}

unsigned int ShotArg(const Args& args, size_t i) {
  return static_cast<unsigned>(ParseInteger(args.Positional(i, "SHOT"), "SHOT", 0, UINT_MAX));
}
unsigned short SubShotArg(const Args& args, size_t i) {
  return static_cast<unsigned short>(
      ParseInteger(args.Positional(i, "SUBSHOT"), "SUBSHOT", 0, USHRT_MAX));
}

}  // namespace tovak::cli
