// Every lookup with a remote form, over the demo experiment, answered once by
// direct database access and once through a real tovak-server: statuses and
// outputs must agree byte for byte, except where the library's remote front
// ends are defined to differ from direct access:
//  - a text output is delivered only on success: on a failure, texts that
//    direct access wrote stay untouched;
//  - on success every text is delivered, so a text that direct access left
//    untouched holds the empty text;
//  - the time base writes nothing on a failure, while direct access may have
//    updated the sampling interval by then.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "remote/server_process.h"
#include "remote/test_files.h"

namespace tovak::testing {
namespace {

struct Call {
  std::string what;    // the call and its status
  std::string op;      // the function's name
  int status = 0;
  std::vector<std::pair<std::string, std::string>> outputs;
};

Call ParseLine(const std::string& line) {
  Call call;
  std::istringstream fields(line);
  std::getline(fields, call.what, '\t');
  call.op = call.what.substr(0, call.what.find('('));
  const size_t arrow = call.what.rfind(" -> ");
  call.status = arrow == std::string::npos ? 0 : std::atoi(call.what.c_str() + arrow + 4);
  std::string field;
  while (std::getline(fields, field, '\t')) {
    const size_t equals = field.find('=');
    call.outputs.emplace_back(field.substr(0, equals), field.substr(equals + 1));
  }
  return call;
}

struct Markers {
  std::string untouched, emptied;
};

bool IsTextLookup(const std::string& op) {
  return op == "tovakGetDTSinfox" || op == "tovakGetDTSinfoCLK" ||
         op == "tovakGetDTSParametersCount";
}

// Whether remote output b may stand for direct output a of call.
bool Agree(const Call& call, const std::string& name, const std::string& a,
           const std::string& b, const Markers& m) {
  if (a == b) return true;
  const bool text = a.find('#') != std::string::npos;
  if (text && IsTextLookup(call.op)) {
    if (call.status != 0) return b == m.untouched;
    return a == m.untouched && b == m.emptied;
  }
  return call.op == "tovakGetDTSdatax2_ex" && call.status != 0 && name == "interval";
}

std::string RunProbe(const TempDir& dir, const std::string& site, const std::string& remote) {
  const std::string out = dir.File(site + (remote.empty() ? ".direct" : ".remote"));
  const std::string env = "env -u KOVD_GRPC TOVAK_CONFIG=/dev/null " +
                          (remote.empty() ? std::string() : "KOVD_GRPC=" + remote + " ");
  EXPECT_TRUE(Run(env + TOVAK_PROBE_BINARY + " " + site + " > " + out))
      << "probe failed for " << site << " " << remote;
  return ReadFile(out);
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

Markers ReadMarkers(const std::string& header) {
  Markers m;
  const size_t u = header.find("untouched="), e = header.find(" emptied=");
  m.untouched = header.substr(u + 10, e - u - 10);
  m.emptied = header.substr(e + 9);
  return m;
}

class DifferentialTest : public ::testing::TestWithParam<const char*> {};

TEST_P(DifferentialTest, RemoteAnswersAsDirectAccess) {
  const std::string site = GetParam();
  TempDir dir;
  ServerProcess server(dir, "server", ServerConfigText(0, 2, "anonymous = allow\n"));
  ASSERT_TRUE(server.Start()) << server.Log();

  const std::vector<std::string> direct = Lines(RunProbe(dir, site, ""));
  const std::vector<std::string> remote = Lines(RunProbe(dir, site, server.Address(site)));
  ASSERT_FALSE(direct.empty());
  ASSERT_EQ(direct.size(), remote.size());
  ASSERT_EQ(direct[0], remote[0]);
  const Markers markers = ReadMarkers(direct[0]);

  std::map<std::string, int> successes;
  int mismatches = 0;
  for (size_t i = 1; i < direct.size() && mismatches < 10; ++i) {
    if (direct[i] == remote[i]) {
      const Call call = ParseLine(direct[i]);
      if (call.status == 0) ++successes[call.op];
      continue;
    }
    const Call a = ParseLine(direct[i]), b = ParseLine(remote[i]);
    bool agree = a.what == b.what && a.outputs.size() == b.outputs.size();
    for (size_t k = 0; agree && k < a.outputs.size(); ++k) {
      agree = a.outputs[k].first == b.outputs[k].first &&
              Agree(a, a.outputs[k].first, a.outputs[k].second, b.outputs[k].second, markers);
    }
    if (a.status == 0) ++successes[a.op];
    if (!agree) {
      ++mismatches;
      ADD_FAILURE() << "direct: " << direct[i] << "\nremote: " << remote[i];
    }
  }
  // Every lookup answered some requests successfully: the comparison is not
  // one of failures only.
  for (const char* op : {"tovakGetDTSinfox", "tovakGetDTSinfoCLK", "tovakSamplingCycle",
                         "tovakSampling0Timing", "tovakGetDTSdatax2_ex", "getDTSParameters",
                         "tovakGetDTSParameters_s", "tovakGetDTSParameters",
                         "tovakGetDTSParameters2", "tovakGetDTSParametersCount"}) {
    EXPECT_GT(successes[op], 0) << op << " never succeeded for site " << site;
  }
  EXPECT_EQ(server.Stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(DemoSites, DifferentialTest, ::testing::Values("ubo", "tsu", "odd"));

}  // namespace
}  // namespace tovak::testing
