#pragma once

// Coefficients of cells between vectors, one for each power, and memory, where those of a cell stand side by side.

#include <cstdint>

#include "vector/lanes.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Stores cells one after another: lines, parabolas, cubics. Eight cells are two times four.
template <class V>
inline void storeLines(double* c, V c0, V c1) {
  if constexpr (sizeof(V) == 8) {
    c[0] = c0;
    c[1] = c1;
  } else if constexpr (sizeof(V) == 16) {
    store(c, __builtin_shufflevector(c0, c1, 0, 2));
    store(c + 2, __builtin_shufflevector(c0, c1, 1, 3));
  } else if constexpr (sizeof(V) == 32) {
    store(c, __builtin_shufflevector(c0, c1, 0, 4, 1, 5));
    store(c + 4, __builtin_shufflevector(c0, c1, 2, 6, 3, 7));
  } else {
    storeLines(c, halfOf<0>(c0), halfOf<0>(c1));
    storeLines(c + 8, halfOf<1>(c0), halfOf<1>(c1));
  }
}

template <class V>
inline void storeParabolas(double* c, V c0, V c1, V c2) {
  if constexpr (sizeof(V) == 8) {
    c[0] = c0;
    c[1] = c1;
    c[2] = c2;
  } else if constexpr (sizeof(V) == 16) {
    store(c, __builtin_shufflevector(c0, c1, 0, 2));
    store(c + 2, __builtin_shufflevector(c2, c0, 0, 3));
    store(c + 4, __builtin_shufflevector(c1, c2, 1, 3));
  } else if constexpr (sizeof(V) == 32) {
    const V low01 = __builtin_shufflevector(c0, c1, 0, 4, 1, 5);
    const V high01 = __builtin_shufflevector(c0, c1, 2, 6, 3, 7);
    const V second12 = __builtin_shufflevector(c1, c2, 1, 5, 1, 5);
    store(c, __builtin_shufflevector(low01, c2, 0, 1, 4, 2));
    store(c + 4, __builtin_shufflevector(second12, high01, 0, 1, 4, 5));
    store(c + 8, __builtin_shufflevector(high01, c2, 6, 2, 3, 7));
  } else {
    storeParabolas(c, halfOf<0>(c0), halfOf<0>(c1), halfOf<0>(c2));
    storeParabolas(c + 12, halfOf<1>(c0), halfOf<1>(c1), halfOf<1>(c2));
  }
}

// Cubics may stand anywhere: at(k) is the place of cell k.
template <class V, class At>
inline void storeCubicsAt(At at, V c0, V c1, V c2, V c3) {
  if constexpr (sizeof(V) == 16) {
    store(at(0), __builtin_shufflevector(c0, c1, 0, 2));
    store(at(0) + 2, __builtin_shufflevector(c2, c3, 0, 2));
    store(at(1), __builtin_shufflevector(c0, c1, 1, 3));
    store(at(1) + 2, __builtin_shufflevector(c2, c3, 1, 3));
  } else if constexpr (sizeof(V) == 32) {
    const V low01 = __builtin_shufflevector(c0, c1, 0, 4, 2, 6);
    const V high01 = __builtin_shufflevector(c0, c1, 1, 5, 3, 7);
    const V low23 = __builtin_shufflevector(c2, c3, 0, 4, 2, 6);
    const V high23 = __builtin_shufflevector(c2, c3, 1, 5, 3, 7);
    store(at(0), __builtin_shufflevector(low01, low23, 0, 1, 4, 5));
    store(at(1), __builtin_shufflevector(high01, high23, 0, 1, 4, 5));
    store(at(2), __builtin_shufflevector(low01, low23, 2, 3, 6, 7));
    store(at(3), __builtin_shufflevector(high01, high23, 2, 3, 6, 7));
  } else {
    storeCubicsAt(at, halfOf<0>(c0), halfOf<0>(c1), halfOf<0>(c2), halfOf<0>(c3));
    storeCubicsAt([=](int k) { return at(k + 4); }, halfOf<1>(c0), halfOf<1>(c1), halfOf<1>(c2),
                  halfOf<1>(c3));
  }
}

// Parabolas likewise, lane by lane.
template <class V, class At>
inline void storeParabolasAt(At at, V c0, V c1, V c2) {
  for (int k = 0; k < static_cast<int>(sizeof(V) / 8); ++k)
    storeParabolas(at(k), c0[k], c1[k], c2[k]);
}

template <class V>
inline void storeCubics(double* c, V c0, V c1, V c2, V c3) {
  if constexpr (sizeof(V) == 8) {
    c[0] = c0;
    c[1] = c1;
    c[2] = c2;
    c[3] = c3;
  } else {
    storeCubicsAt([=](std::int64_t k) { return c + 4 * k; }, c0, c1, c2, c3);
  }
}

// The two doubles at `low`, and on 32-byte vectors the two at `high` behind them.
template <class V>
inline V loadPairs(const double* low, const double* high) {
  if constexpr (sizeof(V) == sizeof(Pair)) {
    return load<V>(low);
  } else {
    using Half = decltype(halfOf<0>(V{}));
    return joined(load<Half>(low), load<Half>(high));
  }
}

// The `order` coefficients of cells piece[0], piece[1], ..., as many as V has lanes, one vector per power: loaded in
// pairs, cell by cell, and transposed.
template <int order, class V>
[[gnu::always_inline]] inline void loadCoefficients(const double* row, const std::int32_t* piece, V* c) {
  constexpr int lanes = sizeof(V) / 8;
  if constexpr (lanes > 4) {
    using Half = decltype(halfOf<0>(V{}));
    Half low[order];
    Half high[order];
    loadCoefficients<order>(row, piece, low);
    loadCoefficients<order>(row, piece + lanes / 2, high);
    for (int k = 0; k < order; ++k)
      c[k] = joined(low[k], high[k]);
  } else {
    std::int64_t at[lanes];
    for (int i = 0; i < lanes; ++i)
      at[i] = std::int64_t{piece[i]} * order;
    for (int k = 0; k + 2 <= order; k += 2) {
      const V even = loadPairs<V>(row + at[0] + k, row + at[lanes - 2] + k);
      const V odd = loadPairs<V>(row + at[1] + k, row + at[lanes - 1] + k);
      c[k] = firstOfPairs(even, odd);
      c[k + 1] = secondOfPairs(even, odd);
    }
    if constexpr (order % 2 != 0) c[order - 1] = pick<V>(row + order - 1, at);
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
