// The DTS link row of a digitizer channel, as both link lookups read it.
//
// Columns of the row (row 0 of get_DTS_information):
//   0 timing-unit kind    1, 2 texts    3, 4 numbers (or texts)
//   5 clock setting for an "External" clock source    6 clock source
//   7 clock setting otherwise    8 number    9 options text
#ifndef TOVAK_LINK_LINK_ROW_H_
#define TOVAK_LINK_LINK_ROW_H_

#include <functional>
#include <string>
#include <string_view>

#include "tovak/rdb.h"

namespace tovak {

// The channel whose link row is wanted.
struct LinkKey {
  const char* diag;
  unsigned int shot;
  short subShot;
  short chKey1;
  short chKey2;
};

// Decodes row 0 of the link result; returns 0 or TOVAK_E_NOT_SUPPORTED.
using RowDecoder = std::function<int(CIndexDBComm& db, const CRDBres& link)>;

// Looks the link row up in the index database named by server and hands it
// to decode. Returns TOVAK_E_INDEX_OPEN, TOVAK_E_UNKNOWN_DIAG,
// TOVAK_E_NO_DTS_INFO (no row), or what decode returns. The result is
// deleted and the connection closed on every path.
int QueryLinkRow(const LinkKey& key, const char* server, const RowDecoder& decode);

// Cell (0, column) without its leading and trailing blanks.
std::string TrimmedCell(const CRDBres& link, int column);

// Copies column into a caller buffer, trimmed.
void CopyTrimmedCell(const CRDBres& link, int column, char* dst);

// Columns 0, 1, 2 and 6 into the caller's texts, trimmed; writes nothing
// else. The kind (column 0) is brought to one of the names the library uses:
// "VME", "CAMAC-DTS", "CAMAC", "FPGA-DTS" or "UserDefined".
struct LinkTexts {
  char* dtsKind;
  char* linkText1;
  char* linkText2;
  char* clockSource;
};
void CopyLinkTexts(const CRDBres& link, const LinkTexts& out);

// The clock setting (column 5 for an "External" clock source, column 7
// otherwise) and column 8.
void ReadClockNumbers(const CRDBres& link, int* clockSetting, int* linkNum8);

// Column 9, trimmed; ScanOptions decodes as much of it as the working
// buffer holds.
std::string OptionsText(const CRDBres& link);

}  // namespace tovak

#endif  // TOVAK_LINK_LINK_ROW_H_
