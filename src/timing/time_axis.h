// Picosecond times turned into seconds, one value or a whole time axis.
//
// Double precision: the picoseconds converted to double, divided by 1e12.
// Single precision: the 64-bit picoseconds converted to float, divided in
// single precision by 1e12 as a float (999999995904).
#ifndef TOVAK_TIMING_TIME_AXIS_H_
#define TOVAK_TIMING_TIME_AXIS_H_

#include <cstdint>

#include "timing/wrapping.h"

namespace tovak {

constexpr double kPicosecondsPerSecondDouble = 1e12;
constexpr float kPicosecondsPerSecondFloat = static_cast<float>(kPicosecondsPerSecondDouble);

inline double SecondsDouble(int64_t picoseconds) {
  return static_cast<double>(picoseconds) / kPicosecondsPerSecondDouble;
}

inline float SecondsFloat(int64_t picoseconds) {
  return static_cast<float>(picoseconds) / kPicosecondsPerSecondFloat;
}

// Picoseconds of entry k of a time axis: sample k + 1 of a record whose
// sample 0 lies at delay.
inline int64_t AxisEntryPicoseconds(int64_t delay, int64_t period, int64_t k) {
  return WrapAdd(delay, WrapMul(WrapAdd(k, int64_t{1}), period));
}

// axis[k] = seconds of AxisEntryPicoseconds(delay, period, k) for k in
// [0, count); nothing is written when count <= 0. Every entry is bit-identical
// to SecondsDouble / SecondsFloat of the entry's picoseconds.
void FillTimeAxis(double* axis, int64_t count, int64_t delay, int64_t period);
void FillTimeAxis(float* axis, int64_t count, int64_t delay, int64_t period);

// The instruction sets the fill is compiled for. FillTimeAxis above uses the
// widest one the processor supports; the forms below use the one given (the
// base set when the processor lacks it), so that each can be checked.
enum class VectorIsa { kBase, kAvx2, kAvx512 };
bool IsaSupported(VectorIsa isa);
void FillTimeAxis(VectorIsa isa, double* axis, int64_t count, int64_t delay, int64_t period);
void FillTimeAxis(VectorIsa isa, float* axis, int64_t count, int64_t delay, int64_t period);

}  // namespace tovak

#endif  // TOVAK_TIMING_TIME_AXIS_H_
