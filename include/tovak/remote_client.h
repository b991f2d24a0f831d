// The remote data client: under the remote protocol every lookup is sent to a
// remote data server whose operations mirror the library's public ones.
#ifndef TOVAK_REMOTE_CLIENT_H_
#define TOVAK_REMOTE_CLIENT_H_

#include <cstdint>
#include <string>

#include "tovak/export.h"

// Statuses of the remote client's own failures (transport, credentials,
// server refusals). They lie outside the range of the lookups' statuses, so a
// caller can tell "the server could not be asked" from "the lookup failed".
enum {
  TOVAK_E_REMOTE_UNAVAILABLE = -600,      // server unreachable or connection lost
  TOVAK_E_REMOTE_DEADLINE = -601,         // no answer within the call deadline
  TOVAK_E_REMOTE_UNAUTHENTICATED = -602,  // server refused the proof of identity
  TOVAK_E_REMOTE_PERMISSION = -603,       // user not authorized by the server
  TOVAK_E_REMOTE_CREDENTIALS = -604,      // key, passphrase or CA file unusable
  TOVAK_E_REMOTE_NOT_CONNECTED = -605,    // operation called without a connection
  TOVAK_E_REMOTE_UNKNOWN_SITE = -606,     // site not served, or none selected
  TOVAK_E_REMOTE_ADDRESS = -607,          // null or empty host, port not in 1..65535
  TOVAK_E_REMOTE_PROTOCOL = -608,         // unexpected answer or unknown operation
  TOVAK_E_REMOTE_SERVER = -609,           // the server failed internally
  TOVAK_E_REMOTE_REPLY_RANGE = -610,      // reply out of range: more than direct access gives
  TOVAK_E_REMOTE_BUSY = -611,             // the server's queue is full: try again later
};

class TOVAK_EXPORT CmirvoClient {
 public:
  CmirvoClient() = default;
  CmirvoClient(const CmirvoClient&) = delete;
  CmirvoClient& operator=(const CmirvoClient&) = delete;
  virtual ~CmirvoClient() = default;

  // Credentials proving the user to the server; null stores none.
  void setExtraUserName(const char* user) { Store(user, user_, hasUser_); }
  void setExtraKeyFile(const char* path) { Store(path, keyFile_, hasKeyFile_); }
  void setExtraPassPhrase(const char* pass) { Store(pass, passPhrase_, hasPassPhrase_); }

  // 1: connect with TLS; 0: plain connection.
  int tlsEnabled = 0;

  // Ends the connection; the next Connect connects afresh.
  virtual void Disconnect() = 0;

  // 0 when it has just connected, 1 when it was already connected, any
  // other value on failure.
  virtual int Connect(const char* host, int port) = 0;

  // The remote forms of the lookups. Each returns the lookup's status; an
  // output the server did not write is left as it was.
  virtual int GetDTSinfox(const char* diag, unsigned int shot, int subShot, int chKey1, int chKey2,
                          std::string& dtsKind, std::string& linkText1, std::string& linkText2,
                          short* linkNum3, short* linkNum4, int* clockSetting, int* linkNum8,
                          std::string& clockSource, int* preSample, int* sampInterval,
                          int* clkHostId, std::string& clkDtsWord3) = 0;
  virtual int GetDTSinfoCLK(const char* diag, unsigned int shot, int subShot, int chKey1,
                            int chKey2, std::string& dtsKind, std::string& linkText1,
                            std::string& linkText2, std::string& linkText3, std::string& linkText4,
                            int* clockSetting, int* linkNum8, std::string& clockSource,
                            std::string& preSampleText, std::string& sampIntervalText,
                            std::string& clkDtsType, std::string& clkDtsHost,
                            std::string& clkDtsWord3) = 0;
  virtual int SamplingCycle(const char* clkDtsType, const char* clkDtsHost, const char* clkModule,
                            const char* clkOutput, const char* trgDtsType, const char* trgDtsHost,
                            const char* trgModule, const char* trgOutput, int sampIntervalIn,
                            unsigned int shot, unsigned short subShot, const char* clockSource,
                            const char* internalClock, const char* cycleMultiplier,
                            int* sampInterval, int64_t* sampPeriod, int64_t* clockStart,
                            int64_t* triggerTime, int64_t* clockCycle) = 0;
  virtual int Sampling0Timing(unsigned char fromClockStart, const char* trgDtsType,
                              const char* trgDtsHost, const char* trgModule, const char* trgOutput,
                              unsigned int shot, unsigned short subShot, const char* clockSource,
                              const char* preSample, int64_t sampPeriod, int64_t clockStart,
                              int64_t triggerTimeIn, int64_t* triggerTime,
                              int64_t* firstSampleTime) = 0;
  virtual int GetDTSdatax2(const char* trgDtsType, const char* trgDtsHost, const char* trgModule,
                           const char* trgOutput, const char* clkDtsType, const char* clkDtsHost,
                           const char* clkModule, const char* clkOutput, int sampIntervalIn,
                           int64_t sampleCount, unsigned int shot, unsigned short subShot,
                           const char* clockSource, const char* internalClock,
                           const char* cycleMultiplier, const char* preSample, int64_t lastSample,
                           int* sampInterval, int64_t* sampPeriod, int64_t* delay) = 0;
  // The list arrives in CParamSet's text form.
  virtual int GetDTSParameters(const char* dtsName, const char* module, unsigned int shot,
                               unsigned short subShot, unsigned short channel,
                               std::string& paramText) = 0;
  virtual int GetDTSParametersCount(const char* dtsName, const char* module, unsigned int shot,
                                    unsigned short subShot, int firstChannel, int lastChannel,
                                    int* count, int* firstChannelOut, int* lastChannelOut,
                                    std::string& moduleName) = 0;

  // Selects the data site on a new connection; 0 on success.
  virtual int SelectSite(const char* site, int option) = 0;

 protected:
  // Credentials as last handed over; empty when none.
  const std::string& extraUserName() const { return user_; }
  const std::string& extraKeyFile() const { return keyFile_; }
  const std::string& extraPassPhrase() const { return passPhrase_; }
  bool hasExtraUserName() const { return hasUser_; }
  bool hasExtraKeyFile() const { return hasKeyFile_; }
  bool hasExtraPassPhrase() const { return hasPassPhrase_; }

 private:
  static void Store(const char* text, std::string& to, bool& has) {
    has = text != nullptr;
    to = has ? text : "";
  }

  std::string user_, keyFile_, passPhrase_;
  bool hasUser_ = false, hasKeyFile_ = false, hasPassPhrase_ = false;
};

class TOVAK_EXPORT CmonoMirvoDataClient : public CmirvoClient {
 public:
  // The one process-wide client; never null.
  static CmonoMirvoDataClient* getInstance();
};

// Releases the library's remote resources: the remote client disconnects and
// the next set-up connects again.
TOVAK_EXPORT void tovakRelease();

#endif  // TOVAK_REMOTE_CLIENT_H_
