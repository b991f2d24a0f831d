// Calls of the remote data service made of raw bytes, with metadata of the caller's choosing:
// for requests the library's client would never send, and calls whose request never comes.
#ifndef TOVAK_TESTS_REMOTE_RAW_CALL_H_
#define TOVAK_TESTS_REMOTE_RAW_CALL_H_

#include <grpcpp/generic/generic_stub.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "remote/helpers.h"

namespace tovak::testing {

// Calls the method with payload as its request and the metadata (site "ubo" unless it names
// another): the gRPC status the server answers with.
inline grpc::Status CallWithPayload(const std::shared_ptr<grpc::Channel>& channel,
                                    const std::string& method, const std::string& payload,
                                    std::map<std::string, std::string> metadata = {}) {
  grpc::GenericStub stub(channel);
  grpc::ClientContext context;
  context.set_deadline(std::chrono::system_clock::now() + kGuard);
  metadata.emplace("tovak-site-bin", "ubo");
  for (const auto& [key, value] : metadata) context.AddMetadata(key, value);
  grpc::Slice slice(payload);
  const grpc::ByteBuffer request(&slice, 1);
  grpc::CompletionQueue queue;
  auto call =
      stub.PrepareUnaryCall(&context, "/tovak.remote.v1.TimingData/" + method, request, &queue);
  call->StartCall();
  grpc::ByteBuffer reply;
  grpc::Status status;
  call->Finish(&reply, &status, nullptr);
  void* tag = nullptr;
  bool ok = false;
  queue.Next(&tag, &ok);
  queue.Shutdown();
  while (queue.Next(&tag, &ok)) {
  }
  return status;
}

// Calls of method (a full path) that open their stream and send nothing more, as many as asked
// on one channel; cancelled at the end.
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

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_RAW_CALL_H_
