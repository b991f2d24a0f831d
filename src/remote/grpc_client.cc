#include "remote/grpc_client.h"

#include <arpa/inet.h>
#include <grpc/support/log.h>
#include <grpcpp/create_channel.h>
#include <grpcpp/security/credentials.h>
#include <grpcpp/support/channel_arguments.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "access/state.h"
#include "remote/call_auth.h"
#include "remote/file_text.h"
#include "remote/link_texts.h"
#include "remote/reply_bounds.h"
#include "remote/secret_text.h"
#include "remote/status_map.h"
#include "tovak/tovak.h"

namespace tovak::remote {
namespace {

// After a lost connection gRPC retries in the background; keep its pauses
// short so that a restarted server is found again quickly.
constexpr int kMaxReconnectBackoffMs = 1000;

// gRPC's own messages follow the library's rule for messages: standard
// error, and only while the verbose switch is on.
void LogWhileVerbose(gpr_log_func_args* args) {
  if (is_verbose()) std::fprintf(stderr, "tovak: grpc: %s\n", args->message);
}

void RouteGrpcMessages() {
  static const bool routed = (gpr_set_log_function(&LogWhileVerbose), true);
  (void)routed;
}

bool IsIpv6Literal(const std::string& text) {
  in6_addr address;
  return inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

// A name or IPv4 address: none of the characters that delimit the parts of
// a target, no blanks or control characters.
bool IsHostName(std::string_view host) {
  for (const char c : host) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte <= ' ' || byte == 0x7f || std::strchr(":/[]", c) != nullptr) return false;
  }
  return !host.empty();
}

// host:port as gRPC reads it, an IPv6 literal (given bracketed or not) in
// brackets; empty when host is neither a literal nor a name.
std::string Target(std::string_view host, int port) {
  const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  const std::string inner(bracketed ? host.substr(1, host.size() - 2) : host);
  if (IsIpv6Literal(inner)) return "[" + inner + "]:" + std::to_string(port);
  return !bracketed && IsHostName(host) ? inner + ":" + std::to_string(port) : std::string();
}

std::chrono::system_clock::time_point DeadlineAfter(std::chrono::milliseconds span) {
  return std::chrono::system_clock::now() + span;
}

// Outputs are written back only when the server wrote them.
void Take(bool written, const std::string& value, std::string& out) {
  if (written) out = value;
}
template <class Out, class Value>
void Take(bool written, Value value, Out* out) {
  if (written && out != nullptr) *out = static_cast<Out>(value);
}

// The passphrase handed over, else the first line of the passphrase file.
bool ReadPassphrase(bool handedOver, const std::string& text, const std::string& file,
                    SecretText* passphrase) {
  if (handedOver || file.empty()) {
    passphrase->value = text;
    return true;
  }
  std::string ignored;
  if (!ReadPrivateFile(file, passphrase, &ignored)) return false;
  passphrase->value.resize(
      std::min(passphrase->value.find_first_of("\r\n"), passphrase->value.size()));
  return true;
}

// Waits until channel is ready, by the deadline. A failed connection attempt
// (refused or unreachable on every address, a name not found, a failed TLS
// handshake) ends the wait at once: its cause holds until something changes
// at the other end, and waiting would only repeat it. *reason: why not.
bool AwaitReady(grpc::Channel& channel, v1::TimingData::Stub& stub,
                std::chrono::system_clock::time_point deadline, std::string* reason) {
  for (auto state = channel.GetState(true); state != GRPC_CHANNEL_READY;
       state = channel.GetState(true)) {
    if (state == GRPC_CHANNEL_TRANSIENT_FAILURE) {
      // A call that may not wait for the connection fails with the attempt's
      // error. Should the channel have connected meanwhile, the call reaches
      // the server (selecting no site changes nothing) and the wait goes on.
      grpc::ClientContext context;
      context.set_deadline(deadline);
      v1::SelectSiteRequest request;
      v1::SelectSiteReply reply;
      const grpc::Status probe = stub.SelectSite(&context, request, &reply);
      if (probe.error_code() != grpc::StatusCode::UNAVAILABLE) continue;
      *reason = "connect failed: " + probe.error_message();
      return false;
    }
    if (!channel.WaitForStateChange(state, deadline)) {
      *reason = "no connection by the deadline";
      return false;
    }
  }
  return true;
}

}  // namespace

