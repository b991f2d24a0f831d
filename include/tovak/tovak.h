/* tovak: timing information of recorded digitizer signals.
 *
 * Every lookup returns a signed 32-bit status: 0 on success, a negative code
 * on failure (see TOVAK_E_* below); under the remote protocol the status of
 * the remote operation is passed through unchanged.
 *
 * The first part of this header is plain C: the records of the settings
 * arrays and the functions exported under undecorated symbol names. The
 * second part, compiled only by C++, declares the functions with C++ linkage
 * (their symbols carry their parameter types).
 *
 * Threads: the library keeps process-wide state (protocol choice, connection
 * singletons, switches) without locks. One thread at a time may use it. */
#ifndef TOVAK_TOVAK_H_
#define TOVAK_TOVAK_H_

#include <stdint.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "tovak/export.h"

/* Status codes. */
enum {
  TOVAK_OK = 0,
  TOVAK_E_MISSING_CARD_OR_MODE = -1, /* card type or acquisition mode missing */
  TOVAK_E_CHANNEL_RANGE = -13,       /* illegal channel range */
  TOVAK_E_NOT_SUPPORTED = -53,       /* link "notSupportedNow", bad clock source */
  TOVAK_E_NO_DTS_INFO = -54,         /* no link row, trigger row or DTS table rows */
  TOVAK_E_DTS_UNKNOWN = -56,         /* timing unit unknown to the identifier queries */
  TOVAK_E_NO_MODULE_ROWS = -60,      /* no DTS table rows for the module */
  TOVAK_E_CLOCK_PARAMS = -61,        /* clock row parameters or base rate not found */
  TOVAK_E_CLOCK_ID = -62,            /* clock unit identifier not found */
  TOVAK_E_TRIGGER_OUTPUT = -63,      /* trigger output number 0 or negative */
  TOVAK_E_CLOCK_OUTPUT = -64,        /* clock output number out of range */
  TOVAK_E_ZERO_PERIOD = -70,         /* external clock with a sampling period of 0 */
  TOVAK_E_INDEX_OPEN = -102,         /* index database could not be opened */
  TOVAK_E_UNKNOWN_DIAG = -103,       /* site or diagnostic unknown */
  TOVAK_E_SETUP_OPEN = -140,         /* setup database could not be opened */
  TOVAK_E_NO_SHOT_LOG = -150,        /* the shot log could not be read */
  TOVAK_E_NO_REMOTE = -599           /* remote protocol and no remote client */
};

/* The largest signed 64-bit value: a time (picoseconds) not yet known. */
#define TOVAK_TIME_UNKNOWN INT64_MAX

/* Bytes of a text buffer that a lookup fills without being told its size
 * (the link texts): the lookups write at most TOVAK_TEXT_BUFFER_SIZE - 1
 * characters and a NUL. A longer database text is cut there; a longer
 * remote reply is refused. */
#define TOVAK_TEXT_BUFFER_SIZE 16384

/* One digitizer module used by a diagnostic: its two keys. */
typedef struct DTSmodule {
  char key1[64];
  char key2[64];
} DTSmodule;

/* One channel of a digitizer module, columns kept by position. */
typedef struct DTSchSettings {
  int32_t column0;
  double column1;
  double column2;
  double column3;
  int32_t column4;
  int32_t column5;
  int32_t column6;
  int32_t column7;
} DTSchSettings;

/* One module with its channel settings. chSettings is owned by the record
 * (released by cleanup_DTSsettingsArray) and null when no channel matched. */
typedef struct DTSsettings {
  DTSmodule module;
  int32_t chCount;
  DTSchSettings* chSettings;
} DTSsettings;

