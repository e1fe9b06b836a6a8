#include <cstdint>

#include "construct/local_cubic.h"

// The monotone cubic spline of Fritsch and Butland (F. N. Fritsch, J. Butland, SIAM J. Sci. Stat. Comput. 5, 1984): where
// the chords beside a breakpoint rise or fall together, their weighted harmonic mean,
//
//   m_i = (w_1 + w_2) / (w_1 / d_(i-1) + w_2 / d_i),   w_1 = 2 h_i + h_(i-1),   w_2 = h_i + 2 h_(i-1),
//
// and 0 elsewhere. It lies between 0 and three times the smaller chord, which keeps every cell monotone.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct PchipSlopes {
  Partition<uniform> p;
  Values y;

  PchipSlopes(const DfTask&, const Partition<uniform>& partition, const Values& values)
      : p(partition), y(values) {}

  template <class V>
  static V slope(V hLeft, V hRight, V dLeft, V dRight) {
    const V wLeft = 2.0 * hRight + hLeft;
    const V wRight = hRight + 2.0 * hLeft;
    const auto together = ((dLeft > V{}) & (dRight > V{})) | ((dLeft < V{}) & (dRight < V{}));
    const V one = V{} + 1.0;
    const V left = together ? dLeft : one;
    const V right = together ? dRight : one;
    // Both quotients are positive, and at most one is above 1: no product of two chords overflows or vanishes.
    const V m = left * ((wLeft + wRight) * (right / (wLeft * right + wRight * left)));
    return together ? m : V{};
  }

  // The slope of the parabola through the three points at the end, limited: 0 against the end chord's direction, at most
  // three times that chord where the chord beside it turns.
  double freeSlope(Side side) const {
    const bool left = side == Side::left;
    const std::int64_t cell = left ? 0 : p.n - 2;
    const std::int64_t beside = left ? 1 : p.n - 3;
    const double h = p.step(cell);
    const double g = p.step(beside);
    const double d = p.difference(y, cell);
    const double e = p.difference(y, beside);
    const double m = ((2.0 * h + g) * d - h * e) / (h + g);
    if (!((m > 0.0 && d > 0.0) || (m < 0.0 && d < 0.0)) && m == m) return 0.0;
    const bool turns = !((d > 0.0 && e > 0.0) || (d < 0.0 && e < 0.0));
    return turns && magnitude(m) > magnitude(3.0 * d) ? 3.0 * d : m;
  }
};

}  // namespace

extern const SplineKind pchip;
const SplineKind pchip = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_PCHIP,
    .pieces = cubicPieces,
    .leastBreakpoints = 3,
    .ends = splineEnds | noEnds,
    .construct = constructLocal<PchipSlopes>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
