// Whole files as text: certificates, keys, configuration.
#ifndef TOVAK_REMOTE_FILE_TEXT_H_
#define TOVAK_REMOTE_FILE_TEXT_H_

#include <string>

namespace tovak::remote {

// The whole content of a file; false when it cannot be read.
bool ReadWholeFile(const std::string& path, std::string* content);

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_FILE_TEXT_H_
