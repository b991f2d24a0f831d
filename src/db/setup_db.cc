#include "db/setup_db.h"

#include <cstdint>

namespace tovak::db {
namespace {

// The connected role is the site: a site sees only its own modules.
constexpr Statement kModules = {
    "tovak_dmod_use",
    "SELECT key1, key2 FROM dmod_use_of(session_user, $1, $2, $3) ORDER BY position"};

}  // namespace

void PgSetupDb::Close() { connection_.Disconnect(); }
void PgSetupDb::ForceClose(int) { connection_.Disconnect(); }

CRDBres* PgSetupDb::get_dmod_diag_shot(const char* diag, unsigned int shot, unsigned int subshot) {
  return connection_.Query(kModules, {diag, shot, static_cast<int32_t>(subshot)}).release();
}

}  // namespace tovak::db

void CSetupDBComm::setupInstance(const char* host, const char* port, const char* database,
                                 const char* user, const char* password) {
  tovak::db::PgSetupDb::Setup(host, port, database, user, password);
}

CSetupDBComm* CSetupDBComm::getInstance() { return tovak::db::PgSetupDb::Instance(); }
