// Command line of the tovak tool: a command, positional arguments and
// --options (--name=value or --name value; flags take no value).
#ifndef TOVAK_TOOLS_ARGS_H_
#define TOVAK_TOOLS_ARGS_H_

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace tovak::cli {

// A mistake in the command line; the message says what.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct OptionSpec {
  std::set<std::string> valued;  // options that take a value
  std::set<std::string> flags;   // options that take none
};

class Args {
 public:
  // Splits argv (without the program name) into positionals and options.
  // Options the command does not take are refused.
  static Args Parse(const std::vector<std::string>& argv, const OptionSpec& spec);

  const std::vector<std::string>& positionals() const { return positionals_; }
  bool Flag(const std::string& name) const { return flags_.count(name) != 0; }
  std::optional<std::string> Value(const std::string& name) const;
  std::string Text(const std::string& name, const std::string& fallback) const;
  // The option's value within [min, max], or fallback when it is absent.
  int64_t Integer(const std::string& name, int64_t fallback, int64_t min = INT64_MIN,
                  int64_t max = INT64_MAX) const;

  // Positional i, which must exist; what names it in messages.
  const std::string& Positional(size_t i, const char* what) const;

 private:
  std::vector<std::string> positionals_;
  std::set<std::string> flags_;
  std::map<std::string, std::string> values_;
};

// A decimal integer within [min, max]; what names it in the message.
int64_t ParseInteger(const std::string& text, const char* what, int64_t min, int64_t max);

// Positional i as SHOT, in [0, 4294967295].
unsigned int ShotArg(const Args& args, size_t i);
// Positional i as SUBSHOT, in [0, 65535] (the parameter and settings lookups).
unsigned short SubShotArg(const Args& args, size_t i);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_ARGS_H_