void GrpcDataClient::Disconnect() {
  stub_.reset();
  channel_.reset();
  target_.clear();
  channelCaFile_.clear();
  channelIdentity_ = false;
  site_.clear();
  broken_ = false;
}

bool GrpcDataClient::IsConnectedTo(const std::string& target, int tls,
                                   const ClientOptions& options) const {
  if (!channel_ || broken_ || target != target_ || tls != channelTls_) return false;
  if (tls != 0 && options.caFile != channelCaFile_) return false;
  const grpc_connectivity_state state = channel_->GetState(false);
  return state != GRPC_CHANNEL_TRANSIENT_FAILURE && state != GRPC_CHANNEL_SHUTDOWN;
}

int GrpcDataClient::OpenChannel(const std::string& target, const ClientOptions& options) {
  std::shared_ptr<grpc::ChannelCredentials> transport;
  if (tlsEnabled != 0) {
    grpc::SslCredentialsOptions ssl;
    const std::string& roots = options.caFile.empty() ? kSystemRootsFile : options.caFile;
    if (!ReadWholeFile(roots, &ssl.pem_root_certs) && !options.caFile.empty()) {
      RecordFailure("remote server " + target + ": CA file " + options.caFile + " unreadable");
      return TOVAK_E_REMOTE_CREDENTIALS;
    }
    // A certificate in the key file: the handshake proves the identity once
    // for the whole connection.
    SecretText key;
    if (!credentials_.certificate.empty()) {
      key = PrivateKeyPem(credentials_.key.get());
      ssl.pem_private_key = key.value;
      ssl.pem_cert_chain = credentials_.certificate;
    }
    transport = grpc::SslCredentials(ssl);
    SecretText(std::move(ssl.pem_private_key)).Wipe();
  } else {
    transport = grpc::InsecureChannelCredentials();
  }
  grpc::ChannelArguments arguments;
  // A fresh connection must not inherit the failed state of the last one.
  arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
  arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, kMaxReconnectBackoffMs);
  auto channel = grpc::CreateCustomChannel(target, transport, arguments);
  auto stub = v1::TimingData::NewStub(channel);
  std::string reason;
  if (!AwaitReady(*channel, *stub, DeadlineAfter(options.deadline), &reason)) {
    RecordFailure("remote server " + target + (tlsEnabled != 0 ? " (TLS): " : ": ") + reason);
    return TOVAK_E_REMOTE_UNAVAILABLE;
  }
  channel_ = std::move(channel);
  stub_ = std::move(stub);
  target_ = target;
  channelTls_ = tlsEnabled;
  channelCaFile_ = options.caFile;
  channelIdentity_ = tlsEnabled != 0 && !credentials_.certificate.empty();
  return 0;
}

int GrpcDataClient::Connect(const char* host, int port) {
  const std::string target = host != nullptr ? Target(host, port) : std::string();
  if (target.empty() || port <= 0 || port > 65535) {
    RecordFailure(std::string("remote server address not understood: ") +
                  (target.empty() ? "no host name or address"
                                  : "port missing or not a number from 1 to 65535"));
    return TOVAK_E_REMOTE_ADDRESS;
  }
  RouteGrpcMessages();
  const ClientOptions options = ReadClientOptions();
  deadline_ = options.deadline;
  if (const int status = RefreshCredentials(options); status != 0) {
    RecordFailure("remote server " + target + ": the key file of user \"" + extraUserName() +
                  "\", its passphrase or its certificate is unusable");
    return status;
  }
  audience_ = AudienceName(host);
  if (IsConnectedTo(target, tlsEnabled, options)) return 1;
  Disconnect();
  return OpenChannel(target, options);
}

bool GrpcDataClient::SameCredentials(const ClientOptions& options) const {
  return credentials_.user == extraUserName() && credentials_.keyFile == extraKeyFile() &&
         credentials_.passphraseDigest == Sha256(extraPassPhrase()) &&
         credentials_.passphraseFile == options.passphraseFile &&
         credentials_.hasKeyFile == hasExtraKeyFile() &&
         credentials_.hasPassPhrase == hasExtraPassPhrase();
}

