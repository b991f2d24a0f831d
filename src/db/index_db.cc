// Queries of the index database. The rule of which row applies to a shot
// lives in the database's functions; these statements only select.
#include "db/index_db.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace tovak::db {
namespace {

using enum IdKind;

constexpr Statement kSiteId = {"tovak_site_id", "SELECT site_id FROM site WHERE name = $1", kSite};
constexpr Statement kDiagId = {"tovak_diag_id",
                               "SELECT diag_id FROM diag WHERE name = $1 AND site_id = $2",
                               kDiag,
                               {kNone, kSite}};
constexpr Statement kLink = {
    "tovak_dts_link",
    "SELECT dts_kind, trigger_unit, trigger_module, clock_output, trigger_output,"
    " ext_clock, clock_source, int_clock, record_length, options"
    " FROM dts_link_for($1, $2, $3, $4, $5)",
    kNone,
    {kDiag}};
constexpr Statement kParameters = {
    "tovak_dts_parameters",
    "SELECT delay, dvd_range, dvd_magnification, pulse_width, repetition_count,"
    " base_rate, delay_preset, internal_delay"
    " FROM dts_parameters_of($3, $4, $1, $2) ORDER BY channel",
    kNone,
    {kNone, kNone, kUnit}};
constexpr Statement kModuleTable = {"tovak_dts_table_module",
                                    "SELECT * FROM dts_table_of($1, $2, $3, $4) ORDER BY channel",
                                    kNone,
                                    {kUnit}};
constexpr Statement kUnitTable = {
    "tovak_dts_table_unit",
    "SELECT * FROM dts_unit_table_of($1, $2, $3) ORDER BY unit_channel, module",
    kNone,
    {kUnit}};
constexpr Statement kHostName = {"tovak_host_name", "SELECT name FROM host WHERE host_number = $1"};
constexpr Statement kHostId = {
    "tovak_dts_host_id",
    "SELECT dts_id FROM dts_unit WHERE name = $1 AND kind IN ('FPGA-DTS', 'VME-DTS')", kUnit};
constexpr Statement kCamacId = {
    "tovak_dts_camac_id", "SELECT dts_id FROM dts_unit WHERE name = $1 AND kind = 'CAMAC-DTS'",
    kUnit};
constexpr Statement kChannelSettings = {
    "tovak_dmod_channels",
    "SELECT channel, range_volts, offset_volts, clock_hz, pre_samples, samples,"
    " clock_count, mode_flag"
    " FROM dmod_channel_of($1, $2, $3, $4) ORDER BY channel"};
constexpr Statement kShotRecord = {"tovak_shot_record",
                                   "SELECT newest, recorded FROM shot_record($1, $2)"};

// Sub-shots and channel keys are stored as signed values; the unsigned
// argument carries the signed 32-bit value (a 16-bit -1 arrives as
// 4294967295).
int32_t Signed(unsigned int value) { return static_cast<int32_t>(value); }

// The answer as an int (the cells are integer columns), noRow when the query
// matched nothing, failed when it failed.
int FirstInt(const CatalogAnswer& answer, int noRow, int failed) {
  if (answer.status == PgResult::kFailed) return failed;
  if (answer.status == PgResult::kNoRow) return noRow;
  return static_cast<int>(std::strtol(answer.value.c_str(), nullptr, 10));
}

}  // namespace

void PgIndexDb::Configure(ConnectionParams params) {
  Target* found = nullptr;
  for (const auto& target : targets_) {
    if (target->connection.params() == params) found = target.get();
  }
  if (found == nullptr) {
    if (targets_.size() == kMaxTargets) {
      auto oldest =
          std::min_element(targets_.begin(), targets_.end(),
                           [](const auto& a, const auto& b) { return a->lastUse < b->lastUse; });
      targets_.erase(oldest);
    }
    targets_.push_back(std::make_unique<Target>());
    found = targets_.back().get();
    found->connection.Configure(std::move(params));
  }
  found->lastUse = ++uses_;
  current_ = found;
}

void PgIndexDb::Close() {
  EndLookup();
  if (swCloseEachTime) current_->connection.Disconnect();
}

void PgIndexDb::ForceClose(int force) {
  if (force == 0) return Close();
  EndLookup();
  for (const auto& target : targets_) target->connection.Disconnect();
}

void PgIndexDb::EndLookup() {
  for (const auto& target : targets_) target->queries.EndLookup();
}

int PgIndexDb::get_site_id(const char* site) {
  return FirstInt(queries().Catalog(kSiteId, {site}), /*noRow=*/0, /*failed=*/-1);
}

int PgIndexDb::get_diag_id(const char* diag, int siteId, int*) {
  return FirstInt(queries().Catalog(kDiagId, {diag, siteId}), -1, -1);
}

CRDBres* PgIndexDb::get_DTS_information(int diagId, unsigned int shot, unsigned int subShot,
                                        unsigned int chKey1, unsigned int chKey2) {
  return queries()
      .Rows(kLink, {diagId, shot, Signed(subShot), Signed(chKey1), Signed(chKey2)})
      .release();
}

CRDBres* PgIndexDb::get_DTS_parameters(unsigned int shot, unsigned int subShot, int hostId,
                                       const char* module) {
  return queries().Rows(kParameters, {shot, Signed(subShot), hostId, module}).release();
}

CRDBres* PgIndexDb::get_DTSTBL(int hostId, const char* module, unsigned int shot,
                               unsigned int subShot) {
  return queries().Rows(kModuleTable, {hostId, module, shot, Signed(subShot)}).release();
}

CRDBres* PgIndexDb::get_DTSTBL(int hostId, unsigned int shot, unsigned int subShot) {
  return queries().Rows(kUnitTable, {hostId, shot, Signed(subShot)}).release();
}

int PgIndexDb::get_host_name(int hostNumber, char** name) {
  const CatalogAnswer answer = queries().Catalog(kHostName, {hostNumber});
  if (answer.status == PgResult::kFailed) return -2;
  if (answer.status == PgResult::kNoRow) return -1;
  char* copy = strdup(answer.value.c_str());
  if (copy == nullptr) return -2;
  *name = copy;
  return 0;
}

int PgIndexDb::get_DTS_HostID(const char* name) {
  return FirstInt(queries().Catalog(kHostId, {name}), -1, -1);
}

int PgIndexDb::get_DTS_CAMACID(const char* name) {
  return FirstInt(queries().Catalog(kCamacId, {name}), -1, -1);
}

CRDBres* PgIndexDb::get_dmod_diag_shot(const char* key1, const char* key2, unsigned int shot,
                                       unsigned int subshot) {
  return queries().Rows(kChannelSettings, {key1, key2, shot, Signed(subshot)}).release();
}

CRDBres* PgIndexDb::get_shot_record(unsigned int shot, unsigned int subShot) {
  return queries().Rows(kShotRecord, {shot, Signed(subShot)}).release();
}

}  // namespace tovak::db

bool CIndexDBComm::swCloseEachTime = true;

void CIndexDBComm::setup(const char* host, const char* port, const char* database, const char* user,
                         const char* password) {
  tovak::db::PgIndexDb::Setup(host, port, database, user, password);
}

CIndexDBComm* CIndexDBComm::getInstance() { return tovak::db::PgIndexDb::Instance(); }
