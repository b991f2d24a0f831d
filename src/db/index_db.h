// The index database connection over libpq.
#ifndef TOVAK_DB_INDEX_DB_H_
#define TOVAK_DB_INDEX_DB_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "db/catalog_cache.h"
#include "db/pg_comm.h"
#include "db/pg_connection.h"
#include "tovak/rdb.h"

namespace tovak::db {

// One connection per target (server, database and site) in use: changing
// the target keeps the other connections as they are, so a process that
// serves several sites does not reconnect at every change of site. At most
// kMaxTargets are kept; the one used longest ago gives way.
class PgIndexDb final : public PgComm<CIndexDBComm, PgIndexDb> {
 public:
  static constexpr size_t kMaxTargets = 8;

  PgIndexDb() { Configure({}); }
  // Makes `params` the target of the calls that follow.
  void Configure(ConnectionParams params);
  PgConnection& connection() const { return current_->connection; }

  // Ends the connection while swCloseEachTime is true.
  void Close() override;
  // Ends every connection when force is non-zero, else as Close().
  void ForceClose(int force) override;

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
  CRDBres* get_shot_record(unsigned int shot, unsigned int subShot) override;

 private:
  struct Target {
    PgConnection connection;
    CheckedQueries queries{connection};
    uint64_t lastUse = 0;
  };

  CheckedQueries& queries() { return current_->queries; }
  void EndLookup();

  std::vector<std::unique_ptr<Target>> targets_;
  Target* current_ = nullptr;
  uint64_t uses_ = 0;
};

}  // namespace tovak::db

#endif  // TOVAK_DB_INDEX_DB_H_
