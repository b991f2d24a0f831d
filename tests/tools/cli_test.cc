// The tovak tool against the demo experiment: outputs, exit codes, axis files.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// clang-format off
namespace {

struct Outcome { int exitCode; std::string out, err; };
using Args = std::vector<std::string>;

std::string Slurp(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// The first value after each label on the lines of human output, each followed by " ".
std::string Fields(const std::string& out, const Args& labels) {
  std::string joined;
  for (const std::string& label : labels) {
    const size_t at = ("\n" + out).find("\n" + label + "  ");
    std::string value = "<no " + label + ">";
    if (at != std::string::npos) std::istringstream(out.substr(at + label.size())) >> value;
    joined += value + " ";
  }
  return joined;
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(mkdtemp(dir_.data()), nullptr); }
  void TearDown() override { std::system(("rm -rf " + dir_).c_str()); }

  // Runs the tool with arguments (each quoted for the shell).
  Outcome Run(const Args& args) {
    std::string command = TOVAK_CLI;
    for (const std::string& a : args) command += " '" + a + "'";
    const int raw = std::system((command + " >" + dir_ + "/out 2>" + dir_ + "/err").c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(dir_ + "/out"), Slurp(dir_ + "/err")};
  }

  std::string dir_ = "/tmp/tovak-cli-XXXXXX";
};

TEST_F(CliTest, HumanOutputAndAxisFiles) {
  const Outcome link = Run({"link", "Magnetics", "120100", "1", "1", "3"});
  EXPECT_EQ(Fields(link.out, {"DTS kind", "trigger unit", "clock output", "clock source", "pre-samples",
                              "record length"}) + link.err, "FPGA-DTS fdts01 7 External 1000 2000000 ");
  EXPECT_EQ(Fields(Run({"count", "vdts01", "NONAME", "120100", "1"}).out,
                   {"parameters per channel", "module", "last channel"}), "40 DMOD0 8 ");
  // Trigger at -1 s, 1 us clock, 1000 pre-samples: sample 0 at -1.001 s.
  const std::string csv = dir_ + "/axis.csv", bin = dir_ + "/axis.bin";
  const Outcome axis = Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--samples", "3", "--axis", csv});
  EXPECT_EQ(Fields(axis.out, {"time of sample 1000 (trigger)"}), "-1 ");
  EXPECT_EQ(Slurp(csv), "sample,time_s\n1,-1.000999\n2,-1.0009980000000001\n3,-1.0009969999999999\n");
  // Internal 100 kHz clock, trigger at 0, 100 pre-samples: sample 1 at -990 us.
  Run({"timebase", "Bolometer", "120100", "1", "1", "1", "--single", "--samples", "4", "--axis", bin});
  std::vector<float> values(4), want(4);
  const std::string raw = Slurp(bin);
  ASSERT_EQ(raw.size(), sizeof(float) * 4);
  std::memcpy(values.data(), raw.data(), raw.size());
  for (int k = 0; k < 4; ++k) want[k] = static_cast<float>(-990000000LL + k * 10000000LL) / 999999995904.0f;
  EXPECT_EQ(values, want);
}

// Argument vectors of every kind: the tool answers or refuses with exit 0, 1 or 2 and says why, in the
// stream or file named; it never aborts.
TEST_F(CliTest, EveryArgumentVectorEndsInAnExitCodeAndAMessage) {
  struct Case { Args args; int exitCode; std::string stream, text; };
  auto timebase = [](Args more) {
    more.insert(more.begin(), {"timebase", "Magnetics", "120100", "1", "1", "3"});
    return more;
  };
  const Args link = {"link", "Magnetics", "120100", "1", "1", "3"};
  const std::string csv = dir_ + "/a.csv", full = dir_ + "/full.bin";
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  const std::vector<Case> cases = {
      {{"--json", "clk", "ECE", "120100", "1", "1", "2"}, 0, "out", R"("dts_kind":"VME")"},
      {{"--json", "clk", "ECE", "120100", "1", "1", "2"}, 0, "out",
       R"("clock_unit_kind":"CAMAC","clock_unit":"cdts01","clock_module":"DMOD0")"},
      {timebase({"--json"}), 0, "out",
       R"("period_s":9.9999999999999995e-07,"delay_sample":0,"delay_s":-1.0009999999999999)"},
      {{"--json", "params", "fdts01", "DMODSS0", "120100", "1", "7"}, 0, "out",
       R"({"name":"CardType","value":"DMODSS","type":"text"})"},
      {{"modules", "Magnetics", "120100", "1"}, 0, "out", "mag-pxi1  PXI6143\nmag-pxi2  PXI6133\n"},
      {{"--json", "settings", "Bolometer", "120100", "1"}, 0, "out", R"("modules":1)"},
      {{"link", "Spectroscopy", "120100", "1", "1", "1"}, 1, "err", "returned -53: not supported"},
      {{"timebase", "NoSuchDiag", "120100", "1", "1", "1"}, 1, "err", "-103: site or diagnostic unknown"},
      {{"link", "Magnetics", "120100"}, 2, "err", ""}, {{"link", "Magnetics", "x", "1", "1", "3"}, 2, "err", ""},
      {{"link", "Magnetics", "120100", "1", "1", "70000"}, 2, "err", ""},
      {{"link", "--bogus", "Magnetics"}, 2, "err", ""}, {timebase({"--axis", "a.txt"}), 2, "err", ""},
      {{"nonsense"}, 2, "err", ""},
      // Counts beyond the documented limit, write errors with the system's reason.
      {timebase({"--samples", "99999999999", "--axis", csv}), 2, "err", "268435456]"},
      {timebase({"--samples", "9223372036854775807"}), 2, "err", "268435456]"},
      {timebase({"--samples", "5", "--axis", full}), 1, "err", "No space left on device"},
      {timebase({"--axis", dir_ + "/none/a.csv"}), 1, "err", "No such file or directory"},
      // Each delay names its sample; --last moves the CSV's sample numbers.
      {timebase({"--json", "--samples", "2", "--axis", csv}), 0, "out", R"("delay_sample":1000,"delay_s":-1,)"},
      {timebase({"--samples", "10", "--last", "2000000", "--axis", csv}), 0, csv, "time_s\n1999991,0.99899"},
      // An external clock has no SampInterval option.
      {link, 0, "out", "sampling interval  none: no SampInterval option (external clock)"},
      {timebase({"--json"}), 0, "out", R"("samp_interval_ns":null)"},
      {{"cycle"}, 0, "out", "Internal (default: no --clock-source)"},
      {{"adjust", "--mode", "x"}, 2, "err", "--card and --mode are both needed"},
      {{"link", "Magnetics", "120100", "1", "1", "3", "9"}, 2, "err", "unexpected argument '9'"},
      {timebase({"--last", "-5"}), 2, "err", "--last: not an integer in [0,"},
      {{"--version"}, 0, "out", "tovak "}, {{"--server"}, 2, "err", "option --server needs a value"},
      {{"link", "NoSuchDiag", "120100", "1", "1", "1"}, 1, "err",
       "asked for diagnostic 'NoSuchDiag' shot 120100/1 channel 1,1 (see: tovak explain -103)"},
      {{"explain", "x"}, 2, "err", "STATUS: not an integer"},
      // Shots the shot log does not hold: answered, with a warning.
      {{"link", "Magnetics", "999999999", "1", "1", "3"}, 0, "err",
       "warning: shot 999999999 is newer than the newest shot recorded (120100)"},
      {{"count", "fdts01", "DMODSS0", "120100", "7"}, 0, "err", "warning: shot 120100 sub-shot 7 was never recorded"},
      // The setup database follows --server; a remote one is not asked, and the tool says so.
      {{"--server", "/tsu", "modules", "Magnetics", "120100", "1"}, 0, "out", "tsu-we1"},
      {{"--server", "grpc://[::1]:1/x", "settings", "Bolometer", "120100", "1"}, 0, "err",
       "from the databases the configuration names"}};
  for (const Case& c : cases) {
    const Outcome got = Run(c.args);
    const std::string where = c.stream == "out" ? got.out : c.stream == "err" ? got.err : Slurp(c.stream);
    EXPECT_EQ(got.exitCode, c.exitCode) << c.args[0] << " " << got.err;
    EXPECT_NE(where.find(c.text), std::string::npos) << c.text << " in:\n" << where;
  }
  EXPECT_EQ(WEXITSTATUS(std::system((std::string(TOVAK_SERVER) + " --help >/dev/null").c_str())), 0);
  setenv("KOVD_GRPC", "grpc://[::1]:1/x", 1);
  const Outcome configured = Run({"modules", "Magnetics", "120100", "1"});
  unsetenv("KOVD_GRPC");
  EXPECT_EQ(configured.exitCode, 0);
  EXPECT_NE(configured.err.find("not by the remote server KOVD_GRPC names"), std::string::npos);
  // Help for every command; hostile words: one of the three codes, a reason, no sanitizer report.
  for (const char* command : {"link", "clk", "cycle", "first-sample", "adjust", "timebase", "params", "count",
                              "modules", "channels", "settings", "explain"}) {
    const Outcome help = Run({command, "--help"});
    EXPECT_EQ(std::make_pair(help.exitCode, help.out.rfind(std::string("usage: tovak ") + command, 0)),
              std::make_pair(0, size_t{0})) << help.out;
    for (const Args& words : std::vector<Args>{{"--"}, {"", "", "", "", ""}, {"-1", "-1", "-1", "-1", "-1",
             "--last=-1"}, {"x", "4294967296", "65536", "1", "1", "--samples", "-1"}, {"--=", "--json"}}) {
      Args args = {command};
      args.insert(args.end(), words.begin(), words.end());
      const Outcome got = Run(args);
      EXPECT_TRUE(got.exitCode == 0 || ((got.exitCode == 1 || got.exitCode == 2) &&
                                        got.err.find("Sanitizer") == std::string::npos &&
                                        got.err.find("runtime error") == std::string::npos))
          << command << " " << got.exitCode << got.err;
    }
  }
}

}  // namespace
// clang-format on
