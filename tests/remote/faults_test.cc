// Faults around a real tovak-server met through the library: a documented status within a bound
// (on a hang, not a speed goal), no crash or leak, and right answers again after recovery.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <set>
#include <string>
#include <vector>

#include "remote/harness.h"
#include "remote/questions.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
constexpr milliseconds kDeadline{3000};  // of calls meant to meet a paused or gone server
// Statuses of a lookup whose server is gone: the call in flight, then the set-up.
const std::set<int> kServerGone = {TOVAK_E_REMOTE_UNAVAILABLE, TOVAK_E_NO_REMOTE};

class FaultTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TOVAK_CONFIG", "/dev/null", 1);
    setenv("TOVAK_DEADLINE_MS", std::to_string(milliseconds(kGuard).count()).c_str(), 1);
    for (const char* key : {"TOVAK_USER", "TOVAK_USER_KEY_FILE", "TOVAK_CA_FILE"}) unsetenv(key);
    setTovakProtocolV1();
    IndexNoClosing(1);
    for (const Question& question : Questions("/ubo")) {
      if (Answer answer = question("/ubo"); answer.status == 0)
        known_.push_back({question, answer});
      if (known_.size() == 200) break;
    }
    IndexNoClosing(0);
    ASSERT_EQ(known_.size(), 200u);
  }
  void TearDown() override { tovakRelease(); }

  // The next known question through address: the status; within 3 deadlines, a right answer.
  int Ask(const std::string& address, milliseconds deadline = kGuard) {
    setenv("TOVAK_DEADLINE_MS", std::to_string(deadline.count()).c_str(), 1);
    setTovakProtocolV2((address_ = address).c_str());
    const auto& [question, known] = known_[next_++ % known_.size()];
    const Clock::time_point start = Clock::now();
    const Answer answer = question("/ubo");
    EXPECT_LT(Clock::now() - start, 3 * deadline + std::chrono::seconds(10)) << known.call;
    EXPECT_EQ(answer.status == 0 ? Mismatch(known, answer) : "", "");
    return answer.status;
  }

  // Asks until a call answers (true); every failure must be one of allowed.
  bool AnswersAgain(const std::string& address, const std::set<int>& allowed) {
    return Eventually([&] {
      const int status = Ask(address);
      EXPECT_TRUE(status == 0 || allowed.count(status)) << status;
      return status == 0;
    });
  }

  // Workers replaced only if some were killed, no sanitizer report, exit status 0.
  static void ExpectCleanEnd(ServerProcess& server, bool replaced = false) {
    EXPECT_EQ(server.Log().find(" ended (") != std::string::npos, replaced) << server.Log();
    EXPECT_EQ(server.Stop(), 0);
    EXPECT_EQ(server.Log().find("Sanitizer"), std::string::npos) << server.Log();
  }

  TempDir dir_;
  std::vector<std::pair<Question, Answer>> known_;
  size_t next_ = 0;
  std::string address_;  // the library keeps a pointer to it
};

TEST_F(FaultTest, KilledOrPausedServersAndWorkersGiveStatusesAndAreFoundAgain) {
  std::unique_ptr<ServerProcess> server;
  int round = 0;  // a log and port file of its own for each server
  const auto start = [&](int port) {
    server = std::make_unique<ServerProcess>(dir_, "s" + std::to_string(round++),
                                             "anonymous = allow\nworkers = 2\n", port);
    return server->listening();
  };
  ASSERT_TRUE(start(0)) << server->Log();
  const int port = server->port();
  const std::string address = server->Address("ubo");
  const struct {
    int signal;  // SIGTERM to the supervisor (a graceful stop), SIGKILL to every process
    bool duringCalls;
  } kills[] = {{SIGTERM, false}, {SIGKILL, false}, {SIGTERM, true}, {SIGKILL, true}};
  for (const auto& c : kills) {
    SCOPED_TRACE(std::string(strsignal(c.signal)) + (c.duringCalls ? " during calls" : ""));
    ASSERT_EQ(Ask(address), 0);
    ServerProcess* const killed = server.get();
    const auto stop = [&] { EXPECT_EQ(killed->Stop(c.signal), c.signal == SIGTERM ? 0 : SIGKILL); };
    if (!c.duringCalls) stop();
    std::thread killer;  // during calls: set off by the first answer, while the calls go on
    int status = 0, answered = 0;
    Eventually([&] {
      status = Ask(address);
      if (status == 0 && ++answered == 1 && c.duringCalls) killer = std::thread(stop);
      return status != 0;
    });
    if (killer.joinable()) killer.join();
    EXPECT_TRUE(kServerGone.count(status)) << status;
    EXPECT_EQ(answered > 0, c.duringCalls);
    EXPECT_EQ(server->Log().find("Sanitizer"), std::string::npos) << server->Log();
    // Killed workers may hold the port a moment longer than their supervisor lives.
    ASSERT_TRUE(Eventually([&] { return start(port); })) << server->Log();
    EXPECT_EQ(Ask(address), 0);  // the client connects again
  }
  {
    const Stopped paused({server->group()});
    ASSERT_TRUE(paused.ok());
    EXPECT_EQ(Ask(address, kDeadline), TOVAK_E_REMOTE_DEADLINE);
    EXPECT_EQ(Ask(address, kDeadline), TOVAK_E_NO_REMOTE);  // a new set-up gives up in time too
  }
  EXPECT_EQ(Ask(address), 0);
  for (const size_t victims : {1, 2}) {
    SCOPED_TRACE(victims);
    const std::vector<pid_t> before = server->Workers();
    ASSERT_EQ(before.size(), 2u);
    for (size_t i = 0; i < victims; ++i) kill(before[i], SIGKILL);
    // The connection to a killed worker fails once; the next set-up finds a live one.
    EXPECT_TRUE(AnswersAgain(address, kServerGone));
    ASSERT_TRUE(Eventually([&] {
      const std::vector<pid_t> now = server->Workers();
      return now.size() == 2 && std::find_first_of(now.begin(), now.end(), before.begin(),
                                                   before.begin() + victims) == now.end();
    })) << server->Log();
    EXPECT_EQ(Ask(address), 0);
  }
  ExpectCleanEnd(*server, true);
}

