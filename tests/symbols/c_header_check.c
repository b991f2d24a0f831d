/* The public header compiles as C: records and plain-symbol functions. */
#include "tovak/tovak.h"

int tovak_c_header_check(void) {
  DTSsettings settings = {{"key1", "key2"}, 0, 0};
  short count = 0;
  int first = 1, last = 0;
  (void)settings;
  return tovakGetDTSParametersCount(0, "dts", "NONAME", 1u, 0, &count, &first, &last, 0) +
         IndexNoClosing(1) + cleanup_DTSsettingsArray(&settings, 1) + TOVAK_E_NO_REMOTE;
}
