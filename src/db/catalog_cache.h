// Answers of the catalog queries (site, diagnostic and unit ids, host names)
// kept between lookups, and the check that keeps them from going stale.
//
// The index database counts changes to its catalog tables in
// catalog_change. Every query goes out together with that count, in the same
// round trip, so each answer comes with the catalog version it was read at.
// Cached answers hold for one version of one server (a name may list
// several hosts): another version, or another server, empties the cache. The
// identifiers a lookup was handed (from the cache or not) are checked when
// its next data query comes back: when they were read at another version,
// they are read again, and when one of them changed the data query runs
// once more with the fresh value in its place. So an answer never rests on
// an identifier older than the data it was combined with.
#ifndef TOVAK_DB_CATALOG_CACHE_H_
#define TOVAK_DB_CATALOG_CACHE_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "db/pg_connection.h"
#include "db/pg_result.h"

namespace tovak::db {

// A one-cell answer: status as PgResult's, value the cell when kRows.
struct CatalogAnswer {
  int status = PgResult::kFailed;
  std::string value;
};

class CheckedQueries {
 public:
  explicit CheckedQueries(PgConnection& connection) : connection_(connection) {}

  // A catalog query answering one cell: from the cache when it holds the
  // answer, else from the database (only found answers are kept).
  CatalogAnswer Catalog(const Statement& statement, std::vector<Param> params);
  // A data query, checked against the identifiers this lookup was handed.
  std::unique_ptr<PgResult> Rows(const Statement& statement, std::vector<Param> params);
  // The lookup ended: what it was handed needs no more checking.
  void EndLookup() { handed_.clear(); }

 private:
  // An answer handed to the current lookup.
  struct Handed {
    const Statement* statement;
    std::vector<Param> params;
    std::string value;
    std::string version;  // catalog version it was read at
  };
  using Renames = std::map<std::string, std::string>;  // stale id -> fresh id

  // Runs a statement with the catalog version; empties the cache when the
  // version moved.
  std::unique_ptr<PgResult> Run(const Statement& statement, const std::vector<Param>& params,
                                std::string* version);
  // Reads again every handed answer of another version than `version`;
  // the identifiers that changed.
  Renames Refresh(const std::string& version);
  // Keeps an answer read at `version` while that is the cache's version.
  void Remember(const std::string& key, const std::string& value, const std::string& version);
  void Hand(const Statement& statement, std::vector<Param> params, std::string value,
            std::string version);

  PgConnection& connection_;
  std::string version_;                        // of the cached answers
  std::map<std::string, std::string> cached_;  // key: statement and parameters
  std::vector<Handed> handed_;
};

}  // namespace tovak::db

#endif  // TOVAK_DB_CATALOG_CACHE_H_
