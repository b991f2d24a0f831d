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
// Values stay put until the reset: the library may keep a pointer to one.
std::deque<std::string> g_values;
std::map<std::string, const char*> g_config;
int g_setEnvCalls = 0;

template <class T>
T& Single(std::unique_ptr<T>& single) {
  return single ? *single : *(single = std::make_unique<T>());
}

}  // namespace

int ScriptedResult::live = 0, ScriptedResult::outOfRangeReads = 0;

const char* ScriptedResult::GetValue(int row, int column) const {
  if (row < 0 || column < 0 || static_cast<size_t>(row) >= rows_.size() ||
      static_cast<size_t>(column) >= rows_[row].size()) {
    return ++outOfRangeReads, "";
  }
  return rows_[row][column].c_str();
}

int ScriptedIndexDb::get_host_name(int hostNumber, char** name) {
  log.push_back(Call("get_host_name", hostNumber));
  if (!hostName) return ADD_FAILURE() << "unscripted get_host_name", -1;
  auto [status, text] = hostName(hostNumber);
  if (text) *name = strdup(text->c_str());
  return status;
}

ScriptedIndexDb& IndexDb() { return Single(g_index); }
ScriptedSetupDb& SetupDb() { return Single(g_setup); }
ScriptedClient& Client() { return Single(g_client); }

void SetConfig(const std::string& key, const std::string& value) {
  g_config[key] = g_values.emplace_back(value).c_str();
}
int SetEnvCalls() { return g_setEnvCalls; }

void ResetCompanions() {
  CurrentProtocol = kProtocolUndecided;
  ServerV2Name = nullptr;
  is_verbose_tovak_t = false;
  CIndexDBComm::swCloseEachTime = true;
  g_index.reset(), g_setup.reset(), g_client.reset();
  g_config.clear(), g_values.clear();
  g_setEnvCalls = ScriptedResult::live = ScriptedResult::outOfRangeReads = 0;
}

}  // namespace tovak::testing

// The companions' static entry points, resolved to the doubles.
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

void tovakRelease() { tovak::testing::Client().Disconnect(); }

void CtovakDescriptor::SetEnv() { ++tovak::testing::g_setEnvCalls; }

const char* CClientEnvironment::getEnv(const char* key) {
  auto& config = tovak::testing::g_config;
  const auto it = key ? config.find(key) : config.end();
  return it == config.end() ? nullptr : it->second;
}
