// Whole files as text: certificates, keys, configuration.
#ifndef TOVAK_REMOTE_FILE_TEXT_H_
#define TOVAK_REMOTE_FILE_TEXT_H_

#include <string>

#include "remote/secret_text.h"

namespace tovak::remote {

// The whole content of a file; false when it cannot be read.
bool ReadWholeFile(const std::string& path, std::string* content);

// False, with error naming the file and the fault, unless the open file fd
// (named path) is a regular file of this process's user that no one else may
// read or write.
bool CheckPrivateFile(int fd, const std::string& path, std::string* error);

// The content of a file that holds a secret, refused as CheckPrivateFile
// says; the content is wiped when secret ends.
bool ReadPrivateFile(const std::string& path, SecretText* secret, std::string* error);

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_FILE_TEXT_H_
