// Scripted companions for unit tests of the module: database connections
// whose queries answer chosen rows and statuses, a remote client whose
// operations answer what a test says, and a configuration held in memory.
// They replace the real companions at link time and record every call.
//
// Every unscripted query or remote operation is reported as a test failure.
#ifndef TOVAK_TESTS_DOUBLES_COMPANIONS_H_
#define TOVAK_TESTS_DOUBLES_COMPANIONS_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tovak/client_env.h"
#include "tovak/rdb.h"
#include "tovak/remote_client.h"

namespace tovak::testing {

// Rows of a scripted query result and its status word.
struct Table {
  int status = 0;
  std::vector<std::vector<std::string>> rows;
};

// A shared log of calls, in order: connection operations ("open", "Close",
// "ForceClose(1)"), queries ("get_site_id(ubo)") and result deletions
// ("delete").
using CallLog = std::vector<std::string>;

class ScriptedResult final : public CRDBres {
 public:
  ScriptedResult(Table table, CallLog* log);
  ~ScriptedResult() override;
  int GetLines() const override;
  // A cell outside the rows reads as "" and is counted in outOfRangeReads.
  const char* GetValue(int row, int column) const override;

  static int live;             // results handed out and not yet deleted
  static int created;          // results handed out
  static int outOfRangeReads;  // reads outside the result

 private:
  std::vector<std::vector<std::string>> rows_;
  CallLog* log_;
};

class ScriptedIndexDb final : public CIndexDBComm {
 public:
  struct SetupCall {
    std::string host, port, database, user, password;
  };

  // Connection behaviour.
  int openResult = 0;    // what open() answers
  bool connected = false;
  int openCalls = 0, closeCalls = 0, forceCloseCalls = 0;
  std::vector<SetupCall> setups;  // every setup() call
  CallLog log;

  // Scripted answers. Unset ones fail the test when called.
  std::function<int(const std::string& site)> siteId;
  std::function<int(const std::string& diag, int siteId)> diagId;
  std::function<Table(int diagId, unsigned shot, unsigned subShot, unsigned chKey1,
                      unsigned chKey2)>
      dtsInformation;
  std::function<Table(unsigned shot, unsigned subShot, int hostId, const std::string& module)>
      dtsParameters;
  std::function<Table(int hostId, const std::string& module, unsigned shot, unsigned subShot)>
      dtsTable;
  std::function<Table(int hostId, unsigned shot, unsigned subShot)> hostTable;
  // Status of get_host_name and the name it hands out (none: pointer untouched).
  std::function<std::pair<int, std::optional<std::string>>(int hostNumber)> hostName;
  std::function<int(const std::string& name)> hostId;
  std::function<int(const std::string& name)> camacId;
  std::function<Table(const std::string& key1, const std::string& key2, unsigned shot,
                      unsigned subShot)>
      channelSettings;
  std::function<Table(unsigned shot, unsigned subShot)> shotRecord;

  int open() override;
  void Close() override;
  void ForceClose(int force) override;
  bool is_open() const override;

  int get_site_id(const char* site) override;
  int get_diag_id(const char* diag, int siteId, int* out) override;
  CRDBres* get_DTS_information(int diagId, unsigned int shot, unsigned int subShot,
                               unsigned int chKey1, unsigned int chKey2) override;
  CRDBres* get_DTS_parameters(unsigned int shot, unsigned int subShot, int hostId,
                              const char* module) override;
  CRDBres* get_DTSTBL(int hostId, const char* module, unsigned int shot,
                      unsigned int subShot) override;
  CRDBres* get_DTSTBL(int hostId, unsigned int shot, unsigned int subShot) override;
  int get_host_name(int hostNumber, char** name) override;
  int get_DTS_HostID(const char* name) override;
  int get_DTS_CAMACID(const char* name) override;
  CRDBres* get_dmod_diag_shot(const char* key1, const char* key2, unsigned int shot,
                              unsigned int subshot) override;
  CRDBres* get_shot_record(unsigned int shot, unsigned int subShot) override;

  bool configured = false;  // setup() has been called: getInstance() answers
};

class ScriptedSetupDb final : public CSetupDBComm {
 public:
  int openResult = 0;
  bool connected = false;
  int openCalls = 0, closeCalls = 0, forceCloseCalls = 0;
  std::vector<ScriptedIndexDb::SetupCall> setups;
  CallLog log;

  std::function<Table(const std::string& diag, unsigned shot, unsigned subShot)> modules;

  int open() override;
  void Close() override;
  void ForceClose(int force) override;
  bool is_open() const override;
  CRDBres* get_dmod_diag_shot(const char* diag, unsigned int shot,
                              unsigned int subshot) override;

  bool configured = false;
};

// std::function with the signature of a member function.
template <class Member>
struct FunctionOf;
template <class Class, class Result, class... Args>
struct FunctionOf<Result (Class::*)(Args...)> {
  using type = std::function<Result(Args...)>;
};
template <auto member>
using Scripted = typename FunctionOf<decltype(member)>::type;

class ScriptedClient final : public CmonoMirvoDataClient {
 public:
  // Connect answers connectResults in order, then connectResult.
  std::vector<int> connectResults;
  int connectResult = 0;
  int selectSiteResult = 0;
  CallLog log;  // "Connect(srv,50051)", "SelectSite(ubo,0)", "Disconnect", operations

