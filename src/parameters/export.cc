// A channel's parameter list copied into caller buffers: exactly the number
// of records the caller asks for, padded with empty records or cut short.
#include <cstring>
#include <vector>

#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

constexpr int kNameWidth = 64;
constexpr int kValueWidth = 128;

struct Buffers {
  void* names;
  int nameWidth;
  void* values;
  int valueWidth;
  int* tags;
  bool flat;
};

// Record i over its whole width: the text, then NUL bytes to the width.
void FillFlatRecord(void* buffer, int width, int index, const std::vector<char>& scratch) {
  if (buffer == nullptr || width < 1) return;
  char* record =
      static_cast<char*>(buffer) + static_cast<size_t>(index) * static_cast<size_t>(width);
  std::strncpy(record, scratch.data(), static_cast<size_t>(width));
}

// Scratch buffers of the record widths, at least one byte each, so that a
// width below 1 still reads as an empty text (and the record is not written).
struct Scratch {
  explicit Scratch(const Buffers& out)
      : name(static_cast<size_t>(out.nameWidth > 0 ? out.nameWidth : 1), '\0'),
        value(static_cast<size_t>(out.valueWidth > 0 ? out.valueWidth : 1), '\0') {}
  std::vector<char> name, value;
};

void CopyFlat(const CParamSet& params, int index, const Buffers& out, Scratch& scratch) {
  std::vector<char>& name = scratch.name;
  std::vector<char>& value = scratch.value;
  name[0] = value[0] = '\0';
  params.GetParam(index, name.data(), out.nameWidth, value.data(), out.valueWidth,
                  out.tags == nullptr ? nullptr : &out.tags[index]);
  FillFlatRecord(out.names, out.nameWidth, index, name);
  FillFlatRecord(out.values, out.valueWidth, index, value);
}

char* PointerRecord(void* buffer, int index) {
  return buffer == nullptr ? nullptr : static_cast<char**>(buffer)[index];
}

void CopyThroughPointers(const CParamSet& params, int index, const Buffers& out) {
  params.GetParam(index, PointerRecord(out.names, index), out.nameWidth,
                  PointerRecord(out.values, index), out.valueWidth,
                  out.tags == nullptr ? nullptr : &out.tags[index]);
}

int ExportParameters(const char* server, const char* dtsName, const char* module, unsigned int shot,
                     unsigned short subShot, unsigned short channel, unsigned short recordCount,
                     const Buffers& out) {
  CParamSet params;
  const int status = getDTSParameters(server, dtsName, module, shot, subShot, channel, params);
  if (status != 0) return status;
  while (params.GetParamCount() < recordCount) params.AddParam("", "", kTovakParamText);
  Scratch scratch(out);
  for (int i = 0; i < recordCount; ++i) {
    if (out.flat) {
      CopyFlat(params, i, out, scratch);
    } else {
      CopyThroughPointers(params, i, out);
    }
  }
  return 0;
}

}  // namespace
}  // namespace tovak

int tovakGetDTSParameters(const char* server, const char* dtsName, const char* module,
                          unsigned int shot, unsigned short subShot, unsigned short channel,
                          unsigned short recordCount, void* names, void* values, int* tags,
                          bool flat) {
  return tovakGetDTSParameters_s(server, dtsName, module, shot, subShot, channel, recordCount,
                                 names, tovak::kNameWidth, values, tovak::kValueWidth, tags, flat);
}

int tovakGetDTSParameters_s(const char* server, const char* dtsName, const char* module,
                            unsigned int shot, unsigned short subShot, unsigned short channel,
                            unsigned short recordCount, void* names, int nameWidth, void* values,
                            int valueWidth, int* tags, bool flat) {
  return tovak::ExportParameters(server, dtsName, module, shot, subShot, channel, recordCount,
                                 {names, nameWidth, values, valueWidth, tags, flat});
}

int tovakGetDTSParameters2(const char* server, const char* dtsName, const char* module,
                           unsigned int shot, unsigned short subShot, unsigned short channel,
                           unsigned short recordCount, void* names, void* values, int* tags) {
  return tovakGetDTSParameters2_s(server, dtsName, module, shot, subShot, channel, recordCount,
                                  names, tovak::kNameWidth, values, tovak::kValueWidth, tags);
}

int tovakGetDTSParameters2_s(const char* server, const char* dtsName, const char* module,
                             unsigned int shot, unsigned short subShot, unsigned short channel,
                             unsigned short recordCount, void* names, int nameWidth, void* values,
                             int valueWidth, int* tags) {
  return tovak::ExportParameters(server, dtsName, module, shot, subShot, channel, recordCount,
                                 {names, nameWidth, values, valueWidth, tags, true});
}
