#include "access/state.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "tovak/tovak.h"

int CurrentProtocol = tovak::kProtocolUndecided;
const char* ServerV2Name = nullptr;
bool is_verbose_tovak_t = false;

void set_tovak_t_verbose(bool on) { is_verbose_tovak_t = on; }

bool is_verbose() { return is_verbose_tovak_t; }

namespace tovak {
namespace {
std::string LastFailure;  // see RecordFailure
}  // namespace
}  // namespace tovak

const char* tovakLastFailure(void) { return tovak::LastFailure.c_str(); }

namespace tovak {

void VerboseMessage(const char* format, ...) {
  if (!is_verbose_tovak_t) return;
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
}

void RecordFailure(std::string reason) {
  LastFailure = std::move(reason);
  VerboseMessage("tovak: %s\n", LastFailure.c_str());
}

}  // namespace tovak
