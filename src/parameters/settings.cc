// Modules a diagnostic used in a shot and the channel settings of each, as
// heap arrays the caller owns. Always read from the databases directly,
// whatever the protocol; the connections are closed only on request.
#include <cstdlib>
#include <memory>

#include "access/session.h"
#include "access/text.h"
#include "parameters/dts_table.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

constexpr int kCloseRequested = 1;

CloseMode CloseModeFor(int close) {
  return close == kCloseRequested ? CloseMode::kAlways : CloseMode::kNever;
}

double ParseDouble(const char* text) { return std::strtod(text, nullptr); }

DTSchSettings ChannelFromRow(const CRDBres& rows, int row) {
  DTSchSettings channel;
  channel.column0 = ParseInt32(Cell(rows, row, 0));
  channel.column1 = ParseDouble(Cell(rows, row, 1));
  channel.column2 = ParseDouble(Cell(rows, row, 2));
  channel.column3 = ParseDouble(Cell(rows, row, 3));
  channel.column4 = ParseInt32(Cell(rows, row, 4));
  channel.column5 = ParseInt32(Cell(rows, row, 5));
  channel.column6 = ParseInt32(Cell(rows, row, 6));
  channel.column7 = ParseInt32(Cell(rows, row, 7));
  return channel;
}

// Keys longer than their 63 characters are cut.
DTSmodule ModuleFromRow(const CRDBres& rows, int row) {
  DTSmodule module;
  CopyBounded(module.key1, Cell(rows, row, 0), sizeof module.key1);
  CopyBounded(module.key2, Cell(rows, row, 1), sizeof module.key2);
  return module;
}

// Turns a query result into a new[] array of records made by fromRow.
// Status 0: the array (possibly of zero records) and its size; -2: null and
// 0; any other status is returned and the outputs are left alone.
template <class Record, class FromRow>
int DeliverRows(const CRDBres* rows, Record** out, int* count, FromRow fromRow) {
  const int status = ResultStatus(rows);
  if (status == -2) {
    *out = nullptr;
    *count = 0;
    return 0;
  }
  if (status != 0) return status;
  const int n = RowCount(rows);
  auto array = std::make_unique<Record[]>(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) array[i] = fromRow(*rows, i);
  *out = array.release();
  *count = n;
  return 0;
}

// The per-module channel arrays of a DTSsettings array under construction:
// released again unless the array is handed to the caller.
class SettingsArray {
 public:
  explicit SettingsArray(int n) : records_(new DTSsettings[static_cast<size_t>(n)]()), n_(n) {}
  SettingsArray(const SettingsArray&) = delete;
  SettingsArray& operator=(const SettingsArray&) = delete;
  ~SettingsArray() {
    if (records_ == nullptr) return;
    cleanup_DTSsettingsArray(records_, n_);
    delete[] records_;
  }
  DTSsettings& operator[](int i) { return records_[i]; }
  DTSsettings* Release() {
    DTSsettings* records = records_;
    records_ = nullptr;
    return records;
  }

 private:
  DTSsettings* records_;
  int n_;
};

void CloseIfCreated(CRDBComm* db) {
  if (db != nullptr) db->Close();
}

}  // namespace
}  // namespace tovak

int tovakGetDTSchSettings(const char* server, const char* key1, const char* key2, unsigned int shot,
                          unsigned short subshot, DTSchSettings** out, int* count, int close) {
  using namespace tovak;
  IndexSession session(server, nullptr, CloseModeFor(close));
  if (session.status() != 0) return session.status();
  const ResultPtr rows(session.db().get_dmod_diag_shot(key1, key2, shot, subshot));
  return DeliverRows(rows.get(), out, count, ChannelFromRow);
}

int tovakGetDTSdiagShot(const char* server, const char* diag, unsigned int shot,
                        unsigned short subshot, DTSmodule** out, int* count, int close) {
  using namespace tovak;
  SetupSession session(server, CloseModeFor(close));
  if (session.status() != 0) return session.status();
  const ResultPtr rows(session.db().get_dmod_diag_shot(diag, shot, subshot));
  return DeliverRows(rows.get(), out, count, ModuleFromRow);
}

int tovakGetDTSsettings(const char* setupServer, const char* indexServer, const char* diag,
                        unsigned int shot, unsigned short subshot, DTSsettings** out, int* count,
                        int close) {
  using namespace tovak;
  int status = 0;
  {
    DTSmodule* rawModules = nullptr;
    int n = 0;
    status = tovakGetDTSdiagShot(setupServer, diag, shot, subshot, &rawModules, &n, 0);
    const std::unique_ptr<DTSmodule[]> modules(rawModules);
    if (status == 0 && n > 0) {
      SettingsArray settings(n);
      for (int i = 0; i < n && status == 0; ++i) {
        DTSsettings& record = settings[i];
        record.module = modules[i];
        status = tovakGetDTSchSettings(indexServer, modules[i].key1, modules[i].key2, shot, subshot,
                                       &record.chSettings, &record.chCount, 0);
      }
      if (status == 0) {
        *out = settings.Release();
        *count = n;
      }
    }
  }
  if (close == kCloseRequested) {
    CloseIfCreated(CIndexDBComm::getInstance());
    CloseIfCreated(CSetupDBComm::getInstance());
  }
  return status;
}

int cleanup_DTSmoduleArray(DTSmodule*, int) { return 0; }

int cleanup_DTSchSettingsArray(DTSchSettings*, int) { return 0; }

int cleanup_DTSsettingsArray(DTSsettings* array, int count) {
  if (array == nullptr || count < 1) return 0;
  for (int i = 0; i < count; ++i) {
    delete[] array[i].chSettings;
    array[i].chSettings = nullptr;
  }
  return 0;
}