  // Credentials and TLS flag as they were at the last Connect.
  struct Seen {
    std::optional<std::string> user, keyFile, passPhrase;
    int tls = 0;
  };
  Seen atConnect;

  // Scripted operations, with the signatures of the client's own. Unset ones
  // fail the test when called.
  Scripted<&CmirvoClient::GetDTSinfox> getDTSinfox;
  Scripted<&CmirvoClient::GetDTSinfoCLK> getDTSinfoCLK;
  Scripted<&CmirvoClient::SamplingCycle> samplingCycle;
  Scripted<&CmirvoClient::Sampling0Timing> sampling0Timing;
  Scripted<&CmirvoClient::GetDTSdatax2> getDTSdatax2;
  Scripted<&CmirvoClient::GetDTSParameters> getDTSParameters;
  Scripted<&CmirvoClient::GetDTSParametersCount> getDTSParametersCount;

  // Credentials as last handed over (none: nullopt).
  std::optional<std::string> user() const;
  std::optional<std::string> keyFile() const;
  std::optional<std::string> passPhrase() const;

  void Disconnect() override;
  int Connect(const char* host, int port) override;
  int GetDTSinfox(const char* diag, unsigned int shot, int subShot, int chKey1, int chKey2,
                  std::string& dtsKind, std::string& linkText1, std::string& linkText2,
                  short* linkNum3, short* linkNum4, int* clockSetting, int* linkNum8,
                  std::string& clockSource, int* preSample, int* sampInterval,
                  int* clkHostId, std::string& clkDtsWord3) override;
  int GetDTSinfoCLK(const char* diag, unsigned int shot, int subShot, int chKey1,
                    int chKey2, std::string& dtsKind, std::string& linkText1,
                    std::string& linkText2, std::string& linkText3, std::string& linkText4,
                    int* clockSetting, int* linkNum8, std::string& clockSource,
                    std::string& preSampleText, std::string& sampIntervalText,
                    std::string& clkDtsType, std::string& clkDtsHost,
                    std::string& clkDtsWord3) override;
  int SamplingCycle(const char* clkDtsType, const char* clkDtsHost, const char* clkModule,
                    const char* clkOutput, const char* trgDtsType, const char* trgDtsHost,
                    const char* trgModule, const char* trgOutput, int sampIntervalIn,
                    unsigned int shot, unsigned short subShot, const char* clockSource,
                    const char* internalClock, const char* cycleMultiplier,
                    int* sampInterval, int64_t* sampPeriod, int64_t* clockStart,
                    int64_t* triggerTime, int64_t* clockCycle) override;
  int Sampling0Timing(unsigned char fromClockStart, const char* trgDtsType,
                      const char* trgDtsHost, const char* trgModule, const char* trgOutput,
                      unsigned int shot, unsigned short subShot, const char* clockSource,
                      const char* preSample, int64_t sampPeriod, int64_t clockStart,
                      int64_t triggerTimeIn, int64_t* triggerTime,
                      int64_t* firstSampleTime) override;
  int GetDTSdatax2(const char* trgDtsType, const char* trgDtsHost, const char* trgModule,
                   const char* trgOutput, const char* clkDtsType, const char* clkDtsHost,
                   const char* clkModule, const char* clkOutput, int sampIntervalIn,
                   int64_t sampleCount, unsigned int shot, unsigned short subShot,
                   const char* clockSource, const char* internalClock,
                   const char* cycleMultiplier, const char* preSample, int64_t lastSample,
                   int* sampInterval, int64_t* sampPeriod, int64_t* delay) override;
  int GetDTSParameters(const char* dtsName, const char* module, unsigned int shot,
                       unsigned short subShot, unsigned short channel,
                       std::string& paramText) override;
  int GetDTSParametersCount(const char* dtsName, const char* module, unsigned int shot,
                            unsigned short subShot, int firstChannel, int lastChannel,
                            int* count, int* firstChannelOut, int* lastChannelOut,
                            std::string& moduleName) override;
  int SelectSite(const char* site, int option) override;
};

// The scripted singletons (created on first use; the connections answer
// getInstance() only after their setup call, like the real ones).
ScriptedIndexDb& IndexDb();
ScriptedSetupDb& SetupDb();
ScriptedClient& Client();

// Library configuration seen by CClientEnvironment::getEnv.
void SetConfig(const std::string& key, const std::string& value);
void UnsetConfig(const std::string& key);
int SetEnvCalls();

int ReleaseCalls();  // calls of tovakRelease()

// Back to the state of a freshly loaded library: protocol undecided, no
// remote server, verbose off, closing after each call, no singletons, empty
// configuration, counters at zero.
void ResetCompanions();

// Fixture that resets the companions before each test and checks after it
// that every query result was deleted and nothing was read outside one.
class CompanionTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
};

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_DOUBLES_COMPANIONS_H_
