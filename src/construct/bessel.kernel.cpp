#include <cstdint>

#include "construct/local_cubic.h"

// The Bessel cubic spline: the slope at an interior breakpoint is that of the parabola through it and its two
// neighbours (C. de Boor, A Practical Guide to Splines, 1978, ch. IV),
//
//   m_i = (h_i d_(i-1) + h_(i-1) d_i) / (x_(i+1) - x_(i-1)).

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct BesselSlopes {
  Partition<uniform> p;
  Values y;

  BesselSlopes(const DfTask&, const Partition<uniform>& partition, const Values& values)
      : p(partition), y(values) {}

  template <class V>
  V slope(std::int64_t i, V dLeft, V dRight) const {
    if constexpr (uniform) return 0.5 * p.r * (y.template lanes<V>(i + 1) - y.template lanes<V>(i - 1));
    return (p.template distances<V>(i, i + 1) * dLeft + p.template distances<V>(i - 1, i) * dRight) /
           p.template distances<V>(i - 1, i + 1);
  }

  // The parabola across the joint of the last and the first cell.
  double periodicSlope() const {
    const std::int64_t n = p.n;
    if constexpr (uniform) return 0.5 * p.r * ((y[1] - y[0]) + (y[n - 1] - y[n - 2]));
    const double first = p.step(0);
    const double last = p.step(n - 2);
    return (last * p.difference(y, 0) + first * p.difference(y, n - 2)) / (first + last);
  }
};

}  // namespace

extern const SplineKind bessel;
const SplineKind bessel = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_BESSEL,
    .pieces = cubicPieces,
    .leastBreakpoints = 4,
    .ends = splineEnds,
    .construct = constructLocal<BesselSlopes>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
