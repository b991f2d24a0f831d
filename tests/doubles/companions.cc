#include "doubles/companions.h"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <sstream>

#include "access/state.h"

namespace tovak::testing {
namespace {

std::string Text(const char* s) { return s == nullptr ? "<null>" : s; }

template <class T>
std::string Arg(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}
std::string Arg(const char* value) { return Text(value); }

// "name(a,b,c)"
template <class... Args>
std::string Call(const char* name, const Args&... args) {
  std::string line = name;
  line += '(';
  bool first = true;
  ((line += (first ? "" : ","), line += Arg(args), first = false), ...);
  line += ')';
  return line;
}

std::unique_ptr<ScriptedIndexDb> g_index;
std::unique_ptr<ScriptedSetupDb> g_setup;
std::unique_ptr<ScriptedClient> g_client;

// Configuration values live until the companions are reset: the library may
// keep a reference to one (the remote server's address), which the reset
// clears as well. Fuzz targets reset for every input, so the store stays small.
std::deque<std::string>& ConfigStore() {
  static std::deque<std::string> store;
  return store;
}
std::map<std::string, const char*>& Config() {
  static std::map<std::string, const char*> config;
  return config;
}
int g_setEnvCalls = 0;
int g_releaseCalls = 0;

CRDBres* Unscripted(const char* query, CallLog* log) {
  ADD_FAILURE() << "unscripted query " << query;
  return new ScriptedResult(Table{-1, {}}, log);
}

}  // namespace

// ---- results ----

int ScriptedResult::live = 0;
int ScriptedResult::created = 0;
int ScriptedResult::outOfRangeReads = 0;

ScriptedResult::ScriptedResult(Table table, CallLog* log)
    : rows_(std::move(table.rows)), log_(log) {
  status = table.status;
  ++live;
  ++created;
}

ScriptedResult::~ScriptedResult() {
  --live;
  if (log_ != nullptr) log_->push_back("delete");
}

int ScriptedResult::GetLines() const { return static_cast<int>(rows_.size()); }

const char* ScriptedResult::GetValue(int row, int column) const {
  if (row < 0 || column < 0 || static_cast<size_t>(row) >= rows_.size() ||
      static_cast<size_t>(column) >= rows_[row].size()) {
    ++outOfRangeReads;
    return "";
  }
  return rows_[row][column].c_str();
}

// ---- index database ----

int ScriptedIndexDb::open() {
  ++openCalls;
  log.push_back("open");
  if (openResult == 0) connected = true;
  return openResult;
}

void ScriptedIndexDb::Close() {
  ++closeCalls;
  log.push_back("Close");
  if (CIndexDBComm::swCloseEachTime) connected = false;
}

void ScriptedIndexDb::ForceClose(int force) {
  ++forceCloseCalls;
  log.push_back(Call("ForceClose", force));
  connected = false;
}

bool ScriptedIndexDb::is_open() const { return connected; }

int ScriptedIndexDb::get_site_id(const char* site) {
  log.push_back(Call("get_site_id", site));
  if (!siteId) {
    ADD_FAILURE() << "unscripted get_site_id";
    return -1;
  }
  return siteId(Text(site));
}

int ScriptedIndexDb::get_diag_id(const char* diag, int site, int* out) {
  log.push_back(Call("get_diag_id", diag, site, out == nullptr ? "null" : "ptr"));
  if (!diagId) {
    ADD_FAILURE() << "unscripted get_diag_id";
    return -1;
  }
  return diagId(Text(diag), site);
}

CRDBres* ScriptedIndexDb::get_DTS_information(int diag, unsigned int shot,
                                              unsigned int subShot, unsigned int chKey1,
                                              unsigned int chKey2) {
  log.push_back(Call("get_DTS_information", diag, shot, subShot, chKey1, chKey2));
  if (!dtsInformation) return Unscripted("get_DTS_information", &log);
  return new ScriptedResult(dtsInformation(diag, shot, subShot, chKey1, chKey2), &log);
}

CRDBres* ScriptedIndexDb::get_DTS_parameters(unsigned int shot, unsigned int subShot,
                                             int host, const char* module) {
  log.push_back(Call("get_DTS_parameters", shot, subShot, host, module));
  if (!dtsParameters) return Unscripted("get_DTS_parameters", &log);
  return new ScriptedResult(dtsParameters(shot, subShot, host, Text(module)), &log);
}

CRDBres* ScriptedIndexDb::get_DTSTBL(int host, const char* module, unsigned int shot,
                                     unsigned int subShot) {
  log.push_back(Call("get_DTSTBL", host, module, shot, subShot));
  if (!dtsTable) return Unscripted("get_DTSTBL(module)", &log);
  return new ScriptedResult(dtsTable(host, Text(module), shot, subShot), &log);
}

CRDBres* ScriptedIndexDb::get_DTSTBL(int host, unsigned int shot, unsigned int subShot) {
  log.push_back(Call("get_DTSTBL", host, shot, subShot));
  if (!hostTable) return Unscripted("get_DTSTBL(host)", &log);
  return new ScriptedResult(hostTable(host, shot, subShot), &log);
}

int ScriptedIndexDb::get_host_name(int hostNumber, char** name) {
  log.push_back(Call("get_host_name", hostNumber));
  if (!hostName) {
    ADD_FAILURE() << "unscripted get_host_name";
    return -1;
  }
  auto [status, text] = hostName(hostNumber);
  if (text) *name = strdup(text->c_str());
  return status;
}

int ScriptedIndexDb::get_DTS_HostID(const char* name) {
  log.push_back(Call("get_DTS_HostID", name));
  if (!hostId) {
    ADD_FAILURE() << "unscripted get_DTS_HostID";
    return -1;
  }
  return hostId(Text(name));
}

int ScriptedIndexDb::get_DTS_CAMACID(const char* name) {
  log.push_back(Call("get_DTS_CAMACID", name));
  if (!camacId) {
    ADD_FAILURE() << "unscripted get_DTS_CAMACID";
    return -1;
  }
  return camacId(Text(name));
}

CRDBres* ScriptedIndexDb::get_dmod_diag_shot(const char* key1, const char* key2,
                                             unsigned int shot, unsigned int subshot) {
  log.push_back(Call("get_dmod_diag_shot", key1, key2, shot, subshot));
  if (!channelSettings) return Unscripted("get_dmod_diag_shot(index)", &log);
  return new ScriptedResult(channelSettings(Text(key1), Text(key2), shot, subshot), &log);
}

CRDBres* ScriptedIndexDb::get_shot_record(unsigned int shot, unsigned int subShot) {
  log.push_back(Call("get_shot_record", shot, subShot));
  if (!shotRecord) return Unscripted("get_shot_record", &log);
  return new ScriptedResult(shotRecord(shot, subShot), &log);
}

// ---- setup database ----

int ScriptedSetupDb::open() {
  ++openCalls;
  log.push_back("open");
  if (openResult == 0) connected = true;
  return openResult;
}

void ScriptedSetupDb::Close() {
  ++closeCalls;
  log.push_back("Close");
  connected = false;
}

void ScriptedSetupDb::ForceClose(int force) {
  ++forceCloseCalls;
  log.push_back(Call("ForceClose", force));
  connected = false;
}

bool ScriptedSetupDb::is_open() const { return connected; }

CRDBres* ScriptedSetupDb::get_dmod_diag_shot(const char* diag, unsigned int shot,
                                             unsigned int subshot) {
  log.push_back(Call("get_dmod_diag_shot", diag, shot, subshot));
  if (!modules) return Unscripted("get_dmod_diag_shot(setup)", &log);
  return new ScriptedResult(modules(Text(diag), shot, subshot), &log);
}

// ---- remote client ----

std::optional<std::string> ScriptedClient::user() const {
  return hasExtraUserName() ? std::optional(extraUserName()) : std::nullopt;
}
std::optional<std::string> ScriptedClient::keyFile() const {
  return hasExtraKeyFile() ? std::optional(extraKeyFile()) : std::nullopt;
}
std::optional<std::string> ScriptedClient::passPhrase() const {
  return hasExtraPassPhrase() ? std::optional(extraPassPhrase()) : std::nullopt;
}

void ScriptedClient::Disconnect() { log.push_back("Disconnect"); }

int ScriptedClient::Connect(const char* host, int port) {
  log.push_back(Call("Connect", host, port));
  atConnect = Seen{user(), keyFile(), passPhrase(), tlsEnabled};
  if (!connectResults.empty()) {
    const int result = connectResults.front();
    connectResults.erase(connectResults.begin());
    return result;
  }
  return connectResult;
}

int ScriptedClient::SelectSite(const char* site, int option) {
  log.push_back(Call("SelectSite", site, option));
  return selectSiteResult;
}

#define TOVAK_SCRIPTED_OP(member, name, ...)        \
  log.push_back(#name);                              \
  if (!member) {                                     \
    ADD_FAILURE() << "unscripted remote " #name;     \
    return -1;                                       \
  }                                                  \
  return member(__VA_ARGS__)

int ScriptedClient::GetDTSinfox(const char* diag, unsigned int shot, int subShot, int chKey1,
                                int chKey2, std::string& dtsKind, std::string& linkText1,
                                std::string& linkText2, short* linkNum3, short* linkNum4,
                                int* clockSetting, int* linkNum8, std::string& clockSource,
                                int* preSample, int* sampInterval, int* clkHostId,
                                std::string& clkDtsWord3) {
  TOVAK_SCRIPTED_OP(getDTSinfox, GetDTSinfox, diag, shot, subShot, chKey1, chKey2, dtsKind,
                    linkText1, linkText2, linkNum3, linkNum4, clockSetting, linkNum8,
                    clockSource, preSample, sampInterval, clkHostId, clkDtsWord3);
}

int ScriptedClient::GetDTSinfoCLK(const char* diag, unsigned int shot, int subShot,
                                  int chKey1, int chKey2, std::string& dtsKind,
                                  std::string& linkText1, std::string& linkText2,
                                  std::string& linkText3, std::string& linkText4,
                                  int* clockSetting, int* linkNum8, std::string& clockSource,
                                  std::string& preSampleText, std::string& sampIntervalText,
                                  std::string& clkDtsType, std::string& clkDtsHost,
                                  std::string& clkDtsWord3) {
  TOVAK_SCRIPTED_OP(getDTSinfoCLK, GetDTSinfoCLK, diag, shot, subShot, chKey1, chKey2,
                    dtsKind, linkText1, linkText2, linkText3, linkText4, clockSetting,
                    linkNum8, clockSource, preSampleText, sampIntervalText, clkDtsType,
                    clkDtsHost, clkDtsWord3);
}

int ScriptedClient::SamplingCycle(const char* clkDtsType, const char* clkDtsHost,
                                  const char* clkModule, const char* clkOutput,
                                  const char* trgDtsType, const char* trgDtsHost,
                                  const char* trgModule, const char* trgOutput,
                                  int sampIntervalIn, unsigned int shot,
                                  unsigned short subShot, const char* clockSource,
                                  const char* internalClock, const char* cycleMultiplier,
                                  int* sampInterval, int64_t* sampPeriod,
                                  int64_t* clockStart, int64_t* triggerTime,
                                  int64_t* clockCycle) {
  TOVAK_SCRIPTED_OP(samplingCycle, SamplingCycle, clkDtsType, clkDtsHost, clkModule,
                    clkOutput, trgDtsType, trgDtsHost, trgModule, trgOutput, sampIntervalIn,
                    shot, subShot, clockSource, internalClock, cycleMultiplier, sampInterval,
                    sampPeriod, clockStart, triggerTime, clockCycle);
}

int ScriptedClient::Sampling0Timing(unsigned char fromClockStart, const char* trgDtsType,
                                    const char* trgDtsHost, const char* trgModule,
                                    const char* trgOutput, unsigned int shot,
                                    unsigned short subShot, const char* clockSource,
                                    const char* preSample, int64_t sampPeriod,
                                    int64_t clockStart, int64_t triggerTimeIn,
                                    int64_t* triggerTime, int64_t* firstSampleTime) {
  TOVAK_SCRIPTED_OP(sampling0Timing, Sampling0Timing, fromClockStart, trgDtsType, trgDtsHost,
                    trgModule, trgOutput, shot, subShot, clockSource, preSample, sampPeriod,
                    clockStart, triggerTimeIn, triggerTime, firstSampleTime);
}

int ScriptedClient::GetDTSdatax2(const char* trgDtsType, const char* trgDtsHost,
                                 const char* trgModule, const char* trgOutput,
                                 const char* clkDtsType, const char* clkDtsHost,
                                 const char* clkModule, const char* clkOutput,
                                 int sampIntervalIn, int64_t sampleCount, unsigned int shot,
                                 unsigned short subShot, const char* clockSource,
                                 const char* internalClock, const char* cycleMultiplier,
                                 const char* preSample, int64_t lastSample,
                                 int* sampInterval, int64_t* sampPeriod, int64_t* delay) {
  TOVAK_SCRIPTED_OP(getDTSdatax2, GetDTSdatax2, trgDtsType, trgDtsHost, trgModule, trgOutput,
                    clkDtsType, clkDtsHost, clkModule, clkOutput, sampIntervalIn, sampleCount,
                    shot, subShot, clockSource, internalClock, cycleMultiplier, preSample,
                    lastSample, sampInterval, sampPeriod, delay);
}

int ScriptedClient::GetDTSParameters(const char* dtsName, const char* module,
                                     unsigned int shot, unsigned short subShot,
                                     unsigned short channel, std::string& paramText) {
  TOVAK_SCRIPTED_OP(getDTSParameters, GetDTSParameters, dtsName, module, shot, subShot,
                    channel, paramText);
}

int ScriptedClient::GetDTSParametersCount(const char* dtsName, const char* module,
                                          unsigned int shot, unsigned short subShot,
                                          int firstChannel, int lastChannel, int* count,
                                          int* firstChannelOut, int* lastChannelOut,
                                          std::string& moduleName) {
  TOVAK_SCRIPTED_OP(getDTSParametersCount, GetDTSParametersCount, dtsName, module, shot,
                    subShot, firstChannel, lastChannel, count, firstChannelOut,
                    lastChannelOut, moduleName);
}

#undef TOVAK_SCRIPTED_OP

// ---- singletons and configuration ----

ScriptedIndexDb& IndexDb() {
  if (!g_index) g_index = std::make_unique<ScriptedIndexDb>();
  return *g_index;
}

ScriptedSetupDb& SetupDb() {
  if (!g_setup) g_setup = std::make_unique<ScriptedSetupDb>();
  return *g_setup;
}

ScriptedClient& Client() {
  if (!g_client) g_client = std::make_unique<ScriptedClient>();
  return *g_client;
}

void SetConfig(const std::string& key, const std::string& value) {
  ConfigStore().push_back(value);
  Config()[key] = ConfigStore().back().c_str();
}

void UnsetConfig(const std::string& key) { Config().erase(key); }

int SetEnvCalls() { return g_setEnvCalls; }

int ReleaseCalls() { return g_releaseCalls; }

void ResetCompanions() {
  CurrentProtocol = kProtocolUndecided;
  ServerV2Name = nullptr;
  is_verbose_tovak_t = false;
  CIndexDBComm::swCloseEachTime = true;
  g_index.reset();
  g_setup.reset();
  g_client.reset();
  Config().clear();
  ConfigStore().clear();
  g_setEnvCalls = 0;
  g_releaseCalls = 0;
  ScriptedResult::live = 0;
  ScriptedResult::created = 0;
  ScriptedResult::outOfRangeReads = 0;
}

void CompanionTest::SetUp() { ResetCompanions(); }

void CompanionTest::TearDown() {
  EXPECT_EQ(ScriptedResult::live, 0) << "query results not deleted";
  EXPECT_EQ(ScriptedResult::outOfRangeReads, 0) << "cells read outside a query result";
}

}  // namespace tovak::testing

// ---- the companions' static entry points, resolved to the doubles ----

using tovak::testing::IndexDb;
using tovak::testing::SetupDb;

bool CIndexDBComm::swCloseEachTime = true;

void CIndexDBComm::setup(const char* host, const char* port, const char* database,
                         const char* user, const char* password) {
  auto& db = IndexDb();
  db.configured = true;
  db.setups.push_back({host, port, database, user, password});
}

CIndexDBComm* CIndexDBComm::getInstance() {
  auto& db = IndexDb();
  return db.configured ? &db : nullptr;
}

void CSetupDBComm::setupInstance(const char* host, const char* port, const char* database,
                                 const char* user, const char* password) {
  auto& db = SetupDb();
  db.configured = true;
  db.setups.push_back({host, port, database, user, password});
}

CSetupDBComm* CSetupDBComm::getInstance() {
  auto& db = SetupDb();
  return db.configured ? &db : nullptr;
}

CmonoMirvoDataClient* CmonoMirvoDataClient::getInstance() {
  return &tovak::testing::Client();
}

void tovakRelease() {
  ++tovak::testing::g_releaseCalls;
  tovak::testing::Client().Disconnect();
}

void CtovakDescriptor::SetEnv() { ++tovak::testing::g_setEnvCalls; }

const char* CClientEnvironment::getEnv(const char* key) {
  if (key == nullptr) return nullptr;
  auto& config = tovak::testing::Config();
  auto it = config.find(key);
  return it == config.end() ? nullptr : it->second;
}
