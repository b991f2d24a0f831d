// One line on standard error per request:
//   tovak-server: user=alice site=ubo op=GetDTSinfox status=0 us=412
// user is "-" for a caller without credentials; status is the lookup's
// status, or "refused:REASON" when the call was not answered.
#ifndef TOVAK_SERVER_REQUEST_LOG_H_
#define TOVAK_SERVER_REQUEST_LOG_H_

#include <cstdint>
#include <string>

namespace tovak::server {

void LogRequest(const std::string& user, const std::string& site, const char* method,
                const std::string& status, int64_t microseconds);

// Logs a refused call as status "refused:REASON", at most
// kRefusalLinesPerSecond lines per reason each second in each worker; the
// next line of that reason after a second with more is preceded by
//   tovak-server: N refusals (REASON) not logged
inline constexpr int kRefusalLinesPerSecond = 20;
void LogRefusal(const std::string& user, const std::string& site, const char* method,
                const char* reason, int64_t microseconds);

// Printable form of a caller-supplied text: bytes outside printable ASCII,
// blanks and '=' become '?', so that a log line always splits into its fields.
std::string Printable(const std::string& text);

}  // namespace tovak::server

#endif  // TOVAK_SERVER_REQUEST_LOG_H_
