#pragma once

// Integrals over a part of a piece, and sums of them.

#include <cstdint>

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr int anyOrderOf = 0;  // in the place of an order that is known at run time

// The integral of c_0 + c_1 t + .. from a to b is
//   (b - a) sum_k c_k p_k / (k + 1),   p_k = sum_j a^j b^(k-j) = b p_(k-1) + a^k,
// which loses no digits when a and b are close. Serves numbers and lanes.
template <int order, class V>
inline V segment(const V* c, std::int64_t coefficients, V a, V b) {
  const std::int64_t n = order == anyOrderOf ? coefficients : order;
  V power = a;
  V p = b + a;
  V sum = c[0] + c[1] * 0.5 * p;
  for (std::int64_t k = 2; k < n; ++k) {
    power = power * a;
    p = b * p + power;
    sum = sum + c[k] * (1.0 / static_cast<double>(k + 1)) * p;
  }
  return (b - a) * sum;
}

// Runs work.operator()<order>() for the orders that have code of their own, and for all others together.
template <class Work>
inline auto byOrder(std::int64_t order, Work work) {
  switch (order) {
    case 2:
      return work.template operator()<2>();
    case 3:
      return work.template operator()<3>();
    case 4:
      return work.template operator()<4>();
    default:
      return work.template operator()<anyOrderOf>();
  }
}

// A sum in two doubles, of which `low` collects what rounding takes from `high` (D. E. Knuth, 1969).
struct Sum {
  double high = 0.0;
  double low = 0.0;

  void add(double term) {
    const double sum = high + term;
    const double added = sum - high;
    low += (high - (sum - added)) + (term - added);
    high = sum;
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
