#include "server/service.h"

#include <algorithm>
#include <chrono>
#include <ctime>

#include <grpc/grpc_security_constants.h>
#include <grpcpp/security/auth_context.h>

#include "db/query_deadline.h"
#include "remote/call_auth.h"
#include "server/lookups.h"
#include "server/request_log.h"
#include "tovak/remote_client.h"

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
    default:
      return {{grpc::StatusCode::CANCELLED, "caller gone"}, "gone"};
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

class Stopwatch {
 public:
  int64_t micros() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now() - start_)
        .count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace

Verdict TimingDataService::Authorize(grpc::ServerContext* context, const char* method,
                                     const std::string& site,
                                     const google::protobuf::MessageLite& request) {
  const CallProof proof = ProofOf(*context);
  CallFacts call{method, site, ""};
  if (proof.user.has_value() && proof.certificate.empty()) {
    call.requestDigest = remote::Sha256(request.SerializeAsString());
  }
  return authorizer_.Check(proof, call, static_cast<int64_t>(std::time(nullptr)));
}

template <class Answer>
grpc::Status TimingDataService::Serve(grpc::ServerContext* context, const char* method,
                                      const google::protobuf::MessageLite& request,
                                      Answer&& answer) {
  const Stopwatch watch;
  const std::string site = Metadata(*context, remote::kSiteKey).value_or("");
  const Verdict verdict = Authorize(context, method, site, request);
  if (!verdict.allowed) {
    LogRefusal(verdict.user, site, method, verdict.reason, watch.micros());
    return Refusal();
  }
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
    const db::QueryDeadline limit(QueryLimit(*context));
    status = answer(served->second.indexServer.c_str());
  }
  LogRequest(verdict.user, site, method, std::to_string(status), watch.micros());
  return grpc::Status::OK;
}

grpc::Status TimingDataService::SelectSite(grpc::ServerContext* context,
                                           const v1::SelectSiteRequest* request,
                                           v1::SelectSiteReply* reply) {
  const Stopwatch watch;
  const std::string site = request->site();
  const Verdict verdict = Authorize(context, "SelectSite", site, *request);
  if (!verdict.allowed) {
    LogRefusal(verdict.user, site, "SelectSite", verdict.reason, watch.micros());
    return Refusal();
  }
  const bool served = request->has_site() && config_.sites.count(SiteKey(site)) != 0;
  reply->set_status(served ? 0 : TOVAK_E_REMOTE_UNKNOWN_SITE);
  LogRequest(verdict.user, site, "SelectSite", std::to_string(reply->status()), watch.micros());
  return grpc::Status::OK;
}

grpc::Status TimingDataService::GetDTSinfox(grpc::ServerContext* context,
                                            const v1::DTSinfoxRequest* request,
                                            v1::DTSinfoxReply* reply) {
  return Serve(context, "GetDTSinfox", *request, [&](const char* index) {
    AnswerDTSinfox(index, *request, reply);
    return reply->status();
  });
}

grpc::Status TimingDataService::GetDTSinfoCLK(grpc::ServerContext* context,
                                              const v1::DTSinfoCLKRequest* request,
                                              v1::DTSinfoCLKReply* reply) {
  return Serve(context, "GetDTSinfoCLK", *request, [&](const char* index) {
    AnswerDTSinfoCLK(index, *request, reply);
    return reply->status();
  });
}

grpc::Status TimingDataService::SamplingCycle(grpc::ServerContext* context,
                                              const v1::SamplingCycleRequest* request,
                                              v1::SamplingCycleReply* reply) {
  return Serve(context, "SamplingCycle", *request, [&](const char* index) {
    AnswerSamplingCycle(index, *request, reply);
    return reply->status();
  });
}

grpc::Status TimingDataService::Sampling0Timing(grpc::ServerContext* context,
                                                const v1::Sampling0TimingRequest* request,
                                                v1::Sampling0TimingReply* reply) {
  return Serve(context, "Sampling0Timing", *request, [&](const char* index) {
    AnswerSampling0Timing(index, *request, reply);
    return reply->status();
  });
}

grpc::Status TimingDataService::GetDTSdatax2(grpc::ServerContext* context,
                                             const v1::DTSdatax2Request* request,
                                             v1::DTSdatax2Reply* reply) {
  return Serve(context, "GetDTSdatax2", *request, [&](const char* index) {
    AnswerDTSdatax2(index, *request, reply);
    return reply->status();
  });
}

grpc::Status TimingDataService::GetDTSParameters(grpc::ServerContext* context,
                                                 const v1::DTSParametersRequest* request,
                                                 v1::DTSParametersReply* reply) {
  return Serve(context, "GetDTSParameters", *request, [&](const char* index) {
    AnswerDTSParameters(index, *request, reply);
    return reply->status();
  });
}

grpc::Status TimingDataService::GetDTSParametersCount(
    grpc::ServerContext* context, const v1::DTSParametersCountRequest* request,
    v1::DTSParametersCountReply* reply) {
  return Serve(context, "GetDTSParametersCount", *request, [&](const char* index) {
    AnswerDTSParametersCount(index, *request, reply);
    return reply->status();
  });
}

}  // namespace tovak::server
