// The tovak tool against the demo experiment: outputs, exit codes, axis files.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Outcome {
  int exitCode;
  std::string out, err;
};

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/tovak-cli-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
  }
  void TearDown() override { std::system(("rm -rf " + dir_).c_str()); }

  // Runs the tool with arguments (each quoted for the shell).
  Outcome Run(const std::vector<std::string>& args) {
    std::string command = TOVAK_CLI;
    for (const std::string& a : args) command += " '" + a + "'";
    command += " >" + dir_ + "/out 2>" + dir_ + "/err";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(dir_ + "/out"), Slurp(dir_ + "/err")};
  }

  std::string dir_;
};

// The first value after label on a line of human output.
std::string Field(const std::string& out, const std::string& label) {
  std::istringstream lines(out);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.rfind(label + "  ", 0) == 0) {
      std::istringstream rest(line.substr(label.size()));
      std::string value;
      rest >> value;
      return value;
    }
  }
  return "<no " + label + ">";
}

TEST_F(CliTest, LinkOfAnExternallyClockedChannel) {
  const Outcome human = Run({"link", "Magnetics", "120100", "1", "1", "3"});
  ASSERT_EQ(human.exitCode, 0) << human.err;
  EXPECT_EQ(Field(human.out, "DTS kind"), "FPGA-DTS");
  EXPECT_EQ(Field(human.out, "trigger unit"), "fdts01");
  EXPECT_EQ(Field(human.out, "clock output"), "7");
  EXPECT_EQ(Field(human.out, "clock source"), "External");
  EXPECT_EQ(Field(human.out, "pre-samples"), "1000");
  EXPECT_EQ(Field(human.out, "record length"), "2000000");

  const Outcome json = Run({"--json", "clk", "ECE", "120100", "1", "1", "2"});
  ASSERT_EQ(json.exitCode, 0) << json.err;
  EXPECT_NE(json.out.find("\"dts_kind\":\"VME\""), std::string::npos) << json.out;
  EXPECT_NE(json.out.find("\"clock_unit_kind\":\"CAMAC\",\"clock_unit\":\"cdts01\","
                          "\"clock_module\":\"DMOD0\""),
            std::string::npos)
      << json.out;
}

TEST_F(CliTest, TimeBaseWithAxisFiles) {
  // Trigger at -1 s, 1 us clock, 1000 pre-samples: sample 0 at -1.001 s.
  const Outcome plain = Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--json"});
  ASSERT_EQ(plain.exitCode, 0) << plain.err;
  EXPECT_NE(plain.out.find("\"period_s\":9.9999999999999995e-07,\"delay_sample\":0,"
                           "\"delay_s\":-1.0009999999999999"),
            std::string::npos)
      << plain.out;

  const std::string csv = dir_ + "/axis.csv";
  const Outcome withAxis =
      Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--samples", "3", "--axis", csv});
  ASSERT_EQ(withAxis.exitCode, 0) << withAxis.err;
  EXPECT_EQ(Field(withAxis.out, "time of sample 1000 (trigger)"), "-1");
  std::istringstream lines(Slurp(csv));
  std::string header, first, second, third, extra;
  std::getline(lines, header);
  std::getline(lines, first);
  std::getline(lines, second);
  std::getline(lines, third);
  EXPECT_EQ(header, "sample,time_s");
  EXPECT_EQ(std::strtod(first.substr(2).c_str(), nullptr), -1000999000000.0 / 1e12);
  EXPECT_EQ(std::strtod(third.substr(2).c_str(), nullptr), -1000997000000.0 / 1e12);
  EXPECT_FALSE(std::getline(lines, extra));

  const std::string bin = dir_ + "/axis.bin";
  const Outcome single = Run({"timebase", "Bolometer", "120100", "1", "1", "1", "--single",
                              "--samples", "4", "--axis", bin});
  ASSERT_EQ(single.exitCode, 0) << single.err;
  const std::string raw = Slurp(bin);
  ASSERT_EQ(raw.size(), 4 * sizeof(float));
  float values[4];
  std::memcpy(values, raw.data(), raw.size());
  // Internal 100 kHz clock, trigger at 0, 100 pre-samples: sample 1 at -990 us.
  EXPECT_EQ(values[0], static_cast<float>(-990000000LL) / 999999995904.0f);
  EXPECT_EQ(values[3], static_cast<float>(-960000000LL) / 999999995904.0f);
}

