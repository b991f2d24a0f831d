// Texts filled by a remote operation, delivered to the caller's buffers only
// when the operation succeeds and every text fits what direct access would
// write there (access/output_limits.h). The strings are released on every
// path, also when the operation throws.
#ifndef TOVAK_LINK_REMOTE_TEXTS_H_
#define TOVAK_LINK_REMOTE_TEXTS_H_

#include <array>
#include <cstddef>
#include <string>

#include "access/output_limits.h"
#include "access/state.h"
#include "access/text.h"
#include "tovak/remote_client.h"

namespace tovak {

template <size_t N>
class RemoteTexts {
 public:
  // Each buffer with the longest text it may receive.
  RemoteTexts(const std::array<char*, N>& buffers, const std::array<size_t, N>& limits)
      : buffers_(buffers), limits_(limits) {}

  std::string& operator[](size_t i) { return texts_[i]; }

  // When status is 0, copies every text whole, in order, or none when one is
  // longer than its limit (TOVAK_E_REMOTE_REPLY_RANGE). Returns the status.
  int Deliver(int status) const {
    if (status != 0) return status;
    for (size_t i = 0; i < N; ++i) {
      if (texts_[i].size() > limits_[i]) {
        VerboseMessage("Remote text %zu longer than %zu characters\n", i, limits_[i]);
        return TOVAK_E_REMOTE_REPLY_RANGE;
      }
    }
    for (size_t i = 0; i < N; ++i) CopyOut(buffers_[i], texts_[i]);
    return status;
  }

 private:
  std::array<char*, N> buffers_;
  std::array<size_t, N> limits_;
  std::array<std::string, N> texts_;
};

}  // namespace tovak

#endif  // TOVAK_LINK_REMOTE_TEXTS_H_
