// The remote client refuses replies beyond direct access whole (outputs kept); ones at limits pass.
#include <google/protobuf/text_format.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server_builder.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "remote/timing_data.grpc.pb.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

using namespace tovak::remote::v1;
using Ctx = grpc::ServerContext;
using grpc::Status;

// Serves every site at the library's address while it lives; answers two lookups with reply (text).
struct FakeServer final : TimingData::Service {
  explicit FakeServer(std::string reply) : reply_(std::move(reply)) {
    grpc::ServerBuilder builder;
    int port = 0;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
    builder.RegisterService(this);
    server_ = builder.BuildAndStart();
    address_ = "grpc://127.0.0.1:" + std::to_string(port) + "/ubo";
    setTovakProtocolV2(address_.c_str());  // the library keeps the pointer
  }
  ~FakeServer() override { tovakRelease(), server_->Shutdown(); }

  Status SelectSite(Ctx*, const SelectSiteRequest*, SelectSiteReply*) override { return {}; }
  Status GetDTSinfox(Ctx*, const DTSinfoxRequest*, DTSinfoxReply* r) override { return Answer(r); }
  Status GetDTSParametersCount(Ctx*, const DTSParametersCountRequest*,
                               DTSParametersCountReply* r) override {
    return Answer(r);
  }

  Status Answer(google::protobuf::Message* reply) {
    EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(reply_, reply)) << reply_;
    return Status::OK;
  }

  std::string reply_, address_;
  std::unique_ptr<grpc::Server> server_;
};

// The outputs of the lookups: 300-byte text buffers and numbers.
struct Outputs {
  std::vector<std::string> t = std::vector<std::string>(5, std::string(300, '#'));
  std::array<short, 3> n16 = {-9, -9, 0};            // the count is set to 0 before it is asked
  std::array<int, 7> n32 = {-9, -9, 2, 8, 0, 1, 0};  // channels 2 to 8; the link presets 0, 1, 0
  bool operator==(const Outputs&) const = default;
};

int Count(Outputs& o) {
  return tovakGetDTSParametersCount(nullptr, "u", "M", 1, 0, &o.n16[2], &o.n32[2], &o.n32[3],
                                    o.t[0].data());
}

int Infox(Outputs& o) {
  return tovakGetDTSinfox("d", 1, 0, 1, 1, nullptr, o.t[0].data(), o.t[1].data(), o.t[2].data(),
                          &o.n16[0], &o.n16[1], &o.n32[0], &o.n32[1], o.t[3].data(), &o.n32[4],
                          &o.n32[5], &o.n32[6], o.t[4].data());
}

TEST(ReplyBoundsTest, RepliesBeyondDirectAccessAreRefusedWhole) {
  setenv("TOVAK_CONFIG", "/dev/null", 1);
  for (const char* key : {"TOVAK_USER", "TOVAK_USER_KEY_FILE", "KOVD_GRPC"}) unsetenv(key);
  const std::string word(255, 'w'), huge(3 << 20, 'h');
  constexpr int kRefused = TOVAK_E_REMOTE_REPLY_RANGE;
  const std::tuple<int (*)(Outputs&), std::string, int> cases[] = {
      {Infox, "dts_kind: 'UserDefined' link_num3: -32768 clk_dts_word3: '" + word + "'", 0},
      {Infox, "dts_kind: 'UserDefined!'", kRefused},
      {Infox, "clk_dts_word3: 'w" + word + "'", kRefused},
      {Infox, "link_text1: '" + huge + "'", kRefused},
      {Infox, "link_text2: 'a\\000b'", kRefused},
      {Infox, "link_num4: 32768", kRefused},
      {Infox, "samp_interval: 0", kRefused},
      {Count, "count: 41 module_name: '" + std::string(63, 'M') + "'", 0},
      {Count, "count: -1", kRefused},
      {Count, "module_name: '" + std::string(64, 'M') + "'", kRefused},
      {Count, "last_channel: 9", kRefused},
  };
  for (const auto& [lookup, reply, status] : cases) {
    const FakeServer server(reply);
    Outputs outputs;
    EXPECT_EQ(lookup(outputs), status) << reply.substr(0, 80);
    EXPECT_EQ(outputs == Outputs(), status != 0) << reply.substr(0, 80);
  }
}

}  // namespace
}  // namespace tovak::testing
