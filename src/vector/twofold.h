#pragma once

// Unevaluated sums of two doubles, about 104 bits: for systems whose condition a double cannot bear.

#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct Twofold {
  double high;
  double low;

  constexpr Twofold() : high(0.0), low(0.0) {}
  constexpr Twofold(double value) : high(value), low(0.0) {}
  constexpr Twofold(double h, double l) : high(h), low(l) {}
};

// a + b exactly where |a| >= |b| (T. J. Dekker, 1971), and for any two (D. E. Knuth, 1969).
inline Twofold quickSum(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

inline Twofold exactSum(double a, double b) {
  const double sum = a + b;
  const double part = sum - a;
  return {sum, (a - (sum - part)) + (b - part)};
}

// a b exactly, with the same bits whether the level fuses or not.
inline Twofold exactProduct(double a, double b) {
  const double product = a * b;
  if constexpr (level.fused) {
    return {product, fused(a, b, -product)};
  } else {
    constexpr double split = 0x1p27 + 1.0;
    const double aHigh = a * split - (a * split - a);
    const double bHigh = b * split - (b * split - b);
    const double aLow = a - aHigh;
    const double bLow = b - bHigh;
    return {product, aLow * bLow - (((product - aHigh * bHigh) - aLow * bHigh) - aHigh * bLow)};
  }
}

inline Twofold operator-(Twofold a) {
  return {-a.high, -a.low};
}

inline Twofold operator+(Twofold a, Twofold b) {
  const Twofold sum = exactSum(a.high, b.high);
  return quickSum(sum.high, sum.low + (a.low + b.low));
}

inline Twofold operator-(Twofold a, Twofold b) {
  return a + -b;
}

inline Twofold operator*(Twofold a, Twofold b) {
  const Twofold product = exactProduct(a.high, b.high);
  return quickSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

inline Twofold operator/(Twofold a, Twofold b) {
  const double quotient = a.high / b.high;
  const Twofold rest = a - b * quotient;
  return quickSum(quotient, rest.high / b.high);
}

// The double nearest to a number.
template <class V>
inline V rounded(V a) {
  return a;
}
inline double rounded(Twofold a) {
  return a.high;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
