#include "server/worker.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>

#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>

#include "remote/file_text.h"
#include "server/authorizer.h"
#include "server/service.h"
#include "tovak/tovak.h"

namespace tovak::server {
namespace {

constexpr auto kShutdownGrace = std::chrono::seconds(5);

std::shared_ptr<grpc::ServerCredentials> Credentials(const ServerConfig& config) {
  if (!config.tls()) return grpc::InsecureServerCredentials();
  grpc::SslServerCredentialsOptions::PemKeyCertPair pair;
  if (!remote::ReadWholeFile(config.tlsKeyFile, &pair.private_key) ||
      !remote::ReadWholeFile(config.tlsCertificateFile, &pair.cert_chain)) {
    return nullptr;
  }
  grpc::SslServerCredentialsOptions options;
  options.pem_key_cert_pairs.push_back(std::move(pair));
  return grpc::SslServerCredentials(options);
}

void WaitForStopSignal() {
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGTERM);
  sigaddset(&stop, SIGINT);
  int signal = 0;
  while (sigwait(&stop, &signal) != 0) {
  }
}

void ReportReady(int readyFd) {
  const char ready = 1;
  [[maybe_unused]] const ssize_t written = write(readyFd, &ready, 1);
  close(readyFd);
}

}  // namespace

int RunWorker(const ServerConfig& config, const std::string& address, int readyFd) {
  // A worker outlives no supervisor.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  Authorizer authorizer;
  std::string error;
  if (!authorizer.Load(config, &error)) {
    std::fprintf(stderr, "tovak-server: %s\n", error.c_str());
    return 1;
  }
  auto credentials = Credentials(config);
  if (!credentials) {
    std::fprintf(stderr, "tovak-server: cannot read the TLS certificate or key\n");
    return 1;
  }
  // Direct database access, with the index connection kept open between
  // requests.
  setTovakProtocolV1();
  IndexNoClosing(1);

  TimingDataService service(config, authorizer);
  grpc::ServerBuilder builder;
  builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 1);
  // A connection that never completes its set-up, or stays without calls, does not hold a
  // descriptor for good; a client whose idle connection was closed connects again by itself.
  builder.AddChannelArgument(GRPC_ARG_SERVER_HANDSHAKE_TIMEOUT_MS,
                             config.handshakeTimeoutSeconds * 1000);
  builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_IDLE_MS, config.idleTimeoutSeconds * 1000);
  builder.AddListeningPort(address, credentials);
  builder.RegisterService(&service);
  std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
  if (!server) {
    std::fprintf(stderr, "tovak-server: cannot listen on %s\n", address.c_str());
    return 1;
  }
  ReportReady(readyFd);
  WaitForStopSignal();
  server->Shutdown(std::chrono::system_clock::now() + kShutdownGrace);
  server->Wait();
  IndexNoClosing(0);
  return 0;
}

}  // namespace tovak::server
