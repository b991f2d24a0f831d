// The options text of a DTS link row: words separated by single blanks,
// among them the keywords
//   PreSample <value>
//   SampInterval <value>
//   ClkDTS <kind> <name> <third word>
//   notSupportedNow
// Other words are skipped. Both link lookups scan it with the same word
// reading and position arithmetic and differ only in what they do with the
// words that follow a keyword.
#ifndef TOVAK_LINK_OPTIONS_SCAN_H_
#define TOVAK_LINK_OPTIONS_SCAN_H_

#include <cstddef>
#include <string_view>

namespace tovak::link {

// What a lookup does with a keyword's words. A word that is not there (the
// keyword ends the text) arrives empty: a present word is never empty.
class OptionActions {
 public:
  virtual ~OptionActions() = default;
  virtual void PreSample(std::string_view value) = 0;
  virtual void SampInterval(std::string_view value) = 0;
  virtual void ClkDTS(std::string_view kind, std::string_view name, std::string_view third) = 0;
};

// The word at position pos of text: white space before it is skipped, and
// it runs to the next white space. Empty at or past the end of the text.
std::string_view WordAt(std::string_view text, size_t pos);

// Copies a word whole into a caller buffer, NUL-terminated.
void CopyWord(char* dst, std::string_view word);

// Length of the longest start of text that holds at most limit characters
// and cuts no word in two.
size_t WholeWordsWithin(std::string_view text, size_t limit);

// Scans the whole text, calling actions for each keyword occurrence in
// order. Returns TOVAK_E_NOT_SUPPORTED when a "notSupportedNow" word was
// met, else 0.
//
// Positions advance by word lengths plus one blank per separator, as the
// text is written; a run of several white-space characters therefore sets
// the next reading position back by the extra characters.
int ScanOptions(std::string_view text, OptionActions& actions);

}  // namespace tovak::link

#endif  // TOVAK_LINK_OPTIONS_SCAN_H_
