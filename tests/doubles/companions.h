// Scripted companions linked instead of the real ones: databases and a remote client that answer
// what a test scripts and log every call, an in-memory configuration. Unscripted calls fail.
#ifndef TOVAK_TESTS_DOUBLES_COMPANIONS_H_
#define TOVAK_TESTS_DOUBLES_COMPANIONS_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "tovak/client_env.h"
#include "tovak/rdb.h"
#include "tovak/remote_client.h"

namespace tovak::testing {

struct Table {
  int status = 0;
  std::vector<std::vector<std::string>> rows;
};

// "open", "Close", "ForceClose(1)", "get_site_id(ubo)", "delete" (a result), ...
using CallLog = std::vector<std::string>;

class ScriptedResult final : public CRDBres {
 public:
  ScriptedResult(Table table, CallLog* log) : rows_(std::move(table.rows)), log_(log) {
    status = table.status;
    ++live;
  }
  ~ScriptedResult() override { --live, log_->push_back("delete"); }
  int GetLines() const override { return static_cast<int>(rows_.size()); }
  const char* GetValue(int row, int column) const override;  // outside: "", counted

  static int live, outOfRangeReads;

 private:
  std::vector<std::vector<std::string>> rows_;
  CallLog* log_;
};

inline std::string Arg(const char* text) { return text == nullptr ? "<null>" : text; }
template <class T>
const T& Arg(const T& value) {
  return value;
}

// "name(a,b,c)"
template <class... Args>
std::string Call(const char* name, const Args&... args) {
  std::ostringstream line;
  const char* separator = "";
  line << name << '(';
  ((line << separator << Arg(args), separator = ","), ...);
  return line.str() + ')';
}

struct SetupCall {
  std::string host, port, database, user, password;
};

template <class Connection>
class ScriptedConnection : public Connection {
 public:
  int openResult = 0, openCalls = 0, closeCalls = 0;
  bool connected = false;
  std::vector<SetupCall> setups;
  CallLog log;

  int open() override {
    ++openCalls, log.push_back("open");
    connected = connected || openResult == 0;
    return openResult;
  }
  void Close() override { ++closeCalls, log.push_back("Close"), connected &= !ClosesOnClose(); }
  void ForceClose(int force) override { log.push_back(Call("ForceClose", force)), connected = 0; }
  bool is_open() const override { return connected; }
  void Setup(auto... fields) { setups.push_back({fields...}); }       // those of a SetupCall
  Connection* Instance() { return setups.empty() ? nullptr : this; }  // like the real ones

 protected:
  virtual bool ClosesOnClose() const { return true; }
  // Logs the query, then answers it by script: rows as a result, or a number.
  template <class Script, class... Args>
  auto Ask(const char* name, const Script& script, const Args&... args) {
    log.push_back(Call(name, args...));
    if (!script) ADD_FAILURE() << "unscripted " << name;
    if constexpr (std::is_same_v<decltype(script(Arg(args)...)), Table>) {
      return static_cast<CRDBres*>(
          new ScriptedResult(script ? script(Arg(args)...) : Table{-1, {}}, &log));
    } else {
      return script ? script(Arg(args)...) : -1;
    }
  }
};

class ScriptedIndexDb final : public ScriptedConnection<CIndexDBComm> {
 public:
  std::function<int(const std::string&)> siteId, hostId, camacId;
  std::function<int(const std::string& diag, int siteId)> diagId;
  std::function<Table(int, unsigned, unsigned, unsigned, unsigned)> dtsInformation;
  std::function<Table(unsigned, unsigned, int hostId, const std::string& module)> dtsParameters;
  std::function<Table(int hostId, const std::string& module, unsigned, unsigned)> dtsTable;
  std::function<Table(int hostId, unsigned shot, unsigned subShot)> hostTable;
  // Status of get_host_name and the name it hands out (none: pointer untouched).
  std::function<std::pair<int, std::optional<std::string>>(int hostNumber)> hostName;
  std::function<Table(const std::string&, const std::string&, unsigned, unsigned)> channelSettings;
  std::function<Table(unsigned shot, unsigned subShot)> shotRecord;

  int get_site_id(const char* site) override { return Ask("get_site_id", siteId, site); }
  int get_diag_id(const char* diag, int site, int*) override {
    return Ask("get_diag_id", diagId, diag, site);
  }
  CRDBres* get_DTS_information(int d, unsigned s, unsigned sub, unsigned k1, unsigned k2) override {
    return Ask("get_DTS_information", dtsInformation, d, s, sub, k1, k2);
  }
  CRDBres* get_DTS_parameters(unsigned shot, unsigned sub, int host, const char* m) override {
    return Ask("get_DTS_parameters", dtsParameters, shot, sub, host, m);
  }
  CRDBres* get_DTSTBL(int host, const char* m, unsigned shot, unsigned sub) override {
    return Ask("get_DTSTBL", dtsTable, host, m, shot, sub);
  }
  CRDBres* get_DTSTBL(int host, unsigned shot, unsigned sub) override {
    return Ask("get_DTSTBL", hostTable, host, shot, sub);
  }
  int get_host_name(int hostNumber, char** name) override;
  int get_DTS_HostID(const char* name) override { return Ask("get_DTS_HostID", hostId, name); }
  int get_DTS_CAMACID(const char* name) override { return Ask("get_DTS_CAMACID", camacId, name); }
  CRDBres* get_dmod_diag_shot(const char* k1, const char* k2, unsigned s, unsigned sub) override {
    return Ask("get_dmod_diag_shot", channelSettings, k1, k2, s, sub);
  }
  CRDBres* get_shot_record(unsigned shot, unsigned sub) override {
    return Ask("get_shot_record", shotRecord, shot, sub);
  }

