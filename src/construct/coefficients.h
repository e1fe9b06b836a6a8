#pragma once

// Coefficients of cells in lanes, how they are stored, and the cubic Hermite form that gives them from end
// values and slopes.

#include <cstdint>

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
[[maybe_unused]] inline Cubic<V> hermiteForm(V y, V m, V mNext, V d, V r) {
  return {y, m, (3.0 * d - 2.0 * m - mNext) * r, (m + mNext - 2.0 * d) * r * r};
}

// Stores the cells one after another, four coefficients each.
[[maybe_unused]] inline void storeCells(double* c, const Cubic<double>& cell) {
  c[0] = cell.c0;
  c[1] = cell.c1;
  c[2] = cell.c2;
  c[3] = cell.c3;
}

template <class V>
[[maybe_unused]] inline void storeCells(double* c, const Cubic<V>& cells) {
  if constexpr (sizeof(V) == 4 * sizeof(double)) {
    const V low01 = __builtin_shufflevector(cells.c0, cells.c1, 0, 4, 2, 6);
    const V high01 = __builtin_shufflevector(cells.c0, cells.c1, 1, 5, 3, 7);
    const V low23 = __builtin_shufflevector(cells.c2, cells.c3, 0, 4, 2, 6);
    const V high23 = __builtin_shufflevector(cells.c2, cells.c3, 1, 5, 3, 7);
    store(c, __builtin_shufflevector(low01, low23, 0, 1, 4, 5));
    store(c + 4, __builtin_shufflevector(high01, high23, 0, 1, 4, 5));
    store(c + 8, __builtin_shufflevector(low01, low23, 2, 3, 6, 7));
    store(c + 12, __builtin_shufflevector(high01, high23, 2, 3, 6, 7));
  } else {
    store(c, __builtin_shufflevector(cells.c0, cells.c1, 0, 2));
    store(c + 2, __builtin_shufflevector(cells.c2, cells.c3, 0, 2));
    store(c + 4, __builtin_shufflevector(cells.c0, cells.c1, 1, 3));
    store(c + 6, __builtin_shufflevector(cells.c2, cells.c3, 1, 3));
  }
}

// Two coefficients a cell.
[[maybe_unused]] inline void storeLines(double* c, double c0, double c1) {
  c[0] = c0;
  c[1] = c1;
}

template <class V>
[[maybe_unused]] inline void storeLines(double* c, V c0, V c1) {
  if constexpr (sizeof(V) == 4 * sizeof(double)) {
    store(c, __builtin_shufflevector(c0, c1, 0, 4, 1, 5));
    store(c + 4, __builtin_shufflevector(c0, c1, 2, 6, 3, 7));
  } else {
    store(c, __builtin_shufflevector(c0, c1, 0, 2));
    store(c + 2, __builtin_shufflevector(c0, c1, 1, 3));
  }
}

// Three coefficients a cell.
[[maybe_unused]] inline void storeParabolas(double* c, double c0, double c1, double c2) {
  c[0] = c0;
  c[1] = c1;
  c[2] = c2;
}

template <class V>
[[maybe_unused]] inline void storeParabolas(double* c, V c0, V c1, V c2) {
  if constexpr (sizeof(V) == 4 * sizeof(double)) {
    const V low01 = __builtin_shufflevector(c0, c1, 0, 4, 1, 5);
    const V high01 = __builtin_shufflevector(c0, c1, 2, 6, 3, 7);
    const V second12 = __builtin_shufflevector(c1, c2, 1, 5, 1, 5);
    store(c, __builtin_shufflevector(low01, c2, 0, 1, 4, 2));
    store(c + 4, __builtin_shufflevector(second12, high01, 0, 1, 4, 5));
    store(c + 8, __builtin_shufflevector(high01, c2, 6, 2, 3, 7));
  } else {
    store(c, __builtin_shufflevector(c0, c1, 0, 2));
    store(c + 2, __builtin_shufflevector(c2, c0, 0, 3));
    store(c + 4, __builtin_shufflevector(c1, c2, 1, 3));
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
