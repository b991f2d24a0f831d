#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "config/config_file.h"
#include "tovak/client_env.h"

// The configuration reports skipped lines through the library's verbose
// switch; this test stands in for it.
static bool g_verbose = false;
bool is_verbose() { return g_verbose; }

namespace tovak::config {
namespace {

namespace fs = std::filesystem;

TEST(ParseConfigTest, KeysValuesCommentsAndBadLines) {
  const ParsedConfig parsed = ParseConfig(
      "# comment\n"
      "\n"
      "KOVD_GRPC = grpcs://srv:50051/ubo \n"
      "  TOVAK_USER=alice\r\n"
      "no equals sign\n"
      "=value without key\n"
      "EMPTY=\n"
      "URL=a=b\n"
      "TOVAK_USER=bob\n");
  EXPECT_EQ(parsed.values.at("KOVD_GRPC"), "grpcs://srv:50051/ubo");
  EXPECT_EQ(parsed.values.at("TOVAK_USER"), "bob");  // the later line wins
  EXPECT_EQ(parsed.values.at("EMPTY"), "");
  EXPECT_EQ(parsed.values.at("URL"), "a=b");  // only the first '=' separates
  EXPECT_EQ(parsed.values.size(), 4u);
  EXPECT_EQ(parsed.malformedLines, (std::vector<int>{5, 6}));
}

TEST(ParseConfigTest, ToleratesAnyBytes) {
  std::string text = "A=1\n";
  text += std::string("\0\xff=\x01\n", 5);
  text += "B=2";  // last line without a newline
  const ParsedConfig parsed = ParseConfig(text);
  EXPECT_EQ(parsed.values.at("A"), "1");
  EXPECT_EQ(parsed.values.at("B"), "2");
}

class ClientEnvironmentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("tovak-config-" + std::to_string(getpid()));
    fs::create_directories(dir_ / "xdg" / "tovak");
    setenv("XDG_CONFIG_HOME", (dir_ / "xdg").c_str(), 1);
    unsetenv("TOVAK_CONFIG");
    unsetenv("TOVAK_TEST_KEY");
    unsetenv("TOVAK_OTHER_KEY");
  }
  void TearDown() override {
    unsetenv("TOVAK_CONFIG");
    unsetenv("TOVAK_TEST_KEY");
    fs::remove_all(dir_);
  }
  void Write(const fs::path& path, const std::string& text) {
    std::ofstream(path) << text;
  }
  fs::path dir_;
};

TEST_F(ClientEnvironmentTest, ExplicitFileThenUserFile) {
  Write(dir_ / "xdg" / "tovak" / "tovak.conf", "TOVAK_TEST_KEY=from-user\n");
  Write(dir_ / "explicit.conf", "TOVAK_TEST_KEY=from-explicit\n");
  EXPECT_EQ(FindConfigFile(), (dir_ / "xdg" / "tovak" / "tovak.conf").string());
  CtovakDescriptor::SetEnv();
  EXPECT_STREQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), "from-user");

  setenv("TOVAK_CONFIG", (dir_ / "explicit.conf").c_str(), 1);
  CtovakDescriptor::SetEnv();  // another file: loaded afresh
  EXPECT_STREQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), "from-explicit");
  EXPECT_EQ(CClientEnvironment::getEnv("TOVAK_OTHER_KEY"), nullptr);
}

TEST_F(ClientEnvironmentTest, EnvironmentOverridesFileAndValuesStayValid) {
  Write(dir_ / "c.conf", "TOVAK_TEST_KEY=file\n");
  setenv("TOVAK_CONFIG", (dir_ / "c.conf").c_str(), 1);
  CtovakDescriptor::SetEnv();
  const char* fromFile = CClientEnvironment::getEnv("TOVAK_TEST_KEY");
  EXPECT_STREQ(fromFile, "file");

  setenv("TOVAK_TEST_KEY", "environment", 1);
  const char* fromEnvironment = CClientEnvironment::getEnv("TOVAK_TEST_KEY");
  EXPECT_STREQ(fromEnvironment, "environment");
  setenv("TOVAK_TEST_KEY", "changed", 1);
  EXPECT_STREQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), "changed");
  // Texts handed out earlier are still intact.
  EXPECT_STREQ(fromFile, "file");
  EXPECT_STREQ(fromEnvironment, "environment");
  EXPECT_EQ(CClientEnvironment::getEnv(nullptr), nullptr);
  EXPECT_EQ(CClientEnvironment::getEnv(""), nullptr);
}

TEST_F(ClientEnvironmentTest, MissingOrUnreadableFileIsNoConfiguration) {
  setenv("TOVAK_CONFIG", (dir_ / "absent.conf").c_str(), 1);
  g_verbose = true;
  testing::internal::CaptureStderr();
  CtovakDescriptor::SetEnv();
  const std::string err = testing::internal::GetCapturedStderr();
  g_verbose = false;
  EXPECT_NE(err.find("absent.conf"), std::string::npos);
  EXPECT_EQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), nullptr);
}

TEST_F(ClientEnvironmentTest, SkippedLinesReportedOnlyWhenVerbose) {
  Write(dir_ / "bad.conf", "junk line\nTOVAK_TEST_KEY=ok\n");
  setenv("TOVAK_CONFIG", (dir_ / "bad.conf").c_str(), 1);
  testing::internal::CaptureStderr();
  CtovakDescriptor::SetEnv();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

  Write(dir_ / "bad2.conf", "junk line\nTOVAK_TEST_KEY=ok\n");
  setenv("TOVAK_CONFIG", (dir_ / "bad2.conf").c_str(), 1);
  g_verbose = true;
  testing::internal::CaptureStderr();
  CtovakDescriptor::SetEnv();
  const std::string err = testing::internal::GetCapturedStderr();
  g_verbose = false;
  EXPECT_NE(err.find("bad2.conf:1"), std::string::npos) << err;
  EXPECT_STREQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), "ok");
}

}  // namespace
}  // namespace tovak::config
