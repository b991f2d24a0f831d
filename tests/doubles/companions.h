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
#include <sstream>
#include <string>
#include <type_traits>
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
  static int outOfRangeReads;  // reads outside the result

 private:
  std::vector<std::vector<std::string>> rows_;
  CallLog* log_;
};

// A text argument as a script sees it ("<null>" for none); others as they are.
inline std::string Arg(const char* text) { return text == nullptr ? "<null>" : text; }
template <class T>
const T& Arg(const T& value) {
  return value;
}

// "name(a,b,c)"
template <class... Args>
std::string Call(const char* name, const Args&... args) {
  std::ostringstream line;
  line << name << '(';
  const char* separator = "";
  ((line << separator << Arg(args), separator = ","), ...);
  line << ')';
  return line.str();
}

// Logs a call, then answers it with the script, or fails the test with
// unscripted (passed the log) when there is none.
template <class Script, class Unscripted, class... Args>
auto Answer(CallLog& log, const char* name, const Script& script, Unscripted unscripted,
            const Args&... args) {
  log.push_back(Call(name, args...));
  using Result = decltype(unscripted(&log));
  if (!script) {
    ADD_FAILURE() << "unscripted " << name;
    return unscripted(&log);
  }
  if constexpr (std::is_pointer_v<Result>) {
    return static_cast<Result>(new ScriptedResult(script(Arg(args)...), &log));
  } else {
    return static_cast<Result>(script(Arg(args)...));
  }
}

// The parameters of one setup call of a connection.
struct SetupCall {
  std::string host, port, database, user, password;
};

// Connection behaviour shared by both databases.
template <class Connection>
class ScriptedConnection : public Connection {
 public:
  int openResult = 0;  // what open() answers
  bool connected = false;
  int openCalls = 0, closeCalls = 0;
  std::vector<SetupCall> setups;  // every setup() call
  bool configured = false;        // setup() has been called: getInstance() answers
  CallLog log;

  int open() override {
    ++openCalls;
    log.push_back("open");
    connected = connected || openResult == 0;
    return openResult;
  }
  void Close() override {
    ++closeCalls;
    log.push_back("Close");
    connected = connected && !ClosesOnClose();
  }
  void ForceClose(int force) override {
    log.push_back(Call("ForceClose", force));
    connected = false;
  }
  bool is_open() const override { return connected; }

  // The static set-up and instance calls of the connection.
  void Setup(const char* host, const char* port, const char* database, const char* user,
             const char* password) {
    configured = true;
    setups.push_back({host, port, database, user, password});
  }
  Connection* Instance() { return configured ? this : nullptr; }

 protected:
  virtual bool ClosesOnClose() const { return true; }
  // A query result answered by script.
  template <class Script, class... Args>
  CRDBres* Rows(const char* name, const Script& script, const Args&... args) {
    return Answer(log, name, script, Failed, args...);
  }
  // A number answered by script.
  template <class Script, class... Args>
  int Number(const char* name, const Script& script, const Args&... args) {
    return Answer(
        log, name, script, [](CallLog*) { return -1; }, args...);
  }

 private:
  static CRDBres* Failed(CallLog* log) { return new ScriptedResult(Table{-1, {}}, log); }
};

// Queries are answered by the function of the same name; text arguments
// arrive as std::string.
class ScriptedIndexDb final : public ScriptedConnection<CIndexDBComm> {
 public:
  std::function<int(const std::string& site)> siteId;
  std::function<int(const std::string& diag, int siteId)> diagId;
  std::function<Table(int, unsigned, unsigned, unsigned, unsigned)> dtsInformation;
  std::function<Table(unsigned, unsigned, int hostId, const std::string& module)> dtsParameters;
  std::function<Table(int hostId, const std::string& module, unsigned, unsigned)> dtsTable;
  std::function<Table(int hostId, unsigned shot, unsigned subShot)> hostTable;
  // Status of get_host_name and the name it hands out (none: pointer untouched).
  std::function<std::pair<int, std::optional<std::string>>(int hostNumber)> hostName;
  std::function<int(const std::string&name)> hostId, camacId;
  std::function<Table(const std::string&, const std::string&, unsigned, unsigned)> channelSettings;
  std::function<Table(unsigned shot, unsigned subShot)> shotRecord;

  int get_site_id(const char* site) override { return Number("get_site_id", siteId, site); }
  int get_diag_id(const char* diag, int site, int* out) override;
  CRDBres* get_DTS_information(int diag, unsigned shot, unsigned sub, unsigned key1,
                               unsigned key2) override {
    return Rows("get_DTS_information", dtsInformation, diag, shot, sub, key1, key2);
  }
  CRDBres* get_DTS_parameters(unsigned shot, unsigned sub, int host, const char* m) override {
    return Rows("get_DTS_parameters", dtsParameters, shot, sub, host, m);
  }
  CRDBres* get_DTSTBL(int host, const char* m, unsigned shot, unsigned sub) override {
    return Rows("get_DTSTBL", dtsTable, host, m, shot, sub);
  }
  CRDBres* get_DTSTBL(int host, unsigned shot, unsigned sub) override {
    return Rows("get_DTSTBL", hostTable, host, shot, sub);
  }
  int get_host_name(int hostNumber, char** name) override;
  int get_DTS_HostID(const char* name) override { return Number("get_DTS_HostID", hostId, name); }
  int get_DTS_CAMACID(const char* name) override {
    return Number("get_DTS_CAMACID", camacId, name);
  }
  CRDBres* get_dmod_diag_shot(const char* key1, const char* key2, unsigned shot,
                              unsigned sub) override {
    return Rows("get_dmod_diag_shot", channelSettings, key1, key2, shot, sub);
  }
  CRDBres* get_shot_record(unsigned shot, unsigned sub) override {
    return Rows("get_shot_record", shotRecord, shot, sub);
  }

