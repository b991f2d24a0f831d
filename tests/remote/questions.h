// Every remote lookup over a demo site's data: questions direct and remote access answer alike.
#ifndef TOVAK_TESTS_REMOTE_QUESTIONS_H_
#define TOVAK_TESTS_REMOTE_QUESTIONS_H_

#include <functional>
#include <string>
#include <vector>

namespace tovak::testing {

// A call with its arguments, its status and its outputs (texts with a digest of the whole buffer).
struct Answer {
  std::string call;
  int status;
  std::vector<std::string> outputs;
};

// Asks its lookup of index server name server by direct access, or of the V2 address set.
using Question = std::function<Answer(const char* server)>;

// The questions over the data of server, odd names and keys among them.
std::vector<Question> Questions(const std::string& server);

// "" when remote may stand for direct, else what differs: texts come on success only (else empty).
std::string Mismatch(const Answer& direct, const Answer& remote);

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_QUESTIONS_H_
