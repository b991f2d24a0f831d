// The time axis is the one loop whose cost grows with the record: it may hold
// 10^8 entries. Converting 64-bit integers to floating point does not
// vectorize on x86-64 without AVX-512DQ, so the axis is computed in double
// arithmetic instead, block by block, wherever that is exact:
//
//   value(j) = start + j * period      (start = picoseconds of the block's
//                                       first entry, j < block length)
//
// is exact in double when start, j * period and every value(j) are integers
// of magnitude at most 2^53. value(j) is linear in j, so checking the two ends
// of the block is enough. The exact double then gives exactly the conversion
// of the 64-bit value, to double or (rounded once) to float, and the division
// is the same as the per-entry one. Blocks outside that range, including
// those whose 64-bit values wrap around, take the per-entry formula.
//
// The block kernel is compiled for the base instruction set and for AVX2 and
// AVX-512, and the widest one the processor supports is chosen at run time.
#include "timing/time_axis.h"

#include <algorithm>
#include <cstring>

namespace tovak {
namespace {

constexpr int64_t kExactLimit = int64_t{1} << 53;
constexpr int kBlockLength = 4096;

bool WithinExactRange(int64_t value) { return value >= -kExactLimit && value <= kExactLimit; }

// Picoseconds of entry k of the axis; false when they do not fit 64 bits.
bool EntryFits(int64_t delay, int64_t period, int64_t k, int64_t* picoseconds) {
  int64_t steps;
  int64_t offset;
  return !__builtin_add_overflow(k, int64_t{1}, &steps) &&
         !__builtin_mul_overflow(steps, period, &offset) &&
         !__builtin_add_overflow(delay, offset, picoseconds);
}

// True when every value of the block start + j * period, j in [0, length),
// is computed exactly in double arithmetic.
bool BlockIsExact(int64_t start, int length, int64_t period) {
  int64_t span;
  int64_t end;
  if (__builtin_mul_overflow(int64_t{length - 1}, period, &span)) return false;
  if (__builtin_add_overflow(start, span, &end)) return false;
  return WithinExactRange(start) && WithinExactRange(span) && WithinExactRange(end);
}

inline double Seconds(int64_t picoseconds, double*) { return SecondsDouble(picoseconds); }
inline float Seconds(int64_t picoseconds, float*) { return SecondsFloat(picoseconds); }

// Vectors of kBytes bytes of doubles, and of the floats they narrow to.
template <int kBytes>
struct Vectors {
  typedef double Doubles __attribute__((vector_size(kBytes)));
  typedef float Floats __attribute__((vector_size(kBytes / 2)));
  typedef float FloatPair __attribute__((vector_size(kBytes)));
  static constexpr int kLanes = kBytes / static_cast<int>(sizeof(double));
};

// One exact block: entry j is start + j * period, in seconds. The values are
// kept in kChains independent running sums of vector width, so that no
// integer-to-double conversion is needed per entry and consecutive additions
// do not wait on each other. Each running sum only ever holds values of the
// block (or, after the last step, values beyond it that are not stored), so
// it stays exact. Floats are narrowed from pairs of double vectors and divided
// a full vector at a time.
template <int kBytes, int kChains, class Out>
[[gnu::always_inline]] inline void FillExactBlock(Out* out, int length, double start,
                                                  double period) {
  using V = Vectors<kBytes>;
  constexpr int kLanes = V::kLanes;
  constexpr int kStride = kLanes * kChains;
  static_assert(kChains % 2 == 0, "floats are narrowed in pairs of vectors");
  typename V::Doubles sums[kChains];
  for (int c = 0; c < kChains; ++c) {
    for (int i = 0; i < kLanes; ++i)
      sums[c][i] = start + static_cast<double>(c * kLanes + i) * period;
  }
  const double stride = static_cast<double>(kStride) * period;
  int j = 0;
  for (; j + kStride <= length; j += kStride) {
    if constexpr (sizeof(Out) == sizeof(double)) {
      for (int c = 0; c < kChains; ++c) {
        const typename V::Doubles seconds = sums[c] / kPicosecondsPerSecondDouble;
        std::memcpy(out + j + c * kLanes, &seconds, sizeof seconds);
        sums[c] += stride;
      }
    } else {
      for (int c = 0; c < kChains; c += 2) {
        const auto low = __builtin_convertvector(sums[c], typename V::Floats);
        const auto high = __builtin_convertvector(sums[c + 1], typename V::Floats);
        typename V::FloatPair both;
        if constexpr (kLanes == 2) {
          both = __builtin_shufflevector(low, high, 0, 1, 2, 3);
        } else if constexpr (kLanes == 4) {
          both = __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
        } else {
          both = __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13,
                                         14, 15);
        }
        const typename V::FloatPair seconds = both / kPicosecondsPerSecondFloat;
        std::memcpy(out + j + c * kLanes, &seconds, sizeof seconds);
        sums[c] += stride;
        sums[c + 1] += stride;
      }
    }
  }
  for (; j < length; ++j) {
    const double picoseconds = start + static_cast<double>(j) * period;
    if constexpr (sizeof(Out) == sizeof(double)) {
      out[j] = picoseconds / kPicosecondsPerSecondDouble;
    } else {
      out[j] = static_cast<float>(picoseconds) / kPicosecondsPerSecondFloat;
    }
  }
}

// Doubles are limited by the divider, floats by narrowing: two and four
// running sums keep each busy.
template <class Out>
constexpr int kChainsFor = sizeof(Out) == sizeof(double) ? 2 : 4;

template <class Out>
void FillExactBlockBase(Out* out, int length, double start, double period) {
  FillExactBlock<16, kChainsFor<Out>>(out, length, start, period);
}

template <class Out>
[[gnu::target("avx2")]] void FillExactBlockAvx2(Out* out, int length, double start, double period) {
  FillExactBlock<32, kChainsFor<Out>>(out, length, start, period);
}

template <class Out>
[[gnu::target("avx512f")]] void FillExactBlockAvx512(Out* out, int length, double start,
                                                     double period) {
  FillExactBlock<64, kChainsFor<Out>>(out, length, start, period);
}

template <class Out>
using BlockKernel = void (*)(Out*, int, double, double);

template <class Out>
BlockKernel<Out> KernelFor(VectorIsa isa) {
  switch (isa) {
    case VectorIsa::kAvx512: return &FillExactBlockAvx512<Out>;
    case VectorIsa::kAvx2: return &FillExactBlockAvx2<Out>;
    case VectorIsa::kBase: break;
  }
  return &FillExactBlockBase<Out>;
}

VectorIsa WidestIsa() {
  if (IsaSupported(VectorIsa::kAvx512)) return VectorIsa::kAvx512;
  if (IsaSupported(VectorIsa::kAvx2)) return VectorIsa::kAvx2;
  return VectorIsa::kBase;
}

template <class Out>
void FillByEntry(Out* out, int length, int64_t first, int64_t delay, int64_t period) {
  for (int j = 0; j < length; ++j) {
    out[j] = Seconds(AxisEntryPicoseconds(delay, period, first + j), out);
  }
}

template <class Out>
void Fill(VectorIsa isa, Out* axis, int64_t count, int64_t delay, int64_t period) {
  if (count <= 0) return;
  const BlockKernel<Out> kernel = KernelFor<Out>(isa);
  int length;
  for (int64_t first = 0; first < count; first += length) {
    length = static_cast<int>(std::min<int64_t>(kBlockLength, count - first));
    int64_t start;
    if (EntryFits(delay, period, first, &start) && BlockIsExact(start, length, period)) {
      kernel(axis + first, length, static_cast<double>(start), static_cast<double>(period));
    } else {
      FillByEntry(axis + first, length, first, delay, period);
    }
  }
}

}  // namespace

bool IsaSupported(VectorIsa isa) {
  __builtin_cpu_init();
  switch (isa) {
    case VectorIsa::kAvx512: return __builtin_cpu_supports("avx512f");
    case VectorIsa::kAvx2: return __builtin_cpu_supports("avx2");
    case VectorIsa::kBase: break;
  }
  return true;
}

void FillTimeAxis(double* axis, int64_t count, int64_t delay, int64_t period) {
  Fill(WidestIsa(), axis, count, delay, period);
}

void FillTimeAxis(float* axis, int64_t count, int64_t delay, int64_t period) {
  Fill(WidestIsa(), axis, count, delay, period);
}

void FillTimeAxis(VectorIsa isa, double* axis, int64_t count, int64_t delay, int64_t period) {
  Fill(IsaSupported(isa) ? isa : VectorIsa::kBase, axis, count, delay, period);
}

void FillTimeAxis(VectorIsa isa, float* axis, int64_t count, int64_t delay, int64_t period) {
  Fill(IsaSupported(isa) ? isa : VectorIsa::kBase, axis, count, delay, period);
}

}  // namespace tovak