TEST_F(FaultTest, RequestsOfExtremeNumbersLeaveTheWorkersAnsweringAndThePortTheirs) {
  ServerProcess plain(dir_, "plain", "anonymous = allow\n");
  ASSERT_TRUE(plain.listening()) << plain.Log();
  // Every message field (1 to 15) as 2^64-1: answered or refused, never a lost worker or a hang.
  std::string extreme;
  for (char field = 1; field <= 15; ++field)
    extreme += char(field << 3) + std::string(9, '\xff') + '\x01';
  const std::set<grpc::StatusCode> handled = {grpc::OK, grpc::INTERNAL, grpc::INVALID_ARGUMENT,
                                              grpc::UNIMPLEMENTED};
  for (const char* method :
       {"SelectSite", "GetDTSinfox", "GetDTSinfoCLK", "SamplingCycle", "Sampling0Timing",
        "GetDTSdatax2", "GetDTSParameters", "GetDTSParametersCount", "NoSuchMethod"}) {
    for (const std::string& payload : {std::string(), extreme}) {
      const grpc::Status status = CallWithPayload(PlainChannel(plain.port()), method, payload);
      EXPECT_TRUE(handled.count(status.error_code())) << method << " " << status.error_code();
    }
  }
  ServerProcess second(dir_, "second", "anonymous = allow\n", plain.port());
  EXPECT_FALSE(second.listening()) << second.Log();
  EXPECT_EQ(Ask(plain.Address("ubo")), 0);
  ExpectCleanEnd(plain);
}

TEST_F(FaultTest, DatabaseBehindTheServerStoppedOrPausedGivesStatusesAndRecovers) {
  Cluster database;
  const std::string sharedHost = std::getenv("PGHOST");
  setenv("PGHOST", database.socket().c_str(), 1);  // for the server only
  ServerProcess server(dir_, "db", "anonymous = allow\nqueue_length = 2\n");
  setenv("PGHOST", sharedHost.c_str(), 1);
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string address = server.Address("ubo");
  ASSERT_EQ(Ask(address), 0);
  // The server's lookups cannot open the index database: their status passes through.
  ASSERT_TRUE(database.Dbctl("stop"));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(Ask(address), TOVAK_E_INDEX_OPEN);
  ASSERT_TRUE(database.Dbctl("start"));
  EXPECT_EQ(Ask(address), 0);
  // A database that stops answering: the caller's deadline ends the call and its query (not 30 s).
  const auto lastFailure = [&] { return server.Log().rfind(" status=-"); };
  const size_t failed = lastFailure();
  {
    const Stopped paused(database.Processes());
    EXPECT_EQ(Ask(address, kDeadline), TOVAK_E_REMOTE_DEADLINE);
    EXPECT_TRUE(Eventually([&] { return lastFailure() != failed; }, std::chrono::seconds(20)));
  }
  EXPECT_TRUE(AnswersAgain(address, {TOVAK_E_NO_REMOTE}));
  // Paused again: one lookup held, two waiting, the rest refused at once as busy, the library's
  // call too. A stop refuses the waiting ones and kills the held worker within 5 s.
  auto paused = std::make_unique<Stopped>(database.Processes());
  const auto channel = PlainChannel(server.port());
  std::vector<std::shared_future<grpc::Status>> calls(12);
  const auto lookup = [&] { return CallWithPayload(channel, "GetDTSinfox", ""); };
  for (auto& call : calls) call = std::async(std::launch::async, lookup).share();
  const auto ended = [&](grpc::StatusCode code) {
    return std::count_if(calls.begin(), calls.end(), [&](const auto& call) {
      return call.wait_for(milliseconds(0)) == std::future_status::ready &&
             call.get().error_code() == code;
    });
  };
  EXPECT_TRUE(Eventually([&] { return ended(grpc::StatusCode::RESOURCE_EXHAUSTED) == 9; }));
  EXPECT_EQ(Ask(address), TOVAK_E_REMOTE_BUSY);
  const Clock::time_point stopping = Clock::now();
  EXPECT_NE(server.Stop(), 0);
  EXPECT_LT(Clock::now() - stopping, std::chrono::seconds(5));
  paused.reset();
  EXPECT_TRUE(Eventually([&] { return ended(grpc::StatusCode::UNAVAILABLE) == 3; }));
}

}  // namespace
}  // namespace tovak::testing
