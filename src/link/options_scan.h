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

#include "access/output_limits.h"

namespace tovak {

// What a lookup does with a keyword's words. A word that is not there (the
// keyword ends the text) arrives empty: a present word is never empty.
// ClkDTS is called only with its kind and name; the third word may be empty.
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

// Scans the text, calling actions for each keyword occurrence in order.
// Returns TOVAK_E_NOT_SUPPORTED when a "notSupportedNow" word was met, else
// 0.
//
// Only the first kOptionsTextLimit characters are decoded. The scan ends
// at the first word that reaches past them; a keyword whose group it would
// cut (the keyword itself, a value word, any of the ClkDTS words) sets
// nothing, so no group is decoded from a part of itself. A ClkDTS group
// without its name (the text ends after the kind) sets nothing either.
//
// Positions advance by word lengths plus one blank per separator, as the
// text is written; a run of several white-space characters therefore sets
// the next reading position back by the extra characters.
int ScanOptions(std::string_view text, OptionActions& actions);

}  // namespace tovak

#endif  // TOVAK_LINK_OPTIONS_SCAN_H_
