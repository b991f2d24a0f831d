#include "server/worker.h"

#include <grpcpp/health_check_service_interface.h>
#include <grpcpp/resource_quota.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>

#include "remote/secret_text.h"
#include "server/authorizer.h"
#include "server/service.h"
#include "tovak/tovak.h"

namespace tovak::server {
namespace {

// Calls still running this long after a stop are cancelled; the supervisor kills a worker that
// has not ended a second later (server/supervisor.cc).
constexpr auto kShutdownGrace = std::chrono::seconds(3);
// Threads beyond one per call the queue holds: the running call, gRPC's pollers, and calls being
// checked or refused. When even these are taken, gRPC itself refuses further calls as busy.
constexpr int kSpareThreads = 8;

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

// Limits on what connections and their calls may hold (server_config.h).
void BoundConnections(const ServerConfig& config, grpc::ServerBuilder& builder) {
  grpc::ResourceQuota quota("tovak-worker");
  quota.SetMaxThreads(config.queueLength + kSpareThreads);
  builder.SetResourceQuota(quota);
  // A connection that never completes its set-up, or stays without calls, does not hold a
  // descriptor for good; a client whose idle connection was closed connects again by itself.
  builder.AddChannelArgument(GRPC_ARG_SERVER_HANDSHAKE_TIMEOUT_MS,
                             config.handshakeTimeoutSeconds * 1000);
  builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_IDLE_MS, config.idleTimeoutSeconds * 1000);
  // A connection with a call open is never idle, even when the call's message never completes:
  // its age ends it.
  builder.AddChannelArgument(GRPC_ARG_MAX_CONCURRENT_STREAMS, config.maxStreams);
  builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_AGE_MS, config.maxConnectionAgeSeconds * 1000);
  builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_AGE_GRACE_MS,
                             config.connectionAgeGraceSeconds * 1000);
  // Pings to silent peers, with calls or without; one that does not answer is dropped.
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, config.keepaliveTimeSeconds * 1000);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, config.keepaliveTimeoutSeconds * 1000);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MAX_PINGS_WITHOUT_DATA, 0);
}

void ReportReady(int readyFd) {
  const char ready = 1;
  [[maybe_unused]] const ssize_t written = write(readyFd, &ready, 1);
  close(readyFd);
}

}  // namespace

int RunWorker(const ServerConfig& config, const KeySet& keys, NonceStore& nonces,
              const std::string& address, int readyFd) {
  Authorizer authorizer(config, keys, nonces);
  auto credentials = Credentials(keys);
  // Direct database access, with the index connection kept open between
  // requests.
  setTovakProtocolV1();
  IndexNoClosing(1);

  TimingDataService service(config, authorizer);
  // grpc.health.v1.Health answers SERVING for the server ("") while the worker serves.
  grpc::EnableDefaultHealthCheckService(true);
  grpc::ServerBuilder builder;
  builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 1);
  BoundConnections(config, builder);
  builder.AddListeningPort(address, credentials);
  builder.RegisterService(&service);
  std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
  if (!server) {
    std::fprintf(stderr, "tovak-server: cannot listen on %s\n", address.c_str());
    return 1;
  }
  ReportReady(readyFd);
  WaitForStopSignal();
  // Calls that wait for their turn are refused, new ones too; the running one ends.
  service.StopAdmitting();
  if (grpc::HealthCheckServiceInterface* health = server->GetHealthCheckService()) {
    health->Shutdown();  // NOT_SERVING from now on
  }
  server->Shutdown(std::chrono::system_clock::now() + kShutdownGrace);
  server->Wait();
  IndexNoClosing(0);
  return 0;
}

}  // namespace tovak::server