int GrpcDataClient::RefreshCredentials(const ClientOptions& options) {
  if (SameCredentials(options) && (credentials_.key || credentials_.keyFile.empty())) return 0;
  Disconnect();
  credentials_ = LoadedCredentials{extraUserName(),
                                   extraKeyFile(),
                                   Sha256(extraPassPhrase()),
                                   options.passphraseFile,
                                   hasExtraKeyFile(),
                                   hasExtraPassPhrase(),
                                   nullptr,
                                   ""};
  if (!hasExtraKeyFile() || extraKeyFile().empty()) return 0;
  // A key without a user name proves nothing the server can check.
  if (extraUserName().empty()) return TOVAK_E_REMOTE_CREDENTIALS;
  SecretText passphrase;
  const bool usePassphrase = hasExtraPassPhrase() || !options.passphraseFile.empty();
  if (!ReadPassphrase(hasExtraPassPhrase(), extraPassPhrase(), options.passphraseFile,
                      &passphrase)) {
    return TOVAK_E_REMOTE_CREDENTIALS;
  }
  PkeyPtr key =
      LoadPrivateKey(extraKeyFile(), usePassphrase ? passphrase.value.c_str() : nullptr, nullptr);
  if (!key) return TOVAK_E_REMOTE_CREDENTIALS;
  std::string certificate = CertificateIn(extraKeyFile());
  if (!certificate.empty() && EVP_PKEY_eq(CertificateKey(certificate).get(), key.get()) != 1) {
    return TOVAK_E_REMOTE_CREDENTIALS;  // a certificate of another key
  }
  credentials_.key = std::move(key);
  credentials_.certificate = std::move(certificate);
  return 0;
}

int GrpcDataClient::PrepareCall(grpc::ClientContext& context, const char* method,
                                const std::string& site,
                                const google::protobuf::MessageLite& request) {
  context.set_deadline(DeadlineAfter(deadline_));
  context.AddMetadata(kSiteKey, site);
  if (credentials_.user.empty() || channelIdentity_) return 0;
  context.AddMetadata(kUserKey, credentials_.user);
  if (!credentials_.key) return 0;
  ProofFields proof{credentials_.user,
                    method,
                    site,
                    audience_,
                    static_cast<int64_t>(std::time(nullptr)),
                    RandomNonce(),
                    Sha256(request.SerializeAsString())};
  const std::string signature = Sign(credentials_.key.get(), AuthPayload(proof));
  if (proof.nonce.empty() || signature.empty()) return TOVAK_E_REMOTE_CREDENTIALS;
  context.AddMetadata(kAudienceKey, audience_);
  context.AddMetadata(kTimeKey, std::to_string(proof.time));
  context.AddMetadata(kNonceKey, proof.nonce);
  context.AddMetadata(kSignatureKey, signature);
  return 0;
}

template <class Rpc>
int GrpcDataClient::Invoke(const char* method, const std::string& site,
                           const google::protobuf::MessageLite& request,
                           const google::protobuf::Message& reply, Rpc&& rpc) {
  if (!stub_) return TOVAK_E_REMOTE_NOT_CONNECTED;
  grpc::ClientContext context;
  if (const int status = PrepareCall(context, method, site, request); status != 0) return status;
  const grpc::Status result = rpc(*stub_, context);
  if (result.ok()) return CheckReply(method, reply);
  if (BreaksConnection(result.error_code())) broken_ = true;
  return StatusOfFailedCall(result);
}

int GrpcDataClient::SelectSite(const char* site, int option) {
  if (site == nullptr) return TOVAK_E_REMOTE_UNKNOWN_SITE;
  v1::SelectSiteRequest request;
  request.set_site(site);
  request.set_option(option);
  v1::SelectSiteReply reply;
  const int failed = Invoke("SelectSite", site, request, reply, [&](auto& stub, auto& context) {
    return stub.SelectSite(&context, request, &reply);
  });
  if (failed != 0) return failed;
  if (reply.status() == 0) site_ = site;
  return reply.status();
}

