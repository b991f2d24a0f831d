// explain: what a status the tool printed means and where it is described.
#include <climits>
#include <string>
#include <vector>

#include "command.h"
#include "status_text.h"

namespace tovak::cli {
namespace {

void RunExplain(const Args& args, const std::string&, Report& report) {
  const int status =
      static_cast<int>(ParseInteger(args.Positional(0, "STATUS"), "STATUS", INT_MIN, INT_MAX));
  report.Add("status", "status", int64_t{status});
  report.Add("meaning", "meaning", std::string(tooling::StatusText(status)));
  report.Add("docs", "described in", std::string("docs/api.md#status-codes"));
}

}  // namespace

void AddExplainCommand(std::vector<Command>& commands) {
  commands.push_back(
      {"explain", "meaning of a status the tool printed", "explain STATUS\n", {}, &RunExplain});
}

}  // namespace tovak::cli
