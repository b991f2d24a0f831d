// One client process of the remote load test:
//
//   remote_load_client SITE ADDRESS ROUNDS SEED
//
// Asks every demo question of site SITE by direct access first, then ROUNDS times asks them, each
// round in an order shuffled by SEED, of the server at ADDRESS (which names the same site) and
// compares each answer with the direct one. Prints one line:
//   calls=N mismatches=N failures=N questions=N us=N us_max=N
// and, on standard error, the first mismatches and every failure's status. Exit status 0 when it
// could run at all, even with mismatches or failures: the caller judges them.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "remote/questions.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace {

using Clock = std::chrono::steady_clock;

int Usage() {
  std::fprintf(stderr, "usage: remote_load_client SITE ADDRESS ROUNDS SEED\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return Usage();
  const std::string site = "/" + std::string(argv[1]);
  const char* address = argv[2];
  const long rounds = std::atol(argv[3]);
  std::mt19937 random(static_cast<unsigned>(std::strtoul(argv[4], nullptr, 10)));

  setTovakProtocolV1();
  IndexNoClosing(1);
  const std::vector<tovak::testing::KnownAnswer> known = tovak::testing::KnownAnswers(site.c_str());
  IndexNoClosing(0);
  if (known.empty()) {
    std::fprintf(stderr, "no demo question succeeds by direct access to %s\n", site.c_str());
    return 1;
  }

  setTovakProtocolV2(address);
  std::vector<size_t> order(known.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  long calls = 0, mismatches = 0, failures = 0;
  Clock::duration longest{};
  const Clock::time_point begin = Clock::now();
  for (long round = 0; round < rounds; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    for (size_t i : order) {
      const tovak::testing::KnownAnswer& k = known[i];
      const Clock::time_point start = Clock::now();
      const std::string answer = tovak::testing::Ask(k.question, site.c_str());
      longest = std::max(longest, Clock::now() - start);
      ++calls;
      const int status = std::atoi(answer.c_str());
      if (status <= TOVAK_E_NO_REMOTE && status >= TOVAK_E_REMOTE_SERVER) {
        if (++failures <= 20)
          std::fprintf(stderr, "failure %d: %s\n", status, k.question.Text().c_str());
      } else if (answer != k.answer && ++mismatches <= 5) {
        std::fprintf(stderr, "mismatch: %s\n  direct: %s\n  remote: %s\n",
                     k.question.Text().c_str(), k.answer.c_str(), answer.c_str());
      }
    }
  }
  tovakRelease();
  const auto us = [](Clock::duration d) {
    return static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(d).count());
  };
  std::printf("calls=%ld mismatches=%ld failures=%ld questions=%zu us=%lld us_max=%lld\n", calls,
              mismatches, failures, known.size(), us(Clock::now() - begin), us(longest));
  return 0;
}
