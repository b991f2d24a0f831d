#include "remote/file_text.h"

#include <fstream>
#include <sstream>

namespace tovak::remote {

bool ReadWholeFile(const std::string& path, std::string* content) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) return false;
  *content = text.str();
  return true;
}

}  // namespace tovak::remote
