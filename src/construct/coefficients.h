#pragma once

// Coefficients of cells in lanes, and the cubic Hermite form that gives them from end values and slopes.

#include <cstdint>

#include "vector/coefficients.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// c_0 + c_1 t + c_2 t^2 + c_3 t^3 on one cell, or on as many cells as V has lanes.
template <class V>
struct Cubic {
  V c0;
  V c1;
  V c2;
  V c3;
};

// With the value y and slope m at the left end, the slope mNext at the right one, the divided difference d
// and the reciprocal step r:
//   c_2 = (3 d - 2 m - mNext) r
//   c_3 = (m + mNext - 2 d) r^2
template <class V>
inline Cubic<V> hermiteForm(V y, V m, V mNext, V d, V r) {
  return {y, m, (3.0 * d - 2.0 * m - mNext) * r, (m + mNext - 2.0 * d) * r * r};
}

template <class V>
inline void storeCells(double* c, const Cubic<V>& cells) {
  storeCubics(c, cells.c0, cells.c1, cells.c2, cells.c3);
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
