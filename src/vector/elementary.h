#pragma once

// Logarithm and exponential of doubles and of lanes, within 1 ULP and with the same bits on every level: argument
// reductions and minimax polynomials of the freely distributable mathematical library of K. C. Ng (1993).

#include <cstdint>

#include "vector/lanes.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

inline std::uint64_t bitsOf(double v) {
  return __builtin_bit_cast(std::uint64_t, v);
}

inline WideWords bitsOf(Lanes v) {
  return (WideWords)v;
}

inline double ofBits(std::uint64_t bits) {
  return __builtin_bit_cast(double, bits);
}

inline Lanes ofBits(WideWords bits) {
  return (Lanes)bits;
}

// ln 2 in two parts; products of the first with integers below 2^20 are exact.
constexpr double ln2High = 6.93147180369123816490e-01;
constexpr double ln2Low = 1.90821492927058770002e-10;

// k ln 2 + ln(1 + f) for an integer k and sqrt(1/2) <= 1 + f <= sqrt(2): with s = f / (2 + f),
// ln(1 + f) = f - f^2 / 2 + s (f^2 / 2 + R(s^2)).
template <class V>
inline V logarithm(V k, V f) {
  const V s = f / (2.0 + f);
  const V z = s * s;
  const V w = z * z;
  const V even =
      w * (3.999999999940941908e-01 + w * (2.222219843214978396e-01 + w * 1.531383769920937332e-01));
  const V odd =
      z * (6.666666666666735130e-01 +
           w * (2.857142874366239149e-01 + w * (1.818357216161805012e-01 + w * 1.479819860511658591e-01)));
  const V half = 0.5 * f * f;
  return k * ln2High - ((half - (s * (half + (even + odd)) + k * ln2Low)) - f);
}

// A positive normal number as 2^k (1 + f).
template <class V>
struct Binary {
  V k;
  V f;

  explicit Binary(V x) {
    constexpr std::uint64_t one = 0x3FF0000000000000;
    constexpr std::uint64_t rootOfHalf = 0x3FE6A09E667F3BCD;
    const auto moved = bitsOf(x) + (one - rootOfHalf);
    f = ofBits((moved & 0xFFFFFFFFFFFFF) + rootOfHalf) - 1.0;
    // The exponent as the fraction of a double from 2^52 on.
    k = ofBits(moved >> 52 | 0x4330000000000000) - (0x1p52 + 1023.0);
  }
};

template <class V>
inline V logarithm(V x) {
  const Binary<V> binary(x);
  return logarithm(binary.k, binary.f);
}

// 2^k for an integer k of -1022 to 1023.
template <class V>
inline V powerOfTwo(V k) {
  return ofBits(bitsOf(k + (0x1p52 + 1023.0)) << 52);
}

// e^x, infinite or 0 beyond the range of doubles. With x = k ln 2 + r, |r| <= ln(2) / 2, and c = r - r^2 P(r^2),
// e^r = 1 + r + r c / (2 - c).
template <class V>
inline V exponential(V x) {
  constexpr double toInteger = 0x1.8p52;  // adding it rounds numbers below 2^51 to integers
  const V least = V{} - 750.0;
  const V most = V{} + 710.0;
  x = x < least ? least : x;
  x = x > most ? most : x;
  const V k = (x * 1.44269504088896338700e+00 + toInteger) - toInteger;
  const V high = x - k * ln2High;
  const V low = k * ln2Low;
  const V r = high - low;
  const V t = r * r;
  const V c = r - t * (1.66666666666666019037e-01 +
                       t * (-2.77777777770155933842e-03 +
                            t * (6.61375632143793436117e-05 +
                                 t * (-1.65339022054652515390e-06 + t * 4.13813679705723846039e-08))));
  const V y = 1.0 - ((low - (r * c) / (2.0 - c)) - high);
  // In two steps: 2^k alone may be beyond the range, or y 2^k below it.
  const V first = (k * 0.5 + toInteger) - toInteger;
  return y * powerOfTwo(first) * powerOfTwo(k - first);
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
