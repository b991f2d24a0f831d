// Faults around a real tovak-server, met through the library's public calls: the server killed,
// paused or losing workers, clients sending it garbage, its database stopped. Each fault gives a
// documented status within the deadline (with slack: a bound on a hang, not a speed goal), the
// server neither crashes nor leaks, and the first call after recovery answers correctly. Calls
// meant to be answered get a generous deadline, so that only a paused or gone server ends them.
#include <grpcpp/create_channel.h>
#include <grpcpp/generic/generic_stub.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
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
#include "tovak/param_set.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The deadline of calls meant to meet a paused or gone server.
constexpr milliseconds kDeadline{3000};

// A TCP connection to the server that speaks whatever the test sends.
class RawConnection {
 public:
  explicit RawConnection(int port) : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  ~RawConnection() { close(fd_); }
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  bool connected() const { return connected_; }
  void Send(const std::string& bytes) {
    [[maybe_unused]] const ssize_t sent = send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  // Reads whatever the server sends until it closes the connection (true) or kGuard passes.
  bool ClosedByServer() {
    const Clock::time_point end = Clock::now() + kGuard;
    char buffer[4096];
    for (;;) {
      const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now()).count();
      pollfd readable{fd_, POLLIN, 0};
      if (left <= 0 || poll(&readable, 1, static_cast<int>(left)) != 1) return false;
      if (recv(fd_, buffer, sizeof buffer, 0) <= 0) return true;
    }
  }

 private:
  int fd_;
  bool connected_ = false;
};

const std::string kPreface("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n");
const std::string kEmptySettings("\0\0\0\x04\0\0\0\0\0", 9);

