#include "remote/reply_bounds.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "access/output_limits.h"
#include "remote/status_map.h"
#include "tovak/param_set.h"

namespace tovak::remote {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;

// The range of one reply field: a text's longest length, or a number's
// lowest and highest value. Fields without an entry: texts up to
// kRemoteTextLimit, numbers of any value of their type.
struct Bound {
  const Descriptor* (*reply)();
  int field;
  int64_t low;
  int64_t high;
  bool zero = true;  // false: the lookup never hands out 0
};

template <class Reply>
constexpr Bound Text(int field, size_t limit) {
  return {&Reply::descriptor, field, 0, static_cast<int64_t>(limit)};
}
template <class Reply>
constexpr Bound Number(int field, int64_t low, int64_t high, bool zero = true) {
  return {&Reply::descriptor, field, low, high, zero};
}

using Infox = v1::DTSinfoxReply;
using InfoClk = v1::DTSinfoCLKReply;
using Count = v1::DTSParametersCountReply;
constexpr int64_t kShortMin = std::numeric_limits<int16_t>::min();
constexpr int64_t kShortMax = std::numeric_limits<int16_t>::max();
constexpr int64_t kIntMin = std::numeric_limits<int32_t>::min();
constexpr int64_t kIntMax = std::numeric_limits<int32_t>::max();

constexpr Bound kBounds[] = {
    Text<Infox>(Infox::kDtsKindFieldNumber, kKindNameLimit),
    Text<Infox>(Infox::kClkDtsWord3FieldNumber, kOptionsTextLimit),
    Number<Infox>(Infox::kLinkNum3FieldNumber, kShortMin, kShortMax),
    Number<Infox>(Infox::kLinkNum4FieldNumber, kShortMin, kShortMax),
    Number<Infox>(Infox::kSampIntervalFieldNumber, kIntMin, kIntMax, false),
    Text<InfoClk>(InfoClk::kDtsKindFieldNumber, kKindNameLimit),
    Text<InfoClk>(InfoClk::kPreSampleTextFieldNumber, kOptionsTextLimit),
    Text<InfoClk>(InfoClk::kSampIntervalTextFieldNumber, kOptionsTextLimit),
    Text<InfoClk>(InfoClk::kClkDtsTypeFieldNumber, kOptionsTextLimit),
    Text<InfoClk>(InfoClk::kClkDtsHostFieldNumber, kOptionsTextLimit),
    Text<InfoClk>(InfoClk::kClkDtsWord3FieldNumber, kOptionsTextLimit),
    Number<Count>(Count::kCountFieldNumber, 0, kMaxParameterCount),
    Text<Count>(Count::kModuleNameFieldNumber, kModuleNameSize - 1),
};

const Bound* BoundOf(const FieldDescriptor& field) {
  for (const Bound& bound : kBounds) {
    if (bound.field == field.number() && bound.reply() == field.containing_type()) return &bound;
  }
  return nullptr;
}

int CheckText(const char* method, const FieldDescriptor& field, const std::string& text) {
  const Bound* bound = BoundOf(field);
  const size_t limit = bound != nullptr ? static_cast<size_t>(bound->high) : kRemoteTextLimit;
  if (text.size() > limit) {
    return RefusedReply(method, "%s holds %zu bytes, more than %zu", field.name().c_str(),
                        text.size(), limit);
  }
  if (std::memchr(text.data(), '\0', text.size()) != nullptr) {
    return RefusedReply(method, "%s holds a NUL byte", field.name().c_str());
  }
  return 0;
}

int CheckNumber(const char* method, const FieldDescriptor& field, int64_t value) {
  const Bound* bound = BoundOf(field);
  if (bound == nullptr) return 0;
  if (value < bound->low || value > bound->high || (value == 0 && !bound->zero)) {
    return RefusedReply(method, "%s is %lld, outside %lld..%lld%s", field.name().c_str(),
                        static_cast<long long>(value), static_cast<long long>(bound->low),
                        static_cast<long long>(bound->high), bound->zero ? "" : " without 0");
  }
  return 0;
}

}  // namespace

int CheckReply(const char* method, const google::protobuf::Message& reply) {
  const auto* reflection = reply.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(reply, &fields);
  std::string scratch;
  for (const FieldDescriptor* field : fields) {
    int status = 0;
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_STRING:
        status = CheckText(method, *field, reflection->GetStringReference(reply, field, &scratch));
        break;
      case FieldDescriptor::CPPTYPE_INT32:
        status = CheckNumber(method, *field, reflection->GetInt32(reply, field));
        break;
      case FieldDescriptor::CPPTYPE_INT64:
        status = CheckNumber(method, *field, reflection->GetInt64(reply, field));
        break;
      default:  // the replies hold no other kinds
        break;
    }
    if (status != 0) return status;
  }
  return 0;
}

int CheckParameterList(const v1::DTSParametersReply& reply) {
  if (!reply.has_param_text()) return 0;
  CParamSet list;
  if (list.PutString(reply.param_text().c_str()) != 0) {
    return RefusedReply("GetDTSParameters", "param_text is no parameter list");
  }
  if (list.GetParamCount() > kMaxParameterCount) {
    return RefusedReply("GetDTSParameters", "param_text holds %d entries, more than %d",
                        list.GetParamCount(), kMaxParameterCount);
  }
  return 0;
}

int CheckCountChannels(const v1::DTSParametersCountRequest& request,
                       const v1::DTSParametersCountReply& reply) {
  const char* method = "GetDTSParametersCount";
  if (reply.has_first_channel() && reply.first_channel() != request.first_channel()) {
    return RefusedReply(method, "first_channel is %d, asked %d", reply.first_channel(),
                        request.first_channel());
  }
  const bool resolved = request.last_channel() == 0;
  if (reply.has_last_channel() &&
      (resolved ? reply.last_channel() < std::max(request.first_channel(), 0)
                : reply.last_channel() != request.last_channel())) {
    return RefusedReply(method, "last_channel is %d, asked %d from %d", reply.last_channel(),
                        request.last_channel(), request.first_channel());
  }
  return 0;
}

}  // namespace tovak::remote
