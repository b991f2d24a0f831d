#include "server/service.h"

#include <grpc/grpc_security_constants.h>
#include <grpcpp/impl/codegen/proto_utils.h>
#include <grpcpp/impl/rpc_service_method.h>
#include <grpcpp/security/auth_context.h>
#include <grpcpp/server_context.h>
#include <grpcpp/support/method_handler.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <functional>

#include "remote/call_auth.h"
#include "remote/timing_data.pb.h"
#include "server/lookups.h"
#include "server/request_log.h"
#include "tovak/remote_client.h"
#include "tovak/server_support.h"

namespace tovak::server {
namespace {

std::optional<std::string> Metadata(const grpc::ServerContext& context, const char* key) {
  const auto& metadata = context.client_metadata();
  const auto found = metadata.find(key);
  if (found == metadata.end()) return std::nullopt;
  return std::string(found->second.data(), found->second.size());
}

CallProof ProofOf(const grpc::ServerContext& context) {
  CallProof proof;
  proof.user = Metadata(context, remote::kUserKey);
  proof.audience = Metadata(context, remote::kAudienceKey).value_or("");
  proof.time = Metadata(context, remote::kTimeKey).value_or("");
  proof.nonce = Metadata(context, remote::kNonceKey).value_or("");
  proof.signature = Metadata(context, remote::kSignatureKey).value_or("");
  if (const auto auth = context.auth_context()) {
    for (const grpc::string_ref& pem : auth->FindPropertyValues(GRPC_X509_PEM_CERT_PROPERTY_NAME)) {
      proof.certificate.assign(pem.data(), pem.size());
    }
  }
  return proof;
}

// One refusal for every fault of identity: a caller cannot tell an unknown
// user from a bad proof.
grpc::Status Refusal() {
  return {grpc::StatusCode::UNAUTHENTICATED, "credentials required or not valid"};
}

// A lookup that is not let run: the status its caller gets (if still there) and the log's reason.
struct Turned {
  grpc::Status status;
  const char* reason;
};
Turned TurnedAway(Admission::Outcome outcome) {
  switch (outcome) {
    case Admission::Outcome::kBusy:
      return {{grpc::StatusCode::RESOURCE_EXHAUSTED, "server busy"}, "busy"};
    case Admission::Outcome::kStopping:
      return {{grpc::StatusCode::UNAVAILABLE, "server stopping"}, "stopping"};
    default: return {{grpc::StatusCode::CANCELLED, "caller gone"}, "gone"};
  }
}

bool CallerGone(grpc::ServerContext& context) {
  return context.IsCancelled() || context.deadline() <= std::chrono::system_clock::now();
}

// The caller's deadline on the clock the database queries use.
std::chrono::steady_clock::time_point QueryLimit(const grpc::ServerContext& context) {
  const auto left = std::min<std::chrono::system_clock::duration>(
      context.deadline() - std::chrono::system_clock::now(), std::chrono::hours(24));
  return std::chrono::steady_clock::now() +
         std::chrono::duration_cast<std::chrono::steady_clock::duration>(left);
}

// The method's name in a path "/package.Service/Method".
const char* MethodName(const char* path) { return std::strrchr(path, '/') + 1; }

}  // namespace

class TimingDataService::Stopwatch {
 public:
  int64_t micros() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                                 start_)
        .count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

TimingDataService::TimingDataService(const ServerConfig& config, Authorizer& authorizer)
    : config_(config), authorizer_(authorizer), admission_(config.queueLength) {
  Add<v1::SelectSiteRequest, v1::SelectSiteReply>("/tovak.remote.v1.TimingData/SelectSite",
                                                  &TimingDataService::SelectSite);
  AddLookup("/tovak.remote.v1.TimingData/GetDTSinfox", AnswerDTSinfox);
  AddLookup("/tovak.remote.v1.TimingData/GetDTSinfoCLK", AnswerDTSinfoCLK);
  AddLookup("/tovak.remote.v1.TimingData/SamplingCycle", AnswerSamplingCycle);
  AddLookup("/tovak.remote.v1.TimingData/Sampling0Timing", AnswerSampling0Timing);
  AddLookup("/tovak.remote.v1.TimingData/GetDTSdatax2", service::AnswerTimeBase);
  AddLookup("/tovak.remote.v1.TimingData/GetDTSParameters", AnswerDTSParameters);
  AddLookup("/tovak.remote.v1.TimingData/GetDTSParametersCount", AnswerDTSParametersCount);
}

template <class Request, class Reply, class Handle>
void TimingDataService::Add(const char* path, Handle handle) {
  const char* method = MethodName(path);
  AddMethod(new grpc::internal::RpcServiceMethod(
      path, grpc::internal::RpcMethod::NORMAL_RPC,
      new grpc::internal::RpcMethodHandler<TimingDataService, Request, Reply,
                                           google::protobuf::MessageLite,
                                           google::protobuf::MessageLite>(
          [method, handle](TimingDataService* service, grpc::ServerContext* context,
                           const Request* request, Reply* reply) {
            return std::invoke(handle, *service, context, method, *request, reply);
          },
          this)));
}

template <class Request, class Reply>
void TimingDataService::AddLookup(const char* path,
                                  void (*answer)(const char*, const Request&, Reply*)) {
  Add<Request, Reply>(path, [answer](TimingDataService& service, grpc::ServerContext* context,
                                     const char* method, const Request& request, Reply* reply) {
    return service.Serve(context, method, request, [&](const char* index) {
      answer(index, request, reply);
      return reply->status();
    });
  });
}

grpc::Status TimingDataService::SelectSite(grpc::ServerContext* context, const char* method,
                                           const v1::SelectSiteRequest& request,
                                           v1::SelectSiteReply* reply) {
  const Stopwatch watch;
  const std::string& site = request.site();
  const Verdict verdict = Identify(context, method, site, request, watch);
  if (!verdict.allowed) return Refusal();
  const bool served = request.has_site() && config_.sites.count(SiteKey(site)) != 0;
  reply->set_status(served ? 0 : TOVAK_E_REMOTE_UNKNOWN_SITE);
  LogRequest(verdict.user, site, method, std::to_string(reply->status()), watch.micros());
  return grpc::Status::OK;
}

Verdict TimingDataService::Identify(grpc::ServerContext* context, const char* method,
                                    const std::string& site,
                                    const google::protobuf::MessageLite& request,
                                    const Stopwatch& watch) {
  const CallProof proof = ProofOf(*context);
  CallFacts call{method, site, ""};
  if (proof.user.has_value() && proof.certificate.empty()) {
    call.requestDigest = remote::Sha256(request.SerializeAsString());
  }
  Verdict verdict = authorizer_.Check(proof, call, static_cast<int64_t>(std::time(nullptr)));
  if (!verdict.allowed) LogRefusal(verdict.user, site, method, verdict.reason, watch.micros());
  return verdict;
}

template <class Answer>
grpc::Status TimingDataService::Serve(grpc::ServerContext* context, const char* method,
                                      const google::protobuf::MessageLite& request,
                                      Answer&& answer) {
  const Stopwatch watch;
  const std::string site = Metadata(*context, remote::kSiteKey).value_or("");
  const Verdict verdict = Identify(context, method, site, request, watch);
  if (!verdict.allowed) return Refusal();
  const auto served = config_.sites.find(SiteKey(site));
  if (served == config_.sites.end()) {
    LogRefusal(verdict.user, site, method, "site", watch.micros());
    return {grpc::StatusCode::NOT_FOUND, "site not served"};
  }
  const Admission::Ticket turn = admission_.Enter(context->deadline());
  if (turn.outcome() != Admission::Outcome::kTurn || CallerGone(*context)) {
    const Turned turned = TurnedAway(turn.outcome());
    LogRefusal(verdict.user, site, method, turned.reason, watch.micros());
    return turned.status;
  }
  int status = 0;
  {
    const service::QueryDeadline limit(QueryLimit(*context));
    status = answer(served->second.indexServer.c_str());
  }
  LogRequest(verdict.user, site, method, std::to_string(status), watch.micros());
  return grpc::Status::OK;
}

}  // namespace tovak::server
