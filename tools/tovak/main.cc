// tovak: timing information of recorded digitizer signals, at the terminal.
#include <cstdio>
#include <string>
#include <vector>

#include "command.h"
#include "status_text.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

constexpr char kGlobalUsage[] =
    "Global options (any command):\n"
    "  --server NAME   database server name (host[/site][::database]) or remote address\n"
    "                  (grpc://host:port/site, grpcs://...); default: INDEXSERVERNAME or "
    "KOVD_GRPC\n"
    "  --json          machine-readable output\n"
    "  --verbose       the library's diagnostic messages on standard error\n"
    "  --help          help of the command\n"
    "  --version       the tool's version\n"
    "Exit codes: 0 answered, 1 the lookup or the output failed, 2 the command line is wrong.\n";

void PrintCommandList(std::FILE* out) {
  std::fprintf(out, "usage: tovak COMMAND [ARGUMENTS] [OPTIONS]\n\nCommands:\n");
  for (const Command& c : Commands()) std::fprintf(out, "  %-13s %s\n", c.name, c.summary);
  std::fprintf(out, "\n%s\nRun 'tovak COMMAND --help' for the arguments of a command.\n",
               kGlobalUsage);
}

const Command* Find(const std::string& name) {
  for (const Command& c : Commands()) {
    if (name == c.name) return &c;
  }
  return nullptr;
}

OptionSpec Merge(OptionSpec a, const OptionSpec& b) {
  a.valued.insert(b.valued.begin(), b.valued.end());
  a.flags.insert(b.flags.begin(), b.flags.end());
  return a;
}

// Index of the command word: global options may stand before it.
size_t CommandIndex(const std::vector<std::string>& argv) {
  const OptionSpec global = GlobalOptions();
  for (size_t i = 0; i < argv.size(); ++i) {
    const std::string& word = argv[i];
    if (word.rfind("--", 0) != 0) return i;
    if (global.valued.count(word.substr(2)) != 0) ++i;  // its value follows
  }
  return argv.size();
}

// --server; a name with "://" names a remote server only under a known
// scheme, and is refused rather than taken as a database server name.
std::string ServerName(const Args& args) {
  std::string name = args.Text("server", "");
  if (name.find("://") != std::string::npos && !NamesRemoteServer(name)) {
    throw UsageError("--server " + name + ": unknown scheme (grpc://, grpcs://, http://, " +
                     "https:// name a remote server)");
  }
  return name;
}

// The positionals a command takes: the words of its usage line before the
// first option ("link DIAG SHOT ..." takes 5; "-o FILE" counts).
size_t PositionalCount(const Command& command) {
  const std::string usage = command.usage;
  size_t count = 0, at = usage.find(' ');
  while (at != std::string::npos && at < usage.find('\n')) {
    const size_t start = usage.find_first_not_of(' ', at);
    if (start == std::string::npos || usage[start] == '[' || usage[start] == '\n' ||
        usage.compare(start, 2, "--") == 0) {
      break;
    }
    ++count;
    at = usage.find(' ', start);
  }
  return count;
}

// A command line without a command: the version, the command list, or what
// is wrong with its options.
int RunWithoutCommand(const std::vector<std::string>& argv) {
  const std::string first = argv.empty() ? "" : argv[0];
  if (first == "--version") {
    std::printf("tovak %s\n", TOVAK_VERSION);
    return 0;
  }
  const bool wantsHelp = first == "--help" || first == "-h" || first == "help";
  const OptionSpec global = GlobalOptions();
  for (size_t i = 0; i < argv.size() && !wantsHelp; ++i) {
    const std::string name = argv[i].substr(2);
    const bool valued = global.valued.count(name) != 0;
    if (global.flags.count(name) != 0) continue;
    if (valued && i + 1 < argv.size()) {
      ++i;  // its value
      continue;
    }
    std::fprintf(stderr, valued ? "tovak: option %s needs a value\n" : "tovak: unknown option %s\n",
                 argv[i].c_str());
    return 2;
  }
  PrintCommandList(wantsHelp ? stdout : stderr);
  return wantsHelp ? 0 : 2;
}

int Run(std::vector<std::string> argv) {
  const size_t at = CommandIndex(argv);
  if (at == argv.size() || (!argv.empty() && argv[0] == "--version")) {
    return RunWithoutCommand(argv);
  }
  if (argv[0] == "-h" || argv[0] == "help") return RunWithoutCommand(argv);
  const std::string name = argv[at];
  argv.erase(argv.begin() + static_cast<std::ptrdiff_t>(at));
  const Command* command = Find(name);
  if (command == nullptr) {
    std::fprintf(stderr, "tovak: unknown command '%s'\n\n", name.c_str());
    PrintCommandList(stderr);
    return 2;
  }
  try {
    const Args args = Args::Parse(argv, Merge(GlobalOptions(), command->options));
    if (args.Flag("help")) {
      std::printf("usage: tovak %s\n\n%s", command->usage, kGlobalUsage);
      return 0;
    }
    if (args.positionals().size() > PositionalCount(*command)) {
      throw UsageError("unexpected argument '" + args.positionals()[PositionalCount(*command)] +
                       "'");
    }
    set_tovak_t_verbose(args.Flag("verbose"));
    Report report;
    const std::string server = ServerName(args);
    // One database connection for the lookups and the shot-log note.
    if (!NamesRemoteServer(server)) IndexNoClosing(1);
    command->run(args, server, report);
    if (args.Flag("json")) {
      report.PrintJson(stdout);
    } else {
      report.PrintText(stdout);
    }
    WarnOfUnrecordedShot(*command, args, server);
    return 0;
  } catch (const UsageError& e) {
    std::fprintf(stderr, "tovak %s: %s\nusage: tovak %s\n", command->name, e.what(),
                 command->usage);
    return 2;
  } catch (const LookupFailure& f) {
    std::fprintf(stderr, "tovak %s: %s returned %d: %s%s%s (see: tovak explain %d)\n",
                 command->name, f.function, f.status, tooling::StatusText(f.status),
                 f.asked.empty() ? "" : "; asked for ", f.asked.c_str(), f.status);
    // The statuses whose reason the library keeps; under --verbose it has
    // written the reason already.
    const bool kept = f.status == TOVAK_E_INDEX_OPEN || f.status == TOVAK_E_SETUP_OPEN ||
                      f.status == TOVAK_E_NO_REMOTE;
    if (kept && !is_verbose() && *tovakLastFailure() != '\0') {
      std::fprintf(stderr, "tovak %s: reason: %s\n", command->name, tovakLastFailure());
    }
    return 1;
  } catch (const RunError& e) {
    std::fprintf(stderr, "tovak %s: %s\n", command->name, e.what());
    return 1;
  }
}

}  // namespace

bool NamesRemoteServer(const std::string& server) {
  return cCheckV2scheme(server.c_str(), nullptr) != server.c_str();
}

OptionSpec GlobalOptions() { return {{"server"}, {"json", "verbose", "help"}}; }

void Check(const char* function, int status, const std::string& asked) {
  if (status != 0) throw LookupFailure{function, status, asked};
}

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = [] {
    std::vector<Command> all;
    AddLinkCommands(all);
    AddTimingCommands(all);
    AddParameterCommands(all);
    AddSettingsCommands(all);
    AddExplainCommand(all);
#ifdef TOVAK_PYTHON_EXECUTABLE
    AddDiagramCommand(all);
#endif
    return all;
  }();
  return commands;
}

}  // namespace tovak::cli

int main(int argc, char** argv) {
  return tovak::cli::Run(std::vector<std::string>(argv + 1, argv + argc));
}
