// Answers to the remote operations, computed by the library's own lookups
// under direct database access, against the index database server name of
// the caller's site.
//
// The time base (GetDTSdatax2) is the library's own: service::AnswerTimeBase.
//
// Each answer starts the lookup's outputs from the values the caller holds,
// and reports an output only when the lookup changed (numbers) or wrote
// (texts) it, so that the caller's untouched outputs stay untouched.
//
// Not thread-safe: the library's connection and protocol state are process
// wide. Call from one thread at a time.
#ifndef TOVAK_SERVER_LOOKUPS_H_
#define TOVAK_SERVER_LOOKUPS_H_

#include <cstddef>

#include "remote/timing_data.pb.h"
#include "tovak/tovak.h"

namespace tovak::server {

namespace v1 = ::tovak::remote::v1;

// Size of the buffers the lookups write their texts into: what any caller
// gives them, which holds every text they write.
inline constexpr size_t kTextBufferSize = TOVAK_TEXT_BUFFER_SIZE;

void AnswerDTSinfox(const char* indexServer, const v1::DTSinfoxRequest& request,
                    v1::DTSinfoxReply* reply);
void AnswerDTSinfoCLK(const char* indexServer, const v1::DTSinfoCLKRequest& request,
                      v1::DTSinfoCLKReply* reply);
void AnswerSamplingCycle(const char* indexServer, const v1::SamplingCycleRequest& request,
                         v1::SamplingCycleReply* reply);
void AnswerSampling0Timing(const char* indexServer, const v1::Sampling0TimingRequest& request,
                           v1::Sampling0TimingReply* reply);
void AnswerDTSParameters(const char* indexServer, const v1::DTSParametersRequest& request,
                         v1::DTSParametersReply* reply);
void AnswerDTSParametersCount(const char* indexServer, const v1::DTSParametersCountRequest& request,
                              v1::DTSParametersCountReply* reply);

}  // namespace tovak::server

#endif  // TOVAK_SERVER_LOOKUPS_H_
