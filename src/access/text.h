// Text helpers shared by the lookups.
#ifndef TOVAK_ACCESS_TEXT_H_
#define TOVAK_ACCESS_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace tovak {

// Site buffers are 32 bytes: a site name holds at most 31 characters.
constexpr int kSiteBufferSize = 32;

// Base-10 value of text as strtol reads it (leading white space and a sign
// accepted, stops at the first other character); 0 for null or no digits.
long ParseLong(const char* text);
// The same with the whole 64-bit range (strtoll).
int64_t ParseInt64(const char* text);
// The low 32 or 16 bits of ParseLong, as stored in a narrower output.
int32_t ParseInt32(const char* text);
int16_t ParseInt16(const char* text);

// Copies text into a caller buffer of TOVAK_TEXT_BUFFER_SIZE bytes,
// NUL-terminated: whole, or its first kTextLimit bytes.
void CopyOut(char* dst, const std::string& text);

// Copies at most size - 1 bytes of src into dst and terminates it. Returns
// false when src had to be cut.
bool CopyBounded(char* dst, const char* src, int size);

// A text as a view; null reads as the empty text.
inline std::string_view View(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

// A text for a message; null prints as the empty text.
inline const char* Printable(const char* text) { return text == nullptr ? "" : text; }

}  // namespace tovak

#endif  // TOVAK_ACCESS_TEXT_H_
