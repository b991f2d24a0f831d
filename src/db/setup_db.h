// The setup database connection over libpq.
#ifndef TOVAK_DB_SETUP_DB_H_
#define TOVAK_DB_SETUP_DB_H_

#include <utility>

#include "db/pg_comm.h"
#include "db/pg_connection.h"
#include "tovak/rdb.h"

namespace tovak::db {

class PgSetupDb final : public PgComm<CSetupDBComm, PgSetupDb> {
 public:
  void Configure(ConnectionParams params) { connection_.Configure(std::move(params)); }
  PgConnection& connection() { return connection_; }
  const PgConnection& connection() const { return connection_; }

  // The setup connection has no close switch: Close() always ends it.
  void Close() override;
  void ForceClose(int force) override;

  CRDBres* get_dmod_diag_shot(const char* diag, unsigned int shot, unsigned int subshot) override;

 private:
  PgConnection connection_;
};

}  // namespace tovak::db

#endif  // TOVAK_DB_SETUP_DB_H_
