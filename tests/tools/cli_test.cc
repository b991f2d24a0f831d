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
  EXPECT_NE(json.out.find("\"dtsKind\":\"VME\""), std::string::npos) << json.out;
  EXPECT_NE(json.out.find("\"clkDtsType\":\"CAMAC\",\"clkDtsHost\":\"cdts01\","
                          "\"clkModule\":\"DMOD0\""),
            std::string::npos)
      << json.out;
}

TEST_F(CliTest, TimeBaseWithAxisFiles) {
  // Trigger at -1 s, 1 us clock, 1000 pre-samples: sample 0 at -1.001 s.
  const Outcome plain = Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--json"});
  ASSERT_EQ(plain.exitCode, 0) << plain.err;
  EXPECT_NE(plain.out.find("\"period\":9.9999999999999995e-07"), std::string::npos) << plain.out;
  EXPECT_NE(plain.out.find("\"delay\":-1.0009999999999999"), std::string::npos) << plain.out;

  const std::string csv = dir_ + "/axis.csv";
  const Outcome withAxis =
      Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--samples", "3", "--axis", csv});
  ASSERT_EQ(withAxis.exitCode, 0) << withAxis.err;
  EXPECT_EQ(Field(withAxis.out, "delay (trigger)"), "-1");
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
  EXPECT_NE(unknown.err.find("-103: site or diagnostic unknown"), std::string::npos)
      << unknown.err;
}

TEST_F(CliTest, UsageErrorsAndHelp) {
  EXPECT_EQ(Run({"link", "Magnetics", "120100"}).exitCode, 2);
  EXPECT_EQ(Run({"link", "Magnetics", "x", "1", "1", "3"}).exitCode, 2);
  EXPECT_EQ(Run({"link", "Magnetics", "120100", "1", "1", "70000"}).exitCode, 2);
  EXPECT_EQ(Run({"link", "--bogus", "Magnetics"}).exitCode, 2);
  EXPECT_EQ(Run({"timebase", "Magnetics", "120100", "1", "1", "3", "--axis", "a.txt"}).exitCode,
            2);
  EXPECT_EQ(Run({"nonsense"}).exitCode, 2);
  for (const char* command : {"link", "clk", "cycle", "first-sample", "adjust", "timebase",
                              "params", "count", "modules", "channels", "settings"}) {
    const Outcome help = Run({command, "--help"});
    EXPECT_EQ(help.exitCode, 0) << command;
    EXPECT_EQ(help.out.rfind(std::string("usage: tovak ") + command, 0), 0u) << help.out;
  }
}

}  // namespace
