// The time base of a digitizer record: sampling period and delay (the time
// of sample 0) in picoseconds, then in seconds with the time axis.
#ifndef TOVAK_TIMING_TIME_BASE_H_
#define TOVAK_TIMING_TIME_BASE_H_

#include <cstdint>

#include "timing/sampling.h"

namespace tovak {

// What identifies a record's time base.
struct TimeBaseRequest {
  const char* server = nullptr;  // index database server name
  DtsOutput trigger{};
  DtsOutput clock{};
  int64_t sampleCount = 0;  // entries of the time axis
  unsigned int shot = 0;
  unsigned short subShot = 0;
  const char* clockSource = nullptr;      // "Internal" or "External"
  const char* internalClock = nullptr;    // hertz, or nanoseconds with a unit
  const char* cycleMultiplier = nullptr;  // clock cycles per sample
  const char* preSample = nullptr;        // samples recorded before the trigger
  int64_t lastSample = 0;                 // last sample wanted; <= 0: from sample 1
};

// Computes the time base from the index database: the sampling cycle, then
// the time of sample 0, moved on by lastSample - sampleCount periods when the
// axis is to end at sample lastSample. *sampInterval (nanoseconds) is read
// and may be updated, also when a later step fails. On success *period and
// *delay receive picoseconds; on failure they are not written.
int ComputeTimeBase(const TimeBaseRequest& request, int* sampInterval, int64_t* period,
                    int64_t* delay);

// Where and how the time base goes to the caller.
struct TimeBaseOutputs {
  short quiet = 0;          // 0: print "Cycle" and "Delay" on standard output
  int doublePrecision = 0;  // non-zero: outputs are double, else float
  int64_t sampleCount = 0;  // entries of timeAxis
  const char* preSample = nullptr;
  void* timeAxis = nullptr;  // sampleCount entries, or null
  void* cycleOut = nullptr;  // the period in seconds, or null
  void* delayOut = nullptr;  // the delay in seconds, or null
};

// Prints the period and delay (unless quiet) and writes the outputs in
// seconds. With a time axis, entry k is sample k + 1 and delayOut is the time
// of sample preSample (the trigger); without one, delayOut is the delay.
void DeliverTimeBase(int64_t period, int64_t delay, const TimeBaseOutputs& outputs);

}  // namespace tovak

#endif  // TOVAK_TIMING_TIME_BASE_H_
