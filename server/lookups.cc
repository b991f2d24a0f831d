#include "server/lookups.h"

#include <cstring>
#include <string>
#include <vector>

#include "remote/link_texts.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::server {
namespace {

using remote::LinkTexts;
using remote::TextOf;
using remote::TextsOf;

// A text output buffer. It starts filled with a byte other than NUL, so the
// lookup wrote it exactly when it now holds a NUL (every written text ends
// with one).
class TextOut {
 public:
  TextOut() : buffer_(kTextBufferSize, '\xff') {}
  char* data() { return buffer_.data(); }
  bool written() const { return std::memchr(buffer_.data(), '\0', buffer_.size()) != nullptr; }
  std::string text() const { return std::string(buffer_.data()); }

 private:
  std::vector<char> buffer_;
};

// Sets a reply's text field through set when the lookup wrote out.
template <class Set>
void Report(const TextOut& out, Set&& set) {
  if (out.written()) set(out.text());
}

// A numeric output starting from the caller's current value (0 when the
// caller passed no pointer, in which case nothing is reported).
template <class T>
class NumberOut {
 public:
  template <class Wire>
  NumberOut(bool present, Wire current)
      : present_(present), start_(present ? static_cast<T>(current) : T{}), value_(start_) {}
  T* ptr() { return &value_; }
  T value() const { return value_; }
  bool changed() const { return present_ && value_ != start_; }

 private:
  bool present_;
  T start_;
  T value_;
};

template <class T, class Set>
void Report(const NumberOut<T>& out, Set&& set) {
  if (out.changed()) set(out.value());
}

}  // namespace

void AnswerDTSinfox(const char* server, const v1::DTSinfoxRequest& q, v1::DTSinfoxReply* r) {
  TextOut kind, text1, text2, clockSource, word3;
  NumberOut<short> num3(q.has_link_num3(), q.link_num3());
  NumberOut<short> num4(q.has_link_num4(), q.link_num4());
  NumberOut<int> clockSetting(q.has_clock_setting(), q.clock_setting());
  NumberOut<int> num8(q.has_link_num8(), q.link_num8());
  NumberOut<int> preSample(q.has_pre_sample(), q.pre_sample());
  NumberOut<int> sampInterval(q.has_samp_interval(), q.samp_interval());
  NumberOut<int> clkHostId(q.has_clk_host_id(), q.clk_host_id());
  r->set_status(tovakGetDTSinfox(
      TextOf(q.has_diag(), q.diag()), q.shot(), static_cast<short>(q.sub_shot()),
      static_cast<short>(q.ch_key1()), static_cast<short>(q.ch_key2()), server, kind.data(),
      text1.data(), text2.data(), num3.ptr(), num4.ptr(), clockSetting.ptr(), num8.ptr(),
      clockSource.data(), preSample.ptr(), sampInterval.ptr(), clkHostId.ptr(), word3.data()));
  Report(kind, [&](const std::string& v) { r->set_dts_kind(v); });
  Report(text1, [&](const std::string& v) { r->set_link_text1(v); });
  Report(text2, [&](const std::string& v) { r->set_link_text2(v); });
  Report(num3, [&](short v) { r->set_link_num3(v); });
  Report(num4, [&](short v) { r->set_link_num4(v); });
  Report(clockSetting, [&](int v) { r->set_clock_setting(v); });
  Report(num8, [&](int v) { r->set_link_num8(v); });
  Report(clockSource, [&](const std::string& v) { r->set_clock_source(v); });
  Report(preSample, [&](int v) { r->set_pre_sample(v); });
  Report(sampInterval, [&](int v) { r->set_samp_interval(v); });
  Report(clkHostId, [&](int v) { r->set_clk_host_id(v); });
  Report(word3, [&](const std::string& v) { r->set_clk_dts_word3(v); });
}

void AnswerDTSinfoCLK(const char* server, const v1::DTSinfoCLKRequest& q, v1::DTSinfoCLKReply* r) {
  TextOut kind, text1, text2, text3, text4, clockSource, preSample, sampInterval, clkType, clkHost,
      word3;
  NumberOut<int> clockSetting(q.has_clock_setting(), q.clock_setting());
  NumberOut<int> num8(q.has_link_num8(), q.link_num8());
  r->set_status(
      tovakGetDTSinfoCLK(TextOf(q.has_diag(), q.diag()), q.shot(), static_cast<short>(q.sub_shot()),
                         static_cast<short>(q.ch_key1()), static_cast<short>(q.ch_key2()), server,
                         kind.data(), text1.data(), text2.data(), text3.data(), text4.data(),
                         clockSetting.ptr(), num8.ptr(), clockSource.data(), preSample.data(),
                         sampInterval.data(), clkType.data(), clkHost.data(), word3.data()));
  Report(kind, [&](const std::string& v) { r->set_dts_kind(v); });
  Report(text1, [&](const std::string& v) { r->set_link_text1(v); });
  Report(text2, [&](const std::string& v) { r->set_link_text2(v); });
  Report(text3, [&](const std::string& v) { r->set_link_text3(v); });
  Report(text4, [&](const std::string& v) { r->set_link_text4(v); });
  Report(clockSetting, [&](int v) { r->set_clock_setting(v); });
  Report(num8, [&](int v) { r->set_link_num8(v); });
  Report(clockSource, [&](const std::string& v) { r->set_clock_source(v); });
  Report(preSample, [&](const std::string& v) { r->set_pre_sample_text(v); });
  Report(sampInterval, [&](const std::string& v) { r->set_samp_interval_text(v); });
  Report(clkType, [&](const std::string& v) { r->set_clk_dts_type(v); });
  Report(clkHost, [&](const std::string& v) { r->set_clk_dts_host(v); });
  Report(word3, [&](const std::string& v) { r->set_clk_dts_word3(v); });
}

