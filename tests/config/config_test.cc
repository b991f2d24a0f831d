#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "config/config_file.h"
#include "tovak/client_env.h"

// Stands in for the library's verbose switch, under which problems are reported.
static bool g_verbose = false;
bool is_verbose() { return g_verbose; }

namespace tovak::config {
namespace {

TEST(ParseConfigTest, KeysValuesCommentsAndBadLines) {
  const ParsedConfig parsed = ParseConfig(
      "# comment\n\n KOVD_GRPC = grpcs://srv:50051/ubo \n\tUSER=alice\nno equals sign\n"
      "=value without key\nEMPTY=\nURL=a=b\r\nUSER=bob");
  std::string got;
  for (const auto& [key, value] : parsed.values) got += key + "=" + value + ";";
  for (int line : parsed.malformedLines) got += std::to_string(line) + ";";
  EXPECT_EQ(got, "EMPTY=;KOVD_GRPC=grpcs://srv:50051/ubo;URL=a=b;USER=bob;5;6;");
}

const std::string kDir =
    std::filesystem::temp_directory_path().string() + "/tovak-config-" + std::to_string(getpid());

std::string Write(const std::string& name, const std::string& text) {
  std::ofstream(kDir + "/" + name) << text;
  return kDir + "/" + name;
}

// Loads the configuration from path: what that wrote to standard error.
std::string Load(const std::string& path, bool verbose) {
  setenv("TOVAK_CONFIG", path.c_str(), 1);
  g_verbose = verbose;
  ::testing::internal::CaptureStderr();
  CtovakDescriptor::SetEnv();
  g_verbose = false;
  return ::testing::internal::GetCapturedStderr();
}

TEST(ClientEnvironmentTest, FileChoiceReloadProblemsAndEnvironmentFirst) {
  std::filesystem::create_directories(kDir + "/.config/tovak");
  setenv("XDG_CONFIG_HOME", (kDir + "/.config").c_str(), 1);
  unsetenv("TOVAK_CONFIG");
  const std::string user = Write(".config/tovak/tovak.conf", "TOVAK_TEST_KEY=from-user\n");
  EXPECT_EQ(FindConfigFile(), user);  // under XDG_CONFIG_HOME
  setenv("XDG_CONFIG_HOME", "", 1);
  setenv("HOME", kDir.c_str(), 1);
  EXPECT_EQ(FindConfigFile(), user);  // under HOME
  CtovakDescriptor::SetEnv();
  const char* fromUser = CClientEnvironment::getEnv("TOVAK_TEST_KEY");
  EXPECT_STREQ(fromUser, "from-user");
  EXPECT_EQ(Load(Write("bad.conf", "junk line\nTOVAK_TEST_KEY=ok\n"), false), "");
  EXPECT_STREQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), "ok");
  EXPECT_NE(Load(Write("bad2.conf", "junk\nTOVAK_TEST_KEY=ok\n"), true).find("bad2.conf:1:"),
            std::string::npos);
  EXPECT_NE(Load(kDir + "/absent.conf", true).find("absent.conf"), std::string::npos);
  EXPECT_EQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), nullptr);
  setenv("TOVAK_TEST_KEY", "environment", 1);
  EXPECT_STREQ(CClientEnvironment::getEnv("TOVAK_TEST_KEY"), "environment");
  EXPECT_STREQ(fromUser, "from-user");  // texts handed out stay valid
  EXPECT_EQ(CClientEnvironment::getEnv(nullptr), nullptr);
  std::filesystem::remove_all(kDir);
}

}  // namespace
}  // namespace tovak::config
