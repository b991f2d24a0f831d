// Process-wide state of the library. Plain globals without locks: one thread
// at a time may use the library.
#ifndef TOVAK_ACCESS_STATE_H_
#define TOVAK_ACCESS_STATE_H_

#include <string>

// -1 undecided, 0 direct database access (V1), 1 remote server (V2).
extern int CurrentProtocol;
// Address of the remote server; refers to the caller's or the
// configuration's text, never to a copy. Null until known.
extern const char* ServerV2Name;
// While true the library writes diagnostic messages to standard error.
extern bool is_verbose_tovak_t;

namespace tovak {

constexpr int kProtocolUndecided = -1;
constexpr int kProtocolV1 = 0;
constexpr int kProtocolV2 = 1;

// Writes a diagnostic message to standard error while the verbose switch is
// on; does nothing otherwise.
void VerboseMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Keeps `reason` (one line) as the one tovakLastFailure() returns and writes
// it as a verbose message.
void RecordFailure(std::string reason);

}  // namespace tovak

#endif  // TOVAK_ACCESS_STATE_H_
