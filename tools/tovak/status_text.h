#ifndef TOVAK_TOOLS_STATUS_TEXT_H_
#define TOVAK_TOOLS_STATUS_TEXT_H_

namespace tovak::cli {

// One line saying what a lookup's status means.
const char* StatusText(int status);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_STATUS_TEXT_H_
