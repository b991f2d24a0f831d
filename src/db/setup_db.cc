#include "db/setup_db.h"

#include <cstdint>
#include <memory>

namespace tovak::db {
namespace {

// The connected role is the site: a site sees only its own modules.
constexpr Statement kModules = {
    "tovak_dmod_use",
    "SELECT key1, key2 FROM dmod_use_of(session_user, $1, $2, $3) ORDER BY position"};

}  // namespace

int PgSetupDb::open() { return connection_.Open(); }
void PgSetupDb::Close() { connection_.Disconnect(); }
void PgSetupDb::ForceClose(int) { connection_.Disconnect(); }
bool PgSetupDb::is_open() const { return connection_.IsOpen(); }

CRDBres* PgSetupDb::get_dmod_diag_shot(const char* diag, unsigned int shot,
                                       unsigned int subshot) {
  return connection_.Query(kModules, {diag, shot, static_cast<int32_t>(subshot)}).release();
}

}  // namespace tovak::db

// The process-wide instance, created by the first setupInstance().
namespace {
std::unique_ptr<tovak::db::PgSetupDb> setup_instance;
}  // namespace

void CSetupDBComm::setupInstance(const char* host, const char* port, const char* database,
                                 const char* user, const char* password) {
  if (!setup_instance) setup_instance = std::make_unique<tovak::db::PgSetupDb>();
  setup_instance->Configure(tovak::db::MakeParams(host, port, database, user, password));
}

CSetupDBComm* CSetupDBComm::getInstance() { return setup_instance.get(); }
