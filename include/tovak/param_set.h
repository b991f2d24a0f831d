// An ordered list of named, typed values: the settings of a timing output
// channel. Entries keep the order in which they were appended.
#ifndef TOVAK_PARAM_SET_H_
#define TOVAK_PARAM_SET_H_

#include <string>
#include <vector>

#include "tovak/export.h"

// Type tags of the entries.
enum TovakParamTag {
  kTovakParamText = 1,     // a text (also the tag of filler entries)
  kTovakParamInt = 2,      // signed 32-bit integer
  kTovakParamUInt = 3,     // unsigned 32-bit integer
  kTovakParamLong = 4,     // signed 64-bit integer
  kTovakParamTime = 5,     // POSIX time, seconds since the epoch
  kTovakParamSeconds = 6,  // a time in seconds, kept as written
};

class TOVAK_EXPORT CParamSet {
 public:
  CParamSet();
  CParamSet(const CParamSet&);
  CParamSet& operator=(const CParamSet&);
  virtual ~CParamSet();

  virtual void AddParam(const char* name, unsigned int value);
  virtual void AddParam(const char* name, int value);
  virtual void AddParam(const char* name, const char* value);
  virtual void AddParam(const char* name, const char* value, int tag);
  virtual void AddParam(const char* name, long value);
  virtual void AddParamTime(const char* name, long value);

  virtual int GetParamCount() const;
  // Copies entry index's name and value text, each NUL-terminated within
  // its size (cut when longer), and stores its tag. 0 on success, -1 when
  // index names no entry (nothing is written then).
  virtual int GetParam(int index, char* name, int nameSize, char* value, int valueSize,
                       int* tag) const;

  // The list's text form, and loading entries from it (appended after the
  // entries already held). PutString returns 0, or -1 for a malformed text,
  // in which case the list is left as it was.
  virtual std::string GetString() const;
  virtual int PutString(const char* text);

 private:
  struct Entry {
    std::string name;
    std::string value;
    int tag;
  };
  std::vector<Entry> entries_;
};

#endif  // TOVAK_PARAM_SET_H_