TEST_F(CliTest, ParameterListsAndSettings) {
  const Outcome params = Run({"--json", "params", "fdts01", "DMODSS0", "120100", "1", "7"});
  ASSERT_EQ(params.exitCode, 0) << params.err;
  EXPECT_NE(params.out.find("{\"name\":\"CardType\",\"value\":\"DMODSS\",\"type\":\"text\"}"),
            std::string::npos)
      << params.out;
  const Outcome count = Run({"count", "vdts01", "NONAME", "120100", "1"});
  ASSERT_EQ(count.exitCode, 0) << count.err;
  EXPECT_EQ(Field(count.out, "parameters per channel"), "40");
  EXPECT_EQ(Field(count.out, "module"), "DMOD0");
  EXPECT_EQ(Field(count.out, "last channel"), "8");

  const Outcome modules = Run({"modules", "Magnetics", "120100", "1"});
  ASSERT_EQ(modules.exitCode, 0) << modules.err;
  EXPECT_NE(modules.out.find("mag-pxi1"), std::string::npos) << modules.out;
  EXPECT_NE(modules.out.find("mag-pxi2"), std::string::npos) << modules.out;
  const Outcome settings = Run({"--json", "settings", "Bolometer", "120100", "1"});
  ASSERT_EQ(settings.exitCode, 0) << settings.err;
  EXPECT_NE(settings.out.find("\"modules\":1"), std::string::npos) << settings.out;
}

TEST_F(CliTest, FailuresExplainTheStatus) {
  const Outcome unsupported = Run({"link", "Spectroscopy", "120100", "1", "1", "1"});
  EXPECT_EQ(unsupported.exitCode, 1);
  EXPECT_NE(unsupported.err.find("returned -53: not supported"), std::string::npos)
      << unsupported.err;
  const Outcome unknown = Run({"timebase", "NoSuchDiag", "120100", "1", "1", "1"});
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_NE(unknown.err.find("-103: site or diagnostic unknown"), std::string::npos) << unknown.err;
}

