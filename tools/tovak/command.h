// The tool's commands: each reads its arguments, asks the library, and fills
// a report.
#ifndef TOVAK_TOOLS_COMMAND_H_
#define TOVAK_TOOLS_COMMAND_H_

#include <stdexcept>
#include <string>
#include <vector>

#include "args.h"
#include "report.h"

namespace tovak::cli {

// A lookup that answered a non-zero status.
struct LookupFailure {
  const char* function;
  int status;
  std::string asked;  // what was looked up, for the message; may be empty
};

// A command that could not do its work for a reason other than a lookup.
class RunError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Command {
  const char* name;
  const char* summary;  // one line for the command list
  const char* usage;    // the command's --help text
  OptionSpec options;   // beyond the global ones
  // Fills report; throws UsageError, LookupFailure or RunError.
  void (*run)(const Args& args, const std::string& server, Report& report);
  // The positional SHOT (SUBSHOT follows) the answer is for; -1: none.
  int shotAt = -1;
};

const std::vector<Command>& Commands();

// Options every command takes.
OptionSpec GlobalOptions();

// Whether a server name is a remote server's address (grpc://... and the like).
bool NamesRemoteServer(const std::string& server);

// Throws LookupFailure for a non-zero status; asked names what was looked up.
void Check(const char* function, int status, const std::string& asked = "");

// After an answer read from the databases: a warning on standard error when
// its shot is not in the shot log (newer than the newest recorded, or never
// recorded). Nothing when the site keeps no log or a remote server answered.
void WarnOfUnrecordedShot(const Command& command, const Args& args, const std::string& server);

// Command groups, defined beside their commands.
void AddLinkCommands(std::vector<Command>& commands);
void AddTimingCommands(std::vector<Command>& commands);
void AddParameterCommands(std::vector<Command>& commands);
void AddSettingsCommands(std::vector<Command>& commands);
void AddExplainCommand(std::vector<Command>& commands);
void AddDiagramCommand(std::vector<Command>& commands);  // with the Python package

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_COMMAND_H_
