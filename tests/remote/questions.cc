#include "remote/questions.h"

#include <sstream>

#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

// A zeroed text buffer: a text the lookup leaves alone reads as empty.
struct Text {
  char bytes[1024] = {};
  operator char*() { return bytes; }
};

template <class... Values>
std::string Join(int status, const Values&... values) {
  std::ostringstream out;
  out << status;
  ((out << '|' << values), ...);
  return out.str();
}

std::string LinkNumbers(const Question& q, const char* server) {
  Text kind, text1, text2, source, word3;
  short num3 = -7, num4 = -7;
  int setting = -7, num8 = -7, pre = -7, interval = -7, host = -7;
  const int status =
      tovakGetDTSinfox(q.unitOrDiag.c_str(), q.shot, q.subShot, q.key1, q.key2, server, kind, text1,
                       text2, &num3, &num4, &setting, &num8, source, &pre, &interval, &host, word3);
  const std::string numbers = Join(status, num3, num4, setting, num8, pre, interval, host);
  if (status != 0) return numbers;
  return Join(0, numbers, kind.bytes, text1.bytes, text2.bytes, source.bytes, word3.bytes);
}

std::string LinkTexts(const Question& q, const char* server) {
  Text kind, t1, t2, t3, t4, source, pre, interval, type, host, word3;
  int setting = -7, num8 = -7;
  const int status =
      tovakGetDTSinfoCLK(q.unitOrDiag.c_str(), q.shot, q.subShot, q.key1, q.key2, server, kind, t1,
                         t2, t3, t4, &setting, &num8, source, pre, interval, type, host, word3);
  if (status != 0) return Join(status, setting, num8);
  return Join(0, setting, num8, kind.bytes, t1.bytes, t2.bytes, t3.bytes, t4.bytes, source.bytes,
              pre.bytes, interval.bytes, type.bytes, host.bytes, word3.bytes);
}

std::string ParameterCount(const Question& q, const char* server) {
  short count = -7;
  int first = 1, last = 8;
  Text used;
  const int status = tovakGetDTSParametersCount(server, q.unitOrDiag.c_str(), q.module.c_str(),
                                                q.shot, static_cast<unsigned short>(q.subShot),
                                                &count, &first, &last, used);
  if (status != 0) return Join(status, count, first, last);
  return Join(0, count, first, last, used.bytes);
}

std::string Parameters(const Question& q, const char* server) {
  CParamSet list;
  const int status = getDTSParameters(server, q.unitOrDiag.c_str(), q.module.c_str(), q.shot,
                                      static_cast<unsigned short>(q.subShot),
                                      static_cast<unsigned short>(q.key1), list);
  return status != 0 ? Join(status) : Join(0, list.GetString());
}

}  // namespace

std::string Question::Text() const {
  static const char* const kinds[] = {"links", "link texts", "parameter count", "parameters"};
  std::ostringstream out;
  out << kinds[kind] << "(" << unitOrDiag << "," << module << "," << shot << "," << subShot << ","
      << key1 << "," << key2 << ")";
  return out.str();
}

std::vector<Question> DemoQuestions() {
  std::vector<Question> questions;
  for (const char* diag :
       {"Magnetics", "Bolometer", "ECE", "Interferometer", "Langmuir", "Spectroscopy"})
    for (unsigned shot : {120000u, 120050u})
      for (short sub : {0, 1})
        for (short key1 : {1, 2, 3})
          for (short key2 : {1, 4, 5, 8, 9}) {
            questions.push_back({Question::kLinkNumbers, diag, "", shot, sub, key1, key2});
            questions.push_back({Question::kLinkTexts, diag, "", shot, sub, key1, key2});
          }
  for (const char* unit : {"fdts01", "vdts01", "cdts01"})
    for (const char* module : {"DMODSS0", "DMOD0", "DMOD1", "DMODSS12"})
      for (unsigned shot : {120000u, 120050u})
        for (short sub : {0, 2}) {
          questions.push_back({Question::kParameterCount, unit, module, shot, sub, 0, 0});
          for (short channel : {1, 2, 3, 7}) {
            questions.push_back({Question::kParameters, unit, module, shot, sub, channel, 0});
          }
        }
  return questions;
}

std::string Ask(const Question& question, const char* server) {
  switch (question.kind) {
    case Question::kLinkNumbers:
      return LinkNumbers(question, server);
    case Question::kLinkTexts:
      return LinkTexts(question, server);
    case Question::kParameterCount:
      return ParameterCount(question, server);
    case Question::kParameters:
      return Parameters(question, server);
  }
  return {};
}

std::vector<KnownAnswer> KnownAnswers(const char* server) {
  std::vector<KnownAnswer> known;
  for (const Question& question : DemoQuestions()) {
    std::string answer = Ask(question, server);
    if (answer.rfind("0|", 0) == 0) known.push_back({question, std::move(answer)});
  }
  return known;
}

}  // namespace tovak::testing
