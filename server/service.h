// The remote data service of one worker process: checks each call's proof
// of identity and site, answers it with the library's lookups (one call at a
// time, since the library is single-threaded, with a bounded queue), and logs it.
#ifndef TOVAK_SERVER_SERVICE_H_
#define TOVAK_SERVER_SERVICE_H_

#include <google/protobuf/message_lite.h>
#include <grpcpp/impl/service_type.h>

#include <string>

#include "remote/timing_data.pb.h"
#include "server/admission.h"
#include "server/authorizer.h"
#include "server/server_config.h"

namespace tovak::server {

// The service's methods come from one table (service.cc), registered the way
// gRPC's generated services register theirs: each lookup is served by the
// same steps, SelectSite by the first of them.
class TimingDataService final : public grpc::Service {
 public:
  TimingDataService(const ServerConfig& config, Authorizer& authorizer);

  // Refuses every lookup not yet running, from now on: the worker stops.
  void StopAdmitting() { admission_.Stop(); }

 private:
  class Stopwatch;

  // Adds the method at path "/package.Service/Method", answered by
  // handle(*this, context, "Method", request, reply).
  template <class Request, class Reply, class Handle>
  void Add(const char* path, Handle handle);
  // Adds the lookup at path whose reply answer(indexServer, request, reply) fills.
  template <class Request, class Reply>
  void AddLookup(const char* path, void (*answer)(const char*, const Request&, Reply*));

  grpc::Status SelectSite(grpc::ServerContext* context, const char* method,
                          const remote::v1::SelectSiteRequest& request,
                          remote::v1::SelectSiteReply* reply);

  // The verdict on the call named method about site; a refusal is logged.
  Verdict Identify(grpc::ServerContext* context, const char* method, const std::string& site,
                   const google::protobuf::MessageLite& request, const Stopwatch& watch);
  // Identifies the caller and, when the call's site is served, runs
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
