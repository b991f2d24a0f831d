// The time base of the remote data server, from the module's own computation.
#include "remote/link_texts.h"
#include "timing/time_base.h"
#include "tovak/server_support.h"

namespace tovak::service {
namespace {

using remote::TextOf;

DtsOutput Output(const remote::v1::DTSLink& link) {
  const remote::LinkTexts texts = remote::TextsOf(link);
  return {texts.dtsType, texts.dtsHost, texts.module, texts.output};
}

}  // namespace

void AnswerTimeBase(const char* indexServer, const remote::v1::DTSdatax2Request& q,
                    remote::v1::DTSdatax2Reply* r) {
  TimeBaseRequest request;
  request.server = indexServer;
  request.trigger = Output(q.trigger());
  request.clock = Output(q.clock());
  request.sampleCount = q.sample_count();
  request.shot = q.shot();
  request.subShot = static_cast<unsigned short>(q.sub_shot());
  request.clockSource = TextOf(q.has_clock_source(), q.clock_source());
  request.internalClock = TextOf(q.has_internal_clock(), q.internal_clock());
  request.cycleMultiplier = TextOf(q.has_cycle_multiplier(), q.cycle_multiplier());
  request.preSample = TextOf(q.has_pre_sample(), q.pre_sample());
  request.lastSample = q.last_sample();
  int sampInterval = q.samp_interval();
  int64_t period = 0, delay = 0;
  r->set_status(ComputeTimeBase(request, &sampInterval, &period, &delay));
  if (r->status() != 0) return;
  r->set_samp_interval(sampInterval);
  r->set_samp_period(period);
  r->set_delay(delay);
}

}  // namespace tovak::service
