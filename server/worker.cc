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

#include "remote/secret_text.h"
#include "server/authorizer.h"
#include "server/service.h"
#include "tovak/tovak.h"

namespace tovak::server {
namespace {

constexpr auto kShutdownGrace = std::chrono::seconds(5);

// Over TLS a client may present a certificate: no chain is checked, the
// service accepts it when its key is a user's key (the handshake proved that
// the client holds the private key).
std::shared_ptr<grpc::ServerCredentials> Credentials(const KeySet& keys) {
  if (keys.tlsCertificate.empty()) return grpc::InsecureServerCredentials();
  grpc::SslServerCredentialsOptions options(GRPC_SSL_REQUEST_CLIENT_CERTIFICATE_BUT_DONT_VERIFY);
  options.pem_key_cert_pairs.push_back({keys.tlsKey.value, keys.tlsCertificate});
  auto credentials = grpc::SslServerCredentials(options);
  remote::SecretText(std::move(options.pem_key_cert_pairs.front().private_key)).Wipe();
  return credentials;
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

int RunWorker(const ServerConfig& config, const KeySet& keys, NonceStore& nonces,
              const std::string& address, int readyFd) {
  // A worker outlives no supervisor.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  Authorizer authorizer(config, keys, nonces);
  auto credentials = Credentials(keys);
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
