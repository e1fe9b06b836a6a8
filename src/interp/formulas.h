#pragma once

// The formulas of polynomial pieces. Row f of the coefficients holds, for piece q, `order` doubles c in ascending powers of
// t = s - x_q. They are the only definition of each derivative; lanes and tail share them, and nothing is fused, so that
// all levels give the same bits.

#include <cstdint>

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t cachedCoefficients = 32768;  // doubles of a row that no search drives out of the cache

// The piece that serves the sites of a cell: those left of the partition take the first one, those right of it the last.
template <class Cell>
inline Cell pieceOf(Cell cell, std::int64_t nx) {
  return static_cast<Cell>(cell - (cell > 0 ? 1 : 0) - (cell == static_cast<Cell>(nx) ? 1 : 0));
}

template <int order, int derivative, class V>
inline V formula(const V* c, V t) {
  if constexpr (order == 2) {
    return derivative == 0 ? c[0] + c[1] * t : c[1];
  } else if constexpr (order == 3) {
    if constexpr (derivative == 0) return (c[2] * t + c[1]) * t + c[0];
    if constexpr (derivative == 1) return c[1] + 2.0 * c[2] * t;
    return 2.0 * c[2];
  } else {
    if constexpr (derivative == 0) return ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
    if constexpr (derivative == 1) return c[1] + (2.0 * c[2] + 3.0 * c[3] * t) * t;
    if constexpr (derivative == 2) return 2.0 * c[2] + 6.0 * c[3] * t;
    return 6.0 * c[3];
  }
}

// Derivative k is wanted where bit k of `wants` is set.
template <int order, unsigned wants, class V>
inline void evaluateSite(const V* c, V t, V* result) {
  if constexpr ((wants & 1U) != 0) *result++ = formula<order, 0>(c, t);
  if constexpr ((wants & 2U) != 0) *result++ = formula<order, 1>(c, t);
  if constexpr ((wants & 4U) != 0) *result++ = formula<order, 2>(c, t);
  if constexpr ((wants & 8U) != 0) *result++ = formula<order, 3>(c, t);
}

// What serves the derivatives of one set: entry `wants` for the bits of `wants`, which is not empty.
template <class Entry>
struct ByWants {
  Entry at[16];
};

template <unsigned wants, class Entry, class Make>
constexpr void fillByWants(ByWants<Entry>& table, Make make) {
  table.at[wants] = make.template operator()<wants>();
  if constexpr (wants > 1) fillByWants<wants - 1>(table, make);
}

// make.operator()<wants>() gives the entry of a set of the derivatives that an order has formulas for.
template <int order, class Entry, class Make>
constexpr ByWants<Entry> byWants(Make make) {
  ByWants<Entry> table = {};
  fillByWants<(1U << order) - 1>(table, make);
  return table;
}

}  // namespace

}  // namespace rvn::RVN_LEVEL_NAMESPACE
