// The service's convention for a DTS output's texts: a text the caller
// passed as null is a field left unset, both ways.
#ifndef TOVAK_REMOTE_LINK_TEXTS_H_
#define TOVAK_REMOTE_LINK_TEXTS_H_

#include <string>

#include "remote/timing_data.pb.h"

namespace tovak::remote {

// A request's text: null when the caller passed null.
inline const char* TextOf(bool present, const std::string& value) {
  return present ? value.c_str() : nullptr;
}

struct LinkTexts {
  const char* dtsType;
  const char* dtsHost;
  const char* module;
  const char* output;
};

inline LinkTexts TextsOf(const v1::DTSLink& link) {
  return {TextOf(link.has_dts_type(), link.dts_type()),
          TextOf(link.has_dts_host(), link.dts_host()), TextOf(link.has_module(), link.module()),
          TextOf(link.has_output(), link.output())};
}

inline void SetLink(v1::DTSLink* link, const LinkTexts& texts) {
  if (texts.dtsType != nullptr) link->set_dts_type(texts.dtsType);
  if (texts.dtsHost != nullptr) link->set_dts_host(texts.dtsHost);
  if (texts.module != nullptr) link->set_module(texts.module);
  if (texts.output != nullptr) link->set_output(texts.output);
}

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_LINK_TEXTS_H_