int GrpcDataClient::GetDTSinfox(const char* diag, unsigned int shot, int subShot, int chKey1,
                                int chKey2, std::string& dtsKind, std::string& linkText1,
                                std::string& linkText2, short* linkNum3, short* linkNum4,
                                int* clockSetting, int* linkNum8, std::string& clockSource,
                                int* preSample, int* sampInterval, int* clkHostId,
                                std::string& clkDtsWord3) {
  v1::DTSinfoxRequest request;
  if (diag != nullptr) request.set_diag(diag);
  request.set_shot(shot);
  request.set_sub_shot(subShot);
  request.set_ch_key1(chKey1);
  request.set_ch_key2(chKey2);
  if (linkNum3 != nullptr) request.set_link_num3(*linkNum3);
  if (linkNum4 != nullptr) request.set_link_num4(*linkNum4);
  if (clockSetting != nullptr) request.set_clock_setting(*clockSetting);
  if (linkNum8 != nullptr) request.set_link_num8(*linkNum8);
  if (preSample != nullptr) request.set_pre_sample(*preSample);
  if (sampInterval != nullptr) request.set_samp_interval(*sampInterval);
  if (clkHostId != nullptr) request.set_clk_host_id(*clkHostId);
  v1::DTSinfoxReply reply;
  const int failed = Invoke("GetDTSinfox", site_, request, reply, [&](auto& stub, auto& context) {
    return stub.GetDTSinfox(&context, request, &reply);
  });
  if (failed != 0) return failed;
  Take(reply.has_dts_kind(), reply.dts_kind(), dtsKind);
  Take(reply.has_link_text1(), reply.link_text1(), linkText1);
  Take(reply.has_link_text2(), reply.link_text2(), linkText2);
  Take(reply.has_link_num3(), reply.link_num3(), linkNum3);
  Take(reply.has_link_num4(), reply.link_num4(), linkNum4);
  Take(reply.has_clock_setting(), reply.clock_setting(), clockSetting);
  Take(reply.has_link_num8(), reply.link_num8(), linkNum8);
  Take(reply.has_clock_source(), reply.clock_source(), clockSource);
  Take(reply.has_pre_sample(), reply.pre_sample(), preSample);
  Take(reply.has_samp_interval(), reply.samp_interval(), sampInterval);
  Take(reply.has_clk_host_id(), reply.clk_host_id(), clkHostId);
  Take(reply.has_clk_dts_word3(), reply.clk_dts_word3(), clkDtsWord3);
  return reply.status();
}

int GrpcDataClient::GetDTSinfoCLK(const char* diag, unsigned int shot, int subShot, int chKey1,
                                  int chKey2, std::string& dtsKind, std::string& linkText1,
                                  std::string& linkText2, std::string& linkText3,
                                  std::string& linkText4, int* clockSetting, int* linkNum8,
                                  std::string& clockSource, std::string& preSampleText,
                                  std::string& sampIntervalText, std::string& clkDtsType,
                                  std::string& clkDtsHost, std::string& clkDtsWord3) {
  v1::DTSinfoCLKRequest request;
  if (diag != nullptr) request.set_diag(diag);
  request.set_shot(shot);
  request.set_sub_shot(subShot);
  request.set_ch_key1(chKey1);
  request.set_ch_key2(chKey2);
  if (clockSetting != nullptr) request.set_clock_setting(*clockSetting);
  if (linkNum8 != nullptr) request.set_link_num8(*linkNum8);
  v1::DTSinfoCLKReply reply;
  const int failed = Invoke("GetDTSinfoCLK", site_, request, reply, [&](auto& stub, auto& context) {
    return stub.GetDTSinfoCLK(&context, request, &reply);
  });
  if (failed != 0) return failed;
  Take(reply.has_dts_kind(), reply.dts_kind(), dtsKind);
  Take(reply.has_link_text1(), reply.link_text1(), linkText1);
  Take(reply.has_link_text2(), reply.link_text2(), linkText2);
  Take(reply.has_link_text3(), reply.link_text3(), linkText3);
  Take(reply.has_link_text4(), reply.link_text4(), linkText4);
  Take(reply.has_clock_setting(), reply.clock_setting(), clockSetting);
  Take(reply.has_link_num8(), reply.link_num8(), linkNum8);
  Take(reply.has_clock_source(), reply.clock_source(), clockSource);
  Take(reply.has_pre_sample_text(), reply.pre_sample_text(), preSampleText);
  Take(reply.has_samp_interval_text(), reply.samp_interval_text(), sampIntervalText);
  Take(reply.has_clk_dts_type(), reply.clk_dts_type(), clkDtsType);
  Take(reply.has_clk_dts_host(), reply.clk_dts_host(), clkDtsHost);
  Take(reply.has_clk_dts_word3(), reply.clk_dts_word3(), clkDtsWord3);
  return reply.status();
}

