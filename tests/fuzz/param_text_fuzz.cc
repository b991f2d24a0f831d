// The text form of a parameter list. A text is refused, leaving the list as
// it was, or loaded after the entries held; a loaded list writes a text that
// loads back to the same entries and text; short copies are cut, not overrun.
#include "fuzz_support.h"

using tovak::fuzz::Entry;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CParamSet set;
  set.AddParam("Held", "before");
  const std::string before = set.GetString();
  const int status = set.PutString(text.c_str());
  FUZZ_CHECK(status == 0 || (status == -1 && set.GetString() == before));
  if (status != 0) return 0;
  // Decoding never lengthens a field, so the text's size bounds them all.
  const std::vector<Entry> entries = tovak::fuzz::Entries(set, size + 1);
  FUZZ_CHECK(entries.front() == (Entry{"Held", "before", kTovakParamText}));
  const std::string written = set.GetString();
  CParamSet again;
  FUZZ_CHECK(again.PutString(written.c_str()) == 0 && again.GetString() == written);
  FUZZ_CHECK(tovak::fuzz::Entries(again, written.size() + 1) == entries);
  for (size_t i = 0; i < entries.size(); ++i) {
    const Entry& whole = entries[i];
    const size_t name = 1 + (whole.name.size() + whole.value.size()) % 5;
    const size_t value = name > 3 ? name - 2 : 1;
    FUZZ_CHECK(
        tovak::fuzz::Copy(set, static_cast<int>(i), name, value) ==
        (Entry{whole.name.substr(0, name - 1), whole.value.substr(0, value - 1), whole.tag}));
  }
  return 0;
}
