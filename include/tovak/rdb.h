// Database connections of the library: the index database (timing tables)
// and the setup database (modules a diagnostic used). Both are process-wide
// singletons configured again at the start of every call.
#ifndef TOVAK_RDB_H_
#define TOVAK_RDB_H_

#include "tovak/export.h"

// A query result: text cells addressed by row and column, both from 0.
// status: 0 the query ran and its rows are available (possibly none),
// -2 no row matched, anything else the query failed. The caller deletes
// every result it receives.
class TOVAK_EXPORT CRDBres {
 public:
  int status = 0;

  CRDBres() = default;
  CRDBres(const CRDBres&) = delete;
  CRDBres& operator=(const CRDBres&) = delete;
  virtual ~CRDBres() = default;

  virtual int GetLines() const = 0;
  // The cell's text; never null (a cell outside the result reads as "").
  virtual const char* GetValue(int row, int column) const = 0;
};

// A database connection.
class TOVAK_EXPORT CRDBComm {
 public:
  CRDBComm() = default;
  CRDBComm(const CRDBComm&) = delete;
  CRDBComm& operator=(const CRDBComm&) = delete;
  virtual ~CRDBComm() = default;

  // Connects; 0 on success, non-zero on failure.
  virtual int open() = 0;
  // Ends the connection unless it is to be kept open between calls. Harmless
  // on a closed connection and when called twice.
  virtual void Close() = 0;
  // Ends the connection whatever the close switch says (called with 1).
  virtual void ForceClose(int force) = 0;
  virtual bool is_open() const = 0;
};

// Queries of the index database.
class TOVAK_EXPORT CIndexDBbase : public CRDBComm {
 public:
  // Site id of a site name; 0 or less when unknown.
  virtual int get_site_id(const char* site) = 0;
  // Diagnostic id; negative when unknown. out is passed as null.
  virtual int get_diag_id(const char* diag, int siteId, int* out) = 0;
  // The DTS link row of a digitizer channel (ten columns).
  virtual CRDBres* get_DTS_information(int diagId, unsigned int shot, unsigned int subShot,
                                       unsigned int chKey1, unsigned int chKey2) = 0;
  // DTS parameter rows of a module, one per output in output-number order.
  virtual CRDBres* get_DTS_parameters(unsigned int shot, unsigned int subShot, int hostId,
                                      const char* module) = 0;
  // DTS table rows of one module, one per channel in channel order.
  virtual CRDBres* get_DTSTBL(int hostId, const char* module, unsigned int shot,
                              unsigned int subShot) = 0;
  // DTS table rows of a host (all its modules).
  virtual CRDBres* get_DTSTBL(int hostId, unsigned int shot, unsigned int subShot) = 0;
  // Host name of a host number: 0 when known. *name receives a text
  // allocated with malloc that the caller frees (also on a non-zero result).
  virtual int get_host_name(int hostNumber, char** name) = 0;
  // Identifier of a timing unit by name; negative when not registered.
  virtual int get_DTS_HostID(const char* name) = 0;
  virtual int get_DTS_CAMACID(const char* name) = 0;
  // Channel settings of a digitizer module (eight columns per channel).
  virtual CRDBres* get_dmod_diag_shot(const char* key1, const char* key2, unsigned int shot,
                                      unsigned int subshot) = 0;
  // The connected site's shot log: one row, the newest shot recorded ("" for
  // none) and whether this shot and sub-shot were ("t" or "f"); no row when
  // the connected role is no site.
  virtual CRDBres* get_shot_record(unsigned int shot, unsigned int subShot) = 0;
};

// The process-wide index database connection.
class TOVAK_EXPORT CIndexDBComm : public CIndexDBbase {
 public:
  // Records the connection parameters (copied), creating the connection
  // object on first use. A later open() connects with these parameters.
  static void setup(const char* host, const char* port, const char* database, const char* user,
                    const char* password);
  // The connection object; null while setup() has never been called.
  static CIndexDBComm* getInstance();
  // True: Close() ends the connection. False: Close() keeps it open.
  static bool swCloseEachTime;
};

// The process-wide setup database connection.
class TOVAK_EXPORT CSetupDBComm : public CRDBComm {
 public:
  static void setupInstance(const char* host, const char* port, const char* database,
                            const char* user, const char* password);
  static CSetupDBComm* getInstance();

  // Modules a diagnostic used in a shot: columns 0 and 1 are the two keys.
  virtual CRDBres* get_dmod_diag_shot(const char* diag, unsigned int shot,
                                      unsigned int subshot) = 0;
};

#endif  // TOVAK_RDB_H_
