#pragma once

// Where a polynomial piece takes a value: its extrema, and the one site between two of them.

#include <cstdint>

#include "interp/formulas.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// sum_k>=1 |c_k t^k|: what roundings of a value at t are proportional to.
template <int order>
inline double reachOf(const double* c, double t) {
  double sum = 0.0;
  for (int k = order - 1; k >= 1; --k)
    sum = (sum + magnitude(c[k])) * magnitude(t);
  return sum;
}

constexpr double roundings = 0x1p-48;  // of values, in units of reachOf

// Zeros of the derivative, ascending and strictly inside of a < t < b; returns how many. Of order 4 by the form of the
// quadratic formula that does not cancel; powers are scaled, so that no product overflows.
template <int order>
inline int extrema(const double* c, double a, double b, double* t) {
  double at[2];
  int n = 0;
  if constexpr (order == 3) {
    at[n++] = -0.5 * c[1] / c[2];
  } else if constexpr (order == 4) {
    // Bernstein's coefficients of the derivative: of one sign for most pieces.
    const double first = formula<4, 1>(c, a);
    const double second = first + 0.5 * (b - a) * formula<4, 2>(c, a);
    const double third = formula<4, 1>(c, b);
    if ((first > 0.0 && second > 0.0 && third > 0.0) || (first < 0.0 && second < 0.0 && third < 0.0))
      return 0;
    const double largest = greaterOf(greaterOf(magnitude(c[1]), magnitude(c[2])), magnitude(c[3]));
    const double c1 = c[1] / largest;
    const double c2 = c[2] / largest;
    const double c3 = 3.0 * (c[3] / largest);
    const double discriminant = c2 * c2 - c1 * c3;
    if (discriminant >= 0.0) {
      const double q = -(c2 + __builtin_copysign(__builtin_sqrt(discriminant), c2));
      at[n++] = q / c3;
      at[n++] = c1 / q;
      if (at[0] > at[1]) {
        const double least = at[1];
        at[1] = at[0];
        at[0] = least;
      }
    }
  }
  int kept = 0;
  for (int i = 0; i < n; ++i)
    if (at[i] > a && at[i] < b) t[kept++] = at[i];
  return kept;
}

// The zero of a parabola at which it rises, by the form of the quadratic formula that does not cancel.
inline Lanes risingZero(const Lanes* c) {
  const Lanes root = squareRoot(c[1] * c[1] - 4.0 * c[2] * c[0]);
  const Lanes near = -2.0 * c[0] / (c[1] + root);
  const Lanes far = (root - c[1]) / (2.0 * c[2]);
  return c[1] >= Lanes{} ? near : far;
}

// The zero of the chord.
template <int order>
inline Lanes chordZero(const Lanes* c, Lanes low, Lanes high) {
  const Lanes atLow = formula<order, 0>(c, low);
  return low - atLow * ((high - low) / (formula<order, 0>(c, high) - atLow));
}

// The t between `low` and `high` where each of several pieces, rising from at most 0 to at least 0, crosses 0. Lines by their
// formula, parabolas by theirs with a last step; cubics by E. Halley's steps (1694),
//   d = -p p_1 / (p_1^2 - p p_2 / 2),   p_k the k-th derivative of p,
// whose error is about d^3 ((p_2 / 2 p_1)^2 - p_3 / 6 p_1), and halving where one leaves the bracket or is more than half as
// long as the step before: step or bracket halves at every turn, until rounding ends it.
template <int order>
inline Lanes risingCrossing(const Lanes* c, Lanes low, Lanes high) {
  if constexpr (order == 2) {
    const Lanes t = -c[0] / c[1];
    const Lanes notBelow = t >= low ? t : low;
    return notBelow <= high ? notBelow : high;
  } else {
    Lanes start = {};
    if constexpr (order == 3) {
      start = risingZero(c);
    } else {
      start = chordZero<order>(c, low, high);
    }
    Lanes t = ((start >= low) & (start <= high)) ? start : 0.5 * low + 0.5 * high;
    Lanes step = high - low;
    LaneMask moves = low <= high;
    constexpr int turns = 4400;  // halves from the greatest double to the least, of step and bracket
    for (int turn = 0; turn < turns && holdsAnywhere(moves); ++turn) {
      const Lanes p = formula<order, 0>(c, t);
      const Lanes slope = formula<order, 1>(c, t);
      const Lanes bend = formula<order, 2>(c, t);
      const LaneMask isBelow = p < Lanes{};
      low = isBelow ? t : low;
      high = isBelow ? high : t;
      const Lanes halley = t - p * slope / (slope * slope - 0.5 * p * bend);
      const Lanes length = magnitude(halley - t);
      // Beside an extremum, where it would not move, Newton's step is long.
      const LaneMask isShort = (2.0 * length <= step) & (2.0 * magnitude(p) <= step * magnitude(slope));
      const LaneMask leads = (halley >= low) & (halley <= high) & isShort;
      LaneMask ends = leads & (length * magnitude(bend) <= 0x1p-26 * magnitude(slope));
      // Nor does it end there, where a long bracket lets Newton's step pass and Halley's rounds to none.
      ends &= magnitude(p) <= (2.0 * length + 0x1p-50 * magnitude(t)) * magnitude(slope);
      if constexpr (order == 4) ends &= length * length * magnitude(c[3]) <= 0x1p-52 * magnitude(slope);
      Lanes next = leads ? halley : 0.5 * low + 0.5 * high;
      next = p == Lanes{} ? t : next;
      next = moves ? next : t;
      step = magnitude(next - t);
      const LaneMask rests = (step <= magnitude(next) * 0x1p-51) &
                             (~leads | (magnitude(p) <= magnitude(next * slope) * 0x1p-51));
      moves &= ~(rests | ends | (p == Lanes{}));
      t = next;
    }
    return t;
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
