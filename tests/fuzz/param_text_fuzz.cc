// The text form of a parameter list. Any text is either refused, leaving
// the list as it was, or loaded after the entries already held; a loaded
// list writes a text that loads again to the same entries and writes the
// same text. Entries copied out into short buffers are cut, never overrun.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tovak/param_set.h"

namespace {

using tovak::fuzz::Buffer;
using tovak::fuzz::Entries;
using tovak::fuzz::Entry;

// A copy into buffers of nameSize and valueSize bytes holds the start of
// the entry, NUL-terminated within the buffer.
void CheckCutCopy(const CParamSet& set, int index, const Entry& whole, int nameSize,
                  int valueSize) {
  Buffer name(static_cast<size_t>(nameSize)), value(static_cast<size_t>(valueSize));
  int tag = 0;
  FUZZ_CHECK(set.GetParam(index, name.data(), nameSize, value.data(), valueSize, &tag) == 0);
  FUZZ_CHECK(tag == whole.tag);
  FUZZ_CHECK(whole.name.compare(0, static_cast<size_t>(nameSize) - 1, name.str()) == 0);
  FUZZ_CHECK(whole.value.compare(0, static_cast<size_t>(valueSize) - 1, value.str()) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = tovak::fuzz::Text(data, size);
  CParamSet set;
  set.AddParam("Held", "before");
  const std::string before = set.GetString();

  const int status = set.PutString(text.c_str());
  FUZZ_CHECK(status == 0 || status == -1);
  if (status != 0) {
    FUZZ_CHECK(set.GetString() == before);
    return 0;
  }

  // Decoding never lengthens a field, so the text's size bounds them all.
  const size_t room = text.size() + 1;
  const std::vector<Entry> entries = Entries(set, room);
  FUZZ_CHECK(!entries.empty() && entries.front() == (Entry{"Held", "before", kTovakParamText}));

  const std::string written = set.GetString();
  CParamSet again;
  FUZZ_CHECK(again.PutString(written.c_str()) == 0);
  FUZZ_CHECK(Entries(again, written.size() + 1) == entries);
  FUZZ_CHECK(again.GetString() == written);

  for (int i = 0; i < set.GetParamCount(); ++i) {
    const Entry& whole = entries[static_cast<size_t>(i)];
    const int cut = 1 + static_cast<int>((whole.name.size() + whole.value.size()) % 5);
    CheckCutCopy(set, i, whole, cut, std::max(1, cut - 2));
  }
  return 0;
}
