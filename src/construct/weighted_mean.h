#pragma once

// The slope of Akima's kinds: a mean of the slopes of the chords beside a breakpoint, each by the weight on the other
// side of the breakpoint,
//
//   m_i = (w_(i+1) d_(i-1) + w_(i-1) d_i) / (w_(i+1) + w_(i-1)),
//
// and the plain mean where both weights vanish (H. Akima, J. ACM 17, 1970).

#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Sums of weights below it count as zero. Absolute, whatever the scale of the data; a NaN is not below it.
constexpr double leastWeights = 1e-10;

template <class V>
inline V weightedMean(V dLeft, V dRight, V wLeft, V wRight) {
  const V sum = wRight + wLeft;
  const V mean = (dLeft + dRight) * 0.5;
  // Where both weights vanish, 0 / 0 would raise a flag, or a trap, for a quotient that nobody takes.
  const V divisor = greaterOf(V{} + leastWeights, sum);
  const V weighted = (dLeft * wRight + dRight * wLeft) / divisor;
  return leastWeights > sum ? mean : weighted;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
