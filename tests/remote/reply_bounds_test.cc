// The public lookups through the library's real remote client against a fake server of ours that
// answers oversized and malformed replies: each is refused with TOVAK_E_REMOTE_REPLY_RANGE and no
// caller buffer or number is written; replies at the limits of direct access are delivered.
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server_builder.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "remote/timing_data.grpc.pb.h"
#include "tovak/param_set.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

namespace v1 = tovak::remote::v1;
using grpc::ServerContext;
using grpc::Status;

// Serves every site; answers each lookup with the reply last set for it.
class FakeServer final : public v1::TimingData::Service {
 public:
  FakeServer() {
    grpc::ServerBuilder builder;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port_);
    builder.RegisterService(this);
    server_ = builder.BuildAndStart();
  }
  ~FakeServer() override { server_->Shutdown(); }
  std::string Address() const { return "grpc://127.0.0.1:" + std::to_string(port_) + "/ubo"; }

  std::mutex lock;  // held while the replies are set or read
  v1::DTSinfoxReply infox;
  v1::DTSinfoCLKReply infoClk;
  v1::DTSParametersReply list;
  v1::DTSParametersCountReply count;

  Status SelectSite(ServerContext*, const v1::SelectSiteRequest*, v1::SelectSiteReply*) override {
    return Status::OK;
  }
  Status GetDTSinfox(ServerContext*, const v1::DTSinfoxRequest*, v1::DTSinfoxReply* r) override {
    return Answer(infox, r);
  }
  Status GetDTSinfoCLK(ServerContext*, const v1::DTSinfoCLKRequest*,
                       v1::DTSinfoCLKReply* r) override {
    return Answer(infoClk, r);
  }
  Status GetDTSParameters(ServerContext*, const v1::DTSParametersRequest*,
                          v1::DTSParametersReply* r) override {
    return Answer(list, r);
  }
  Status GetDTSParametersCount(ServerContext*, const v1::DTSParametersCountRequest*,
                               v1::DTSParametersCountReply* r) override {
    return Answer(count, r);
  }

 private:
  template <class Reply>
  Status Answer(const Reply& reply, Reply* out) {
    const std::lock_guard<std::mutex> hold(lock);
    *out = reply;
    return Status::OK;
  }

  int port_ = 0;
  std::unique_ptr<grpc::Server> server_;
};

// Every output of the four lookups, buffers of 300 bytes with a canary after each text's room.
struct Outputs {
  std::vector<std::string> texts = std::vector<std::string>(11, std::string(300, '#'));
  short n16[3] = {-9, -9, -9};
  int n32[7] = {-9, -9, -9, -9, -9, -9, -9};
  CParamSet list;
  bool operator==(const Outputs& o) const {
    return texts == o.texts && std::equal(n16, n16 + 3, o.n16) && std::equal(n32, n32 + 7, o.n32) &&
           list.GetString() == o.list.GetString();
  }
};

enum Lookup { kInfox, kInfoClk, kList, kCount };

int LookUp(Lookup lookup, Outputs& o) {
  char* t[11];
  for (int i = 0; i < 11; ++i) t[i] = o.texts[i].data();
  switch (lookup) {
    case kInfox:  // presets n32[4..6] to 0, 1, 0 before it asks
      return tovakGetDTSinfox("d", 1, 0, 1, 1, nullptr, t[0], t[1], t[2], &o.n16[0], &o.n16[1],
                              &o.n32[0], &o.n32[1], t[3], &o.n32[4], &o.n32[5], &o.n32[6], t[4]);
    case kInfoClk:
      return tovakGetDTSinfoCLK("d", 1, 0, 1, 1, nullptr, t[0], t[1], t[2], t[3], t[4], &o.n32[0],
                                &o.n32[1], t[5], t[6], t[7], t[8], t[9], t[10]);
    case kList:
      return getDTSParameters(nullptr, "u", "M", 1, 0, 1, o.list);
    case kCount:  // channels 2 to 8, n16[2] set to 0 first
      o.n32[2] = 2, o.n32[3] = 8;
      return tovakGetDTSParametersCount(nullptr, "u", "M", 1, 0, &o.n16[2], &o.n32[2], &o.n32[3],
                                        t[0]);
  }
  return 1;
}

