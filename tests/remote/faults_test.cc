// Faults around a real tovak-server met through the library: each gives a documented status within
// a bound (on a hang, not a speed goal), the server neither crashes nor leaks, and the first call
// after recovery answers correctly.
#include <grpcpp/create_channel.h>
#include <grpcpp/generic/generic_stub.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <random>
#include <set>
#include <string>
#include <thread>
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
const std::string kPreface("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n");
// Statuses of a lookup whose server is gone: the call in flight, then the set-up.
const std::set<int> kServerGone = {TOVAK_E_REMOTE_UNAVAILABLE, TOVAK_E_NO_REMOTE};

std::string RandomBytes(size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(count, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

// A TCP connection to the server that speaks whatever the test sends.
struct RawConnection : Unique {
  explicit RawConnection(int port) : fd(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in to{AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    connected = connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0;
  }
  ~RawConnection() { close(fd); }
  // Sends bytes, then reads what comes until the server closes the connection (true) or guard.
  bool ClosedAfter(const std::string& bytes, milliseconds guard) {
    [[maybe_unused]] const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    char buffer[4096];
    pollfd readable{fd, POLLIN, 0};
    for (const auto end = Clock::now() + guard; Clock::now() < end;) {
      if (poll(&readable, 1, 1000) == 1 && recv(fd, buffer, sizeof buffer, 0) <= 0) return true;
    }
    return false;
  }
  int fd;
  bool connected;
};

// The server's TCP connections on port (its IPv6 sockets take IPv4 too): those open, or those its
// listening sockets hold unaccepted.
long Connections(int port, bool unaccepted = false) {
  long count = 0;
  for (const char* file : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream table(file);
    std::string rest, slot, local, remote, state, queues;
    for (std::getline(table, rest); table >> slot >> local >> remote >> state >> queues;
         std::getline(table, rest)) {
      if (std::stoi(local.substr(local.find(':') + 1), nullptr, 16) != port) continue;
      if (unaccepted && state == "0A")
        count += std::stol(queues.substr(queues.find(':') + 1), 0, 16);
      count += !unaccepted && (state == "01" || state == "08");  // established, or client closed
    }
  }
  return count;
}

long Descriptors(pid_t pid) {
  return std::distance(std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd"),
                       std::filesystem::directory_iterator());
}

// A connection of its own to port with count calls of GetDTSinfox that open their stream and send
// nothing more; cancelled at the end.
struct UnfinishedCalls : Unique {
  UnfinishedCalls(int port, int count) : calls(static_cast<size_t>(count)) {
    grpc::ChannelArguments arguments;
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
    arguments.SetInt(GRPC_ARG_ENABLE_RETRIES, 0);  // ended calls stay ended
    channel = grpc::CreateCustomChannel("127.0.0.1:" + std::to_string(port),
                                        grpc::InsecureChannelCredentials(), arguments);
    connected = channel->WaitForConnected(std::chrono::system_clock::now() + kGuard);
    grpc::GenericStub stub(channel);
    for (Call& call : calls) {
      call.stream =
          stub.PrepareCall(&call.context, "/tovak.remote.v1.TimingData/GetDTSinfox", &queue);
      call.stream->StartCall(nullptr);
      call.stream->Finish(&call.status, nullptr);
    }
  }
  ~UnfinishedCalls() {
    for (Call& call : calls) call.context.TryCancel();
    queue.Shutdown();
    void* tag = nullptr;
    for (bool ok = false; queue.Next(&tag, &ok);) {
    }
  }
  struct Call {
    grpc::ClientContext context;
    grpc::Status status;
    std::unique_ptr<grpc::GenericClientAsyncReaderWriter> stream;
  };
  std::shared_ptr<grpc::Channel> channel;
  grpc::CompletionQueue queue;
  std::vector<Call> calls;
  bool connected;
};

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

  // Asks the next known question through the server at address: the status. The call ends within
  // three deadlines and slack (a lookup may connect, select its site and call); an answer is right.
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
    EXPECT_TRUE(Eventually([&] { return !RawConnection(port).connected; }));
    ASSERT_TRUE(start(port)) << server->Log();
    EXPECT_EQ(Ask(address), 0);  // the client connects again
  }
  {
    const Stopped paused({server->group()});
    ASSERT_TRUE(paused.ok());
    EXPECT_EQ(Ask(address, kDeadline), TOVAK_E_REMOTE_DEADLINE);
    EXPECT_EQ(Ask(address, kDeadline), TOVAK_E_NO_REMOTE);  // a new set-up gives up in time too
  }
  EXPECT_EQ(Ask(address), 0);
  // Paused while a lookup connects (its connection waits to be accepted): the answer comes late.
  tovakRelease();
  std::future<int> slow;
  {
    const Stopped paused({server->group()});
    const long waiting = Connections(port, true);  // the given-up set-up's, maybe
    slow = std::async(std::launch::async, [&] { return Ask(address); });
    EXPECT_TRUE(Eventually([&] { return Connections(port, true) > waiting; }));
  }
  EXPECT_EQ(slow.get(), 0);
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

// A message of fields 1 to 15 (every field of the service's messages), each of one wire type:
// numbers at their extreme (varint 2^64-1), or texts and messages of invalid UTF-8 and form.
std::string EveryField(bool asText) {
  std::string message;
  for (char field = 1; field <= 15; ++field) {
    message += static_cast<char>(field << 3 | (asText ? 2 : 0));
    message +=
        asText ? std::string("\x05\xff\xfe\x80\x00\x12", 6) : std::string(9, '\xff') + '\x01';
  }
  return message;
}

TEST_F(FaultTest, GarbageMalformedRequestsAbuseAndSilentConnectionsLeaveOtherLookupsAnswered) {
  const std::string cert = MakeServerCert(dir_, "cert");
  ServerProcess plain(dir_, "plain",
                      "anonymous = allow\nmax_connection_age = 20\nconnection_age_grace = 1\n");
  ServerProcess tls(dir_, "tls",
                    "anonymous = allow\nhandshake_timeout = 1\nidle_timeout = 2\n"
                    "tls_certificate = " +
                        cert + ".crt\ntls_key = " + cert + ".key\n");
  ASSERT_TRUE(plain.listening() && tls.listening()) << plain.Log() << tls.Log();
  setenv("TOVAK_CA_FILE", (cert + ".crt").c_str(), 1);
  const std::string address = plain.Address("ubo"), secure = tls.Address("ubo", "grpcs");
  const struct {
    const char* name;
    const ServerProcess& server;
    std::string bytes;
    bool closed;  // by the server itself
  } garbage[] = {
      {"random bytes", plain, RandomBytes(65536, 1), true},
      {"HTTP/1.1 request", plain, "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n", true},
      {"HTTP/2 preface then junk", plain, kPreface + RandomBytes(4096, 2), true},
      {"plain HTTP/2 to a TLS server", tls, kPreface, true},
      {"random bytes to a TLS server", tls, RandomBytes(65536, 3), true},
      {"nothing, past the set-up time", tls, "", true},
      // A SETTINGS frame announcing 100 bytes of which 2 come, the connection kept open.
      {"half a frame", plain, kPreface + std::string("\0\0\x64\x04\0\0\0\0\0\0\x01", 11), false},
  };
  for (const auto& c : garbage) {
    SCOPED_TRACE(c.name);
    RawConnection connection(c.server.port());
    ASSERT_TRUE(connection.connected);
    EXPECT_EQ(connection.ClosedAfter(c.bytes, c.closed ? kGuard : milliseconds(0)), c.closed);
    EXPECT_EQ(Ask(address), 0);
  }
  {
    const auto channel = PlainChannel(plain.port());
    const std::string payloads[] = {"",
                                    RandomBytes(64, 11),
                                    RandomBytes(4096, 12),
                                    EveryField(false),
                                    EveryField(true),
                                    std::string("\x0a\xff\xff\xff\xff\x0f", 6)};  // past the end
    // Answered, or refused as not parsable (or not known): never a lost connection or a hang.
    const std::set<grpc::StatusCode> handled = {grpc::OK, grpc::INTERNAL, grpc::INVALID_ARGUMENT,
                                                grpc::UNIMPLEMENTED};
    for (const char* method :
         {"SelectSite", "GetDTSinfox", "GetDTSinfoCLK", "SamplingCycle", "Sampling0Timing",
          "GetDTSdatax2", "GetDTSParameters", "GetDTSParametersCount", "NoSuchMethod"}) {
      for (const std::string& payload : payloads) {
        const grpc::StatusCode code = CallWithPayload(channel, method, payload).error_code();
        EXPECT_TRUE(handled.count(code)) << method << " " << code;
      }
    }
  }
  EXPECT_EQ(Ask(address), 0);
  ServerProcess second(dir_, "second", "anonymous = allow\n", plain.port());
  EXPECT_NE(second.Log().find("another process"), std::string::npos) << second.Log();
  // Idle connections, and connections each with as many calls whose message never comes as the
  // server lets one connection have.
  const pid_t worker = plain.Workers().at(0);
  const long fds = Descriptors(worker);
  constexpr int kIdle = 1000, kChannels = 128;
  std::vector<std::unique_ptr<UnfinishedCalls>> unfinished;
  for (int i = 0; i < kIdle + kChannels; ++i) {
    unfinished.push_back(std::make_unique<UnfinishedCalls>(plain.port(), i < kChannels ? 16 : 0));
    ASSERT_TRUE(unfinished.back()->connected);
  }
  for (int i = 0; i < 20; ++i) EXPECT_EQ(Ask(address, milliseconds(5000)), 0);
  EXPECT_LE(Descriptors(worker), fds + kIdle + kChannels + 8);  // one per connection
  tovakRelease();
  EXPECT_EQ(Ask(secure), 0);
  // The idle time ends the library's connection too (the default is five minutes), unnoticed.
  EXPECT_TRUE(Eventually([&] { return Connections(tls.port()) == 0; }));
  EXPECT_EQ(Ask(secure), 0);
  tovakRelease();
  // No connection stays open: a connection with an unfinished call is never idle, but its age ends
  // it with the calls.
  EXPECT_TRUE(Eventually([&] { return Connections(plain.port()) == 0; }));
  EXPECT_LE(Descriptors(worker), fds + 2);
  for (ServerProcess* server : {&plain, &tls}) ExpectCleanEnd(*server);
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
  EXPECT_EQ(Ask(address), 0);
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
  EXPECT_NE(server.Log().find("refused:stopping"), std::string::npos) << server.Log();
}

}  // namespace
}  // namespace tovak::testing
