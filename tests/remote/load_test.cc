// The server under concurrent load: client processes (the library keeps one connection per
// process) each ask every question with a known answer of their site a number of times, against
// one and against several workers. No call may be lost or fail, and every answer must be the one of
// its own question; the throughput is reported, not judged.
//
// TOVAK_LOAD_ROUNDS (default 2) and TOVAK_LOAD_CLIENTS (default 4) tune the run.
#include <gtest/gtest.h>
#include <spawn.h>

#include <cstdio>
#include <string>
#include <vector>

#include "remote/helpers.h"

extern char** environ;

namespace tovak::testing {
namespace {

int Setting(const char* name, int fallback) {
  const char* text = std::getenv(name);
  const int value = text != nullptr ? std::atoi(text) : 0;
  return value > 0 ? value : fallback;
}

// A client process whose standard output and error go to files of dir.
class LoadClient {
 public:
  LoadClient(const TempDir& dir, int index, const std::string& site, const std::string& address,
             int rounds)
      : out_(dir.File("client" + std::to_string(index) + ".out")),
        err_(dir.File("client" + std::to_string(index) + ".err")) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out_.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err_.c_str(), O_WRONLY | O_CREAT, 0600);
    const std::string roundsText = std::to_string(rounds), seed = std::to_string(index + 1);
    const char* argv[] = {TOVAK_LOAD_CLIENT_BINARY, site.c_str(), address.c_str(),
                          roundsText.c_str(),       seed.c_str(), nullptr};
    if (posix_spawn(&pid_, argv[0], &files, nullptr, const_cast<char**>(argv), environ) != 0) {
      pid_ = -1;
    }
    posix_spawn_file_actions_destroy(&files);
  }
  ~LoadClient() {
    if (pid_ > 0 && kill(pid_, SIGKILL) == 0) waitpid(pid_, nullptr, 0);
  }

  // Waits until the client ends (a generous bound on a hang: then it is killed); true when it
  // ended by itself with status 0.
  bool Wait() {
    int status = -1;
    if (!Eventually([&] { return pid_ <= 0 || waitpid(pid_, &status, WNOHANG) != 0; },
                    std::chrono::minutes(5))) {
      return false;
    }
    pid_ = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
  std::string Output() const { return ReadFile(out_); }
  std::string Errors() const { return ReadFile(err_); }

 private:
  std::string out_, err_;
  pid_t pid_ = -1;
};

long Field(const std::string& line, const std::string& name) {
  const size_t at = line.find(name + "=");
  return at == std::string::npos ? -1 : std::atol(line.c_str() + at + name.size() + 1);
}

class LoadTest : public ::testing::TestWithParam<int> {};

TEST_P(LoadTest, EveryCallIsAnsweredWithTheAnswerToItsOwnQuestion) {
  const int workers = GetParam(), rounds = Setting("TOVAK_LOAD_ROUNDS", 2),
            clients = Setting("TOVAK_LOAD_CLIENTS", 4);
  setenv("TOVAK_CONFIG", "/dev/null", 1);
  setenv("TOVAK_DEADLINE_MS", std::to_string(std::chrono::milliseconds(kGuard).count()).c_str(), 1);
  TempDir dir;
  ServerProcess server(dir, "server", "anonymous = allow\nworkers = " + std::to_string(workers));
  ASSERT_TRUE(server.listening()) << server.Log();

  // Clients of different sites at once: an answer mixed up between them would differ.
  const char* const sites[] = {"ubo", "tsu", "odd"};
  std::vector<std::unique_ptr<LoadClient>> running;
  for (int i = 0; i < clients; ++i) {
    const char* site = sites[i % 3];
    running.push_back(std::make_unique<LoadClient>(dir, i, site, server.Address(site), rounds));
  }
  long calls = 0, longest = 0, elapsed = 1;
  for (int i = 0; i < clients; ++i) {
    LoadClient& client = *running[static_cast<size_t>(i)];
    ASSERT_TRUE(client.Wait()) << "client " << i << " hung or failed\n" << client.Errors();
    const std::string line = client.Output();
    EXPECT_EQ(Field(line, "mismatches"), 0) << line << client.Errors();
    EXPECT_EQ(Field(line, "failures"), 0) << line << client.Errors();
    EXPECT_GT(Field(line, "questions"), 20) << line;  // enough different answers to tell apart
    EXPECT_EQ(Field(line, "calls"), rounds * Field(line, "questions")) << line;
    calls += Field(line, "calls");
    elapsed = std::max(elapsed, Field(line, "us"));
    longest = std::max(longest, Field(line, "us_max"));
  }
  const std::string figures =
      std::to_string(clients) + " clients, " + std::to_string(workers) + " worker(s), " +
      std::to_string(rounds) + " round(s): " + std::to_string(calls) + " calls in " +
      std::to_string(elapsed / 1000) + " ms, " + std::to_string(calls * 1000000 / elapsed) +
      " calls/s, slowest call " + std::to_string(longest) + " us";
  RecordProperty("load", figures);
  std::printf("load: %s\n", figures.c_str());
  EXPECT_EQ(server.Log().find("ended ("), std::string::npos) << server.Log();
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_EQ(server.Log().find("Sanitizer"), std::string::npos) << server.Log();
}

INSTANTIATE_TEST_SUITE_P(Workers, LoadTest, ::testing::Values(1, 4),
                         [](const auto& info) { return std::to_string(info.param) + "Workers"; });

}  // namespace
}  // namespace tovak::testing
