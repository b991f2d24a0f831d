// Texts filled by a remote operation, delivered to the caller's buffers only
// when the operation succeeds. The strings are released on every path,
// also when the operation throws.
#ifndef TOVAK_LINK_REMOTE_TEXTS_H_
#define TOVAK_LINK_REMOTE_TEXTS_H_

#include <array>
#include <cstddef>
#include <string>

#include "access/text.h"

namespace tovak::link {

template <size_t N>
class RemoteTexts {
 public:
  explicit RemoteTexts(const std::array<char*, N>& buffers) : buffers_(buffers) {}

  std::string& operator[](size_t i) { return texts_[i]; }

  // Copies every text whole, in order, when status is 0. Returns status.
  int Deliver(int status) const {
    if (status != 0) return status;
    for (size_t i = 0; i < N; ++i) CopyOut(buffers_[i], texts_[i]);
    return status;
  }

 private:
  std::array<char*, N> buffers_;
  std::array<std::string, N> texts_;
};

}  // namespace tovak::link

#endif  // TOVAK_LINK_REMOTE_TEXTS_H_