std::string ListOf(int entries) {
  CParamSet list;
  for (int i = 0; i < entries; ++i) list.AddParam("n", i);
  return list.GetString();
}

TEST(ReplyBoundsTest, RepliesBeyondDirectAccessAreRefusedWhole) {
  setenv("TOVAK_CONFIG", "/dev/null", 1);
  for (const char* key : {"TOVAK_USER", "TOVAK_USER_KEY_FILE", "KOVD_GRPC"}) unsetenv(key);
  FakeServer server;
  const std::string address = server.Address();  // the library keeps a pointer to it
  setTovakProtocolV2(address.c_str());
  const std::string word(255, 'w'), huge(3 << 20, 'h');
  struct Case {
    const char* what;
    Lookup lookup;
    std::function<void(FakeServer&)> reply;
    int status;
  };
  const Case cases[] = {
      {"kind and option word at their limits", kInfox,
       [&](FakeServer& s) {
         s.infox.set_dts_kind("UserDefined");
         s.infox.set_clk_dts_word3(word);
         s.infox.set_link_num3(-32768);
         s.infox.set_samp_interval(-1);
       },
       0},
      {"kind longer than any", kInfox, [](FakeServer& s) { s.infox.set_dts_kind("UserDefined!"); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"3 MiB link text", kInfox, [&](FakeServer& s) { s.infox.set_link_text1(huge); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"link number beyond 16 bits", kInfox, [](FakeServer& s) { s.infox.set_link_num4(32768); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"sampling interval 0", kInfox, [](FakeServer& s) { s.infox.set_samp_interval(0); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"option word past the options text", kInfoClk,
       [&](FakeServer& s) { s.infoClk.set_pre_sample_text(word + "w"); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"text with a NUL byte", kInfoClk,
       [](FakeServer& s) { s.infoClk.set_clk_dts_host(std::string("a\0b", 3)); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"longest list", kList, [](FakeServer& s) { s.list.set_param_text(ListOf(41)); }, 0},
      {"list too long", kList, [](FakeServer& s) { s.list.set_param_text(ListOf(42)); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"no list", kList, [](FakeServer& s) { s.list.set_param_text("CParamSet 1 2\n1 a b\n"); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"count and module name at their limits", kCount,
       [](FakeServer& s) {
         s.count.set_count(41);
         s.count.set_module_name(std::string(63, 'M'));
       },
       0},
      {"negative count", kCount, [](FakeServer& s) { s.count.set_count(-1); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"module name of 64", kCount,
       [](FakeServer& s) { s.count.set_module_name(std::string(64, 'M')); },
       TOVAK_E_REMOTE_REPLY_RANGE},
      {"last channel other than asked", kCount, [](FakeServer& s) { s.count.set_last_channel(9); },
       TOVAK_E_REMOTE_REPLY_RANGE},
  };
  for (const Case& c : cases) {
    {
      const std::lock_guard<std::mutex> hold(server.lock);
      server.infox.Clear(), server.infoClk.Clear(), server.list.Clear(), server.count.Clear();
      c.reply(server);
    }
    Outputs outputs, before;
    if (c.lookup == kInfox) before.n32[4] = 0, before.n32[5] = 1, before.n32[6] = 0;
    if (c.lookup == kCount) before.n16[2] = 0, before.n32[2] = 2, before.n32[3] = 8;
    EXPECT_EQ(LookUp(c.lookup, outputs), c.status) << c.what;
    EXPECT_EQ(outputs == before, c.status != 0) << c.what;
  }
  tovakRelease();
}

TEST(ReplyBoundsTest, ConnectRefusesHostsThatAreNoHosts) {
  auto& client = *CmonoMirvoDataClient::getInstance();
  for (const char* host : {"h:1", "[::1", "[h]", "a b", "h/s"}) {
    EXPECT_EQ(client.Connect(host, 1), TOVAK_E_REMOTE_ADDRESS) << host;
  }
}

}  // namespace
}  // namespace tovak::testing
