// diagram: a timing diagram of a diagnostic, drawn by the Python package
// (python3 -m tovak.diagram), which this command runs in its place.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"

namespace tovak::cli {
namespace {

// FILE from --output FILE or -o FILE (which reads as two positionals).
std::string OutputFile(const Args& args) {
  if (std::optional<std::string> file = args.Value("output")) return *file;
  const std::vector<std::string>& words = args.positionals();
  if (words.size() == 5 && words[3] == "-o") return words[4];
  throw UsageError("the output file is missing (-o FILE.png or FILE.svg)");
}

void RunDiagram(const Args& args, const std::string& server, Report&) {
  const std::string diag = args.Positional(0, "DIAG");
  ShotArg(args, 1);
  SubShotArg(args, 2);
  std::vector<std::string> words = {
      TOVAK_PYTHON_EXECUTABLE,       "-m", "tovak.diagram", diag, args.Positional(1, "SHOT"),
      args.Positional(2, "SUBSHOT"), "-o", OutputFile(args)};
  if (!server.empty()) words.insert(words.end(), {"--server", server});
  if (std::optional<std::string> setup = args.Value("setup-server")) {
    words.insert(words.end(), {"--setup-server", *setup});
  }
  if (args.Flag("verbose")) words.push_back("--verbose");
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  throw RunError("cannot run " + words[0] + ": " + std::strerror(errno));
}

}  // namespace

void AddDiagramCommand(std::vector<Command>& commands) {
  commands.push_back({"diagram",
                      "timing diagram of a diagnostic's channels in a shot",
                      "diagram DIAG SHOT SUBSHOT -o FILE.png|FILE.svg [--setup-server NAME]\n"
                      "  Triggers, clocks and recorded windows of every channel on one time\n"
                      "  axis, channels with the same timing set-up grouped (docs/python.md).\n",
                      {{"output", "setup-server"}, {}},
                      &RunDiagram});
}

}  // namespace tovak::cli