#ifdef __cplusplus
extern "C" {
#endif

/* Connection control and helpers. */
TOVAK_EXPORT int IndexNoClosing(int mode);
TOVAK_EXPORT char* bufferStringCopy(char* dst, const char* buffer, int width, int index);
TOVAK_EXPORT void set_tovak_t_verbose(bool on);
/* Why the last database open or remote set-up failed, in one line: libpq's
 * reason with the database and role asked for, or the step of the set-up
 * that failed and why; "" while none has. Statuses stay as they are: this
 * explains the last TOVAK_E_INDEX_OPEN, TOVAK_E_SETUP_OPEN or
 * TOVAK_E_NO_REMOTE. Valid until the next call into the library. */
TOVAK_EXPORT const char* tovakLastFailure(void);
/* What the shot log of the index database says of a shot: *newestShot, the
 * newest shot the server's site recorded (-1: it recorded none, or keeps no
 * log), and *recorded, 1 when it recorded this shot and sub-shot, else 0.
 * subShot carries the signed 32-bit sub-shot as the settings lookups take
 * it. Always reads the index database, whatever the protocol; the lookups
 * answer the same whether or not a shot was recorded. TOVAK_E_NO_SHOT_LOG
 * when the log cannot be read (a database older than the log). */
TOVAK_EXPORT int tovakGetShotRecord(const char* server, unsigned int shot, unsigned int subShot,
                                    int64_t* newestShot, int* recorded);

/* DTS link of a digitizer channel, decoded into numbers. */
TOVAK_EXPORT int tovakGetDTSinfox(const char* diag, unsigned int shot, short subShot, short chKey1,
                                  short chKey2, const char* server, char* dtsKind, char* linkText1,
                                  char* linkText2, short* linkNum3, short* linkNum4,
                                  int* clockSetting, int* linkNum8, char* clockSource,
                                  int* preSample, int* sampInterval, int* clkHostId,
                                  char* clkDtsWord3);

/* Time base of a record: period, delay and optionally the time axis, in
 * seconds (double when doublePrecision is non-zero, float otherwise). */
TOVAK_EXPORT int tovakGetDTSdatax2_ex(
    const char* server, const char* trgDtsType, const char* trgDtsHost, const char* trgModule,
    const char* trgOutput, const char* clkDtsType, const char* clkDtsHost, const char* clkModule,
    const char* clkOutput, int* sampInterval, int64_t sampleCount, unsigned int shot,
    unsigned short subShot, const char* clockSource, const char* internalClock,
    const char* cycleMultiplier, const char* preSample, int64_t lastSample, short quiet,
    int doublePrecision, void* timeAxis, void* cycleOut, void* delayOut);

/* Parameter list of a timing output channel in caller buffers. names and
 * values are flat buffers (flat == true) or arrays of buffer pointers. */
TOVAK_EXPORT int tovakGetDTSParameters(const char* server, const char* dtsName, const char* module,
                                       unsigned int shot, unsigned short subShot,
                                       unsigned short channel, unsigned short recordCount,
                                       void* names, void* values, int* tags, bool flat);
TOVAK_EXPORT int tovakGetDTSParameters_s(const char* server, const char* dtsName,
                                         const char* module, unsigned int shot,
                                         unsigned short subShot, unsigned short channel,
                                         unsigned short recordCount, void* names, int nameWidth,
                                         void* values, int valueWidth, int* tags, bool flat);
TOVAK_EXPORT int tovakGetDTSParameters2(const char* server, const char* dtsName, const char* module,
                                        unsigned int shot, unsigned short subShot,
                                        unsigned short channel, unsigned short recordCount,
                                        void* names, void* values, int* tags);
TOVAK_EXPORT int tovakGetDTSParameters2_s(const char* server, const char* dtsName,
                                          const char* module, unsigned int shot,
                                          unsigned short subShot, unsigned short channel,
                                          unsigned short recordCount, void* names, int nameWidth,
                                          void* values, int valueWidth, int* tags);
TOVAK_EXPORT int tovakGetDTSParametersCount(const char* server, const char* dtsName,
                                            const char* module, unsigned int shot,
                                            unsigned short subShot, short* count, int* firstChannel,
                                            int* lastChannel, char* moduleOut);

/* Settings arrays. Arrays are allocated with new[]; release them with
 * delete[] (after cleanup_DTSsettingsArray for arrays of DTSsettings). */
TOVAK_EXPORT int tovakGetDTSchSettings(const char* server, const char* key1, const char* key2,
                                       unsigned int shot, unsigned short subshot,
                                       DTSchSettings** out, int* count, int close);
TOVAK_EXPORT int tovakGetDTSdiagShot(const char* server, const char* diag, unsigned int shot,
                                     unsigned short subshot, DTSmodule** out, int* count,
                                     int close);
TOVAK_EXPORT int tovakGetDTSsettings(const char* setupServer, const char* indexServer,
                                     const char* diag, unsigned int shot, unsigned short subshot,
                                     DTSsettings** out, int* count, int close);
TOVAK_EXPORT int cleanup_DTSmoduleArray(DTSmodule* array, int count);
TOVAK_EXPORT int cleanup_DTSchSettingsArray(DTSchSettings* array, int count);
TOVAK_EXPORT int cleanup_DTSsettingsArray(DTSsettings* array, int count);

#ifdef __cplusplus
} /* extern "C" */

