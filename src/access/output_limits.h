// The longest texts and lists the lookups hand out under direct access. The
// direct path keeps to them by construction; the remote client refuses a
// reply beyond them, so a server cannot make a lookup write more than direct
// access would.
#ifndef TOVAK_ACCESS_OUTPUT_LIMITS_H_
#define TOVAK_ACCESS_OUTPUT_LIMITS_H_

#include <cstddef>

namespace tovak {

// Unit kinds of a link: "UserDefined" is the longest name written.
inline constexpr size_t kKindNameLimit = 11;
// How much of an options text is decoded (a working buffer of 255
// characters and a NUL), and so the longest option word handed out.
inline constexpr size_t kOptionsTextLimit = 255;
// Module names are held in 64 bytes: at most 63 characters.
inline constexpr int kModuleNameSize = 64;
// Entries of the longest parameter list (a DMODSS divider channel), and so
// the largest record count.
inline constexpr int kMaxParameterCount = 41;
// Texts copied whole from text columns have no width in the database; the
// remote server's lookups write them into 16 KiB buffers, so a server
// answers at most this many characters.
inline constexpr size_t kRemoteTextLimit = 16383;

}  // namespace tovak

#endif  // TOVAK_ACCESS_OUTPUT_LIMITS_H_
