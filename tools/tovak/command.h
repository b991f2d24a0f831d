// The tool's commands: each reads its arguments, asks the library, and fills
// a report.
#ifndef TOVAK_TOOLS_COMMAND_H_
#define TOVAK_TOOLS_COMMAND_H_

#include <string>
#include <vector>

#include "args.h"
#include "report.h"

namespace tovak::cli {

// A lookup that answered a non-zero status.
struct LookupFailure {
  const char* function;
  int status;
};

struct Command {
  const char* name;
  const char* summary;  // one line for the command list
  const char* usage;    // the command's --help text
  OptionSpec options;   // beyond the global ones
  // Fills report; throws UsageError or LookupFailure.
  void (*run)(const Args& args, const std::string& server, Report& report);
};

const std::vector<Command>& Commands();

// Options every command takes.
OptionSpec GlobalOptions();

// Throws LookupFailure for a non-zero status.
void Check(const char* function, int status);

// Command groups, defined beside their commands.
void AddLinkCommands(std::vector<Command>& commands);
void AddTimingCommands(std::vector<Command>& commands);
void AddParameterCommands(std::vector<Command>& commands);
void AddSettingsCommands(std::vector<Command>& commands);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_COMMAND_H_