int GrpcDataClient::SamplingCycle(
    const char* clkDtsType, const char* clkDtsHost, const char* clkModule, const char* clkOutput,
    const char* trgDtsType, const char* trgDtsHost, const char* trgModule, const char* trgOutput,
    int sampIntervalIn, unsigned int shot, unsigned short subShot, const char* clockSource,
    const char* internalClock, const char* cycleMultiplier, int* sampInterval, int64_t* sampPeriod,
    int64_t* clockStart, int64_t* triggerTime, int64_t* clockCycle) {
  v1::SamplingCycleRequest request;
  SetLink(request.mutable_clock(), {clkDtsType, clkDtsHost, clkModule, clkOutput});
  SetLink(request.mutable_trigger(), {trgDtsType, trgDtsHost, trgModule, trgOutput});
  request.set_samp_interval(sampIntervalIn);
  request.set_shot(shot);
  request.set_sub_shot(subShot);
  if (clockSource != nullptr) request.set_clock_source(clockSource);
  if (internalClock != nullptr) request.set_internal_clock(internalClock);
  if (cycleMultiplier != nullptr) request.set_cycle_multiplier(cycleMultiplier);
  if (sampPeriod != nullptr) request.set_samp_period(*sampPeriod);
  if (clockStart != nullptr) request.set_clock_start(*clockStart);
  if (triggerTime != nullptr) request.set_trigger_time(*triggerTime);
  if (clockCycle != nullptr) request.set_clock_cycle(*clockCycle);
  v1::SamplingCycleReply reply;
  const int failed = Invoke("SamplingCycle", site_, request, reply, [&](auto& stub, auto& context) {
    return stub.SamplingCycle(&context, request, &reply);
  });
  if (failed != 0) return failed;
  Take(reply.has_samp_interval(), reply.samp_interval(), sampInterval);
  Take(reply.has_samp_period(), reply.samp_period(), sampPeriod);
  Take(reply.has_clock_start(), reply.clock_start(), clockStart);
  Take(reply.has_trigger_time(), reply.trigger_time(), triggerTime);
  Take(reply.has_clock_cycle(), reply.clock_cycle(), clockCycle);
  return reply.status();
}

int GrpcDataClient::Sampling0Timing(unsigned char fromClockStart, const char* trgDtsType,
                                    const char* trgDtsHost, const char* trgModule,
                                    const char* trgOutput, unsigned int shot,
                                    unsigned short subShot, const char* clockSource,
                                    const char* preSample, int64_t sampPeriod, int64_t clockStart,
                                    int64_t triggerTimeIn, int64_t* triggerTime,
                                    int64_t* firstSampleTime) {
  v1::Sampling0TimingRequest request;
  request.set_from_clock_start(fromClockStart != 0);
  SetLink(request.mutable_trigger(), {trgDtsType, trgDtsHost, trgModule, trgOutput});
  request.set_shot(shot);
  request.set_sub_shot(subShot);
  if (clockSource != nullptr) request.set_clock_source(clockSource);
  if (preSample != nullptr) request.set_pre_sample(preSample);
  request.set_samp_period(sampPeriod);
  request.set_clock_start(clockStart);
  request.set_trigger_time(triggerTimeIn);
  if (firstSampleTime != nullptr) request.set_first_sample_time(*firstSampleTime);
  v1::Sampling0TimingReply reply;
  const int failed = Invoke(
      "Sampling0Timing", site_, request, reply,
      [&](auto& stub, auto& context) { return stub.Sampling0Timing(&context, request, &reply); });
  if (failed != 0) return failed;
  Take(reply.has_trigger_time(), reply.trigger_time(), triggerTime);
  Take(reply.has_first_sample_time(), reply.first_sample_time(), firstSampleTime);
  return reply.status();
}

