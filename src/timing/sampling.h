// The sampling timing of a digitizer channel computed from the index
// database directly: the back ends of tovakSamplingCycle and
// tovakSampling0Timing, used by them and by the time-base summary.
#ifndef TOVAK_TIMING_SAMPLING_H_
#define TOVAK_TIMING_SAMPLING_H_

#include <cstdint>

namespace tovak {

// A DTS output a digitizer channel is linked to.
struct DtsOutput {
  const char* dtsType;  // "FPGA-DTS", "VME-DTS", "CAMAC-DTS" or a short form
  const char* dtsHost;  // host name of the DTS unit
  const char* module;   // module text (query key and "DMODSS" class)
  const char* output;   // output name
};

// Sampling clock of a channel: the clock cycle and the sampling period
// (cycle x cycleMultiplier), from internalClock for an "Internal" clock
// source or from the clock output's row for an "External" one. For an
// external clock it also sets clockStart, and triggerTime when the trigger
// comes from the clock's own module. Outputs not computed keep their value.
int DirectSamplingCycle(const char* server, const DtsOutput& clock, const DtsOutput& trigger,
                        int* sampInterval, unsigned int shot, unsigned short subShot,
                        const char* clockSource, const char* internalClock,
                        const char* cycleMultiplier, int64_t* sampPeriod, int64_t* clockStart,
                        int64_t* triggerTime, int64_t* clockCycle);

// Time of sample 0: the trigger time (looked up when *triggerTime is
// TOVAK_TIME_UNKNOWN), moved to one period before the start of an external
// clock that starts later, less preSample periods. With fromClockStart, one
// period before the clock start alone.
int DirectSampling0Timing(const char* server, bool fromClockStart, const DtsOutput& trigger,
                          unsigned int shot, unsigned short subShot, const char* clockSource,
                          const char* preSample, int64_t sampPeriod, int64_t clockStart,
                          int64_t* triggerTime, int64_t* firstSampleTime);

}  // namespace tovak

#endif  // TOVAK_TIMING_SAMPLING_H_
