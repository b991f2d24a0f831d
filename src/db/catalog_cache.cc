#include "db/catalog_cache.h"

#include <utility>

namespace tovak::db {
namespace {

constexpr Statement kCatalogVersion = {"tovak_catalog_version",
                                       "SELECT version::text FROM catalog_change"};
// Bounds on what one connection keeps: far above a real catalog.
constexpr size_t kMaxCached = 65536;
constexpr size_t kMaxHanded = 64;
// Data query runs of one call when the catalog keeps changing under it.
constexpr int kMaxRuns = 3;
// Stands for an identifier that no longer exists: no row has it.
constexpr char kGone[] = "-1";

// Statement name and parameters, each length-prefixed (any bytes may occur).
std::string Key(const Statement& statement, const std::vector<Param>& params) {
  std::string key = statement.name;
  for (const Param& param : params) {
    key += param.is_null() ? "\n-" : "\n" + std::to_string(param.text().size()) + ":";
    key += param.text();
  }
  return key;
}

std::string RenameKey(IdKind kind, const std::string& id) {
  return std::to_string(static_cast<int>(kind)) + ":" + id;
}

// Puts the fresh identifiers in place of stale ones; true when one changed.
bool Substitute(const Statement& statement, const std::map<std::string, std::string>& renames,
                std::vector<Param>* params) {
  bool changed = false;
  for (size_t i = 0; i < params->size() && i < std::size(statement.params); ++i) {
    Param& param = (*params)[i];
    if (statement.params[i] == IdKind::kNone || param.is_null()) continue;
    const auto fresh = renames.find(RenameKey(statement.params[i], param.text()));
    if (fresh == renames.end()) continue;
    param.set_text(fresh->second);
    changed = true;
  }
  return changed;
}

}  // namespace

CatalogAnswer CheckedQueries::Catalog(const Statement& statement, std::vector<Param> params) {
  const std::string key = Key(statement, params);
  if (const auto kept = cached_.find(key); kept != cached_.end()) {
    Hand(statement, std::move(params), kept->second, version_);
    return {PgResult::kRows, kept->second};
  }
  std::string version;
  const std::unique_ptr<PgResult> result = Run(statement, params, &version);
  if (result->status != PgResult::kRows) return {result->status, ""};
  std::string value = result->GetValue(0, 0);
  Remember(key, value, version);
  Hand(statement, std::move(params), value, std::move(version));
  return {PgResult::kRows, std::move(value)};
}

std::unique_ptr<PgResult> CheckedQueries::Rows(const Statement& statement,
                                               std::vector<Param> params) {
  for (int run = 1;; ++run) {
    std::string version;
    std::unique_ptr<PgResult> result = Run(statement, params, &version);
    if (result->status == PgResult::kFailed || version.empty() || run == kMaxRuns) {
      return result;
    }
    if (!Substitute(statement, Refresh(version), &params)) return result;
  }
}

std::unique_ptr<PgResult> CheckedQueries::Run(const Statement& statement,
                                              const std::vector<Param>& params,
                                              std::string* version) {
  std::unique_ptr<PgResult> result = connection_.Query(
      statement, params.data(), static_cast<int>(params.size()), &kCatalogVersion, version);
  // Counts of different servers (the hosts of a list) are not comparable.
  if (!version->empty()) *version = connection_.Server() + "#" + *version;
  if (!version->empty() && *version != version_) {
    cached_.clear();
    version_ = *version;
  }
  return result;
}

CheckedQueries::Renames CheckedQueries::Refresh(const std::string& version) {
  Renames renames;
  for (Handed& handed : handed_) {
    std::vector<Param> params = handed.params;
    // An answer read with a stale identifier is stale too, whatever its version.
    const bool renamed = Substitute(*handed.statement, renames, &params);
    if (handed.version == version && !renamed) continue;
    std::string freshVersion;
    const std::unique_ptr<PgResult> again = Run(*handed.statement, params, &freshVersion);
    if (again->status == PgResult::kFailed) continue;  // nothing better to go by
    const std::string fresh = again->status == PgResult::kRows ? again->GetValue(0, 0) : kGone;
    if (fresh != handed.value && handed.statement->answers != IdKind::kNone) {
      renames[RenameKey(handed.statement->answers, handed.value)] = fresh;
    }
    if (again->status == PgResult::kRows) {
      Remember(Key(*handed.statement, params), fresh, freshVersion);
    }
    handed = {handed.statement, std::move(params), fresh, std::move(freshVersion)};
  }
  return renames;
}

void CheckedQueries::Remember(const std::string& key, const std::string& value,
                              const std::string& version) {
  if (version.empty() || version != version_) return;
  if (cached_.size() >= kMaxCached) cached_.clear();
  cached_[key] = value;
}

void CheckedQueries::Hand(const Statement& statement, std::vector<Param> params, std::string value,
                          std::string version) {
  if (handed_.size() >= kMaxHanded) handed_.erase(handed_.begin());
  handed_.push_back({&statement, std::move(params), std::move(value), std::move(version)});
}

}  // namespace tovak::db
