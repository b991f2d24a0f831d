// Integer arithmetic on times and counts that wraps around like
// two's-complement hardware instead of overflowing. A time that does not fit
// its type is meaningless either way, but computing it must never be
// undefined behaviour; every value that fits comes out exactly as with plain
// arithmetic.
#ifndef TOVAK_TIMING_WRAPPING_H_
#define TOVAK_TIMING_WRAPPING_H_

#include <cstdint>
#include <type_traits>

namespace tovak {

template <class T>
using WrapUnsigned = std::make_unsigned_t<T>;

template <class T>
constexpr T WrapAdd(T a, T b) {
  static_assert(sizeof(T) >= sizeof(int), "narrow types would be promoted");
  return static_cast<T>(static_cast<WrapUnsigned<T>>(a) + static_cast<WrapUnsigned<T>>(b));
}

template <class T>
constexpr T WrapSub(T a, T b) {
  static_assert(sizeof(T) >= sizeof(int), "narrow types would be promoted");
  return static_cast<T>(static_cast<WrapUnsigned<T>>(a) - static_cast<WrapUnsigned<T>>(b));
}

template <class T>
constexpr T WrapMul(T a, T b) {
  static_assert(sizeof(T) >= sizeof(int), "narrow types would be promoted");
  return static_cast<T>(static_cast<WrapUnsigned<T>>(a) * static_cast<WrapUnsigned<T>>(b));
}

}  // namespace tovak

#endif  // TOVAK_TIMING_WRAPPING_H_
