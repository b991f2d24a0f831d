#include "status_text.h"

#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak::tooling {

const char* StatusText(int status) {
  switch (status) {
    case TOVAK_OK: return "success";
    case TOVAK_E_MISSING_CARD_OR_MODE: return "card type or acquisition mode missing";
    case TOVAK_E_CHANNEL_RANGE: return "illegal channel range";
    case TOVAK_E_NOT_SUPPORTED:
      return "not supported: link marked notSupportedNow, or clock source neither Internal nor "
             "External, or first sample from clock start without an external clock";
    case TOVAK_E_NO_DTS_INFO:
      return "no DTS information: no link row, trigger row or DTS table rows";
    case TOVAK_E_DTS_UNKNOWN: return "timing unit unknown to the index database";
    case TOVAK_E_NO_MODULE_ROWS: return "no DTS table rows for the module";
    case TOVAK_E_CLOCK_PARAMS: return "DTS parameters or base rate of the clock output not found";
    case TOVAK_E_CLOCK_ID: return "clock timing unit not found";
    case TOVAK_E_TRIGGER_OUTPUT: return "trigger output number 0 or negative";
    case TOVAK_E_CLOCK_OUTPUT: return "clock output number negative or beyond the parameter rows";
    case TOVAK_E_ZERO_PERIOD: return "external clock with a sampling period of 0";
    case TOVAK_E_INDEX_OPEN: return "index database connection could not be opened";
    case TOVAK_E_UNKNOWN_DIAG: return "site or diagnostic unknown";
    case TOVAK_E_SETUP_OPEN: return "setup database connection could not be opened";
    case TOVAK_E_NO_SHOT_LOG: return "the shot log of the index database could not be read";
    case TOVAK_E_NO_REMOTE: return "remote protocol and no remote server could be reached";
    case TOVAK_E_REMOTE_REPLY_RANGE:
      return "reply of the remote data server out of range: more than direct access gives";
    case TOVAK_E_REMOTE_BUSY: return "remote data server busy: its queue is full, try again later";
    default: return "status of the remote data server or its database";
  }
}

}  // namespace tovak::tooling
