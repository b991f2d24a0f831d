// Queries of the index database. The rule of which row applies to a shot
// lives in the database's *_at functions; these statements only select.
#include "db/index_db.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "db/first_cell.h"

namespace tovak::db {
namespace {

constexpr Statement kSiteId = {
    "tovak_site_id", "SELECT site_id FROM site WHERE name = $1"};
constexpr Statement kDiagId = {
    "tovak_diag_id", "SELECT diag_id FROM diag WHERE name = $1 AND site_id = $2"};
constexpr Statement kLink = {
    "tovak_dts_link",
    "SELECT dts_kind, trigger_unit, trigger_module, clock_output, trigger_output,"
    " ext_clock, clock_source, int_clock, record_length, options"
    " FROM dts_link_for($1, $2, $3, $4, $5)"};
constexpr Statement kParameters = {
    "tovak_dts_parameters",
    "SELECT delay, dvd_range, dvd_magnification, pulse_width, repetition_count,"
    " base_rate, delay_preset, internal_delay"
    " FROM dts_parameters_of($3, $4, $1, $2) ORDER BY channel"};
constexpr Statement kModuleTable = {
    "tovak_dts_table_module",
    "SELECT * FROM dts_table_of($1, $2, $3, $4) ORDER BY channel"};
constexpr Statement kUnitTable = {
    "tovak_dts_table_unit",
    "SELECT * FROM dts_unit_table_of($1, $2, $3) ORDER BY unit_channel, module"};
constexpr Statement kHostName = {
    "tovak_host_name", "SELECT name FROM host WHERE host_number = $1"};
constexpr Statement kHostId = {
    "tovak_dts_host_id",
    "SELECT dts_id FROM dts_unit WHERE name = $1 AND kind IN ('FPGA-DTS', 'VME-DTS')"};
constexpr Statement kCamacId = {
    "tovak_dts_camac_id",
    "SELECT dts_id FROM dts_unit WHERE name = $1 AND kind = 'CAMAC-DTS'"};
constexpr Statement kChannelSettings = {
    "tovak_dmod_channels",
    "SELECT channel, range_volts, offset_volts, clock_hz, pre_samples, samples,"
    " clock_count, mode_flag"
    " FROM dmod_channel_of($1, $2, $3, $4) ORDER BY channel"};

// Sub-shots and channel keys are stored as signed values; the unsigned
// argument carries the signed 32-bit value (a 16-bit -1 arrives as
// 4294967295).
int32_t Signed(unsigned int value) { return static_cast<int32_t>(value); }

}  // namespace

int PgIndexDb::open() { return connection_.Open(); }

void PgIndexDb::Close() {
  if (swCloseEachTime) connection_.Disconnect();
}

void PgIndexDb::ForceClose(int force) {
  if (force != 0) {
    connection_.Disconnect();
  } else {
    Close();
  }
}

bool PgIndexDb::is_open() const { return connection_.IsOpen(); }

int PgIndexDb::get_site_id(const char* site) {
  auto result = connection_.Query(kSiteId, {site});
  return FirstInt(*result, /*noRow=*/0, /*failed=*/-1);
}

int PgIndexDb::get_diag_id(const char* diag, int siteId, int*) {
  auto result = connection_.Query(kDiagId, {diag, siteId});
  return FirstInt(*result, -1, -1);
}

CRDBres* PgIndexDb::get_DTS_information(int diagId, unsigned int shot,
                                        unsigned int subShot, unsigned int chKey1,
                                        unsigned int chKey2) {
  return connection_
      .Query(kLink, {diagId, shot, Signed(subShot), Signed(chKey1), Signed(chKey2)})
      .release();
}

CRDBres* PgIndexDb::get_DTS_parameters(unsigned int shot, unsigned int subShot,
                                       int hostId, const char* module) {
  return connection_.Query(kParameters, {shot, Signed(subShot), hostId, module}).release();
}

CRDBres* PgIndexDb::get_DTSTBL(int hostId, const char* module, unsigned int shot,
                               unsigned int subShot) {
  return connection_.Query(kModuleTable, {hostId, module, shot, Signed(subShot)})
      .release();
}

CRDBres* PgIndexDb::get_DTSTBL(int hostId, unsigned int shot, unsigned int subShot) {
  return connection_.Query(kUnitTable, {hostId, shot, Signed(subShot)}).release();
}

int PgIndexDb::get_host_name(int hostNumber, char** name) {
  auto result = connection_.Query(kHostName, {hostNumber});
  if (result->status == PgResult::kFailed) return -2;
  if (result->status == PgResult::kNoRow) return -1;
  char* copy = strdup(result->GetValue(0, 0));
  if (copy == nullptr) return -2;
  *name = copy;
  return 0;
}

int PgIndexDb::get_DTS_HostID(const char* name) {
  auto result = connection_.Query(kHostId, {name});
  return FirstInt(*result, -1, -1);
}

int PgIndexDb::get_DTS_CAMACID(const char* name) {
  auto result = connection_.Query(kCamacId, {name});
  return FirstInt(*result, -1, -1);
}

CRDBres* PgIndexDb::get_dmod_diag_shot(const char* key1, const char* key2,
                                       unsigned int shot, unsigned int subshot) {
  return connection_.Query(kChannelSettings, {key1, key2, shot, Signed(subshot)})
      .release();
}

}  // namespace tovak::db

// The process-wide instance, created by the first setup().
namespace {
std::unique_ptr<tovak::db::PgIndexDb> index_instance;
}  // namespace

bool CIndexDBComm::swCloseEachTime = true;

void CIndexDBComm::setup(const char* host, const char* port, const char* database,
                         const char* user, const char* password) {
  if (!index_instance) index_instance = std::make_unique<tovak::db::PgIndexDb>();
  index_instance->Configure(tovak::db::MakeParams(host, port, database, user, password));
}

CIndexDBComm* CIndexDBComm::getInstance() { return index_instance.get(); }