void AnswerSamplingCycle(const char* server, const v1::SamplingCycleRequest& q,
                         v1::SamplingCycleReply* r) {
  const LinkTexts clock = TextsOf(q.clock());
  const LinkTexts trigger = TextsOf(q.trigger());
  NumberOut<int> sampInterval(true, q.samp_interval());
  NumberOut<int64_t> period(q.has_samp_period(), q.samp_period());
  NumberOut<int64_t> clockStart(q.has_clock_start(), q.clock_start());
  NumberOut<int64_t> triggerTime(q.has_trigger_time(), q.trigger_time());
  NumberOut<int64_t> clockCycle(q.has_clock_cycle(), q.clock_cycle());
  r->set_status(tovakSamplingCycle(
      server, clock.dtsType, clock.dtsHost, clock.module, clock.output, trigger.dtsType,
      trigger.dtsHost, trigger.module, trigger.output, sampInterval.ptr(), q.shot(),
      static_cast<unsigned short>(q.sub_shot()), TextOf(q.has_clock_source(), q.clock_source()),
      TextOf(q.has_internal_clock(), q.internal_clock()),
      TextOf(q.has_cycle_multiplier(), q.cycle_multiplier()), period.ptr(), clockStart.ptr(),
      triggerTime.ptr(), clockCycle.ptr()));
  Report(sampInterval, [&](int v) { r->set_samp_interval(v); });
  Report(period, [&](int64_t v) { r->set_samp_period(v); });
  Report(clockStart, [&](int64_t v) { r->set_clock_start(v); });
  Report(triggerTime, [&](int64_t v) { r->set_trigger_time(v); });
  Report(clockCycle, [&](int64_t v) { r->set_clock_cycle(v); });
}

void AnswerSampling0Timing(const char* server, const v1::Sampling0TimingRequest& q,
                           v1::Sampling0TimingReply* r) {
  const LinkTexts trigger = TextsOf(q.trigger());
  NumberOut<int64_t> triggerTime(true, q.trigger_time());
  NumberOut<int64_t> firstSample(q.has_first_sample_time(), q.first_sample_time());
  r->set_status(tovakSampling0Timing(
      server, q.from_clock_start(), trigger.dtsType, trigger.dtsHost, trigger.module,
      trigger.output, q.shot(), static_cast<unsigned short>(q.sub_shot()),
      TextOf(q.has_clock_source(), q.clock_source()), TextOf(q.has_pre_sample(), q.pre_sample()),
      q.samp_period(), q.clock_start(), triggerTime.ptr(), firstSample.ptr()));
  Report(triggerTime, [&](int64_t v) { r->set_trigger_time(v); });
  Report(firstSample, [&](int64_t v) { r->set_first_sample_time(v); });
}

void AnswerDTSParameters(const char* server, const v1::DTSParametersRequest& q,
                         v1::DTSParametersReply* r) {
  CParamSet params;
  r->set_status(getDTSParameters(
      server, TextOf(q.has_dts_name(), q.dts_name()), TextOf(q.has_module(), q.module()), q.shot(),
      static_cast<unsigned short>(q.sub_shot()), static_cast<unsigned short>(q.channel()), params));
  if (r->status() == 0) r->set_param_text(params.GetString());
}

void AnswerDTSParametersCount(const char* server, const v1::DTSParametersCountRequest& q,
                              v1::DTSParametersCountReply* r) {
  TextOut moduleName;
  NumberOut<short> count(q.has_count(), q.count());
  // The lookup reads the channel range through the pointers it writes.
  NumberOut<int> first(true, q.first_channel());
  NumberOut<int> last(true, q.last_channel());
  r->set_status(tovakGetDTSParametersCount(server, TextOf(q.has_dts_name(), q.dts_name()),
                                           TextOf(q.has_module(), q.module()), q.shot(),
                                           static_cast<unsigned short>(q.sub_shot()), count.ptr(),
                                           first.ptr(), last.ptr(), moduleName.data()));
  Report(count, [&](short v) { r->set_count(v); });
  if (q.has_first_channel_out() && first.value() != q.first_channel_out()) {
    r->set_first_channel(first.value());
  }
  if (q.has_last_channel_out() && last.value() != q.last_channel_out()) {
    r->set_last_channel(last.value());
  }
  Report(moduleName, [&](const std::string& v) { r->set_module_name(v); });
}

}  // namespace tovak::server