class CIndexDBComm;
class CParamSet;
class CmonoMirvoDataClient;

/* DTS link of a digitizer channel, as raw texts. */
TOVAK_EXPORT int tovakGetDTSinfoCLK(const char* diag, unsigned int shot, short subShot,
                                    short chKey1, short chKey2, const char* server, char* dtsKind,
                                    char* linkText1, char* linkText2, char* linkText3,
                                    char* linkText4, int* clockSetting, int* linkNum8,
                                    char* clockSource, char* preSampleText, char* sampIntervalText,
                                    char* clkDtsType, char* clkDtsHost, char* clkDtsWord3);

/* Sampling timing; all times are picoseconds from the timing system's zero. */
TOVAK_EXPORT int tovakSamplingCycle(
    const char* server, const char* clkDtsType, const char* clkDtsHost, const char* clkModule,
    const char* clkOutput, const char* trgDtsType, const char* trgDtsHost, const char* trgModule,
    const char* trgOutput, int* sampInterval, unsigned int shot, unsigned short subShot,
    const char* clockSource, const char* internalClock, const char* cycleMultiplier,
    int64_t* sampPeriod, int64_t* clockStart, int64_t* triggerTime, int64_t* clockCycle);
TOVAK_EXPORT int tovakSampling0Timing(const char* server, bool fromClockStart,
                                      const char* trgDtsType, const char* trgDtsHost,
                                      const char* trgModule, const char* trgOutput,
                                      unsigned int shot, unsigned short subShot,
                                      const char* clockSource, const char* preSample,
                                      int64_t sampPeriod, int64_t clockStart, int64_t* triggerTime,
                                      int64_t* firstSampleTime);
TOVAK_EXPORT int V2tovakSampling0Timing(const char* server, bool fromClockStart,
                                        const char* trgDtsType, const char* trgDtsHost,
                                        const char* trgModule, const char* trgOutput,
                                        unsigned int shot, unsigned short subShot,
                                        const char* clockSource, const char* preSample,
                                        int64_t sampPeriod, int64_t clockStart,
                                        int64_t* triggerTime, int64_t* firstSampleTime);
TOVAK_EXPORT int tovakFirstSampleAdjust(const char* cardType, const char* acqMode,
                                        const char* clockSource, int modeFlag, int64_t sampPeriod,
                                        int64_t clockPeriod, const char* edgeA, const char* edgeB,
                                        int clockCount, int64_t* adjust);

/* Parameter list of a timing output channel, appended to params. */
TOVAK_EXPORT int getDTSParameters(const char* server, const char* dtsName, const char* module,
                                  unsigned int shot, unsigned short subShot, unsigned short channel,
                                  CParamSet& params);

/* Protocol selection and the remote client. */
TOVAK_EXPORT void setTovakProtocolV1();
TOVAK_EXPORT void setTovakProtocolV2(const char* server);
TOVAK_EXPORT int isTovakProtocolV2(const char* server);
TOVAK_EXPORT const char* cCheckV2scheme(const char* url, int* tls);
TOVAK_EXPORT char* CheckV2scheme(char* url, int* tls);
TOVAK_EXPORT CmonoMirvoDataClient* tDataClientSetup(const char* server);

/* Database connections and helpers. */
TOVAK_EXPORT void IndexSetup(const char* server, char* site);
TOVAK_EXPORT void SetupSetup(const char* server, char* site);
TOVAK_EXPORT int get_dmod_host_id(CIndexDBComm* db, const char* kind, const char* name);
TOVAK_EXPORT bool checkFPGA(const char* name);
TOVAK_EXPORT char* trimstrcpy(char* dst, char* src);
TOVAK_EXPORT bool is_verbose();

#endif /* __cplusplus */

#endif /* TOVAK_TOVAK_H_ */
