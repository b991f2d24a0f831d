// Remote lookups answer as direct ones: per-site clients (a connection each) ask one tovak-server.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "remote/harness.h"
#include "remote/questions.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

// Asks site's questions directly, then twice of address (shuffled; the second time the successes).
[[noreturn]] void Client(const std::string& site, const std::string& address, unsigned seed,
                         const TempDir& dir) {
  setTovakProtocolV1();
  IndexNoClosing(1);
  const std::vector<Question> questions = Questions(site);
  std::vector<Answer> direct;
  std::set<std::string> succeeding;
  for (const Question& question : questions) {
    const Answer& answer = direct.emplace_back(question(site.c_str()));
    if (answer.status == 0) succeeding.insert(answer.call.substr(0, answer.call.find('(')));
  }
  setTovakProtocolV2(address.c_str());
  std::vector<size_t> order(questions.size());
  std::iota(order.begin(), order.end(), 0);
  std::mt19937 random(seed);
  int mismatches = 0;
  std::string first;
  for (int round = 0; round < 2; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    for (size_t i : order) {
      if (round > 0 && direct[i].status != 0) continue;
      const std::string m = Mismatch(direct[i], questions[i](site.c_str()));
      if (!m.empty() && mismatches++ == 0) first = "\n" + m;
    }
  }
  tovakRelease();
  WriteFile(dir.File(std::to_string(seed)),
            std::to_string(mismatches) + " " + std::to_string(succeeding.size()) + first);
  _exit(0);
}

TEST(DifferentialTest, EveryCallIsAnsweredAsDirectAccessAnswersItUnderLoad) {
  setenv("TOVAK_CONFIG", "/dev/null", 1);
  setenv("TOVAK_DEADLINE_MS", "60000", 1);  // only a paused or gone server may end a call
  for (int workers : {1, 4}) {
    const TempDir dir;
    ServerProcess server(dir, "server", "anonymous = allow\nworkers = " + std::to_string(workers));
    ASSERT_TRUE(server.listening()) << server.Log();
    std::vector<pid_t> clients;  // an answer mixed up between sites differs
    for (std::string site : {"ubo", "tsu", "odd", "ubo"})
      if (clients.push_back(fork()), clients.back() == 0)
        Client("/" + site, server.Address(site), clients.size(), dir);
    for (size_t i = 0; i < clients.size(); ++i) {  // a hang ends at the test's timeout
      int status = -1;
      waitpid(clients[i], &status, 0);  // its exit status, no mismatch, each lookup succeeding
      EXPECT_EQ(std::to_string(status) + " " + ReadFile(dir.File(std::to_string(i + 1))), "0 0 7")
          << workers;
    }
    EXPECT_EQ(server.Log().find("ended ("), std::string::npos) << server.Log();
    EXPECT_EQ(server.Stop(), 0);  // a sanitizer report fails its exit
  }
}

}  // namespace
}  // namespace tovak::testing
