// Replies held against what direct access hands out (access/output_limits.h).
// A reply beyond it is refused whole, before any of its outputs is written,
// so a server, or anyone on the way, cannot make a lookup write more into a
// caller's buffers than direct access would.
#ifndef TOVAK_REMOTE_REPLY_BOUNDS_H_
#define TOVAK_REMOTE_REPLY_BOUNDS_H_

#include <google/protobuf/message.h>

#include "remote/timing_data.pb.h"

namespace tovak::remote {

// 0 when every field the reply sets is in range: a text holds no NUL byte
// and is no longer than its output's limit (kRemoteTextLimit when the
// output has none of its own), a number lies in its output's range.
// Otherwise TOVAK_E_REMOTE_REPLY_RANGE, with a verbose message naming the
// call, the field and the limit.
int CheckReply(const char* method, const google::protobuf::Message& reply);

// The list parses and has at most kMaxParameterCount entries.
int CheckParameterList(const v1::DTSParametersReply& reply);

// The channels handed back: the first as asked; the last as asked, or, when
// asked as 0 (the module's last), not before the first.
int CheckCountChannels(const v1::DTSParametersCountRequest& request,
                       const v1::DTSParametersCountReply& reply);

}  // namespace tovak::remote

#endif  // TOVAK_REMOTE_REPLY_BOUNDS_H_
