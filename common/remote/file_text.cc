#include "remote/file_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace tovak::remote {
namespace {

// Room reserved at once, so that reading never moves the secret and leaves a
// copy behind; key files are far smaller.
constexpr size_t kMaxPrivateFileBytes = 64 * 1024;

}  // namespace

bool ReadWholeFile(const std::string& path, std::string* content) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) return false;
  *content = text.str();
  return true;
}

bool CheckPrivateFile(int fd, const std::string& path, std::string* error) {
  struct stat info;
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    *error = path + ": not a regular file";
    return false;
  }
  if (info.st_uid != geteuid()) {
    *error = path + ": owned by another user (uid " + std::to_string(info.st_uid) + ")";
    return false;
  }
  if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    char mode[8];
    std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(info.st_mode & 07777));
    *error = path + ": group or others may access it (mode " + mode + "; chmod 600)";
    return false;
  }
  return true;
}

bool ReadPrivateFile(const std::string& path, SecretText* secret, std::string* error) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *error = "cannot read " + path;
    return false;
  }
  bool ok = CheckPrivateFile(fd, path, error);
  secret->value.reserve(kMaxPrivateFileBytes);
  char buffer[4096];
  for (ssize_t n = 0; ok && (n = read(fd, buffer, sizeof buffer)) != 0;) {
    if (n < 0) {
      *error = "cannot read " + path;
      ok = false;
    } else if (secret->value.size() + static_cast<size_t>(n) > kMaxPrivateFileBytes) {
      *error = path + ": larger than a key file may be";
      ok = false;
    } else {
      secret->value.append(buffer, static_cast<size_t>(n));
    }
  }
  OPENSSL_cleanse(buffer, sizeof buffer);
  close(fd);
  if (!ok) secret->Wipe();
  return ok;
}

}  // namespace tovak::remote
