// The tovak tool against the demo experiment: axis files, outputs, exit codes.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
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

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(mkdtemp(dir_.data()), nullptr); }
  void TearDown() override { std::system(("rm -rf " + dir_).c_str()); }

  Outcome Run(const Args& args) {
    std::string command = TOVAK_CLI;
    for (const std::string& a : args) command += " '" + a + "'";
    const int raw = std::system((command + " >" + dir_ + "/out 2>" + dir_ + "/err").c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(dir_ + "/out"), Slurp(dir_ + "/err")};
  }

  std::string dir_ = "/tmp/tovak-cli-XXXXXX";
};

TEST_F(CliTest, AxisFiles) {
  // Trigger at -1 s, 1 us clock, 1000 pre-samples: sample 0 at -1.001 s.
  const std::string csv = dir_ + "/axis.csv", bin = dir_ + "/axis.bin";
  Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--samples", "3", "--axis", csv});
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

// Argument vectors of every kind: the tool answers or refuses with exit 0, 1 or 2 (and why, in the
// stream or file named); hostile words never abort it.
TEST_F(CliTest, EveryArgumentVectorEndsInAnExitCode) {
  struct Case { Args args; int exitCode; std::string stream, text; };
  auto timebase = [](Args more) {
    more.insert(more.begin(), {"timebase", "Magnetics", "120100", "1", "1", "3"});
    return more;
  };
  const std::string csv = dir_ + "/a.csv", full = dir_ + "/full.bin";
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  const std::vector<Case> cases = {
      {timebase({"--json"}), 0, "out",
       R"("period_s":9.9999999999999995e-07,"delay_sample":0,"delay_s":-1.0009999999999999)"},
      {timebase({"--json"}), 0, "out", R"("samp_interval_ns":null)"}, {{"nonsense"}, 2, "err", ""},
      {{"link", "Spectroscopy", "120100", "1", "1", "1"}, 1, "err", "returned -53"},
      {{"link", "Magnetics", "120100"}, 2, "err", ""}, {{"link", "Magnetics", "x", "1", "1", "3"}, 2, "err", ""},
      {{"link", "Magnetics", "120100", "1", "1", "70000"}, 2, "err", ""}, {{"adjust", "--mode", "x"}, 2, "err", ""},
      {{"link", "Magnetics", "120100", "1", "1", "3", "9"}, 2, "err", ""}, {timebase({"--last", "-5"}), 2, "err", ""},
      {timebase({"--axis", "a.txt"}), 2, "err", ""},
      // Counts beyond the documented limit; write errors with the system's reason.
      {timebase({"--samples", "99999999999", "--axis", csv}), 2, "err", "268435456]"},
      {timebase({"--samples", "9223372036854775807"}), 2, "err", "268435456]"},
      {timebase({"--samples", "5", "--axis", full}), 1, "err", "No space left on device"},
      {timebase({"--axis", dir_ + "/none/a.csv"}), 1, "err", "No such file or directory"},
      // Each delay names its sample; --last moves the CSV's sample numbers.
      {timebase({"--json", "--samples", "2", "--axis", csv}), 0, "out", R"("delay_sample":1000,"delay_s":-1,)"},
      {timebase({"--samples", "10", "--last", "2000000", "--axis", csv}), 0, csv, "time_s\n1999991,0.99899"},
      // Shots the shot log does not hold: answered, with a warning.
      {{"link", "Magnetics", "999999999", "1", "1", "3"}, 0, "err", "shot 999999999 is newer than the newest shot recorded (120100)"},
      {{"count", "fdts01", "DMODSS0", "120100", "7"}, 0, "err", "warning: shot 120100 sub-shot 7 was never recorded"},
      // The setup database follows --server; a remote one is not asked.
      {{"--server", "/tsu", "modules", "Magnetics", "120100", "1"}, 0, "out", "tsu-we1"},
      {{"--server", "grpc://[::1]:1/x", "settings", "Bolometer", "120100", "1"}, 0, "err",
       "from the databases the configuration names"}};
  for (const Case& c : cases) {
    const Outcome got = Run(c.args);
    const std::string where = c.stream == "out" ? got.out : c.stream == "err" ? got.err : Slurp(c.stream);
    EXPECT_EQ(got.exitCode, c.exitCode) << c.args[0] << " " << got.err;
    EXPECT_NE(where.find(c.text), std::string::npos) << c.text << " in:\n" << where;
  }
  for (const char* command : {"link", "clk", "cycle", "first-sample", "adjust", "timebase", "params", "count",
                              "modules", "channels", "settings", "explain"}) {
    for (Args args : std::vector<Args>{{"--"}, {"", "", "", "", ""}, {"-1", "-1", "-1", "-1", "-1", "--last=-1"},
                                       {"x", "4294967296", "65536", "1", "1", "--samples", "-1"}, {"--=", "--json"}}) {
      args.insert(args.begin(), command);
      const Outcome got = Run(args);
      EXPECT_TRUE(got.exitCode >= 0 && got.exitCode <= 2 && got.err.find("Sanitizer") == std::string::npos &&
                  got.err.find("runtime error") == std::string::npos) << command << " " << got.exitCode << got.err;
    }
  }
}

}  // namespace
// clang-format on
