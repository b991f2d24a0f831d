// The public lookups through the library's remote client against a fake server of ours: replies
// beyond what direct access gives are refused whole, leaving every buffer and number as it was;
// replies at the limits are delivered.
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/text_format.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server_builder.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "remote/timing_data.grpc.pb.h"
#include "tovak/param_set.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

namespace v1 = tovak::remote::v1;
using Context = grpc::ServerContext;
using grpc::Status;

// Serves every site; answers three lookups with the reply set last, in protobuf's text format.
class FakeServer final : public v1::TimingData::Service {
 public:
  FakeServer() {
    grpc::ServerBuilder builder;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
    builder.RegisterService(this);
    server_ = builder.BuildAndStart();
  }
  ~FakeServer() override { server_->Shutdown(); }
  void Reply(const std::string& text) {
    const std::lock_guard<std::mutex> hold(lock_);
    reply_ = text;
  }

  int port = 0;

  Status SelectSite(Context*, const v1::SelectSiteRequest*, v1::SelectSiteReply*) override {
    return Status::OK;
  }
  Status GetDTSinfox(Context*, const v1::DTSinfoxRequest*, v1::DTSinfoxReply* r) override {
    return Answer(r);
  }
  Status GetDTSParameters(Context*, const v1::DTSParametersRequest*,
                          v1::DTSParametersReply* r) override {
    return Answer(r);
  }
  Status GetDTSParametersCount(Context*, const v1::DTSParametersCountRequest*,
                               v1::DTSParametersCountReply* r) override {
    return Answer(r);
  }

 private:
  Status Answer(google::protobuf::Message* reply) {
    const std::lock_guard<std::mutex> hold(lock_);
    return google::protobuf::TextFormat::ParseFromString(reply_, reply)
               ? Status::OK
               : Status(grpc::StatusCode::INTERNAL, "no reply");
  }

  std::mutex lock_;
  std::string reply_;
  std::unique_ptr<grpc::Server> server_;
};

// The outputs of the lookups: 300-byte text buffers, numbers, a list.
struct Outputs {
  std::vector<std::string> t = std::vector<std::string>(5, std::string(300, '#'));
  short n16[3] = {-9, -9, 0};            // the count is set to 0 before it is asked
  int n32[7] = {-9, -9, 2, 8, 0, 1, 0};  // channels 2 to 8; the link presets 0, 1, 0
  CParamSet list;
  bool operator==(const Outputs& o) const {
    return t == o.t && std::equal(n16, n16 + 3, o.n16) && std::equal(n32, n32 + 7, o.n32) &&
           list.GetString() == o.list.GetString();
  }
};

enum Lookup { kInfox, kList, kCount };

int LookUp(Lookup lookup, Outputs& o) {
  if (lookup == kList) return getDTSParameters(nullptr, "u", "M", 1, 0, 1, o.list);
  if (lookup == kCount) {
    return tovakGetDTSParametersCount(nullptr, "u", "M", 1, 0, &o.n16[2], &o.n32[2], &o.n32[3],
                                      o.t[0].data());
  }
  return tovakGetDTSinfox("d", 1, 0, 1, 1, nullptr, o.t[0].data(), o.t[1].data(), o.t[2].data(),
                          &o.n16[0], &o.n16[1], &o.n32[0], &o.n32[1], o.t[3].data(), &o.n32[4],
                          &o.n32[5], &o.n32[6], o.t[4].data());
}

// A list of entries entries, as a reply field.
std::string ListOf(int entries) {
  CParamSet list;
  for (int i = 0; i < entries; ++i) list.AddParam("n", i);
  return "param_text: '" + google::protobuf::CEscape(list.GetString()) + "'";
}

TEST(ReplyBoundsTest, RepliesBeyondDirectAccessAreRefusedWhole) {
  setenv("TOVAK_CONFIG", "/dev/null", 1);
  for (const char* key : {"TOVAK_USER", "TOVAK_USER_KEY_FILE", "KOVD_GRPC"}) unsetenv(key);
  FakeServer server;
  const std::string address = "grpc://127.0.0.1:" + std::to_string(server.port) + "/ubo";
  setTovakProtocolV2(address.c_str());  // the library keeps the pointer
  const std::string word(255, 'w'), huge(3 << 20, 'h');
  constexpr int kRefused = TOVAK_E_REMOTE_REPLY_RANGE;
  const std::tuple<Lookup, std::string, int> cases[] = {
      {kInfox, "dts_kind: 'UserDefined' link_num3: -32768 clk_dts_word3: '" + word + "'", 0},
      {kInfox, "dts_kind: 'UserDefined!'", kRefused},
      {kInfox, "clk_dts_word3: 'w" + word + "'", kRefused},
      {kInfox, "link_text1: '" + huge + "'", kRefused},
      {kInfox, "link_text2: 'a\\000b'", kRefused},
      {kInfox, "link_num4: 32768", kRefused},
      {kInfox, "samp_interval: 0", kRefused},
      {kList, ListOf(41), 0},
      {kList, ListOf(42), kRefused},
      {kList, "param_text: 'CParamSet 1 2\\n1 a b\\n'", kRefused},
      {kCount, "count: 41 module_name: '" + std::string(63, 'M') + "'", 0},
      {kCount, "count: -1", kRefused},
      {kCount, "module_name: '" + std::string(64, 'M') + "'", kRefused},
      {kCount, "last_channel: 9", kRefused},
  };
  for (const auto& [lookup, reply, status] : cases) {
    server.Reply(reply);
    Outputs outputs;
    EXPECT_EQ(LookUp(lookup, outputs), status) << reply.substr(0, 80);
    EXPECT_EQ(outputs == Outputs(), status != 0) << reply.substr(0, 80);
  }
  tovakRelease();
}

}  // namespace
}  // namespace tovak::testing
