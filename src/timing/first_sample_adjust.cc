// The correction, in picoseconds, that a digitizer card family needs on its
// first-sample time. It depends on the card model, the clock source, the
// acquisition mode and the clock edges the card works on.
#include <strings.h>

#include <cstdint>
#include <cstring>

#include "timing/dts_time.h"
#include "timing/wrapping.h"
#include "tovak/tovak.h"

namespace tovak {
namespace {

bool Equals(const char* text, const char* word) {
  return text != nullptr && strcasecmp(text, word) == 0;
}

bool BeginsWith(const char* text, const char* prefix) {
  return text != nullptr && strncasecmp(text, prefix, std::strlen(prefix)) == 0;
}

int64_t Half(int64_t x) { return x / 2; }
int64_t Negate(int64_t x) { return WrapSub(int64_t{0}, x); }

// The card's view of its set-up.
struct Acquisition {
  bool internal;   // the card runs on its own clock
  bool flag;       // mode flag, cleared by the acquisition modes below
  bool risingA;    // edge A is "Rising"
  bool risingB;    // edge B is "Rising"
  int64_t period;  // sampling period
  int64_t clock;   // clock period
  int32_t clocks;  // clock periods counted
};

// Sum of signed 64-bit terms, wrapping.
template <class... Terms>
int64_t Sum(Terms... terms) {
  int64_t total = 0;
  ((total = WrapAdd(total, static_cast<int64_t>(terms))), ...);
  return total;
}

int64_t PeriodsOf(int32_t count, int64_t period) { return WrapMul(int64_t{count}, period); }

int64_t WeCard(const char* card, const Acquisition& a) {
  if (Equals(card, "WE7272") || Equals(card, "WE7273") || Equals(card, "WE7271")) {
    return a.internal ? PeriodsOf(-2, a.period) : PeriodsOf(-3, a.period);
  }
  if (Equals(card, "WE7275")) {
    if (!a.internal) return PeriodsOf(-2, a.period);
    if (!a.flag && a.period == 1000000) return -2000000;
    return Negate(a.period);
  }
  return 0;
}

int64_t Pxi61Card(const char* card, const Acquisition& a) {
  const int64_t halfClockUnlessA = a.risingA ? 0 : Half(a.clock);
  const int64_t countedClocks = PeriodsOf(WrapSub(a.clocks, int32_t{1}), a.clock);
  if (a.internal) {
    if (a.flag) return Negate(a.period);
    return Sum(countedClocks, Negate(a.period), halfClockUnlessA);
  }
  if (a.period == a.clock) {
    if (Equals(card, "PXI6143")) return a.risingA ? 0 : Sum(Half(a.period), Negate(a.period));
    return a.risingA ? Negate(a.period) : Sum(Half(a.clock), Negate(a.period));
  }
  if (a.flag) return Sum(Negate(a.period), halfClockUnlessA);
  // Edge B counts the other way: half a clock more when it rises.
  return Sum(countedClocks, Negate(a.period), halfClockUnlessA, a.risingB ? Half(a.clock) : 0);
}

int64_t Pxie63Card(const Acquisition& a) {
  constexpr int64_t kInternalLatency = 100000;
  constexpr int64_t kExternalLatency = 70000;
  if (a.internal) {
    if (a.flag) return Negate(a.period);
    return Sum(PeriodsOf(a.clocks, a.clock), Negate(a.period), kInternalLatency);
  }
  if (a.period == a.clock) {
    if (a.flag)
      return Sum(kExternalLatency, Negate(a.period), a.risingA ? 0 : Negate(Half(a.period)));
    return a.risingA ? Sum(a.clock, Negate(a.period), kExternalLatency)
                     : Sum(Half(a.period), Negate(a.period), kExternalLatency);
  }
  if (a.flag) return Negate(a.period);
  return Sum(PeriodsOf(a.clocks, a.clock), Negate(a.period), kExternalLatency);
}

}  // namespace
}  // namespace tovak

int tovakFirstSampleAdjust(const char* cardType, const char* acqMode, const char* clockSource,
                           int modeFlag, int64_t sampPeriod, int64_t clockPeriod, const char* edgeA,
                           const char* edgeB, int clockCount, int64_t* adjust) {
  using namespace tovak;
  if (cardType == nullptr || acqMode == nullptr) {
    if (adjust != nullptr) *adjust = 0;
    return TOVAK_E_MISSING_CARD_OR_MODE;
  }
  const bool we = BeginsWith(cardType, "WE");
  const bool pxi = BeginsWith(cardType, "PXI");
  // Modes in which the card ignores the flag.
  const bool flagCleared =
      (we && BeginsWith(acqMode, "NumberOfSample")) || (pxi && BeginsWith(acqMode, "Continuous"));
  const Acquisition a{
      clockSource == nullptr || Equals(clockSource, "Internal"),
      modeFlag != 0 && !flagCleared,
      Equals(edgeA, "Rising"),
      Equals(edgeB, "Rising"),
      sampPeriod,
      clockPeriod,
      clockCount,
  };
  int64_t value = 0;
  if (we) {
    value = WeCard(cardType, a);
  } else if (pxi && BeginsWith(cardType, "PXI61")) {
    value = Pxi61Card(cardType, a);
  } else if (pxi && BeginsWith(cardType, "PXIe63")) {
    value = Pxie63Card(a);
  }
  *adjust = value;
  return TOVAK_OK;
}