std::string RandomBytes(size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(count, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

// The start of a TLS 1.2 ClientHello record announcing more than it carries.
std::string ClientHello() {
  return std::string("\x16\x03\x01\x00\xa5\x01\x00\x00\xa1\x03\x03", 11) + RandomBytes(32, 7) +
         std::string("\x00\x00\x02\x13\x01\x01\x00", 7) + std::string(80, '\0');
}

// The server's side of the TCP connections to port (gRPC listens on IPv6 sockets that take IPv4
// too): those it holds open and those waiting to be accepted (its listening sockets' queues).
struct Connections {
  long open = 0, waiting = 0;
};
Connections ConnectionsTo(int port) {
  Connections connections;
  for (const char* file : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream table(file);
    std::string rest, slot, local, remote, state, queues;
    for (std::getline(table, rest); table >> slot >> local >> remote >> state >> queues;
         std::getline(table, rest)) {
      if (std::stoi(local.substr(local.find(':') + 1), nullptr, 16) != port) continue;
      const long queued = std::stol(queues.substr(queues.find(':') + 1), nullptr, 16);
      connections.open += state == "01" || state == "08";  // established, or closed by the client
      connections.waiting += state == "0A" ? queued : 0;
    }
  }
  return connections;
}

// Open descriptors and resident memory of a process.
long Descriptors(pid_t pid) {
  return std::distance(std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd"),
                       std::filesystem::directory_iterator());
}
long ResidentKiB(pid_t pid) {
  long size = 0, pages = 0;
  std::ifstream("/proc/" + std::to_string(pid) + "/statm") >> size >> pages;
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

// Calls of method (a full path) that open their stream and send nothing more, as many as asked on
// one channel; cancelled at the end.
class UnfinishedCalls {
 public:
  UnfinishedCalls(const std::shared_ptr<grpc::Channel>& channel, const std::string& method,
                  int count)
      : stub_(channel), calls_(static_cast<size_t>(count)) {
    for (Call& call : calls_) {
      call.stream = stub_.PrepareCall(&call.context, method, &queue_);
      call.stream->StartCall(nullptr);
      call.stream->Finish(&call.status, nullptr);
    }
  }
  ~UnfinishedCalls() {
    for (Call& call : calls_) call.context.TryCancel();
    queue_.Shutdown();
    void* tag = nullptr;
    bool ok = false;
    while (queue_.Next(&tag, &ok)) {
    }
  }

 private:
  struct Call {
    grpc::ClientContext context;
    grpc::Status status;
    std::unique_ptr<grpc::GenericClientAsyncReaderWriter> stream;
  };
  grpc::GenericStub stub_;
  grpc::CompletionQueue queue_;
  std::vector<Call> calls_;
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

  // Asks the next known question through the server at address and returns the status; checks
  // that the call ends within three deadlines and slack (a lookup may connect, select its site and
  // call) and that an answer is the right one.
  int Ask(const std::string& address, milliseconds deadline = kGuard) {
    setenv("TOVAK_DEADLINE_MS", std::to_string(deadline.count()).c_str(), 1);
    setTovakProtocolV2((address_ = address).c_str());
    const auto& [question, known] = known_[next_++ % known_.size()];
    const Clock::time_point start = Clock::now();
    const Answer answer = question("/ubo");
    EXPECT_LT(Clock::now() - start, 3 * deadline + std::chrono::seconds(10)) << known.call;
    if (answer.status == 0) {
      EXPECT_EQ(Mismatch(known, answer), "");
    }
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

  // The server ended well: no worker had to be replaced, no sanitizer report, exit status 0.
  static void ExpectCleanEnd(ServerProcess& server) {
    EXPECT_EQ(server.Log().find("ended ("), std::string::npos) << server.Log();
    EXPECT_EQ(server.Stop(), 0);
    EXPECT_EQ(server.Log().find("Sanitizer"), std::string::npos) << server.Log();
  }

  TempDir dir_;
  std::vector<std::pair<Question, Answer>> known_;
  size_t next_ = 0;
  std::string address_;  // the library keeps a pointer to it
};

// Statuses of a lookup whose server is gone: the call in flight, then the set-up.
const std::set<int> kServerGone = {TOVAK_E_REMOTE_UNAVAILABLE, TOVAK_E_NO_REMOTE};

TEST_F(FaultTest, KilledServerIsFoundAgainOnTheSamePort) {
  ServerProcess first(dir_, "first", "anonymous = allow\nworkers = 2\n");
  ASSERT_TRUE(first.listening()) << first.Log();
  const int port = first.port();
  const std::string address = first.Address("ubo");
  std::unique_ptr<ServerProcess> server;
  const struct {
    int signal;
    bool wholeGroup, duringCalls;
  } cases[] = {{SIGTERM, false, false},
               {SIGKILL, true, false},
               {SIGTERM, false, true},
               {SIGKILL, true, true}};
  int round = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(strsignal(c.signal)) + (c.duringCalls ? " during calls" : ""));
    ServerProcess& current = server ? *server : first;
    ASSERT_EQ(Ask(address), 0);
    const auto stop = [&] {
      if (c.wholeGroup) {
        current.KillAll(c.signal);
      } else {
        EXPECT_EQ(current.Stop(), 0);  // gracefully
      }
    };
    if (!c.duringCalls) stop();
    std::thread killer;  // during calls: set off by the first answer, while the calls go on
    int status = 0, answered = 0;
    Eventually([&] {  // asks until the first failure
      status = Ask(address);
      if (status == 0 && ++answered == 1 && c.duringCalls) killer = std::thread(stop);
      return status != 0;
    });
    if (killer.joinable()) killer.join();
    EXPECT_TRUE(kServerGone.count(status)) << status;
    EXPECT_EQ(answered > 0, c.duringCalls);
    EXPECT_EQ(current.Log().find("Sanitizer"), std::string::npos) << current.Log();
    // Killed workers may hold the port a moment longer than their supervisor lives.
    EXPECT_TRUE(Eventually([&] { return !RawConnection(port).connected(); }));
    // A name of its own: a port file left by an earlier server would read as listening at once.
    server = std::make_unique<ServerProcess>(dir_, "again" + std::to_string(++round),
                                             "anonymous = allow\nworkers = 2\n", port);
    ASSERT_TRUE(server->listening()) << server->Log();
    EXPECT_EQ(Ask(address), 0) << server->Log();  // the client connects again
  }
  ExpectCleanEnd(*server);
}

TEST_F(FaultTest, PausedServerGivesTheDeadlineAndASlowOneAnswersInTime) {
  ServerProcess server(dir_, "paused", "anonymous = allow\nworkers = 1\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string address = server.Address("ubo");
  ASSERT_EQ(Ask(address), 0);
  {
    const Stopped paused({server.group()});
    ASSERT_TRUE(paused.ok());
    EXPECT_EQ(Ask(address, kDeadline), TOVAK_E_REMOTE_DEADLINE);
    EXPECT_EQ(Ask(address, kDeadline), TOVAK_E_NO_REMOTE);  // a new set-up gives up in time too
  }
  EXPECT_EQ(Ask(address), 0);
  // Paused while a lookup connects (its connection waits to be accepted): the answer comes late,
  // but comes.
  tovakRelease();
  std::future<int> slow;
  {
    const Stopped paused({server.group()});
    const long waiting = ConnectionsTo(server.port()).waiting;  // the given-up set-up's, maybe
    slow = std::async(std::launch::async, [&] { return Ask(address); });
    EXPECT_TRUE(Eventually([&] { return ConnectionsTo(server.port()).waiting > waiting; }));
  }
  EXPECT_EQ(slow.get(), 0);
  ExpectCleanEnd(server);
}

TEST_F(FaultTest, KilledWorkersAreReplacedAndCallsGoOn) {
  ServerProcess server(dir_, "workers", "anonymous = allow\nworkers = 2\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string address = server.Address("ubo");
  ASSERT_EQ(Ask(address), 0);
  const struct {
    size_t victims;
    bool replacementToo;  // the victim's replacement is killed while it starts
  } cases[] = {{1, false}, {2, false}, {1, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.victims) + (c.replacementToo ? " and its replacement" : ""));
    const std::vector<pid_t> before = server.Workers();
    ASSERT_EQ(before.size(), 2u);
    std::vector<pid_t> victims(before.begin(), before.begin() + static_cast<long>(c.victims));
    for (pid_t victim : victims) kill(victim, SIGKILL);
    const auto known = [&](pid_t pid) {
      return std::find(before.begin(), before.end(), pid) != before.end() ||
             std::find(victims.begin(), victims.end(), pid) != victims.end();
    };
    EXPECT_TRUE(!c.replacementToo || Eventually([&] {
      for (pid_t pid : server.Workers()) {
        if (!known(pid) && kill(pid, SIGKILL) == 0) victims.push_back(pid);
      }
      return victims.size() > c.victims;
    }));
    const auto workers = [&] {  // those running now, or none while a victim is among them
      std::vector<pid_t> now = server.Workers();
      const bool stale =
          std::find_first_of(now.begin(), now.end(), victims.begin(), victims.end()) != now.end();
      return stale ? std::vector<pid_t>() : now;
    };
    // The connection to a killed worker fails once; the next set-up finds a live one.
    EXPECT_TRUE(AnswersAgain(address, kServerGone));
    ASSERT_TRUE(Eventually([&] { return workers().size() == 2; })) << server.Log();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Ask(address), 0);
  }
  EXPECT_NE(server.Log().find("ended (signal 9), starting another"), std::string::npos);
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_EQ(server.Log().find("Sanitizer"), std::string::npos) << server.Log();
}

TEST_F(FaultTest, GarbageFromClientsNeitherStopsNorLeaksAndRealCallsAreAnswered) {
  const std::string cert = MakeServerCert(dir_, "cert");
  ServerProcess plain(dir_, "plain", "anonymous = allow\nworkers = 2\n");
  ServerProcess tls(dir_, "tls",
                    "anonymous = allow\nworkers = 2\ntls_certificate = " + cert +
                        ".crt\ntls_key = " + cert + ".key\n");
  ASSERT_TRUE(plain.listening()) << plain.Log();
  ASSERT_TRUE(tls.listening()) << tls.Log();
  setenv("TOVAK_CA_FILE", (cert + ".crt").c_str(), 1);
  const struct {
    const char* name;
    const ServerProcess& server;
    std::string bytes;
    bool answered;  // the server ends the connection itself
  } cases[] = {
      {"random bytes", plain, RandomBytes(65536, 1), true},
      {"HTTP/1.1 request", plain, "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n", true},
      {"HTTP/2 preface then junk", plain, kPreface + RandomBytes(4096, 2), true},
      {"TLS ClientHello to a plain server", plain, ClientHello(), true},
      {"plain HTTP/2 to a TLS server", tls, kPreface + kEmptySettings, true},
      {"random bytes to a TLS server", tls, RandomBytes(65536, 3), true},
      // A SETTINGS frame announcing 100 bytes of which 2 come, then the client leaves.
      {"half a frame", plain, kPreface + std::string("\0\0\x64\x04\0\0\0\0\0\0\x01", 11), false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    RawConnection garbage(c.server.port());
    ASSERT_TRUE(garbage.connected());
    garbage.Send(c.bytes);
    if (c.answered) {
      EXPECT_TRUE(garbage.ClosedByServer());
    }
    EXPECT_EQ(Ask(plain.Address("ubo")), 0);  // also while a half-sent or idle one stays open
  }
  tovakRelease();
  EXPECT_EQ(Ask(tls.Address("ubo", "grpcs")), 0);
  tovakRelease();
  // Every client has gone: the server holds no connection open.
  for (const ServerProcess* server : {&plain, &tls}) {
    EXPECT_TRUE(Eventually([&] { return ConnectionsTo(server->port()).open == 0; }));
  }
  for (ServerProcess* server : {&plain, &tls}) ExpectCleanEnd(*server);
}

TEST_F(FaultTest, RequestsWithLongTextsAreAnsweredWithoutHarm) {
  ServerProcess server(dir_, "long", "anonymous = allow\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string address = server.Address("ubo");
  setTovakProtocolV2(address.c_str());
  for (size_t length : {size_t{16383}, size_t{16384}, size_t{100000}, size_t{3000000}}) {
    SCOPED_TRACE(length);
    const std::string text(length, 'M');
    const char* t = text.c_str();
    char out[8][16384] = {};
    short n3 = 0, n4 = 0, count = 0;
    int i1 = 0, i2 = 0, i3 = 0, i4 = 0, i5 = 0, first = 1, last = 8, interval = 1000;
    int64_t p1 = 0, p2 = 0, p3 = 0, p4 = 0;
    double d1 = 0, d2 = 0;
    CParamSet list;
    const int statuses[] = {
        tovakGetDTSinfox(t, 120000, 0, 1, 1, t, out[0], out[1], out[2], &n3, &n4, &i1, &i2, out[3],
                         &i3, &i4, &i5, out[4]),
        tovakGetDTSinfoCLK(t, 120000, 0, 1, 1, t, out[0], out[1], out[2], out[3], out[4], &i1, &i2,
                           out[5], out[6], out[7], out[0], out[1], out[2]),
        tovakSamplingCycle(t, t, t, t, t, t, t, t, t, &interval, 120000, 0, t, t, t, &p1, &p2, &p3,
                           &p4),
        tovakSampling0Timing(t, true, t, t, t, t, 120000, 0, t, t, 1000, 0, &p1, &p2),
        tovakGetDTSdatax2_ex(t, t, t, t, t, t, t, t, t, &interval, 4, 120000, 0, t, t, t, t, 4, 1,
                             1, nullptr, &d1, &d2),
        getDTSParameters(t, t, t, 120000, 0, 1, list),
        tovakGetDTSParametersCount(t, t, t, 120000, 0, &count, &first, &last, out[0]),
    };
    // The lookup's own failure, or -608 for a request larger than the server takes (4 MiB).
    const bool overLimit = length * 2 > 4 * 1024 * 1024;  // as every request with two texts
    for (int status : statuses) {
      EXPECT_TRUE(status < 0 &&
                  (status > TOVAK_E_NO_REMOTE || (overLimit && status == TOVAK_E_REMOTE_PROTOCOL)))
          << status;
    }
    EXPECT_EQ(Ask(address), 0);
  }
  ExpectCleanEnd(server);
}

// A message of fields 1 to 15 (every field of the service's messages), each with the same wire
// type: numbers at their extreme (varint 2^64-1), or texts and nested messages of invalid UTF-8 and
// not of the message's form.
std::string EveryField(bool asText) {
  std::string message;
  for (char field = 1; field <= 15; ++field) {  // one-byte keys
    message += static_cast<char>(field << 3 | (asText ? 2 : 0));
    message +=
        asText ? std::string("\x05\xff\xfe\x80\x00\x12", 6) : std::string(9, '\xff') + '\x01';
  }
  return message;
}

TEST_F(FaultTest, MalformedRequestsAreRefusedOrAnsweredAndTheServerGoesOn) {
  ServerProcess server(dir_, "malformed", "anonymous = allow\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string address = server.Address("ubo");
  const auto channel = PlainChannel(server.port());
  const std::string payloads[] = {
      "",
      RandomBytes(64, 11),
      RandomBytes(4096, 12),
      EveryField(false),
      EveryField(true),
      std::string("\x0a\xff\xff\xff\xff\x0f", 6)};  // a text past the end
  for (const char* method :
       {"SelectSite", "GetDTSinfox", "GetDTSinfoCLK", "SamplingCycle", "Sampling0Timing",
        "GetDTSdatax2", "GetDTSParameters", "GetDTSParametersCount", "NoSuchMethod"}) {
    for (const std::string& payload : payloads) {
      const grpc::StatusCode code = CallWithPayload(channel, method, payload).error_code();
      // Answered, or refused as not parsable (or not known): never a lost connection or a hang.
      EXPECT_TRUE(code == grpc::StatusCode::OK || code == grpc::StatusCode::INTERNAL ||
                  code == grpc::StatusCode::INVALID_ARGUMENT ||
                  code == grpc::StatusCode::UNIMPLEMENTED)
          << method << " " << code;
    }
    EXPECT_EQ(Ask(address), 0) << method;
  }
  ExpectCleanEnd(server);
}

TEST_F(FaultTest, ConnectionsThatNeverCallAreClosedAndAnIdleClientCarriesOn) {
  ServerProcess server(dir_, "idle",
                       "anonymous = allow\nhandshake_timeout = 1\nidle_timeout = 2\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  ASSERT_EQ(Ask(server.Address("ubo")), 0);
  RawConnection silent(server.port()), http2(server.port());
  http2.Send(kPreface + kEmptySettings);
  // After the set-up time, or the idle time (the library's connection too; the default is five
  // minutes), the server closes each connection itself.
  EXPECT_TRUE(Eventually([&] { return ConnectionsTo(server.port()).open == 0; }));
  // The next call connects again unnoticed.
  EXPECT_EQ(Ask(server.Address("ubo")), 0);
  ExpectCleanEnd(server);
}

TEST_F(FaultTest, OneClientsUnfinishedCallsAndIdleConnectionsLeaveAnothersLookupsAnswered) {
  ServerProcess server(dir_, "abuse",
                       "anonymous = allow\nmax_connection_age = 20\n"
                       "connection_age_grace = 1\n");
  ASSERT_TRUE(server.listening()) << server.Log();
  const std::string address = server.Address("ubo"),
                    target = "127.0.0.1:" + std::to_string(server.port());
  ASSERT_EQ(Ask(address), 0);
  const pid_t worker = server.Workers().at(0);
  const long fds = Descriptors(worker), rss = ResidentKiB(worker);
  ServerProcess second(dir_, "second", "anonymous = allow\n", server.port());
  EXPECT_NE(second.Log().find("another process"), std::string::npos) << second.Log();

  // The abuser: idle connections, and connections each with as many calls whose message never
  // comes as the server lets one connection have.
  constexpr int kIdle = 1000, kChannels = 128, kCallsPerChannel = 16;
  std::vector<std::unique_ptr<UnfinishedCalls>> unfinished;
  for (int i = 0; i < kIdle + kChannels; ++i) {
    grpc::ChannelArguments arguments;
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);  // a connection of its own
    arguments.SetInt(GRPC_ARG_ENABLE_RETRIES, 0);             // ended calls stay ended
    auto channel = grpc::CreateCustomChannel(target, grpc::InsecureChannelCredentials(), arguments);
    ASSERT_TRUE(channel->WaitForConnected(std::chrono::system_clock::now() + kGuard));
    unfinished.push_back(std::make_unique<UnfinishedCalls>(
        channel, "/tovak.remote.v1.TimingData/GetDTSinfox", i < kChannels ? kCallsPerChannel : 0));
  }
  // The other client's lookups answer within their deadline.
  using std::chrono::microseconds;
  microseconds slowest{};
  for (int i = 0; i < 20; ++i) {
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(Ask(address, milliseconds(5000)), 0);
    slowest = std::max(slowest, std::chrono::duration_cast<microseconds>(Clock::now() - start));
  }
  // One descriptor per connection, under 384 KiB each with its calls (sanitizer build).
  EXPECT_LE(Descriptors(worker), fds + kIdle + kChannels + 8);
  EXPECT_LT(ResidentKiB(worker) - rss, 384 * (kIdle + kChannels));
  std::printf("abuse: fds %ld -> %ld, RSS %ld -> %ld KiB, slowest other lookup %ld us\n", fds,
              Descriptors(worker), rss, ResidentKiB(worker), static_cast<long>(slowest.count()));
  // A connection with an unfinished call is never idle: its age ends it, with the calls.
  EXPECT_TRUE(Eventually([&] { return ConnectionsTo(server.port()).open == 0; }));
  EXPECT_LE(Descriptors(worker), fds + 2);
  ExpectCleanEnd(server);
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
  for (int i = 0; i < 5; ++i) EXPECT_EQ(Ask(address), 0);
  // Paused again: one lookup held, two waiting, the rest refused at once as busy, the library's
  // call too. A stop refuses the waiting ones and kills the held worker within 5 s.
  auto paused = std::make_unique<Stopped>(database.Processes());
  const auto channel = PlainChannel(server.port());
  const auto lookup = [&] { return CallWithPayload(channel, "GetDTSinfox", ""); };
  std::vector<std::shared_future<grpc::Status>> calls(12);
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
