// The setup database connection over libpq.
#include <memory>

#include "db/pg_connection.h"
#include "tovak/rdb.h"

namespace tovak::db {
namespace {

// The connected role is the site: a site sees only its own modules.
constexpr Statement kModules = {
    "tovak_dmod_use",
    "SELECT key1, key2 FROM dmod_use_at($2, $3)"
    " WHERE site = session_user AND diag = $1 ORDER BY position"};

class PgSetupDb final : public CSetupDBComm {
 public:
  void Configure(ConnectionParams params) { connection_.Configure(std::move(params)); }

  int open() override { return connection_.Open(); }
  void Close() override { connection_.Disconnect(); }
  void ForceClose(int) override { connection_.Disconnect(); }
  bool is_open() const override { return connection_.IsOpen(); }

  CRDBres* get_dmod_diag_shot(const char* diag, unsigned int shot,
                              unsigned int subshot) override {
    return connection_.Query(kModules, {diag, shot, static_cast<int32_t>(subshot)})
        .release();
  }

 private:
  PgConnection connection_;
};

std::unique_ptr<PgSetupDb> setup_instance;

}  // namespace
}  // namespace tovak::db

void CSetupDBComm::setupInstance(const char* host, const char* port, const char* database,
                                 const char* user, const char* password) {
  using tovak::db::setup_instance;
  if (!setup_instance) setup_instance = std::make_unique<tovak::db::PgSetupDb>();
  setup_instance->Configure(tovak::db::MakeParams(host, port, database, user, password));
}

CSetupDBComm* CSetupDBComm::getInstance() { return tovak::db::setup_instance.get(); }