TEST_F(CliTest, UsageErrorsAndHelp) {
  EXPECT_EQ(Run({"link", "Magnetics", "120100"}).exitCode, 2);
  EXPECT_EQ(Run({"link", "Magnetics", "x", "1", "1", "3"}).exitCode, 2);
  EXPECT_EQ(Run({"link", "Magnetics", "120100", "1", "1", "70000"}).exitCode, 2);
  EXPECT_EQ(Run({"link", "--bogus", "Magnetics"}).exitCode, 2);
  EXPECT_EQ(Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--axis", "a.txt"}).exitCode, 2);
  EXPECT_EQ(Run({"nonsense"}).exitCode, 2);
  for (const char* command : {"link", "clk", "cycle", "first-sample", "adjust", "timebase",
                              "params", "count", "modules", "channels", "settings"}) {
    const Outcome help = Run({command, "--help"});
    EXPECT_EQ(help.exitCode, 0) << command;
    EXPECT_EQ(help.out.rfind(std::string("usage: tovak ") + command, 0), 0u) << help.out;
  }
}

// Argument vectors of every kind: the tool answers or refuses with exit 0, 1
// or 2 and says why, in the stream or file named; it never aborts.
TEST_F(CliTest, EveryArgumentVectorEndsInAnExitCodeAndAMessage) {
  struct Case {
    std::vector<std::string> args;
    int exitCode;
    std::string stream, text;
  };
  auto timebase = [](std::vector<std::string> more) {
    more.insert(more.begin(), {"timebase", "Magnetics", "120100", "1", "1", "3"});
    return more;
  };
  const std::string csv = dir_ + "/a.csv", full = dir_ + "/full.bin";
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  const std::vector<Case> cases = {
      // Counts beyond the documented limit, write errors with the system's reason.
      {timebase({"--samples", "99999999999", "--axis", csv}), 2, "err", "268435456]"},
      {timebase({"--samples", "9223372036854775807"}), 2, "err", "268435456]"},
      {timebase({"--samples", "5", "--axis", full}), 1, "err", "No space left on device"},
      {timebase({"--axis", dir_ + "/none/a.csv"}), 1, "err", "No such file or directory"},
      // Each delay names its sample; --last moves the CSV's sample numbers.
      {timebase({"--json", "--samples", "2", "--axis", csv}), 0, "out",
       "\"delay_sample\":1000,\"delay_s\":-1,"},
      {timebase({"--samples", "10", "--last", "2000000", "--axis", csv}), 0, csv,
       "time_s\n1999991,0.99899"},
      // An external clock has no SampInterval option.
      {{"link", "Magnetics", "120100", "1", "1", "3"},
       0,
       "out",
       "sampling interval  none: no SampInterval option (external clock)"},
      {timebase({"--json"}), 0, "out", "\"samp_interval_ns\":null"},
      // Small ones.
      {{"cycle"}, 0, "out", "Internal (default: no --clock-source)"},
      {{"adjust", "--mode", "x"}, 2, "err", "--card and --mode are both needed"},
      {{"link", "Magnetics", "120100", "1", "1", "3", "9"}, 2, "err", "unexpected argument '9'"},
      {timebase({"--last", "-5"}), 2, "err", "--last: not an integer in [0,"},
      {{"--version"}, 0, "out", "tovak "},
      {{"--server"}, 2, "err", "option --server needs a value"},
      {{"link", "NoSuchDiag", "120100", "1", "1", "1"},
       1,
       "err",
       "asked for diagnostic 'NoSuchDiag' shot 120100/1 channel 1,1 (see: tovak explain -103)"},
      {{"explain", "x"}, 2, "err", "STATUS: not an integer"},
      // Shots the shot log does not hold: answered, with a warning.
      {{"link", "Magnetics", "999999999", "1", "1", "3"},
       0,
       "err",
       "warning: shot 999999999 is newer than the newest shot recorded (120100)"},
      {{"count", "fdts01", "DMODSS0", "120100", "7"},
       0,
       "err",
       "warning: shot 120100 sub-shot 7 was never recorded"},
      // The setup database follows --server; a remote one is not asked, and the tool says so.
      {{"--server", "/tsu", "modules", "Magnetics", "120100", "1"}, 0, "out", "tsu-we1"},
      {{"--server", "grpc://[::1]:1/x", "settings", "Bolometer", "120100", "1"},
       0,
       "err",
       "from the databases the configuration names"},
  };
  for (const Case& c : cases) {
    const Outcome got = Run(c.args);
    const std::string where = c.stream == "out"   ? got.out
                              : c.stream == "err" ? got.err
                                                  : Slurp(c.stream);
    EXPECT_EQ(got.exitCode, c.exitCode) << c.args[0] << " " << got.err;
    EXPECT_NE(where.find(c.text), std::string::npos) << c.text << " in:\n" << where;
  }
  EXPECT_EQ(WEXITSTATUS(std::system((std::string(TOVAK_SERVER) + " --help >/dev/null").c_str())),
            0);
  EXPECT_EQ(Run({"link", "Magnetics", "120100", "2", "1", "3"}).err, "");  // a recorded shot
  setenv("KOVD_GRPC", "grpc://[::1]:1/x", 1);
  const Outcome configured = Run({"modules", "Magnetics", "120100", "1"});
  unsetenv("KOVD_GRPC");
  EXPECT_EQ(configured.exitCode, 0);
  EXPECT_NE(configured.err.find("not by the remote server KOVD_GRPC names"), std::string::npos);
  // Hostile words for every command: one of the three codes, a reason, no
  // sanitizer report.
  for (const char* command : {"link", "clk", "cycle", "first-sample", "adjust", "timebase",
                              "params", "count", "modules", "channels", "settings", "explain"}) {
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"--"},
             {"", "", "", "", ""},
             {"-1", "-1", "-1", "-1", "-1", "--last=-1"},
             {"x", "4294967296", "65536", "1", "1", "--samples", "-1"},
             {"--=", "--json"}}) {
      std::vector<std::string> args = {command};
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
