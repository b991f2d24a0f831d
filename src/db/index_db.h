// The index database connection over libpq.
#ifndef TOVAK_DB_INDEX_DB_H_
#define TOVAK_DB_INDEX_DB_H_

#include <utility>

#include "db/pg_connection.h"
#include "tovak/rdb.h"

namespace tovak::db {

class PgIndexDb final : public CIndexDBComm {
 public:
  void Configure(ConnectionParams params) { connection_.Configure(std::move(params)); }
  PgConnection& connection() { return connection_; }

  int open() override;
  // Ends the connection while swCloseEachTime is true.
  void Close() override;
  // Ends the connection when force is non-zero, else as Close().
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

 private:
  PgConnection connection_;
};

}  // namespace tovak::db

#endif  // TOVAK_DB_INDEX_DB_H_
