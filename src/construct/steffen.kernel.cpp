#include <cstdint>

#include "construct/local_cubic.h"

// The monotone cubic spline of Steffen (M. Steffen, Astron. Astrophys. 239, 1990): the slope of the parabola through
// three neighbours,
//
//   p_i = (d_(i-1) h_i + d_i h_(i-1)) / (h_(i-1) + h_i),
//   m_i = (sgn d_(i-1) + sgn d_i) min(|d_(i-1)|, |d_i|, |p_i| / 2),
//
// which turns nowhere but at breakpoints.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct SteffenSlopes {
  Partition<uniform> p;
  Values y;

  SteffenSlopes(const DfTask&, const Partition<uniform>& partition, const Values& values)
      : p(partition), y(values) {}

  template <class V>
  static V slope(V hLeft, V hRight, V dLeft, V dRight) {
    const auto rise = (dLeft > V{}) & (dRight > V{});
    const auto fall = (dLeft < V{}) & (dRight < V{});
    const V parabola = magnitude((dLeft * hRight + dRight * hLeft) / (hLeft + hRight));
    const V a = magnitude(dLeft);
    const V b = magnitude(dRight);
    const V twice = a < b ? a + a : b + b;
    const V m = twice < parabola ? twice : parabola;
    return rise ? m : fall ? -m : V{};
  }

  // That of the end chord: the simplest of the paper's choices.
  double freeSlope(Side side) const { return p.difference(y, side == Side::left ? 0 : p.n - 2); }
};

}  // namespace

extern const SplineKind steffen;
const SplineKind steffen = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_STEFFEN,
    .pieces = cubicPieces,
    .leastBreakpoints = 3,
    .ends = splineEnds | noEnds,
    .construct = constructLocal<SteffenSlopes>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
