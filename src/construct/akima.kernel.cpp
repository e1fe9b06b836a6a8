#include <cstdint>

#include "construct/local_cubic.h"

// The Akima cubic spline: chords weigh by how little the data bend on their own side (H. Akima, J. ACM 17, 1970),
//
//   w_j = |d_j - d_(j-1)|.
//
// Beyond the ends the nearest weight repeats.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct AkimaSlopes {
  Partition<uniform> p;
  Values y;

  AkimaSlopes(const DfTask&, const Partition<uniform>& partition, const Values& values)
      : p(partition), y(values) {}

  template <class V>
  static V weight(V dLeft, V dRight) {
    return magnitude(dRight - dLeft);
  }

  double outerWeight(Side side) const {
    const std::int64_t j = side == Side::left ? 1 : p.n - 2;
    return weight(p.difference(y, j - 1), p.difference(y, j));
  }

  // The chords' slopes, continued by half a cell.
  double freeSlope(Side side) const {
    const std::int64_t cell = side == Side::left ? 0 : p.n - 2;
    const std::int64_t beside = side == Side::left ? 1 : p.n - 3;
    return (3.0 * p.difference(y, cell) - p.difference(y, beside)) * 0.5;
  }
};

}  // namespace

extern const SplineKind akima;
const SplineKind akima = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_AKIMA,
    .pieces = cubicPieces,
    .leastBreakpoints = 5,
    .ends = splineEnds | noEnds,
    .construct = constructLocal<AkimaSlopes>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
