// Every lookup with a remote form over a demo site's data, as questions that direct access and a
// tovak-server must answer alike, byte for byte, but where the remote front ends differ by design:
// texts arrive only on success, then all (untouched ones empty); a failed time base writes nothing.
#ifndef TOVAK_TESTS_REMOTE_QUESTIONS_H_
#define TOVAK_TESTS_REMOTE_QUESTIONS_H_

#include <functional>
#include <string>
#include <vector>

namespace tovak::testing {

// A call with its arguments, its status and every output (texts with a digest of their whole
// buffer, floating point numbers by their bits).
struct Answer {
  std::string call;
  int status;
  std::vector<std::string> outputs;
};

// Asks its lookup of an index server name under direct access; the remote protocol uses the address
// set with setTovakProtocolV2 instead.
using Question = std::function<Answer(const char* server)>;

// The questions over the data of server, odd names and keys among them. Asks the links by direct
// access to find the clock links whose timing the questions ask.
std::vector<Question> Questions(const std::string& server);

// "" when remote may stand for direct, else what differs.
std::string Mismatch(const Answer& direct, const Answer& remote);

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_QUESTIONS_H_
