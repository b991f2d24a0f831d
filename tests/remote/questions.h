// Lookups over the demo experiment whose answers a test knows beforehand: each question asked
// once by direct access gives the answer the remote server must give for it.
//
// An answer is the status, the numeric outputs and, on success only, the texts: remote callers
// receive texts only on success, and texts a lookup leaves alone read as empty both ways.
#ifndef TOVAK_TESTS_REMOTE_QUESTIONS_H_
#define TOVAK_TESTS_REMOTE_QUESTIONS_H_

#include <string>
#include <vector>

namespace tovak::testing {

struct Question {
  enum Kind { kLinkNumbers, kLinkTexts, kParameterCount, kParameters } kind;
  std::string unitOrDiag, module;  // diagnostic for the link questions, else the timing unit
  unsigned shot;
  short subShot;
  short key1, key2;  // channel keys of the link questions; key1 is the channel of kParameters
  std::string Text() const;  // for messages
};

// Questions on the links and parameter lists of the demo experiment, every site alike.
std::vector<Question> DemoQuestions();

// Asks question of server (an index server name under direct access, ignored under the remote
// protocol, which uses the address set with setTovakProtocolV2).
std::string Ask(const Question& question, const char* server);

// The questions that succeed when asked of server under the current protocol, with their answers.
struct KnownAnswer {
  Question question;
  std::string answer;
};
std::vector<KnownAnswer> KnownAnswers(const char* server);

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_REMOTE_QUESTIONS_H_
