#pragma once

#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The place between a and b of the least value of f, which is `value` at x, a < x < b: steps to the vertex of the
// parabola through the three best places, and to the golden section where those do not converge (R. P. Brent, Algorithms
// for Minimization without Derivatives, 1973, ch. 5). Ends where the place is known to `tolerance`.
template <class Function>
inline double placeOfMinimum(double a, double x, double b, double value, double tolerance, Function f) {
  constexpr double golden = 0.3819660112501051;  // (3 - sqrt(5)) / 2
  constexpr int mostSteps = 60;
  double w = x;  // second best, and third best
  double v = x;
  double fx = value;
  double fw = value;
  double fv = value;
  double step = 0.0;
  double before = 0.0;  // the step before the last
  for (int i = 0; i < mostSteps; ++i) {
    const double middle = 0.5 * (a + b);
    if (magnitude(x - middle) <= 2.0 * tolerance - 0.5 * (b - a)) break;
    double p = 0.0;
    double q = 0.0;
    if (magnitude(before) > tolerance) {
      const double r = (x - w) * (fx - fv);
      const double s = (x - v) * (fx - fw);
      p = (x - v) * s - (x - w) * r;
      q = 2.0 * (s - r);
      if (q > 0.0) p = -p;
      q = magnitude(q);
    }
    const double last = before;
    before = step;
    if (magnitude(p) < magnitude(0.5 * q * last) && p > q * (a - x) && p < q * (b - x)) {
      step = p / q;
      const double next = x + step;
      if (next - a < 2.0 * tolerance || b - next < 2.0 * tolerance)
        step = x < middle ? tolerance : -tolerance;
    } else {
      before = (x < middle ? b : a) - x;
      step = golden * before;
    }
    const double least = step > 0.0 ? tolerance : -tolerance;
    const double next = x + (magnitude(step) >= tolerance ? step : least);
    const double found = f(next);
    if (found <= fx) {
      (next < x ? b : a) = x;
      v = w;
      fv = fw;
      w = x;
      fw = fx;
      x = next;
      fx = found;
    } else {
      (next < x ? a : b) = next;
      if (found <= fw || w == x) {
        v = w;
        fv = fw;
        w = next;
        fw = found;
      } else if (found <= fv || v == x || v == w) {
        v = next;
        fv = found;
      }
    }
  }
  return x;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