int GrpcDataClient::GetDTSdatax2(const char* trgDtsType, const char* trgDtsHost,
                                 const char* trgModule, const char* trgOutput,
                                 const char* clkDtsType, const char* clkDtsHost,
                                 const char* clkModule, const char* clkOutput, int sampIntervalIn,
                                 int64_t sampleCount, unsigned int shot, unsigned short subShot,
                                 const char* clockSource, const char* internalClock,
                                 const char* cycleMultiplier, const char* preSample,
                                 int64_t lastSample, int* sampInterval, int64_t* sampPeriod,
                                 int64_t* delay) {
  v1::DTSdatax2Request request;
  SetLink(request.mutable_trigger(), {trgDtsType, trgDtsHost, trgModule, trgOutput});
  SetLink(request.mutable_clock(), {clkDtsType, clkDtsHost, clkModule, clkOutput});
  request.set_samp_interval(sampIntervalIn);
  request.set_sample_count(sampleCount);
  request.set_shot(shot);
  request.set_sub_shot(subShot);
  if (clockSource != nullptr) request.set_clock_source(clockSource);
  if (internalClock != nullptr) request.set_internal_clock(internalClock);
  if (cycleMultiplier != nullptr) request.set_cycle_multiplier(cycleMultiplier);
  if (preSample != nullptr) request.set_pre_sample(preSample);
  request.set_last_sample(lastSample);
  if (sampPeriod != nullptr) request.set_samp_period(*sampPeriod);
  if (delay != nullptr) request.set_delay(*delay);
  v1::DTSdatax2Reply reply;
  const int failed = Invoke("GetDTSdatax2", site_, request, reply, [&](auto& stub, auto& context) {
    return stub.GetDTSdatax2(&context, request, &reply);
  });
  if (failed != 0) return failed;
  Take(reply.has_samp_interval(), reply.samp_interval(), sampInterval);
  Take(reply.has_samp_period(), reply.samp_period(), sampPeriod);
  Take(reply.has_delay(), reply.delay(), delay);
  return reply.status();
}

int GrpcDataClient::GetDTSParameters(const char* dtsName, const char* module, unsigned int shot,
                                     unsigned short subShot, unsigned short channel,
                                     std::string& paramText) {
  v1::DTSParametersRequest request;
  if (dtsName != nullptr) request.set_dts_name(dtsName);
  if (module != nullptr) request.set_module(module);
  request.set_shot(shot);
  request.set_sub_shot(subShot);
  request.set_channel(channel);
  v1::DTSParametersReply reply;
  const int failed = Invoke(
      "GetDTSParameters", site_, request, reply,
      [&](auto& stub, auto& context) { return stub.GetDTSParameters(&context, request, &reply); });
  if (failed != 0) return failed;
  if (const int refused = CheckParameterList(reply); refused != 0) return refused;
  Take(reply.has_param_text(), reply.param_text(), paramText);
  return reply.status();
}

int GrpcDataClient::GetDTSParametersCount(const char* dtsName, const char* module,
                                          unsigned int shot, unsigned short subShot,
                                          int firstChannel, int lastChannel, int* count,
                                          int* firstChannelOut, int* lastChannelOut,
                                          std::string& moduleName) {
  v1::DTSParametersCountRequest request;
  if (dtsName != nullptr) request.set_dts_name(dtsName);
  if (module != nullptr) request.set_module(module);
  request.set_shot(shot);
  request.set_sub_shot(subShot);
  request.set_first_channel(firstChannel);
  request.set_last_channel(lastChannel);
  if (count != nullptr) request.set_count(*count);
  if (firstChannelOut != nullptr) request.set_first_channel_out(*firstChannelOut);
  if (lastChannelOut != nullptr) request.set_last_channel_out(*lastChannelOut);
  v1::DTSParametersCountReply reply;
  const int failed =
      Invoke("GetDTSParametersCount", site_, request, reply, [&](auto& stub, auto& context) {
        return stub.GetDTSParametersCount(&context, request, &reply);
      });
  if (failed != 0) return failed;
  if (const int refused = CheckCountChannels(request, reply); refused != 0) return refused;
  Take(reply.has_count(), reply.count(), count);
  Take(reply.has_first_channel(), reply.first_channel(), firstChannelOut);
  Take(reply.has_last_channel(), reply.last_channel(), lastChannelOut);
  Take(reply.has_module_name(), reply.module_name(), moduleName);
  return reply.status();
}

}  // namespace tovak::remote
