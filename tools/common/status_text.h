#ifndef TOVAK_TOOLS_COMMON_STATUS_TEXT_H_
#define TOVAK_TOOLS_COMMON_STATUS_TEXT_H_

namespace tovak::tooling {

// One line saying what a lookup's status means.
const char* StatusText(int status);

}  // namespace tovak::tooling

#endif  // TOVAK_TOOLS_COMMON_STATUS_TEXT_H_
