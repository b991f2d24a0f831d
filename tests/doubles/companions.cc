#include "doubles/companions.h"

#include <cstring>
#include <deque>
#include <map>
#include <memory>

#include "access/state.h"

namespace tovak::testing {
namespace {

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

}  // namespace

int ScriptedResult::live = 0;
int ScriptedResult::outOfRangeReads = 0;

ScriptedResult::ScriptedResult(Table table, CallLog* log)
    : rows_(std::move(table.rows)), log_(log) {
  status = table.status;
  ++live;
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

// The two queries whose scripts see less than the log shows.
int ScriptedIndexDb::get_diag_id(const char* diag, int site, int* out) {
  log.push_back(Call("get_diag_id", diag, site, out == nullptr ? "null" : "ptr"));
  if (diagId) return diagId(Arg(diag), site);
  ADD_FAILURE() << "unscripted get_diag_id";
  return -1;
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

int ScriptedClient::Connect(const char* host, int port) {
  log.push_back(Call("Connect", host, port));
  const auto held = [](bool has, const std::string& text) {
    return has ? std::optional(text) : std::nullopt;
  };
  atConnect =
      Seen{held(hasExtraUserName(), extraUserName()), held(hasExtraKeyFile(), extraKeyFile()),
           held(hasExtraPassPhrase(), extraPassPhrase()), tlsEnabled};
  if (connectResults.empty()) return connectResult;
  const int result = connectResults.front();
  connectResults.erase(connectResults.begin());
  return result;
}

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

void CIndexDBComm::setup(const char* host, const char* port, const char* database, const char* user,
                         const char* password) {
  IndexDb().Setup(host, port, database, user, password);
}

CIndexDBComm* CIndexDBComm::getInstance() { return IndexDb().Instance(); }

void CSetupDBComm::setupInstance(const char* host, const char* port, const char* database,
                                 const char* user, const char* password) {
  SetupDb().Setup(host, port, database, user, password);
}

CSetupDBComm* CSetupDBComm::getInstance() { return SetupDb().Instance(); }

CmonoMirvoDataClient* CmonoMirvoDataClient::getInstance() { return &tovak::testing::Client(); }

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
