// The remote data service of one worker process: checks each call's proof
// of identity and site, answers it with the library's lookups (one call at a
// time, since the library is single-threaded, with a bounded queue), and logs it.
#ifndef TOVAK_SERVER_SERVICE_H_
#define TOVAK_SERVER_SERVICE_H_

#include <string>

#include "remote/timing_data.grpc.pb.h"
#include "server/admission.h"
#include "server/authorizer.h"
#include "server/server_config.h"

namespace tovak::server {

namespace v1 = ::tovak::remote::v1;

class TimingDataService final : public remote::v1::TimingData::Service {
 public:
  TimingDataService(const ServerConfig& config, Authorizer& authorizer)
      : config_(config), authorizer_(authorizer), admission_(config.queueLength) {}

  // Refuses every lookup not yet running, from now on: the worker stops.
  void StopAdmitting() { admission_.Stop(); }

  grpc::Status SelectSite(grpc::ServerContext* context, const v1::SelectSiteRequest* request,
                          v1::SelectSiteReply* reply) override;
  grpc::Status GetDTSinfox(grpc::ServerContext* context, const v1::DTSinfoxRequest* request,
                           v1::DTSinfoxReply* reply) override;
  grpc::Status GetDTSinfoCLK(grpc::ServerContext* context, const v1::DTSinfoCLKRequest* request,
                             v1::DTSinfoCLKReply* reply) override;
  grpc::Status SamplingCycle(grpc::ServerContext* context,
                             const v1::SamplingCycleRequest* request,
                             v1::SamplingCycleReply* reply) override;
  grpc::Status Sampling0Timing(grpc::ServerContext* context,
                               const v1::Sampling0TimingRequest* request,
                               v1::Sampling0TimingReply* reply) override;
  grpc::Status GetDTSdatax2(grpc::ServerContext* context, const v1::DTSdatax2Request* request,
                            v1::DTSdatax2Reply* reply) override;
  grpc::Status GetDTSParameters(grpc::ServerContext* context,
                                const v1::DTSParametersRequest* request,
                                v1::DTSParametersReply* reply) override;
  grpc::Status GetDTSParametersCount(grpc::ServerContext* context,
                                     const v1::DTSParametersCountRequest* request,
                                     v1::DTSParametersCountReply* reply) override;

 private:
  // The verdict on the call named method about site with request.
  Verdict Authorize(grpc::ServerContext* context, const char* method, const std::string& site,
                    const google::protobuf::MessageLite& request);
  // Authorizes the call and, when site names a served site, runs
  // answer(indexServer) in the library's turn, unless the caller has gone
  // meanwhile, with its database queries ending by the caller's deadline;
  // answer returns the lookup's status. Logs the outcome.
  template <class Answer>
  grpc::Status Serve(grpc::ServerContext* context, const char* method,
                     const google::protobuf::MessageLite& request, Answer&& answer);

  const ServerConfig& config_;
  Authorizer& authorizer_;
  Admission admission_;
};

}  // namespace tovak::server

#endif  // TOVAK_SERVER_SERVICE_H_