 private:
  bool ClosesOnClose() const override { return CIndexDBComm::swCloseEachTime; }
};

class ScriptedSetupDb final : public ScriptedConnection<CSetupDBComm> {
 public:
  std::function<Table(const std::string& diag, unsigned shot, unsigned subShot)> modules;

  CRDBres* get_dmod_diag_shot(const char* diag, unsigned shot, unsigned sub) override {
    return Ask("get_dmod_diag_shot", modules, diag, shot, sub);
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

// Two operations are answered by the member of the same name, the others fail the
// test; the log records "Connect(srv,50051)", "SelectSite(ubo,0)", "Disconnect" and
// operation names.
class ScriptedClient final : public CmonoMirvoDataClient {
 public:
  int connectResult = 0, selectSiteResult = 0;
  int tlsAtConnect = -1;  // the TLS flag at the last Connect
  CallLog log;

  Scripted<&CmirvoClient::Sampling0Timing> sampling0Timing;
  Scripted<&CmirvoClient::GetDTSdatax2> getDTSdatax2;

  void Disconnect() override { log.push_back("Disconnect"); }
  int Connect(const char* host, int port) override {
    return log.push_back(Call("Connect", host, port)), tlsAtConnect = tlsEnabled, connectResult;
  }
  int SelectSite(const char* site, int option) override {
    return log.push_back(Call("SelectSite", site, option)), selectSiteResult;
  }
  // Forwarded as they come; the script's signature names them.
  int Sampling0Timing(unsigned char a, const char* b, const char* c, const char* d, const char* e,
                      unsigned f, unsigned short g, const char* h, const char* i, int64_t j,
                      int64_t k, int64_t l, int64_t* m, int64_t* n) override {
    return Op("Sampling0Timing", sampling0Timing, a, b, c, d, e, f, g, h, i, j, k, l, m, n);
  }
  int GetDTSdatax2(const char* a, const char* b, const char* c, const char* d, const char* e,
                   const char* f, const char* g, const char* h, int i, int64_t j, unsigned k,
                   unsigned short l, const char* m, const char* n, const char* o, const char* p,
                   int64_t q, int* r, int64_t* s, int64_t* t) override {
    return Op("GetDTSdatax2", getDTSdatax2, a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s,
              t);
  }
#define TOVAK_UNSCRIPTED(op, ...) \
  int op(__VA_ARGS__) override { return Unscripted(#op); }
  using Text = std::string&;
  TOVAK_UNSCRIPTED(GetDTSinfox, const char*, unsigned, int, int, int, Text, Text, Text, short*,
                   short*, int*, int*, Text, int*, int*, int*, Text)
  TOVAK_UNSCRIPTED(GetDTSinfoCLK, const char*, unsigned, int, int, int, Text, Text, Text, Text,
                   Text, int*, int*, Text, Text, Text, Text, Text, Text)
  TOVAK_UNSCRIPTED(SamplingCycle, const char*, const char*, const char*, const char*, const char*,
                   const char*, const char*, const char*, int, unsigned, unsigned short,
                   const char*, const char*, const char*, int*, int64_t*, int64_t*, int64_t*,
                   int64_t*)
  TOVAK_UNSCRIPTED(GetDTSParameters, const char*, const char*, unsigned, unsigned short,
                   unsigned short, Text)
  TOVAK_UNSCRIPTED(GetDTSParametersCount, const char*, const char*, unsigned, unsigned short, int,
                   int, int*, int*, int*, Text)
#undef TOVAK_UNSCRIPTED

 private:
  int Unscripted(const char* name) { return ADD_FAILURE() << "unscripted remote " << name, -1; }
  template <class Script, class... Args>
  int Op(const char* name, const Script& script, Args&&... args) {
    log.push_back(name);
    return script ? script(std::forward<Args>(args)...) : Unscripted(name);
  }
};

// The singletons, created on first use.
ScriptedIndexDb& IndexDb();
ScriptedSetupDb& SetupDb();
ScriptedClient& Client();

// Configuration seen by CClientEnvironment::getEnv.
void SetConfig(const std::string& key, const std::string& value);
int SetEnvCalls();

// A fresh library: protocol undecided, verbose off, closing, no singletons or configuration.
void ResetCompanions();

// Resets before each test; after it, every result deleted and none read outside.
class CompanionTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetCompanions(); }
  void TearDown() override {
    EXPECT_EQ(ScriptedResult::live, 0) << "query results not deleted";
    EXPECT_EQ(ScriptedResult::outOfRangeReads, 0) << "cells read outside a query result";
  }
};

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_DOUBLES_COMPANIONS_H_
