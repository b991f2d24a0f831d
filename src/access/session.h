// How every lookup reaches its data.
//
// Direct database access: configure the connection from the server name,
// take the process-wide connection, open it when it is not open (failure:
// Close() and a status), run the queries, delete every result before the
// connection is closed, and Close() on the way out. IndexSession and
// SetupSession do this; results are held in ResultPtr so that they are
// deleted on every path. Dispatch is the front end of every lookup.
#ifndef TOVAK_ACCESS_SESSION_H_
#define TOVAK_ACCESS_SESSION_H_

#include <memory>

#include "access/state.h"
#include "tovak/rdb.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak {

using ResultPtr = std::unique_ptr<CRDBres>;

// Status of a query result; a missing result counts as a failed query.
inline int ResultStatus(const CRDBres* result) { return result ? result->status : -1; }

// Status -1 or -2: the query found nothing to read.
inline bool NothingFound(const CRDBres* result) {
  const int status = ResultStatus(result);
  return status == -1 || status == -2;
}

// Rows of a result; a negative count is treated as none.
inline int RowCount(const CRDBres* result) {
  if (result == nullptr) return 0;
  const int lines = result->GetLines();
  return lines < 0 ? 0 : lines;
}

enum class CloseMode {
  kAlways,  // Close() on the way out (the lookups)
  kNever,   // leave the connection as it is (settings arrays without close = 1)
};

template <class Connection>
class Session {
 public:
  using Configure = void (*)(const char* server, char* site);
  using Instance = Connection* (*)();

  Session(const char* server, char* site, CloseMode mode, Configure configure, Instance instance,
          int openFailed)
      : mode_(mode) {
    configure(server, site);
    db_ = instance();
    if (db_ == nullptr) {
      status_ = openFailed;
      return;
    }
    if (!db_->is_open() && db_->open() != 0) {
      db_->Close();
      db_ = nullptr;
      status_ = openFailed;
    }
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    if (db_ != nullptr && mode_ == CloseMode::kAlways) db_->Close();
  }

  // 0 when the connection is open, else the open-failure status.
  int status() const { return status_; }
  Connection& db() const { return *db_; }

 private:
  Connection* db_ = nullptr;
  int status_ = 0;
  CloseMode mode_;
};

// The index database connection, configured by IndexSetup; -102 when it
// cannot be opened. site, when non-null, receives the site name (32 bytes).
class IndexSession : public Session<CIndexDBComm> {
 public:
  explicit IndexSession(const char* server, char* site = nullptr,
                        CloseMode mode = CloseMode::kAlways)
      : Session(server, site, mode, &IndexSetup, &CIndexDBComm::getInstance, TOVAK_E_INDEX_OPEN) {}
};

// The setup database connection, configured by SetupSetup; -140 when it
// cannot be opened.
class SetupSession : public Session<CSetupDBComm> {
 public:
  explicit SetupSession(const char* server, CloseMode mode = CloseMode::kAlways)
      : Session(server, nullptr, mode, &SetupSetup, &CSetupDBComm::getInstance,
                TOVAK_E_SETUP_OPEN) {}
};

// True when lookups go to the remote server rather than the databases.
inline bool UsesRemoteServer(const char* server) {
  return isTovakProtocolV2(server) == kProtocolV2;
}

// Runs remote(client) with the connected remote client and returns its
// status, or TOVAK_E_NO_REMOTE when no client could be set up.
template <class Remote>
int WithRemoteClient(const char* server, Remote&& remote) {
  CmonoMirvoDataClient* client = tDataClientSetup(server);
  return client != nullptr ? remote(*client) : TOVAK_E_NO_REMOTE;
}

// remote(client) on the remote server, or direct() on the databases.
template <class Remote, class Direct>
int Dispatch(const char* server, Remote&& remote, Direct&& direct) {
  return UsesRemoteServer(server) ? WithRemoteClient(server, remote) : direct();
}

}  // namespace tovak

#endif  // TOVAK_ACCESS_SESSION_H_