 private:
  bool ClosesOnClose() const override { return CIndexDBComm::swCloseEachTime; }
};

class ScriptedSetupDb final : public ScriptedConnection<CSetupDBComm> {
 public:
  std::function<Table(const std::string& diag, unsigned shot, unsigned subShot)> modules;

  CRDBres* get_dmod_diag_shot(const char* diag, unsigned shot, unsigned sub) override {
    return Rows("get_dmod_diag_shot", modules, diag, shot, sub);
  }
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

// Operations are answered by the member of the same name, with the
// arguments as they come; the log records the operation's name alone.
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

  Scripted<&CmirvoClient::GetDTSinfox> getDTSinfox;
  Scripted<&CmirvoClient::GetDTSinfoCLK> getDTSinfoCLK;
  Scripted<&CmirvoClient::SamplingCycle> samplingCycle;
  Scripted<&CmirvoClient::Sampling0Timing> sampling0Timing;
  Scripted<&CmirvoClient::GetDTSdatax2> getDTSdatax2;
  Scripted<&CmirvoClient::GetDTSParameters> getDTSParameters;
  Scripted<&CmirvoClient::GetDTSParametersCount> getDTSParametersCount;

  void Disconnect() override { log.push_back("Disconnect"); }
  int Connect(const char* host, int port) override;
  int SelectSite(const char* site, int option) override {
    log.push_back(Call("SelectSite", site, option));
    return selectSiteResult;
  }

  int GetDTSinfox(const char* diag, unsigned shot, int sub, int key1, int key2, std::string& kind,
                  std::string& text1, std::string& text2, short* num3, short* num4, int* setting,
                  int* num8, std::string& source, int* pre, int* interval, int* clkHostId,
                  std::string& word3) override {
    return Op("GetDTSinfox", getDTSinfox, diag, shot, sub, key1, key2, kind, text1, text2, num3,
              num4, setting, num8, source, pre, interval, clkHostId, word3);
  }
  int GetDTSinfoCLK(const char* diag, unsigned shot, int sub, int key1, int key2, std::string& kind,
                    std::string& text1, std::string& text2, std::string& text3, std::string& text4,
                    int* setting, int* num8, std::string& source, std::string& pre,
                    std::string& interval, std::string& clkType, std::string& clkHost,
                    std::string& word3) override {
    return Op("GetDTSinfoCLK", getDTSinfoCLK, diag, shot, sub, key1, key2, kind, text1, text2,
              text3, text4, setting, num8, source, pre, interval, clkType, clkHost, word3);
  }
  int SamplingCycle(const char* clkType, const char* clkHost, const char* clkModule,
                    const char* clkOutput, const char* trgType, const char* trgHost,
                    const char* trgModule, const char* trgOutput, int intervalIn, unsigned shot,
                    unsigned short sub, const char* source, const char* internalClock,
                    const char* multiplier, int* interval, int64_t* period, int64_t* clockStart,
                    int64_t* trigger, int64_t* cycle) override {
    return Op("SamplingCycle", samplingCycle, clkType, clkHost, clkModule, clkOutput, trgType,
              trgHost, trgModule, trgOutput, intervalIn, shot, sub, source, internalClock,
              multiplier, interval, period, clockStart, trigger, cycle);
  }
  int Sampling0Timing(unsigned char fromClockStart, const char* trgType, const char* trgHost,
                      const char* trgModule, const char* trgOutput, unsigned shot,
                      unsigned short sub, const char* source, const char* preSample, int64_t period,
                      int64_t clockStart, int64_t triggerIn, int64_t* trigger,
                      int64_t* first) override {
    return Op("Sampling0Timing", sampling0Timing, fromClockStart, trgType, trgHost, trgModule,
              trgOutput, shot, sub, source, preSample, period, clockStart, triggerIn, trigger,
              first);
  }
  int GetDTSdatax2(const char* trgType, const char* trgHost, const char* trgModule,
                   const char* trgOutput, const char* clkType, const char* clkHost,
                   const char* clkModule, const char* clkOutput, int intervalIn, int64_t count,
                   unsigned shot, unsigned short sub, const char* source, const char* internalClock,
                   const char* multiplier, const char* preSample, int64_t lastSample, int* interval,
                   int64_t* period, int64_t* delay) override {
    return Op("GetDTSdatax2", getDTSdatax2, trgType, trgHost, trgModule, trgOutput, clkType,
              clkHost, clkModule, clkOutput, intervalIn, count, shot, sub, source, internalClock,
              multiplier, preSample, lastSample, interval, period, delay);
  }
  int GetDTSParameters(const char* dts, const char* module, unsigned shot, unsigned short sub,
                       unsigned short channel, std::string& text) override {
    return Op("GetDTSParameters", getDTSParameters, dts, module, shot, sub, channel, text);
  }
  int GetDTSParametersCount(const char* dts, const char* module, unsigned shot, unsigned short sub,
                            int first, int last, int* count, int* firstOut, int* lastOut,
                            std::string& name) override {
    return Op("GetDTSParametersCount", getDTSParametersCount, dts, module, shot, sub, first, last,
              count, firstOut, lastOut, name);
  }

 private:
  template <class Script, class... Args>
  int Op(const char* name, const Script& script, Args&&... args) {
    log.push_back(name);
    if (script) return script(std::forward<Args>(args)...);
    ADD_FAILURE() << "unscripted remote " << name;
    return -1;
  }
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
