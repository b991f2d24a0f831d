// The remote data client over gRPC.
//
// Connect opens a channel (TLS when tlsEnabled is 1) and waits until it is
// ready; SelectSite asks the server to accept a site, which then travels with
// every call. Each operation sends its inputs and the current values behind
// its output pointers, and writes back only the outputs the server wrote.
// Failures of the transport, or refusals by the server, give the
// TOVAK_E_REMOTE_* statuses.
#ifndef TOVAK_REMOTE_GRPC_CLIENT_H_
#define TOVAK_REMOTE_GRPC_CLIENT_H_

#include <google/protobuf/message_lite.h>
#include <grpcpp/channel.h>
#include <grpcpp/client_context.h>

#include <chrono>
#include <memory>
#include <string>

#include "remote/client_options.h"
#include "remote/openssl_ptr.h"
#include "remote/timing_data.grpc.pb.h"
#include "tovak/remote_client.h"

namespace tovak::remote {

class GrpcDataClient final : public CmonoMirvoDataClient {
 public:
  GrpcDataClient() = default;
  ~GrpcDataClient() override = default;

  void Disconnect() override;
  int Connect(const char* host, int port) override;
  int GetDTSinfox(const char* diag, unsigned int shot, int subShot, int chKey1, int chKey2,
                  std::string& dtsKind, std::string& linkText1, std::string& linkText2,
                  short* linkNum3, short* linkNum4, int* clockSetting, int* linkNum8,
                  std::string& clockSource, int* preSample, int* sampInterval, int* clkHostId,
                  std::string& clkDtsWord3) override;
  int GetDTSinfoCLK(const char* diag, unsigned int shot, int subShot, int chKey1, int chKey2,
                    std::string& dtsKind, std::string& linkText1, std::string& linkText2,
                    std::string& linkText3, std::string& linkText4, int* clockSetting,
                    int* linkNum8, std::string& clockSource, std::string& preSampleText,
                    std::string& sampIntervalText, std::string& clkDtsType, std::string& clkDtsHost,
                    std::string& clkDtsWord3) override;
  int SamplingCycle(const char* clkDtsType, const char* clkDtsHost, const char* clkModule,
                    const char* clkOutput, const char* trgDtsType, const char* trgDtsHost,
                    const char* trgModule, const char* trgOutput, int sampIntervalIn,
                    unsigned int shot, unsigned short subShot, const char* clockSource,
                    const char* internalClock, const char* cycleMultiplier, int* sampInterval,
                    int64_t* sampPeriod, int64_t* clockStart, int64_t* triggerTime,
                    int64_t* clockCycle) override;
  int Sampling0Timing(unsigned char fromClockStart, const char* trgDtsType, const char* trgDtsHost,
                      const char* trgModule, const char* trgOutput, unsigned int shot,
                      unsigned short subShot, const char* clockSource, const char* preSample,
                      int64_t sampPeriod, int64_t clockStart, int64_t triggerTimeIn,
                      int64_t* triggerTime, int64_t* firstSampleTime) override;
  int GetDTSdatax2(const char* trgDtsType, const char* trgDtsHost, const char* trgModule,
                   const char* trgOutput, const char* clkDtsType, const char* clkDtsHost,
                   const char* clkModule, const char* clkOutput, int sampIntervalIn,
                   int64_t sampleCount, unsigned int shot, unsigned short subShot,
                   const char* clockSource, const char* internalClock, const char* cycleMultiplier,
                   const char* preSample, int64_t lastSample, int* sampInterval,
                   int64_t* sampPeriod, int64_t* delay) override;
  int GetDTSParameters(const char* dtsName, const char* module, unsigned int shot,
                       unsigned short subShot, unsigned short channel,
                       std::string& paramText) override;
  int GetDTSParametersCount(const char* dtsName, const char* module, unsigned int shot,
                            unsigned short subShot, int firstChannel, int lastChannel, int* count,
                            int* firstChannelOut, int* lastChannelOut,
                            std::string& moduleName) override;
  // option is not used; the library passes 0.
  int SelectSite(const char* site, int option) override;

  // The site the server accepted last; empty before.
  const std::string& site() const { return site_; }

 private:
  // Credentials as they were when the key was loaded (the passphrase only
  // as its digest).
  struct LoadedCredentials {
    std::string user, keyFile, passphraseDigest, passphraseFile;
    bool hasKeyFile = false, hasPassPhrase = false;
    PkeyPtr key;
    std::string certificate;  // PEM: the key file's certificate; empty: none
  };

  bool IsConnectedTo(const std::string& target, int tls, const ClientOptions& options) const;
  int OpenChannel(const std::string& target, const ClientOptions& options);
  // Loads the key when the credentials handed over changed since the last
  // load, and then closes the connection, which may carry the old identity.
  int RefreshCredentials(const ClientOptions& options);
  bool SameCredentials(const ClientOptions& options) const;
  // Prepares context for the call named method about site with request:
  // deadline and, unless the connection proved the identity, a proof of
  // identity. 0 or a TOVAK_E_REMOTE_* status.
  int PrepareCall(grpc::ClientContext& context, const char* method, const std::string& site,
                  const google::protobuf::MessageLite& request);
  // Runs rpc(stub, context), which fills reply. 0 when the call succeeded
  // and its reply is in range, else the status of the failure or refusal.
  template <class Rpc>
  int Invoke(const char* method, const std::string& site,
             const google::protobuf::MessageLite& request, const google::protobuf::Message& reply,
             Rpc&& rpc);

  std::shared_ptr<grpc::Channel> channel_;
  std::unique_ptr<v1::TimingData::Stub> stub_;
  std::string target_;
  int channelTls_ = 0;
  std::string channelCaFile_;
  bool channelIdentity_ = false;  // the TLS handshake presented the user's certificate
  std::string audience_;          // the server name proofs are meant for
  std::chrono::milliseconds deadline_{kDefaultDeadlineMs};
  bool broken_ = false;  // a call failed in a way that the channel may not recover from
  std::string site_;
  LoadedCredentials credentials_;
};

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_GRPC_CLIENT_H_
