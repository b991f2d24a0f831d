// The remote lookups answer as direct access does: every question over each demo site through a
// real tovak-server, and under load, client processes of different sites at once (the library keeps
// one connection per process) asking their questions over and over in shuffled orders.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "remote/harness.h"
#include "remote/questions.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

std::vector<Answer> AskAll(const std::vector<Question>& questions, const std::string& server) {
  std::vector<Answer> answers;
  for (const Question& question : questions) answers.push_back(question(server.c_str()));
  return answers;
}

class RemoteAnswers : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TOVAK_CONFIG", "/dev/null", 1);
    setenv("TOVAK_DEADLINE_MS", "60000", 1);  // only a paused or gone server may end a call
    setTovakProtocolV1();
    IndexNoClosing(1);
  }
  void TearDown() override { tovakRelease(); }
  TempDir dir_;
};

class DifferentialTest : public RemoteAnswers, public ::testing::WithParamInterface<const char*> {};

TEST_P(DifferentialTest, RemoteAnswersAsDirectAccess) {
  ServerProcess server(dir_, "server", "anonymous = allow\nworkers = 2\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string site = std::string("/") + GetParam(), address = server.Address(GetParam());
  const std::vector<Question> questions = Questions(site);
  const std::vector<Answer> direct = AskAll(questions, site);
  setTovakProtocolV2(address.c_str());
  const std::vector<Answer> remote = AskAll(questions, site);
  std::map<std::string, int> successes;
  for (size_t i = 0, mismatches = 0; i < direct.size() && mismatches < 10; ++i) {
    const std::string mismatch = Mismatch(direct[i], remote[i]);
    EXPECT_EQ(mismatch, "");
    mismatches += !mismatch.empty();
    successes[direct[i].call.substr(0, direct[i].call.find('('))] += direct[i].status == 0;
  }
  EXPECT_EQ(successes.size(), 7u);  // every lookup, each succeeding sometimes
  for (const auto& [op, count] : successes) EXPECT_GT(count, 0) << op << " never succeeded";
}

INSTANTIATE_TEST_SUITE_P(DemoSites, DifferentialTest, ::testing::Values("ubo", "tsu", "odd"));

// A client process: asks the questions of site that succeed by direct access rounds times of the
// server at address, in an order shuffled by seed; writes "calls mismatches failures" to fd.
[[noreturn]] void LoadClient(const std::string& site, const std::string& address, int rounds,
                             unsigned seed, int fd) {
  std::vector<Question> questions;
  std::vector<Answer> known;
  for (const Question& question : Questions(site)) {
    Answer answer = question(site.c_str());
    if (answer.status != 0) continue;
    questions.push_back(question);
    known.push_back(std::move(answer));
  }
  setTovakProtocolV2(address.c_str());
  std::vector<size_t> order(known.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::mt19937 random(seed);
  long calls = 0, mismatches = 0, failures = 0;
  for (int round = 0; round < rounds; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    for (size_t i : order) {
      const Answer answer = questions[i](site.c_str());
      ++calls;
      if (answer.status <= TOVAK_E_NO_REMOTE && answer.status >= TOVAK_E_REMOTE_BUSY) {
        if (++failures <= 5)
          std::fprintf(stderr, "failure %d: %s\n", answer.status, answer.call.c_str());
      } else if (const std::string m = Mismatch(known[i], answer);
                 !m.empty() && ++mismatches <= 5) {
        std::fprintf(stderr, "mismatch: %s\n", m.c_str());
      }
    }
  }
  tovakRelease();
  dprintf(fd, "%ld %ld %ld %zu", calls, mismatches, failures, known.size());
  _exit(0);
}

class LoadTest : public RemoteAnswers, public ::testing::WithParamInterface<int> {};

TEST_P(LoadTest, EveryCallIsAnsweredWithTheAnswerToItsOwnQuestion) {
  constexpr int kClients = 4, kRounds = 2;
  ServerProcess server(dir_, "server",
                       "anonymous = allow\nworkers = " + std::to_string(GetParam()));
  ASSERT_TRUE(server.listening()) << server.Log();
  const char* const sites[] = {"ubo", "tsu", "odd"};  // an answer mixed up between them differs
  std::vector<std::pair<pid_t, int>> clients;
  for (int i = 0; i < kClients; ++i) {
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    const std::string site = sites[i % 3];
    const pid_t pid = fork();
    if (pid == 0) LoadClient("/" + site, server.Address(site), kRounds, i + 1u, pipeEnds[1]);
    close(pipeEnds[1]);
    clients.emplace_back(pid, pipeEnds[0]);
  }
  for (const auto& [pid, fd] : clients) {  // a hang ends at the test's timeout
    char line[128] = {};
    const ssize_t length = read(fd, line, sizeof line - 1);
    close(fd);
    int status = -1;
    waitpid(pid, &status, 0);
    long calls = -1, mismatches = -1, failures = -1, questions = -1;
    ASSERT_TRUE(length > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0) << "client " << pid;
    std::sscanf(line, "%ld %ld %ld %ld", &calls, &mismatches, &failures, &questions);
    EXPECT_EQ(mismatches, 0) << line;
    EXPECT_EQ(failures, 0) << line;
    EXPECT_GT(questions, 20) << line;  // enough different answers to tell apart
    EXPECT_EQ(calls, kRounds * questions) << line;
  }
  EXPECT_EQ(server.Log().find("ended ("), std::string::npos) << server.Log();
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_EQ(server.Log().find("Sanitizer"), std::string::npos) << server.Log();
}

INSTANTIATE_TEST_SUITE_P(Workers, LoadTest, ::testing::Values(1, 4));

}  // namespace
}  // namespace tovak::testing
